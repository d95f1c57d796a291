// The three jobs of the ZFP format: compress, decompress, list.
#pragma once

#include <optional>
#include <string>

#include "formats/format.h"
#include "formats/zfp/header.h"

namespace ozrz::zfp {

struct VolumeOptions {
    std::optional<Dims> dims;
    std::optional<Parameters> parameters;
    bool statistics = false;
    std::optional<std::string> plot;  // name of the drawing's file
};

void encode(Source& source, Sink& sink, const VolumeOptions& options, const EncodeSettings& settings);

void decode(Source& source, Sink& sink, const DecodeSettings& settings);

Listing list(Source& source);

}  // namespace ozrz::zfp
