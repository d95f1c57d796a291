// The parts of bzip2 files. All of it is bits, most significant first; blocks begin at any bit.
//
//   stream: "BZh" | level, "1" to "9" | blocks
//           | end mark (48 bits) | CRC made of the blocks' CRCs (32) | zeros up to a whole byte
//   block:  block mark (48) | CRC of its content (32) | randomized (1) | primary index (24)
//           | which of the 16 groups of byte values occur (16) | for each that does: which of its 16 values (16)
//           | description of the Huffman tables | symbols, up to the one for the end of the block
//
// A file is any number of streams, one behind the other. The content of a block is run-length coded before it is
// sorted; how long it may be then is what the level tells.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace ozrz::bzip2 {

inline constexpr uint32_t kStreamMagic = 'B' << 16 | 'Z' << 8 | 'h';
inline constexpr std::size_t kStreamHeaderSize = 4;

inline constexpr uint64_t kBlockMark = 0x314159265359;
inline constexpr uint64_t kEndMark = 0x177245385090;
inline constexpr unsigned kMarkBits = 48;
inline constexpr unsigned kCrcBits = 32;
inline constexpr unsigned kIndexBits = 24;
inline constexpr unsigned kValueGroups = 16;  // of as many byte values each

inline constexpr int kMinLevel = 1;
inline constexpr int kMaxLevel = 9;

constexpr uint32_t streamHeader(int level) { return kStreamMagic << 8 | ('0' + static_cast<uint32_t>(level)); }

// The level that the first bytes of a stream tell; 0 if they are none.
constexpr int levelOfHeader(uint32_t header) {
    const uint32_t level = header - streamHeader(0);
    return level >= kMinLevel && level <= kMaxLevel ? static_cast<int>(level) : 0;
}

// The most bytes of run-length code in a block.
constexpr std::size_t blockSizeOfLevel(int level) { return 100'000 * static_cast<std::size_t>(level); }
inline constexpr std::size_t kMaxBlockSize = blockSizeOfLevel(kMaxLevel);

// The most bits that a block has in front of the description of its tables.
inline constexpr unsigned kMaxBlockHeaderBits =
    kMarkBits + kCrcBits + 1 + kIndexBits + kValueGroups + kValueGroups * kValueGroups;

// The CRC of a stream whose blocks so far give `stream`, with a further block.
constexpr uint32_t combinedCrc(uint32_t stream, uint32_t block) { return std::rotl(stream, 1) ^ block; }

}  // namespace ozrz::bzip2
