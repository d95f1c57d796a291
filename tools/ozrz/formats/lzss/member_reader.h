// Walks the members of a source and the blocks of a member, whatever is then done with the blocks.
#pragma once

#include <functional>
#include <ozrdc/checksum.hpp>
#include <string>

#include "formats/lzss/container.h"
#include "source.h"

namespace ozrz::lzss {

class MemberReader {
  public:
    MemberReader(Source& source, std::function<void(const std::string&)> warn)
        : source_(source), warn_(std::move(warn)) {}

    // Moves on to the next member. False at the end of the source, and at bytes behind the last member, of which it
    // warns. Throws DataError.
    bool nextMember();

    uint64_t members() const { return members_; }  // met so far; the current one is the last of these
    std::size_t blockSize() const { return blockSize_; }

    // Reads the header of the next block; false at the end of the member. Throws DataError where sizes cannot be, and
    // at the end if the headers are not those that were written.
    bool nextBlock(BlockHeader& block);

    // What follows a block header.
    void readData(const BlockHeader& block, MutableBytes into);
    void skipData(const BlockHeader& block);

    // "block 3 at byte 131072", with the member in front where there are several: for messages.
    std::string nameOf(const BlockHeader& block) const;

  private:
    void checkEnd(uint32_t stored) const;
    [[noreturn]] void failTruncated(const BlockHeader& block) const;

    Source& source_;
    std::function<void(const std::string&)> warn_;
    uint64_t members_ = 0;
    uint64_t blocks_ = 0;
    std::size_t blockSize_ = 0;
    ozrdc::Crc32c headersCrc_;
};

}  // namespace ozrz::lzss
