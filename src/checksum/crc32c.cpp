#include "core/entry_points.h"
Status y8_ozrsCRC32C_8u(const uint8_t* pSrc, uint32_t len, uint32_t* pCRC) noexcept {
    if (!pSrc || !pCRC) return StatusNullPointer;
    if (!len) return StatusSizeError;
    uint32_t r = *pCRC;
    while (len--) { r ^= *pSrc++; for (int k = 0; k < 8; ++k) r = (r >> 1) ^ (0x82F63B78u & (0u - (r & 1))); }
    *pCRC = r;
    return StatusOk;
}
