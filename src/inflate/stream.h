// The source as a stream of bits, and the destination.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ozrdc::inflate {

// Bits that the caller may hold between calls.
constexpr uint32_t kMaxPendingBits = 32;

struct Source {
    const uint8_t* ip;
    const uint8_t* end;
    uint64_t bits;         // least significant first; zeros above the bits that are held
    uint32_t held;         // number of bits
    const uint8_t* begin;  // of what this call may hand back

    Source(const uint8_t* src, uint32_t length, uint32_t code, uint32_t codeBits) noexcept
        : ip(src), end(src + length), bits(code & ((uint64_t{1} << codeBits) - 1)), held(codeBits), begin(src) {}

    // Appends a byte; false if there is none.
    bool pullByte() noexcept {
        if (ip == end) return false;
        bits |= uint64_t{*ip++} << held;
        held += 8;
        return true;
    }
    // Appends bytes until `n` bits are held; false if they run out.
    bool pull(uint32_t n) noexcept {
        while (held < n) {
            if (!pullByte()) return false;
        }
        return true;
    }
    void drop(uint32_t n) noexcept {
        bits >>= n;
        held -= n;
    }
    uint32_t take(uint32_t n) noexcept {
        const auto value = static_cast<uint32_t>(bits & ((uint64_t{1} << n) - 1));
        drop(n);
        return value;
    }
    // The place of the next bit, in bits from `begin`. Bits that came in with the call have none.
    [[nodiscard]] uint64_t position() const noexcept { return static_cast<uint64_t>(ip - begin) * 8 - held; }
    [[nodiscard]] bool reaches(uint64_t place) const noexcept {
        return held + place <= static_cast<uint64_t>(ip - begin) * 8;
    }

    // Goes to a place, in bits from `begin`, at most 7 bits of which this call did not take.
    void moveTo(uint64_t position) noexcept {
        ip = begin + (position + 7) / 8;
        held = static_cast<uint32_t>(-position & 7);
        bits = held == 0 ? 0 : uint64_t{ip[-1]} >> (8 - held);
    }
    // Gives whole bytes back, as far as this call took them.
    void handBack() noexcept {
        const auto bytes = static_cast<uint32_t>(std::min<ptrdiff_t>(held / 8, ip - begin));
        ip -= bytes;
        held -= bytes * 8;
        bits &= (uint64_t{1} << held) - 1;
    }
};

struct Output {
    uint8_t* op;
    uint8_t* end;

    Output(uint8_t* dst, uint32_t length) noexcept : op(dst), end(dst + length) {}

    [[nodiscard]] bool full() const noexcept { return op == end; }
    [[nodiscard]] uint64_t room() const noexcept { return static_cast<uint64_t>(end - op); }
};

}  // namespace ozrdc::inflate
