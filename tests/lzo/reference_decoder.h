// A second LZO1X decoder, written to be read and not to be fast: one byte at a time, every rule in the order in which
// it applies. It predicts status and bytes of the library's checked decoder for any source, well-formed or not.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::test::lzo {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

// What a container decodes to lies in slices, which need not be full.
struct Slice {
    uint64_t offset = 0;
    Bytes bytes;
};

struct Decoded {
    Status status = StatusOk;
    uint64_t written = 0;       // meaningless if the status is an error
    std::vector<Slice> slices;  // one, at offset 0, for a source that is no container
    bool isContainer = false;

    // Of a source that is no container: the bytes.
    const Bytes& output() const { return slices.at(0).bytes; }
};

// Decodes `source`. A container does not look at the capacity.
Decoded decode(ByteView source, uint64_t capacity);

// The bytes that streams decode to, without regard to containers and empty sources; nothing if they are malformed or do
// not fit.
std::optional<Bytes> decodeStreams(ByteView source, uint64_t capacity);

// If the source is a container: how many bytes its slices cover.
std::optional<uint64_t> containerTotal(ByteView source);

}  // namespace ozrdc::test::lzo
