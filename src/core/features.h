// Which optional processor instructions are present.
#pragma once

#include <cstdint>

namespace ozrdc {

// The features that the library asks for, as bits of the query's mask.
constexpr uint64_t kFeatureCrc32Instruction = 0x80;    // SSE4.2's CRC-32C instruction
constexpr uint64_t kFeatureCarrylessMultiply = 0x800;  // PCLMULQDQ

}  // namespace ozrdc

// Nonzero if the feature of the one bit in `mask` is present. Asked on every call that has several paths: the answer is
// constant data, so that asking costs an indirect call and nothing in the library changes after it has been loaded.
//
// It stands in an object file of its own: a program linked with the static library that brings its own definition uses
// that one instead. The tests mask features this way.
extern "C" [[gnu::visibility("hidden")]] uint64_t ownGetFeature(uint64_t mask) noexcept;
