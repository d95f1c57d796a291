// Writes bits, most significant first, into memory that is large enough.
#pragma once

#include "bytes.h"

namespace ozrz::bzip2 {

// Up to 32 bits wait in the writer between calls, left-aligned as the library has them; what is before them is in
// memory.
class BitWriter {
  public:
    explicit BitWriter(MutableBytes memory) : memory_(memory) {}

    // `bits` has no ones above bit `count`, which is 1 to 32.
    void put(uint32_t bits, unsigned count) {
        uint64_t all = uint64_t{code_} << 32 | uint64_t{bits} << (64 - codeBits_ - count);
        codeBits_ += count;
        for (; codeBits_ >= 8; codeBits_ -= 8, all <<= 8) memory_[size_++] = static_cast<uint8_t>(all >> 56);
        code_ = static_cast<uint32_t>(all >> 32);
    }

    void putMark(uint64_t mark) {
        put(static_cast<uint32_t>(mark >> 24), 24);
        put(static_cast<uint32_t>(mark & 0xFFFFFF), 24);
    }

    // Calls an encoder of the library with the bits that wait, their number, the memory behind them and its size, all
    // of which it updates.
    template <typename Encoder>
    void lend(const Encoder& encoder) {
        auto codeBits = static_cast<int32_t>(codeBits_);
        auto size = static_cast<int32_t>(memory_.size() - size_);
        encoder(&code_, &codeBits, memory_.data() + size_, &size);
        size_ += static_cast<std::size_t>(size);
        codeBits_ = static_cast<unsigned>(codeBits);
    }

    // Puts everything into memory, filled up with zeros; returns the number of bits.
    std::size_t finish() {
        const std::size_t bits = 8 * size_ + codeBits_;
        if (codeBits_ != 0) put(0, 8 - codeBits_ % 8);
        return bits;
    }

  private:
    MutableBytes memory_;
    std::size_t size_ = 0;
    uint32_t code_ = 0;
    unsigned codeBits_ = 0;
};

}  // namespace ozrz::bzip2
