// Data with runs of all lengths, for the stages that code runs.
#pragma once

#include <cstdint>
#include <vector>

#include "support/random.h"

namespace ozrdc::test::bz2 {

// Runs whose lengths are mostly below `usual`, and now and then in the hundreds, of `values` different bytes.
inline std::vector<uint8_t> runSample(std::size_t size, uint64_t usual, uint64_t values, uint64_t seed) {
    Random random(seed);
    std::vector<uint8_t> bytes;
    while (bytes.size() < size) {
        const uint64_t length = random.oneIn(20) ? 200 + random.below(400) : 1 + random.below(usual);
        bytes.insert(bytes.end(), length, static_cast<uint8_t>(random.below(values)));
    }
    bytes.resize(size);
    return bytes;
}

}  // namespace ozrdc::test::bz2
