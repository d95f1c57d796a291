// Bits most significant first, from a source and from the accumulator that the caller keeps between calls.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bz2/huffman_format.h"
#include "core/unaligned.h"

namespace ozrdc::bz2 {

class BitInput {
  public:
    BitInput(uint32_t code, int32_t codeLenBits, const uint8_t* src, ptrdiff_t srcLen) noexcept
        : bits_(uint64_t{code} << 32),
          count_(static_cast<unsigned>(codeLenBits)),
          begin_(src),
          src_(src),
          end_(src + srcLen) {
        mask();
    }

    // The next `n` bits, 1 to 32.
    [[gnu::always_inline]] [[nodiscard]] uint32_t peek(unsigned n) const noexcept {
        return static_cast<uint32_t>(bits_ >> (64 - n));
    }
    // All of the next bits, left-aligned; behind the last are others.
    [[gnu::always_inline]] [[nodiscard]] uint64_t bits() const noexcept { return bits_; }
    [[gnu::always_inline]] [[nodiscard]] unsigned count() const noexcept { return count_; }
    [[gnu::always_inline]] void drop(unsigned n) noexcept {
        bits_ <<= n;
        count_ -= n;
    }

    // Refills to 56 bits at least, while there are as many bytes as a load takes.
    static constexpr ptrdiff_t kLoad = 8;
    static constexpr unsigned kRefill = 56;
    [[gnu::always_inline]] void refillFast() noexcept {
        // What the load brings beyond whole bytes is loaded again next time, to the same place.
        bits_ |= __builtin_bswap64(load64(src_)) >> count_;
        src_ += (63 - count_) / 8;
        count_ |= kRefill;
    }
    // Refills to 56 bits, or to the end of the source.
    [[gnu::always_inline]] void refill() noexcept {
        if (end_ - src_ >= kLoad && count_ < 64) [[likely]] {
            refillFast();
            return;
        }
        mask();
        for (; count_ < kRefill && src_ < end_; count_ += 8) bits_ |= uint64_t{*src_++} << (56 - count_);
    }
    [[nodiscard]] ptrdiff_t left() const noexcept { return end_ - src_; }

    // Gives bytes back to the source until at most `most` bits are pending, or none is left that came from there.
    void giveBack(unsigned most) noexcept {
        for (; count_ > most && src_ > begin_; count_ -= 8) --src_;
        mask();
    }

    // Gives the results of a call to its arguments; at most 32 bits stay pending.
    void finish(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc, int32_t* pSrcLen) noexcept {
        giveBack(kAccumulatorBits);
        *pCode = static_cast<uint32_t>(bits_ >> 32);
        *pCodeLenBits = static_cast<int32_t>(count_);
        *pSrcLen -= static_cast<int32_t>(src_ - begin_);
        *ppSrc = src_;
    }

  private:
    // Clears what is behind the last bit.
    void mask() noexcept { bits_ &= count_ == 0 ? 0 : ~uint64_t{0} << (64 - count_); }

    uint64_t bits_;
    unsigned count_;
    const uint8_t* begin_;
    const uint8_t* src_;
    const uint8_t* end_;
};

}  // namespace ozrdc::bz2
