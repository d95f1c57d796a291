// Lengths of an optimal prefix code of at most 17 bits.
#pragma once

#include <cstdint>

#include "bz2/huffman_format.h"

namespace ozrdc::bz2 {

// Gives each of the first `alphaSize` symbols, at least one, the length of its code. Every symbol gets one: a count of
// 0 is taken as 1. A single symbol has a code of one bit.
void makeCodeLengths(const uint32_t* counts, int32_t alphaSize, uint8_t* lengths) noexcept;

}  // namespace ozrdc::bz2
