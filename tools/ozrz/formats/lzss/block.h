// Blocks on their way, with memory for their data and their content. Every block is a stream of its own.
#pragma once

#include "formats/lzss/container.h"

namespace ozrz::lzss {

class BlockEncoder {
  public:
    explicit BlockEncoder(std::size_t blockSize);

    // Where the content is to be put, and its size.
    MutableBytes room() { return {plain_.data() + kBlockHeaderSize, blockSize_}; }
    std::size_t size = 0;

    // Compresses it; stores it as it is if nothing is gained.
    void encode();

    BlockHeader header;
    // Header and data, until the next call.
    Bytes result() const { return result_; }

  private:
    std::size_t compress(Bytes content, MutableBytes into);

    std::size_t blockSize_;
    // Both have room in front for the header, so that whichever of the two is written goes out in one piece.
    Buffer plain_;
    Buffer compressed_;
    Buffer state_;
    Bytes result_;
};

class BlockDecoder {
  public:
    BlockDecoder();

    BlockHeader header;

    // Where the data are to be put.
    MutableBytes data();

    // Decompresses and checks them. Throws DataError, with a text to be put behind "block N is damaged: ".
    void decode();

    // Until the next call.
    Bytes content() const { return content_; }

  private:
    Bytes decompress(Bytes data);

    Buffer data_;
    Buffer plain_;
    Buffer state_;
    Bytes content_;
};

}  // namespace ozrz::lzss
