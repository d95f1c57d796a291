// The extra bits of lengths and distances: how many each code has, and what they are for each length and each near
// distance.
//
// The extra bits are the offset from the code's base, which takes two equal forms. A code's base is a multiple of two
// to the power of its count of extra bits, so that the offset is also the low bits of the length less 3, or of the
// distance less 1.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/deflate_code.h"
#include "deflate/format.h"

namespace ozrdc::deflate {

// How many extra bits follow each length code, and each distance code.
constexpr auto addNumBitLenTable = [] {
    std::array<uint8_t, kLengthCodes> counts{};
    for (unsigned code = 0; code < kLengthCodes; ++code) counts[code] = static_cast<uint8_t>(lengthExtraBits(code));
    return counts;
}();
constexpr auto addNumBitDistTable = [] {
    std::array<uint8_t, kDistCodes> counts{};
    for (unsigned code = 0; code < kDistCodes; ++code) counts[code] = static_cast<uint8_t>(distExtraBits(code));
    return counts;
}();

struct ExtraBits {
    uint8_t value;
    uint8_t count;
};

// The extra bits of every length less 3, and of the distances less 1 that have a table entry each.
constexpr auto litExtTable = [] {
    std::array<ExtraBits, 256> extra{};
    for (unsigned i = 0; i < extra.size(); ++i) {
        const unsigned code = litCodeTable[i];
        extra[i] = {static_cast<uint8_t>(i - kLengthBase[code]), addNumBitLenTable[code]};
    }
    return extra;
}();
constexpr auto distExtTable = [] {
    std::array<ExtraBits, kNearDistances> extra{};
    for (unsigned i = 0; i < extra.size(); ++i) {
        const unsigned code = litCodeTable[256 + i];
        extra[i] = {static_cast<uint8_t>(i - kDistBase[code]), addNumBitDistTable[code]};
    }
    return extra;
}();

static_assert([] {
    for (const unsigned code : litCodeTable) {
        if (code < kLengthCodes && kLengthBase[code] % (1U << addNumBitLenTable[code]) != 0) return false;
        if (kDistBase[code] % (1U << addNumBitDistTable[code]) != 0) return false;
    }
    return true;
}());

}  // namespace ozrdc::deflate
