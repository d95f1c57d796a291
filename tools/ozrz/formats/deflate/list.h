// Sizes of what a container holds.
#pragma once

#include "formats/deflate/container.h"
#include "formats/format.h"

namespace ozrz::deflate {

// Decodes and checks everything: where a stream ends, and how long its content is, only decoding tells. The texts of
// the listing are left to the caller.
Listing list(Source& source, Container& container, unsigned threads);

}  // namespace ozrz::deflate
