// See the header.
#include "formats/lzss/block.h"

#include <ozrdc.h>

#include <algorithm>
#include <cstring>

#include "error.h"
#include "text.h"

namespace ozrz::lzss {
namespace {

std::size_t stateSize() {
    int32_t size = 0;
    ozrsLZSSGetSize_8u(&size);
    return static_cast<std::size_t>(size);
}

[[noreturn]] void failEncoding(Status status) {
    throw Error("the LZSS encoder failed with status " + std::to_string(status));
}

}  // namespace

StateMemory::StateMemory() : memory_(stateSize()) {}

LZSSState* StateMemory::cleared() {
    std::memset(memory_.data(), 0, memory_.size());
    return get();
}

BlockEncoder::BlockEncoder(std::size_t blockSize)
    : blockSize_(blockSize), plain_(kBlockHeaderSize + blockSize), compressed_(kBlockHeaderSize + blockSize) {}

// Returns the size, or 0 if it does not fit.
std::size_t BlockEncoder::compress(Bytes content, MutableBytes into) {
    LZSSState* const state = state_.get();
    if (const Status status = ozrsEncodeLZSSInit_8u(state)) failEncoding(status);
    const uint8_t* source = content.data();
    auto left = static_cast<int32_t>(content.size());
    uint8_t* target = into.data();
    auto room = static_cast<int32_t>(into.size());
    Status status = ozrsEncodeLZSS_8u(&source, &left, &target, &room, state);
    if (status == StatusOk) status = ozrsEncodeLZSSFlush_8u(&target, &room, state);
    if (status == StatusDestinationFull) return 0;
    if (status != StatusOk) failEncoding(status);
    return static_cast<std::size_t>(target - into.data());
}

void BlockEncoder::encode() {
    const Bytes content = room().first(size);
    header = {.size = static_cast<uint32_t>(size), .crc = crc32c(content)};
    std::size_t dataSize = compress(content, {compressed_.data() + kBlockHeaderSize, size - 1});
    Buffer& from = dataSize == 0 ? plain_ : compressed_;
    if (dataSize == 0) dataSize = size;
    header.dataSize = static_cast<uint32_t>(dataSize);
    const BlockHeaderBytes bytes = serialize(header);
    std::copy(bytes.begin(), bytes.end(), from.data());
    result_ = {from.data(), kBlockHeaderSize + dataSize};
}

MutableBytes BlockDecoder::data() {
    data_.require(header.dataSize);
    return {data_.data(), header.dataSize};
}

Bytes BlockDecoder::decompress(Bytes data) {
    plain_.require(header.size);
    // Cleared, so that a block never depends on another, which only broken ones would.
    LZSSState* const state = state_.cleared();
    if (ozrsDecodeLZSSInit_8u(state) != StatusOk) throw Error("the LZSS decoder cannot begin");
    const uint8_t* source = data.data();
    auto left = static_cast<int32_t>(data.size());
    uint8_t* target = plain_.data();
    auto room = static_cast<int32_t>(header.size);
    if (ozrsDecodeLZSS_8u(&source, &left, &target, &room, state) != StatusDestinationFull) {
        throw DataError("its data end behind " + std::to_string(header.size - static_cast<uint32_t>(room)) + " of " +
                        std::to_string(header.size) + " bytes");
    }
    if (left != 0) throw DataError("it has " + countText(static_cast<uint64_t>(left), "byte") + " behind its end");
    return {plain_.data(), header.size};
}

void BlockDecoder::decode() {
    content_ = header.stored() ? Bytes(data()) : decompress(data());
    const uint32_t crc = crc32c(content_);
    if (crc != header.crc) {
        throw DataError("its checksum is " + hexText(crc) + ", but should be " + hexText(header.crc));
    }
}

}  // namespace ozrz::lzss
