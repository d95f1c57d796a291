// Bits most significant first, from an accumulator that the caller keeps between calls, to a destination that may be
// too small: what does not fit stays pending, and of more than 32 pending bits the last are lost.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "bz2/huffman_format.h"
#include "core/unaligned.h"
#include "ozrdc.h"

namespace ozrdc::bz2 {

class BitOutput {
  public:
    BitOutput(uint32_t code, int32_t codeLenBits, uint8_t* dst, int32_t dstLen) noexcept
        : bits_(uint64_t{code} << 32 & ~lowBits(64 - static_cast<unsigned>(codeLenBits))),
          pending_(static_cast<uint64_t>(codeLenBits)),
          begin_(dst),
          dst_(dst),
          end_(dst + dstLen) {}

    // Appends the low `n` bits of `value`, at most 20; those above them are 0.
    [[gnu::always_inline]] void put(uint32_t value, unsigned n) noexcept {
        if (n > 0 && pending_ + n <= 64) [[likely]]
            bits_ |= uint64_t{value} << (64 - n) >> pending_;
        pending_ += n;
        emit();
    }

    // Writes the whole bytes that are pending, as far as there is room.
    [[gnu::always_inline]] void emit() noexcept {
        while (pending_ >= 8 && dst_ < end_) {
            *dst_++ = static_cast<uint8_t>(bits_ >> 56);
            bits_ <<= 8;
            pending_ -= 8;
        }
    }

    // Hands over to a loop that writes without a look at the room, and back. Less than 8 bits are pending then.
    struct Cursor {
        uint64_t bits;  // left-aligned
        unsigned pending;
        uint8_t* dst;
    };
    [[nodiscard]] ptrdiff_t room() const noexcept { return end_ - dst_; }
    [[nodiscard]] Cursor cursor() const noexcept { return {bits_, static_cast<unsigned>(pending_), dst_}; }
    void resume(const Cursor& at) noexcept {
        bits_ = at.bits;
        pending_ = at.pending;
        dst_ = at.dst;
    }

    // Gives the results of a call to its arguments.
    Status finish(uint32_t* pCode, int32_t* pCodeLenBits, int32_t* pDstLen) const noexcept {
        constexpr uint64_t kMost = std::numeric_limits<int32_t>::max();
        *pCode = static_cast<uint32_t>(bits_ >> 32);
        *pCodeLenBits = static_cast<int32_t>(std::min(pending_, kMost));
        *pDstLen = static_cast<int32_t>(dst_ - begin_);
        return pending_ > kAccumulatorBits ? StatusDestinationFull : StatusOk;
    }

  private:
    static constexpr uint64_t lowBits(unsigned n) noexcept { return n >= 64 ? ~uint64_t{0} : (uint64_t{1} << n) - 1; }

    uint64_t bits_;  // left-aligned, zeros below the pending ones
    uint64_t pending_;
    uint8_t* begin_;
    uint8_t* dst_;
    uint8_t* end_;
};

}  // namespace ozrdc::bz2
