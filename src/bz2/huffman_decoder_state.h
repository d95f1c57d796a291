// The state of the block-sorting Huffman decoder: selectors, and the decoding tables of up to six codes.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "bz2/huffman_format.h"
#include "ozrdc.h"

namespace ozrdc::bz2 {

// Codes are compared as numbers of this many bits, left-aligned.
constexpr unsigned kCodeBits = kMaxCodedLength;
constexpr uint32_t kCodeSpace = 1U << kCodeBits;

// Codes up to this length are looked up.
constexpr unsigned kShortBits = 8;

// A symbol and the length of its code, in one word.
constexpr unsigned kSymbolBits = 9;
constexpr unsigned kSymbolMask = (1U << kSymbolBits) - 1;
static_assert(kMaxAlphabet <= 1 << kSymbolBits && kMaxCodedLength < 1U << (16 - kSymbolBits));

constexpr uint16_t codeEntry(unsigned symbol, unsigned length) noexcept {
    return static_cast<uint16_t>(symbol | length << kSymbolBits);
}
constexpr unsigned symbolOf(unsigned entry) noexcept { return entry & kSymbolMask; }
constexpr unsigned lengthOf(unsigned entry) noexcept { return entry >> kSymbolBits; }

// One canonical code: shorter codes first, those of one length in the order of their symbols.
//
// Lengths that leave some of the code space unused are accepted, and so are those that take too much of it: then the
// codes that no longer fit do not exist. Every entry below the first limit is filled, and every code below the limit
// of its length has its symbol, so that no bits lead outside the tables.
struct DecodingTable {
    static constexpr unsigned kLongLengths = kMaxCodedLength - kShortBits;

    uint32_t limits[1 + kLongLengths];  // the end of the codes up to 8 bits, then up to 9, 10, ...
    int32_t bases[kLongLengths];        // what, added to a code of 9, 10, ... bits, gives its place in `permuted`
    uint16_t shortCodes[1U << kShortBits];
    uint16_t permuted[kMaxAlphabet];  // symbols in the order of their codes
    uint8_t lengths[kMaxAlphabet];
    uint8_t depth;  // how many of the longer lengths there are to look through
    uint8_t reserved;

    void build(int32_t alphaSize) noexcept;

    // The symbol of a code that begins with these 20 bits, with its length; 0 if there is none.
    [[gnu::always_inline]] [[nodiscard]] uint16_t find(uint32_t code) const noexcept {
        if (code < limits[0]) [[likely]]
            return shortCodes[code >> (kCodeBits - kShortBits)];
        for (unsigned k = 0; k < depth; ++k) {
            if (code < limits[k + 1]) {
                const unsigned length = kShortBits + 1 + k;
                const int32_t place = bases[k] + static_cast<int32_t>(code >> (kCodeBits - length));
                return codeEntry(permuted[place], length);
            }
        }
        return 0;
    }
};

}  // namespace ozrdc::bz2

struct HuffDecState {
    int32_t phase;
    int32_t alphaSize;
    int32_t nGroups;
    int32_t nSelectors;
    int32_t selectorsRead;
    int32_t table;   // the one that is being described
    int32_t symbol;  // its next symbol, or kFirstLength
    int32_t length;
    int32_t group;  // of the symbol that is decoded next
    int32_t position;
    ozrdc::bz2::DecodingTable tables[ozrdc::bz2::kMaxTables];
    uint8_t reserved[996];  // the selectors follow

    [[nodiscard]] uint8_t* selectors() noexcept { return reinterpret_cast<uint8_t*>(this + 1); }
    [[nodiscard]] const uint8_t* selectors() const noexcept { return reinterpret_cast<const uint8_t*>(this + 1); }
};
static_assert(sizeof(HuffDecState) == 9364);

namespace ozrdc::bz2 {

// What of the description is read next.
constexpr int32_t kPhaseCounts = 0;
constexpr int32_t kPhaseSelectors = 1;
constexpr int32_t kPhaseLengths = 2;

constexpr int32_t kFirstLength = -1;

}  // namespace ozrdc::bz2
