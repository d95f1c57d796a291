// Walks the frames of a source and the blocks of a frame, whatever is then done with the blocks.
#pragma once

#include <functional>
#include <string>

#include "formats/lz4/frame.h"

namespace ozrz::lz4 {

struct BlockHeader {
    uint64_t number = 0;    // within the frame, from 1
    uint64_t position = 0;  // of its header in the source
    std::size_t size = 0;   // of its data
    bool stored = false;    // the data are the content itself
};

class FrameReader {
  public:
    FrameReader(Source& source, std::function<void(const std::string&)> warn)
        : source_(source), warn_(std::move(warn)) {}

    // Moves on to the next frame with content, past skippable ones. False at the end of the source, and at bytes behind
    // the last frame that belong to none, of which it warns. Throws DataError.
    bool nextFrame();

    uint64_t frames() const { return frames_; }  // met so far; the current one is the last of these
    bool legacy() const { return legacy_; }
    const Descriptor& descriptor() const { return descriptor_; }  // of a legacy frame: what amounts to the same
    std::size_t maxBlockSize() const { return legacy_ ? kLegacyBlockSize : descriptor_.blockSize(); }

    // The most bytes that a block takes in the source.
    std::size_t maxDataSize() const;

    // Reads the header of the next block; false at the frame's end mark.
    bool nextBlock(BlockHeader& block);

    // What follows a block header: its data and, in frames with block checksums, 4 bytes of checksum. The first call
    // reads both into the buffer, which must have room for them.
    void readBlock(const BlockHeader& block, MutableBytes into);
    void skipBlock(const BlockHeader& block);
    std::size_t sizeWithChecksum(const BlockHeader& block) const;

    // What follows the end mark. Call it in frames with a content checksum.
    uint32_t readContentChecksum();

    // "block 3 at byte 131072", with the frame in front where there are several: for messages.
    std::string nameOf(const BlockHeader& block) const;
    std::string frameName() const;

  private:
    void skipSkippableFrame();
    [[noreturn]] void failTruncated(const BlockHeader& block) const;

    Source& source_;
    std::function<void(const std::string&)> warn_;
    uint64_t frames_ = 0;
    uint64_t framePosition_ = 0;
    bool anything_ = false;  // a frame of any kind has been met
    bool legacy_ = false;
    Descriptor descriptor_;
    uint64_t blocks_ = 0;
};

}  // namespace ozrz::lz4
