// From levels to the library's encoders.
#include "formats/lz4/block_encoder.h"

#include <ozrdc.h>

#include <algorithm>

#include "error.h"

namespace ozrz::lz4 {
namespace {

std::vector<uint8_t> makeHashTable() {
    int32_t size = 0;
    ozrsEncodeLZ4HashTableGetSize_8u(&size);
    return std::vector<uint8_t>(static_cast<std::size_t>(size));
}

}  // namespace

BlockEncoder::BlockEncoder(int /*level*/, int acceleration)
    : acceleration_(std::max(acceleration, 1)), hashTable_(makeHashTable()) {}

std::size_t BlockEncoder::encode(Bytes block, uint8_t* into) {
    int32_t length = 0;
    const auto size = static_cast<int32_t>(block.size());
    const Status status =
        acceleration_ == 1 ? ozrsEncodeLZ4_8u(block.data(), size, into, &length, hashTable_.data())
                           : ozrsEncodeLZ4Fast_8u(block.data(), size, into, &length, hashTable_.data(), acceleration_);
    if (status != StatusOk) throw Error("the LZ4 encoder failed with status " + std::to_string(status));
    return static_cast<std::size_t>(length);
}

}  // namespace ozrz::lz4
