// The dictionary of a block: byte values that occur are renamed to 0, 1, 2, ... in ascending order, and back.

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"

namespace ozrdc::bz2 {
namespace {

using Names = std::array<uint8_t, 256>;

// Replaces every byte by its new name.
void rename(const Names& names, uint8_t* p, ptrdiff_t length) noexcept {
    ptrdiff_t i = 0;
    for (; i + 8 <= length; i += 8) {
        const uint64_t bytes = load64(p + i);
        uint64_t renamed = 0;
        for (unsigned k = 0; k < 64; k += 8) renamed |= uint64_t{names[bytes >> k & 0xFF]} << k;
        store64(p + i, renamed);
    }
    for (; i < length; ++i) p[i] = names[p[i]];
}

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsReduceDictionary_8u_I(const uint8_t pInUse[256], uint8_t* pSrcDst, int32_t len,
                                    int32_t* pSizeDictionary) noexcept {
    if (anyNull(pInUse, pSrcDst, pSizeDictionary)) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    Names names;
    int32_t size = 0;
    for (unsigned v = 0; v < 256; ++v) {
        names[v] = static_cast<uint8_t>(size);
        size += pInUse[v];
    }
    rename(names, pSrcDst, len);
    *pSizeDictionary = size;
    return StatusOk;
}

Status y8_ozrsExpandDictionary_8u_I(const uint8_t pInUse[256], uint8_t* pSrcDst, int32_t len,
                                    int32_t sizeDictionary) noexcept {
    if (anyNull(pInUse, pSrcDst)) return StatusNullPointer;
    if (len < 1 || sizeDictionary < 1) return StatusSizeError;
    Names values{};
    int32_t size = 0;
    for (unsigned v = 0; v < 256; ++v) {
        // Entries other than 0 and 1 could count beyond the end.
        if (size < 256) values[static_cast<size_t>(size)] = static_cast<uint8_t>(v);
        size += pInUse[v];
    }
    if (size != sizeDictionary) return StatusError;
    rename(values, pSrcDst, len);
    return StatusOk;
}
