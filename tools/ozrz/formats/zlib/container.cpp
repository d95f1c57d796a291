// Writing and reading what surrounds zlib streams.
#include "formats/zlib/container.h"

#include "error.h"
#include "text.h"

namespace ozrz::zlib {
namespace {

constexpr unsigned kMethodDeflate = 8;
constexpr unsigned kMaxWindowCode = 7;  // the window has 2^(8 + code) bytes
constexpr unsigned kDictionaryFlag = 1 << 5;
constexpr unsigned kEffortShift = 6;
constexpr unsigned kHeaderDivisor = 31;  // the two bytes, the first one above, are a multiple of it

void appendBigEndian(std::vector<uint8_t>& bytes, uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
}

uint32_t takeBigEndian(deflate::BitReader& in) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value = value << 8 | in.takeByte();
    return value;
}

}  // namespace

std::vector<uint8_t> makeHeader(unsigned effort, std::optional<Bytes> dictionary) {
    constexpr unsigned kFirst = kMaxWindowCode << 4 | kMethodDeflate;
    unsigned second = effort << kEffortShift | (dictionary ? kDictionaryFlag : 0);
    second += kHeaderDivisor - (kFirst << 8 | second) % kHeaderDivisor;
    std::vector<uint8_t> bytes{kFirst, static_cast<uint8_t>(second)};
    if (dictionary) appendBigEndian(bytes, ozrdc::adler32(*dictionary));
    return bytes;
}

std::vector<uint8_t> makeTrailer(uint32_t adler) {
    std::vector<uint8_t> bytes;
    appendBigEndian(bytes, adler);
    return bytes;
}

bool isHeader(uint8_t first, uint8_t second) {
    return (first & 0x0F) == kMethodDeflate && first >> 4 <= kMaxWindowCode &&
           (static_cast<unsigned>(first) << 8 | second) % kHeaderDivisor == 0;
}

bool isLikelyHeader(uint8_t first, uint8_t second) {
    return isHeader(first, second) && first >> 4 == kMaxWindowCode && second != ' ' && second != '?';
}

bool Container::open(deflate::BitReader& in) {
    const uint64_t position = in.position();
    if (!in.have(16) || !isHeader(static_cast<uint8_t>(in.peek(8)), static_cast<uint8_t>(in.peek(16) >> 8))) {
        if (streams_ == 0) throw DataError("not a zlib file");
        if (in.have(8)) noteGarbage(position);
        return false;
    }
    in.setPlace("a zlib header");
    ++streams_;
    needed_ = (in.take(16) >> 8 & kDictionaryFlag) != 0;
    if (!needed_) return true;
    const uint32_t number = takeBigEndian(in);
    if (streams_ == 1) firstDictionary_ = number;
    if (!given_) throw DataError("it needs the dictionary with the Adler-32 " + hexText(number) + ": give it with -D");
    const uint32_t given = ozrdc::adler32(*given_);
    if (given != number) {
        throw DataError("it needs the dictionary with the Adler-32 " + hexText(number) + ", but that of -D has " +
                        hexText(given));
    }
    return true;
}

deflate::Trailer Container::close(deflate::BitReader& in) {
    in.align();
    in.setPlace("the checksum of the content");
    return {.check = takeBigEndian(in)};
}

void Container::verify(const deflate::Trailer& trailer, uint32_t check, uint64_t /*size*/, uint64_t stream) const {
    if (check == trailer.check) return;
    throw DataError(deflate::contentName(stream) + " is damaged: its Adler-32 is " + hexText(check) +
                    ", but should be " + hexText(trailer.check));
}

}  // namespace ozrz::zlib
