// How the LZSS targets cut sources and destinations into calls.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fuzz_input.h"

namespace ozrdc::fuzz {

// Sizes from 1 to a limit, from a generator, or always the limit.
class Sizes {
  public:
    // Taken from the front of an input: the limit (2 bytes, a number and a power of two) and the generator's seed (2).
    explicit Sizes(Input& input) {
        const auto number = input.take<uint8_t>();
        most_ = (std::size_t{1} + number) << input.take<uint8_t>() % 12;
        state_ = input.take<uint16_t>();
        random_ = state_ != 0;
    }

    std::size_t next() {
        if (!random_) return most_;
        state_ = state_ * 6364136223846793005 + 1442695040888963407;
        return 1 + (state_ >> 33) % most_;
    }

  private:
    std::size_t most_;
    uint64_t state_;
    bool random_;
};

}  // namespace ozrdc::fuzz
