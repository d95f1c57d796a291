// Decoder of the first run-length code.
//
// Literals are copied 16 at a time while a comparison of the source with itself, moved by one, two and three bytes,
// tells that no four equal ones begin there. A group of four and its count, and the groups of the same byte that follow
// it, make one fill. What does not fit is owed: the state keeps how many copies of which byte the next call, or the
// flush, has to begin with.
//
// The last three bytes of a source cannot hold a group and are copied as they are, so a group is met only if the call
// is given all of it.

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>

#include "bz2/run_length.h"
#include "core/arguments.h"
#include "core/entry_points.h"

namespace ozrdc::bz2 {
namespace {

// Four bytes and their count.
constexpr ptrdiff_t kGroup = kCountedRun + 1;

// Owed copies are counted in 32 bits: beyond this, groups are not merged.
constexpr int32_t kMostToMerge = std::numeric_limits<int32_t>::max() - kLongestRun;

[[gnu::always_inline]] inline bool fourEqual(const uint8_t* p) noexcept {
    return load32(p) == uint32_t{p[0]} * 0x01010101;
}

// Where a decoder stands: source, destination, and what is owed to it.
struct Decoder {
    const uint8_t* src;
    const uint8_t* const srcEnd;
    uint8_t* dst;
    uint8_t* const dstEnd;
    int32_t previous;
    int32_t owed;

    // Copies literals until a group begins, or an end is near.
    void putLiteralsFast() noexcept {
        const uint8_t* const begin = src;
        while (srcEnd - src >= kRunWindow && dstEnd - dst >= 16) {
            const __m128i literals = load128(src);
            const unsigned groups = runsIn(literals, src);
            store128(dst, literals);
            const ptrdiff_t n = groups == 0 ? 16 : std::countr_zero(groups);
            src += n;
            dst += n;
            if (groups != 0) break;
        }
        if (src > begin) previous = src[-1];
    }

    // Writes as many of `count` copies of `byte` as fit; the others are owed. False if there are any.
    bool putRun(uint8_t byte, int32_t count) noexcept {
        const auto fitting = static_cast<int32_t>(std::min<ptrdiff_t>(count, dstEnd - dst));
        if (fitting <= 16 && dstEnd - dst >= 16) {
            store128(dst, _mm_set1_epi8(static_cast<char>(byte)));
        } else {
            std::memset(dst, byte, static_cast<size_t>(fitting));
        }
        dst += fitting;
        owed = count - fitting;
        previous = owed > 0 ? byte : kNoByte;
        return owed == 0;
    }

    // Takes a group, and those of the same byte that follow it. A group at the very end of the source may lack its
    // count.
    bool putGroups() noexcept {
        const uint8_t byte = *src;
        int32_t count = kCountedRun;
        src += kCountedRun;
        if (src < srcEnd) count += *src++;
        while (srcEnd - src >= kGroup && *src == byte && fourEqual(src) && count <= kMostToMerge) {
            count += kCountedRun + src[kCountedRun];
            src += kGroup;
        }
        return putRun(byte, count);
    }

    Status decode() noexcept {
        if (owed > 0 && !putRun(static_cast<uint8_t>(previous), owed)) return StatusDestinationFull;
        while (srcEnd - src >= kCountedRun) {
            if (dst == dstEnd) return StatusDestinationFull;
            putLiteralsFast();
            if (srcEnd - src < kCountedRun || dst == dstEnd) continue;
            if (fourEqual(src)) {
                if (!putGroups()) return StatusDestinationFull;
            } else {
                previous = *src;
                *dst++ = *src++;
            }
        }
        // A full destination is no warning here: the caller sees from the lengths that bytes are left.
        while (src < srcEnd && dst < dstEnd) {
            previous = *src;
            *dst++ = *src++;
        }
        return StatusOk;
    }
};

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsDecodeRLEStateInit_BZ2_8u(RLEState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    pState->previous = kNoByte;
    pState->run = 0;
    return StatusOk;
}

Status y8_ozrsDecodeRLEState_BZ2_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                                    RLEState* pState) noexcept {
    if (anyNull(ppSrc, pSrcLen, ppDst, pDstLen) || anyNull(*ppSrc, *ppDst, pState)) return StatusNullPointer;
    if (*pSrcLen < 1 || *pDstLen < 1) return StatusSizeError;
    Decoder decoder{*ppSrc, *ppSrc + *pSrcLen, *ppDst, *ppDst + *pDstLen, pState->previous, pState->run};
    const Status status = decoder.decode();
    pState->previous = decoder.previous;
    pState->run = decoder.owed;
    *ppSrc = decoder.src;
    *pSrcLen = static_cast<int32_t>(decoder.srcEnd - decoder.src);
    *ppDst = decoder.dst;
    *pDstLen = static_cast<int32_t>(decoder.dstEnd - decoder.dst);
    return status;
}

Status y8_ozrsDecodeRLEStateFlush_BZ2_8u(RLEState* pState, uint8_t** ppDst, int32_t* pDstLen) noexcept {
    if (anyNull(pState, ppDst, pDstLen) || anyNull(*ppDst)) return StatusNullPointer;
    const int32_t count = std::min(pState->run, std::max(*pDstLen, 0));
    if (count > 0) {
        std::memset(*ppDst, pState->previous, static_cast<size_t>(count));
        *ppDst += count;
        *pDstLen -= count;
        pState->run -= count;
    }
    if (pState->run > 0) return StatusDestinationFull;
    pState->previous = kNoByte;
    return StatusOk;
}
