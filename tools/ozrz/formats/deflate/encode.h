// Compresses a source to one Deflate stream, in parallel.
#pragma once

#include <functional>

#include "formats/format.h"

namespace ozrz::deflate {

// Writes the stream, whole bytes of it. `see` is called with all bytes of the source, piece by piece in their order,
// for checksums. `settings.dictionary` counts as what precedes the source.
void encode(Source& source, Sink& sink, const EncodeSettings& settings, const std::function<void(Bytes)>& see);

}  // namespace ozrz::deflate
