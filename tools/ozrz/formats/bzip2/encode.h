// Compresses a source to one bzip2 stream, in parallel.
#pragma once

#include "formats/format.h"

namespace ozrz::bzip2 {

void encode(Source& source, Sink& sink, const EncodeSettings& settings);

}  // namespace ozrz::bzip2
