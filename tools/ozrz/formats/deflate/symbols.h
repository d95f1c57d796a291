// What RFC 1951 lays down, as far as block headers, codes and their costs need it.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "bytes.h"

namespace ozrz::deflate {

inline constexpr std::size_t kWindowSize = 32 * KiB;  // how much history a match can reach

enum class BlockType : uint32_t { stored = 0, fixed = 1, dynamic = 2 };
inline constexpr unsigned kBlockHeaderBits = 3;  // the flag of the last block, and the type
inline constexpr std::size_t kMaxStoredSize = 65535;
inline constexpr std::size_t kStoredFieldsSize = 4;  // the length, and its complement

// The literal/length alphabet: bytes, the end of the block, and codes for ranges of lengths.
inline constexpr std::size_t kLiterals = 256;
inline constexpr std::size_t kEndOfBlock = 256;
inline constexpr std::size_t kFirstLengthSymbol = 257;
inline constexpr std::size_t kLitLenSymbols = 286;
inline constexpr std::size_t kFixedLitLenSymbols = 288;  // the fixed code has two more, which are never used
inline constexpr std::size_t kDistSymbols = 30;
inline constexpr std::size_t kMinMatch = 3;
inline constexpr unsigned kMaxCodeLength = 15;
inline constexpr unsigned kFixedDistCodeLength = 5;

constexpr unsigned fixedLitLenCodeLength(std::size_t symbol) {
    if (symbol < 144) return 8;
    if (symbol < 256) return 9;
    return symbol < 280 ? 7 : 8;
}

// Bits that follow the code of a length (`code` counts from 0) or of a distance.
constexpr unsigned lengthExtraBits(std::size_t code) {
    return code < 8 || code == 28 ? 0 : static_cast<unsigned>(code / 4 - 1);
}
constexpr unsigned distExtraBits(std::size_t code) { return code < 4 ? 0 : static_cast<unsigned>(code / 2 - 1); }

// The codes of a match: of its length less 3, and of its distance.
inline constexpr auto kLengthCodes = [] {
    std::array<uint8_t, 256> codes{};
    std::size_t next = 0;
    for (std::size_t code = 0; code < kLitLenSymbols - kFirstLengthSymbol; ++code) {
        for (std::size_t n = std::size_t{1} << lengthExtraBits(code); n > 0 && next < codes.size(); --n) {
            codes[next++] = static_cast<uint8_t>(code);
        }
    }
    codes.back() = kLitLenSymbols - kFirstLengthSymbol - 1;  // the longest match has a code of its own
    return codes;
}();
constexpr std::size_t lengthCode(uint8_t lengthLess3) { return kLengthCodes[lengthLess3]; }

// Two codes for each power of two.
constexpr std::size_t distCode(uint16_t distance) {
    const unsigned value = distance - 1U;
    if (value < 4) return value;
    const unsigned bits = static_cast<unsigned>(std::bit_width(value));
    return 2 * (bits - 1) + (value >> (bits - 2) & 1);
}

// The alphabet in which a dynamic block's code lengths are written: the lengths 0 to 15, and three ways of repeating.
inline constexpr std::size_t kCodeLengthSymbols = 19;
inline constexpr unsigned kMaxCodeLengthCodeLength = 7;
inline constexpr unsigned kRepeatPrevious = 16;  // 3 to 6 times
inline constexpr unsigned kRepeatZero = 17;      // 3 to 10 times
inline constexpr unsigned kRepeatZeroLong = 18;  // 11 to 138 times
inline constexpr std::array<unsigned, 3> kRepeatExtraBits{2, 3, 7};
inline constexpr std::array<unsigned, 3> kRepeatBase{3, 3, 11};

// The order in which the lengths of that alphabet's own code are sent, the likely ones first.
inline constexpr std::array<uint8_t, kCodeLengthSymbols> kCodeLengthOrder{16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                          11, 4,  12, 3, 13, 2, 14, 1, 15};

// A dynamic block's header after the block's type: how many lengths of each code follow.
inline constexpr unsigned kLitLenCountBits = 5;      // less 257
inline constexpr unsigned kDistCountBits = 5;        // less 1
inline constexpr unsigned kCodeLengthCountBits = 4;  // less 4
inline constexpr unsigned kCodeLengthLengthBits = 3;
inline constexpr std::size_t kMinLitLenCount = 257;
inline constexpr std::size_t kMinDistCount = 1;
inline constexpr std::size_t kMinCodeLengthCount = 4;

}  // namespace ozrz::deflate
