// Compresses single blocks. This is the one place that says what a level means for LZ4.
#pragma once

#include <memory>

#include "bytes.h"

namespace ozrz::lz4 {

// The levels, of 1 to 9, whose results differ: 1 and 2 take the encoder with a hash table, the others the one of high
// compression.
inline constexpr int kDistinctLevels[] = {1, 3, 4, 5, 6, 7, 8, 9};

class BlockEncoder {
  public:
    BlockEncoder() = default;
    BlockEncoder(const BlockEncoder&) = delete;
    BlockEncoder& operator=(const BlockEncoder&) = delete;
    virtual ~BlockEncoder() = default;

    // Compresses `block`, of at least 1 byte, into `into`, which has room for compressedBound() of its size. Returns
    // the length. Matches may reach into the `history` bytes in front of the block, at most kMaxDistance; if that is 0,
    // into the dictionary. The result depends on these bytes alone, not on other blocks before.
    virtual std::size_t encode(Bytes block, std::size_t history, uint8_t* into) = 0;
};

// `acceleration` of 1 and more takes the hash table whatever the level, and trades ratio for speed where there is no
// history. A dictionary, empty for none, is at most kMaxDistance bytes, and outlives the encoder.
std::unique_ptr<BlockEncoder> makeBlockEncoder(int level, int acceleration, Bytes dictionary);

}  // namespace ozrz::lz4
