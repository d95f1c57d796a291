// Calls of the library's LZ4 functions from and into guarded buffers of exactly the documented sizes, each compared
// with the reference models: status, counts and bytes.
//
//     DecoderCheck decoder;
//     EXPECT_TRUE(decoder.agrees(block, capacity));
//
// The objects keep their buffers from call to call, because mapping pages costs more than most of the calls.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <vector>

#include "lz4/reference_decoder.h"
#include "lz4/reference_encoder.h"
#include "support/guarded_buffer.h"

namespace ozrdc::test::lz4 {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

constexpr int32_t kHashTableSize = 16384;

class DecoderCheck {
  public:
    // True if the library decodes `block` as the reference does: once with the destination (and what precedes it)
    // ending at an inaccessible page, once beginning right behind one. A self-contained block is given to both entry
    // points.
    ::testing::AssertionResult agrees(ByteView block, int64_t capacity, const History& history = {});

    // The same in every mode in turn: without history, behind `dictionary` as a prefix, and with it as a separate
    // buffer.
    ::testing::AssertionResult agreesInAllModes(ByteView block, int64_t capacity, ByteView dictionary);

    // The reference's account of the last block.
    const Decoded& expected() const { return expected_; }

  private:
    ::testing::AssertionResult decodeOnce(Guard guard, ByteView block, int64_t capacity, const History& history);

    GuardedArena sourceAfter_{Guard::After};
    GuardedArena sourceBefore_{Guard::Before};
    GuardedArena targetAfter_{Guard::After};
    GuardedArena targetBefore_{Guard::Before};
    GuardedArena dictionaryAfter_{Guard::After};
    GuardedArena dictionaryBefore_{Guard::Before};
    Decoded expected_;
};

class EncoderCheck {
  public:
    // True if the library's encoder writes the block that the reference predicts, and nothing outside the documented
    // room.
    ::testing::AssertionResult plainAgrees(ByteView source);
    ::testing::AssertionResult acceleratedAgrees(ByteView source, int32_t acceleration);
    ::testing::AssertionResult boundedAgrees(ByteView source, int64_t capacity);

    // All of the above, the bounded encoder with room enough.
    ::testing::AssertionResult allAgree(ByteView source);

    // The block of the last call.
    const Bytes& block() const { return block_; }

  private:
    ::testing::AssertionResult compare(Status status, int32_t written, std::span<const uint8_t> target,
                                       const Bytes& expected);

    GuardedArena source_{Guard::After};
    GuardedArena target_{Guard::After};
    GuardedBuffer table_{kHashTableSize};
    Bytes block_;
};

// Blocks of the library, with room enough; the call must succeed.
Bytes encodePlain(ByteView source);
Bytes encodeFast(ByteView source, int32_t acceleration);

}  // namespace ozrdc::test::lz4
