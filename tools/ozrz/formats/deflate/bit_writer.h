// Writes bits, least significant first, into memory that is large enough.
#pragma once

#include <cstring>

#include "bytes.h"

namespace ozrz::deflate {

// Up to 7 bits wait in the writer between calls; everything before them is in memory. Each call may write up to
// `kSlack` bytes behind its end.
class BitWriter {
  public:
    static constexpr std::size_t kSlack = 8;

    explicit BitWriter(uint8_t* memory) : memory_(memory) {}

    // `bits` has no ones from bit `count` on; `count` is at most 32.
    void put(uint32_t bits, unsigned count) {
        pending_ |= uint64_t{bits} << pendingBits_;
        pendingBits_ += count;
        storeLittleEndian(memory_ + size_, pending_);
        size_ += pendingBits_ / 8;
        pending_ >>= pendingBits_ & ~7U;
        pendingBits_ &= 7U;
    }

    // Fills the current byte with zeros.
    void align() { put(0, -pendingBits_ & 7U); }

    void putBytes(Bytes bytes) {
        if (!bytes.empty()) std::memcpy(memory_ + size_, bytes.data(), bytes.size());
        size_ += bytes.size();
    }

    bool aligned() const { return pendingBits_ == 0; }
    uint64_t bits() const { return 8 * uint64_t{size_} + pendingBits_; }
    Bytes bytes() const { return {memory_, size_}; }

    // Hands the bits over to an encoder of the library and takes them back from it. The encoder is called with the
    // memory, its position in it, and the bits that wait and their number, and updates these three.
    template <typename Encoder>
    void lend(const Encoder& encoder) {
        auto position = static_cast<int32_t>(size_);
        auto code = static_cast<uint16_t>(pending_);
        auto codeBits = static_cast<int32_t>(pendingBits_);
        encoder(memory_, &position, &code, &codeBits);
        size_ = static_cast<std::size_t>(position);
        pending_ = 0;
        pendingBits_ = 0;
        put(code, static_cast<unsigned>(codeBits));
    }

  private:
    uint8_t* memory_;
    std::size_t size_ = 0;
    uint64_t pending_ = 0;
    unsigned pendingBits_ = 0;
};

}  // namespace ozrz::deflate
