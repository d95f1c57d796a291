// Writes records as a block of Deflate, in the form that takes the least room.
#pragma once

#include "formats/deflate/bit_writer.h"
#include "formats/deflate/records.h"

namespace ozrz::deflate {

// Room that is always enough for `size` bytes of source in any number of blocks.
constexpr std::size_t compressedBound(std::size_t size) {
    // A block that does not shrink is stored; and while its records are written, 15 bits a literal are enough.
    return 2 * size + 1 * KiB;
}

// `last` marks the last block of the stream.
void writeBlock(BitWriter& out, const Block& block, bool last);

// The bytes as they are, in as many blocks as that takes: at least one, which may be empty.
void writeStored(BitWriter& out, Bytes bytes, bool last);

// A block that stands for no bytes, in the least room that one takes.
void writeEmptyBlock(BitWriter& out, bool last);

// The bits of the next writeStored().
uint64_t storedBits(const BitWriter& out, std::size_t size);

}  // namespace ozrz::deflate
