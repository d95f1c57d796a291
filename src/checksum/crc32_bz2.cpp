// CRC-32 of bzip2: generator 0x04C11DB7, most significant bit first, inverted before and after.

#include <cstddef>
#include <cstdint>

#include "checksum/folding.h"
#include "checksum/slicing.h"
#include "checksum/update_crc.h"
#include "core/entry_points.h"

namespace ozrdc {
namespace {

// Stored byte-swapped, and used with a byte-swapped register, so that the byte that leaves first is the low one.
constexpr SlicingTables crc_table = makeSlicingTables<BitOrder::MostFirst>(kPolynomialCrc32);
static_assert(crc_table[0][1] == 0xB71DC104);

uint32_t ownsCRC32_BZ2_8u(uint32_t crc, const uint8_t* p, size_t len) noexcept {
    return ~__builtin_bswap32(sliceBytes(crc_table, __builtin_bswap32(~crc), p, len));
}

[[gnu::target("pclmul")]] uint32_t owns_bzip2_reduction_crc_proc(uint32_t crc, const uint8_t* p, size_t len) noexcept {
    using Kernel = Folding<BitOrder::MostFirst>;
    if (len < Kernel::kLeastLength) {
        return ~__builtin_bswap32(sliceShort(crc_table, __builtin_bswap32(~crc), p, len));
    }
    return ~Kernel::run(~crc, p, len);
}

}  // namespace
}  // namespace ozrdc

Status y8_ozrsCRC32_BZ2_8u(const uint8_t* pSrc, int32_t len, uint32_t* pCRC) noexcept {
    using namespace ozrdc;
    return updateCrc(pSrc, len, pCRC, owns_bzip2_reduction_crc_proc, ownsCRC32_BZ2_8u);
}
