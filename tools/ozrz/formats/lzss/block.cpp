// See the header.
#include "formats/lzss/block.h"

#include <algorithm>
#include <ozrdc/checksum.hpp>
#include <ozrdc/lzss.hpp>

#include "error.h"
#include "library.h"
#include "text.h"

namespace ozrz::lzss {
namespace {

// For messages.
constexpr const char* kEncoder = "the LZSS encoder";
constexpr const char* kDecoder = "the LZSS decoder";

}  // namespace

BlockEncoder::BlockEncoder(std::size_t blockSize)
    : blockSize_(blockSize),
      plain_(kBlockHeaderSize + blockSize),
      compressed_(kBlockHeaderSize + blockSize),
      state_(ozrdc::lzss::Encoder::memorySize()) {}

// Returns the size, or 0 if it does not fit.
std::size_t BlockEncoder::compress(Bytes content, MutableBytes into) {
    auto encoder = expect(ozrdc::lzss::Encoder::create(ozrdc::Place::in(state_.bytes())), kEncoder);
    const auto body = expect(encoder.update(content, into), kEncoder);
    if (body.status == StatusDestinationFull) return 0;
    const auto end = expect(encoder.finish(into.subspan(body.produced)), kEncoder);
    return end.status == StatusDestinationFull ? 0 : body.produced + end.produced;
}

void BlockEncoder::encode() {
    const Bytes content = room().first(size);
    header = {.size = static_cast<uint32_t>(size), .crc = ozrdc::crc32c(content)};
    std::size_t dataSize = compress(content, {compressed_.data() + kBlockHeaderSize, size - 1});
    Buffer& from = dataSize == 0 ? plain_ : compressed_;
    if (dataSize == 0) dataSize = size;
    header.dataSize = static_cast<uint32_t>(dataSize);
    const BlockHeaderBytes bytes = serialize(header);
    std::copy(bytes.begin(), bytes.end(), from.data());
    result_ = {from.data(), kBlockHeaderSize + dataSize};
}

BlockDecoder::BlockDecoder() : state_(ozrdc::lzss::Decoder::memorySize()) {}

MutableBytes BlockDecoder::data() {
    data_.require(header.dataSize);
    return {data_.data(), header.dataSize};
}

Bytes BlockDecoder::decompress(Bytes data) {
    plain_.require(header.size);
    const MutableBytes plain(plain_.data(), header.size);
    // A new decoder has a clear window: a block never depends on another, which only broken ones would.
    auto decoder = expect(ozrdc::lzss::Decoder::create(ozrdc::Place::in(state_.bytes())), kDecoder);
    const auto decoded = expect(decoder.update(data, plain), kDecoder);
    if (decoded.status != StatusDestinationFull) {
        throw DataError("its data end behind " + std::to_string(decoded.produced) + " of " +
                        std::to_string(plain.size()) + " bytes");
    }
    if (decoded.consumed != data.size()) {
        throw DataError("it has " + countText(data.size() - decoded.consumed, "byte") + " behind its end");
    }
    return plain;
}

void BlockDecoder::decode() {
    content_ = header.stored() ? Bytes(data()) : decompress(data());
    const uint32_t crc = ozrdc::crc32c(content_);
    if (crc != header.crc) {
        throw DataError("its checksum is " + hexText(crc) + ", but should be " + hexText(header.crc));
    }
}

}  // namespace ozrz::lzss
