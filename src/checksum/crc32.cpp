// CRC-32 of zlib and gzip: generator 0x04C11DB7, least significant bit first, inverted before and after.

#include <cstddef>
#include <cstdint>

#include "checksum/folding.h"
#include "checksum/slicing.h"
#include "checksum/update_crc.h"
#include "core/entry_points.h"

namespace ozrdc {
namespace {

constexpr SlicingTables crc_table_il8 = makeSlicingTables<BitOrder::LeastFirst>(kPolynomialCrc32);

// The table of a byte is named by how far right of the register's top the byte would stand: 32 bits and the eight bits
// of each byte that follows. Sixteen bytes a step need sixteen of them.
constexpr const ByteTable& crc_table_il8_o32 = crc_table_il8[0];
constexpr const ByteTable& crc_table_il8_o40 = crc_table_il8[1];
static_assert(crc_table_il8_o32[128] == 0xEDB88320);
static_assert(crc_table_il8_o40[0x80] == (crc_table_il8_o32[0x80] >> 8 ^ crc_table_il8_o32[0x20]));

uint32_t ownsCRC32_8u(uint32_t crc, const uint8_t* p, size_t len) noexcept {
    return ~sliceBytes(crc_table_il8, ~crc, p, len);
}

[[gnu::target("pclmul")]] uint32_t owns_zlib_reduction_crc_proc(uint32_t crc, const uint8_t* p, size_t len) noexcept {
    using Kernel = Folding<BitOrder::LeastFirst>;
    if (len < Kernel::kLeastLength) return ~sliceShort(crc_table_il8, ~crc, p, len);
    return ~Kernel::run(~crc, p, len);
}

}  // namespace
}  // namespace ozrdc

Status y8_ozrsCRC32_8u(const uint8_t* pSrc, int32_t len, uint32_t* pCRC) noexcept {
    using namespace ozrdc;
    return updateCrc(pSrc, len, pCRC, owns_zlib_reduction_crc_proc, ownsCRC32_8u);
}
