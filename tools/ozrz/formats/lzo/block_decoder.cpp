// Single blocks by the library's decoder, with every check there is.
//
// The library takes data of a certain beginning for a container of several streams, which has no place in this format.
// The one stream with the same beginning is one that begins with 68 literals. A run of literals can be written in a
// second way, which is as good and looks like no container; so it is brought into this form, for which a byte is kept
// free in front of the data.
#include "formats/lzo/block_decoder.h"

#include <ozrdc.h>

#include "error.h"
#include "text.h"

namespace ozrz::lzo {
namespace {

constexpr std::size_t kFreeBytes = 1;

constexpr uint8_t kContainer = 0x55;
constexpr uint8_t kShortRunBase = 17;  // a stream's first byte, less this, is a number of literals
constexpr uint8_t kLongRun = 0;        // the next byte is a number of literals,
constexpr uint8_t kLongRunBase = 18;   // less this

void compare(const std::optional<uint32_t>& stored, const char* what, Bytes bytes, uint32_t (*check)(Bytes)) {
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
    compare(header.dataAdler, "the Adler-32 of its data", packed, adlerOf);
    compare(header.dataCrc, "the CRC-32 of its data", packed, crcOf);
    const MutableBytes plain = header.stored() ? packed : decompress();
    if (filter != 0) undoFilter(plain, filter);
    content_ = plain;
    compare(header.contentAdler, "the Adler-32 of its content", content_, adlerOf);
    compare(header.contentCrc, "the CRC-32 of its content", content_, crcOf);
}

MutableBytes Block::decompress() {
    uint8_t* stream = memory_.data() + kFreeBytes;
    auto streamSize = static_cast<uint32_t>(header.dataSize);
    if (stream[0] == kContainer) {
        static_assert(kFreeBytes >= 1);
        stream[0] = kContainer - kShortRunBase - kLongRunBase;
        *--stream = kLongRun;
        ++streamSize;
    }
    plain_.require(header.size);
    auto size = static_cast<uint32_t>(header.size);
    if (ozrsDecodeLZOSafe_8u(stream, streamSize, plain_.data(), &size) != StatusOk) {
        throw DataError("its data are no LZO stream of " + std::to_string(header.size) + " bytes");
    }
    if (size != header.size) {
        throw DataError("it decodes to " + std::to_string(size) + " bytes, but should to " +
                        std::to_string(header.size));
    }
    return {plain_.data(), header.size};
}

}  // namespace ozrz::lzo
