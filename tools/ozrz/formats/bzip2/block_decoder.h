// Decompresses single blocks, in as many pieces as they come in.
#pragma once

#include <memory>
#include <ozrdc/bz2.hpp>
#include <string>

#include "formats/bzip2/block_finder.h"
#include "formats/bzip2/layout.h"
#include "sink.h"

namespace ozrz::bzip2 {

// What was made of a block.
class DecodedBlock {
  public:
    bool intact() const { return failure.empty(); }

    // Undoes the run-length code, of `size` bytes in `runs`, and compares the CRC.
    void unpack();

    // The content of an intact block.
    void writeTo(Sink& sink);

    std::string failure;  // what is wrong with it, to be put behind "is damaged: "
    uint64_t end = 0;     // the bit of the source behind it; of an intact block
    uint32_t crc = 0;     // as its header tells it
    Buffer runs;
    std::size_t size = 0;

  private:
    template <typename Take>
    void expand(const Take& take);

    Buffer content_;
    std::size_t contentSize_ = 0;
    bool whole_ = false;  // all of the content is there
};

// Holds the memory that is needed for no longer than a block is in work.
class BlockDecoder {
  public:
    BlockDecoder();

    // Decodes the block that begins with the piece; true if that has come to an end, good or bad. Otherwise the block
    // goes on in the pieces that follow: resume() takes one after the other.
    bool begin(const Piece& piece, DecodedBlock& block);
    bool resume(const Piece& piece, DecodedBlock& block);

    // There are no more pieces. False if the block is not complete.
    bool finish(DecodedBlock& block);

  private:
    enum class Phase { header, tables, symbols };

    void readHeader(const Piece& piece);
    bool decodeMore(Bytes bytes, DecodedBlock& block);
    bool readTables(Bytes& rest);
    bool readSymbols(Bytes& rest);
    void restoreRuns(DecodedBlock& block);

    std::span<uint16_t> allSymbols();

    Phase phase_ = Phase::header;
    uint32_t crc_ = 0;
    bool randomized_ = false;
    uint32_t primaryIndex_ = 0;
    ozrdc::bz2::InUse inUse_{};
    std::size_t dictionary_ = 0;

    uint64_t nextByte_ = 0;         // of the source, for the library
    ozrdc::bz2::PendingBits bits_;  // in front of it
    std::size_t count_ = 0;         // of symbols
    Buffer symbols_;
    ozrdc::bz2::HuffmanDecoder huffman_;
    ozrdc::bz2::BlockDecoder sorted_;
};

}  // namespace ozrz::bzip2
