// 128-bit blocks of a message as polynomials: how they stand in registers, and how carry-less multiplication moves
// them.
//
// A block that stands D bits in front of another is moved onto it as block * x^D mod P: two multiplications of 64 by 64
// bits, one for each half, with factors that depend on D alone. The result is again a block, congruent but not reduced.
#pragma once

#include <smmintrin.h>
#include <wmmintrin.h>

#include <cstddef>
#include <cstdint>

#include "checksum/polynomial.h"
#include "core/unaligned.h"

// Only called where the processor has the instruction, so it is inlined into functions that may use it, and never
// compiled for the rest of the library.
#define OZRDC_FOLDING [[gnu::target("pclmul"), gnu::always_inline]] static inline

namespace ozrdc {

// How the blocks of a message stand in registers, and the products that follow from it.
template <BitOrder order, uint32_t polynomial>
struct BlockArithmetic;

// Least significant bit first: bit i of a register is the coefficient of x^(127 - i), so the low half comes first in
// the message. The product of two halves comes out one bit low in this order, so each constant has one power of x less.
template <uint32_t polynomial>
struct BlockArithmetic<BitOrder::LeastFirst, polynomial> {
    template <uint64_t exponent>
    static constexpr auto kPower = static_cast<int64_t>(reflect(powerOfX(exponent - 1, polynomial), 64));
    // Factors of the low and the high half that move a block over `distance` bits.
    template <uint64_t distance>
    static constexpr int64_t kLowFactor = kPower<distance + 64>;
    template <uint64_t distance>
    static constexpr int64_t kHighFactor = kPower<distance>;

    [[gnu::always_inline]] static inline __m128i toRegister(__m128i block) noexcept { return block; }

    // The register of the CRC as it is XORed into the first block of the message.
    [[gnu::always_inline]] static inline __m128i fromCrc(uint32_t crc) noexcept {
        return _mm_cvtsi32_si128(static_cast<int>(crc));
    }

    // The masks of shuffles that move bytes by n towards the start or the end of the message, cut from `window`: zeros,
    // the identity, zeros.
    [[gnu::always_inline]] static inline __m128i shuffleForward(const uint8_t* window, size_t n) noexcept {
        return load128(window - n);
    }
    [[gnu::always_inline]] static inline __m128i shuffleBackward(const uint8_t* window, size_t n) noexcept {
        return load128(window + n);
    }

    // block * x^32 mod P.
    OZRDC_FOLDING uint32_t reduce(__m128i block) noexcept {
        // 128 bits to 96: the first half * x^96, and the second half * x^32.
        constexpr int64_t kFirstHalf = kPower<96>;
        // The quotient of 64 bits by P, with x^95 / P, and back: 33 bits, the leading coefficient in bit 0.
        constexpr auto kQuotient = static_cast<int64_t>(reflect(quotientOfX(95, polynomial), 64));
        constexpr auto kGenerator = static_cast<int64_t>(reflect((uint64_t{1} << 32) | polynomial, 33));

        const __m128i secondHalf = _mm_slli_si128(_mm_srli_si128(block, 8), 4);
        const __m128i rest = _mm_srli_si128(
            _mm_xor_si128(_mm_clmulepi64_si128(block, _mm_cvtsi64_si128(kFirstHalf), 0x00), secondHalf), 4);
        const __m128i quotient = _mm_clmulepi64_si128(rest, _mm_cvtsi64_si128(kQuotient), 0x00);
        const __m128i product = _mm_clmulepi64_si128(quotient, _mm_cvtsi64_si128(kGenerator), 0x00);
        return static_cast<uint32_t>(_mm_extract_epi32(_mm_xor_si128(rest, product), 2));
    }
};

// Most significant bit first: with the bytes of a block reversed, bit i of a register is the coefficient of x^i.
template <uint32_t polynomial>
struct BlockArithmetic<BitOrder::MostFirst, polynomial> {
    template <uint64_t exponent>
    static constexpr auto kPower = static_cast<int64_t>(powerOfX(exponent, polynomial));
    template <uint64_t distance>
    static constexpr int64_t kLowFactor = kPower<distance>;
    template <uint64_t distance>
    static constexpr int64_t kHighFactor = kPower<distance + 64>;

    [[gnu::always_inline]] static inline __m128i toRegister(__m128i block) noexcept {
        return _mm_shuffle_epi8(block, _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
    }

    [[gnu::always_inline]] static inline __m128i fromCrc(uint32_t crc) noexcept {
        return _mm_slli_si128(_mm_cvtsi32_si128(static_cast<int>(crc)), 12);
    }

    [[gnu::always_inline]] static inline __m128i shuffleForward(const uint8_t* window, size_t n) noexcept {
        return load128(window + n);
    }
    [[gnu::always_inline]] static inline __m128i shuffleBackward(const uint8_t* window, size_t n) noexcept {
        return load128(window - n);
    }

    OZRDC_FOLDING uint32_t reduce(__m128i block) noexcept {
        constexpr int64_t kFirstHalf = kPower<96>;
        // x^96 / P has 65 bits: the leading one is multiplied by hand.
        constexpr auto kQuotient = static_cast<int64_t>(quotientOfX(96, polynomial));
        constexpr auto kGenerator = static_cast<int64_t>((uint64_t{1} << 32) | polynomial);

        const __m128i secondHalf = _mm_srli_si128(_mm_slli_si128(block, 8), 4);
        const __m128i rest =
            _mm_xor_si128(_mm_clmulepi64_si128(block, _mm_cvtsi64_si128(kFirstHalf), 0x01), secondHalf);
        const __m128i leading = _mm_srli_si128(rest, 4);
        const __m128i quotient = _mm_xor_si128(
            _mm_srli_si128(_mm_clmulepi64_si128(leading, _mm_cvtsi64_si128(kQuotient), 0x00), 8), leading);
        const __m128i product = _mm_clmulepi64_si128(quotient, _mm_cvtsi64_si128(kGenerator), 0x00);
        return static_cast<uint32_t>(_mm_cvtsi128_si32(_mm_xor_si128(rest, product)));
    }
};

template <typename Arithmetic>
struct BlockFolding : Arithmetic {
    // block * x^distance, as a block.
    template <uint64_t distance>
    OZRDC_FOLDING __m128i fold(__m128i block) noexcept {
        const __m128i factors =
            _mm_set_epi64x(Arithmetic::template kHighFactor<distance>, Arithmetic::template kLowFactor<distance>);
        // The two multiplications are written as one piece of assembly to keep them together: decoders that take them
        // from microcode lose cycles whenever they have to change over, and compilers like to scatter them.
        __m128i low = block;
        __m128i high = block;
        asm("pclmulqdq $0x00, %2, %0\n\t"
            "pclmulqdq $0x11, %2, %1"
            : "+x"(low), "+x"(high)
            : "x"(factors));
        return _mm_xor_si128(low, high);
    }
    template <uint64_t distance>
    OZRDC_FOLDING __m128i foldOnto(__m128i block, __m128i next) noexcept {
        return _mm_xor_si128(fold<distance>(block), next);
    }

    [[gnu::always_inline]] static inline __m128i loadBlock(const uint8_t* p) noexcept {
        return Arithmetic::toRegister(load128(p));
    }

    // Two and four neighboring blocks as one.
    OZRDC_FOLDING __m128i join2(__m128i a, __m128i b) noexcept { return foldOnto<128>(a, b); }
    OZRDC_FOLDING __m128i join4(__m128i a, __m128i b, __m128i c, __m128i d) noexcept {
        return join2(foldOnto<256>(a, c), foldOnto<256>(b, d));
    }
};

}  // namespace ozrdc

#undef OZRDC_FOLDING
