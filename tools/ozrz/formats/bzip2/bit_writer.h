// Writes bits, most significant first, into memory that is large enough.
#pragma once

#include <ozrdc/bz2.hpp>

#include "bytes.h"

namespace ozrz::bzip2 {

// Up to 32 bits wait in the writer between calls; what is before them is in memory.
class BitWriter {
  public:
    explicit BitWriter(MutableBytes memory) : memory_(memory) {}

    // `bits` has no ones above bit `count`, which is 1 to 32.
    void put(uint32_t bits, unsigned count) {
        uint64_t all = uint64_t{bits_.word} << 32 | uint64_t{bits} << (64 - waiting() - count);
        bits_.count += static_cast<int32_t>(count);
        for (; bits_.count >= 8; bits_.count -= 8, all <<= 8) memory_[size_++] = static_cast<uint8_t>(all >> 56);
        bits_.word = static_cast<uint32_t>(all >> 32);
    }

    void putMark(uint64_t mark) {
        put(static_cast<uint32_t>(mark >> 24), 24);
        put(static_cast<uint32_t>(mark & 0xFFFFFF), 24);
    }

    // Calls an encoder of the library with the bits that wait, which it updates, and the memory behind them, of which
    // it tells how much it used.
    template <typename Encoder>
    void lend(const Encoder& encoder) {
        size_ += encoder(bits_, memory_.subspan(size_));
    }

    // Puts everything into memory, filled up with zeros; returns the number of bits.
    std::size_t finish() {
        const std::size_t bits = 8 * size_ + waiting();
        if (bits_.count != 0) put(0, 8 - waiting() % 8);
        return bits;
    }

  private:
    unsigned waiting() const { return static_cast<unsigned>(bits_.count); }

    MutableBytes memory_;
    std::size_t size_ = 0;
    ozrdc::bz2::PendingBits bits_;
};

}  // namespace ozrz::bzip2
