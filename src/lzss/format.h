// The bit stream: tokens without anything between them, most significant bit first.
//
//     literal   1, the byte (8 bits)
//     match     0, the distance (15 bits), the length less 3 (8 bits)
//
// Nothing marks the end. The last byte is filled up with zeros, which are the beginning of a match that never comes.
#pragma once

#include <cstdint>

namespace ozrdc::lzss {

constexpr unsigned kLiteralBits = 9;
constexpr unsigned kMatchBits = 24;

constexpr unsigned kLengthBits = 8;
constexpr unsigned kDistanceBits = 15;
static_assert(1 + kDistanceBits + kLengthBits == kMatchBits);

constexpr uint32_t kMinMatch = 3;
constexpr uint32_t kMaxMatch = kMinMatch + (1 << kLengthBits) - 1;

// The distances 1 to kWindow - 1 can be told.
constexpr uint32_t kWindow = 1 << kDistanceBits;

// Between tokens, fewer bits than this are pending, in either direction, if neither source nor destination came to an
// end.
constexpr unsigned kByteBits = 8;

}  // namespace ozrdc::lzss
