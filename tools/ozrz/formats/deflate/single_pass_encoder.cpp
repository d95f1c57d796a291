// The library's single-pass encoders: one block a chunk, or the chunk stored where that is smaller.
#include "formats/deflate/single_pass_encoder.h"

#include <ozrdc.h>

#include <algorithm>
#include <array>
#include <string>

#include "error.h"
#include "formats/deflate/block_writer.h"
#include "formats/deflate/hash_tables.h"
#include "formats/deflate/records.h"

namespace ozrz::deflate {
namespace {

// How much of a chunk the code is trained on: the statistics of so much hold for the rest more often than not, and
// counting it twice costs little.
constexpr std::size_t kTrainingSize = 32 * KiB;

constexpr int32_t kFinalFlush = 2;
constexpr auto kWinSize = static_cast<int32_t>(kWindowSize);

void check(Status status) {
    if (status != StatusOk) throw Error("the single-pass encoder failed with status " + std::to_string(status));
}

struct PreparedCode {
    std::array<DeflateHuffCode, kLitLenSymbols> litLen;
    std::array<DeflateHuffCode, kDistSymbols> dist;
    std::array<uint8_t, OZRDC_DEFLATE_HEADER_SIZE> header;
    int32_t headerBits = 0;
};

class SinglePassEncoder final : public ChunkEncoder {
  public:
    explicit SinglePassEncoder(SinglePassCode code) : code_(code) {}

    void encode(const Chunk& chunk, BitWriter& out) override {
        const BitWriter start = out;
        tables_.clear(chunk);
        if (code_ == SinglePassCode::fixed) {
            tables_.enterHistory(chunk);
            out.put(static_cast<uint32_t>(BlockType::fixed) << 1 | (chunk.last ? 1 : 0), kBlockHeaderBits);
            run(chunk.bytes, out, nullptr);
        } else {
            // What the training leaves in the table are positions ahead, which lead to no match and do no harm.
            const PreparedCode code = train(chunk.bytes.first(std::min(chunk.bytes.size(), kTrainingSize)));
            tables_.enterHistory(chunk);
            writeHeader(code, chunk.last, out);
            run(chunk.bytes, out, &code);
        }
        if (out.bits() - start.bits() <= storedBits(start, chunk.bytes.size())) return;
        out = start;
        writeStored(out, chunk.bytes, chunk.last);
    }

  private:
    PreparedCode train(Bytes sample) {
        Histogram histogram;
        histogram.litLen[kEndOfBlock] = 1;
        const uint8_t* next = sample.data();
        auto left = static_cast<int32_t>(sample.size());
        int32_t index = kStartIndex;
        check(ozrsDeflateLZ77FastestGetStat_8u(&next, &left, &index, next - kWindowSize, kWinSize, tables_.head(),
                                               tables_.headSize(), histogram.litLen.data(), histogram.dist.data(),
                                               kFinalFlush));
        PreparedCode code;
        int32_t headerSize = 0;
        check(ozrsDeflateLZ77FastestGenHuffTable_8u(histogram.litLen.data(), histogram.dist.data(), code.litLen.data(),
                                                    code.dist.data()));
        check(ozrsDeflateLZ77FastestGenHeader_8u(code.litLen.data(), code.dist.data(), code.header.data(), &headerSize,
                                                 &code.headerBits));
        return code;
    }

    // The whole of the header, with the bits that open the block. The encoder would write it in front of the stream
    // alone.
    static void writeHeader(const PreparedCode& code, bool last, BitWriter& out) {
        auto left = static_cast<unsigned>(code.headerBits);
        for (std::size_t i = 0; left > 0; ++i) {
            const unsigned count = std::min(left, 8U);
            out.put(i == 0 && last ? code.header[i] | 1U : code.header[i], count);
            left -= count;
        }
    }

    void run(Bytes source, BitWriter& out, const PreparedCode* code) {
        out.lend([&](uint8_t* memory, int32_t* position, uint16_t* bits, int32_t* bitCount) {
            const uint8_t* next = source.data();
            auto left = static_cast<int32_t>(source.size());
            int32_t index = kStartIndex;
            const auto end = static_cast<int32_t>(compressedBound(source.size()));
            check(ozrsDeflateLZ77FastestPrecompHeader_8u(
                &next, &left, &index, next - kWindowSize, kWinSize, tables_.head(), tables_.headSize(), bits, bitCount,
                memory, end, position, code == nullptr ? nullptr : code->litLen.data(),
                code == nullptr ? nullptr : code->dist.data(), nullptr, 0, kFinalFlush));
        });
    }

    SinglePassCode code_;
    HashTables tables_;
};

}  // namespace

std::unique_ptr<ChunkEncoder> makeSinglePassEncoder(SinglePassCode code) {
    return std::make_unique<SinglePassEncoder>(code);
}

}  // namespace ozrz::deflate
