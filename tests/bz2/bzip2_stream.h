// Whole .bz2 streams, made and read with the library's stages alone, one after the other: what a caller of the library
// does, as short as it can be.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ozrdc::test::bz2 {

// A stream with blocks of `level` times 100000 bytes.
std::vector<uint8_t> compressWithStages(std::span<const uint8_t> plain, int level);

// The contents of a stream, or nothing if something about it is wrong.
std::optional<std::vector<uint8_t>> decompressWithStages(std::span<const uint8_t> stream);

}  // namespace ozrdc::test::bz2
