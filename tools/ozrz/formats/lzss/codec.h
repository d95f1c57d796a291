// The jobs of the LZSS format: compress, decompress, list.
#pragma once

#include "formats/format.h"

namespace ozrz::lzss {

void encode(Source& source, Sink& sink, const EncodeSettings& settings);

void decode(Source& source, Sink& sink, const DecodeSettings& settings);

Listing list(Source& source, const DecodeSettings& settings);

}  // namespace ozrz::lzss
