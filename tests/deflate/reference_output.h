// The output of records, bit by bit, and what there is to say of codes made from frequencies.
#pragma once

#include <cstdint>
#include <vector>

#include "deflate/reference_parser.h"
#include "ozrdc.h"
#include "support/deflate_format.h"

namespace ozrdc::test::deflate {

using HuffCodes = std::vector<DeflateHuffCode>;

// The codes of a block in the form that the library takes.
HuffCodes huffCodes(std::span<const uint16_t> lengths);

Lengths lengthsOf(std::span<const DeflateHuffCode> codes);

// True if these are the canonical codes of their lengths.
bool areCanonical(std::span<const DeflateHuffCode> codes);

// Writes records with such codes, which may be any.
void writeRecords(BitWriter& writer, std::span<const Record> records, const HuffCodes& literals,
                  const HuffCodes& distances);

// The sum of frequency times length that an optimal code without any limit would have.
uint64_t optimalCost(std::span<const uint64_t> frequencies);

uint64_t costOf(std::span<const uint64_t> frequencies, std::span<const uint16_t> lengths);

}  // namespace ozrdc::test::deflate
