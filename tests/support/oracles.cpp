// Thin wraps of the independent implementations.
#include "support/oracles.h"

#include <lz4.h>
#include <lz4hc.h>

#include <memory>
#include <stdexcept>

namespace ozrdc::test::oracle {
namespace {

const char* chars(std::span<const uint8_t> bytes) { return reinterpret_cast<const char*>(bytes.data()); }
char* chars(std::span<uint8_t> bytes) { return reinterpret_cast<char*>(bytes.data()); }
int length(std::span<const uint8_t> bytes) { return static_cast<int>(bytes.size()); }

// Runs compress(target) on a target of the size that LZ4_compressBound gives, and cuts it to the size that it returns.
template <typename Compress>
std::vector<uint8_t> compressBlock(std::span<const uint8_t> source, Compress compress) {
    std::vector<uint8_t> block(static_cast<std::size_t>(LZ4_compressBound(length(source))));
    const int size = compress(std::span<uint8_t>(block));
    if (size <= 0) throw std::runtime_error("liblz4 did not compress");
    block.resize(static_cast<std::size_t>(size));
    return block;
}

}  // namespace

std::vector<uint8_t> lz4Compress(std::span<const uint8_t> source) {
    return compressBlock(source, [&](std::span<uint8_t> block) {
        return LZ4_compress_default(chars(source), chars(block), length(source), length(block));
    });
}

std::vector<uint8_t> lz4CompressFast(std::span<const uint8_t> source, int acceleration) {
    return compressBlock(source, [&](std::span<uint8_t> block) {
        return LZ4_compress_fast(chars(source), chars(block), length(source), length(block), acceleration);
    });
}

std::vector<uint8_t> lz4CompressHigh(std::span<const uint8_t> source, int level) {
    return compressBlock(source, [&](std::span<uint8_t> block) {
        return LZ4_compress_HC(chars(source), chars(block), length(source), length(block), level);
    });
}

std::vector<uint8_t> lz4CompressWithDictionary(std::span<const uint8_t> source, std::span<const uint8_t> dictionary) {
    const std::unique_ptr<LZ4_stream_t, decltype(&LZ4_freeStream)> stream(LZ4_createStream(), LZ4_freeStream);
    LZ4_loadDict(stream.get(), chars(dictionary), length(dictionary));
    return compressBlock(source, [&](std::span<uint8_t> block) {
        return LZ4_compress_fast_continue(stream.get(), chars(source), chars(block), length(source), length(block), 1);
    });
}

std::optional<std::vector<uint8_t>> lz4Decompress(std::span<const uint8_t> block, std::size_t capacity,
                                                  std::span<const uint8_t> dictionary) {
    std::vector<uint8_t> output(capacity + 1);  // never empty: the pointer must not be null
    const int size = LZ4_decompress_safe_usingDict(chars(block), chars(std::span<uint8_t>(output)), length(block),
                                                   static_cast<int>(capacity), chars(dictionary), length(dictionary));
    if (size < 0) return std::nullopt;
    output.resize(static_cast<std::size_t>(size));
    return output;
}

}  // namespace ozrdc::test::oracle
