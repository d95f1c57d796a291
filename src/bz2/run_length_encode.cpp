// Encoder of the first run-length code.
//
// A run may begin in one call and end in another, so the state carries its byte and its length; the count is written
// when the run ends, is at its longest, or is flushed. Literals are copied 16 at a time while a comparison of the
// source with itself, moved by one, two and three bytes, tells that no four equal ones are among them. Which values
// have been written is found out at the end of the call, from the destination: a test of 16 bytes at once in a set of
// bits is faster than a store for each of them.

#include <tmmintrin.h>

#include <algorithm>
#include <array>
#include <bit>

#include "bz2/run_length.h"
#include "core/arguments.h"
#include "core/entry_points.h"

namespace ozrdc::bz2 {
namespace {

// Marks the values of bytes as in use.
//
// The set is 32 bytes for the look-up by shuffle: the low nibble of a value selects a byte of a row, the high nibble
// the bit in it; one row has the values below 128 and one the others. New values are rare, 256 in the life of a state.
class InUseMarker {
  public:
    explicit InUseMarker(uint8_t* inUse) noexcept : inUse_(inUse) {
        for (unsigned v = 0; v < 256; ++v) {
            if (inUse[v] != 0) addToSet(static_cast<uint8_t>(v));
        }
    }

    void mark(const uint8_t* p, const uint8_t* end) noexcept {
        for (; end - p >= 16; p += 16) {
            unsigned unknown = unknownIn(load128(p));
            for (; unknown != 0; unknown &= unknown - 1) add(p[std::countr_zero(unknown)]);
        }
        for (; p < end; ++p) add(*p);
    }

  private:
    void addToSet(uint8_t value) noexcept {
        auto& row = value < 128 ? low_ : high_;
        row[value & 15] = static_cast<uint8_t>(row[value & 15] | 1U << (value >> 4 & 7));
    }
    void add(uint8_t value) noexcept {
        inUse_[value] = 1;
        addToSet(value);
    }
    // Mask of the bytes that are not in the set.
    [[gnu::always_inline]] [[nodiscard]] unsigned unknownIn(__m128i bytes) const noexcept {
        const __m128i bits = _mm_setr_epi8(1, 2, 4, 8, 16, 32, 64, -128, 1, 2, 4, 8, 16, 32, 64, -128);
        const __m128i low = _mm_set1_epi8(15);
        const __m128i bit = _mm_shuffle_epi8(bits, _mm_and_si128(_mm_srli_epi16(bytes, 4), low));
        // A shuffle gives 0 where the index has its top bit set: each row answers for its half of the values.
        const __m128i nibble = _mm_and_si128(bytes, _mm_set1_epi8(static_cast<char>(0x8F)));
        const __m128i otherHalf = _mm_xor_si128(nibble, _mm_set1_epi8(static_cast<char>(0x80)));
        const __m128i row = _mm_or_si128(_mm_shuffle_epi8(load128(low_.data()), nibble),
                                         _mm_shuffle_epi8(load128(high_.data()), otherHalf));
        const __m128i known = _mm_and_si128(row, bit);
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(known, _mm_setzero_si128())));
    }

    uint8_t* inUse_;
    alignas(16) std::array<uint8_t, 16> low_{};
    alignas(16) std::array<uint8_t, 16> high_{};
};

// How many of the bytes in [p, end) equal `value` before the first that does not.
ptrdiff_t lengthOfRun(const uint8_t* p, const uint8_t* end, uint8_t value) noexcept {
    const uint8_t* const begin = p;
    const __m128i values = _mm_set1_epi8(static_cast<char>(value));
    for (; end - p >= 16; p += 16) {
        const auto equal = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(load128(p), values)));
        if (equal != 0xFFFF) return p - begin + std::countr_one(equal);
    }
    while (p < end && *p == value) ++p;
    return p - begin;
}

// Where an encoder stands: source, destination, and the run that ends in front of `src`.
struct Encoder {
    const uint8_t* src;
    const uint8_t* const srcBegin;
    const uint8_t* const srcEnd;
    uint8_t* dst;
    uint8_t* const dstEnd;
    int32_t previous;
    int32_t run;

    [[gnu::always_inline]] void putLiteral() noexcept {
        const uint8_t byte = *src++;
        *dst++ = byte;
        run = byte == previous ? run + 1 : 1;
        previous = byte;
    }

    // Copies literals until a run has its four bytes, or an end is near.
    void putLiteralsFast() noexcept {
        // The windows that show whether a run is complete at a byte begin three bytes in front of it.
        while (src - srcBegin < kCountedRun - 1 && src < srcEnd && dst < dstEnd) {
            putLiteral();
            if (run == kCountedRun) return;
        }
        // A run whose count has been written is not continued: bytes in front of the current run do not matter.
        unsigned relevant = ~0U << (kCountedRun - 1 - run);
        if (!roomForWindow()) return;
        do {
            const __m128i literals = load128(src);
            const unsigned complete = runsIn(load128(src - 3), src - 3) & relevant;
            store128(dst, literals);
            if (complete != 0) {
                const ptrdiff_t n = std::countr_zero(complete) + 1;
                src += n;
                dst += n;
                previous = src[-1];
                run = kCountedRun;
                return;
            }
            src += 16;
            dst += 16;
            relevant = ~0U;
        } while (roomForWindow());
        previous = src[-1];
        run = 1;
        while (run < kCountedRun - 1 && src[-1 - run] == previous) ++run;
    }

    [[gnu::always_inline]] [[nodiscard]] bool roomForWindow() const noexcept {
        return srcEnd - src >= 16 && dstEnd - dst >= 16;
    }

    void encode() noexcept {
        for (;;) {
            if (run < kCountedRun) putLiteralsFast();
            while (run < kCountedRun && src < srcEnd && dst < dstEnd) putLiteral();
            if (dst == dstEnd) return;
            const ptrdiff_t most = std::min<ptrdiff_t>(kLongestRun - run, srcEnd - src);
            if (run >= kCountedRun) {
                const ptrdiff_t more = lengthOfRun(src, src + most, static_cast<uint8_t>(previous));
                src += more;
                run += static_cast<int32_t>(more);
            }
            if (src == srcEnd) return;
            *dst++ = static_cast<uint8_t>(run - kCountedRun);
            run = 0;
        }
    }
};

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsRLEGetSize_BZ2_8u(int32_t* pSize) noexcept {
    if (anyNull(pSize)) return StatusNullPointer;
    *pSize = sizeof(RLEState);
    return StatusOk;
}

Status y8_ozrsEncodeRLEInit_BZ2_8u(RLEState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    std::fill(std::begin(pState->inUse), std::end(pState->inUse), uint8_t{0});
    pState->previous = kNoByte;
    pState->run = 0;
    return StatusOk;
}

Status y8_ozrsEncodeRLE_BZ2_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                               RLEState* pState) noexcept {
    if (anyNull(ppSrc, pSrcLen, pDst, pDstLen) || anyNull(*ppSrc, pState)) return StatusNullPointer;
    if (*pSrcLen < 1 || *pDstLen < 1) return StatusSizeError;
    // All that follows may rely on the length of the run, even if the state was never prepared.
    const int32_t run = std::clamp(pState->run, 0, kLongestRun);
    Encoder encoder{*ppSrc, *ppSrc, *ppSrc + *pSrcLen, pDst, pDst + *pDstLen, pState->previous, run};
    encoder.encode();
    InUseMarker(pState->inUse).mark(pDst, encoder.dst);
    pState->previous = encoder.previous;
    pState->run = encoder.run;
    *ppSrc = encoder.src;
    *pSrcLen = static_cast<int32_t>(encoder.srcEnd - encoder.src);
    *pDstLen = static_cast<int32_t>(encoder.dst - pDst);
    return *pSrcLen > 0 ? StatusDestinationFull : StatusOk;
}

Status y8_ozrsEncodeRLEFlush_BZ2_8u(uint8_t* pDst, int32_t* pDstLen, RLEState* pState) noexcept {
    if (anyNull(pDst, pDstLen, pState)) return StatusNullPointer;
    if (*pDstLen < 1) return StatusSizeError;
    *pDstLen = 0;
    if (pState->run < kCountedRun) return StatusOk;
    const auto count = static_cast<uint8_t>(pState->run - kCountedRun);
    pDst[0] = count;
    pState->inUse[count] = 1;
    pState->run = 0;
    *pDstLen = 1;
    return StatusOk;
}

Status y8_ozrsRLEGetInUseTable_8u(uint8_t pInUse[256], const RLEState* pState) noexcept {
    if (anyNull(pInUse, pState)) return StatusNullPointer;
    // One by one in ascending order: the table may overlap the state.
    for (unsigned v = 0; v < 256; ++v) pInUse[v] = pState->inUse[v];
    return StatusOk;
}
