// What the Deflate format (RFC 1951) lays down for its two codes: bases and extra bits of lengths and distances, the
// fixed code, and the canonical assignment of codes to lengths. Shared by encoder and decoder.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace ozrdc::deflate {

constexpr unsigned kMaxCodeLength = 15;

// Bits of BFINAL and BTYPE, which open a block.
constexpr unsigned kBlockTypeBits = 3;

// Literal/length symbols: 256 literals, the end of the block, and 29 length codes. Symbols 286 and 287 complete the
// fixed code and never occur in a valid stream.
constexpr unsigned kEndOfBlock = 256;
constexpr unsigned kFirstLengthSymbol = 257;
constexpr unsigned kLengthCodes = 29;
constexpr unsigned kLitLenSymbols = kFirstLengthSymbol + kLengthCodes;
constexpr unsigned kFixedLitLenSymbols = 288;
constexpr unsigned kDistCodes = 30;
constexpr unsigned kFixedDistLength = 5;

constexpr unsigned kMinMatch = 3;
constexpr unsigned kMaxMatch = 258;
constexpr unsigned kMaxDistance = 32768;

// Extra bits of length code `code`: none for the first eight, then one more for every four codes; the last code stands
// for the longest match alone.
constexpr unsigned lengthExtraBits(unsigned code) noexcept {
    return code < 8 || code == kLengthCodes - 1 ? 0 : code / 4 - 1;
}

// Extra bits of distance code `code`: none for the first four, then one more for every two codes.
constexpr unsigned distExtraBits(unsigned code) noexcept { return code < 4 ? 0 : code / 2 - 1; }

// The shortest length of each code, less the minimum of 3. Each code begins where the one before it ends, but for the
// last, which takes the longest match away from code 27.
constexpr auto kLengthBase = [] {
    std::array<uint16_t, kLengthCodes> base{};
    for (unsigned code = 1; code < kLengthCodes; ++code) {
        base[code] = static_cast<uint16_t>(base[code - 1] + (1U << lengthExtraBits(code - 1)));
    }
    base[kLengthCodes - 1] = kMaxMatch - kMinMatch;
    return base;
}();

// The shortest distance of each code, less 1.
constexpr auto kDistBase = [] {
    std::array<uint16_t, kDistCodes> base{};
    for (unsigned code = 1; code < kDistCodes; ++code) {
        base[code] = static_cast<uint16_t>(base[code - 1] + (1U << distExtraBits(code - 1)));
    }
    return base;
}();

// Length in bits of a literal/length symbol's fixed code.
constexpr unsigned fixedLitLenLength(unsigned symbol) noexcept {
    if (symbol < 144) return 8;
    if (symbol < 256) return 9;
    return symbol < 280 ? 7 : 8;
}

// The low `count` bits in reverse order: Huffman codes are sent from their most significant bit on, in a stream whose
// bytes are filled from the least significant.
constexpr uint32_t reverseBits(uint32_t bits, unsigned count) noexcept {
    uint32_t reversed = 0;
    for (unsigned i = 0; i < count; ++i) reversed |= ((bits >> i) & 1) << (count - 1 - i);
    return reversed;
}

// How many symbols have a code of each length.
using LengthCounts = std::array<uint32_t, kMaxCodeLength + 1>;

// The first code of each length: a length's codes are consecutive, and follow those of the shorter lengths with a bit
// appended. Only lengths above 0 count.
constexpr LengthCounts firstCodes(const LengthCounts& counts) noexcept {
    LengthCounts first{};
    uint32_t code = 0;
    for (size_t length = 1; length <= kMaxCodeLength; ++length) {
        if (length > 1) code += counts[length - 1];
        code <<= 1;
        first[length] = code;
    }
    return first;
}

}  // namespace ozrdc::deflate
