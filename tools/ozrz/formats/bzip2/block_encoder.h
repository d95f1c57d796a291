// Compresses single blocks.
#pragma once

#include "formats/bzip2/run_reader.h"

namespace ozrz::bzip2 {

// Holds the memory that all blocks of a thread share.
class BlockEncoder {
  public:
    BlockEncoder();

    // Writes the whole block, from its mark on; returns the number of bits. Room for a BitJoiner is left behind them.
    std::size_t encode(const RunBlock& block, Buffer& into);

  private:
    ozrdc::bz2::ForwardTransform sorter_;
    Buffer column_;
    Buffer symbols_;
    Buffer tables_;
};

}  // namespace ozrz::bzip2
