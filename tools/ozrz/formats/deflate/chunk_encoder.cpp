// From levels to encoders.
#include "formats/deflate/chunk_encoder.h"

#include "formats/deflate/record_encoder.h"
#include "formats/deflate/single_pass_encoder.h"

namespace ozrz::deflate {

std::unique_ptr<ChunkEncoder> makeChunkEncoder(int level, int acceleration) {
    if (acceleration == 0) return makeRecordEncoder(level);
    return makeSinglePassEncoder(acceleration < kFixedCodeAcceleration ? SinglePassCode::prepared
                                                                       : SinglePassCode::fixed);
}

}  // namespace ozrz::deflate
