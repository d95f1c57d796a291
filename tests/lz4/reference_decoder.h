// A second LZ4 block decoder, written to be read and not to be fast: one byte at a time, every rule in the order in
// which it applies. It predicts status, counts and bytes of the library's decoders for any block, well-formed or not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::test::lz4 {

// What precedes the output, and how matches reach it.
struct History {
    enum class Mode {
        None,      // nothing: a self-contained block
        Prefix,    // `dictionary` lies directly in front of the output
        Separate,  // `dictionary` lies elsewhere and stands for the first positions of the destination
    };
    Mode mode = Mode::None;
    std::span<const uint8_t> dictionary{};
    // Separate mode only: what the destination holds in front of the output. Its size is the index where output begins.
    std::span<const uint8_t> front{};
};

struct Decoded {
    Status status = StatusOk;
    int64_t consumed = 0;  // both counts are meaningless if the status is an error
    int64_t written = 0;
    // The bytes written; after an error, the bytes written before it.
    std::vector<uint8_t> output;
    // For each byte written, whether its value is known. A match with offset 0 leaves arbitrary bytes in the output,
    // and later matches may copy them; all others are known.
    std::vector<bool> known;

    // The index of the first known byte that `actual` has otherwise, or nothing. `actual` is as long at least.
    std::optional<std::size_t> firstDifference(std::span<const uint8_t> actual) const;
};

// Decodes `block` into a destination of `capacity` bytes. Both are at least one byte.
Decoded decode(std::span<const uint8_t> block, int64_t capacity, const History& history = {});

}  // namespace ozrdc::test::lz4
