// The LZO1X decoders: argument checks, the container, and the results. stream_decoder.h decodes streams.

#include <algorithm>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "lzo/container.h"
#include "lzo/format.h"
#include "lzo/stream_decoder.h"

namespace ozrdc::lzo {
namespace {

// Decodes a buffer of streams and checks everything.
Status ownDecodeLZO1XSafe(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) noexcept {
    const Outcome outcome =
        decodeStreams<Distances::Checked>(Source{pSrc, pSrc + srcLen}, Destination{pDst, pDst + *pDstLen});
    if (!outcome.whole) return StatusBrokenStream;
    *pDstLen = static_cast<uint32_t>(outcome.end - pDst);
    return StatusOk;
}

// The same for streams that are known to be well-formed. It never fails.
Status ownDecodeLZO1X(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) noexcept {
    const Outcome outcome =
        decodeStreams<Distances::Trusted>(Source{pSrc, pSrc + srcLen}, Destination{pDst, pDst + *pDstLen});
    *pDstLen = static_cast<uint32_t>(outcome.end - pDst);
    return StatusOk;
}

// Decodes the parts of a container, each into its slice of the output. The slices follow from the total that the
// container states, whatever the caller's capacity is.
Status decodeContainer(const Container& container, uint8_t* pDst, uint32_t* pDstLen) noexcept {
    const Slices slices = container.slices();
    uint64_t offset = containerHeaderSize(container.parts);
    uint64_t written = 0;
    for (uint64_t part = 0; part < container.parts; ++part) {
        const uint64_t left = container.length - offset;
        const uint64_t length = part + 1 == container.parts ? left : container.statedLength(part);
        if (length > left) return StatusBrokenStream;
        auto size = static_cast<uint32_t>(slices.size(part));
        const Status status = ownDecodeLZO1XSafe(container.begin + offset, static_cast<uint32_t>(length),
                                                 pDst + slices.begin(part), &size);
        if (status != StatusOk) return status;
        offset += length;
        written += size;
    }
    *pDstLen = static_cast<uint32_t>(written);
    return StatusOk;
}

using StreamDecoder = Status(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) noexcept;

// What the two entry points share: they differ in the decoder of a single stream alone.
[[gnu::always_inline]] inline Status decode(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen,
                                            StreamDecoder decodeStream) noexcept {
    if (anyNull(pSrc, pDst, pDstLen)) return StatusNullPointer;
    const bool isEmptyStream = srcLen >= kEndMarker.size() && std::equal(kEndMarker.begin(), kEndMarker.end(), pSrc);
    if (srcLen == 0 || isEmptyStream) {
        *pDstLen = 0;
        return StatusOk;
    }
    if (isContainer(pSrc, srcLen)) return decodeContainer(Container{pSrc, srcLen, pSrc[1]}, pDst, pDstLen);
    return decodeStream(pSrc, srcLen, pDst, pDstLen);
}

}  // namespace
}  // namespace ozrdc::lzo

Status y8_ozrsDecodeLZOSafe_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) noexcept {
    return ozrdc::lzo::decode(pSrc, srcLen, pDst, pDstLen, ozrdc::lzo::ownDecodeLZO1XSafe);
}

Status y8_ozrsDecodeLZO_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen) noexcept {
    return ozrdc::lzo::decode(pSrc, srcLen, pDst, pDstLen, ozrdc::lzo::ownDecodeLZO1X);
}
