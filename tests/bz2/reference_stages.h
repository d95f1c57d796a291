// Plain models of the block-sorting stages: byte at a time, symbol at a time, bit at a time, sharing nothing with the
// library.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::test::bz2 {

using Bytes = std::vector<uint8_t>;
using Symbols = std::vector<uint16_t>;

// --- Run lengths ----------------------------------------------------------------------------------------------------

// The encoder of a block, with all that its state keeps.
struct RunLengthEncoder {
    std::array<uint8_t, 256> inUse{};
    int previous = -1;
    int run = 0;

    // What one call does: bytes written; the source is cut by what it consumes.
    Bytes encode(std::span<const uint8_t>& source, std::size_t capacity);
    Bytes flush();
};

struct RunLengthDecoder {
    int previous = -1;
    int64_t owed = 0;

    Bytes decode(std::span<const uint8_t>& source, std::size_t capacity, Status& status);
};

// --- Move-to-front --------------------------------------------------------------------------------------------------

// The list of byte values, in order of rank.
struct MoveToFront {
    std::array<uint8_t, 256> list;

    MoveToFront();
    uint8_t encode(uint8_t value);
    uint8_t decode(uint8_t rank);
    std::array<uint8_t, 256> ranks() const;
};

// --- Zero runs ------------------------------------------------------------------------------------------------------

// The digits of a run.
Symbols zeroRunDigits(uint64_t run);

// What one call of the encoder does: symbols written; `ranks` is cut by what it consumes, `frequencies` counts.
Symbols encodeZeroRuns(std::span<const uint8_t>& ranks, std::size_t capacity, std::span<uint32_t> frequencies);

// What one call of the decoder does: ranks written; `symbols` is cut by what it consumes.
Bytes decodeZeroRuns(std::span<const uint16_t>& symbols, std::size_t capacity, Status& status);

}  // namespace ozrdc::test::bz2
