// Thin wraps of the independent implementations.
#include "support/oracles.h"

#include <libdeflate.h>
#include <lz4.h>
#include <lz4hc.h>
#include <lzo/lzo1x.h>
#include <zlib.h>

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

namespace {

// Room for the stream of any source.
std::size_t lzoBound(std::size_t n) { return n + n / 16 + 67; }

template <typename Compress>
std::vector<uint8_t> compressLzo(std::span<const uint8_t> source, std::size_t workspaceSize, Compress compress) {
    std::vector<uint8_t> stream(lzoBound(source.size()));
    std::vector<uint8_t> workspace(workspaceSize);
    lzo_uint size = stream.size();
    if (compress(source.data(), source.size(), stream.data(), &size, workspace.data()) != LZO_E_OK) {
        throw std::runtime_error("liblzo2 did not compress");
    }
    stream.resize(size);
    return stream;
}

}  // namespace

std::vector<uint8_t> lzoCompress(std::span<const uint8_t> source) {
    return compressLzo(source, LZO1X_1_MEM_COMPRESS, lzo1x_1_compress);
}

std::vector<uint8_t> lzoCompress15(std::span<const uint8_t> source) {
    return compressLzo(source, LZO1X_1_15_MEM_COMPRESS, lzo1x_1_15_compress);
}

std::vector<uint8_t> lzoCompress999(std::span<const uint8_t> source, int level) {
    return compressLzo(source, LZO1X_999_MEM_COMPRESS, [level](auto... arguments) {
        return lzo1x_999_compress_level(arguments..., nullptr, 0, nullptr, level);
    });
}

std::optional<std::vector<uint8_t>> lzoDecompress(std::span<const uint8_t> stream, std::size_t capacity) {
    std::vector<uint8_t> output(capacity + 1);  // never empty: the pointer must not be null
    lzo_uint size = capacity;
    if (lzo1x_decompress_safe(stream.data(), stream.size(), output.data(), &size, nullptr) != LZO_E_OK) {
        return std::nullopt;
    }
    output.resize(size);
    return output;
}

namespace {

// zlib does not write through these pointers.
Bytef* zlibBytes(std::span<const uint8_t> bytes) { return const_cast<Bytef*>(bytes.data()); }

int zlibStrategy(ZlibStrategy strategy) {
    switch (strategy) {
        case ZlibStrategy::Default:
            return Z_DEFAULT_STRATEGY;
        case ZlibStrategy::Filtered:
            return Z_FILTERED;
        case ZlibStrategy::HuffmanOnly:
            return Z_HUFFMAN_ONLY;
        case ZlibStrategy::RunLengths:
            return Z_RLE;
        case ZlibStrategy::Fixed:
            return Z_FIXED;
    }
    return Z_DEFAULT_STRATEGY;
}

void requireZlib(int status) {
    if (status != Z_OK) throw std::runtime_error("zlib does not start");
}

}  // namespace

std::vector<uint8_t> zlibDeflate(std::span<const uint8_t> source, int level, ZlibStrategy strategy, int memoryLevel,
                                 std::span<const uint8_t> dictionary) {
    z_stream stream{};
    requireZlib(deflateInit2(&stream, level, Z_DEFLATED, -MAX_WBITS, memoryLevel, zlibStrategy(strategy)));
    const std::unique_ptr<z_stream, int (*)(z_streamp)> end(&stream, deflateEnd);
    if (!dictionary.empty()) {
        requireZlib(deflateSetDictionary(&stream, dictionary.data(), static_cast<uInt>(dictionary.size())));
    }
    std::vector<uint8_t> result(deflateBound(&stream, static_cast<uLong>(source.size())) + 64);
    stream.next_in = zlibBytes(source);
    stream.avail_in = static_cast<uInt>(source.size());
    stream.next_out = result.data();
    stream.avail_out = static_cast<uInt>(result.size());
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) throw std::runtime_error("zlib did not compress");
    result.resize(result.size() - stream.avail_out);
    return result;
}

std::vector<uint8_t> libdeflateDeflate(std::span<const uint8_t> source, int level) {
    const std::unique_ptr<libdeflate_compressor, decltype(&libdeflate_free_compressor)> compressor(
        libdeflate_alloc_compressor(level), libdeflate_free_compressor);
    std::vector<uint8_t> result(libdeflate_deflate_compress_bound(compressor.get(), source.size()));
    const std::size_t size =
        libdeflate_deflate_compress(compressor.get(), source.data(), source.size(), result.data(), result.size());
    if (size == 0) throw std::runtime_error("libdeflate did not compress");
    result.resize(size);
    return result;
}

std::optional<std::vector<uint8_t>> zlibInflate(std::span<const uint8_t> stream, std::size_t capacity,
                                                std::span<const uint8_t> dictionary) {
    z_stream z{};
    requireZlib(inflateInit2(&z, -MAX_WBITS));
    const std::unique_ptr<z_stream, int (*)(z_streamp)> end(&z, inflateEnd);
    if (!dictionary.empty()) {
        requireZlib(inflateSetDictionary(&z, dictionary.data(), static_cast<uInt>(dictionary.size())));
    }
    std::vector<uint8_t> result(capacity + 1);  // never empty: the pointer must not be null
    z.next_in = zlibBytes(stream);
    z.avail_in = static_cast<uInt>(stream.size());
    z.next_out = result.data();
    z.avail_out = static_cast<uInt>(capacity);
    if (inflate(&z, Z_FINISH) != Z_STREAM_END || z.avail_in != 0) return std::nullopt;
    result.resize(capacity - z.avail_out);
    return result;
}

}  // namespace ozrdc::test::oracle
