// Failures of the library as exceptions.
#pragma once

#include <new>
#include <ozrdc/result.hpp>
#include <string>

#include "error.h"

namespace ozrz {

[[noreturn]] inline void failLibrary(Status status, const char* stage) {
    if (status == ozrdc::StatusOutOfMemory) throw std::bad_alloc();
    throw Error(std::string(stage) + " failed: " + std::string(ozrdc::message(status)));
}

// The value of a call that only a mistake in the command, or lack of memory, can make fail.
template <typename T>
T expect(ozrdc::Result<T> result, const char* stage) {
    if (!result) failLibrary(result.status(), stage);
    return *std::move(result);
}
inline void expect(ozrdc::Result<void> result, const char* stage) {
    if (!result) failLibrary(result.status(), stage);
}

}  // namespace ozrz
