// The LZO1X format: constants shared by the decoder and the encoder.
//
// A stream is a series of instructions. A match instruction begins with a byte of 16 or more, which gives its class and
// most of its length; one or two bytes with the distance follow, and the two low bits of the byte before the last one
// give the number of literals, 0 to 3, that stand behind it. Longer runs of literals have an instruction of their own.
//
//     LLLDDDSS D'            short match, L from 2 on: length L + 1 (3 to 8), distance D' * 8 + D + 1 (up to 2048)
//     001LLLLL DDDDDDSS D'   middle match: length L + 2, distance D' * 64 + D + 1 (up to 16384)
//     0001HLLL DDDDDDSS D'   long match: length L + 2, distance 16384 + H * 16384 + D' * 64 + D (up to 49151)
//     0000LLLL               behind a match without literals: a run of L + 3 literals
//     0000DDSS D'            behind 1 to 3 literals: a match of length 2, distance D' * 4 + D + 1 (up to 1024)
//     0000DDSS D'            behind a run of literals: a match of length 3, distance D' * 4 + D + 2049 (up to 3072)
//
// An L of 0 in a middle match, a long match or a run stands for more than the field can hold: bytes behind the first
// are added to what the largest L would give, zeros as 255 each, and a last one, which is not 0, as it is. A long match
// of distance 16384 is the end marker.
//
// The first byte of a stream is read in its own way: from 17 on it is the number of literals plus 17, and below 16 a
// run.
#pragma once

#include <array>
#include <cstdint>

namespace ozrdc::lzo {

// The first bytes of the classes of matches: from this on.
constexpr unsigned kLongClass = 16;
constexpr unsigned kMiddleClass = 32;
constexpr unsigned kShortClass = 64;

// Literals behind a match, in the match's own bits.
constexpr unsigned kFewLiterals = 3;

// Runs of literals.
constexpr unsigned kRunBias = 3;
constexpr unsigned kPlainRunMax = 15 + kRunBias;
constexpr unsigned kFirstRunBias = 17;
constexpr unsigned kFirstRunMax = 255 - kFirstRunBias;

// Matches.
constexpr unsigned kLengthBias = 2;
constexpr unsigned kMiddleLengthMask = 31;
constexpr unsigned kLongLengthMask = 7;
constexpr unsigned kShortLengthMax = 8;
constexpr unsigned kShortDistanceMax = 2048;
constexpr unsigned kMiddleDistanceMax = 16384;
constexpr unsigned kLongDistanceBase = 16384;
constexpr unsigned kLongDistanceBit = 8;  // of the first byte: adds another 16384
constexpr unsigned kDistanceMax = kLongDistanceBase + 16384 + 16383;

// Matches without a class: their bytes are below 16.
constexpr unsigned kNearMatchLength = 2;
constexpr unsigned kNearDistanceBase = 1;
constexpr unsigned kFarMatchLength = 3;
constexpr unsigned kFarDistanceBase = kShortDistanceMax + 1;

// What a zero byte of an extension adds to a length.
constexpr unsigned kExtensionZero = 255;

// The long match of distance 16384.
constexpr std::array<uint8_t, 3> kEndMarker{0x11, 0, 0};

}  // namespace ozrdc::lzo
