// Calls of the match search in buffers between inaccessible pages, each compared with the reference: records, counts,
// both hash tables, how far it came, and what must be left alone.
//
//     ParserCheck parser(windowSize, hashSize);
//     ASSERT_TRUE(parser.parses(source, level, isLast, freeRecords));
//
// The object keeps the tables, the stream so far and its records, so that a stream can be given in pieces.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>

#include "deflate/reference_parser.h"
#include "ozrdc.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test::deflate {

// A level, or parameters for one of the two functions that take them.
struct Search {
    std::optional<int32_t> level;
    Strategy strategy;
    Effort effort;

    static Search atLevel(int32_t level) { return {level, strategyOf(level), effortOf(level)}; }
    static Search fast(const Effort& effort) {
        return {std::nullopt, effort.maxChain == 0 ? Strategy::SingleProbe : Strategy::Fast, effort};
    }
    static Search slow(const Effort& effort) { return {std::nullopt, Strategy::Slow, effort}; }
};

// Where the history stands for a call: in a buffer of its own, or in front of the source.
enum class HistoryPlace { Apart, InFront };

class ParserCheck {
  public:
    ParserCheck(std::size_t windowSize, std::size_t hashSize, Guard guard = Guard::After);

    // The tables and the index as a stream might have left them; `before` are the bytes in front of that index.
    void startAt(int64_t index, ByteView before) {
        index_ = index;
        stream_.assign(before.begin(), before.end());
        started_ = stream_.size();
    }
    HashTables& tables() { return tables_; }

    // One call that is given `source` as the next bytes of the stream. What it does not consume has to be given again.
    ::testing::AssertionResult parses(ByteView source, const Search& search, int32_t flush, int64_t freeRecords,
                                      HistoryPlace place = HistoryPlace::Apart);

    // Of the last call.
    int64_t consumed() const { return consumed_; }
    const std::vector<Record>& records() const { return records_; }

    // Of all calls.
    int64_t index() const { return index_; }
    std::size_t consumedInAll() const { return stream_.size() - started_; }
    const std::array<uint32_t, 286>& literalCounts() const { return literalCounts_; }

  private:
    int32_t windowSize_;
    int32_t hashSize_;
    HashTables tables_;
    Guard guard_;
    Bytes stream_;
    std::size_t started_ = 0;
    int64_t index_ = 0;
    int64_t consumed_ = 0;
    std::vector<Record> records_;
    std::array<uint32_t, 286> literalCounts_{};
    std::array<uint32_t, 30> distanceCounts_{};
};

// Arrays of 32-bit entries against a guard page.
std::span<int32_t> takeTable(GuardedArena& arena, std::span<const int32_t> contents);

}  // namespace ozrdc::test::deflate
