// Calling the library: its states in memory of their own, and its failures as exceptions.
#pragma once

#include <ozrdc.h>

#include <string>

#include "bytes.h"
#include "error.h"

namespace ozrz::bzip2 {

// For calls that only a mistake in the command can make fail.
inline void expectOk(Status status, const char* stage) {
    if (status != StatusOk) throw Error(std::string(stage) + " failed with status " + std::to_string(status));
}

// What one of the library's functions ...GetSize tells: `getSize(&size)` calls it.
template <typename GetSize>
std::size_t sizeFrom(const GetSize& getSize) {
    int32_t size = 0;
    expectOk(getSize(&size), "asking for a size");
    return static_cast<std::size_t>(size);
}

template <typename State>
State* stateIn(Buffer& memory) {
    return reinterpret_cast<State*>(memory.data());
}

}  // namespace ozrz::bzip2
