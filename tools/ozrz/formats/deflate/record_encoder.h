// The usual way: match search into records, blocks by their statistics, codes made for each block.
#pragma once

#include "formats/deflate/chunk_encoder.h"

namespace ozrz::deflate {

// `level` is 1 to 9.
std::unique_ptr<ChunkEncoder> makeRecordEncoder(int level);

}  // namespace ozrz::deflate
