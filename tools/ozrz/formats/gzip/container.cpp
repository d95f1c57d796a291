// Reading what surrounds the streams of gzip files.
#include "formats/gzip/container.h"

#include "error.h"
#include "text.h"

namespace ozrz::gzip {

bool Container::open(deflate::BitReader& in) {
    const uint64_t position = in.position();
    constexpr uint32_t kMagic = kMagic0 | kMagic1 << 8;
    if (in.have(16) && in.peek(16) == kMagic) {
        in.drop(16);
        Header header = readHeader(in);
        if (++members_ == 1) firstHeader_ = std::move(header);
        return true;
    }
    if (members_ == 0) throw DataError("not a gzip file");
    // Tapes and disks fill the last block with zeros.
    while (in.have(8) && in.peek(8) == 0) in.drop(8);
    if (in.have(8)) noteGarbage(position);
    return false;
}

deflate::Trailer Container::close(deflate::BitReader& in) {
    in.align();
    in.setPlace("the checksum and size of the content");
    const auto crc = in.takeLittleEndian<uint32_t>();
    const auto size = in.takeLittleEndian<uint32_t>();
    return {crc, size};
}

void Container::verify(const deflate::Trailer& trailer, uint32_t check, uint64_t size, uint64_t stream) const {
    if (check != trailer.check) {
        throw DataError(deflate::contentName(stream) + " is damaged: its CRC-32 is " + hexText(check) +
                        ", but should be " + hexText(trailer.check));
    }
    if (static_cast<uint32_t>(size) != trailer.size) {
        throw DataError(deflate::contentName(stream) + " is damaged: it has " + std::to_string(size) +
                        " bytes, but should have " + std::to_string(trailer.size) + " (modulo 2^32)");
    }
}

}  // namespace ozrz::gzip
