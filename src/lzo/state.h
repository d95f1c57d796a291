// The layout of the state that a caller of the encoder holds, at any address.
//
//     offset 0     mode, 32 bits
//            4     number of parts, 32 bits: for the container writer alone
//            8     reserved
//            32    scratch of the compressors: a dictionary
//
// The mode and the number of parts are read by every call; the scratch carries nothing from one call to the next.
#pragma once

#include <cstdint>

#include "core/unaligned.h"
#include "ozrdc.h"

namespace ozrdc::lzo {

constexpr uint32_t kStateSize = 131104;
constexpr uint32_t kPartsOffset = 4;
constexpr uint32_t kScratchOffset = 32;
constexpr uint32_t kScratchSize = kStateSize - kScratchOffset;

enum Mode : uint32_t {
    kStandard = 0,
    kContainerWriter = 1,  // no method stands for it: a caller that wants it writes it into the state
    kFastChunked = 2,
};

struct StateView {
    uint8_t* bytes;

    explicit StateView(LZOState* pState) noexcept : bytes(reinterpret_cast<uint8_t*>(pState)) {}

    [[nodiscard]] uint32_t mode() const noexcept { return load32(bytes); }
    void setMode(uint32_t mode) const noexcept { store32(bytes, mode); }
    [[nodiscard]] uint32_t parts() const noexcept { return load32(bytes + kPartsOffset); }
    [[nodiscard]] uint8_t* scratch() const noexcept { return bytes + kScratchOffset; }
};

}  // namespace ozrdc::lzo
