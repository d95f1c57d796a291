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

// Copies exactly N bytes, a multiple of kUnit: 2, 4, 8 or 16. The units are copied in order, each loaded after the one
// before it was stored, so that the source may also lie kUnit bytes or more in front of the destination: copies of
// matches rely on it.
template <unsigned kUnit, unsigned N>
[[gnu::always_inline]] inline void copyUnits(void* dst, const void* src) noexcept {
    static_assert(kUnit == 2 || kUnit == 4 || kUnit == 8 || kUnit == 16);
    static_assert(N % kUnit == 0);
    auto* const to = static_cast<uint8_t*>(dst);
    const auto* const from = static_cast<const uint8_t*>(src);
    for (unsigned i = 0; i < N; i += kUnit) {
        if constexpr (kUnit == 2) {
            store16(to + i, load16(from + i));
        } else if constexpr (kUnit == 4) {
            store32(to + i, load32(from + i));
        } else if constexpr (kUnit == 8) {
            store64(to + i, load64(from + i));
        } else {
            store128(to + i, load128(from + i));
        }
    }
}

// The same in the widest unit that fits.
template <unsigned N>
[[gnu::always_inline]] inline void copyBlock(void* dst, const void* src) noexcept {
    copyUnits<(N < 16 ? N : 16), N>(dst, src);
}

}  // namespace ozrdc
