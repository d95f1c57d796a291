// Adler-32 of messages of any length: the long part by the widest vectors there are, what is left by narrow ones.

#include <smmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "checksum/adler32_sums.h"
#include "checksum/byte_vectors.h"
#include "core/entry_points.h"
#include "core/unaligned.h"

namespace ozrdc::adler32 {

size_t addAllRuns16(Sums& sums, const uint8_t* p, size_t len) noexcept { return addAllRuns<Bytes16>(sums, p, len); }

namespace {

constexpr uint32_t kVector = Bytes16::kBytes;

// From this length of a message on, in bytes, wider vectors gain more than the call of another function costs.
constexpr size_t kLong = 1280;

// Takes up `vectors` vectors, fewer than a run's.
[[gnu::always_inline]] inline void addVectors(Sums& sums, const uint8_t* p, uint32_t vectors) noexcept {
    const __m128i weights = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
    const __m128i wordOnes = _mm_set1_epi16(1);
    __m128i sum = _mm_setzero_si128();
    __m128i sumsBefore = sum;  // of `sum` before each vector
    __m128i weighted = sum;
    for (const uint8_t* const end = p + size_t{vectors} * kVector; p != end; p += kVector) {
        const __m128i x = load128(p);
        sumsBefore = _mm_add_epi32(sumsBefore, sum);
        sum = _mm_add_epi32(sum, _mm_sad_epu8(x, _mm_setzero_si128()));
        weighted = _mm_add_epi32(weighted, _mm_madd_epi16(_mm_maddubs_epi16(x, weights), wordOnes));
    }
    weighted = _mm_add_epi32(weighted, _mm_slli_epi32(sumsBefore, 4));
    sums.add(vectors * kVector, Bytes16::sum32(sum), Bytes16::sum32(weighted));
}

// Takes up n bytes before `end`, fewer than a vector. The 16 bytes before `end` are readable.
[[gnu::always_inline]] inline void addTail(Sums& sums, const uint8_t* end, uint32_t n) noexcept {
    alignas(16) static constexpr std::array<uint8_t, size_t{2}* kVector> kKeep = {
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    const __m128i weights = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
    const __m128i x = _mm_and_si128(load128(end - kVector), load128(kKeep.data() + n));
    const __m128i weighted = _mm_madd_epi16(_mm_maddubs_epi16(x, weights), _mm_set1_epi16(1));
    sums.add(n, Bytes16::sum32(_mm_sad_epu8(x, _mm_setzero_si128())), Bytes16::sum32(weighted));
}

uint32_t ownsAdler32_8u(uint32_t adler, const uint8_t* p, size_t len) noexcept {
    Sums sums{adler & 0xFFFF, adler >> 16};
    const uint8_t* const end = p + len;
    if (len < kVector) {
        for (; p != end; ++p) sums.b += sums.a += *p;
    } else {
        const auto take = [&](auto addRuns) {
            const size_t taken = addRuns(sums, p, len);
            p += taken;
            len -= taken;
        };
        if (len >= kLong) take(ozrdcAdler32AddAllRuns);
        if (len >= NearLayout<Bytes16>::kRunBytes) take(addAllRuns16);
        addVectors(sums, p, static_cast<uint32_t>(len) / kVector);
        if (const uint32_t n = len % kVector; n != 0) addTail(sums, end, n);
    }
    sums.reduce();
    return sums.b << 16 | sums.a;
}

}  // namespace
}  // namespace ozrdc::adler32

Status y8_ozrsAdler32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pAdler) noexcept {
    if (pAdler == nullptr) return StatusNullPointer;
    if (pSrc == nullptr) {
        *pAdler = 1;
        return StatusOk;
    }
    *pAdler = ozrdc::adler32::ownsAdler32_8u(*pAdler, pSrc, static_cast<size_t>(std::max(len, 0)));
    return StatusOk;
}
