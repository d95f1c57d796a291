// Adler-32: A = 1 + the sum of all bytes, B = the sum of all values that A takes; both modulo 65521.
//
// Over n bytes A grows by their sum, and B by n * A plus the sum of each byte times its distance from the end of the n,
// the last byte counting 1. Vector code therefore has two sums to make, one plain and one weighted by position. All
// that follows avoids multiplying by the weights while the bytes stream in.
//
// Messages go in blocks of runs of steps. A step takes up several 16-byte vectors together. With 16-bit words of a
// vector written as e + 256 * o (the even byte and the odd byte), it does
//
//     w += e + 256 * o  for each vector, modulo 2^16: the vector as it was loaded
//     q  = e + o        for each vector: one instruction, pmaddubsw
//     r += q            for each vector
//     R += r            once
//
// so that r ends as the sum of the run, word by word, and R as the sum weighted by the number of steps to the end of
// the run: the weights come from adding prefix sums, as B itself does. Before R overflows its 16 bits the run ends, and
// the words are widened. The weights of the bytes within a vector are applied once a block: from the sums of q and w
// follow, modulo 2^16, sum o = (sum w - sum q) / 255 and sum e = sum q - sum o.
//
// Which vectors make a step? Their bytes must have equal weights. Two neighbors do when the sum of the first is kept
// apart, to be added once more in the end. But weights count modulo 65521, so that bytes 65521 apart are equal as they
// are: long messages are cut into pieces of 65521 bytes, four of which are added up byte by byte and counted once.

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

// The vectors of a step, and the limits that keep all sums exact.
template <uint32_t vectors, uint32_t apart, uint32_t steps, uint32_t runs>
struct Layout {
    static constexpr uint32_t kVectors = vectors;
    static constexpr uint32_t kApart = apart;  // distance of the vectors of a step, in bytes
    // Neighbors have different weights, pieces 65521 bytes apart have not.
    static constexpr bool kNeighbors = apart == kVector;
    static_assert(kNeighbors ? vectors == 2 : apart % kModulus == 0);
    // What one step advances by. Weights are counted in these bytes, each of which may stand for several.
    static constexpr uint32_t kStepBytes = kNeighbors ? vectors * kVector : kVector;
    static constexpr uint32_t kRunSteps = steps;
    static constexpr uint32_t kRunBytes = steps * kStepBytes;
    static constexpr uint32_t kMostRuns = runs;
    static constexpr uint32_t kBlockBytes = runs * kRunBytes;

    // The sums of a step and of a run in a word; r as a signed number.
    static constexpr uint32_t kMostOfStep = 2 * vectors * kMaxByte;
    static_assert(kMostOfStep * (steps * (steps + 1) / 2) <= kMaxWord);
    static_assert(kMostOfStep * steps <= kMaxWord / 2);
    // In a block, the sum of the even bytes of a word must fit 16 bits to be told from that of the odd ones, and so
    // must the sum of the first vectors.
    static_assert(vectors * kMaxByte * steps * runs <= kMaxWord);
    static_assert(!kNeighbors || 2 * kMaxByte * steps * runs <= kMaxWord);
    // B after a block, before it is reduced.
    static constexpr uint64_t kMostOfByte = uint64_t{kMaxByte} * (kNeighbors ? 1 : vectors);
    static_assert((kModulus - 1) + uint64_t{kBlockBytes} * (kModulus - 1) +
                      kMostOfByte * (uint64_t{kBlockBytes} * (kBlockBytes + 1) / 2) <=
                  UINT32_MAX);
};

using NearLayout = Layout<2, kVector, 10, 12>;
using FarLayout = Layout<4, kModulus, 7, 9>;

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

// Takes up `runs` runs, at least 1 and at most those of a block.
template <typename L>
[[gnu::always_inline]] inline void addBlock(Sums& sums, const uint8_t* p, uint32_t runs) noexcept {
    const __m128i byteOnes = _mm_set1_epi8(1);
    const __m128i wordOnes = _mm_set1_epi16(1);
    const __m128i zero = _mm_setzero_si128();
    __m128i w[2] = {zero, zero};  // the vectors as words, modulo 2^16, in two chains
    __m128i all = zero;           // sums of e + o, modulo 2^16
    __m128i first = zero;         // of neighbors, the first one's
    __m128i sum = zero;           // of all bytes so far, 32 bits
    __m128i sumsBefore = zero;    // of `sum` at the start of each run
    __m128i weighted = zero;      // of R at the end of each run, lowered

    for (uint32_t run = 0; run < runs; ++run) {
        __m128i r = zero;
        __m128i prefixes = _mm_set1_epi16(kLowest);
#pragma GCC unroll 10
        for (uint32_t step = 0; step < L::kRunSteps; ++step, p += L::kStepBytes) {
            __m128i q[L::kVectors];
#pragma GCC unroll 4
            for (uint32_t i = 0; i < L::kVectors; ++i) {
                const __m128i x = load128(p + i * L::kApart);
                w[i % 2] = _mm_add_epi16(w[i % 2], x);
                q[i] = _mm_maddubs_epi16(x, byteOnes);
            }
            __m128i s = _mm_add_epi16(q[0], q[1]);
            if constexpr (L::kNeighbors) {
                first = _mm_add_epi16(first, q[0]);
            } else {
                s = _mm_add_epi16(s, _mm_add_epi16(q[2], q[3]));
            }
            r = _mm_add_epi16(r, s);
            prefixes = _mm_add_epi16(prefixes, r);
            // Compilers would gather additions of several steps, and spill.
            asm("" : "+x"(r), "+x"(prefixes), "+x"(first), "+x"(w[0]), "+x"(w[1]));
        }
        sumsBefore = _mm_add_epi32(sumsBefore, sum);
        sum = _mm_add_epi32(sum, _mm_madd_epi16(r, wordOnes));
        all = _mm_add_epi16(all, r);
        weighted = _mm_add_epi32(weighted, _mm_madd_epi16(prefixes, wordOnes));
    }

    constexpr uint32_t kWords = 8;
    // Steps to the end of the block, the last counting 1, times the bytes of each step.
    const __m128i bySteps = _mm_add_epi32(weighted, _mm_mullo_epi32(sumsBefore, _mm_set1_epi32(int{L::kRunSteps})));
    __m128i total = _mm_mullo_epi32(bySteps, _mm_set1_epi32(int{L::kStepBytes}));
    uint32_t lowered = L::kStepBytes * runs * loweredBy(kWords);

    // So far every byte counts as the first of its step does. The second of two neighbors stands 16 bytes nearer to the
    // end.
    if constexpr (L::kNeighbors) {
        const __m128i second = _mm_sub_epi32(sum, weigh(first, wordOnes));
        total = _mm_sub_epi32(total, _mm_slli_epi32(second, 4));
        lowered += kVector * loweredBy(kWords);
    }

    // Byte l of a vector stands l bytes nearer to the end than byte 0.
    constexpr int16_t kInverseOf255 = -257;  // 255 * 257 = 2^16 - 1
    const __m128i odd = _mm_mullo_epi16(_mm_sub_epi16(_mm_add_epi16(w[0], w[1]), all), _mm_set1_epi16(kInverseOf255));
    const __m128i even = _mm_sub_epi16(all, odd);
    const __m128i byLane = _mm_add_epi32(weigh(even, _mm_setr_epi16(0, 2, 4, 6, 8, 10, 12, 14)),
                                         weigh(odd, _mm_setr_epi16(1, 3, 5, 7, 9, 11, 13, 15)));
    constexpr uint32_t kLaneWeights = kVector * (kVector - 1) / 2;
    total = _mm_sub_epi32(total, byLane);
    lowered -= loweredBy(kLaneWeights);

    // All sums are exact modulo 2^32, and the result fits.
    sums.add(runs * L::kRunBytes, horizontalSum(sum), horizontalSum(total) + lowered);
    sums.reduce();
}

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
    sums.add(vectors * kVector, horizontalSum(sum), horizontalSum(weighted));
}

// Takes up n bytes before `end`, fewer than a vector. The 16 bytes before `end` are readable.
[[gnu::always_inline]] inline void addTail(Sums& sums, const uint8_t* end, uint32_t n) noexcept {
    alignas(16) static constexpr std::array<uint8_t, size_t{2}* kVector> kKeep = {
        0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,   0,
        255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255};
    const __m128i weights = _mm_setr_epi8(16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1);
    const __m128i x = _mm_and_si128(load128(end - kVector), load128(kKeep.data() + n));
    const __m128i weighted = _mm_madd_epi16(_mm_maddubs_epi16(x, weights), _mm_set1_epi16(1));
    sums.add(n, horizontalSum(_mm_sad_epu8(x, _mm_setzero_si128())), horizontalSum(weighted));
}

// Takes up whole runs of a message, block by block. Returns how many bytes of a piece that makes.
template <typename L>
[[gnu::always_inline]] inline size_t addRuns(Sums& sums, const uint8_t* p, size_t len) noexcept {
    const uint8_t* const start = p;
    for (size_t left = len / L::kRunBytes; left != 0;) {
        const auto runs = static_cast<uint32_t>(std::min<size_t>(left, L::kMostRuns));
        addBlock<L>(sums, p, runs);
        p += runs * L::kRunBytes;
        left -= runs;
    }
    return static_cast<size_t>(p - start);
}

// Takes up as many pieces of 65521 bytes as make a step.
constexpr size_t kPiecesBytes = size_t{FarLayout::kVectors} * kModulus;
static_assert(kModulus % FarLayout::kRunBytes == 1);

[[gnu::noinline]] void addPieces(Sums& sums, const uint8_t* p) noexcept {
    const uint8_t* last = p + addRuns<FarLayout>(sums, p, kModulus);
    uint32_t sum = 0;
    for (size_t i = 0; i < FarLayout::kVectors; ++i) sum += last[i * kModulus];
    sums.add(1, sum, sum);
    sums.reduce();
}

uint32_t ownsAdler32_8u(uint32_t adler, const uint8_t* p, size_t len) noexcept {
    Sums sums{adler & 0xFFFF, adler >> 16};
    const uint8_t* const end = p + len;
    if (len < kVector) {
        for (; p != end; ++p) sums.b += sums.a += *p;
    } else {
        if (len >= NearLayout::kRunBytes) {
            sums.reduce();
            for (; len >= kPiecesBytes; p += kPiecesBytes, len -= kPiecesBytes) addPieces(sums, p);
            const size_t taken = addRuns<NearLayout>(sums, p, len);
            p += taken;
            len -= taken;
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
