// Plain models of the block-sorting Huffman code: strings of bits, codes as strings, no tables.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "bz2/reference_stages.h"

namespace ozrdc::test::bz2 {

// Bits as the characters 0 and 1.
using Bits = std::string;

Bits numberBits(uint64_t value, unsigned count);
Bits bitsOf(std::span<const uint8_t> bytes);
Bytes packed(const Bits& bits);  // the last byte filled with zeros

// The tables of a block: lengths of codes, and the table of each group.
struct Description {
    std::vector<std::vector<uint8_t>> lengths;
    std::vector<uint8_t> selectors;

    Bits bits() const;
    // Reads a description; `position` is moved behind it. Nothing if it is not valid or not complete.
    static std::optional<Description> read(const Bits& bits, std::size_t& position, std::size_t alphaSize);
};

// The canonical codes of a table by symbol. A code that no longer fits, because the lengths take too much of the code
// space, is empty.
std::vector<Bits> canonicalCodes(const std::vector<uint8_t>& lengths);

// The symbols as bits.
Bits codedSymbols(const Description& description, const Symbols& symbols);

// Decodes the symbols of a block, the last of the alphabet being its end, as long as 20 bits are there.
struct DecodedSymbols {
    Symbols symbols;   // without the end
    std::size_t used;  // bits, those of the end included
    enum { End, OutOfBits, NoCode, NoSelector } stop;
};
DecodedSymbols decodeSymbols(const Description& description, const Bits& bits);

// Tables and selectors of the encoder: the alphabet divided into one part for each table, then four rounds of
// selection. Optimal codes differ in detail, so the caller makes them: `lengthsOf` gives the lengths for the counts of
// a table.
using LengthsOf = std::function<std::vector<uint8_t>(const std::vector<uint32_t>& counts)>;
Description refinedTables(const Symbols& symbols, const std::vector<uint32_t>& frequencies, const LengthsOf& lengthsOf);

// The smallest sum of count times length, with counts of 0 taken as 1, and no length above `limit`.
uint64_t optimalCost(const std::vector<uint32_t>& counts, unsigned limit);

}  // namespace ozrdc::test::bz2
