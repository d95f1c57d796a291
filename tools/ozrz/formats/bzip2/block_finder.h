// Cuts a source into pieces that begin where blocks may begin: at block marks.
//
// A mark that is found by chance inside a block makes a piece too. Who takes the pieces has to know where blocks end.
#pragma once

#include "bytes.h"
#include "source.h"

namespace ozrz::bzip2 {

// Bits [begin, end) of the source.
struct Piece {
    uint64_t begin = 0;
    uint64_t end = 0;
    bool atMark = false;  // a block mark stands at its beginning

    // The bytes that hold the bits, and then `kLookAhead` more, unless the source ends before.
    Buffer memory;
    std::size_t size = 0;

    Bytes bytes() const { return {memory.data(), size}; }
    uint64_t firstByte() const { return begin / 8; }

    // The `count` bits, at most 56, from a position in the source on; false if they are not all there.
    bool bits(uint64_t position, unsigned count, uint64_t& value) const;
};

class BlockFinder {
  public:
    // As much as the header of a block in front of its tables needs, from any bit on.
    static constexpr std::size_t kLookAhead = 64;

    explicit BlockFinder(Source& source);

    // False if nothing is left. Pieces are in order and leave nothing out; long ones end although no mark is there.
    bool next(Piece& piece);

  private:
    bool refill(uint64_t keepFrom);

    Source& source_;
    Buffer window_;  // bytes [windowBegin_, windowEnd_) of the source
    uint64_t windowBegin_ = 0;
    uint64_t windowEnd_ = 0;
    bool ended_ = false;  // the source has nothing behind the window
    uint64_t begin_ = 0;  // of the next piece
    bool atMark_ = false;
};

// The first position, in bits, at which a block mark begins: from bit `from` on, in a byte in front of `end`. Up to
// `kFinderSlack` bytes behind `end` are read. `kNoMark` if there is none.
inline constexpr std::size_t kFinderSlack = 16;
inline constexpr std::size_t kNoMark = SIZE_MAX;
std::size_t findBlockMark(const uint8_t* bytes, std::size_t from, std::size_t end);

}  // namespace ozrz::bzip2
