// CRCs by tables: slicing by 16.
//
// A CRC is linear, so the register after 16 bytes is the XOR of 16 parts, one for each byte, and each part is a table
// entry: table k holds the CRC of every byte followed by k zero bytes. The register itself is XORed into the first four
// bytes. Only these four look-ups wait for the previous step; the other twelve run ahead, which is what makes sixteen
// tables (16 KB, half of a first-level cache) faster than eight.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "checksum/polynomial.h"
#include "core/unaligned.h"

namespace ozrdc {

using ByteTable = std::array<uint32_t, 256>;

constexpr size_t kSlices = 16;
using SlicingTables = std::array<ByteTable, kSlices>;  // [k][b]: the CRC of byte b followed by k zero bytes

// For a register that shifts right, so that the byte that leaves first is the low one. Least significant bit first, the
// register holds the CRC's coefficients reflected; most significant bit first, it is the CRC with its bytes swapped.
template <BitOrder order>
constexpr SlicingTables makeSlicingTables(uint32_t polynomial) {
    SlicingTables tables{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        const auto first = static_cast<uint32_t>(order == BitOrder::LeastFirst ? reflect(byte, 8) : byte);
        uint32_t crc = first << 24;
        for (auto& table : tables) {
            for (int bit = 0; bit < 8; ++bit) crc = timesX(crc, polynomial);
            table[byte] =
                order == BitOrder::LeastFirst ? static_cast<uint32_t>(reflect(crc, 32)) : __builtin_bswap32(crc);
        }
    }
    return tables;
}

// Advances the register over one byte.
[[gnu::always_inline]] inline uint32_t sliceByte(const SlicingTables& tables, uint32_t r, uint8_t byte) noexcept {
    return (r >> 8) ^ tables[0][(r ^ byte) & 0xFF];
}

namespace detail {

// The parts of the first `bytes` bytes of `word`, of which the first is followed by `firstSlice` more bytes in its
// step.
template <size_t firstSlice, size_t bytes>
[[gnu::always_inline]] inline uint32_t sliceWord(const SlicingTables& tables, uint64_t word) noexcept {
    uint32_t r = 0;
#pragma GCC unroll 8
    for (size_t i = 0; i < bytes; ++i) r ^= tables[firstSlice - i][(word >> (8 * i)) & 0xFF];
    return r;
}

}  // namespace detail

// Advances the register over fewer than 16 bytes.
[[gnu::always_inline]] inline uint32_t sliceShort(const SlicingTables& tables, uint32_t r, const uint8_t* p,
                                                  size_t len) noexcept {
    if ((len & 8) != 0) {
        r = detail::sliceWord<7, 8>(tables, load64(p) ^ r);
        p += 8;
    }
    if ((len & 4) != 0) {
        r = detail::sliceWord<3, 4>(tables, load32(p) ^ r);
        p += 4;
    }
    for (const uint8_t* const end = p + (len & 3); p != end; ++p) r = sliceByte(tables, r, *p);
    return r;
}

// Advances the register over any number of bytes.
[[gnu::always_inline]] inline uint32_t sliceBytes(const SlicingTables& tables, uint32_t r, const uint8_t* p,
                                                  size_t len) noexcept {
    for (; len >= 16; len -= 16, p += 16) {
        const uint32_t ahead =
            detail::sliceWord<7, 8>(tables, load64(p + 8)) ^ detail::sliceWord<11, 4>(tables, load32(p + 4));
        r = detail::sliceWord<15, 4>(tables, load32(p) ^ r) ^ ahead;
    }
    return sliceShort(tables, r, p, len);
}

}  // namespace ozrdc
