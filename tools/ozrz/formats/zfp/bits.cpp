// See the header.
#include "formats/zfp/bits.h"

#include <algorithm>
#include <array>

namespace ozrz::zfp {
namespace {

// out[i] = the byte that begins `shift` bits (1 to 7) below the lowest of in[i]; its low bits come from what precedes.
void shiftUp(Bytes in, unsigned shift, uint8_t before, uint8_t* out) {
    if (in.empty()) return;
    out[0] = static_cast<uint8_t>(in[0] << shift | before);
    for (std::size_t i = 1; i < in.size(); ++i)
        out[i] = static_cast<uint8_t>(in[i] << shift | in[i - 1] >> (8 - shift));
}

constexpr std::size_t kPiece = 256 * KiB;

}  // namespace

void BitJoiner::append(Bytes bytes, uint64_t bits) {
    if (bits == 0) return;
    const Bytes piece = bytes.first(static_cast<std::size_t>((bits + 7) / 8));
    const auto shift = static_cast<unsigned>(total_ % 8);
    const auto whole = static_cast<std::size_t>((shift + bits) / 8);
    total_ += bits;
    if (shift == 0) {
        sink_.write(piece.first(whole));
        pending_ = total_ % 8 != 0 ? piece.back() : uint8_t{0};
        return;
    }
    joined_.resize(piece.size() + 1);
    shiftUp(piece, shift, pending_, joined_.data());
    joined_.back() = static_cast<uint8_t>(piece.back() >> (8 - shift));
    pending_ = joined_[whole];
    sink_.write(Bytes(joined_).first(whole));
}

void BitJoiner::finish() {
    constexpr std::array<uint8_t, 8> kZeros{};
    append(kZeros, (64 - total_ % 64) % 64);
}

Bytes BitSplitter::take(uint64_t bits, Buffer& buffer) {
    MemorySink sink(buffer);
    piece_.require(kPiece);
    uint64_t missing = bits <= pendingBits_ ? 0 : (bits - pendingBits_ - 1) / 8 + 1;
    while (missing > 0) {
        const MutableBytes into(piece_.data(), static_cast<std::size_t>(std::min<uint64_t>(missing, kPiece)));
        const Bytes piece = into.first(source_.read(into));
        if (pendingBits_ == 0) {
            sink.write(piece);
        } else if (!piece.empty()) {
            shifted_.resize(piece.size());
            shiftUp(piece, pendingBits_, pending_, shifted_.data());
            pending_ = static_cast<uint8_t>(piece.back() >> (8 - pendingBits_));
            sink.write(shifted_);
        }
        if (piece.size() < into.size()) break;
        missing -= piece.size();
    }
    const uint64_t written = sink.written() * 8;
    if (written < bits) {
        // The rest is pending, or the source has ended.
        if (pendingBits_ > 0) sink.write({&pending_, 1});
        const auto taken = static_cast<unsigned>(std::min<uint64_t>(bits - written, pendingBits_));
        pending_ = static_cast<uint8_t>(pending_ >> taken);
        pendingBits_ -= taken;
    } else if (written > bits) {
        const auto left = static_cast<unsigned>(written - bits);
        pending_ = static_cast<uint8_t>(pending_ << left | sink.bytes().back() >> (8 - left));
        pendingBits_ += left;
    }
    return sink.bytes();
}

}  // namespace ozrz::zfp
