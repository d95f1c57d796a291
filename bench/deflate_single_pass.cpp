// The single-pass Deflate encoders against zlib's fastest level: whole files as one block, with the fixed code and with
// one prepared from the first part of the file. Beside them the Huffman output alone, of the records that the match
// search makes of the file.

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "ozrdc.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr int32_t kWindow = 32768;
constexpr int32_t kHashSize = 8192;
constexpr int32_t kEmptySlot = -32768;
constexpr int32_t kSample = 131072;
constexpr int32_t kFinal = 2;
constexpr int32_t kSearchLevel = 6;

// Bits that open the last block of a stream.
constexpr uint16_t kFixedBlock = 1 | 1 << 1;
constexpr uint16_t kDynamicBlock = 1 | 2 << 1;
constexpr int32_t kBlockBits = 3;

size_t worstCase(size_t n) { return n + n / 4 + 1024; }

struct Codes {
    std::array<DeflateHuffCode, 286> lit;
    std::array<DeflateHuffCode, 30> dist;
    std::array<uint8_t, OZRDC_DEFLATE_HEADER_SIZE> header;
    int32_t headerBytes;
    int32_t headerBits;
};

// The records of a file, and codes for them.
struct Records {
    Bytes lit;
    std::vector<uint16_t> dist;
    Codes codes;

    explicit Records(const Bytes& plain) : lit(plain.size()), dist(plain.size()) {
        std::vector<int32_t> head(65536, kEmptySlot);
        std::vector<int32_t> prev(kWindow, kEmptySlot);
        std::vector<uint32_t> litCounts(286);
        std::vector<uint32_t> distCounts(30);
        const uint8_t* src = plain.data();
        auto srcLen = static_cast<int32_t>(plain.size());
        int32_t srcIdx = 0;
        auto free = static_cast<int32_t>(lit.size());
        ozrsDeflateLZ77_8u(&src, &srcLen, &srcIdx, plain.data(), kWindow, head.data(), prev.data(), 65536,
                           litCounts.data(), distCounts.data(), lit.data(), dist.data(), &free, kSearchLevel, kFinal);
        lit.resize(lit.size() - static_cast<size_t>(free));
        dist.resize(lit.size());
        ozrsDeflateLZ77FastestGenHuffTable_8u(litCounts.data(), distCounts.data(), codes.lit.data(), codes.dist.data());
    }
};

// The buffers of one file, shared by all of its measurements.
struct Work {
    const Bytes& plain;
    std::vector<int32_t> head = std::vector<int32_t>(kHashSize);
    Bytes encoded = Bytes(worstCase(plain.size()));
    Codes prepared{};
    Records records;

    explicit Work(const Bytes& data) : plain(data), records(data) {
        std::vector<uint32_t> litCounts(286);
        std::vector<uint32_t> distCounts(30);
        countSymbols(std::min<int32_t>(kSample, size(plain)), litCounts, distCounts);
        ozrsDeflateLZ77FastestGenHuffTable_8u(litCounts.data(), distCounts.data(), prepared.lit.data(),
                                              prepared.dist.data());
        ozrsDeflateLZ77FastestGenHeader_8u(prepared.lit.data(), prepared.dist.data(), prepared.header.data(),
                                           &prepared.headerBytes, &prepared.headerBits);
    }

    static int32_t size(const Bytes& b) { return static_cast<int32_t>(b.size()); }

    void countSymbols(int32_t length, std::vector<uint32_t>& lit, std::vector<uint32_t>& dist) {
        std::fill(head.begin(), head.end(), kEmptySlot);
        const uint8_t* src = plain.data();
        int32_t srcIdx = 0;
        ozrsDeflateLZ77FastestGetStat_8u(&src, &length, &srcIdx, plain.data(), kWindow, head.data(), kHashSize,
                                         lit.data(), dist.data(), kFinal);
    }

    // Encodes the file with prepared codes, or the fixed one.
    size_t encode(const Codes* codes) {
        std::fill(head.begin(), head.end(), kEmptySlot);
        const uint8_t* src = plain.data();
        int32_t srcLen = size(plain);
        int32_t srcIdx = 0;
        uint16_t code = codes != nullptr ? kDynamicBlock : kFixedBlock;
        int32_t codeBits = kBlockBits;
        int32_t written = 0;
        const Status s =
            codes != nullptr
                ? ozrsDeflateLZ77FastestPrecompHeader_8u(&src, &srcLen, &srcIdx, plain.data(), kWindow, head.data(),
                                                         kHashSize, &code, &codeBits, encoded.data(), size(encoded),
                                                         &written, codes->lit.data(), codes->dist.data(),
                                                         codes->header.data(), codes->headerBits, kFinal)
                : ozrsDeflateLZ77Fastest_8u(&src, &srcLen, &srcIdx, plain.data(), kWindow, head.data(), kHashSize,
                                            &code, &codeBits, encoded.data(), size(encoded), &written, kFinal);
        if (codeBits > 0) encoded[static_cast<size_t>(written++)] = static_cast<uint8_t>(code);
        return s == StatusOk ? static_cast<size_t>(written) : 0;
    }
    size_t encodeFixed() { return encode(nullptr); }
    size_t encodePrepared() { return encode(&prepared); }

    size_t writeRecords() {
        uint16_t code = kDynamicBlock;
        int32_t codeBits = kBlockBits;
        int32_t written = 0;
        const Status s =
            ozrsDeflateHuff_8u(records.lit.data(), records.dist.data(), size(records.lit), &code, &codeBits,
                               records.codes.lit.data(), records.codes.dist.data(), encoded.data(), &written);
        return s == StatusOk ? static_cast<size_t>(written) : 0;
    }

    size_t count() {
        std::vector<uint32_t> lit(286);
        std::vector<uint32_t> dist(30);
        countSymbols(size(plain), lit, dist);
        return plain.size();
    }

    size_t peerEncode(int strategy) {
        constexpr int kRawStream = -15;
        constexpr int kMemory = 8;
        z_stream z{};
        if (deflateInit2(&z, Z_BEST_SPEED, Z_DEFLATED, kRawStream, kMemory, strategy) != Z_OK) return 0;
        z.next_in = const_cast<Bytef*>(plain.data());
        z.avail_in = static_cast<uInt>(plain.size());
        z.next_out = encoded.data();
        z.avail_out = static_cast<uInt>(encoded.size());
        const int result = deflate(&z, Z_FINISH);
        const size_t written = z.total_out;
        deflateEnd(&z);
        return result == Z_STREAM_END ? written : 0;
    }
    size_t peerLevel1() { return peerEncode(Z_DEFAULT_STRATEGY); }
    size_t peerFixed() { return peerEncode(Z_FIXED); }

    // Whether zlib reads the stream of `length` bytes that was encoded last.
    [[nodiscard]] bool isReadBack(size_t length) const {
        Bytes decoded(plain.size());
        z_stream z{};
        if (inflateInit2(&z, -15) != Z_OK) return false;
        z.next_in = const_cast<Bytef*>(encoded.data());
        z.avail_in = static_cast<uInt>(length);
        z.next_out = decoded.data();
        z.avail_out = static_cast<uInt>(decoded.size());
        const int result = inflate(&z, Z_FINISH);
        inflateEnd(&z);
        return result == Z_STREAM_END && decoded == plain;
    }
};

using Step = size_t (Work::*)();

void measureStep(const char* primitive, const char* implementation, const File& file, const std::shared_ptr<Work>& work,
                 Step step) {
    const size_t compressed = (*work.*step)();
    measureCodec(primitive, implementation, file.name, file.data.size(), compressed,
                 [work, step] { return (*work.*step)(); });
}

// The same, if the stream that comes out is right: the speed of a wrong one would be worth nothing.
void measureEncoder(const char* primitive, const char* implementation, const File& file,
                    const std::shared_ptr<Work>& work, Step step) {
    const size_t compressed = (*work.*step)();
    if (work->isReadBack(compressed)) measureStep(primitive, implementation, file, work, step);
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("zlib", zlibVersion());
    for (const File& file : corpus) {
        const auto work = std::make_shared<Work>(file.data);
        measureEncoder("deflate_single_pass_fixed", "ozrdc", file, work, &Work::encodeFixed);
        measureEncoder("deflate_single_pass_fixed", "zlib", file, work, &Work::peerLevel1);
        measureEncoder("deflate_single_pass_fixed", "zlib fixed", file, work, &Work::peerFixed);
        measureEncoder("deflate_single_pass_prepared", "ozrdc", file, work, &Work::encodePrepared);
        measureEncoder("deflate_single_pass_prepared", "zlib", file, work, &Work::peerLevel1);
        measureStep("deflate_single_pass_statistics", "ozrdc", file, work, &Work::count);
        measureStep("deflate_huffman_output", "ozrdc", file, work, &Work::writeRecords);
    }
}

}  // namespace ozrdc::bench
