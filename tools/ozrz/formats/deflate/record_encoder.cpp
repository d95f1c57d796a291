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

// Rows of our own, each among the fastest found whose files are, in the geometric mean, no larger than those of gzip's
// level. The library's own rows search longer before they stop, which pays for codes worse than ours.
constexpr std::array<Effort, 9> kEfforts{{
    {Effort::Parser::fast, {1, 8, 8, 5}, 4096},
    {Effort::Parser::fast, {2, 8, 8, 6}, 4096},
    {Effort::Parser::fast, {5, 16, 32, 32}, 2048},
    {Effort::Parser::fast, {8, 16, 32, 32}, 2048},
    {Effort::Parser::slow, {16, 4, 32, 16}, 2048},
    {Effort::Parser::slow, {32, 8, 128, 64}, 2048},
    {Effort::Parser::slow, {128, 4, 258, 258}, 2048},
    {Effort::Parser::slow, {192, 4, 258, 258}, 1024},
    {Effort::Parser::slow, {256, 4, 258, 258}, 512},
}};

constexpr int32_t kFinalFlush = 2;

class RecordEncoder final : public ChunkEncoder {
  public:
    explicit RecordEncoder(int level) : effort_(kEfforts[static_cast<std::size_t>(level - 1)]) {}

    void encode(const Chunk& chunk, BitWriter& out) override {
        tables_.clear(chunk);
        tables_.enterHistory(chunk);
        index_ = kStartIndex;
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
        if (effort_.parser == Effort::Parser::slow) {
            parseAtOnce(source);
        } else {
            parseByPieces(source);
        }
    }

    // With room for all records, the slow parser looks ahead; so the pieces are counted afterwards.
    void parseAtOnce(Bytes source) {
        Histogram all;
        Bytes left = source;
        const std::size_t total = search(left, 0, source.size(), all);
        const uint8_t* next = source.data();
        for (std::size_t first = 0; first < total; first += effort_.pieceRecords) {
            Block& block = blocks_.emplace_back();
            block.records = recordsAt(first, std::min(effort_.pieceRecords, total - first));
            const std::size_t size = count(block.records, block.histogram);
            block.source = {next, size};
            next += size;
        }
    }

    // The fast parser has counted each piece when it has filled it.
    void parseByPieces(Bytes source) {
        for (std::size_t first = 0; !source.empty();) {
            Block& block = blocks_.emplace_back();
            const uint8_t* const begin = source.data();
            const std::size_t made = search(source, first, effort_.pieceRecords, block.histogram);
            block.records = recordsAt(first, made);
            block.source = {begin, source.data()};
            first += made;
        }
    }

    Records recordsAt(std::size_t first, std::size_t count) const {
        return {lengths_.get() + first, distances_.get() + first, count};
    }

    // Searches until the source ends or `room` records are made, the first of them the one at `first`, and takes what
    // they stand for off the source. Returns how many they are.
    std::size_t search(Bytes& source, std::size_t first, std::size_t room, Histogram& histogram) {
        const auto parser = effort_.parser == Effort::Parser::slow ? ozrsDeflateLZ77Slow_8u : ozrsDeflateLZ77Fast_8u;
        const uint8_t* next = source.data();
        auto left = static_cast<int32_t>(source.size());
        auto roomLeft = static_cast<int32_t>(room);
        const Status status =
            parser(&next, &left, &index_, next - kWindowSize, static_cast<int32_t>(kWindowSize), tables_.head(),
                   tables_.previous(), tables_.headSize(), histogram.litLen.data(), histogram.dist.data(),
                   lengths_.get() + first, distances_.get() + first, &roomLeft, effort_.row.data(), kFinalFlush);
        if (status != StatusOk || (left != 0 && roomLeft != 0)) {
            throw Error("the match search failed with status " + std::to_string(status));
        }
        source = source.last(static_cast<std::size_t>(left));
        return room - static_cast<std::size_t>(roomLeft);
    }

    const Effort effort_;
    HashTables tables_;
    int32_t index_ = kStartIndex;  // of what is searched next
    std::unique_ptr<uint8_t[]> lengths_;
    std::unique_ptr<uint16_t[]> distances_;
    std::size_t capacity_ = 0;
    std::vector<Block> blocks_;
};

}  // namespace

std::unique_ptr<ChunkEncoder> makeRecordEncoder(int level) { return std::make_unique<RecordEncoder>(level); }

}  // namespace ozrz::deflate
