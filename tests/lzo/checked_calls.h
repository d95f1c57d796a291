// Calls of the library's LZO functions from and into guarded buffers of exactly the stated sizes, each compared with
// the reference models: status, counts and bytes.
//
//     DecoderCheck decoder;
//     EXPECT_TRUE(decoder.agrees(stream, capacity));
//
// The objects keep their buffers from call to call, because mapping pages costs more than most of the calls.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <vector>

#include "lzo/reference_decoder.h"
#include "lzo/reference_encoder.h"
#include "support/guarded_buffer.h"

namespace ozrdc::test::lzo {

constexpr std::size_t kStateSize = 131104;

// The library's functions, with the usual types.
enum class Entry { Safe, Trusting };
Status callDecoder(Entry entry, ByteView source, std::span<uint8_t> target, uint32_t* written);

class DecoderCheck {
  public:
    // True if the checked decoder does what the reference does: once with source and destination ending at an
    // inaccessible page, once beginning right behind one. The trusting decoder is held to the same result if the source
    // is well-formed. The destination of a container has the size that the container states, and `capacity` is only
    // told.
    ::testing::AssertionResult agrees(ByteView source, uint64_t capacity);

    // The reference's account of the last source.
    const Decoded& expected() const { return expected_; }

  private:
    ::testing::AssertionResult decodeOnce(Entry entry, Guard guard, ByteView source, uint64_t capacity);

    GuardedArena sourceAfter_{Guard::After};
    GuardedArena sourceBefore_{Guard::Before};
    GuardedArena targetAfter_{Guard::After};
    GuardedArena targetBefore_{Guard::Before};
    Decoded expected_;
};

// The modes of a state.
constexpr uint32_t kStandardMode = 0;
constexpr uint32_t kContainerMode = 1;
constexpr uint32_t kFastMode = 2;

// A state of that mode, with anything in its scratch.
void prepareState(std::span<uint8_t> state, uint32_t mode, uint32_t parts = 0);

class EncoderCheck {
  public:
    // True if the library writes what the reference predicts and nothing outside the destination.
    ::testing::AssertionResult agrees(uint32_t mode, ByteView source, uint64_t capacity, uint32_t parts = 0);

    // Both compressors, with room enough.
    ::testing::AssertionResult bothAgree(ByteView source);

    // The stream of the last call.
    const Bytes& stream() const { return stream_; }

  private:
    ::testing::AssertionResult encodeOnce(Guard guard, uint32_t mode, ByteView source, uint64_t capacity,
                                          uint32_t parts, const Encoded& expected);

    GuardedArena sourceAfter_{Guard::After};
    GuardedArena sourceBefore_{Guard::Before};
    GuardedArena targetAfter_{Guard::After};
    GuardedArena targetBefore_{Guard::Before};
    GuardedBuffer stateAfter_{kStateSize, Guard::After};
    GuardedBuffer stateBefore_{kStateSize, Guard::Before};
    Bytes stream_;
};

// The stream of the library, with room enough; the call must succeed.
Bytes encode(uint32_t mode, ByteView source, uint32_t parts = 0);

}  // namespace ozrdc::test::lzo
