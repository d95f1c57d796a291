// Seeded random numbers. Every random test draws from a generator that can be made again: the run's seed is printed
// when a test fails, and setting the environment variable OZRDC_TEST_SEED to it repeats the run.
#pragma once

#include <cstdint>
#include <span>

namespace ozrdc::test {

// The seed of this run: OZRDC_TEST_SEED (decimal, or hexadecimal with 0x) if it is set, else a fixed number, so that an
// ordinary run of the suite is the same everywhere. The first call arranges that a failing test prints the seed.
uint64_t runSeed();

// A small, fast generator (splitmix64), good enough to pick test cases and to fill buffers.
class Random {
  public:
    // The sequence depends on the run's seed and on `stream`, a number of the caller's choice: two tests (or two
    // samples) that use different streams draw independent sequences.
    explicit Random(uint64_t stream) : state_(mix(runSeed() + 0x9E3779B97F4A7C15 * stream)) {}

    uint64_t next() {
        state_ += 0x9E3779B97F4A7C15;
        return mix(state_);
    }

    // A number in [0, bound); bound must not be 0. The bias is that of a 64-bit remainder: none that a test could see.
    uint64_t below(uint64_t bound) { return next() % bound; }

    // A number in [low, high].
    int64_t between(int64_t low, int64_t high) {
        return low + static_cast<int64_t>(below(static_cast<uint64_t>(high - low) + 1));
    }

    // True once in `n` times on average.
    bool oneIn(uint64_t n) { return below(n) == 0; }

    uint8_t byte() { return static_cast<uint8_t>(next() >> 56); }

    void fill(std::span<uint8_t> bytes);

  private:
    static uint64_t mix(uint64_t z) {
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    uint64_t state_;
};

}  // namespace ozrdc::test
