// The two sums of Adler-32, and the functions that take up the long part of a message.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ozrdc::adler32 {

constexpr uint32_t kModulus = 65521;  // the largest prime below 2^16

struct Sums {
    uint32_t a;
    uint32_t b;

    [[gnu::always_inline]] void reduce() noexcept {
        a %= kModulus;
        b %= kModulus;
    }
    // What n bytes with these plain and weighted sums add.
    [[gnu::always_inline]] void add(uint32_t n, uint32_t sum, uint32_t weighted) noexcept {
        b += n * a + weighted;
        a += sum;
    }
};

// Takes up a message but for its end, less than a run. Returns how many bytes it took. There are two of them: for what
// every processor has, and for AVX2.
size_t addAllRuns16(Sums& sums, const uint8_t* p, size_t len) noexcept;
size_t addAllRuns32(Sums& sums, const uint8_t* p, size_t len) noexcept;

// The better one of the two for this processor. As the feature query, it stands in an object file of its own, in whose
// place the tests put theirs.
extern "C" [[gnu::visibility("hidden")]] size_t ozrdcAdler32AddAllRuns(Sums& sums, const uint8_t* p,
                                                                       size_t len) noexcept;

}  // namespace ozrdc::adler32
