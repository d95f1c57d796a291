// The fastest way: straight from bytes to bits, with one code for the whole chunk.
#pragma once

#include "formats/deflate/chunk_encoder.h"

namespace ozrz::deflate {

enum class SinglePassCode { prepared, fixed };

// A prepared code is trained on the beginning of each chunk.
std::unique_ptr<ChunkEncoder> makeSinglePassEncoder(SinglePassCode code);

}  // namespace ozrz::deflate
