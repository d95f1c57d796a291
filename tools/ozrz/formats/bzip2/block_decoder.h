// Decompresses single blocks, in as many pieces as they come in.
#pragma once

#include <array>
#include <memory>
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
    bool readTables(const uint8_t*& next, int32_t& left);
    bool readSymbols(const uint8_t*& next, int32_t& left);
    void restoreRuns(DecodedBlock& block);

    Phase phase_ = Phase::header;
    uint32_t crc_ = 0;
    bool randomized_ = false;
    uint32_t primaryIndex_ = 0;
    std::array<uint8_t, 256> inUse_{};
    int32_t dictionary_ = 0;

    uint64_t nextByte_ = 0;  // of the source, for the library
    uint32_t code_ = 0;      // bits in front of it, left-aligned
    int32_t codeBits_ = 0;
    std::size_t count_ = 0;  // of symbols
    Buffer tables_;
    Buffer symbols_;
    Buffer links_;
};

}  // namespace ozrz::bzip2
