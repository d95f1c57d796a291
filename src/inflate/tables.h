// The decoding tables of a state: how their entries are coded, where they stand, and how a symbol is looked up.
//
// Two kinds. Both are indexed by the next bits of the stream, least significant first, so that a code is found at its
// bit-reversed value, repeated for every value of the bits behind it.
//
// The short kind has a published layout of 16-bit entries and a single level. The general kind takes codes of any
// length: a first level of 32-bit entries, 10 bits wide for literals and lengths and 8 bits for distances, and behind
// it second levels for the longer codes. Its entries hold everything that decoding a symbol needs, ready for use:
//
//     bits 0-5    bits to take from the stream: code and extra bits together
//     bits 8-11   bits of the code alone (within its level)
//     bit 14      set in every entry that stands for a literal, a length or a distance
//     bit 15      literals
//     bits 16-23  the literal, or the base of the length less 3; the base of a distance less 1 takes bits 16-30
//     bits 27-31  mask of a length's extra bits
//
// The amount to shift by stands in the low bits because a shift looks at no others.
//
// An entry without bit 14 is the end of the block, a link to a second level, or invalid. Entry 0 is invalid, and tables
// start out from it, so that whatever no code reaches is.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/deflate_code.h"
#include "core/unaligned.h"
#include "ozrdc.h"

namespace ozrdc::inflate {

enum TableKind : uint32_t { kFixedTables = 0, kGeneralTables = 1, kShortTables = 2 };

constexpr size_t kTableBytes = sizeof(InflateState::tables);

// --- The general kind -----------------------------------------------------------------------------------------------

using Entry = uint32_t;

namespace entry {

constexpr Entry kInvalid = 0;
constexpr Entry kRegular = 1U << 14;
constexpr Entry kLiteral = 1U << 15;
constexpr Entry kEndOfBlock = 1U << 13;
constexpr Entry kLink = 1U << 12;

constexpr unsigned kCodeBitsShift = 8;
constexpr unsigned kValueShift = 16;
constexpr unsigned kLengthMaskShift = 27;

// An entry is made from what its symbol stands for, and from the length of its code, which counts twice: for the bits
// to take, and as the place of the extra bits.
constexpr Entry ofCode(Entry symbol, unsigned codeLength) noexcept {
    return symbol + codeLength + (codeLength << kCodeBitsShift);
}

// A link to `bits` wide second-level entries from entry `index` on.
constexpr Entry link(size_t index, unsigned bits) noexcept {
    return kLink | static_cast<Entry>(index) << kValueShift | bits << kCodeBitsShift;
}

constexpr unsigned bitsToTake(Entry e) noexcept { return e & 63; }
constexpr unsigned codeBits(Entry e) noexcept { return e >> kCodeBitsShift & 15; }
constexpr unsigned byteValue(Entry e) noexcept { return e >> kValueShift & 0xFF; }
constexpr size_t linkedIndex(Entry e) noexcept { return e >> kValueShift; }

}  // namespace entry

// What the literal/length symbols stand for. Symbols 286 and 287 are invalid.
constexpr auto kLitLenSymbols = [] {
    std::array<Entry, deflate::kFixedLitLenSymbols> symbols{};
    for (uint32_t s = 0; s < deflate::kEndOfBlock; ++s) {
        symbols[s] = entry::kRegular | entry::kLiteral | s << entry::kValueShift;
    }
    symbols[deflate::kEndOfBlock] = entry::kEndOfBlock;
    for (unsigned code = 0; code < deflate::kLengthCodes; ++code) {
        const unsigned extra = deflate::lengthExtraBits(code);
        symbols[deflate::kFirstLengthSymbol + code] = entry::kRegular |
                                                      uint32_t{deflate::kLengthBase[code]} << entry::kValueShift |
                                                      ((1U << extra) - 1) << entry::kLengthMaskShift | extra;
    }
    return symbols;
}();

// What the distance symbols stand for.
constexpr auto kDistSymbols = [] {
    std::array<Entry, deflate::kDistCodes> symbols{};
    for (unsigned code = 0; code < deflate::kDistCodes; ++code) {
        symbols[code] =
            entry::kRegular | uint32_t{deflate::kDistBase[code]} << entry::kValueShift | deflate::distExtraBits(code);
    }
    return symbols;
}();

// The longest match that any entry, even a damaged one, can stand for.
constexpr unsigned kMaxEntryLength = deflate::kMinMatch + 0xFF + 0x1F;

constexpr unsigned kLitLenRootBits = 10;
constexpr unsigned kDistRootBits = 8;

// The most entries, both levels together, that a complete code of up to 288 or 30 symbols and 15 bits can need behind
// a first level of 10 or 8 bits.
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
        rows[1 + code] = static_cast<ShortEntry>(deflate::kLengthBase[code] << short_entry::kValueShift |
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
