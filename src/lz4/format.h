// The LZ4 block format: what the decoder and the encoders share.
//
// A block is a series of sequences: a token byte, literals, and a match. The token's high nibble is the number of
// literals, its low nibble the match length less 4; a nibble of 15 is followed by extension bytes that are added to it,
// each 255 meaning that another byte follows. The order within a sequence is token, extension of the literal count,
// literals, 16-bit little-endian offset, extension of the match length. The last sequence ends after its literals.
#pragma once

#include <cstdint>

namespace ozrdc::lz4 {

constexpr unsigned kMinMatch = 4;
constexpr unsigned kMaxOffset = 65535;

// A nibble of the token with this value is followed by extension bytes.
constexpr unsigned kNibbleMax = 15;
constexpr unsigned kExtensionMax = 255;

// No block of the encoders is longer than this, whatever the `n` bytes of its source are.
[[nodiscard]] constexpr int64_t worstCase(int64_t n) noexcept { return n + n / kExtensionMax + 16; }

}  // namespace ozrdc::lz4
