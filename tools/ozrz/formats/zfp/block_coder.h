// Volumes to blocks and back, through the library.
#pragma once

#include <ozrdc/zfp.hpp>

#include "bytes.h"
#include "formats/zfp/volume.h"

namespace ozrz::zfp {

// What is kept of a block: see the library's header.
struct Parameters {
    uint32_t minBits = 0;
    uint32_t maxBits = 4171;
    uint32_t maxPrec = 64;
    int32_t minExp = -1074;

    // Whether every block takes the same number of bits: enough for its header, which is never cut.
    bool fixedRate() const { return minBits == maxBits && maxBits >= 9; }
    // The fewest bits that a block takes, whatever is in it.
    uint64_t leastBits() const { return minBits > 1 ? minBits : 1; }

    bool operator==(const Parameters&) const = default;
};

// Encodes a volume as a stream of its own; `stream` grows as needed. Returns the number of bits; those of the last byte
// behind them are 0.
uint64_t encodeVolume(const float* values, const Dims& dims, const Parameters& parameters, Buffer& stream);

// Decodes volumes that follow each other in one stream.
class VolumeDecoder {
  public:
    // The stream must stay where it is.
    VolumeDecoder(Bytes stream, const Parameters& parameters);

    // Throws a `DataError` where the stream ends too soon.
    void decode(const Dims& dims, float* values);

    // Bytes that no block has begun to use.
    uint64_t unused() const;

  private:
    ozrdc::zfp::Decoder decoder_;
    uint64_t size_;
};

}  // namespace ozrz::zfp
