// A second match search, written to be read and not to be fast: one byte after another, one candidate after another. It
// predicts records, counts, both hash tables and how far a call comes.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "support/deflate_format.h"

namespace ozrdc::test::deflate {

constexpr int32_t kEmpty = -32768;

// A literal with distance 0, or a match.
struct Record {
    uint8_t literal = 0;
    unsigned length = 1;
    unsigned distance = 0;
    bool operator==(const Record&) const = default;
};

struct Effort {
    int32_t maxChain, goodLength, niceLength, maxLazy;
};

enum class Strategy { SingleProbe, Fast, Slow };

// The strategy and the parameters of a level from 0 to 29.
Strategy strategyOf(int32_t level);
Effort effortOf(int32_t level);

// What is carried from call to call.
struct HashTables {
    std::vector<int32_t> head;
    std::vector<int32_t> prev;

    HashTables(std::size_t hashSize, std::size_t windowSize) : head(hashSize, kEmpty), prev(windowSize, kEmpty) {}
    bool operator==(const HashTables&) const = default;
};

// One call. `history` is what precedes the source: min(sourceIndex, window size) bytes.
struct ParseCall {
    ByteView source;
    int64_t sourceIndex;
    ByteView history;
    int64_t freeRecords;
    bool isLast;
};

struct Parsed {
    std::vector<Record> records;
    int64_t consumed = 0;
    int64_t sourceIndex = 0;  // behind it
    std::array<uint32_t, 286> literalCounts{};
    std::array<uint32_t, 30> distanceCounts{};
};

Parsed parse(const ParseCall& call, Strategy strategy, const Effort& effort, HashTables& tables);

// The entering of positions without records.
void updateHash(ByteView source, int64_t sourceIndex, bool fourBytes, HashTables& tables);

// The bytes that records stand for, behind `history`.
Bytes bytesOf(std::span<const Record> records, ByteView history);

// CRC-32C of four bytes, from a register of 0 and without a last inversion.
uint32_t crcOfWord(const uint8_t* bytes);

}  // namespace ozrdc::test::deflate
