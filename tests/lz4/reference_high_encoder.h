// A second LZ4 high-compression encoder, written to be read and not to be fast: it predicts status, counts, block and
// tables.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "lz4/reference_encoder.h"
#include "lz4/reference_space.h"

namespace ozrdc::test::lz4 {

// The caller's tables, kept from call to call.
struct ChainTables {
    std::vector<uint32_t> heads = std::vector<uint32_t>(32768);
    std::vector<uint32_t> links = std::vector<uint32_t>(65536);

    bool operator==(const ChainTables&) const = default;
};

// What ozrsEncodeLZ4HC_8u makes of a source.
BoundedBlock encodeHigh(ChainTables& tables, std::span<const uint8_t> source, const EncoderHistory& history,
                        int64_t capacity, int32_t level);

}  // namespace ozrdc::test::lz4
