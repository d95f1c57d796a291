// The block sort, its inverse and the decoding of blocks, as plainly as they can be said.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::test::bz2 {

using Bytes = std::vector<uint8_t>;

struct Transformed {
    Bytes lastColumn;
    std::vector<uint32_t> primaryIndexes;  // the rows that hold the block: several if it is periodic
};

// Sorts whole rotations one against the other: for short blocks.
Transformed transformPlainly(std::span<const uint8_t> block);

// The block of a last column and a primary index.
Bytes invertPlainly(std::span<const uint8_t> lastColumn, uint32_t index);

// Whether the block is not a shorter one several times over. If so, its last column and primary index are the only pair
// that invertPlainly makes it from: the walk from row to row passes all rows, and they are in order.
bool isPrimitive(std::span<const uint8_t> block);

struct DecodedBlock {
    Status status;
    int32_t length;  // what the call leaves in its length argument
    Bytes bytes;     // the block, if there is one
};

DecodedBlock decodeBlockPlainly(std::span<const uint16_t> symbols, int32_t capacity, int32_t index,
                                int32_t sizeDictionary, std::span<const uint8_t> inUse);

}  // namespace ozrdc::test::bz2
