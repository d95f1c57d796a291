// Writes a Deflate bit stream: bits are collected from the least significant on and stored as whole bytes.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/unaligned.h"

namespace ozrdc::deflate {

// A few bits of the stream; those above `count` are zero.
struct Bits {
    uint64_t bits;
    unsigned count;
};

// The caller keeps the bits that do not fill a byte, in a 16-bit word.
constexpr unsigned kCallerBits = 16;

struct BitWriter {
    uint64_t bits;
    unsigned count;
    uint8_t* dst;

    // Begins with the caller's bits. Those above `lenBits` count for nothing, and lengths that the word cannot have are
    // taken for the nearest that it can.
    BitWriter(uint16_t code, int32_t lenBits, uint8_t* destination) noexcept
        : count(static_cast<unsigned>(std::clamp(lenBits, 0, int32_t{kCallerBits}))), dst(destination) {
        bits = code & ((uint32_t{1} << count) - 1);
    }

    // The sum of the counts must stay below 64.
    [[gnu::always_inline]] void put(const Bits more) noexcept {
        bits |= more.bits << count;
        count += more.count;
    }

    // Stores the whole bytes, after which 0 to 7 bits are left. Writes 8 bytes, whatever their number.
    [[gnu::always_inline]] void storeWide() noexcept {
        store64(dst, bits);
        dst += count / 8;
        bits >>= count & 56;
        count &= 7;
    }

    // The same, and writes nothing but the whole bytes.
    [[gnu::always_inline]] void storeExact() noexcept {
        for (; count >= 8; count -= 8, bits >>= 8) *dst++ = static_cast<uint8_t>(bits);
    }

    // The same, as long as there is room.
    void storeExact(const uint8_t* end) noexcept {
        for (; count >= 8 && dst < end; count -= 8, bits >>= 8) *dst++ = static_cast<uint8_t>(bits);
    }

    // Gives the bits that are left back to the caller, after the whole bytes were stored.
    void giveBack(uint16_t* pCode, int32_t* pCodeLenBits) const noexcept {
        *pCode = static_cast<uint16_t>(bits & ((uint32_t{1} << count) - 1));
        *pCodeLenBits = static_cast<int32_t>(count);
    }
};

}  // namespace ozrdc::deflate
