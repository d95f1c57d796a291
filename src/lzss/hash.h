// The hash of three bytes: a value of 15 bits for each of them, which depends on its place, all joined by XOR.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "lzss/format.h"
#include "lzss/state.h"

namespace ozrdc::lzss {

constexpr std::size_t kByteValues = 256;
constexpr std::size_t kHashedBytes = 3;
static_assert(kHashedBytes == kMinMatch);

// Three rows, one for each place. The first four values of each are given; the others are drawn from a linear
// congruential generator, whose high bits are good enough. No value occurs twice in a row, so that three bytes which
// differ in one place never share their hash.
constexpr auto randVecLZSS = [] {
    constexpr int32_t kLowest = 46;
    constexpr int32_t kHighest = 32764;
    static_assert(kHighest < static_cast<int32_t>(kHashValues));
    constexpr std::size_t kGiven = 4;
    constexpr int16_t given[kHashedBytes][kGiven] = {
        {18845, 15810, 11527, 28763}, {23403, 25964, 7330, 5756}, {23616, 7640, 29028, 30668}};

    std::array<int16_t, kHashedBytes * kByteValues> values{};
    uint64_t state = 0;
    for (std::size_t row = 0; row < kHashedBytes; ++row) {
        bool used[kHighest + 1] = {};
        for (std::size_t i = 0; i < kByteValues; ++i) {
            int32_t value = i < kGiven ? given[row][i] : 0;
            while (value == 0 || used[value]) {
                state = state * 6364136223846793005 + 1442695040888963407;
                value = kLowest + static_cast<int32_t>((state >> 33) % (kHighest - kLowest + 1));
            }
            used[value] = true;
            values[row * kByteValues + i] = static_cast<int16_t>(value);
        }
    }
    return values;
}();

// The three values of a byte side by side, 16 bits each, that of the last row lowest. With `sum = sum >> 16 ^ entry`
// for one byte after the other, the low 16 bits of the sum are the hash of the last three: one load a position.
constexpr auto kHashSteps = [] {
    std::array<uint64_t, kByteValues> steps{};
    for (std::size_t byte = 0; byte < kByteValues; ++byte) {
        for (std::size_t row = 0; row < kHashedBytes; ++row) {
            steps[byte] = steps[byte] << 16 | static_cast<uint64_t>(randVecLZSS[row * kByteValues + byte]);
        }
    }
    return steps;
}();

// Goes along with the encoder from position to position.
class RollingHash {
  public:
    // Stands in front of the position at `p`; two bytes must be there.
    explicit RollingHash(const uint8_t* p) noexcept : sum_(kHashSteps[p[0]] >> 16 ^ kHashSteps[p[1]]) {}

    // Moves on to the position at `p`, the one behind the last, and returns its hash.
    [[gnu::always_inline]] uint32_t at(const uint8_t* p) noexcept {
        sum_ = sum_ >> 16 ^ kHashSteps[p[kHashedBytes - 1]];
        return last();
    }
    // The hash of the last position.
    [[nodiscard]] uint32_t last() const noexcept { return static_cast<uint16_t>(sum_); }

  private:
    uint64_t sum_;
};

}  // namespace ozrdc::lzss
