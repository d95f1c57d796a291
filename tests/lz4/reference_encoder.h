// A second LZ4 block encoder with a hash table, written to be read and not to be fast. It predicts the library's output
// bit for bit: which positions are probed in which order, how far a match may reach, and how a full destination ends a
// block.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "lz4/reference_space.h"
#include "ozrdc.h"

namespace ozrdc::test::lz4 {

// The room that the unchecked encoders may need for `n` bytes.
constexpr int64_t worstCase(int64_t n) { return n + n / 255 + 16; }

// The block of ozrsEncodeLZ4_8u.
std::vector<uint8_t> encode(std::span<const uint8_t> source);

// The block of ozrsEncodeLZ4Fast_8u, with any acceleration from 1 on.
std::vector<uint8_t> encodeAccelerated(std::span<const uint8_t> source, int32_t acceleration);

// Status, counts and block of ozrsEncodeLZ4Safe_8u.
struct BoundedBlock {
    Status status;
    int64_t consumed;
    std::vector<uint8_t> block;
};
BoundedBlock encodeBounded(std::span<const uint8_t> source, int64_t capacity);

// The caller's table: positions, kept from call to call.
using PositionTable = std::vector<int32_t>;
constexpr std::size_t kPositionTableEntries = 4096;

// What ozrsEncodeLZ4LoadDict_8u makes of the table.
void loadDictionary(PositionTable& table, std::span<const uint8_t> dictionary);

// The block of ozrsEncodeLZ4Dict_8u; status, counts and block of ozrsEncodeLZ4DictSafe_8u; and the table afterwards.
std::vector<uint8_t> encodeWithHistory(PositionTable& table, std::span<const uint8_t> source,
                                       const EncoderHistory& history);
BoundedBlock encodeWithHistoryBounded(PositionTable& table, std::span<const uint8_t> source,
                                      const EncoderHistory& history, int64_t capacity);

}  // namespace ozrdc::test::lz4
