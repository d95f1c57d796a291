// See the header.
#include "formats/lzss/container.h"

#include <algorithm>
#include <ozrdc/checksum.hpp>

#include "error.h"

namespace ozrz::lzss {
namespace {

// Places in the header.
constexpr std::size_t kVersionAt = kMagic.size();
constexpr std::size_t kFlagsAt = kVersionAt + 1;
constexpr std::size_t kBlockSizeLogAt = kFlagsAt + 1;
constexpr std::size_t kCheckAt = kBlockSizeLogAt + 1;
static_assert(kCheckAt + 1 == kHeaderSize);

uint8_t checkOf(const HeaderBytes& header) {
    return static_cast<uint8_t>(ozrdc::crc32c(Bytes(header).first(kCheckAt)));
}

}  // namespace

bool beginsMember(Bytes head) {
    return head.size() >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), head.begin());
}

HeaderBytes headerFor(unsigned blockSizeLog) {
    HeaderBytes header{};
    std::copy(kMagic.begin(), kMagic.end(), header.begin());
    header[kVersionAt] = kVersion;
    header[kBlockSizeLogAt] = static_cast<uint8_t>(blockSizeLog);
    header[kCheckAt] = checkOf(header);
    return header;
}

std::size_t blockSizeOf(const HeaderBytes& header) {
    if (header[kVersionAt] != kVersion) {
        throw DataError("an LZSS header has the unknown version " + std::to_string(header[kVersionAt]));
    }
    if (header[kCheckAt] != checkOf(header)) throw DataError("an LZSS header is damaged");
    if (header[kFlagsAt] != 0) {
        throw DataError("an LZSS header has the unknown flags " + std::to_string(header[kFlagsAt]));
    }
    const unsigned log = header[kBlockSizeLogAt];
    if (log < kMinBlockSizeLog || log > kMaxBlockSizeLog) {
        throw DataError("an LZSS header names the block size 2^" + std::to_string(log) + ", which cannot be");
    }
    return std::size_t{1} << log;
}

BlockHeaderBytes serialize(const BlockHeader& block) {
    BlockHeaderBytes bytes;
    storeLittleEndian(bytes.data(), block.size);
    storeLittleEndian(bytes.data() + 4, block.dataSize);
    storeLittleEndian(bytes.data() + 8, block.crc);
    return bytes;
}

void readRest(BlockHeader& block, const BlockHeaderBytes& bytes) {
    block.dataSize = loadLittleEndian<uint32_t>(bytes.data() + 4);
    block.crc = loadLittleEndian<uint32_t>(bytes.data() + 8);
}

}  // namespace ozrz::lzss
