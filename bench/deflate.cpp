// Deflate by match search and Huffman output against zlib and libdeflate, at four steps of effort; whole files. Each
// step has the parameters that a command would take for its level of that number, zlib's level of the same number
// beside it, and the level of libdeflate whose sizes are nearest. Beside that the match search alone.
//
// The encoder here is the simplest that can be made of the library: blocks of a fixed number of records, each with
// codes of its own from ozrsDeflateLZ77FastestGenHuffTable_8u. A caller who looks for the places where statistics
// change, and whose codes are limited in length by a better rule, gets smaller streams.

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ozrdc.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr int32_t kWindow = 32768;
constexpr int32_t kHashSize = 65536;
constexpr int32_t kEmptySlot = -32768;
constexpr int32_t kBlockRecords = 16384;
constexpr int32_t kFinal = 2;
constexpr size_t kEndOfBlock = 256;
constexpr int kRaw = -15;  // zlib: no header, a window of 2^15 bytes

enum class Parser { Fast, Slow };

struct Step {
    const char* name;
    Parser parser;
    std::array<int32_t, 4> effort;  // as the parsers take it
    int zlibLevel;
    int libdeflateLevel;
};

constexpr std::array kSteps{
    Step{"1", Parser::Fast, {1, 8, 8, 4}, 1, 1},
    Step{"3", Parser::Fast, {2, 16, 16, 16}, 3, 1},
    Step{"6", Parser::Slow, {64, 4, 258, 258}, 6, 5},
    Step{"9", Parser::Slow, {512, 8, 258, 258}, 9, 6},
};

// Bits behind whole bytes, as ozrsDeflateHuff_8u takes them over.
struct BitSink {
    uint8_t* dst;
    int32_t index = 0;
    uint16_t bits = 0;
    int32_t count = 0;

    // At most 16 bits with those that are pending.
    void put(uint32_t value, int32_t length) {
        bits = static_cast<uint16_t>(bits | value << count);
        count += length;
        for (; count >= 8; count -= 8, bits = static_cast<uint16_t>(bits >> 8)) {
            dst[index++] = static_cast<uint8_t>(bits);
        }
    }
};

struct PeerCompressor {
    libdeflate_compressor* state;

    explicit PeerCompressor(int level) : state(libdeflate_alloc_compressor(level)) {}
    PeerCompressor(const PeerCompressor&) = delete;
    PeerCompressor& operator=(const PeerCompressor&) = delete;
    ~PeerCompressor() { libdeflate_free_compressor(state); }
};

// The buffers of one file, shared by all of its measurements.
struct Work {
    const Bytes& plain;
    std::vector<int32_t> head = std::vector<int32_t>(kHashSize);
    std::vector<int32_t> prev = std::vector<int32_t>(kWindow);
    Bytes lengths = Bytes(kBlockRecords);
    std::vector<uint16_t> distances = std::vector<uint16_t>(kBlockRecords);
    std::array<uint32_t, 286> litCounts{};
    std::array<uint32_t, 30> distCounts{};
    Bytes encoded = Bytes(plain.size() + plain.size() / 4 + 1024);

    explicit Work(const Bytes& data) : plain(data) {}

    // Parses the file block by block and calls `finish(records, isLast)` behind each.
    template <typename Finish>
    bool parse(const Step& step, Finish finish) {
        std::fill(head.begin(), head.end(), kEmptySlot);
        const uint8_t* src = plain.data();
        auto left = static_cast<int32_t>(plain.size());
        int32_t index = 0;
        const auto call = step.parser == Parser::Fast ? ozrsDeflateLZ77Fast_8u : ozrsDeflateLZ77Slow_8u;
        while (left > 0) {
            litCounts.fill(0);
            distCounts.fill(0);
            int32_t room = kBlockRecords;
            const Status s = call(&src, &left, &index, src - std::min(index, kWindow), kWindow, head.data(),
                                  prev.data(), kHashSize, litCounts.data(), distCounts.data(), lengths.data(),
                                  distances.data(), &room, step.effort.data(), kFinal);
            if (s != StatusOk) return false;
            finish(kBlockRecords - room, left == 0);
        }
        return true;
    }

    size_t parseOnly(const Step& step) {
        int32_t records = 0;
        return parse(step, [&](int32_t count, bool) { records += count; }) ? static_cast<size_t>(records) : 0;
    }

    size_t encode(const Step& step) {
        BitSink out{encoded.data()};
        const bool done = parse(step, [&](int32_t count, bool isLast) { writeBlock(out, count, isLast); });
        if (out.count > 0) out.put(0, 8 - out.count);
        return done ? static_cast<size_t>(out.index) : 0;
    }

    void writeBlock(BitSink& out, int32_t records, bool isLast) {
        std::array<DeflateHuffCode, 286> litCodes;
        std::array<DeflateHuffCode, 30> distCodes;
        std::array<uint8_t, OZRDC_DEFLATE_HEADER_SIZE> header;
        int32_t headerBytes = 0;
        int32_t headerBits = 0;
        ++litCounts[kEndOfBlock];
        ozrsDeflateLZ77FastestGenHuffTable_8u(litCounts.data(), distCounts.data(), litCodes.data(), distCodes.data());
        ozrsDeflateLZ77FastestGenHeader_8u(litCodes.data(), distCodes.data(), header.data(), &headerBytes, &headerBits);
        header[0] = static_cast<uint8_t>(header[0] | (isLast ? 1 : 0));
        for (int32_t bit = 0; bit < headerBits; bit += 8) {
            out.put(header[static_cast<size_t>(bit / 8)], std::min(8, headerBits - bit));
        }
        ozrsDeflateHuff_8u(lengths.data(), distances.data(), records, &out.bits, &out.count, litCodes.data(),
                           distCodes.data(), out.dst, &out.index);
        // The code may have more bits than the sink has room for beside what is pending.
        const DeflateHuffCode end = litCodes[kEndOfBlock];
        const int32_t low = std::min<int32_t>(end.len, 8);
        out.put(end.code & 0xFFU, low);
        out.put(static_cast<uint32_t>(end.code) >> low, end.len - low);
    }

    size_t zlibEncode(int level) {
        constexpr int kMemory = 8;
        z_stream z{};
        if (deflateInit2(&z, level, Z_DEFLATED, kRaw, kMemory, Z_DEFAULT_STRATEGY) != Z_OK) return 0;
        z.next_in = const_cast<Bytef*>(plain.data());
        z.avail_in = static_cast<uInt>(plain.size());
        z.next_out = encoded.data();
        z.avail_out = static_cast<uInt>(encoded.size());
        const int result = deflate(&z, Z_FINISH);
        const size_t written = z.total_out;
        deflateEnd(&z);
        return result == Z_STREAM_END ? written : 0;
    }

    size_t libdeflateEncode(libdeflate_compressor* peer) {
        return libdeflate_deflate_compress(peer, plain.data(), plain.size(), encoded.data(), encoded.size());
    }

    // Whether zlib reads the stream of `length` bytes that was encoded last.
    [[nodiscard]] bool isReadBack(size_t length) const {
        Bytes decoded(plain.size());
        z_stream z{};
        if (inflateInit2(&z, kRaw) != Z_OK) return false;
        z.next_in = const_cast<Bytef*>(encoded.data());
        z.avail_in = static_cast<uInt>(length);
        z.next_out = decoded.data();
        z.avail_out = static_cast<uInt>(decoded.size());
        const int result = inflate(&z, Z_FINISH);
        inflateEnd(&z);
        return result == Z_STREAM_END && decoded == plain;
    }
};

// Measures an encoder, if the stream that comes out is right: the speed of a wrong one would be worth nothing.
template <typename Run>
void measureEncoder(const std::string& primitive, const std::string& implementation, const File& file,
                    const std::shared_ptr<Work>& work, Run run) {
    const size_t compressed = run();
    if (work->isReadBack(compressed)) {
        measureCodec(primitive, implementation, file.name, file.data.size(), compressed, std::move(run));
    }
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("zlib", zlibVersion());
    note("libdeflate", LIBDEFLATE_VERSION_STRING);
    for (const File& file : corpus) {
        const auto work = std::make_shared<Work>(file.data);
        for (const Step& step : kSteps) {
            const std::string primitive = std::string("deflate_") + step.name;
            const auto peer = std::make_shared<PeerCompressor>(step.libdeflateLevel);
            measureEncoder(primitive, "ozrdc", file, work, [work, &step] { return work->encode(step); });
            measureEncoder(primitive, "zlib", file, work, [work, &step] { return work->zlibEncode(step.zlibLevel); });
            measureEncoder(primitive, "libdeflate", file, work,
                           [work, peer] { return work->libdeflateEncode(peer->state); });
            measure("deflate_search_" + std::string(step.name), "ozrdc", file.name, file.data.size(),
                    [work, &step] { return work->parseOnly(step); });
        }
    }
}

}  // namespace ozrdc::bench
