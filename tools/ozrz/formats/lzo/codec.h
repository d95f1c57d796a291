// The jobs of the lzop format: compress, decompress, list.
#pragma once

#include "formats/format.h"
#include "formats/lzo/member_reader.h"

namespace ozrz::lzo {

struct Options {
    bool crc = false;          // CRC-32 rather than Adler-32
    bool dataChecked = false;  // checks of the data too
};

inline constexpr int kDefaultLevel = 3;

void encode(Source& source, Sink& sink, const Options& options, const EncodeSettings& settings);

void decode(Source& source, Sink& sink, const DecodeSettings& settings);

Listing list(Source& source, const DecodeSettings& settings);

}  // namespace ozrz::lzo
