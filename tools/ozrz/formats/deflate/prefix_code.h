// Prefix codes: from frequencies to optimal lengths within a limit, and from lengths to codes.
#pragma once

#include <ozrdc.h>

#include <span>

#include "bytes.h"

namespace ozrz::deflate {

// The code lengths, of at most `limit` bits, that make the sum of frequency x length smallest. Symbols of frequency 0
// get length 0; a lone symbol gets length 1. At most 288 symbols, of which 2^limit may be used, with frequencies that
// add up to less than 2^32.
void makeCodeLengths(std::span<const uint32_t> frequencies, unsigned limit, uint8_t* lengths);

// The codes of RFC 1951 for these lengths, in the order of their bits in the stream.
void assignCodes(std::span<const uint8_t> lengths, DeflateHuffCode* codes);

}  // namespace ozrz::deflate
