// Calls of the encoders with history, from and into guarded buffers of exactly the documented sizes, each compared with
// the reference models: status, counts, block and tables. Every block is decoded again, by the library.
//
// The objects keep their buffers from call to call, because mapping pages costs more than most of the calls.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <span>

#include "lz4/checked_calls.h"
#include "lz4/reference_encoder.h"
#include "lz4/reference_high_encoder.h"
#include "support/guarded_buffer.h"

namespace ozrdc::test::lz4 {

// A source and its history in guarded memory. In prefix mode they lie in one piece, which touches the inaccessible page
// with the history's beginning or with the source's end; otherwise each touches one of its own.
class HistoryMemory {
  public:
    void place(Guard guard, ByteView source, const EncoderHistory& history);

    const uint8_t* source() const { return source_; }
    const uint8_t* dictionary() const { return dictionary_; }
    int32_t dictionarySize() const { return dictionarySize_; }

  private:
    GuardedArena sourceAfter_{Guard::After};
    GuardedArena sourceBefore_{Guard::Before};
    GuardedArena dictionaryAfter_{Guard::After};
    GuardedArena dictionaryBefore_{Guard::Before};
    const uint8_t* source_ = nullptr;
    const uint8_t* dictionary_ = nullptr;
    int32_t dictionarySize_ = 0;
};

// How an encoder ends a block that was cut.
enum class BlockEnd { Literals, Match };

// What the checks of both families share: the destination, and the comparison of a call's results.
class HistoryTarget {
  public:
    // The destination of a call, of `capacity` bytes behind a fence.
    uint8_t* take(int64_t capacity);

    // True if status, counts and block are the expected ones, and the block decodes to what was consumed.
    ::testing::AssertionResult agrees(Status status, int32_t consumed, int32_t written, const BoundedBlock& expected,
                                      ByteView source, const EncoderHistory& history, BlockEnd end);

  private:
    GuardedArena target_{Guard::After};
    std::span<uint8_t> memory_;
    uint8_t* begin_ = nullptr;
};

class HistoryEncoderCheck {
  public:
    // Encodes with both encoders, from the same table; the bounded one has room for `capacity` bytes, by default
    // enough. `table` becomes the one that the plain encoder leaves.
    ::testing::AssertionResult agrees(PositionTable& table, ByteView source, const EncoderHistory& history,
                                      std::optional<int64_t> capacity = {});

    // The block that the plain encoder should make, and did if it agreed.
    const Bytes& block() const { return block_; }

  private:
    HistoryMemory memory_;
    HistoryTarget target_;
    GuardedBuffer table_{kHashTableSize};
    Bytes block_;
};

class HighEncoderCheck {
  public:
    // Encodes with both encoders, from the same tables; without a capacity there is room enough. `tables` become the
    // ones that the encoders leave.
    ::testing::AssertionResult agrees(ChainTables& tables, ByteView source, const EncoderHistory& history,
                                      int32_t level, std::optional<int64_t> capacity = {});

    // The reference's account of the last call.
    const BoundedBlock& expected() const { return expected_; }

  private:
    HistoryMemory memory_;
    HistoryTarget target_;
    GuardedBuffer heads_{131072};
    GuardedBuffer links_{262144};
    BoundedBlock expected_;
};

// `history` and `source` one behind the other.
struct Behind {
    Bytes both;
    std::size_t size;  // of the history

    ByteView history() const { return ByteView(both).first(size); }
    ByteView source() const { return ByteView(both).subspan(size); }
    EncoderHistory asPrefix() const { return {static_cast<int64_t>(size), history(), false}; }
    EncoderHistory asDictionary() const { return {static_cast<int64_t>(size), history(), true}; }
};

}  // namespace ozrdc::test::lz4
