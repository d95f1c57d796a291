// Zero-run decoder: symbols to ranks.
//
// The fast loop takes 16 symbols at a time. Of the two masks of them, one tells the literals, the other the digits
// RUNB; the bits of the second that lie between two literals are, with a bit above them, the run plus one. A run is
// written as a store of 16 zeros, unless it is longer.

#include <emmintrin.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

#include "bz2/zero_runs.h"
#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"

namespace ozrdc::bz2 {
namespace {

constexpr ptrdiff_t kSymbols = 16;
// Runs up to this length are one store.
constexpr ptrdiff_t kShortRun = 16;
// Numbers with more digits are more than a destination can hold.
constexpr unsigned kMostDigits = 31;

struct Decoder {
    const uint16_t* src;
    const uint16_t* const srcEnd;
    uint8_t* dst;
    uint8_t* const dstEnd;

    // Decodes while both ends are far. What is left begins behind a literal.
    void decodeFast() noexcept {
        const __m128i runB = _mm_set1_epi16(kRunB);
        uint64_t digits = 0;  // those in front of the current symbols
        unsigned count = 0;
        for (const uint16_t* p = src; srcEnd - p >= kSymbols; p += kSymbols) {
            const __m128i low = load128(p);
            const __m128i high = load128(p + kSymbols / 2);
            const auto mask = [](__m128i a, __m128i b) __attribute__((always_inline)) {
                return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(a, b)));
            };
            const unsigned ones = mask(_mm_cmpeq_epi16(low, runB), _mm_cmpeq_epi16(high, runB));
            const __m128i none = _mm_setzero_si128();
            const unsigned runDigits = ones | mask(_mm_cmpeq_epi16(low, none), _mm_cmpeq_epi16(high, none));
            unsigned done = 0;
            for (unsigned literals = runDigits ^ 0xFFFF; literals != 0; literals &= literals - 1) {
                const auto at = static_cast<unsigned>(std::countr_zero(literals));
                const unsigned more = at - done;
                digits |= uint64_t{ones >> done & ((1U << more) - 1)} << count;
                count += more;
                if (count > kMostDigits) return;
                const uint64_t run = (digits | uint64_t{1} << count) - 1;
                if (run + kShortRun + 1 > static_cast<uint64_t>(dstEnd - dst)) return;
                store128(dst, none);
                if (run > kShortRun) std::memset(dst + kShortRun, 0, run - kShortRun);
                dst += run;
                *dst++ = static_cast<uint8_t>(p[at] - 1);
                done = at + 1;
                src = p + done;
                digits = 0;
                count = 0;
            }
            const auto rest = static_cast<unsigned>(kSymbols) - done;
            if (count + rest > kMostDigits) return;
            digits |= uint64_t{ones >> done} << count;
            count += rest;
        }
    }

    // The run that the digits in [p, end) stand for; more than any destination can hold if there are too many.
    static uint64_t runOf(const uint16_t* p, const uint16_t* end) noexcept {
        if (end - p > kMostDigits) return UINT64_MAX;
        uint64_t run = 0;
        while (end > p) run = 2 * run + *--end + 1;
        return run;
    }

    Status decode() noexcept {
        decodeFast();
        while (src < srcEnd) {
            const uint16_t* const literal =
                std::find_if(src, srcEnd, [](uint16_t symbol) { return symbol >= kFirstLiteral; });
            const uint64_t run = runOf(src, literal);
            if (run > static_cast<uint64_t>(dstEnd - dst)) return StatusDestinationFull;
            std::memset(dst, 0, run);
            dst += run;
            src = literal;
            if (literal == srcEnd) return StatusOk;
            if (dst == dstEnd) return StatusDestinationFull;
            *dst++ = static_cast<uint8_t>(*src++ - 1);
        }
        return StatusOk;
    }
};

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsDecodeZ1Z2_BZ2_16u8u(const uint16_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen) noexcept {
    if (anyNull(ppSrc, pSrcLen, pDst, pDstLen) || anyNull(*ppSrc)) return StatusNullPointer;
    if (*pSrcLen < 1 || *pDstLen < 1) return StatusSizeError;
    Decoder decoder{*ppSrc, *ppSrc + *pSrcLen, pDst, pDst + *pDstLen};
    const Status status = decoder.decode();
    *ppSrc = decoder.src;
    *pSrcLen = static_cast<int32_t>(decoder.srcEnd - decoder.src);
    *pDstLen = static_cast<int32_t>(decoder.dst - pDst);
    return status;
}
