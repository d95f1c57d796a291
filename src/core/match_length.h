// The length of a common prefix: how far a match reaches.
#pragma once

#include <bit>
#include <cstdint>

#include "core/unaligned.h"

namespace ozrdc {

// Returns how many bytes at `a` and `b` are equal, at most `limit`. Reads no byte at or behind `a + limit` or `b +
// limit`.
//
// Most matches are short, so that one 8-byte comparison comes first: the count of trailing zeros of the XOR of the two
// words is eight times the number of equal bytes. Long matches go on 16 bytes at a time.
[[gnu::always_inline]] inline int64_t getboundlong(const uint8_t* a, const uint8_t* b, int64_t limit) noexcept {
    int64_t n = 0;
    if (limit >= 8) [[likely]] {
        if (const uint64_t diff = load64(a) ^ load64(b)) return std::countr_zero(diff) >> 3;
        n = 8;
        while (n + 16 <= limit) {
            const auto equal = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(load128(a + n), load128(b + n))));
            if (equal != 0xFFFF) return n + std::countr_one(equal);
            n += 16;
        }
        if (n + 8 <= limit) {
            if (const uint64_t diff = load64(a + n) ^ load64(b + n)) return n + (std::countr_zero(diff) >> 3);
            n += 8;
        }
    }
    while (n < limit && a[n] == b[n]) ++n;
    return n;
}

}  // namespace ozrdc
