// One exercise for every export: a small piece of work whose result depends on all that the function computes. A family
// adds its exports here, and the tests of threads and of the static twin then cover them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::test {

// The exports, as pointers: those of the static library, or those found in a loaded one.
struct Library {
#define OZRDC_EXPORT(name) decltype(&::name) name;
#include "core/exports.inc"
#undef OZRDC_EXPORT
};

// The functions that this program is linked with.
Library linkedLibrary();

struct Exercise {
    std::string name;  // of the export
    // Statuses, counts and bytes that the export gives for data of that seed. All buffers belong to the call.
    std::vector<uint8_t> (*run)(const Library& library, uint64_t seed);
};

const std::vector<Exercise>& everyPrimitive();

}  // namespace ozrdc::test
