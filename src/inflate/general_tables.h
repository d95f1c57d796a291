// Builds tables of the general kind from code lengths; also at compile time, for the fixed code.
//
// A table for codes of up to L bits, written twice one behind the other, is the table for one bit more, but for the
// codes that are that long: so the first level grows by doubling, and each code is stored once. Longer codes follow in
// canonical order, in which codes with the same first bits stand together: each such group gets a second level, just
// wide enough for its longest code.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "inflate/tables.h"

namespace ozrdc::inflate {

// Reverses the bits of a byte.
constexpr auto swap8 = [] {
    std::array<uint8_t, 256> reversed{};
    for (uint32_t i = 0; i < 256; ++i) reversed[i] = static_cast<uint8_t>(deflate::reverseBits(i, 8));
    return reversed;
}();

constexpr uint32_t reversedCode(uint32_t code, unsigned length) noexcept {
    return (uint32_t{swap8[code & 0xFF]} << 8 | swap8[code >> 8 & 0xFF]) >> (16 - length);
}

// A length as the caller gives it. Lengths above 15 must not be passed; what comes of them here stays inside the
// arrays.
constexpr unsigned codeLength(uint16_t length) noexcept { return length & deflate::kMaxCodeLength; }

// The symbols with a code, in canonical order: by length, equal lengths in the order of the symbols.
struct CanonicalOrder {
    std::array<uint16_t, deflate::kFixedLitLenSymbols> symbols{};

    constexpr CanonicalOrder(const uint16_t* lengths, uint32_t n, const deflate::LengthCounts& counts) noexcept {
        deflate::LengthCounts next{};
        for (size_t length = 1; length < deflate::kMaxCodeLength; ++length) {
            next[length + 1] = next[length] + counts[length];
        }
        for (uint32_t symbol = 0; symbol < n; ++symbol) {
            const size_t length = codeLength(lengths[symbol]);
            if (length != 0) symbols[next[length]++] = static_cast<uint16_t>(symbol);
        }
    }
};

// Where in the first level a length code with extra bits begins.
struct LongLength {
    uint32_t index;
    Entry entry;
};

// Gives the entries of a length code in a first level of `kRootBits` the lengths that their extra bits make.
template <unsigned kRootBits>
constexpr void addExtraBits(Entry* table, LongLength code) noexcept {
    const unsigned codeBits = entry::codeBits(code.entry);
    const uint32_t values = 1U << (entry::bitsToTake(code.entry) - codeBits);
    Entry e = (code.entry & ~Entry{entry::kSortMask}) | entry::kLength;
    for (uint32_t value = 0; value < values; ++value, e += 1U << entry::kLengthShift) {
        for (size_t i = code.index | value << codeBits; i < size_t{1} << kRootBits; i += size_t{values} << codeBits) {
            table[i] = e;
        }
    }
}

// An entry is made from what its symbol stands for, and from the length of its code, which counts for the bits to take
// and, but for literals, as the place of the extra bits.
struct LitLenAlphabet {
    static constexpr unsigned kRootBits = kLitLenRootBits;
    static constexpr Entry entryOf(unsigned symbol, unsigned codeLength) noexcept {
        const unsigned place = symbol < deflate::kEndOfBlock ? 0 : codeLength << entry::kCodeBitsShift;
        return kLitLenSymbols[symbol] + place + codeLength;
    }
};

struct DistAlphabet {
    static constexpr unsigned kRootBits = kDistRootBits;
    static constexpr Entry entryOf(unsigned symbol, unsigned codeLength) noexcept {
        return kDistSymbols[symbol] + (codeLength << entry::kCodeBitsShift) + codeLength;
    }
};

// Fills the first level and the second levels behind it.
template <class Alphabet>
constexpr void buildLevels(Entry* table, const uint16_t* lengths, uint32_t n, const deflate::LengthCounts& counts,
                           unsigned longest) noexcept {
    constexpr unsigned kRootBits = Alphabet::kRootBits;
    const CanonicalOrder order(lengths, n, counts);
    const uint16_t* symbol = order.symbols.data();
    std::array<LongLength, deflate::kLengthCodes> longLengths{};
    size_t longLengthCount = 0;

    uint32_t code = 0;
    size_t size = 1;
    table[0] = entry::kInvalid;
    for (unsigned length = 1; length <= kRootBits; ++length) {
        std::copy_n(table, size, table + size);
        size *= 2;
        code *= 2;
        for (uint32_t i = 0; i < counts[length]; ++i) {
            const Entry e = Alphabet::entryOf(*symbol++, length);
            const uint32_t index = reversedCode(code++, length);
            table[index] = e;
            if (entry::sort(e) == entry::kLongLength && entry::bitsToTake(e) <= kRootBits)
                longLengths[longLengthCount++] = {index, e};
        }
    }
    for (size_t i = 0; i < longLengthCount; ++i) addExtraBits<kRootBits>(table, longLengths[i]);

    constexpr uint32_t kNone = ~0U;
    uint32_t current = kNone;  // first bits of the group whose second level is being filled
    size_t level = 0;          // where that level begins
    unsigned levelBits = 0;
    for (unsigned length = kRootBits + 1; length <= longest; ++length) {
        code *= 2;
        for (uint32_t left = counts[length]; left > 0; --left) {
            const uint32_t index = reversedCode(code++, length);
            const uint32_t root = index & ((1U << kRootBits) - 1);
            if (root != current) {
                current = root;
                level = size;
                // One bit more for as long as the codes of this length do not fill the group.
                levelBits = length - kRootBits;
                uint32_t codes = left;
                while (codes < 1U << levelBits && kRootBits + levelBits < longest) {
                    ++levelBits;
                    codes = codes * 2 + counts[kRootBits + levelBits];
                }
                size += size_t{1} << levelBits;
                table[root] = entry::link(level, kRootBits, levelBits);
            }
            const unsigned bits = length - kRootBits;
            const Entry e = Alphabet::entryOf(*symbol++, bits);
            for (size_t i = index >> kRootBits; i < size_t{1} << levelBits; i += size_t{1} << bits)
                table[level + i] = e;
        }
    }
}

}  // namespace ozrdc::inflate
