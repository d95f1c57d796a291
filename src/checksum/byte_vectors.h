// Vectors of bytes in two widths under one set of names, for loops that are compiled for both.
//
// `Bytes16` is what every processor has that the library runs on. `Bytes32` exists in files that are compiled for AVX2,
// and may only be reached behind a test for it. All of it is inlined: an instance outside of line that was compiled for
// AVX2 would be shared with files that are not.
#pragma once

#include <immintrin.h>

#include <array>
#include <cstdint>

#include "core/unaligned.h"

namespace ozrdc {

// NOLINTBEGIN(portability-simd-intrinsics)
struct Bytes16 {
    using Vector = __m128i;
    static constexpr uint32_t kBytes = 16;

    [[gnu::always_inline]] static Vector load(const uint8_t* p) noexcept { return load128(p); }
    [[gnu::always_inline]] static Vector zero() noexcept { return _mm_setzero_si128(); }
    [[gnu::always_inline]] static Vector all8(int8_t x) noexcept { return _mm_set1_epi8(x); }
    [[gnu::always_inline]] static Vector all16(int16_t x) noexcept { return _mm_set1_epi16(x); }
    [[gnu::always_inline]] static Vector all32(int32_t x) noexcept { return _mm_set1_epi32(x); }
    [[gnu::always_inline]] static Vector exclusiveOr(Vector a, Vector b) noexcept { return _mm_xor_si128(a, b); }
    [[gnu::always_inline]] static Vector add16(Vector a, Vector b) noexcept { return _mm_add_epi16(a, b); }
    [[gnu::always_inline]] static Vector add32(Vector a, Vector b) noexcept { return _mm_add_epi32(a, b); }
    [[gnu::always_inline]] static Vector subtract16(Vector a, Vector b) noexcept { return _mm_sub_epi16(a, b); }
    [[gnu::always_inline]] static Vector subtract32(Vector a, Vector b) noexcept { return _mm_sub_epi32(a, b); }
    [[gnu::always_inline]] static Vector multiply16(Vector a, Vector b) noexcept { return _mm_mullo_epi16(a, b); }
    [[gnu::always_inline]] static Vector multiply32(Vector a, Vector b) noexcept { return _mm_mullo_epi32(a, b); }
    // Sums of the products of neighbors: of unsigned and signed bytes, and of signed words.
    [[gnu::always_inline]] static Vector multiplyPairs8(Vector a, Vector b) noexcept { return _mm_maddubs_epi16(a, b); }
    [[gnu::always_inline]] static Vector multiplyPairs16(Vector a, Vector b) noexcept { return _mm_madd_epi16(a, b); }
    [[gnu::always_inline]] static uint32_t sum32(Vector x) noexcept {
        x = _mm_add_epi32(x, _mm_shuffle_epi32(x, _MM_SHUFFLE(1, 0, 3, 2)));
        x = _mm_add_epi32(x, _mm_shuffle_epi32(x, _MM_SHUFFLE(2, 3, 0, 1)));
        return static_cast<uint32_t>(_mm_cvtsi128_si32(x));
    }
};

#ifdef __AVX2__
struct Bytes32 {
    using Vector = __m256i;
    static constexpr uint32_t kBytes = 32;

    [[gnu::always_inline]] static Vector load(const uint8_t* p) noexcept {
        return _mm256_loadu_si256(reinterpret_cast<const Vector*>(p));
    }
    [[gnu::always_inline]] static Vector zero() noexcept { return _mm256_setzero_si256(); }
    [[gnu::always_inline]] static Vector all8(int8_t x) noexcept { return _mm256_set1_epi8(x); }
    [[gnu::always_inline]] static Vector all16(int16_t x) noexcept { return _mm256_set1_epi16(x); }
    [[gnu::always_inline]] static Vector all32(int32_t x) noexcept { return _mm256_set1_epi32(x); }
    [[gnu::always_inline]] static Vector exclusiveOr(Vector a, Vector b) noexcept { return _mm256_xor_si256(a, b); }
    [[gnu::always_inline]] static Vector add16(Vector a, Vector b) noexcept { return _mm256_add_epi16(a, b); }
    [[gnu::always_inline]] static Vector add32(Vector a, Vector b) noexcept { return _mm256_add_epi32(a, b); }
    [[gnu::always_inline]] static Vector subtract16(Vector a, Vector b) noexcept { return _mm256_sub_epi16(a, b); }
    [[gnu::always_inline]] static Vector subtract32(Vector a, Vector b) noexcept { return _mm256_sub_epi32(a, b); }
    [[gnu::always_inline]] static Vector multiply16(Vector a, Vector b) noexcept { return _mm256_mullo_epi16(a, b); }
    [[gnu::always_inline]] static Vector multiply32(Vector a, Vector b) noexcept { return _mm256_mullo_epi32(a, b); }
    [[gnu::always_inline]] static Vector multiplyPairs8(Vector a, Vector b) noexcept {
        return _mm256_maddubs_epi16(a, b);
    }
    [[gnu::always_inline]] static Vector multiplyPairs16(Vector a, Vector b) noexcept {
        return _mm256_madd_epi16(a, b);
    }
    [[gnu::always_inline]] static uint32_t sum32(Vector x) noexcept {
        return Bytes16::sum32(_mm_add_epi32(_mm256_castsi256_si128(x), _mm256_extracti128_si256(x, 1)));
    }
};
#endif
// NOLINTEND(portability-simd-intrinsics)

}  // namespace ozrdc
