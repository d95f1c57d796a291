// What encoder and decoder of the block-sorting Huffman code have in common.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ozrdc::bz2 {

// The alphabet: two digits of zero runs, 255 ranks, the end of the block.
constexpr int32_t kMaxAlphabet = 258;
constexpr bool validAlphabet(int32_t symbols) noexcept { return symbols >= 1 && symbols <= kMaxAlphabet; }

constexpr int32_t kMinTables = 2;
constexpr int32_t kMaxTables = 6;

// A selector names the table of this many symbols.
constexpr int32_t kGroupSize = 50;

constexpr int64_t groupsOf(int64_t symbols) noexcept { return (symbols + kGroupSize - 1) / kGroupSize; }

// The description of the tables: bits of its fields, and the lengths that it can express.
constexpr unsigned kTableCountBits = 3;
constexpr unsigned kSelectorCountBits = 15;
constexpr unsigned kFirstLengthBits = 5;
constexpr unsigned kMaxCodedLength = 20;

// The encoder makes no longer codes than these.
constexpr unsigned kMaxEncodedLength = 17;

// Bits that an accumulator holds between calls.
constexpr int32_t kAccumulatorBits = 32;
constexpr bool validCount(int32_t bits) noexcept { return bits >= 0 && bits <= kAccumulatorBits; }

}  // namespace ozrdc::bz2
