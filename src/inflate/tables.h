// The decoding tables of a state: how their entries are coded and where they stand.
//
// Two kinds. Both are indexed by the next bits of the stream, least significant first, so that a code is found at its
// bit-reversed value, repeated for every value of the bits behind it.
//
// The short kind has a published layout of 16-bit entries and a single level. The general kind takes codes of any
// length: a first level of 32-bit entries, 10 bits wide for literals and lengths and 8 bits for distances, and behind
// it second levels for the longer codes. Its entries hold what decoding a symbol needs, ready for use:
//
//     byte 0      bits to take from the stream: code and extra bits together
//     byte 1      bits of the code alone (within its level); of a literal: the literal
//
// and for literals and lengths
//
//     bit 16      a literal
//     bit 17      a length, with its extra bits already added: they stand in the index together with the code
//     bits 18-19  what an entry with neither of these is
//     bits 24-31  length less 3
//
// or for distances
//
//     bit 16      a distance
//     bits 17-31  shortest distance of the code
//
// All other entries are of the sorts of `entry::Sort`. Entry 0 is invalid, and tables start out from it, so that
// whatever no code reaches is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/deflate_code.h"
#include "core/unaligned.h"
#include "ozrdc.h"

namespace ozrdc::inflate {

enum TableKind : uint32_t { kFixedTables = 0, kGeneralTables = 1, kShortTables = 2 };

// Most extra bits of a length and of a distance.
constexpr unsigned kMaxLengthExtraBits = 5;
constexpr unsigned kMaxDistExtraBits = 13;
static_assert(kMaxLengthExtraBits == deflate::lengthExtraBits(deflate::kLengthCodes - 2));  // the last code has none
static_assert(kMaxDistExtraBits == deflate::distExtraBits(deflate::kDistCodes - 1));

constexpr size_t kTableBytes = sizeof(InflateState::tables);

// --- The general kind -----------------------------------------------------------------------------------------------

using Entry = uint32_t;

namespace entry {

constexpr Entry kLiteral = 1U << 16;
constexpr Entry kLength = 1U << 17;
constexpr Entry kDistance = 1U << 16;

// Entries that are neither a literal nor a length nor a distance.
enum Sort : uint32_t {
    kInvalid = 0,
    kLink = 1U << 18,        // to a second level
    kEndOfBlock = 2U << 18,  // no more symbols
    kLongLength = 3U << 18,  // a length whose extra bits do not all stand in the index; it is the shortest of its code
    kSortMask = 3U << 18 | kLiteral | kLength
};
static_assert((kDistance & kSortMask) != 0);

constexpr unsigned kCodeBitsShift = 8;
constexpr unsigned kLiteralShift = 8;
constexpr unsigned kDistanceShift = 17;
constexpr unsigned kLinkShift = 20;
constexpr unsigned kLengthShift = 24;

// The bits to take are 28 at most; the mask bounds those of entries that were never built.
constexpr unsigned kMaxBitsToTake = 31;
static_assert(deflate::kMaxCodeLength + kMaxDistExtraBits <= kMaxBitsToTake);

constexpr uint64_t bitsToTake(Entry e) noexcept { return e & kMaxBitsToTake; }
constexpr unsigned codeBits(Entry e) noexcept { return e >> kCodeBitsShift & 63; }
constexpr unsigned linkedBits(Entry e) noexcept { return e >> kCodeBitsShift & 7; }
constexpr uint8_t literal(Entry e) noexcept { return static_cast<uint8_t>(e >> kLiteralShift); }
constexpr uint64_t length(Entry e) noexcept { return deflate::kMinMatch + uint64_t{e >> kLengthShift}; }
constexpr unsigned baseDistance(Entry e) noexcept { return e >> kDistanceShift; }
constexpr size_t linkedIndex(Entry e) noexcept { return e >> kLinkShift; }
constexpr Sort sort(Entry e) noexcept { return static_cast<Sort>(e & kSortMask); }

// A link to `bits` wide second-level entries from entry `index` on.
constexpr Entry link(size_t index, unsigned rootBits, unsigned bits) noexcept {
    return static_cast<Entry>(index) << kLinkShift | kLink | bits << kCodeBitsShift | rootBits;
}

}  // namespace entry

// What the literal/length symbols stand for. Symbols 286 and 287 are invalid.
constexpr auto kLitLenSymbols = [] {
    std::array<Entry, deflate::kFixedLitLenSymbols> symbols{};
    for (uint32_t s = 0; s < deflate::kEndOfBlock; ++s) symbols[s] = entry::kLiteral | s << entry::kLiteralShift;
    symbols[deflate::kEndOfBlock] = entry::kEndOfBlock;
    for (unsigned code = 0; code < deflate::kLengthCodes; ++code) {
        const unsigned extra = deflate::lengthExtraBits(code);
        symbols[deflate::kFirstLengthSymbol + code] = uint32_t{deflate::kLengthBase[code]} << entry::kLengthShift |
                                                      (extra == 0 ? Entry{entry::kLength} : Entry{entry::kLongLength}) |
                                                      extra;
    }
    return symbols;
}();

// What the distance symbols stand for.
constexpr auto kDistSymbols = [] {
    std::array<Entry, deflate::kDistCodes> symbols{};
    for (unsigned code = 0; code < deflate::kDistCodes; ++code) {
        symbols[code] =
            entry::kDistance | (deflate::kDistBase[code] + 1U) << entry::kDistanceShift | deflate::distExtraBits(code);
    }
    return symbols;
}();

constexpr unsigned kLitLenRootBits = 10;
constexpr unsigned kDistRootBits = 8;

// The most entries, both levels together, that a complete code of up to 15 bits can need: 288 symbols behind a first
// level of 10 bits, 32 symbols (two more than there are) behind one of 8 bits.
constexpr size_t kLitLenEntries = 1334;
constexpr size_t kDistEntries = 402;

struct GeneralLayout {
    std::array<Entry, kLitLenEntries> litLen;
    std::array<Entry, kDistEntries> dist;
};
static_assert(sizeof(GeneralLayout) <= kTableBytes);

// --- The short kind -------------------------------------------------------------------------------------------------

constexpr unsigned kShortMaxLitLen = 11;
constexpr unsigned kShortMaxDist = 10;

using ShortEntry = uint16_t;

namespace short_entry {

constexpr unsigned kTypeShift = 4;
constexpr unsigned kValueShift = 8;
constexpr unsigned kLengthType = 8;  // plus the number of extra bits
constexpr unsigned kEndOfBlockType = 15;

}  // namespace short_entry

// Rows of the symbols from 256 on: the entry but for the length of the code. Those of the symbols 286 and 287 are zero,
// so that these read as the literal byte 0.
constexpr auto LenExtr = [] {
    std::array<ShortEntry, deflate::kFixedLitLenSymbols - deflate::kEndOfBlock> rows{};
    rows[0] = short_entry::kEndOfBlockType << short_entry::kTypeShift;
    for (unsigned code = 0; code < deflate::kLengthCodes; ++code) {
        rows[1 + code] = static_cast<ShortEntry>(unsigned{deflate::kLengthBase[code]} << short_entry::kValueShift |
                                                 (short_entry::kLengthType | deflate::lengthExtraBits(code))
                                                     << short_entry::kTypeShift);
    }
    return rows;
}();

// The distance codes: extra bits << 4, and the shortest distance.
struct ShortDistance {
    uint8_t bits;
    uint16_t base;
};
constexpr auto DistExtr = [] {
    std::array<ShortDistance, deflate::kDistCodes> rows{};
    for (unsigned code = 0; code < deflate::kDistCodes; ++code) {
        rows[code] = {static_cast<uint8_t>(deflate::distExtraBits(code) << short_entry::kTypeShift),
                      static_cast<uint16_t>(deflate::kDistBase[code] + 1)};
    }
    return rows;
}();

// The base distances stand this far behind the start of the bytes with the lengths of the codes.
constexpr size_t kShortDistBases = 1024;
static_assert((sizeof(ShortEntry) << kShortMaxLitLen) + kShortDistBases + (sizeof(uint16_t) << kShortMaxDist) ==
              kTableBytes);
static_assert((size_t{1} << kShortMaxDist) <= kShortDistBases);

// Where the parts of the short kind stand in `tables`.
template <class Byte>
struct ShortLayout {
    Byte* litLen;
    Byte* distBits;
    Byte* distBases;

    ShortLayout(Byte* tables, uint32_t maxLitLen) noexcept
        : litLen(tables), distBits(tables + (sizeof(ShortEntry) << maxLitLen)), distBases(distBits + kShortDistBases) {}
};

}  // namespace ozrdc::inflate
