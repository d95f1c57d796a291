// A plain model of ZFP streams of 4 x 4 x 4 single-precision blocks: one bit at a time, one coefficient at a time. It
// shares no code with the library.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::test::zfp {

using Bytes = std::vector<uint8_t>;

// The value (x, y, z) stands at x + 4 * y + 16 * z.
using Values = std::array<float, 64>;

struct Parameters {
    uint32_t minBits = 0;
    uint32_t maxBits = 4171;
    uint32_t maxPrec = 64;
    int32_t minExp = -10740;
};

// What a call leaves behind, as far as it can be asked for.
struct Progress {
    Status status = StatusOk;
    uint64_t bytes = 0;  // stored, or fetched
    uint64_t bits = 0;   // pending
};

class ReferenceEncoder {
  public:
    explicit ReferenceEncoder(std::size_t capacity) : capacity_(capacity) {}

    Parameters parameters;

    Progress encode(const Values& block);
    Progress flush();
    const Bytes& stored() const { return stored_; }

  private:
    struct NoRoom {};

    void put(unsigned bit);
    void encodeBlock(const Values& block);
    void encodePlanes(const std::array<uint32_t, 64>& coefficients, unsigned precision, uint64_t& used);
    Progress progress(Status status) const { return {status, stored_.size(), pending_.size()}; }

    std::size_t capacity_;
    Bytes stored_;
    std::vector<unsigned> pending_;
};

class ReferenceDecoder {
  public:
    explicit ReferenceDecoder(std::span<const uint8_t> stream) : stream_(stream) {}

    Parameters parameters;

    // `block` is set unless the stream ended.
    Progress decode(Values& block);

  private:
    struct Exhausted {};

    unsigned get();
    void decodeBlock(Values& block);
    std::array<uint32_t, 64> decodePlanes(unsigned precision, uint64_t& used);

    std::span<const uint8_t> stream_;
    std::size_t fetched_ = 0;
    std::vector<unsigned> pending_;  // the next one last
};

}  // namespace ozrdc::test::zfp
