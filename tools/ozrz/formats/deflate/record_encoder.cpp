// Match search, block by block output.
#include "formats/deflate/record_encoder.h"

#include <ozrdc.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "error.h"
#include "formats/deflate/block_splitter.h"
#include "formats/deflate/block_writer.h"
#include "formats/deflate/hash_tables.h"

namespace ozrz::deflate {
namespace {

// How hard each of our levels tries.
struct Effort {
    enum class Parser { fast, slow };
    Parser parser;
    std::array<int32_t, 4> row;  // of the library's match search
    // Blocks are found as runs of pieces of so many records: enough of them that their statistics mean something, and
    // that comparing these takes little of the time.
    std::size_t pieceRecords;
};

// Rows of our own, each the fastest found whose files are no larger than those of gzip's level. The library's own rows
// search longer before they stop, which pays for codes worse than ours.
constexpr std::array<Effort, 9> kEfforts{{
    {Effort::Parser::fast, {1, 8, 8, 4}, 2048},
    {Effort::Parser::fast, {2, 8, 8, 6}, 2048},
    {Effort::Parser::fast, {3, 8, 16, 258}, 2048},
    {Effort::Parser::fast, {8, 16, 32, 32}, 1024},
    {Effort::Parser::slow, {16, 4, 32, 16}, 1024},
    {Effort::Parser::slow, {64, 4, 258, 258}, 1024},
    {Effort::Parser::slow, {128, 4, 258, 258}, 1024},
    {Effort::Parser::slow, {768, 16, 258, 258}, 1024},
    {Effort::Parser::slow, {2048, 64, 258, 258}, 1024},
}};

constexpr int32_t kFinalFlush = 2;

class RecordEncoder final : public ChunkEncoder {
  public:
    explicit RecordEncoder(int level) : effort_(kEfforts[static_cast<std::size_t>(level - 1)]) {}

    void encode(const Chunk& chunk, BitWriter& out) override {
        tables_.clear(chunk);
        tables_.enterHistory(chunk);
        parse(chunk.bytes);
        joinBlocks(blocks_);
        for (const Block& block : blocks_) writeBlock(out, block, chunk.last && &block == &blocks_.back());
    }

  private:
    // Fills `blocks_` with pieces. The match search gets the chunk in one call with room for all records, because then
    // it looks ahead; so the pieces are counted here.
    void parse(Bytes source) {
        if (source.size() > capacity_) {
            lengths_ = std::make_unique_for_overwrite<uint8_t[]>(source.size());
            distances_ = std::make_unique_for_overwrite<uint16_t[]>(source.size());
            capacity_ = source.size();
        }
        const std::size_t total = search(source);
        blocks_.clear();
        const uint8_t* next = source.data();
        for (std::size_t first = 0; first < total; first += effort_.pieceRecords) {
            Block& block = blocks_.emplace_back();
            block.records = {lengths_.get() + first, distances_.get() + first,
                             std::min(effort_.pieceRecords, total - first)};
            const std::size_t size = count(block.records, block.histogram);
            block.source = {next, size};
            next += size;
        }
    }

    // Returns the number of records.
    std::size_t search(Bytes source) {
        const auto parser = effort_.parser == Effort::Parser::slow ? ozrsDeflateLZ77Slow_8u : ozrsDeflateLZ77Fast_8u;
        const uint8_t* next = source.data();
        auto left = static_cast<int32_t>(source.size());
        auto room = left;
        int32_t index = kStartIndex;
        Histogram all;
        const Status status =
            parser(&next, &left, &index, next - kWindowSize, static_cast<int32_t>(kWindowSize), tables_.head(),
                   tables_.previous(), tables_.headSize(), all.litLen.data(), all.dist.data(), lengths_.get(),
                   distances_.get(), &room, effort_.row.data(), kFinalFlush);
        if (status != StatusOk || left != 0) {
            throw Error("the match search failed with status " + std::to_string(status));
        }
        return source.size() - static_cast<std::size_t>(room);
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
