// The parts of .lzo files that are not data. All numbers are big-endian.
//
//   magic number (9) | version of the writer (2) | of its library (2) | that a reader needs (2) | method (1) | level
//   (1) | flags (4) | filter (0 or 4) | mode (4) | modification time (4, and above it 4) | name (1 for its length, and
//   that) | check of all this behind the magic number (4) | extra field: its size (4), its bytes, their check (4)
//   blocks: size of the content (4) | of the data (4) | checks of the content | checks of the data | data
//   end: 0 (4)
//
// Filter, extra field and the checks of blocks are there where flags say so. A block whose data are not shorter than
// its content is stored as it is, and has no checks of its data. A file is any number of such members, one behind the
// other.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "bytes.h"
#include "source.h"

namespace ozrz::lzo {

inline constexpr std::array<uint8_t, 9> kMagic{0x89, 'L', 'Z', 'O', 0, '\r', '\n', 0x1A, '\n'};

// Flags.
inline constexpr uint32_t kAdlerOfContent = 1 << 0;
inline constexpr uint32_t kAdlerOfData = 1 << 1;
inline constexpr uint32_t kExtraField = 1 << 6;
inline constexpr uint32_t kCrcOfContent = 1 << 8;
inline constexpr uint32_t kCrcOfData = 1 << 9;
inline constexpr uint32_t kSplit = 1 << 10;  // one file in several
inline constexpr uint32_t kFilter = 1 << 11;
inline constexpr uint32_t kHeaderCrc = 1 << 12;  // the header's check is a CRC-32; otherwise an Adler-32
inline constexpr uint32_t kUnix = 3U << 24;

// The most content of a block that readers have to take.
inline constexpr std::size_t kMaxBlockSize = 64 * MiB;

enum class Method : uint8_t { lzo1x1 = 1, lzo1x1Small = 2, lzo1x999 = 3 };

// An empty text for methods that are not known here.
std::string nameOf(Method method);

struct Header {
    Method method = Method::lzo1x1;
    uint8_t level = 0;
    uint32_t flags = 0;
    uint32_t filter = 0;  // bytes are stored less the one so many in front of them; 0: as they are
    uint32_t mode = 0;
    uint32_t mtime = 0;  // seconds since 1970; 0: not known
    std::string name{};

    bool has(uint32_t flag) const { return (flags & flag) != 0; }
};

// A member's bytes up to its first block.
std::vector<uint8_t> serialize(const Header& header);

// Whether the bytes begin with a magic number.
bool beginsMember(Bytes head);

// Reads what is behind the magic number. Throws DataError.
Header readHeader(Source& source);

struct BlockHeader {
    uint64_t number = 0;    // within the member, from 1
    uint64_t position = 0;  // in the source
    std::size_t size = 0;   // of the content
    std::size_t dataSize = 0;
    std::optional<uint32_t> contentAdler{};
    std::optional<uint32_t> contentCrc{};
    std::optional<uint32_t> dataAdler{};
    std::optional<uint32_t> dataCrc{};

    bool stored() const { return dataSize == size; }
};

// Room in front of a block's data for its header, and a byte.
inline constexpr std::size_t kMaxBlockHeaderSize = 6 * sizeof(uint32_t);

// Writes the header to end at `end`; returns where it begins.
uint8_t* putBlockHeader(uint8_t* end, const BlockHeader& block);

}  // namespace ozrz::lzo
