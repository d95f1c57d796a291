// Adler-32: A = 1 + the sum of all bytes, B = the sum of all values that A takes; both modulo 65521.
//
// Over n bytes A grows by their sum, and B by n * A plus the sum of each byte times its distance from the end of the n,
// the last byte counting 1. Vector code therefore has two sums to make, one plain and one weighted by position. All
// that follows avoids multiplying by the weights while the bytes stream in.
//
// Messages go in blocks of runs of steps. A step takes up several vectors together. With 16-bit words of a
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
//
// All of this is there for vectors of either width.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "checksum/adler32_runs.h"
#include "checksum/byte_vectors.h"

namespace ozrdc::adler32 {

constexpr uint32_t kMaxByte = 255;
constexpr uint32_t kMaxWord = 65535;

// The vectors of a step, and the limits that keep all sums exact.
template <class V, uint32_t vectors, uint32_t apart, uint32_t steps, uint32_t runs>
struct Layout {
    using Vectors = V;
    static constexpr uint32_t kVectors = vectors;
    static constexpr uint32_t kApart = apart;  // distance of the vectors of a step, in bytes
    // Neighbors have different weights, pieces 65521 bytes apart have not.
    static constexpr bool kNeighbors = apart == V::kBytes;
    static_assert(kNeighbors ? vectors == 2 : apart % kModulus == 0);
    // What one step advances by. Weights are counted in these bytes, each of which may stand for several.
    static constexpr uint32_t kStepBytes = kNeighbors ? vectors * V::kBytes : V::kBytes;
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

template <class V>
using NearLayout = Layout<V, 2, V::kBytes, 10, 192 / V::kBytes>;
template <class V>
using FarLayout = Layout<V, 4, kModulus, 7, 9>;

// The products of unsigned words and small weights, pairs of them added. The multiplication takes signed words, so the
// words are lowered by 2^15; `loweredBy` gives what the sum over a vector misses then.
constexpr int16_t kLowest = -32768;
template <class V>
[[gnu::always_inline]] inline typename V::Vector weigh(typename V::Vector words, typename V::Vector weights) noexcept {
    return V::multiplyPairs16(V::exclusiveOr(words, V::all16(kLowest)), weights);
}
constexpr uint32_t loweredBy(uint32_t sumOfWeights) { return 32768 * sumOfWeights; }

// The places of the even bytes of a vector, and of the odd ones, as the bytes of 16-bit words.
alignas(32) constexpr auto kLaneNumbers = [] {
    std::array<std::array<uint8_t, 32>, 2> numbers{};
    for (std::size_t i = 0; i < 32; i += 2) {
        numbers[0][i] = static_cast<uint8_t>(i);
        numbers[1][i] = static_cast<uint8_t>(i + 1);
    }
    return numbers;
}();

// Takes up `runs` runs, at least 1 and at most those of a block.
template <typename L>
[[gnu::always_inline]] inline void addBlock(Sums& sums, const uint8_t* p, uint32_t runs) noexcept {
    using V = typename L::Vectors;
    using Vector = typename V::Vector;
    const Vector byteOnes = V::all8(1);
    const Vector wordOnes = V::all16(1);
    const Vector zero = V::zero();
    Vector w[2] = {zero, zero};  // the vectors as words, modulo 2^16, in two chains
    Vector all = zero;           // sums of e + o, modulo 2^16
    Vector first = zero;         // of neighbors, the first one's
    Vector sum = zero;           // of all bytes so far, 32 bits
    Vector sumsBefore = zero;    // of `sum` at the start of each run
    Vector weighted = zero;      // of R at the end of each run, lowered

    for (uint32_t run = 0; run < runs; ++run) {
        Vector r = zero;
        Vector prefixes = V::all16(kLowest);
#pragma GCC unroll 10
        for (uint32_t step = 0; step < L::kRunSteps; ++step, p += L::kStepBytes) {
            Vector q[L::kVectors];
#pragma GCC unroll 4
            for (uint32_t i = 0; i < L::kVectors; ++i) {
                const Vector x = V::load(p + i * L::kApart);
                w[i % 2] = V::add16(w[i % 2], x);
                q[i] = V::multiplyPairs8(x, byteOnes);
            }
            Vector s = V::add16(q[0], q[1]);
            if constexpr (L::kNeighbors) {
                first = V::add16(first, q[0]);
            } else {
                s = V::add16(s, V::add16(q[2], q[3]));
            }
            r = V::add16(r, s);
            prefixes = V::add16(prefixes, r);
            // Compilers would gather additions of several steps, and spill.
            asm("" : "+x"(r), "+x"(prefixes), "+x"(first), "+x"(w[0]), "+x"(w[1]));
        }
        sumsBefore = V::add32(sumsBefore, sum);
        sum = V::add32(sum, V::multiplyPairs16(r, wordOnes));
        all = V::add16(all, r);
        weighted = V::add32(weighted, V::multiplyPairs16(prefixes, wordOnes));
    }

    constexpr uint32_t kWords = V::kBytes / 2;
    // Steps to the end of the block, the last counting 1, times the bytes of each step.
    const Vector bySteps = V::add32(weighted, V::multiply32(sumsBefore, V::all32(int{L::kRunSteps})));
    Vector total = V::multiply32(bySteps, V::all32(int{L::kStepBytes}));
    uint32_t lowered = L::kStepBytes * runs * loweredBy(kWords);

    // So far every byte counts as the first of its step does. The second of two neighbors stands a vector nearer to
    // the end.
    if constexpr (L::kNeighbors) {
        const Vector second = V::subtract32(sum, weigh<V>(first, wordOnes));
        total = V::subtract32(total, V::multiply32(second, V::all32(int{V::kBytes})));
        lowered += V::kBytes * loweredBy(kWords);
    }

    // Byte l of a vector stands l bytes nearer to the end than byte 0.
    const auto lanes = [](std::size_t odds) { return V::load(kLaneNumbers[odds].data()); };
    constexpr int16_t kInverseOf255 = -257;  // 255 * 257 = 2^16 - 1
    const Vector odd = V::multiply16(V::subtract16(V::add16(w[0], w[1]), all), V::all16(kInverseOf255));
    const Vector even = V::subtract16(all, odd);
    const Vector byLane = V::add32(weigh<V>(even, lanes(0)), weigh<V>(odd, lanes(1)));
    constexpr uint32_t kLaneWeights = V::kBytes * (V::kBytes - 1) / 2;
    total = V::subtract32(total, byLane);
    lowered -= loweredBy(kLaneWeights);

    // All sums are exact modulo 2^32, and the result fits.
    sums.add(runs * L::kRunBytes, V::sum32(sum), V::sum32(total) + lowered);
    sums.reduce();
}

// Takes up whole runs of a message, block by block. Returns how many bytes of a piece that makes.
template <typename L>
[[gnu::always_inline]] inline size_t addRuns(Sums& sums, const uint8_t* p, size_t len) noexcept {
    const uint8_t* const start = p;
    for (size_t left = len / L::kRunBytes; left != 0;) {
        const uint32_t runs = left < L::kMostRuns ? static_cast<uint32_t>(left) : L::kMostRuns;
        addBlock<L>(sums, p, runs);
        p += runs * L::kRunBytes;
        left -= runs;
    }
    return static_cast<size_t>(p - start);
}

// Takes up as many pieces of 65521 bytes as make a step.
constexpr size_t kPieces = FarLayout<Bytes16>::kVectors;
constexpr size_t kPiecesBytes = kPieces * kModulus;

template <class V>
[[gnu::always_inline]] inline void addPieces(Sums& sums, const uint8_t* p) noexcept {
    using Wide = FarLayout<V>;
    using Narrow = FarLayout<Bytes16>;
    p += addRuns<Wide>(sums, p, kModulus);
    // What wide runs leave makes narrow ones, and one byte.
    constexpr uint32_t kLeft = kModulus % Wide::kRunBytes;
    if constexpr (kLeft >= Narrow::kRunBytes) p += addRuns<Narrow>(sums, p, kLeft);
    static_assert(kLeft % Narrow::kRunBytes == 1);
    uint32_t sum = 0;
    for (size_t i = 0; i < kPieces; ++i) sum += p[i * kModulus];
    sums.add(1, sum, sum);
    sums.reduce();
}

// Takes up a message but for its end, less than a run. Returns how many bytes it took.
template <class V>
[[gnu::always_inline]] inline size_t addAllRuns(Sums& sums, const uint8_t* p, size_t len) noexcept {
    const uint8_t* const start = p;
    sums.reduce();
    for (; len >= kPiecesBytes; p += kPiecesBytes, len -= kPiecesBytes) addPieces<V>(sums, p);
    p += addRuns<NearLayout<V>>(sums, p, len);
    return static_cast<size_t>(p - start);
}

}  // namespace ozrdc::adler32
