// zlib streams (RFC 1950): a header of two bytes, the number of a dictionary where one is needed, a Deflate stream, and
// the Adler-32 of its content. Numbers are big-endian.
#pragma once

#include <optional>
#include <ozrdc/checksum.hpp>
#include <vector>

#include "formats/deflate/container.h"

namespace ozrz::zlib {

// How hard the encoder tried, as the header tells it: 0 to 3.
std::vector<uint8_t> makeHeader(unsigned effort, std::optional<Bytes> dictionary);
std::vector<uint8_t> makeTrailer(uint32_t adler);

// Whether the bytes, at least two, can begin a zlib stream.
bool isHeader(uint8_t first, uint8_t second);

// Whether they are likely to begin one although nothing else tells so. A word and a space or question mark must not
// pass for a header of a stream with a dictionary.
bool isLikelyHeader(uint8_t first, uint8_t second);

class Container final : public deflate::Container {
  public:
    explicit Container(std::optional<Bytes> dictionary) : given_(dictionary) {}

    bool open(deflate::BitReader& in) override;
    Bytes dictionary() const override { return needed_ ? *given_ : Bytes{}; }
    deflate::Trailer close(deflate::BitReader& in) override;

    uint32_t emptyCheck() const override { return ozrdc::Adler32().value(); }
    uint32_t extendCheck(uint32_t check, Bytes bytes) const override {
        return ozrdc::Adler32(check).update(bytes).value();
    }
    void verify(const deflate::Trailer& trailer, uint32_t check, uint64_t size, uint64_t stream) const override;

    // Of what has been read so far.
    uint64_t streams() const { return streams_; }
    std::optional<uint32_t> firstDictionary() const { return firstDictionary_; }

  private:
    std::optional<Bytes> given_;
    bool needed_ = false;  // by the current stream
    uint64_t streams_ = 0;
    std::optional<uint32_t> firstDictionary_;
};

}  // namespace ozrz::zlib
