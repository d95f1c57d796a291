// The set-up of a ZFP stream, its sizes, and the end of it. Encoder and decoder share the state and all of this but the
// flush.

#include <algorithm>
#include <bit>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"
#include "zfp/format.h"
#include "zfp/state.h"

namespace ozrdc::zfp {
namespace {

// What a new state begins with: no limit but the number of planes. The values are those of the widest format, which
// are beyond what a block of floats can take.
constexpr uint32_t kDefaultMinBits = 0;
constexpr uint32_t kDefaultMaxBits = 4171;
constexpr uint32_t kDefaultMaxPrec = 64;
constexpr int32_t kDefaultMinExp = -10740;

// The guard stands as many whole words in front of the end as a block of maxBits bits may complete. Where the buffer is
// shorter than that, no place is in front of it.
void setGuard(ZfpState& state) noexcept {
    const uint64_t room = (uint64_t{state.maxBits} + kWordBits - 1) / kWordBits * kWordBytes;
    const auto length = static_cast<uint64_t>(state.end - state.begin);
    state.guard = room <= length ? state.end - room : nullptr;
}

void initialize(ZfpState& state, uint8_t* stream, uint64_t length) noexcept {
    state.identifier = ZfpState::kIdentifier;
    state.minBits = kDefaultMinBits;
    state.maxBits = kDefaultMaxBits;
    state.maxPrec = kDefaultMaxPrec;
    state.minExp = kDefaultMinExp;
    state.bitCount = 0;
    state.bitBuffer = 0;
    state.position = stream;
    state.begin = stream;
    state.end = stream + length;
    setGuard(state);
}

// The binary exponent of a positive number; as far as it is normal, the logarithm rounded down.
int32_t exponentOf(double tolerance) noexcept {
    constexpr unsigned kMantissaBits = 52;
    constexpr int32_t kBias = 1023;
    return static_cast<int32_t>(std::bit_cast<uint64_t>(tolerance) >> kMantissaBits) - kBias;
}

uint64_t sizeInBytes(const ZfpState& state) noexcept { return static_cast<uint64_t>(state.position - state.begin); }

}  // namespace
}  // namespace ozrdc::zfp

using namespace ozrdc;
using namespace ozrdc::zfp;

Status y8_ozrsEncodeZfpGetStateSize_32f(int32_t* pSize) noexcept {
    if (anyNull(pSize)) return StatusNullPointer;
    *pSize = sizeof(ZfpState);
    return StatusOk;
}

Status y8_ozrsEncodeZfpInit_32f(uint8_t* pDst, int32_t dstLen, ZfpState* pState) noexcept {
    if (anyNull(pDst, pState)) return StatusNullPointer;
    if (dstLen < 1) return StatusSizeError;
    initialize(*pState, pDst, static_cast<uint64_t>(dstLen));
    return StatusOk;
}

Status y8_ozrsEncodeZfpInitLong_32f(uint8_t* pDst, uint64_t dstLen, ZfpState* pState) noexcept {
    if (anyNull(pDst, pState)) return StatusNullPointer;
    if (dstLen == 0) return StatusSizeError;
    initialize(*pState, pDst, dstLen);
    return StatusOk;
}

Status y8_ozrsEncodeZfpSet_32f(uint32_t minBits, uint32_t maxBits, uint32_t maxPrec, int32_t minExp,
                               ZfpState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    if (!pState->isValid()) return StatusContextMismatch;
    pState->minBits = minBits;
    pState->maxBits = maxBits;
    pState->maxPrec = maxPrec;
    pState->minExp = minExp;
    setGuard(*pState);
    return StatusOk;
}

Status y8_ozrsEncodeZfpSetAccuracy_32f(double tolerance, ZfpState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    if (!pState->isValid()) return StatusContextMismatch;
    pState->minExp = tolerance > 0 ? exponentOf(tolerance) : kDefaultMinExp;
    return StatusOk;
}

Status y8_ozrsEncodeZfpFlush_32f(ZfpState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    if (!pState->isValid()) return StatusContextMismatch;
    ZfpState& state = *pState;
    if (state.bitCount > 0 && state.roomInBytes() >= kWordBytes) {
        store64(state.position, state.bitBuffer);
        state.position += kWordBytes;
        state.bitCount = 0;
    }
    for (; state.bitCount > 0; state.bitCount -= std::min(state.bitCount, 8U)) {
        if (state.position == state.end) return StatusStreamEnd;
        *state.position++ = static_cast<uint8_t>(state.bitBuffer);
        state.bitBuffer >>= 8;
    }
    state.bitBuffer = 0;
    return StatusOk;
}

Status y8_ozrsEncodeZfpGetCompressedSize_32f(const ZfpState* pState, int32_t* pSize) noexcept {
    if (anyNull(pSize, pState)) return StatusNullPointer;
    if (!pState->isValid()) return StatusContextMismatch;
    *pSize = static_cast<int32_t>(sizeInBytes(*pState));
    return StatusOk;
}

Status y8_ozrsEncodeZfpGetCompressedSizeLong_32f(const ZfpState* pState, uint64_t* pSize) noexcept {
    if (anyNull(pSize, pState)) return StatusNullPointer;
    if (!pState->isValid()) return StatusContextMismatch;
    *pSize = sizeInBytes(*pState);
    return StatusOk;
}

Status y8_ozrsEncodeZfpGetCompressedBitSize_32f(const ZfpState* pState, uint64_t* pBitSize) noexcept {
    if (anyNull(pBitSize, pState)) return StatusNullPointer;
    if (!pState->isValid()) return StatusContextMismatch;
    *pBitSize = sizeInBytes(*pState) * 8 + pState->bitCount;
    return StatusOk;
}

// --- The same under the decoder's names -----------------------------------------------------------------------------

Status y8_ozrsDecodeZfpGetStateSize_32f(int32_t* pSize) noexcept { return y8_ozrsEncodeZfpGetStateSize_32f(pSize); }

// The decoder writes nothing to its stream.
Status y8_ozrsDecodeZfpInit_32f(const uint8_t* pSrc, int32_t srcLen, ZfpState* pState) noexcept {
    return y8_ozrsEncodeZfpInit_32f(const_cast<uint8_t*>(pSrc), srcLen, pState);
}

Status y8_ozrsDecodeZfpInitLong_32f(const uint8_t* pSrc, uint64_t srcLen, ZfpState* pState) noexcept {
    return y8_ozrsEncodeZfpInitLong_32f(const_cast<uint8_t*>(pSrc), srcLen, pState);
}

Status y8_ozrsDecodeZfpSet_32f(uint32_t minBits, uint32_t maxBits, uint32_t maxPrec, int32_t minExp,
                               ZfpState* pState) noexcept {
    return y8_ozrsEncodeZfpSet_32f(minBits, maxBits, maxPrec, minExp, pState);
}

Status y8_ozrsDecodeZfpSetAccuracy_32f(double tolerance, ZfpState* pState) noexcept {
    return y8_ozrsEncodeZfpSetAccuracy_32f(tolerance, pState);
}

Status y8_ozrsDecodeZfpGetDecompressedSize_32f(const ZfpState* pState, int32_t* pSize) noexcept {
    return y8_ozrsEncodeZfpGetCompressedSize_32f(pState, pSize);
}

Status y8_ozrsDecodeZfpGetDecompressedSizeLong_32f(const ZfpState* pState, uint64_t* pSize) noexcept {
    return y8_ozrsEncodeZfpGetCompressedSizeLong_32f(pState, pSize);
}
