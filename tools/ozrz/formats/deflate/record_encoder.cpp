// Match search at the library's levels, block by block output.
#include "formats/deflate/record_encoder.h"

#include <ozrdc.h>

#include <array>
#include <string>
#include <vector>

#include "error.h"
#include "formats/deflate/block_splitter.h"
#include "formats/deflate/block_writer.h"
#include "formats/deflate/hash_tables.h"

namespace ozrz::deflate {
namespace {

constexpr int32_t kOwnRow = -1;

// How hard each of our levels tries.
struct Effort {
    // The level of the library's match search; or kOwnRow, and an effort row for its slow parser.
    int32_t searchLevel;
    std::array<int32_t, 4> row;
    // Blocks are found as runs of pieces of so many records: enough of them that their statistics mean something, and
    // that comparing these takes little of the time.
    std::size_t pieceRecords;
};

// Of the library's levels those that no other beats in both ratio and speed. Between its 25 and its 16 there is a wide
// step; the default stands in the middle of it, where the results are just smaller than those of zlib's default.
constexpr std::array<Effort, 9> kEfforts{{
    {3, {}, 2048},
    {21, {}, 2048},
    {22, {}, 2048},
    {24, {}, 1024},
    {15, {}, 1024},
    {kOwnRow, {48, 8, 128, 32}, 1024},
    {27, {}, 1024},
    {18, {}, 1024},
    {19, {}, 1024},
}};

constexpr int32_t kFinalFlush = 2;

class RecordEncoder final : public ChunkEncoder {
  public:
    explicit RecordEncoder(int level) : effort_(kEfforts[static_cast<std::size_t>(level - 1)]) {}

    void encode(const Chunk& chunk, BitWriter& out) override {
        tables_.clear(chunk);
        tables_.enterHistory(chunk, HashMode::fourBytes);
        parse(chunk.bytes);
        joinBlocks(blocks_);
        for (const Block& block : blocks_) writeBlock(out, block, chunk.last && &block == &blocks_.back());
    }

  private:
    // Fills `blocks_` with pieces.
    void parse(Bytes source) {
        if (source.size() > capacity_) {
            lengths_ = std::make_unique_for_overwrite<uint8_t[]>(source.size());
            distances_ = std::make_unique_for_overwrite<uint16_t[]>(source.size());
            capacity_ = source.size();
        }
        blocks_.clear();
        const uint8_t* next = source.data();
        auto left = static_cast<int32_t>(source.size());
        int32_t index = kStartIndex;
        std::size_t records = 0;
        while (left > 0) {
            Block& block = blocks_.emplace_back();
            const uint8_t* const begin = next;
            const auto room = static_cast<int32_t>(effort_.pieceRecords);
            int32_t roomLeft = room;
            const auto search = [&](const auto& parser, const auto& effort) {
                return parser(&next, &left, &index, next - kWindowSize, static_cast<int32_t>(kWindowSize),
                              tables_.head(), tables_.previous(), tables_.headSize(), block.histogram.litLen.data(),
                              block.histogram.dist.data(), lengths_.get() + records, distances_.get() + records,
                              &roomLeft, effort, kFinalFlush);
            };
            const Status status = effort_.searchLevel == kOwnRow ? search(ozrsDeflateLZ77Slow_8u, effort_.row.data())
                                                                 : search(ozrsDeflateLZ77_8u, effort_.searchLevel);
            if (status != StatusOk || next == begin) {
                throw Error("the match search failed with status " + std::to_string(status));
            }
            block.records = {lengths_.get() + records, distances_.get() + records,
                             static_cast<std::size_t>(room - roomLeft)};
            block.source = {begin, next};
            records += block.records.count;
        }
    }

    const Effort effort_;
    HashTables tables_;
    std::unique_ptr<uint8_t[]> lengths_;
    std::unique_ptr<uint16_t[]> distances_;
    std::size_t capacity_ = 0;
    std::vector<Block> blocks_;
};

}  // namespace

std::unique_ptr<ChunkEncoder> makeRecordEncoder(int level) { return std::make_unique<RecordEncoder>(level); }

}  // namespace ozrz::deflate
