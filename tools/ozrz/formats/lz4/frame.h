// The parts of an LZ4 frame that are not blocks: magic numbers and the frame descriptor.
//
//   magic (4) | FLG (1) | BD (1) | content size (0 or 8) | dictionary ID (0 or 4) | header check (1)
//   blocks: size (4, top bit: stored without compression) | data | block checksum (0 or 4)
//   end mark (4 bytes of zero) | content checksum (0 or 4)
//
// All fields are little-endian; all checksums are XXH32. A legacy frame is its magic number and then blocks of a size
// and data, up to the end of the file or the next magic number; every block but the last holds 8 MiB.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "bytes.h"
#include "source.h"

namespace ozrz::lz4 {

inline constexpr uint32_t kMagic = 0x184D2204;
inline constexpr uint32_t kLegacyMagic = 0x184C2102;
inline constexpr uint32_t kSkippableMagic = 0x184D2A50;  // and the 15 that follow
inline constexpr uint32_t kSkippableMask = 0xFFFFFFF0;
inline constexpr std::size_t kMagicSize = 4;
inline constexpr std::size_t kBlockHeaderSize = 4;
inline constexpr std::size_t kChecksumSize = 4;
inline constexpr uint32_t kStoredFlag = 0x80000000;
inline constexpr uint32_t kEndMark = 0;
inline constexpr std::size_t kMaxDistance = 64 * KiB;  // how much history a match can reach
inline constexpr std::size_t kLegacyBlockSize = 8 * MiB;

inline constexpr unsigned kMinBlockSizeCode = 4;
inline constexpr unsigned kMaxBlockSizeCode = 7;

// 64 KiB, 256 KiB, 1 MiB, 4 MiB for the codes 4 to 7.
constexpr std::size_t blockSizeOfCode(unsigned code) { return std::size_t{1} << (8 + 2 * code); }

// The most bytes that a block of `size` bytes can take when it is compressed although that makes it larger.
constexpr std::size_t compressedBound(std::size_t size) { return size + size / 255 + 16; }

// What of a dictionary matches can reach; empty for none.
inline Bytes reachableEnd(const std::optional<Bytes>& dictionary) {
    const Bytes all = dictionary.value_or(Bytes{});
    return all.last(std::min(all.size(), kMaxDistance));
}

bool isFrameMagic(uint32_t magic);  // of any of the three kinds
bool isSkippableMagic(uint32_t magic);

struct Descriptor {
    bool independentBlocks = true;
    bool blockChecksums = false;
    bool contentChecksum = true;
    std::optional<uint64_t> contentSize{};
    std::optional<uint32_t> dictionaryId{};
    unsigned blockSizeCode = kMaxBlockSizeCode;

    std::size_t blockSize() const { return blockSizeOfCode(blockSizeCode); }
};

// The frame's bytes up to its first block.
std::vector<uint8_t> serialize(const Descriptor& descriptor);

// Reads the descriptor, behind the magic number. Throws DataError.
Descriptor readDescriptor(Source& source);

}  // namespace ozrz::lz4
