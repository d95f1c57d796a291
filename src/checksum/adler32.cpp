#include "core/entry_points.h"
Status y8_ozrsAdler32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pAdler) noexcept {
    if (!pAdler) return StatusNullPointer;
    if (!pSrc) {
        *pAdler = 1;
        return StatusOk;
    }
    uint32_t a = (*pAdler & 0xFFFF) % 65521, b = (*pAdler >> 16) % 65521;
    for (int32_t i = 0; i < len; ++i) {
        a = (a + pSrc[i]) % 65521;
        b = (a + b) % 65521;
    }
    *pAdler = b << 16 | a;
    return StatusOk;
}
