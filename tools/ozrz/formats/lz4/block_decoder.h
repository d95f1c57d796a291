// Decompresses single blocks, with the history that their matches may reach.
#pragma once

#include "bytes.h"

namespace ozrz::lz4 {

// The memory that blocks are decoded into. What a block may refer to, a dictionary or the blocks before it, lies
// directly in front of where it goes, so that the decoder always works on one run of memory.
class Window {
  public:
    // Prepares for a frame. With `linked` blocks each one is decoded behind the one before; otherwise every block goes
    // to the same place. `dictionary` is at most kMaxDistance bytes.
    void reset(std::size_t maxBlockSize, bool linked, Bytes dictionary);

    // Where the next block goes: room for the maximal block, with history() bytes in front of it. The block before it
    // may be overwritten.
    uint8_t* next();
    std::size_t history() const { return history_; }

    // The block placed last has this many bytes, and what follows may refer to them.
    void append(std::size_t size);

  private:
    Buffer memory_;
    std::size_t maxBlockSize_ = 0;
    bool linked_ = false;
    std::size_t position_ = 0;
    std::size_t history_ = 0;
    std::size_t capacity_ = 0;
};

// Decodes a block to `place`, where `history` bytes in front of it may be referred to, and returns its length. Throws
// DataError, with a text to be put behind "block N is damaged: ".
std::size_t decodeBlock(Bytes block, uint8_t* place, std::size_t capacity, std::size_t history);

}  // namespace ozrz::lz4
