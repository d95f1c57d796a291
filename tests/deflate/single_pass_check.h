// Calls of the single-pass encoders in buffers between inaccessible pages: what holds of every call is checked here,
// the stream and how far it came are kept.
//
//     Encoder encoder(sizes, &preparedCode);
//     ASSERT_TRUE(encoder.encodes(source, room, 2));
//     ... encoder.stream() ...
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "deflate/parser_check.h"
#include "deflate/reference_output.h"
#include "ozrdc.h"
#include "support/guarded_buffer.h"

namespace ozrdc::test::deflate {

// A prepared code and its header, made from a sample by the library.
struct PreparedCode {
    HuffCodes literals = HuffCodes(286);
    HuffCodes distances = HuffCodes(30);
    Bytes header = Bytes(OZRDC_DEFLATE_HEADER_SIZE);
    int32_t headerBits = 0;

    explicit PreparedCode(ByteView sample);
};

struct Sizes {
    std::size_t window = 32768;
    std::size_t hashes = 4096;
};

// One stream, encoded call by call.
class Encoder {
  public:
    // Without a prepared code: the fixed one. The block is opened as a stream's last.
    Encoder(const Sizes& sizes, const PreparedCode* code, Guard guard = Guard::After);

    int32_t* hashes() { return reinterpret_cast<int32_t*>(head_.data()); }

    // As if the stream had come to that index; `before` are the bytes in front of it.
    void startAt(int64_t index, ByteView before);

    // One call with room for that many bytes behind `front` others. The status, which must be success, a full
    // destination, or the refusal of a header that does not fit, is left in status().
    ::testing::AssertionResult encodes(ByteView source, std::size_t room, int32_t flush,
                                       HistoryPlace place = HistoryPlace::Apart, std::size_t front = 3);

    // All of the source in one call.
    ::testing::AssertionResult encodesWhole(ByteView source);

    Status status() const { return status_; }
    int64_t index() const { return index_; }
    std::size_t consumedInAll() const { return consumed_.size() - started_; }
    int64_t lastWritten() const { return lastWritten_; }

    // The stream so far, in bits; and as bytes, with the bits that are pending.
    std::size_t bits() const { return 8 * stream_.size() + static_cast<std::size_t>(count_); }
    Bytes stream() const;

  private:
    Sizes sizes_;
    const PreparedCode* code_;
    Guard guard_;
    GuardedBuffer head_;
    Bytes consumed_;
    std::size_t started_ = 0;
    int64_t index_ = 0;
    Bytes stream_;
    uint16_t bits_ = 0;
    int32_t count_ = 3;
    Status status_ = StatusOk;
    int64_t lastWritten_ = 0;
};

}  // namespace ozrdc::test::deflate
