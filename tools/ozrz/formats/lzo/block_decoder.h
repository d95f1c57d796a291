// Decompresses single blocks.
#pragma once

#include "formats/lzo/header.h"

namespace ozrz::lzo {

// A block with memory for its data and its content.
class Block {
  public:
    BlockHeader header;

    // Where the data are to be put.
    MutableBytes data();

    // Checks and decompresses them. Throws DataError, with a text to be put behind "block N is damaged: ".
    void decode(uint32_t filter);

    // Holds until the next call.
    Bytes content() const { return content_; }

  private:
    MutableBytes decompress();

    Buffer memory_;
    Buffer plain_;
    Bytes content_;
};

}  // namespace ozrz::lzo
