// Bits most significant first, to a destination that may fill up: what does not fit stays pending.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/unaligned.h"
#include "lzss/format.h"

namespace ozrdc::lzss {

class BitOutput {
  public:
    // `bits` are left-aligned, with zeros behind the pending ones.
    BitOutput(uint64_t bits, uint32_t pending, uint8_t* dst, ptrdiff_t room) noexcept
        : bits_(bits), pending_(pending), dst_(dst), end_(dst + room) {}

    // Appends a token; less than a byte may be pending.
    [[gnu::always_inline]] void literal(uint8_t byte) noexcept {
        put(uint64_t{1} << (kLiteralBits - 1) | byte, kLiteralBits);
    }
    [[gnu::always_inline]] void match(uint32_t length, uint32_t distance) noexcept {
        put(uint64_t{distance} << kLengthBits | (length - kMinMatch), kMatchBits);
    }

    // Writes the whole bytes that are pending, as far as there is room. False if the destination is full then.
    [[gnu::always_inline]] bool emit() noexcept {
        // What is stored beyond the whole bytes is stored again next time, unless it is behind the end of the stream.
        constexpr ptrdiff_t kStore = sizeof(uint64_t);
        static_assert((kMatchBits + kByteBits - 1) / kByteBits < kStore);
        if (end_ - dst_ >= kStore) [[likely]] {
            store64(dst_, __builtin_bswap64(bits_));
            dst_ += pending_ / kByteBits;
            bits_ <<= pending_ & ~(kByteBits - 1);
            pending_ %= kByteBits;
            return true;
        }
        while (pending_ >= kByteBits && dst_ < end_) emitByte();
        return dst_ < end_;
    }

    // Writes all that is pending, zeros behind it. False if something is left for which there is no room.
    bool emitAll() noexcept {
        while (pending_ > 0) {
            if (dst_ == end_) return false;
            emitByte();
        }
        return true;
    }

    [[nodiscard]] uint64_t bits() const noexcept { return bits_; }
    [[nodiscard]] uint32_t pending() const noexcept { return pending_; }
    [[nodiscard]] uint8_t* cursor() const noexcept { return dst_; }
    [[nodiscard]] ptrdiff_t room() const noexcept { return end_ - dst_; }

  private:
    [[gnu::always_inline]] void put(uint64_t token, unsigned n) noexcept {
        bits_ |= token << (64 - n) >> pending_;
        pending_ += n;
    }
    void emitByte() noexcept {
        *dst_++ = static_cast<uint8_t>(bits_ >> (64 - kByteBits));
        bits_ <<= kByteBits;
        pending_ -= pending_ < kByteBits ? pending_ : kByteBits;
    }

    uint64_t bits_;
    uint32_t pending_;
    uint8_t* dst_;
    uint8_t* end_;
};

}  // namespace ozrdc::lzss
