// The transform that takes the correlation out of a block, and its inverse: along each axis in turn, every line of four
// values is replaced by four coefficients of increasing sequency, by lifting in 32-bit integers.
//
// A vector holds the four values of one row, so that the y and z axes take one lifting for four lines. For the x axis
// the rows of a plane are transposed before, and transposed back after it. Arithmetic wraps: what a damaged or coarse
// stream holds may leave the range of 32 bits on the way back.
#pragma once

#include <emmintrin.h>

#include <cstddef>

#include "zfp/format.h"

namespace ozrdc::zfp {

// The values or coefficients of a block. Row y + 4z is that of y and z, its lanes are x.
struct Block {
    __m128i rows[kRows];
};

constexpr size_t kPlaneRows = kSide;  // rows of a plane of a block

// Transposes the 4 x 4 matrix of 32-bit lanes.
[[gnu::always_inline]] inline void transpose(__m128i& a, __m128i& b, __m128i& c, __m128i& d) noexcept {
    const __m128i abLow = _mm_unpacklo_epi32(a, b);
    const __m128i abHigh = _mm_unpackhi_epi32(a, b);
    const __m128i cdLow = _mm_unpacklo_epi32(c, d);
    const __m128i cdHigh = _mm_unpackhi_epi32(c, d);
    a = _mm_unpacklo_epi64(abLow, cdLow);
    b = _mm_unpackhi_epi64(abLow, cdLow);
    c = _mm_unpacklo_epi64(abHigh, cdHigh);
    d = _mm_unpackhi_epi64(abHigh, cdHigh);
}

namespace detail {

[[gnu::always_inline]] inline __m128i half(__m128i a) noexcept { return _mm_srai_epi32(a, 1); }

// a becomes the mean, rounded down, and b its distance from it.
[[gnu::always_inline]] inline void separate(__m128i& a, __m128i& b) noexcept {
    a = half(_mm_add_epi32(a, b));
    b = _mm_sub_epi32(b, a);
}

// The inverse, but for the bit that the mean has lost.
[[gnu::always_inline]] inline void merge(__m128i& a, __m128i& b) noexcept {
    b = _mm_add_epi32(b, a);
    a = _mm_sub_epi32(_mm_add_epi32(a, a), b);
}

// One lifting for four lines of values x, y, z, w.
[[gnu::always_inline]] inline void lift(__m128i& x, __m128i& y, __m128i& z, __m128i& w) noexcept {
    separate(x, w);
    separate(z, y);
    separate(x, z);
    separate(w, y);
    w = _mm_add_epi32(w, half(y));
    y = _mm_sub_epi32(y, half(w));
}

[[gnu::always_inline]] inline void unlift(__m128i& x, __m128i& y, __m128i& z, __m128i& w) noexcept {
    y = _mm_add_epi32(y, half(w));
    w = _mm_sub_epi32(w, half(y));
    merge(w, y);
    merge(x, z);
    merge(z, y);
    merge(x, w);
}

}  // namespace detail

// The forward transform: along x, y, z.
[[gnu::always_inline]] inline void ownFwdDecor(Block& block) noexcept {
    for (size_t z = 0; z < kSide; ++z) {
        __m128i* const rows = &block.rows[kSide * z];
        transpose(rows[0], rows[1], rows[2], rows[3]);
        detail::lift(rows[0], rows[1], rows[2], rows[3]);
        transpose(rows[0], rows[1], rows[2], rows[3]);
        detail::lift(rows[0], rows[1], rows[2], rows[3]);
    }
    for (size_t y = 0; y < kSide; ++y) {
        __m128i* const rows = &block.rows[y];
        detail::lift(rows[0], rows[kPlaneRows], rows[2 * kPlaneRows], rows[3 * kPlaneRows]);
    }
}

// The inverse transform: along z, y, x.
[[gnu::always_inline]] inline void ownInvDecor(Block& block) noexcept {
    for (size_t y = 0; y < kSide; ++y) {
        __m128i* const rows = &block.rows[y];
        detail::unlift(rows[0], rows[kPlaneRows], rows[2 * kPlaneRows], rows[3 * kPlaneRows]);
    }
    for (size_t z = 0; z < kSide; ++z) {
        __m128i* const rows = &block.rows[kSide * z];
        detail::unlift(rows[0], rows[1], rows[2], rows[3]);
        transpose(rows[0], rows[1], rows[2], rows[3]);
        detail::unlift(rows[0], rows[1], rows[2], rows[3]);
        transpose(rows[0], rows[1], rows[2], rows[3]);
    }
}

}  // namespace ozrdc::zfp
