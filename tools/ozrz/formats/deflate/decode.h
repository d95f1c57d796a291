// Decompresses all streams of a container, reading, decoding, and checking and writing at the same time.
#pragma once

#include "formats/deflate/container.h"
#include "formats/format.h"

namespace ozrz::deflate {

// Writes the content of all streams; returns how many bytes of the source belong to them. Throws an `Error`, after
// everything in front of the damage has been written.
uint64_t decode(Source& source, Sink& sink, Container& container, unsigned threads);

}  // namespace ozrz::deflate
