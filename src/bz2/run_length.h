// The first run-length code of the block-sorting pipeline, and the state that both directions keep between calls.
//
// Four equal bytes in a row are followed by one byte that counts how many more of them there are, 0 to 255.
#pragma once

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#include "core/unaligned.h"
#include "ozrdc.h"

struct RLEState {
    uint8_t inUse[256];  // encoder: 1 for every byte value that has been written
    int32_t previous;    // the byte of the current run, or kNoByte
    int32_t run;         // encoder: length of the current run; decoder: copies still owed to the destination
};
static_assert(sizeof(RLEState) == 264);

namespace ozrdc::bz2 {

constexpr int32_t kNoByte = -1;

// Bytes that a run must have to be followed by a count, and the longest run that one count reaches.
constexpr int32_t kCountedRun = 4;
constexpr int32_t kLongestRun = kCountedRun + 255;

// The positions in a window of 16 bytes at which four equal bytes begin, as a mask. Reads kRunWindow bytes.
constexpr ptrdiff_t kRunWindow = 16 + kCountedRun - 1;
[[gnu::always_inline]] inline unsigned runsIn(__m128i window, const uint8_t* p) noexcept {
    const __m128i first = _mm_cmpeq_epi8(window, load128(p + 1));
    const __m128i second = _mm_cmpeq_epi8(window, load128(p + 2));
    const __m128i third = _mm_cmpeq_epi8(window, load128(p + 3));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(first, _mm_and_si128(second, third))));
}

}  // namespace ozrdc::bz2
