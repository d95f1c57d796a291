// The walk that undoes the block sort, shared by the plain inverse transform and the decoder of blocks.
//
// With L the last column, row i of the sorted rotations is followed (one position on in the block) by row T(i), where
// T numbers the occurrences of byte 0 in L from the top, then those of byte 1, and so on. From the row of the block
// itself, T visits the rows of all its rotations in the order of the block, and L of each is the block's next byte.
#pragma once

#include <cstddef>
#include <cstdint>

#include "bz2/bytes.h"
#include "core/unaligned.h"

namespace ozrdc::bz2 {

// One 32-bit entry a row, at any address: L in the low 8 bits, a row in the upper 24.
class PackedRows {
  public:
    explicit PackedRows(uint8_t* at) noexcept : at_(at) {}

    [[nodiscard]] uint32_t get(size_t row) const noexcept { return load32(at_ + sizeof(uint32_t) * row); }
    void set(size_t row, uint32_t entry) const noexcept { store32(at_ + sizeof(uint32_t) * row, entry); }
    // Four rows with the same entry.
    void setFour(size_t row, __m128i entries) const noexcept { store128(at_ + sizeof(uint32_t) * row, entries); }
    [[nodiscard]] uint8_t byteOf(size_t row) const noexcept { return at_[sizeof(uint32_t) * row]; }

    static constexpr unsigned kByteBits = 8;
    static constexpr uint32_t kMaxRows = (uint32_t{1} << (32 - kByteBits)) - 1;

  private:
    uint8_t* at_;
};

// Writes the n bytes of the block to `dst`. On entry the n rows (1 to kMaxRows of them) hold their bytes and nothing in
// the upper bits, `counts` tells how often each byte occurs, and `index` is a row.
void invert(PackedRows rows, uint32_t n, const ByteCounts& counts, uint32_t index, uint8_t* dst) noexcept;

// The definition as it stands, for blocks of any length: n links of 32 bits, at any address.
void invertWide(const uint8_t* lastColumn, uint32_t n, uint32_t index, uint8_t* dst, uint8_t* links) noexcept;

}  // namespace ozrdc::bz2
