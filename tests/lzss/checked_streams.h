// Streams through the library in guarded buffers, every call beside the model: bytes, counts and status.
//
//     CheckedEncoder encoder;
//     const Result call = encoder.encode(source, capacity);    // a difference is a failure of the test
//
// The state, too, lies in front of (or behind) an inaccessible page, and holds arbitrary bytes before it is prepared.
#pragma once

#include <cstddef>
#include <functional>

#include "lzss/reference_lzss.h"
#include "support/guarded_buffer.h"

namespace ozrdc::test::lzss {

class StateMemory {
  public:
    explicit StateMemory(Guard guard = Guard::After) : buffer_(kStateSize, guard) {}

    LZSSState* get() { return reinterpret_cast<LZSSState*>(buffer_.data()); }
    std::span<uint8_t> bytes() { return buffer_.span(); }
    bool slackIntact() const { return buffer_.slackIntact(); }

  private:
    GuardedBuffer buffer_;
};

class CheckedEncoder {
  public:
    explicit CheckedEncoder(Guard guard = Guard::After);

    // Begins a new stream.
    void init();

    Result encode(ByteView source, std::size_t capacity);
    Result flush(std::size_t capacity);

    std::span<uint8_t> state() { return state_.bytes(); }

  private:
    StateMemory state_;
    GuardedArena source_;
    GuardedArena target_;
    ReferenceEncoder model_;
};

class CheckedDecoder {
  public:
    // All bytes of the state are `memory` before it is prepared.
    explicit CheckedDecoder(uint8_t memory = 0, Guard guard = Guard::After);

    // Begins a new stream.
    void init();

    Result decode(ByteView source, std::size_t capacity);

    std::span<uint8_t> state() { return state_.bytes(); }

  private:
    StateMemory state_;
    GuardedArena source_;
    GuardedArena target_;
    ReferenceDecoder model_;
};

// How many bytes the next call gets.
using Sizes = std::function<std::size_t()>;

// Whole streams, one after the other with the same buffers.
class CheckedCodec {
  public:
    // The stream for `plain`, in calls of these sizes; empty if anything differed from the model.
    Bytes encode(ByteView plain, const Sizes& sourceSizes, const Sizes& capacities);

    // What the stream decodes to, in calls of these sizes, up to the end of the source.
    Bytes decode(ByteView stream, const Sizes& sourceSizes, const Sizes& capacities);

    // True if what is encoded in such calls comes back in such calls.
    bool roundTrip(ByteView plain, const Sizes& sourceSizes, const Sizes& capacities);

  private:
    CheckedEncoder encoder_;
    CheckedDecoder decoder_;
};

// The stream for `plain` encoded in one call, by the model alone.
Bytes modelStream(ByteView plain);

}  // namespace ozrdc::test::lzss
