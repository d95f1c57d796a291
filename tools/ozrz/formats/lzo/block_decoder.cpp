// Single blocks by the library's decoder, with every check there is.
//
// The library takes data of a certain beginning for a container of several streams, which has no place in this format.
// The one stream with the same beginning is one that begins with 68 literals. A run of literals can be written in a
// second way, which is as good and looks like no container; so it is brought into this form, for which a byte is kept
// free in front of the data.
#include "formats/lzo/block_decoder.h"

#include <ozrdc/checksum.hpp>
#include <ozrdc/lzo.hpp>

#include "error.h"
#include "text.h"

namespace ozrz::lzo {
namespace {

constexpr std::size_t kFreeBytes = 1;

constexpr uint8_t kContainer = 0x55;
constexpr uint8_t kShortRunBase = 17;  // a stream's first byte, less this, is a number of literals
constexpr uint8_t kLongRun = 0;        // the next byte is a number of literals,
constexpr uint8_t kLongRunBase = 18;   // less this

void compare(const std::optional<uint32_t>& stored, const char* what, Bytes bytes, uint32_t (*check)(ozrdc::Bytes)) {
    if (!stored) return;
    const uint32_t computed = check(bytes);
    if (computed != *stored) {
        throw DataError(std::string(what) + " is " + hexText(computed) + ", but should be " + hexText(*stored));
    }
}

void undoFilter(MutableBytes bytes, std::size_t distance) {
    for (std::size_t i = distance; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(bytes[i] + bytes[i - distance]);
}

}  // namespace

MutableBytes Block::data() {
    memory_.require(kFreeBytes + header.dataSize);
    return {memory_.data() + kFreeBytes, header.dataSize};
}

void Block::decode(uint32_t filter) {
    const MutableBytes packed = data();
    compare(header.dataAdler, "the Adler-32 of its data", packed, ozrdc::adler32);
    compare(header.dataCrc, "the CRC-32 of its data", packed, ozrdc::crc32);
    const MutableBytes plain = header.stored() ? packed : decompress();
    if (filter != 0) undoFilter(plain, filter);
    content_ = plain;
    compare(header.contentAdler, "the Adler-32 of its content", content_, ozrdc::adler32);
    compare(header.contentCrc, "the CRC-32 of its content", content_, ozrdc::crc32);
}

MutableBytes Block::decompress() {
    MutableBytes stream = data();
    if (stream[0] == kContainer) {
        static_assert(kFreeBytes >= 1);
        stream[0] = kContainer - kShortRunBase - kLongRunBase;
        stream = {memory_.data() + kFreeBytes - 1, stream.size() + 1};
        stream[0] = kLongRun;
    }
    plain_.require(header.size);
    const MutableBytes plain(plain_.data(), header.size);
    const auto decoded = ozrdc::lzo::decode(stream, plain);
    if (!decoded) throw DataError("its data are no LZO stream of " + std::to_string(plain.size()) + " bytes");
    if (decoded->size() != plain.size()) {
        throw DataError("it decodes to " + std::to_string(decoded->size()) + " bytes, but should to " +
                        std::to_string(plain.size()));
    }
    return plain;
}

}  // namespace ozrz::lzo
