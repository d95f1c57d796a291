// Writes LZ4 blocks sequence by sequence, well-formed or not: for tests of what a decoder does with blocks that no
// encoder would write.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "support/random.h"

namespace ozrdc::test::lz4 {

class BlockBuilder {
  public:
    explicit BlockBuilder(uint64_t seed = 1) : random_(900000 + seed) {}

    // A sequence: a run of random literals and a match. Lengths and offsets may be anything that the format can
    // express.
    BlockBuilder& sequence(int64_t run, int64_t offset, int64_t matchLength) {
        token(run, matchLength - kMinMatch);
        literals(run);
        block_.push_back(static_cast<uint8_t>(offset % 256));
        block_.push_back(static_cast<uint8_t>(offset / 256));
        extension(matchLength - kMinMatch);
        decodedSize_ += run + matchLength;
        return *this;
    }

    // The literal run that ends a block.
    BlockBuilder& lastRun(int64_t run) {
        token(run, 0);
        literals(run);
        decodedSize_ += run;
        return *this;
    }

    // Bytes as they are.
    BlockBuilder& raw(const std::vector<uint8_t>& bytes) {
        block_.insert(block_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    BlockBuilder& raw(int64_t count, uint8_t value) {
        block_.insert(block_.end(), static_cast<std::size_t>(count), value);
        return *this;
    }

    const std::vector<uint8_t>& block() const { return block_; }

    // What the sequences and runs so far decode to.
    int64_t decodedSize() const { return decodedSize_; }

  private:
    static constexpr int64_t kMinMatch = 4;

    void token(int64_t run, int64_t codedMatch) {
        block_.push_back(static_cast<uint8_t>(std::min<int64_t>(run, 15) * 16 + std::min<int64_t>(codedMatch, 15)));
        extension(run);
    }

    void extension(int64_t length) {
        if (length < 15) return;
        raw((length - 15) / 255, 255);
        block_.push_back(static_cast<uint8_t>((length - 15) % 255));
    }

    void literals(int64_t run) {
        for (; run > 0; --run) block_.push_back(random_.byte());
    }

    Random random_;
    std::vector<uint8_t> block_;
    int64_t decodedSize_ = 0;
};

}  // namespace ozrdc::test::lz4
