// CRCs with the generator of CRC-32 by carry-less multiplication: folding, and folding of a thinned message.
//
// Folding. A 128-bit block at distance D bits in front of another can be moved onto it: block * x^D mod P needs two
// multiplications of 64 by 64 bits, one for each half, with constants that depend on D alone. Eight accumulators of 128
// bits run side by side, because a multiplication takes several cycles but a new one can begin while others are under
// way. In the end the eight become one, the one takes up what is left of the message, and a Barrett reduction makes 32
// bits of it. A tail shorter than a block is taken by letting the last 16 bytes of the message overlap what has been
// folded already: the accumulator is cut in two at the right byte, so that no byte loop is needed.
//
// Thinning. The multiplier is the bottleneck: a block costs two multiplications, whatever the processor does beside.
// But P has multiples with few terms, and those move blocks by XOR alone:
//
//     x^363 + x^332 + x^186 + x^68 + x^36 + 1 = 0 mod P,    and therefore (squaring seven times)
//     block * x^(128 * 363) = the sum of block * x^(128 * (363 - d)) for d in {31, 177, 295, 327, 363}:
//
// a block may be removed from the message if it is XORed into the five blocks that stand 31, 177, 295, 327 and 363
// blocks behind it. All five distances are odd. So every even block of the message can be removed at once, landing on
// odd blocks only: the odd blocks pick up five even blocks of the source, by loads and XORs that other units do, and
// only they are folded. The multiplier then sees half of the message. Even blocks within 363 blocks of the end have
// nowhere to go and are folded as usual.
//
// The source is read with unaligned loads, and never outside of [p, p + len).
#pragma once

#include <smmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "checksum/block_arithmetic.h"
#include "checksum/polynomial.h"
#include "core/unaligned.h"

namespace ozrdc {

// The multiple of the generator that thins messages: a block of 128 bits may be replaced by its copies at these
// distances, in blocks. Found by search: of the multiples with six terms whose distances are all odd, the one of least
// degree. (Five terms would need a degree of 1123: one load less, but a window three times as long in the cache.)
namespace thinning {

constexpr std::array<unsigned, 5> kDistances = {31, 177, 295, 327, 363};

constexpr bool isMultipleOf(uint32_t polynomial) {
    uint32_t sum = powerOfX(kDistances.back(), polynomial);
    for (const unsigned d : kDistances) {
        if (d % 2 == 0) return false;
        sum ^= powerOfX(kDistances.back() - d, polynomial);
    }
    return sum == 0;
}
static_assert(isMultipleOf(kPolynomialCrc32));

}  // namespace thinning

template <BitOrder order>
class Folding {
    using Blocks = BlockFolding<BlockArithmetic<order, kPolynomialCrc32>>;

    static constexpr size_t kBlock = 16;
    static constexpr size_t kAccumulators = 8;
    static constexpr size_t kStep = kAccumulators * kBlock;

    // The message in pairs of blocks: the first of a pair is even, the second odd. The thinned loops take eight pairs
    // at a time, one for each accumulator.
    static constexpr size_t kPair = 2 * kBlock;
    static constexpr size_t kPairsPerStep = kAccumulators;
    static constexpr size_t kThinStep = kPairsPerStep * kPair;
    static constexpr size_t kTerms = thinning::kDistances.size();
    // An odd block takes up the even blocks of these many pairs before its own: distance 2n + 1 is n pairs.
    static constexpr size_t pairDistance(size_t term) { return thinning::kDistances[term] / 2; }
    // Steps that all copies of an even block need behind it.
    static constexpr size_t kThinTail = (pairDistance(kTerms - 1) + kPairsPerStep - 1) / kPairsPerStep;
    // Below this many steps the bookkeeping costs more than thinning saves.
    static constexpr size_t kThinLeast = 2 * kThinTail;

    struct Accumulators {
        __m128i block[kAccumulators];
        [[gnu::always_inline]] __m128i& operator[](size_t i) noexcept { return block[i]; }
    };

    // Takes up the last bytes of a message, fewer than a block: `tail` holds the 16 bytes that end there. Accumulator
    // and new bytes together are 16 + n bytes: the first n are folded onto the other 16.
    [[gnu::target("pclmul"), gnu::always_inline]] static inline __m128i foldTail(__m128i accumulator, __m128i tail,
                                                                                 size_t n) noexcept {
        constexpr uint8_t kNone = 0x80;  // pshufb: a zero byte
        alignas(16) static constexpr std::array<uint8_t, 48> kWindow = {
            kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone,
            kNone, kNone, kNone, kNone, 0,     1,     2,     3,     4,     5,     6,     7,
            8,     9,     10,    11,    12,    13,    14,    15,    kNone, kNone, kNone, kNone,
            kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone, kNone};
        const __m128i toEnd = Blocks::shuffleForward(kWindow.data() + 16, 16 - n);
        const __m128i toStart = Blocks::shuffleBackward(kWindow.data() + 16, n);
        const __m128i first = _mm_shuffle_epi8(accumulator, toEnd);
        // Where `toStart` brings zeros, its mask bytes have their top bit set: there the new bytes go.
        const __m128i other = _mm_blendv_epi8(_mm_shuffle_epi8(accumulator, toStart), tail, toStart);
        return Blocks::template foldOnto<128>(first, other);
    }

    // The even blocks that one term adds to the odd blocks of a step: where they stand, and how far the next step's
    // are.
    struct Source {
        const uint8_t* at;
        size_t advance;
    };
    using Sources = std::array<Source, kTerms>;

    // The source of the even blocks of the pairs [first, first + 8) of `message`, of which only [0, removed) have been
    // removed; the others count as zero. A step that lies across either end is copied to `mixed`.
    struct Thinned {
        const uint8_t* message;
        ptrdiff_t removed;
        alignas(16) std::array<std::array<uint8_t, kThinStep>, kTerms> mixed;

        alignas(16) static constexpr std::array<uint8_t, kThinStep> kZeros{};

        // Sets the sources of a step up. Returns how many steps they can be used for, advancing.
        size_t sources(size_t step, Sources& sources) noexcept {
            constexpr auto kPairs = static_cast<ptrdiff_t>(kPairsPerStep);
            size_t steps = SIZE_MAX;
            for (size_t i = 0; i < kTerms; ++i) {
                const ptrdiff_t first =
                    static_cast<ptrdiff_t>(step * kPairsPerStep) - static_cast<ptrdiff_t>(pairDistance(i));
                ptrdiff_t last;  // the pair behind the last step that is like this one
                if (first >= removed) {
                    sources[i] = {kZeros.data(), 0};
                    continue;
                }
                if (first + kPairs <= 0) {
                    sources[i] = {kZeros.data(), 0};
                    last = 0;
                } else if (first >= 0 && first + kPairs <= removed) {
                    sources[i] = {message + static_cast<size_t>(first) * kPair, kThinStep};
                    last = removed;
                } else {
                    for (ptrdiff_t j = 0; j < kPairs; ++j) {
                        const ptrdiff_t pair = first + j;
                        const bool present = pair >= 0 && pair < removed;
                        store128(
                            mixed[i].data() + j * static_cast<ptrdiff_t>(kPair),
                            present ? load128(message + pair * static_cast<ptrdiff_t>(kPair)) : _mm_setzero_si128());
                    }
                    sources[i] = {mixed[i].data(), 0};
                    last = first + kPairs;
                }
                steps = std::min(steps, static_cast<size_t>((last - first) / kPairs));
            }
            return steps;
        }
    };

    // The odd block of a pair of the step at `p`, with the even blocks that fall onto it.
    [[gnu::always_inline]] static inline __m128i thinnedBlock(const uint8_t* p, const Sources& sources,
                                                              size_t pair) noexcept {
        __m128i block = load128(p + pair * kPair + kBlock);
#pragma GCC unroll 8
        for (const Source& source : sources) block = _mm_xor_si128(block, load128(source.at + pair * kPair));
        return Blocks::toRegister(block);
    }
    [[gnu::always_inline]] static inline void advance(Sources& sources) noexcept {
#pragma GCC unroll 8
        for (Source& source : sources) source.at += source.advance;
    }

    // Takes up `steps` steps of 256 bytes at `p`, thinned. The accumulators are those of 8 neighboring blocks before
    // and after.
    [[gnu::target("pclmul"), gnu::noinline]] static void foldThinned(Accumulators& accumulators, const uint8_t* p,
                                                                     size_t steps) noexcept {
        const size_t removing = steps - kThinTail;
        Thinned thinned;
        thinned.message = p;
        thinned.removed = static_cast<ptrdiff_t>(removing * kPairsPerStep);
        Sources sources;

        // From 8 neighboring blocks to the odd ones of the last 16: the even go to the odd behind them.
        Accumulators a;
        for (size_t i = 0; i < kAccumulators / 2; ++i) {
            a[i] = _mm_setzero_si128();
            a[i + kAccumulators / 2] = Blocks::template foldOnto<128>(accumulators[2 * i], accumulators[2 * i + 1]);
        }
        size_t step = 0;
        while (step < removing) {
            const size_t last = step + std::min(removing - step, thinned.sources(step, sources));
            for (; step < last; ++step, p += kThinStep) {
#pragma GCC unroll 8
                for (size_t i = 0; i < kAccumulators; ++i) {
                    a[i] = Blocks::template foldOnto<kThinStep * 8>(a[i], thinnedBlock(p, sources, i));
                }
                advance(sources);
            }
        }
        // And back: the first eight of the last 16 blocks go to the other eight.
        for (size_t i = 0; i < kAccumulators / 2; ++i) {
            accumulators[2 * i] = _mm_setzero_si128();
            accumulators[2 * i + 1] = Blocks::template foldOnto<kStep * 8>(a[i], a[i + kAccumulators / 2]);
        }
        a = accumulators;
        while (step < steps) {
            const size_t last = step + std::min(steps - step, thinned.sources(step, sources));
            for (; step < last; ++step, p += kThinStep) {
#pragma GCC unroll 2
                for (size_t half = 0; half < 2; ++half) {
#pragma GCC unroll 4
                    for (size_t i = 0; i < kAccumulators / 2; ++i) {
                        const size_t pair = half * (kAccumulators / 2) + i;
                        a[2 * i] = Blocks::template foldOnto<kStep * 8>(a[2 * i], Blocks::loadBlock(p + pair * kPair));
                        a[2 * i + 1] =
                            Blocks::template foldOnto<kStep * 8>(a[2 * i + 1], thinnedBlock(p, sources, pair));
                    }
                }
                advance(sources);
            }
        }
        accumulators = a;
    }

  public:
    static constexpr size_t kLeastLength = kBlock;

    // Advances a CRC register over at least 16 bytes.
    [[gnu::target("pclmul"), gnu::always_inline]] static inline uint32_t run(uint32_t crc, const uint8_t* p,
                                                                             size_t len) noexcept {
        const uint8_t* const end = p + len;
        const __m128i start = _mm_xor_si128(Blocks::loadBlock(p), Blocks::fromCrc(crc));
        __m128i x;
        if (len >= kStep) {
            Accumulators a;
            a[0] = start;
#pragma GCC unroll 8
            for (size_t i = 1; i < kAccumulators; ++i) a[i] = Blocks::loadBlock(p + i * kBlock);
            p += kStep;
            len -= kStep;
            if (const size_t steps = len / kThinStep; steps >= kThinLeast) {
                foldThinned(a, p, steps);
                p += steps * kThinStep;
                len %= kThinStep;
            }
            for (; len >= kStep; len -= kStep, p += kStep) {
#pragma GCC unroll 8
                for (size_t i = 0; i < kAccumulators; ++i)
                    a[i] = Blocks::template foldOnto<kStep * 8>(a[i], Blocks::loadBlock(p + i * kBlock));
            }
            x = Blocks::join4(Blocks::template foldOnto<512>(a[0], a[4]), Blocks::template foldOnto<512>(a[1], a[5]),
                              Blocks::template foldOnto<512>(a[2], a[6]), Blocks::template foldOnto<512>(a[3], a[7]));
        } else if (len >= 64) {
            x = Blocks::join4(start, Blocks::loadBlock(p + 16), Blocks::loadBlock(p + 32), Blocks::loadBlock(p + 48));
            p += 64;
            len -= 64;
        } else if (len >= 32) {
            x = Blocks::join2(start, Blocks::loadBlock(p + 16));
            p += 32;
            len -= 32;
        } else {
            x = start;
            p += 16;
            len -= 16;
        }
        // What is left is fewer than 128 bytes: joined by itself first, so that the accumulator waits for one fold a
        // size.
        if ((len & 64) != 0) {
            x = Blocks::template foldOnto<512>(x, Blocks::join4(Blocks::loadBlock(p), Blocks::loadBlock(p + 16),
                                                                Blocks::loadBlock(p + 32), Blocks::loadBlock(p + 48)));
            p += 64;
        }
        if ((len & 32) != 0) {
            x = Blocks::template foldOnto<256>(x, Blocks::join2(Blocks::loadBlock(p), Blocks::loadBlock(p + 16)));
            p += 32;
        }
        if ((len & 16) != 0) x = Blocks::template foldOnto<128>(x, Blocks::loadBlock(p));
        if (const size_t n = len & 15; n != 0) x = foldTail(x, Blocks::loadBlock(end - kBlock), n);
        return Blocks::reduce(x);
    }
};

}  // namespace ozrdc
