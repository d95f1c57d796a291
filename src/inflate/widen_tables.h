// Turns tables of the short kind into tables of the general kind, which the fast loop reads.
//
// A short table holds the entry of every index, so that each is turned on its own, without a look at the code: for
// literals and lengths sixteen at a time, byte by byte of the new entries. Two sorts of entries are done again, one by
// one: lengths whose extra bits stand in the index, and codes that are longer than the first level, which go to second
// levels.
#pragma once

#include <smmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/unaligned.h"
#include "inflate/tables.h"

namespace ozrdc::inflate {

namespace detail {

// What an entry's type says: bits 16-23 of the new entry, and the number of extra bits.
struct TypeTables {
    alignas(16) std::array<uint8_t, 16> marks{};
    alignas(16) std::array<uint8_t, 16> extraBits{};
};
constexpr auto kTypes = [] {
    TypeTables tables;
    tables.marks[0] = entry::kLiteral >> 16;
    for (unsigned extra = 0; extra <= kMaxLengthExtraBits; ++extra) {
        const unsigned type = short_entry::kLengthType + extra;
        tables.marks[type] =
            static_cast<uint8_t>((extra == 0 ? Entry{entry::kLength} : Entry{entry::kLongLength}) >> 16);
        tables.extraBits[type] = static_cast<uint8_t>(extra);
    }
    tables.marks[short_entry::kEndOfBlockType] = entry::kEndOfBlock >> 16;
    return tables;
}();

// A bit for each of sixteen entries.
using EntrySet = unsigned;

// Writes sixteen entries, and returns those that have extra bits or a code longer than the first level.
inline EntrySet widenSixteen(const uint8_t* from, Entry* to) noexcept {
    const __m128i first = load128(from);
    const __m128i second = load128(from + 16);
    const __m128i lowBytes = _mm_set1_epi16(0xFF);
    const __m128i low = _mm_packus_epi16(_mm_and_si128(first, lowBytes), _mm_and_si128(second, lowBytes));
    const __m128i value = _mm_packus_epi16(_mm_srli_epi16(first, 8), _mm_srli_epi16(second, 8));

    const __m128i nibble = _mm_set1_epi8(15);
    const __m128i codeBits = _mm_and_si128(low, nibble);
    const __m128i type = _mm_and_si128(_mm_srli_epi16(low, short_entry::kTypeShift), nibble);
    const __m128i noCode = _mm_cmpeq_epi8(codeBits, _mm_setzero_si128());
    const __m128i literal = _mm_cmpeq_epi8(type, _mm_setzero_si128());
    const __m128i extraBits = _mm_shuffle_epi8(load128(kTypes.extraBits.data()), type);

    const __m128i byte0 = _mm_add_epi8(codeBits, extraBits);
    const __m128i byte1 = _mm_blendv_epi8(codeBits, value, literal);
    const __m128i byte2 = _mm_andnot_si128(noCode, _mm_shuffle_epi8(load128(kTypes.marks.data()), type));
    const __m128i byte3 = _mm_andnot_si128(literal, value);

    const __m128i low01 = _mm_unpacklo_epi8(byte0, byte1);
    const __m128i low23 = _mm_unpacklo_epi8(byte2, byte3);
    const __m128i high01 = _mm_unpackhi_epi8(byte0, byte1);
    const __m128i high23 = _mm_unpackhi_epi8(byte2, byte3);
    store128(to, _mm_unpacklo_epi16(low01, low23));
    store128(to + 4, _mm_unpackhi_epi16(low01, low23));
    store128(to + 8, _mm_unpacklo_epi16(high01, high23));
    store128(to + 12, _mm_unpackhi_epi16(high01, high23));
    const __m128i extra = _mm_cmpgt_epi8(extraBits, _mm_setzero_si128());
    const __m128i isLong = _mm_cmpgt_epi8(codeBits, _mm_set1_epi8(kLitLenRootBits));
    return static_cast<EntrySet>(_mm_movemask_epi8(_mm_or_si128(extra, isLong)));
}

// The entry of a long length, with the extra bits that stand in its index added, if they all do.
inline Entry withExtraBits(Entry e, size_t index) noexcept {
    if (entry::bitsToTake(e) > kLitLenRootBits) return e;
    const unsigned codeBits = entry::codeBits(e);
    const auto extra = static_cast<Entry>(index >> codeBits & ((1U << (entry::bitsToTake(e) - codeBits)) - 1));
    return ((e & ~Entry{entry::kSortMask}) | entry::kLength) + (extra << entry::kLengthShift);
}

// A second level of 2^(maxBits - kRootBits) entries for index `root` of the first: `entryAt(index)` is the entry of a
// code that is longer than the first level, as it stands in a single level.
template <unsigned kRootBits, size_t kSize, class EntryAt>
void addSecondLevel(std::array<Entry, kSize>& table, size_t& size, size_t root, unsigned maxBits,
                    EntryAt entryAt) noexcept {
    const unsigned levelBits = maxBits - kRootBits;
    if (size + (size_t{1} << levelBits) > kSize) {  // no table that was built
        table[root] = entry::kInvalid;
        return;
    }
    const size_t level = size;
    for (size_t i = root; i < size_t{1} << maxBits; i += size_t{1} << kRootBits) table[size++] = entryAt(i);
    table[root] = entry::link(level, kRootBits, levelBits);
}

inline void widenLitLen(const uint8_t* from, unsigned maxBits, std::array<Entry, kLitLenEntries>& to) noexcept {
    constexpr size_t kRoot = size_t{1} << kLitLenRootBits;
    constexpr size_t kBatch = 16;
    size_t size = size_t{1} << maxBits;

    // Less than sixteen entries are repeated up to that many.
    std::array<uint8_t, kBatch * sizeof(ShortEntry)> batch;
    if (size < kBatch) {
        std::memcpy(batch.data(), from, size * sizeof(ShortEntry));
        for (; size < kBatch; size *= 2) {
            std::memcpy(batch.data() + size * sizeof(ShortEntry), batch.data(), size * sizeof(ShortEntry));
        }
        from = batch.data();
    }

    const auto entryAt = [&](size_t index) noexcept {
        std::array<Entry, kBatch> entries;
        widenSixteen(from + index * sizeof(ShortEntry), entries.data());
        const Entry e = entries[0];
        return e - (kLitLenRootBits | (e & entry::kLiteral ? 0 : kLitLenRootBits << entry::kCodeBitsShift));
    };
    size_t next = kRoot;
    for (size_t i = 0; i < kRoot; i += kBatch) {
        const uint8_t* const entries = from + (i & (size - 1)) * sizeof(ShortEntry);
        for (EntrySet set = widenSixteen(entries, &to[i]); set != 0; set &= set - 1) {
            const auto n = static_cast<unsigned>(__builtin_ctz(set));
            if ((load16(entries + n * sizeof(ShortEntry)) & 15) <= kLitLenRootBits) {
                to[i + n] = withExtraBits(to[i + n], i + n);
            } else if (maxBits > kLitLenRootBits) {
                addSecondLevel<kLitLenRootBits>(to, next, i + n, maxBits, entryAt);
            }
        }
    }
}

inline void widenDist(const uint8_t* distBits, const uint8_t* distBases, unsigned maxBits,
                      std::array<Entry, kDistEntries>& to) noexcept {
    constexpr size_t kRoot = size_t{1} << kDistRootBits;
    const auto widened = [&](size_t index, unsigned before) noexcept {
        const Entry codeBits = (distBits[index] & 15U) - before;
        const Entry extraBits = distBits[index] >> short_entry::kTypeShift;
        const Entry base = load16(distBases + index * sizeof(uint16_t));
        const Entry e = entry::kDistance | base << entry::kDistanceShift;
        return (distBits[index] & 15U) == 0 ? Entry{entry::kInvalid}
                                            : e + (codeBits << entry::kCodeBitsShift) + codeBits + extraBits;
    };
    size_t size = std::min(kRoot, size_t{1} << maxBits);
    for (size_t i = 0; i < size; ++i) to[i] = widened(i, 0);
    for (; size < kRoot; size *= 2) std::copy_n(to.begin(), size, to.begin() + size);
    if (maxBits <= kDistRootBits) return;
    for (size_t i = 0; i < kRoot; ++i) {
        if ((distBits[i] & 15) <= kDistRootBits) continue;
        addSecondLevel<kDistRootBits>(to, size, i, maxBits,
                                      [&](size_t index) noexcept { return widened(index, kDistRootBits); });
    }
}

}  // namespace detail

inline void widenTables(const ShortLayout<const uint8_t>& from, unsigned maxLitLen, unsigned maxDistLen,
                        GeneralLayout& to) noexcept {
    detail::widenLitLen(from.litLen, maxLitLen, to.litLen);
    detail::widenDist(from.distBits, from.distBases, maxDistLen, to.dist);
}

}  // namespace ozrdc::inflate
