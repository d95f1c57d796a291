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

// --- liblzo2: LZO1X streams ------------------------------------------------------------------------------------------

// The streams of its usual compressor, of the one with a larger dictionary, and of the slow one at a level from 1 to 9.
std::vector<uint8_t> lzoCompress(std::span<const uint8_t> source);
std::vector<uint8_t> lzoCompress15(std::span<const uint8_t> source);
std::vector<uint8_t> lzoCompress999(std::span<const uint8_t> source, int level);

// The decoded stream, or nothing if it is malformed, not whole, followed by other bytes, or decodes to more than
// `capacity` bytes.
std::optional<std::vector<uint8_t>> lzoDecompress(std::span<const uint8_t> stream, std::size_t capacity);

// --- zlib and libdeflate: raw Deflate streams -----------------------------------------------------------------------

// How zlib is to choose matches and codes: see its deflateInit2.
enum class ZlibStrategy { Default, Filtered, HuffmanOnly, RunLengths, Fixed };

// A stream of zlib's at level 0 to 9; its matches may reach into `dictionary`.
std::vector<uint8_t> zlibDeflate(std::span<const uint8_t> source, int level,
                                 ZlibStrategy strategy = ZlibStrategy::Default, int memoryLevel = 8,
                                 std::span<const uint8_t> dictionary = {});

// A stream of libdeflate's at level 0 to 12.
std::vector<uint8_t> libdeflateDeflate(std::span<const uint8_t> source, int level);

// What zlib decodes the stream to, or nothing if it is not valid, not whole, followed by other bytes, or decodes to
// more than `capacity` bytes.
std::optional<std::vector<uint8_t>> zlibInflate(std::span<const uint8_t> stream, std::size_t capacity,
                                                std::span<const uint8_t> dictionary = {});

}  // namespace ozrdc::test::oracle
