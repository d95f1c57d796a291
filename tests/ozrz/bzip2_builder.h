// bzip2 files bit by bit, right and wrong ones, independent of the command's own code; and libbz2 to judge files.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "bz2/reference_huffman.h"

namespace ozrz::test {

using ozrdc::test::bz2::Bits;
using ozrdc::test::bz2::Symbols;

inline const Bits kBlockMarkBits = ozrdc::test::bz2::numberBits(0x314159265359, 48);
inline const Bits kEndMarkBits = ozrdc::test::bz2::numberBits(0x177245385090, 48);

// The CRC of a block's content, and that of a stream with the CRCs of its blocks.
uint32_t bzip2Crc(const std::string& content);
uint32_t bzip2StreamCrc(const std::vector<uint32_t>& blockCrcs);

struct HandMadeBlock {
    Bits bits;
    uint32_t crc = 0;
    std::string content;
};

struct BlockOptions {
    unsigned values = 254;  // that occur: those from 0 on
    uint32_t primaryIndex = 0;
    bool randomized = false;       // as the header tells it
    unsigned unusedSelectors = 0;  // behind those that are needed
    std::optional<Bits> description{};
};

// A block of the given symbols, without the one for its end: all codes have the same length, of 8 bits with 254 values.
// The content is what the symbols stand for.
HandMadeBlock makeBlock(const Symbols& symbols, const BlockOptions& options = {});

// The parts of a block in front of the description of its tables.
Bits blockHeader(uint32_t crc, bool randomized, uint32_t primaryIndex, unsigned values);

std::string bytesOfBits(const Bits& bits);
Bits bitsOfBytes(const std::string& bytes);

// A stream of blocks.
std::string makeStream(int level, const std::vector<HandMadeBlock>& blocks);

std::string libbz2Compress(const std::string& contents, int level, int workFactor = 0);

// What libbz2 makes of a file of any number of streams; nothing if it finds an error or other bytes in it.
std::optional<std::string> libbz2Decompress(const std::string& file);

}  // namespace ozrz::test
