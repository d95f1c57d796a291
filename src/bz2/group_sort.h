// Sorts a group of 32-bit items by 48-bit keys, and marks which keys are equal.
//
// Groups that fit the stack are sorted as 64-bit words, key above and place within the group below: all words differ,
// and moving one moves the item. A quicksort without branches on keys cuts them to a few words, which are then put in
// place by counting for each how many are less. Larger groups are first distributed in place by the eight highest bits
// in which their keys differ, at most six times one inside the other. No order of the input takes much longer than
// another.
#pragma once

#include <smmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <utility>

#include "core/unaligned.h"

namespace ozrdc::bz2 {

// On an item: its key is equal to that of the item before it.
constexpr uint32_t kTied = uint32_t{1} << 31;

namespace detail {

constexpr unsigned kKeyBits = 48;
constexpr unsigned kPlaceBits = 64 - kKeyBits;
constexpr uint32_t kMaxCached = 4096;
static_assert(kMaxCached <= 1U << kPlaceBits);

constexpr uint32_t kMaxRanked = 24;

// Puts n <= kMaxRanked different words in order. The word behind them is overwritten.
[[gnu::always_inline]] inline void sortByRank(int64_t* words, uint32_t n) noexcept {
    alignas(16) std::array<int64_t, kMaxRanked> sorted;
    words[n] = std::numeric_limits<int64_t>::max();
    for (uint32_t i = 0; i < n; ++i) {
        const __m128i word = _mm_set1_epi64x(words[i]);
        __m128i less = _mm_setzero_si128();
        for (uint32_t j = 0; j < n; j += 2) less = _mm_sub_epi64(less, _mm_cmpgt_epi64(word, load128(words + j)));
        const int64_t rank = _mm_cvtsi128_si64(less) + _mm_extract_epi64(less, 1);
        sorted[static_cast<size_t>(rank)] = words[i];
    }
    std::copy_n(sorted.data(), n, words);
}

inline int64_t median(int64_t a, int64_t b, int64_t c) noexcept {
    return std::max(std::min(a, b), std::min(std::max(a, b), c));
}

// Sorts different words. One word behind them may be overwritten, and is restored.
inline void sortWords(int64_t* words, uint32_t n, unsigned depthLeft) noexcept {
    while (n > kMaxRanked) {
        if (depthLeft-- == 0) {
            std::make_heap(words, words + n);
            std::sort_heap(words, words + n);
            return;
        }
        const size_t step = n / 8;
        const int64_t* const middle = words + n / 2;
        const int64_t pivot = median(median(words[0], words[step], words[2 * step]),
                                     median(middle[-static_cast<int64_t>(step)], *middle, middle[step]),
                                     median(words[n - 1 - 2 * step], words[n - 1 - step], words[n - 1]));
        uint32_t below = 0;  // the words in front are below the pivot
        for (uint32_t i = 0; i < n; ++i) {
            const int64_t word = words[i];
            words[i] = words[below];
            words[below] = word;
            below += word < pivot ? 1 : 0;
        }
        // The words differ, so some samples are below the pivot, and the pivot is not: neither part is empty.
        if (below <= n - below) {
            sortWords(words, below, depthLeft);
            words += below;
            n -= below;
        } else {
            sortWords(words + below, n - below, depthLeft);
            n = below;
        }
    }
    const int64_t behind = words[n];
    sortByRank(words, n);
    words[n] = behind;
}

template <class KeyOf>
[[gnu::noinline]] void sortCached(uint32_t* items, uint32_t n, KeyOf keyOf) noexcept {
    constexpr uint64_t kSign = uint64_t{1} << 63;  // the words are compared as signed numbers
    std::array<int64_t, kMaxCached + 1> words;
    std::array<uint32_t, kMaxCached> copy;
    for (uint32_t i = 0; i < n; ++i) {
        copy[i] = items[i];
        words[i] = static_cast<int64_t>((keyOf(items[i]) << kPlaceBits | i) ^ kSign);
    }
    words[n] = 0;
    sortWords(words.data(), n, 2 * static_cast<unsigned>(std::bit_width(n)));
    uint64_t previous = ~static_cast<uint64_t>(words[0]);
    for (uint32_t i = 0; i < n; ++i) {
        const auto word = static_cast<uint64_t>(words[i]);
        const bool tied = (word ^ previous) >> kPlaceBits == 0;
        items[i] = copy[word & ((1U << kPlaceBits) - 1)] | (tied ? kTied : 0);
        previous = word;
    }
}

}  // namespace detail

// Sorts `items`, none of them marked, by keyOf(item) < 2^48. On return every item whose key is that of the item before
// it is marked.
template <class KeyOf>
void sortGroup(uint32_t* items, uint32_t n, KeyOf keyOf) noexcept {
    if (n <= detail::kMaxCached) {
        detail::sortCached(items, n, keyOf);
        return;
    }
    constexpr unsigned kDigitBits = 8;
    uint64_t least = keyOf(items[0]);
    uint64_t greatest = least;
    for (uint32_t i = 1; i < n; ++i) {
        const uint64_t key = keyOf(items[i]);
        least = std::min(least, key);
        greatest = std::max(greatest, key);
    }
    const auto width = static_cast<unsigned>(std::bit_width(greatest - least));
    const unsigned shift = width > kDigitBits ? width - kDigitBits : 0;
    const auto digitOf = [=](uint32_t item) noexcept { return static_cast<size_t>((keyOf(item) - least) >> shift); };

    std::array<uint32_t, 1 << kDigitBits> end{};
    std::array<uint32_t, 1 << kDigitBits> next;
    for (uint32_t i = 0; i < n; ++i) ++end[digitOf(items[i])];
    uint32_t sum = 0;
    for (size_t d = 0; d < end.size(); ++d) {
        next[d] = sum;
        sum += end[d];
        end[d] = sum;
    }
    for (size_t d = 0; d < end.size(); ++d) {
        while (next[d] < end[d]) {
            uint32_t item = items[next[d]];
            for (size_t home = digitOf(item); home != d; home = digitOf(item)) std::swap(item, items[next[home]++]);
            items[next[d]++] = item;
        }
    }
    uint32_t begin = 0;
    for (const uint32_t partEnd : end) {
        const uint32_t size = partEnd - begin;
        if (shift > 0 && size > 1) {
            sortGroup(items + begin, size, keyOf);
        } else {
            for (uint32_t i = begin + 1; i < partEnd; ++i) items[i] |= kTied;
        }
        begin = partEnd;
    }
}

}  // namespace ozrdc::bz2
