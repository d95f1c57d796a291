// Independent implementations of the public formats, as the tests call them: plain functions on vectors.
//
// A family adds the ones of its format here. They serve only to judge results; nothing of the library depends on them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ozrdc::test::oracle {

// --- liblz4: LZ4 blocks ---------------------------------------------------------------------------------------------

// The block that the usual compressor writes.
std::vector<uint8_t> lz4Compress(std::span<const uint8_t> source);

// The same with an acceleration of 2 and above, and at a level of high compression (3 to 12).
std::vector<uint8_t> lz4CompressFast(std::span<const uint8_t> source, int acceleration);
std::vector<uint8_t> lz4CompressHigh(std::span<const uint8_t> source, int level);

// A block whose matches may reach into `dictionary`.
std::vector<uint8_t> lz4CompressWithDictionary(std::span<const uint8_t> source, std::span<const uint8_t> dictionary);

// The decoded block, or nothing if it is not a valid one that decodes to at most `capacity` bytes.
std::optional<std::vector<uint8_t>> lz4Decompress(std::span<const uint8_t> block, std::size_t capacity,
                                                  std::span<const uint8_t> dictionary = {});

}  // namespace ozrdc::test::oracle
