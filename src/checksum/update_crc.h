// The checks and the choice of path that CRC-32 and bzip2's CRC have in common.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/arguments.h"
#include "core/features.h"
#include "ozrdc.h"

namespace ozrdc {

// Advances a finished CRC over `len` bytes.
using CrcPath = uint32_t (*)(uint32_t crc, const uint8_t* p, size_t len) noexcept;

[[gnu::always_inline]] inline Status updateCrc(const uint8_t* pSrc, int32_t len, uint32_t* pCRC, CrcPath folding,
                                               CrcPath tables) noexcept {
    if (anyNull(pSrc, pCRC)) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    const CrcPath update = ownGetFeature(kFeatureCarrylessMultiply) != 0 ? folding : tables;
    *pCRC = update(*pCRC, pSrc, static_cast<size_t>(len));
    return StatusOk;
}

}  // namespace ozrdc
