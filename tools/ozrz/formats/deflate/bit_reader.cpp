// Reading bits and bytes across the pieces of a source.
#include "formats/deflate/bit_reader.h"

#include <algorithm>
#include <cstring>

#include "error.h"

namespace ozrz::deflate {

bool BitReader::refill() {
    if (left_ != 0) return true;
    const Bytes piece = input_.next();
    if (piece.empty()) return false;
    next_ = piece.data();
    left_ = static_cast<uint32_t>(piece.size());
    pieceEnd_ += piece.size();
    return true;
}

bool BitReader::have(unsigned count) {
    while (codeBits_ < count) {
        if (!refill()) return false;
        code_ |= uint32_t{*next_++} << codeBits_;
        --left_;
        codeBits_ += 8;
    }
    return true;
}

uint32_t BitReader::take(unsigned count) {
    if (!have(count)) failTruncated();
    const uint32_t bits = peek(count);
    drop(count);
    return bits;
}

std::size_t BitReader::read(MutableBytes into) {
    std::size_t done = 0;
    while (codeBits_ != 0 && done < into.size()) into[done++] = takeByte();
    if (done < into.size() && refill()) {
        const std::size_t count = std::min<std::size_t>(left_, into.size() - done);
        std::memcpy(into.data() + done, next_, count);
        next_ += count;
        left_ -= static_cast<uint32_t>(count);
        done += count;
    }
    return done;
}

void BitReader::failTruncated() const { throw DataError("truncated: the data end inside " + std::string(place_)); }

}  // namespace ozrz::deflate
