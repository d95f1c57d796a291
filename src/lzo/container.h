// The multi-part container: several LZO1X streams, each of which decodes to a slice of the output.
//
//     offset 0          0x55
//            1          number of parts P, 1 to 32
//            2          P XOR 0x55
//            3          length T of the whole output, 4 bytes
//            7          length of each part but the last, 4 bytes each
//            7+4*(P-1)  the parts, each with its end marker
//
// Every part decodes to T / P bytes, the last one to T mod P more. Numbers are little-endian. Offsets and sums are
// taken in 64 bits, so that no length can wrap.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/unaligned.h"
#include "lzo/format.h"

namespace ozrdc::lzo {

constexpr uint8_t kContainerMark = 0x55;
constexpr uint32_t kMaxParts = 32;
constexpr uint64_t kTotalOffset = 3;
constexpr uint64_t kPartLengthsOffset = 7;
constexpr uint64_t kPartLengthSize = 4;

// Whether bytes 1 and 2 are those of a container.
[[nodiscard]] constexpr bool isPartCount(uint32_t parts, uint32_t check) noexcept {
    return parts >= 1 && parts <= kMaxParts && check == (parts ^ kContainerMark);
}

// Where the parts begin.
[[nodiscard]] constexpr uint64_t containerHeaderSize(uint64_t parts) noexcept {
    return kPartLengthsOffset + kPartLengthSize * (parts - 1);
}

// The slices of `total` bytes that the parts stand for.
struct Slices {
    uint64_t total;
    uint64_t parts;

    [[nodiscard]] constexpr uint64_t begin(uint64_t part) const noexcept { return part * (total / parts); }
    [[nodiscard]] constexpr uint64_t size(uint64_t part) const noexcept {
        return total / parts + (part + 1 == parts ? total % parts : 0);
    }
};

struct Container {
    const uint8_t* begin;
    uint64_t length;
    uint64_t parts;

    [[nodiscard]] Slices slices() const noexcept { return {load32(begin + kTotalOffset), parts}; }

    // The stated length of a part but the last.
    [[nodiscard]] uint64_t statedLength(uint64_t part) const noexcept {
        return load32(begin + kPartLengthsOffset + kPartLengthSize * part);
    }
};

// Whether a source is a container: by its first bytes, and by the end marker of its first part. Sources for which that
// cannot be told without looking behind their end are none.
[[nodiscard]] inline bool isContainer(const uint8_t* src, uint64_t length) noexcept {
    if (length < kPartLengthsOffset || src[0] != kContainerMark || !isPartCount(src[1], src[2])) return false;
    const uint64_t parts = src[1];
    if (length < containerHeaderSize(parts)) return false;
    const Container container{src, length, parts};
    const uint64_t first = parts == 1 ? length - kPartLengthsOffset : container.statedLength(0);
    if (first + kPartLengthsOffset > length) return false;
    const uint64_t markerEnd = containerHeaderSize(parts) + first;
    return markerEnd <= length && std::equal(kEndMarker.begin(), kEndMarker.end(), src + markerEnd - kEndMarker.size());
}

}  // namespace ozrdc::lzo
