// The copy of a match: `length` bytes from `offset` bytes back, where a match longer than its offset repeats what it
// has just written.
//
// Copying in 16-byte units is only right if the source lies at least 16 bytes back. For shorter offsets the first
// `offset` bytes are spread over a register by one shuffle, which gives 16 bytes of the repeating pattern, and the
// register is stored again and again, each time further on by the largest multiple of the offset that is at most 16, so
// that the pattern stays in phase. Every variant gives the result of a byte-by-byte forward copy.
#pragma once

#include <tmmintrin.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/opaque.h"
#include "core/unaligned.h"

namespace ozrdc {

// How a copy proceeds: in `kUnit` bytes at a time, `kHead` bytes without a look at the length, because a mispredicted
// branch costs more than the copy, then `kStep` bytes again and again. Offsets below `kUnit` need the pattern.
template <unsigned kUnit, unsigned kHead, unsigned kStep>
struct CopyShape {
    static constexpr unsigned unit = kUnit;
    static constexpr unsigned head = kHead;
    static constexpr unsigned step = kStep;
    static_assert(kUnit == 8 || kUnit == 16);
    static_assert(kHead % kUnit == 0 && kStep % kUnit == 0);

    // How far a copy may write past the end of a match, which is one byte long at least.
    static constexpr unsigned overwrite = (kHead > kStep ? kHead : kStep) - 1;
    static_assert(overwrite >= 15);
};

// For matches that are often long or repeat what is near.
using WideCopy = CopyShape<16, 48, 32>;
// For matches that are mostly short, and come from anywhere.
using ShortCopy = CopyShape<8, 24, 16>;

// Offsets below this need the pattern at 16 bytes a unit.
constexpr unsigned kWideOffset = 16;

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

// The shortest step of the offsets above 0.
constexpr uint64_t kLeastStep = [] {
    uint64_t least = 16;
    for (unsigned offset = 1; offset < kWideOffset; ++offset) least = std::min(least, kPatterns[offset].step);
    return least;
}();

}  // namespace detail

// Copies a match of at most `kShortMatch` bytes whose offset is below 16; reads and writes up to `kShortMatchWritten`
// bytes.
constexpr unsigned kShortMatch = 18;
constexpr unsigned kShortMatchWritten = 16 + 16;
static_assert(kShortMatch <= 16 + detail::kLeastStep);  // two stores cover it

[[gnu::always_inline]] inline void copyShortPattern(uint8_t* dst, uint64_t offset) noexcept {
    const detail::Pattern& p = detail::kPatterns[offset];
    const __m128i pattern = _mm_shuffle_epi8(load128(dst - offset), load128(p.shuffle.data()));
    store128(dst, pattern);
    store128(dst + p.step, pattern);
}

// Copies a match; may read and write up to `Shape::overwrite` bytes past its end.
template <class Shape>
[[gnu::always_inline]] inline void copyMatchFast(uint8_t* dst, uint64_t offset, uint64_t length) noexcept {
    uint8_t* const end = dst + length;
    if (offset >= Shape::unit) [[likely]] {
        const uint8_t* src = dst - offset;
        copyUnits<Shape::unit, Shape::head>(dst, src);
        dst += Shape::head;
        src += Shape::head;
        // Opaque, so that the compiler does not look for a wider way.
        for (; dst < end; dst += Shape::step, src = opaque(src + Shape::step))
            copyUnits<Shape::unit, Shape::step>(dst, src);
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
    if (offset == 0) return;
    uint8_t* const end = dst + length;
    if (length > WideCopy::overwrite) {
        // All but the last bytes, so that the bytes written too many still belong to the match.
        const uint64_t fast = length - WideCopy::overwrite;
        copyMatchFast<WideCopy>(dst, offset, fast);
        dst += fast;
    }
    if (offset >= 8) {
        for (; end - dst >= 8; dst += 8) copyBlock<8>(dst, dst - offset);
    }
    for (; dst < end; ++dst) *dst = *(dst - offset);
}

}  // namespace ozrdc
