// Follows the streams of a source from block to block, and writes their content.
//
// The pieces come in order, with what was made of the block that may begin there. From the end of each block the
// follower knows where the next one has to begin: pieces that begin elsewhere were cut at a mark that stands in a block
// by chance, and are part of that block.
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "formats/bzip2/block_decoder.h"
#include "formats/format.h"

namespace ozrz::bzip2 {

// A piece with the attempt to decode a block there.
struct Attempt {
    Piece piece;
    DecodedBlock block;
    std::unique_ptr<BlockDecoder> unfinished;  // the block goes on behind the piece

    bool intact() const { return piece.atMark && !unfinished && block.intact(); }
};

class StreamFollower {
  public:
    StreamFollower(Sink& sink, bool recover) : sink_(sink), recover_(recover) {}

    // Throws DataError at damage, or, to recover, notes it and goes on with the next block that is intact.
    void take(Attempt& attempt);

    // There are no more pieces.
    void finish();

    // What follows belongs to no stream. May be asked from any thread.
    bool ended() const { return ended_; }

    // What is odd, and when recovering what is damaged.
    const std::vector<std::string>& warnings() const { return warnings_; }
    uint64_t losses() const { return losses_; }

    // Of what has been followed so far.
    uint64_t streams() const { return streams_; }
    uint64_t blocks() const { return blocks_; }
    int firstLevel() const { return firstLevel_; }
    uint64_t end() const { return (position_ + 7) / 8; }  // bytes

  private:
    enum class Expected {
        stream,
        blockOrEnd,
        anyBlock,  // the place is lost: whatever block is intact
    };

    void follow(Attempt& attempt);
    void step(Attempt& attempt);
    void readStreamHeader(const Piece& piece);
    void readMark(Attempt& attempt);
    void readStreamEnd(const Piece& piece);
    void search(Attempt& attempt);
    void carry(Attempt& attempt);
    void accept(DecodedBlock& block);
    void lose(const std::string& what);
    std::string blockName() const;

    Sink& sink_;
    const bool recover_;

    Expected expected_ = Expected::stream;
    uint64_t position_ = 0;  // in bits: what is expected begins here
    std::atomic<bool> ended_ = false;

    // A block that has come so far, and goes on in the next piece.
    std::unique_ptr<BlockDecoder> carried_;
    DecodedBlock carriedBlock_;

    uint64_t streams_ = 0;
    uint64_t blocks_ = 0;  // in all streams
    uint64_t blocksInStream_ = 0;
    int level_ = kMaxLevel;
    int firstLevel_ = kMaxLevel;
    uint32_t crc_ = 0;       // of the stream so far
    bool crcKnown_ = false;  // no block of the stream was lost

    std::vector<std::string> warnings_;
    uint64_t losses_ = 0;
};

}  // namespace ozrz::bzip2
