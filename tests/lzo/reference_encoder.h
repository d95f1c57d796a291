// A second LZO1X encoder, written to be read and not to be fast. It predicts the library's output bit for bit: which
// positions are searched, how matches and literals are written, and what a full destination leaves.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::test::lzo {

struct Encoded {
    Status status = StatusOk;
    std::vector<uint8_t> bytes;
};

// The standard compressor's stream, the fast compressor's, and a container of `parts` parts.
Encoded encodeStandard(std::span<const uint8_t> source, uint64_t capacity);
Encoded encodeFast(std::span<const uint8_t> source, uint64_t capacity);
Encoded encodeContainer(std::span<const uint8_t> source, uint64_t capacity, uint32_t parts);

// Room that is enough for any stream of `n` source bytes.
constexpr uint64_t roomFor(uint64_t n) { return n + n / 16 + 67; }

}  // namespace ozrdc::test::lzo
