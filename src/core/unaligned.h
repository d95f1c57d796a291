// Unaligned little-endian loads and stores. x86-64 does each in one instruction; memcpy is how C++ says
// so without undefined behavior.
#pragma once

#include <emmintrin.h>

#include <cstdint>
#include <cstring>

namespace ozrdc {

template <typename Word>
[[gnu::always_inline]] inline Word load(const void* p) noexcept {
    Word w;
    std::memcpy(&w, p, sizeof w);
    return w;
}

template <typename Word>
[[gnu::always_inline]] inline void store(void* p, Word w) noexcept {
    std::memcpy(p, &w, sizeof w);
}

[[gnu::always_inline]] inline uint16_t load16(const void* p) noexcept { return load<uint16_t>(p); }
[[gnu::always_inline]] inline uint32_t load32(const void* p) noexcept { return load<uint32_t>(p); }
[[gnu::always_inline]] inline uint64_t load64(const void* p) noexcept { return load<uint64_t>(p); }
[[gnu::always_inline]] inline void store16(void* p, uint16_t w) noexcept { store(p, w); }
[[gnu::always_inline]] inline void store32(void* p, uint32_t w) noexcept { store(p, w); }
[[gnu::always_inline]] inline void store64(void* p, uint64_t w) noexcept { store(p, w); }

// 16 bytes as a vector.
[[gnu::always_inline]] inline __m128i load128(const void* p) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i_u*>(p));
}
[[gnu::always_inline]] inline void store128(void* p, __m128i v) noexcept {
    _mm_storeu_si128(static_cast<__m128i_u*>(p), v);
}

// Copies exactly N bytes: 2, 4, 8, or a multiple of 16. The units are copied in order, each loaded after the one before
// it was stored, so that the source may also lie N or 16 bytes in front of the destination, whichever is less: copies
// of matches rely on it.
template <unsigned N>
[[gnu::always_inline]] inline void copyBlock(void* dst, const void* src) noexcept {
    static_assert(N == 2 || N == 4 || N == 8 || N % 16 == 0);
    if constexpr (N == 2) {
        store16(dst, load16(src));
    } else if constexpr (N == 4) {
        store32(dst, load32(src));
    } else if constexpr (N == 8) {
        store64(dst, load64(src));
    } else {
        for (unsigned i = 0; i < N; i += 16) {
            store128(static_cast<uint8_t*>(dst) + i, load128(static_cast<const uint8_t*>(src) + i));
        }
    }
}

}  // namespace ozrdc
