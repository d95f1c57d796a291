// Compresses one chunk of the source, on its own but for the history in front of it.
#pragma once

#include <memory>

#include "bytes.h"
#include "formats/deflate/bit_writer.h"

namespace ozrz::deflate {

// The source of one call, at least one byte. In front of the bytes there are `kWindowSize` bytes of memory, of which
// the last `history` may be referred to; what stands in the others does not matter.
struct Chunk {
    Bytes bytes;
    std::size_t history = 0;
    bool last = false;  // nothing follows: the stream ends
};

class ChunkEncoder {
  public:
    ChunkEncoder() = default;
    ChunkEncoder(const ChunkEncoder&) = delete;
    ChunkEncoder& operator=(const ChunkEncoder&) = delete;
    virtual ~ChunkEncoder() = default;

    // Writes at least one block, at most compressedBound() bytes. `out` stands at the beginning of a byte.
    virtual void encode(const Chunk& chunk, BitWriter& out) = 0;
};

// `level` is 1 to 9; an `acceleration` of 1 and more takes the single-pass encoder instead.
std::unique_ptr<ChunkEncoder> makeChunkEncoder(int level, int acceleration);

// Every level gives results of its own. Accelerations do up to the second, which takes the fixed code; the first makes
// a code for the data.
inline constexpr int kLevels[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
inline constexpr int kDefaultLevel = 6;
inline constexpr int kPreparedCodeAcceleration = 1;
inline constexpr int kFixedCodeAcceleration = 2;
inline constexpr int kAccelerations[] = {kPreparedCodeAcceleration, kFixedCodeAcceleration};

}  // namespace ozrz::deflate
