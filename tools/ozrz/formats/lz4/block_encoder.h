// Compresses single blocks. This is the one place that says what a level means for LZ4.
#pragma once

#include <vector>

#include "bytes.h"

namespace ozrz::lz4 {

// The levels, of 1 to 9, whose results differ. All take the hash-table encoder so far.
inline constexpr int kDistinctLevels[] = {1};

class BlockEncoder {
  public:
    // `acceleration` of 1 and more trades ratio for speed; 0 leaves the choice to the level.
    BlockEncoder(int level, int acceleration);

    // Compresses `block`, of at least 1 and at most INT32_MAX bytes, into `into`, which has room for compressedBound()
    // of its size. Returns the length.
    std::size_t encode(Bytes block, uint8_t* into);

  private:
    int acceleration_;
    std::vector<uint8_t> hashTable_;
};

}  // namespace ozrz::lz4
