// Adler-32: A = 1 + the sum of all bytes, B = the sum of all values that A takes; both modulo 65521.
//
// Over n bytes A grows by their sum, and B by n * A plus the sum of each byte times its distance from the end of the n,
// the last byte counting 1. Vector code therefore has two sums to make, one plain and one weighted by position. All
// that follows avoids multiplying by the weights while the bytes stream in.
//
// Long messages go in blocks of up to 8 runs of 15 steps of two 16-byte vectors. With 16-bit words of a vector written
// as e + 256 * o (the even byte and the odd byte), a step does for each vector
//
//     w += e + 256 * o  (modulo 2^16; the vector as it was loaded)
//     q  = e + o        (one instruction, pmaddubsw)
//     r += q
//     R += r
//
// so that r ends as the sum of the run, word by word, and R as the sum weighted by the number of steps from a vector to
// the end of its run: the weights come from adding prefix sums, as B itself does. Before R overflows its 16 bits the
// run ends, and the words are widened. The weights of the bytes within a vector are applied once a block: from the sums
// of q and w follow, modulo 2^16, sum o = (sum w - sum q) / 255 and sum e = sum q - sum o.
//
// Two vectors a step make two independent chains of additions.

#include <smmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "core/entry_points.h"
#include "core/unaligned.h"

namespace ozrdc {
namespace {

constexpr uint32_t kModulus = 65521;  // the largest prime below 2^16
constexpr uint32_t kMaxByte = 255;
constexpr uint32_t kMaxWord = 65535;

constexpr uint32_t kVector = 16;
constexpr uint32_t kStreams = 2;  // vectors a step
constexpr uint32_t kStepBytes = kStreams * kVector;

// A word of R is at most 510 * (1 + 2 + ... + steps).
constexpr uint32_t kRunSteps = 15;
static_assert(2 * kMaxByte * (kRunSteps * (kRunSteps + 1) / 2) <= kMaxWord);
constexpr uint32_t kRunBytes = kRunSteps * kStepBytes;
// Both streams' r in one word, as a signed number.
static_assert(kStreams * 2 * kMaxByte * kRunSteps <= 32767);

// In a block, the sum of the even bytes of a word of both streams must fit 16 bits to be told from that of the odd
// ones, and so must the sum of both in one stream.
constexpr uint32_t kBlockRuns = 8;
static_assert(kMaxByte * kBlockRuns * kRunSteps * kStreams <= kMaxWord);
static_assert(2 * kMaxByte * kBlockRuns * kRunSteps <= kMaxWord);
constexpr uint32_t kBlockBytes = kBlockRuns * kRunBytes;
// B after a block, before it is reduced.
static_assert(uint64_t{kModulus - 1} + uint64_t{kBlockBytes} * (kModulus - 1) +
                  uint64_t{kMaxByte} * (uint64_t{kBlockBytes} * (kBlockBytes + 1) / 2) <=
              UINT32_MAX);

struct Sums {
    uint32_t a;
    uint32_t b;

    [[gnu::always_inline]] void reduce() noexcept {
        a %= kModulus;
        b %= kModulus;
    }
    // What n bytes with these plain and weighted sums add.
    [[gnu::always_inline]] void add(uint32_t n, uint32_t sum, uint32_t weighted) noexcept {
        b += n * a + weighted;
        a += sum;
    }
};

[[gnu::always_inline]] inline uint32_t horizontalSum(__m128i x) noexcept {
    x = _mm_add_epi32(x, _mm_shuffle_epi32(x, _MM_SHUFFLE(1, 0, 3, 2)));
    x = _mm_add_epi32(x, _mm_shuffle_epi32(x, _MM_SHUFFLE(2, 3, 0, 1)));
    return static_cast<uint32_t>(_mm_cvtsi128_si32(x));
}

// The products of unsigned words and small weights, pairs of them added. The multiplication takes signed words, so the
// words are lowered by 2^15; `loweredBy` gives what the sum over a vector misses then.
constexpr int16_t kLowest = -32768;
[[gnu::always_inline]] inline __m128i weigh(__m128i words, __m128i weights) noexcept {
    return _mm_madd_epi16(_mm_xor_si128(words, _mm_set1_epi16(kLowest)), weights);
}
constexpr uint32_t loweredBy(uint32_t sumOfWeights) { return 32768 * sumOfWeights; }

// Takes up `runs` runs, 1 to 8.
[[gnu::always_inline]] inline void addBlock(Sums& sums, const uint8_t* p, uint32_t runs) noexcept {
    const __m128i byteOnes = _mm_set1_epi8(1);
    const __m128i wordOnes = _mm_set1_epi16(1);
    const __m128i zero = _mm_setzero_si128();
    __m128i w[kStreams] = {zero, zero};  // the vectors as words, modulo 2^16
    __m128i q[kStreams] = {zero, zero};  // sums of e + o
    __m128i sum = zero;                  // of all bytes so far, 32 bits
    __m128i sumsBefore = zero;           // of `sum` at the start of each run
    __m128i weighted = zero;             // of R at the end of each run, lowered

    for (uint32_t run = 0; run < runs; ++run) {
        __m128i r[kStreams] = {zero, zero};
        __m128i prefixes[kStreams] = {_mm_set1_epi16(kLowest), _mm_set1_epi16(kLowest)};
#pragma GCC unroll 15
        for (uint32_t step = 0; step < kRunSteps; ++step, p += kStepBytes) {
#pragma GCC unroll 2
            for (uint32_t i = 0; i < kStreams; ++i) {
                const __m128i x = load128(p + i * kVector);
                w[i] = _mm_add_epi16(w[i], x);
                r[i] = _mm_add_epi16(r[i], _mm_maddubs_epi16(x, byteOnes));
                prefixes[i] = _mm_add_epi16(prefixes[i], r[i]);
            }
            // Compilers would gather additions of several steps, and spill.
            asm("" : "+x"(r[0]), "+x"(r[1]), "+x"(prefixes[0]), "+x"(prefixes[1]), "+x"(w[0]), "+x"(w[1]));
        }
        sumsBefore = _mm_add_epi32(sumsBefore, sum);
        sum = _mm_add_epi32(sum, _mm_madd_epi16(_mm_add_epi16(r[0], r[1]), wordOnes));
        for (uint32_t i = 0; i < kStreams; ++i) {
            q[i] = _mm_add_epi16(q[i], r[i]);
            weighted = _mm_add_epi32(weighted, _mm_madd_epi16(prefixes[i], wordOnes));
        }
    }

    // Steps to the end of the block, the last counting 1, times the bytes of each step.
    const __m128i runLength = _mm_set1_epi32(kRunSteps);
    const __m128i bySteps = _mm_add_epi32(weighted, _mm_mullo_epi32(sumsBefore, runLength));
    constexpr uint32_t kWords = 8;
    const uint32_t stepsLowered = runs * kStreams * loweredBy(kWords);

    // The second vector of a step stands 16 bytes nearer to the end than the first.
    const __m128i second = weigh(q[1], wordOnes);

    // Byte l of a vector stands l bytes nearer to the end than byte 0.
    constexpr int16_t kInverseOf255 = -257;  // 255 * 257 = 2^16 - 1
    const __m128i both = _mm_add_epi16(q[0], q[1]);
    const __m128i odd = _mm_mullo_epi16(_mm_sub_epi16(_mm_add_epi16(w[0], w[1]), both), _mm_set1_epi16(kInverseOf255));
    const __m128i even = _mm_sub_epi16(both, odd);
    const __m128i byLane = _mm_add_epi32(weigh(even, _mm_setr_epi16(0, 2, 4, 6, 8, 10, 12, 14)),
                                         weigh(odd, _mm_setr_epi16(1, 3, 5, 7, 9, 11, 13, 15)));
    constexpr uint32_t kLaneWeights = kVector * (kVector - 1) / 2;

    // All sums are exact modulo 2^32, and the result fits.
    const __m128i total = _mm_sub_epi32(_mm_sub_epi32(_mm_slli_epi32(bySteps, 5), _mm_slli_epi32(second, 4)), byLane);
    static_assert(kStepBytes == 1 << 5 && kVector == 1 << 4);
    const uint32_t weightedSum =
        horizontalSum(total) + kStepBytes * stepsLowered - kVector * loweredBy(kWords) - loweredBy(kLaneWeights);
    sums.add(runs * kRunBytes, horizontalSum(sum), weightedSum);
    sums.reduce();
}

// Takes up `vectors` vectors, fewer than a run's.
[[gnu::always_inline]] inline void addVectors(Sums& sums, const uint8_t* p, uint32_t vectors) noexcept {
    const __m128i weights = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
    const __m128i wordOnes = _mm_set1_epi16(1);
    __m128i sum = _mm_setzero_si128();
    __m128i sumsBefore = sum;  // of `sum` before each vector
    __m128i weighted = sum;
    for (const uint8_t* const end = p + vectors * kVector; p != end; p += kVector) {
        const __m128i x = load128(p);
        sumsBefore = _mm_add_epi32(sumsBefore, sum);
        sum = _mm_add_epi32(sum, _mm_sad_epu8(x, _mm_setzero_si128()));
        weighted = _mm_add_epi32(weighted, _mm_madd_epi16(_mm_maddubs_epi16(x, weights), wordOnes));
    }
    weighted = _mm_add_epi32(weighted, _mm_slli_epi32(sumsBefore, 4));
    sums.add(vectors * kVector, horizontalSum(sum), horizontalSum(weighted));
}

// Takes up n bytes before `end`, fewer than a vector. The 16 bytes before `end` are readable.
[[gnu::always_inline]] inline void addTail(Sums& sums, const uint8_t* end, uint32_t n) noexcept {
    alignas(16) static constexpr std::array<uint8_t, 2 * kVector> kKeep = {
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    const __m128i weights = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
    const __m128i x = _mm_and_si128(load128(end - kVector), load128(kKeep.data() + n));
    const __m128i weighted = _mm_madd_epi16(_mm_maddubs_epi16(x, weights), _mm_set1_epi16(1));
    sums.add(n, horizontalSum(_mm_sad_epu8(x, _mm_setzero_si128())), horizontalSum(weighted));
}

uint32_t ownsAdler32_8u(uint32_t adler, const uint8_t* p, size_t len) noexcept {
    Sums sums{adler & 0xFFFF, adler >> 16};
    const uint8_t* const end = p + len;
    if (len < kVector) {
        for (; p != end; ++p) sums.b += sums.a += *p;
    } else {
        if (len >= kRunBytes) {
            sums.reduce();
            do {
                const auto runs = static_cast<uint32_t>(std::min<size_t>(len / kRunBytes, kBlockRuns));
                addBlock(sums, p, runs);
                p += runs * kRunBytes;
                len -= runs * kRunBytes;
            } while (len >= kRunBytes);
        }
        addVectors(sums, p, static_cast<uint32_t>(len) / kVector);
        if (const uint32_t n = len % kVector; n != 0) addTail(sums, end, n);
    }
    sums.reduce();
    return sums.b << 16 | sums.a;
}

}  // namespace
}  // namespace ozrdc

Status y8_ozrsAdler32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pAdler) noexcept {
    using namespace ozrdc;
    if (pAdler == nullptr) return StatusNullPointer;
    if (pSrc == nullptr) {
        *pAdler = 1;
        return StatusOk;
    }
    *pAdler = ownsAdler32_8u(*pAdler, pSrc, static_cast<size_t>(std::max(len, 0)));
    return StatusOk;
}
