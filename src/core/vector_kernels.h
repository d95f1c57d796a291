// Small array kernels that the codecs share: fill, clear, copy, add, shift, extremes, clamp, and the copy of a run of
// bits.
//
// Each is checked like an exported primitive (pointers, then lengths) and returns a `Status`. Most are plain loops,
// which the compiler turns into vector code, and all are inline, so that a caller with constant arguments pays for no
// check. Lengths are counts of elements.
#pragma once

#include <smmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "core/arguments.h"
#include "core/unaligned.h"
#include "ozrdc.h"

namespace ozrdc {

namespace detail {

[[nodiscard]] constexpr Status checkVector(bool null, int32_t len) noexcept {
    if (null) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    return StatusOk;
}

}  // namespace detail

// Sets every byte to `value`.
inline Status ozrsSet_8u(uint8_t value, uint8_t* pDst, int32_t len) noexcept {
    if (Status s = detail::checkVector(anyNull(pDst), len)) return s;
    std::memset(pDst, value, static_cast<size_t>(len));
    return StatusOk;
}

// Sets every element to `value`.
inline Status ozrsSet_32s(int32_t value, int32_t* pDst, int32_t len) noexcept {
    if (Status s = detail::checkVector(anyNull(pDst), len)) return s;
    std::fill_n(pDst, len, value);
    return StatusOk;
}

// Clears `len` 16-bit elements; the destination may start at any address.
inline Status ozrsZero_16s(void* pDst, int32_t len) noexcept {
    if (Status s = detail::checkVector(anyNull(pDst), len)) return s;
    std::memset(pDst, 0, static_cast<size_t>(len) * sizeof(int16_t));
    return StatusOk;
}

// Clears `len` 32-bit elements; the destination may start at any address.
inline Status ozrsZero_32s(void* pDst, int32_t len) noexcept {
    if (Status s = detail::checkVector(anyNull(pDst), len)) return s;
    std::memset(pDst, 0, static_cast<size_t>(len) * sizeof(int32_t));
    return StatusOk;
}

// Copies bytes; the regions must not overlap.
inline Status ozrsCopy_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len) noexcept {
    if (Status s = detail::checkVector(anyNull(pSrc, pDst), len)) return s;
    std::memcpy(pDst, pSrc, static_cast<size_t>(len));
    return StatusOk;
}

// dst = (src + value) / 2^scale, saturated to 32 bits before the division. Scale 33 and above gives zeros; the division
// rounds down. A negative scale is taken as 0: no codec scales at all.
inline Status ozrsAddC_32s_Sfs(const int32_t* pSrc, int32_t value, int32_t* pDst, int32_t len, int32_t scale) noexcept {
    if (Status s = detail::checkVector(anyNull(pSrc, pDst), len)) return s;
    constexpr int64_t lowest = std::numeric_limits<int32_t>::min();
    constexpr int64_t highest = std::numeric_limits<int32_t>::max();
    const int32_t shift = std::clamp(scale, 0, 32);
    const int64_t mask = scale > 32 ? 0 : -1;
    for (int32_t i = 0; i < len; ++i) {
        const int64_t sum = std::clamp(int64_t{pSrc[i]} + value, lowest, highest);
        pDst[i] = static_cast<int32_t>((sum & mask) >> shift);
    }
    return StatusOk;
}

// Shifts every element left. A shift of 32 or more clears the vector before any other check is made.
// Returns -32 for a negative shift, a status that no exported function passes on.
constexpr Status StatusShiftError = -32;

inline Status ozrsLShiftC_32s_I(int32_t shift, int32_t* pSrcDst, int32_t len) noexcept {
    if (shift >= 32) return ozrsZero_32s(pSrcDst, len);
    if (Status s = detail::checkVector(anyNull(pSrcDst), len)) return s;
    if (shift < 0) return StatusShiftError;
    if (shift == 0) return StatusOk;
    for (int32_t i = 0; i < len; ++i) {
        pSrcDst[i] = static_cast<int32_t>(static_cast<uint32_t>(pSrcDst[i]) << shift);
    }
    return StatusOk;
}

// The largest absolute value.
inline Status ozrsMaxAbs_32f(const float* pSrc, int32_t len, float* pMax) noexcept {
    if (Status s = detail::checkVector(anyNull(pSrc, pMax), len)) return s;
    float max = 0.0F;
    for (int32_t i = 0; i < len; ++i) {
        const float magnitude = std::fabs(pSrc[i]);
        max = max < magnitude ? magnitude : max;
    }
    *pMax = max;
    return StatusOk;
}

// The smallest and the largest element.
inline Status ozrsMinMax_32s(const int32_t* pSrc, int32_t len, int32_t* pMin, int32_t* pMax) noexcept {
    if (Status s = detail::checkVector(anyNull(pSrc, pMin, pMax), len)) return s;
    int32_t smallest = pSrc[0];
    int32_t largest = pSrc[0];
    for (int32_t i = 1; i < len; ++i) {
        smallest = std::min(smallest, pSrc[i]);
        largest = std::max(largest, pSrc[i]);
    }
    *pMin = smallest;
    *pMax = largest;
    return StatusOk;
}

// Replaces every 32-bit element above `level` by `level`; the vector may start at any address.
inline Status ozrsThreshold_GT_32s_I(void* pSrcDst, int32_t len, int32_t level) noexcept {
    if (Status s = detail::checkVector(anyNull(pSrcDst), len)) return s;
    auto* p = static_cast<uint8_t*>(pSrcDst);
    uint8_t* const end = p + static_cast<size_t>(len) * sizeof level;
    const __m128i levels = _mm_set1_epi32(level);
    for (; end - p >= 16; p += 16) store128(p, _mm_min_epi32(load128(p), levels));
    for (; p < end; p += sizeof level) store(p, std::min(load<int32_t>(p), level));
    return StatusOk;
}

// Copies `bitCount` bits from bit `srcBit` of the source to bit `dstBit` of the destination; all other bits of the
// destination keep their values, and no byte without a bit of the run is touched. Bit i of a buffer is bit i % 8 of
// byte i / 8, counted from the least significant: the order of a Deflate stream. The regions must not overlap.
//
// A null source gives `StatusNullPointer`, but a null destination, a count below 1 or a negative offset
// `StatusSizeError`.
inline Status ozrsCopyBE_1u(const uint8_t* pSrc, int32_t srcBit, uint8_t* pDst, int32_t dstBit,
                            int32_t bitCount) noexcept {
    if (pSrc == nullptr) return StatusNullPointer;
    if (pDst == nullptr || bitCount < 1 || srcBit < 0 || dstBit < 0) return StatusSizeError;

    pSrc += srcBit / 8;
    pDst += dstBit / 8;
    auto srcShift = static_cast<unsigned>(srcBit % 8);
    const auto dstShift = static_cast<unsigned>(dstBit % 8);
    auto left = static_cast<uint32_t>(bitCount);

    // Takes the next n source bits, 1 <= n <= 8, reading no byte that holds none of them.
    const auto take = [&](unsigned n) noexcept {
        uint32_t bits = static_cast<uint32_t>(*pSrc) >> srcShift;
        if (srcShift + n > 8) bits |= static_cast<uint32_t>(pSrc[1]) << (8 - srcShift);
        srcShift += n;
        pSrc += srcShift / 8;
        srcShift %= 8;
        return bits & ((1U << n) - 1);
    };
    // Replaces n bits of the current destination byte, from `shift` on.
    const auto put = [&](unsigned shift, unsigned n) noexcept {
        const uint32_t mask = ((1U << n) - 1) << shift;
        *pDst = static_cast<uint8_t>((*pDst & ~mask) | (take(n) << shift));
    };

    if (dstShift != 0) {
        const unsigned n = std::min(8 - dstShift, left);
        put(dstShift, n);
        left -= n;
        ++pDst;
    }
    if (srcShift == 0 && left >= 8) {
        const uint32_t bytes = left / 8;
        std::memcpy(pDst, pSrc, bytes);
        pSrc += bytes;
        pDst += bytes;
        left %= 8;
    }
    for (; left >= 8; left -= 8) *pDst++ = static_cast<uint8_t>(take(8));
    if (left > 0) put(0, left);
    return StatusOk;
}

}  // namespace ozrdc
