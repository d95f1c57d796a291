// The headers of gzip members (RFC 1952).
//
//   1F 8B | method (1) | flags (1) | modification time (4) | extra flags (1) | system (1)
//   extra field: its size (2), its bytes | name, comment: each ends with a zero | check of all this (2)
//
// What the second line has is there where its flag says so. Numbers are little-endian.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "formats/deflate/bit_reader.h"

namespace ozrz::gzip {

inline constexpr uint8_t kMagic0 = 0x1F;
inline constexpr uint8_t kMagic1 = 0x8B;

struct Header {
    std::optional<std::string> name{};  // of the file, by whoever made the member
    std::optional<std::string> comment{};
    std::string extra{};   // the bytes of the extra field; empty: there is none
    uint32_t mtime = 0;    // seconds since 1970; 0: not known
    bool checked = false;  // the header has a check of its own
    uint8_t extraFlags = 0;
    uint8_t system = 0;
};

// What stands in the header's byte for extra flags: how hard the encoder tried.
inline constexpr uint8_t kSmallest = 2;
inline constexpr uint8_t kFastest = 4;

inline constexpr uint8_t kUnix = 3;

std::vector<uint8_t> serialize(const Header& header);

// Reads a header behind its first two bytes, the magic number. Of names and comments, which may be of any length, the
// first 4 KiB are kept. Throws
// DataError.
Header readHeader(deflate::BitReader& in);

}  // namespace ozrz::gzip
