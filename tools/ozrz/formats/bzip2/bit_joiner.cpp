// Shifting strings of bits, eight bytes at a time.
#include "formats/bzip2/bit_joiner.h"

namespace ozrz::bzip2 {

void BitJoiner::append(uint8_t* bits, std::size_t count) {
    const std::size_t total = restBits_ + count;
    if (restBits_ != 0) {
        uint64_t before = uint64_t{rest_} << 56;
        for (std::size_t i = 0; i < total; i += 64) {
            const auto word = loadBigEndian<uint64_t>(bits + i / 8);
            storeBigEndian(bits + i / 8, before | word >> restBits_);
            before = word << (64 - restBits_);
        }
    }
    sink_.write({bits, total / 8});
    restBits_ = static_cast<unsigned>(total % 8);
    rest_ = restBits_ == 0 ? uint8_t{0} : static_cast<uint8_t>(bits[total / 8] & ~(0xFFU >> restBits_));
}

void BitJoiner::finish() {
    if (restBits_ != 0) sink_.write({&rest_, 1});
    rest_ = 0;
    restBits_ = 0;
}

}  // namespace ozrz::bzip2
