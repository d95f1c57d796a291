// Tables indexed by bytes and pairs of bytes.
#pragma once

#include <array>
#include <cstdint>

namespace ozrdc::bz2 {

constexpr unsigned kByteValues = 256;
constexpr unsigned kPairs = kByteValues * kByteValues;

using ByteCounts = std::array<uint32_t, kByteValues>;
using PairTable = std::array<uint32_t, kPairs>;

// Replaces every count by the sum of those in front of it.
template <class Table>
void turnIntoStarts(Table& counts) noexcept {
    uint32_t sum = 0;
    for (uint32_t& count : counts) {
        const uint32_t size = count;
        count = sum;
        sum += size;
    }
}

}  // namespace ozrdc::bz2
