// Streams of bits, each byte filled from its lowest bit: written piece behind piece, and read from any bit on.
#pragma once

#include <vector>

#include "sink.h"
#include "source.h"

namespace ozrz::zfp {

class BitJoiner {
  public:
    explicit BitJoiner(Sink& sink) : sink_(sink) {}

    // Appends the first `bits` bits of `bytes`; those of the last byte behind them are 0.
    void append(Bytes bytes, uint64_t bits);

    // Ends with zeros up to a multiple of 8 bytes, as readers that fetch whole words want it.
    void finish();

  private:
    Sink& sink_;
    uint64_t total_ = 0;
    uint8_t pending_ = 0;  // the bits of `total_` that do not make a byte
    std::vector<uint8_t> joined_;
};

class BitSplitter {
  public:
    explicit BitSplitter(Source& source) : source_(source) {}

    // Takes up to `bits` bits. `buffer` holds them then, and grows as they come. Returns its bytes in use, of which the
    // last holds arbitrary bits behind the last one taken; they are fewer where the source ends.
    Bytes take(uint64_t bits, Buffer& buffer);

  private:
    Source& source_;
    Buffer piece_;
    std::vector<uint8_t> shifted_;
    unsigned pendingBits_ = 0;  // below 8
    uint8_t pending_ = 0;
};

}  // namespace ozrz::zfp
