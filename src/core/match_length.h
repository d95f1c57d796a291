// The length of a common prefix, and of a common suffix: how far a match reaches, either way.
#pragma once

#include <cstdint>

#include "core/opaque.h"
#include "core/unaligned.h"

namespace ozrdc {

// How many of the low bytes of two words are equal, given the XOR of the words, which is not zero.
[[gnu::always_inline]] inline int64_t equalBytes(uint64_t difference) noexcept {
    return static_cast<unsigned>(__builtin_ctzll(difference)) >> 3;
}

// How many of the high bytes are equal, likewise.
[[gnu::always_inline]] inline int64_t equalBytesAtEnd(uint64_t difference) noexcept {
    return static_cast<unsigned>(__builtin_clzll(difference)) >> 3;
}

// Returns how many bytes at `a` and `b` are equal, at most `limit`. Reads no byte at or behind `a + limit` or `b +
// limit`.
//
// Most matches are short, so that one 8-byte comparison comes first: the trailing zeros of the XOR of the two words are
// eight times the number of equal bytes. Long matches go on 16 bytes at a time.
//
// The second place is `b + index`, given in two parts, because searches keep positions: the first load, for which they
// wait, adds the parts itself, and without `opaque` the compiler would compute the sum before it.
[[gnu::always_inline]] inline int64_t getboundlong(const uint8_t* a, const uint8_t* b, int64_t index,
                                                   int64_t limit) noexcept {
    int64_t n = 0;
    if (limit >= 8) [[likely]] {
        if (const uint64_t difference = load64(a) ^ load64(b + index)) return equalBytes(difference);
    }
    b += opaque(index);
    if (limit >= 8) [[likely]] {
        for (n = 8; n + 16 <= limit; n += 16) {
            const auto equal = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(load128(a + n), load128(b + n))));
            if (const unsigned different = equal ^ 0xFFFF) return n + __builtin_ctz(different);
        }
        if (n + 8 <= limit) {
            if (const uint64_t difference = load64(a + n) ^ load64(b + n)) return n + equalBytes(difference);
            n += 8;
        }
    }
    while (n < limit && a[n] == b[n]) ++n;
    return n;
}

// Returns how many bytes in front of `a` and `b` are equal, counted backwards, at most `limit`. Reads no byte in front
// of `a - limit` or `b - limit`.
[[gnu::always_inline]] inline int64_t commonSuffix(const uint8_t* a, const uint8_t* b, int64_t limit) noexcept {
    int64_t n = 0;
    for (; n + 8 <= limit; n += 8) {
        const uint64_t difference = load64(a - n - 8) ^ load64(b - n - 8);
        if (difference != 0) return n + equalBytesAtEnd(difference);
    }
    while (n < limit && *(a - n - 1) == *(b - n - 1)) ++n;
    return n;
}

}  // namespace ozrdc
