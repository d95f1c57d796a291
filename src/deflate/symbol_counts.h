// How often each symbol of the two alphabets occurs, in the caller's counters.
#pragma once

#include <cstdint>

#include "core/deflate_code.h"
#include "deflate/format.h"

namespace ozrdc::deflate {

struct SymbolCounts {
    uint32_t* lit;  // literals and lengths
    uint32_t* dist;

    [[gnu::always_inline]] void literal(uint8_t byte) const noexcept { ++lit[byte]; }

    [[gnu::always_inline]] void match(uint8_t lengthLess3, uint32_t distance) const noexcept {
        ++lit[kFirstLengthSymbol + lengthCode(lengthLess3)];
        ++dist[distCode(distance)];
    }
};

}  // namespace ozrdc::deflate
