// Zero-run encoder: ranks to symbols and their frequencies.
//
// The fast loop takes 16 ranks at a time and goes from one that is not zero to the next, by the bits of a mask. The
// digits of the run between them are eight lanes made in one step, stored whether there are any or not. Frequencies of
// literals are counted in several tables by turns, so that a count does not wait for the one before it.

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

#include "bz2/zero_runs.h"
#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"

namespace ozrdc::bz2 {
namespace {

// The digits that one store writes, and the most that a run of 2^31 - 1 zeros has.
constexpr unsigned kDigitsAtOnce = 8;
constexpr unsigned kMostDigits = 31;

// A pass of the fast loop writes at most the digits of an open run and one symbol for each of 16 ranks, and a store of
// digits in front of the last may go too far.
constexpr ptrdiff_t kRanks = 16;
constexpr ptrdiff_t kMargin = kMostDigits + kRanks + kDigitsAtOnce;

struct Encoder {
    const uint8_t* src;
    const uint8_t* const srcEnd;
    uint16_t* dst;
    uint16_t* const dstEnd;
    uint32_t* const frequencies;

    // Writes the digits of a run of any length, without a look at the room, and counts them.
    [[gnu::always_inline]] void putDigits(uint32_t run) noexcept {
        uint32_t bits = run + 1;
        const auto digits = static_cast<unsigned>(std::bit_width(bits)) - 1;
        const auto runBs = static_cast<unsigned>(std::popcount(bits)) - 1;
        runB_ += runBs;
        runA_ += digits - runBs;
        putLanes(dst, bits);
        if (digits > kDigitsAtOnce) [[unlikely]] {
            for (unsigned done = kDigitsAtOnce; done < digits; done += kDigitsAtOnce) {
                bits >>= kDigitsAtOnce;
                putLanes(dst + done, bits);
            }
        }
        dst += digits;
    }

    // The low eight bits as symbols.
    [[gnu::always_inline]] static void putLanes(uint16_t* p, uint32_t bits) noexcept {
        const __m128i lanes = _mm_setr_epi16(1, 2, 4, 8, 16, 32, 64, 128);
        const __m128i clear =
            _mm_cmpeq_epi16(_mm_and_si128(_mm_set1_epi16(static_cast<int16_t>(bits)), lanes), _mm_setzero_si128());
        store128(p, _mm_add_epi16(clear, _mm_set1_epi16(kRunB)));
    }

    // Encodes while both ends are far. The run that is open in the end begins at the source position that is left.
    void encodeFast() noexcept {
        static_assert(kRunA == 0 && kRunB == 1);
        std::array<std::array<uint32_t, 256>, 4> counts{};
        unsigned turn = 0;
        const uint8_t* runBegin = src;
        const uint8_t* p = src;
        while (srcEnd - p >= kRanks && dstEnd - dst >= kMargin) {
            const __m128i ranks = load128(p);
            const auto zeros = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(ranks, _mm_setzero_si128())));
            for (unsigned literals = zeros ^ 0xFFFF; literals != 0; literals &= literals - 1) {
                const uint8_t* const literal = p + std::countr_zero(literals);
                putDigits(static_cast<uint32_t>(literal - runBegin));
                *dst++ = static_cast<uint16_t>(*literal + 1);
                ++counts[turn++ % 4][*literal];
                runBegin = literal + 1;
            }
            p += kRanks;
        }
        src = runBegin;
        for (unsigned rank = 1; rank < 256; ++rank) {
            frequencies[rank + 1] += counts[0][rank] + counts[1][rank] + counts[2][rank] + counts[3][rank];
        }
    }

    // Writes as much of a run of `run` zeros at `src` as fits, digit by digit. False if that is not all.
    bool putRunNearEnd(uint64_t run) noexcept {
        const auto room = static_cast<unsigned>(std::min<ptrdiff_t>(dstEnd - dst, kMostDigits + 1));
        const uint64_t written = std::min(run, longestRun(room));
        src += written;
        for (uint64_t bits = written + 1; bits > 1; bits >>= 1) {
            const auto digit = static_cast<uint16_t>(bits & 1);
            *dst++ = digit;
            ++frequencies[digit];
        }
        return written == run;
    }

    void encode() noexcept {
        // Small calls do not repay the clearing and adding up of the tables.
        constexpr ptrdiff_t kFewRanks = 512;
        if (srcEnd - src >= kFewRanks) encodeFast();
        while (src < srcEnd) {
            const uint8_t* const literal = std::find_if(src, srcEnd, [](uint8_t rank) { return rank != 0; });
            if (!putRunNearEnd(static_cast<uint64_t>(literal - src)) || literal == srcEnd || dst == dstEnd) break;
            const auto symbol = static_cast<uint16_t>(*src++ + 1);
            *dst++ = symbol;
            ++frequencies[symbol];
        }
        frequencies[kRunA] += runA_;
        frequencies[kRunB] += runB_;
    }

    uint32_t runA_ = 0;
    uint32_t runB_ = 0;
};

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsEncodeZ1Z2_BZ2_8u16u(const uint8_t** ppSrc, int32_t* pSrcLen, uint16_t* pDst, int32_t* pDstLen,
                                   uint32_t* pFreq) noexcept {
    if (anyNull(ppSrc, pSrcLen, pDst, pDstLen, pFreq) || anyNull(*ppSrc)) return StatusNullPointer;
    if (*pSrcLen < 1 || *pDstLen < 1) return StatusSizeError;
    Encoder encoder{*ppSrc, *ppSrc + *pSrcLen, pDst, pDst + *pDstLen, pFreq};
    encoder.encode();
    *ppSrc = encoder.src;
    *pSrcLen = static_cast<int32_t>(encoder.srcEnd - encoder.src);
    *pDstLen = static_cast<int32_t>(encoder.dst - pDst);
    return *pSrcLen > 0 ? StatusDestinationFull : StatusOk;
}
