// Symbols as the zero-run code of a block gives them, with the end of the block.
#pragma once

#include <cstdint>
#include <vector>

#include "support/random.h"

namespace ozrdc::test::bz2 {

struct SymbolSample {
    std::size_t alphaSize;
    std::vector<uint16_t> symbols;  // the last is alphaSize - 1, and occurs only there
    std::vector<uint32_t> frequencies;
};

// Low symbols are the more frequent the higher `skew` is, and what is frequent changes along the way.
inline SymbolSample symbolSample(std::size_t size, std::size_t alphaSize, unsigned skew, uint64_t seed) {
    Random random(seed);
    SymbolSample sample{alphaSize, {}, std::vector<uint32_t>(alphaSize)};
    const std::size_t values = alphaSize > 1 ? alphaSize - 1 : 1;
    for (std::size_t i = 0; i + 1 < size; ++i) {
        uint64_t value = random.below(values);
        const unsigned rounds = i / 500 % 3 == 0 ? skew : skew / 2;
        for (unsigned k = 0; k < rounds; ++k) value = random.below(value + 1);
        sample.symbols.push_back(static_cast<uint16_t>(value));
    }
    sample.symbols.push_back(static_cast<uint16_t>(alphaSize - 1));
    for (const uint16_t symbol : sample.symbols) ++sample.frequencies[symbol];
    return sample;
}

}  // namespace ozrdc::test::bz2
