// The parts of .lzss files that are not data; docs/formats.md describes the whole format. All numbers are
// little-endian.
//
//   header: magic number (4) | version (1) | flags (1) | log2 of the maximal block size (1) | check (1)
//   blocks: size of the content (4) | of the data (4) | CRC-32C of the content (4) | data
//   end:    0 (4) | CRC-32C of all block headers (4)
#pragma once

#include <array>
#include <string>

#include "bytes.h"

namespace ozrz::lzss {

inline constexpr std::array<uint8_t, 4> kMagic{0x89, 'L', 'S', 'S'};
inline constexpr uint8_t kVersion = 1;
inline constexpr std::size_t kHeaderSize = kMagic.size() + 4;
inline constexpr std::size_t kBlockHeaderSize = 12;

// What readers have to take.
inline constexpr unsigned kMinBlockSizeLog = 10;
inline constexpr unsigned kMaxBlockSizeLog = 26;

using HeaderBytes = std::array<uint8_t, kHeaderSize>;
using BlockHeaderBytes = std::array<uint8_t, kBlockHeaderSize>;

// Whether the bytes begin with a magic number.
bool beginsMember(Bytes head);

HeaderBytes headerFor(unsigned blockSizeLog);

// The maximal block size of a header. Throws DataError.
std::size_t blockSizeOf(const HeaderBytes& header);

struct BlockHeader {
    uint64_t number = 0;    // within the member, from 1
    uint64_t position = 0;  // in the source
    uint32_t size = 0;      // of the content
    uint32_t dataSize = 0;
    uint32_t crc = 0;  // of the content

    // The data are the content itself.
    bool stored() const { return dataSize == size; }
};

BlockHeaderBytes serialize(const BlockHeader& block);

// Reads the fields behind the size of the content.
void readRest(BlockHeader& block, const BlockHeaderBytes& bytes);

}  // namespace ozrz::lzss
