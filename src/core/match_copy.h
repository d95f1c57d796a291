// The copy of a match: `length` bytes from `offset` bytes back, where a match longer than its offset repeats what it has
// just written.
//
// Copying in 16-byte units is only right if the source lies at least 16 bytes back. For shorter offsets the first `offset`
// bytes are spread over a register by one shuffle, which gives 16 bytes of the repeating pattern, and the register is
// stored again and again, each time further on by the largest multiple of the offset that is at most 16, so that the
// pattern stays in phase. Every variant gives the result of a byte-by-byte forward copy.
#pragma once

#include <tmmintrin.h>

#include <array>
#include <cstdint>

#include "core/unaligned.h"

namespace ozrdc {

// Offsets below this need the pattern.
constexpr unsigned kWideOffset = 16;

// How far `copyMatchFast` may write past the end of the match.
constexpr unsigned kMatchOverwrite = 31;

namespace detail {

struct Pattern {
    alignas(16) std::array<uint8_t, 16> shuffle;  // source byte of each destination byte
    uint64_t step;                                // distance between stores
};

// Offset 0 copies the destination onto itself: the identity, never moving on.
constexpr auto kPatterns = [] {
    std::array<Pattern, kWideOffset> patterns{};
    for (unsigned i = 0; i < 16; ++i) patterns[0].shuffle[i] = static_cast<uint8_t>(i);
    for (unsigned offset = 1; offset < kWideOffset; ++offset) {
        for (unsigned i = 0; i < 16; ++i) patterns[offset].shuffle[i] = static_cast<uint8_t>(i % offset);
        patterns[offset].step = 16 - 16 % offset;
    }
    return patterns;
}();

}  // namespace detail

// Copies a match of at most 18 bytes whose offset is below 16; may write up to byte 31 of the destination.
constexpr unsigned kShortMatch = 18;

[[gnu::always_inline]] inline void copyShortPattern(uint8_t* dst, uint64_t offset) noexcept {
    const detail::Pattern& p = detail::kPatterns[offset];
    const __m128i pattern = _mm_shuffle_epi8(load128(dst - offset), load128(p.shuffle.data()));
    // Steps of the offsets above 0 are at least 9, so that two stores cover at least 25 bytes.
    static_assert(kShortMatch <= 16 + 9 && kMatchOverwrite >= 31);
    store128(dst, pattern);
    store128(dst + p.step, pattern);
}

// Copies a match; may read and write up to `kMatchOverwrite` bytes past its end.
[[gnu::always_inline]] inline void copyMatchFast(uint8_t* dst, uint64_t offset, uint64_t length) noexcept {
    uint8_t* const end = dst + length;
    if (offset >= kWideOffset) [[likely]] {
        const uint8_t* src = dst - offset;
        do {
            // Load, store, load, store: right for every offset of at least 16.
            store128(dst, load128(src));
            store128(dst + 16, load128(src + 16));
            dst += 32;
            src += 32;
        } while (dst < end);
        return;
    }
    if (offset == 0) return;
    const detail::Pattern& p = detail::kPatterns[offset];
    const __m128i pattern = _mm_shuffle_epi8(load128(dst - offset), load128(p.shuffle.data()));
    do {
        store128(dst, pattern);
        dst += p.step;
    } while (dst < end);
}

// Copies a match and touches no byte outside it and its source.
inline void copyMatchExact(uint8_t* dst, uint64_t offset, uint64_t length) noexcept {
    uint8_t* const end = dst + length;
    if (length > kMatchOverwrite) {
        // The first stores end before the match does, whatever the copy writes past what it was asked for.
        const uint64_t fast = length - kMatchOverwrite;
        copyMatchFast(dst, offset, fast);
        dst += fast;
    }
    if (offset == 0) return;
    for (; dst < end; ++dst) *dst = *(dst - offset);
}

}  // namespace ozrdc
