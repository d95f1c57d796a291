// Cuts a source into blocks, the run-length code of each as long as the level allows.
//
// How much of the source that is, only the code tells; so this is the one stage of compression that the blocks go
// through one after the other. It takes a hundredth of the time of all stages.
#pragma once

#include <ozrdc/bz2.hpp>

#include "bytes.h"
#include "source.h"

namespace ozrz::bzip2 {

struct RunBlock {
    Buffer bytes;  // run-length code
    std::size_t size = 0;
    ozrdc::bz2::InUse inUse{};  // the values that occur in it
    uint32_t crc = 0;           // of the content
};

class RunReader {
  public:
    RunReader(Source& source, int level);

    // False if nothing is left.
    bool next(RunBlock& block);

  private:
    bool refill();

    Source& source_;
    const std::size_t blockSize_;
    ozrdc::bz2::RunLengthEncoder encoder_;
    Buffer piece_;
    Bytes rest_;  // of the piece
};

}  // namespace ozrz::bzip2
