// Between the coefficients of a block and their bit planes.
//
// Plane k holds bit k of the 64 coefficients in negabinary, in coding order, the first lowest. Coefficients are first
// cut into their four bytes, so that 64 bytes of equal significance fill four vectors; these are brought into coding
// order by byte shuffles; and eight planes of 64 bits are the transpose of a matrix of 64 bytes of 8 bits.
#pragma once

#include <smmintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "core/unaligned.h"
#include "zfp/format.h"
#include "zfp/transform.h"

namespace ozrdc::zfp {

constexpr size_t kBytes = 4;  // of a coefficient
constexpr size_t kPlanesOfByte = 8;
static_assert(kBytes * kPlanesOfByte == kPlanes);

// One byte of each coefficient, 16 to a vector.
struct ByteRow {
    __m128i parts[kValues / 16];
};
// All of them, the least significant first.
using ByteRows = std::array<ByteRow, kBytes>;

namespace detail {

// Shuffles that bring the 64 bytes of a row into another order: byte i of the result is byte `order[i]` of the source.
// Vector r of the result is put together from shuffles of every vector s that it takes bytes from.
struct RowShuffle {
    alignas(16) std::array<std::array<std::array<uint8_t, 16>, 4>, 4> picks{};  // [r][s]
    std::array<std::array<bool, 4>, 4> used{};

    explicit constexpr RowShuffle(const Permutation& order) {
        constexpr uint8_t kNothing = 0x80;
        for (size_t i = 0; i < kValues; ++i) {
            for (size_t s = 0; s < 4; ++s) picks[i / 16][s][i % 16] = kNothing;
            picks[i / 16][order[i] / 16][i % 16] = order[i] % 16;
            used[i / 16][order[i] / 16] = true;
        }
    }
};

inline constexpr RowShuffle kToCodingOrder(permTable);
inline constexpr RowShuffle kFromCodingOrder(permTableDecode);

template <const RowShuffle& shuffle, size_t r>
[[gnu::always_inline]] inline __m128i shuffledVector(const ByteRow& row) noexcept {
    return [&]<size_t... s>(std::index_sequence<s...>) __attribute__((always_inline)) {
        __m128i result = _mm_setzero_si128();
        const auto add = [&]<size_t source>(std::integral_constant<size_t, source>) __attribute__((always_inline)) {
            if constexpr (shuffle.used[r][source]) {
                result =
                    _mm_or_si128(result, _mm_shuffle_epi8(row.parts[source], load128(shuffle.picks[r][source].data())));
            }
        };
        (add(std::integral_constant<size_t, s>{}), ...);
        return result;
    }
    (std::make_index_sequence<4>{});
}

template <const RowShuffle& shuffle>
[[gnu::always_inline]] inline ByteRow shuffled(const ByteRow& row) noexcept {
    return {{shuffledVector<shuffle, 0>(row), shuffledVector<shuffle, 1>(row), shuffledVector<shuffle, 2>(row),
             shuffledVector<shuffle, 3>(row)}};
}

// The bytes of four 32-bit lanes by significance, and back.
[[gnu::always_inline]] inline __m128i byteTranspose(__m128i v) noexcept {
    return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
}

// Exchanges the bits under `mask` with those `distance` higher.
template <int distance>
[[gnu::always_inline]] inline __m128i exchangeBits(__m128i v, int64_t mask) noexcept {
    const __m128i different = _mm_and_si128(_mm_xor_si128(v, _mm_srli_epi64(v, distance)), _mm_set1_epi64x(mask));
    return _mm_xor_si128(v, _mm_xor_si128(different, _mm_slli_epi64(different, distance)));
}

// Transposes the 8 x 8 bits of each half.
[[gnu::always_inline]] inline __m128i bitTranspose(__m128i v) noexcept {
    v = exchangeBits<7>(v, 0x00AA00AA00AA00AA);
    v = exchangeBits<14>(v, 0x0000CCCC0000CCCC);
    return exchangeBits<28>(v, 0x00000000F0F0F0F0);
}

}  // namespace detail

// Coefficients in two's complement to negabinary, and back.
[[gnu::always_inline]] inline __m128i toNegabinary(__m128i v) noexcept {
    const __m128i mask = _mm_set1_epi32(static_cast<int32_t>(kNegabinaryMask));
    return _mm_xor_si128(_mm_add_epi32(v, mask), mask);
}
[[gnu::always_inline]] inline __m128i fromNegabinary(__m128i v) noexcept {
    const __m128i mask = _mm_set1_epi32(static_cast<int32_t>(kNegabinaryMask));
    return _mm_sub_epi32(_mm_xor_si128(v, mask), mask);
}

// The bytes of the coefficients in negabinary, in the order of their indices.
[[gnu::always_inline]] inline ByteRows bytesOf(const Block& block) noexcept {
    ByteRows rows;
    for (size_t z = 0; z < kSide; ++z) {
        __m128i v[kSide];
        for (size_t y = 0; y < kSide; ++y) v[y] = detail::byteTranspose(toNegabinary(block.rows[kSide * z + y]));
        transpose(v[0], v[1], v[2], v[3]);
        for (size_t b = 0; b < kBytes; ++b) rows[b].parts[z] = v[b];
    }
    return rows;
}

[[gnu::always_inline]] inline Block fromBytes(const ByteRows& rows) noexcept {
    Block block;
    for (size_t z = 0; z < kSide; ++z) {
        __m128i v[kSide] = {rows[0].parts[z], rows[1].parts[z], rows[2].parts[z], rows[3].parts[z]};
        transpose(v[0], v[1], v[2], v[3]);
        for (size_t y = 0; y < kSide; ++y) block.rows[kSide * z + y] = fromNegabinary(detail::byteTranspose(v[y]));
    }
    return block;
}

// The planes of one byte of the coefficients, the most significant first.
class PlanesOfByte {
  public:
    explicit PlanesOfByte(const ByteRow& row) noexcept : row_(detail::shuffled<detail::kToCodingOrder>(row)) {}

    [[gnu::always_inline]] uint64_t next() noexcept {
        std::array<uint64_t, 4> bits;
        for (size_t i = 0; i < 4; ++i) {
            bits[i] = static_cast<uint32_t>(_mm_movemask_epi8(row_.parts[i]));
            row_.parts[i] = _mm_add_epi8(row_.parts[i], row_.parts[i]);
        }
        return (bits[0] | bits[1] << 16) | (bits[2] | bits[3] << 16) << 32;
    }

  private:
    ByteRow row_;
};

// The byte of each coefficient, in the order of their indices, that has these planes, the least significant first.
[[gnu::always_inline]] inline ByteRow byteOfPlanes(const uint64_t* planes) noexcept {
    const __m128i pairs = _mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15);
    __m128i v[4];
    for (size_t i = 0; i < 4; ++i) v[i] = _mm_shuffle_epi8(load128(planes + 2 * i), pairs);
    const __m128i low03 = _mm_unpacklo_epi16(v[0], v[1]);
    const __m128i high03 = _mm_unpackhi_epi16(v[0], v[1]);
    const __m128i low47 = _mm_unpacklo_epi16(v[2], v[3]);
    const __m128i high47 = _mm_unpackhi_epi16(v[2], v[3]);
    const ByteRow coded = {{detail::bitTranspose(_mm_unpacklo_epi32(low03, low47)),
                            detail::bitTranspose(_mm_unpackhi_epi32(low03, low47)),
                            detail::bitTranspose(_mm_unpacklo_epi32(high03, high47)),
                            detail::bitTranspose(_mm_unpackhi_epi32(high03, high47))}};
    return detail::shuffled<detail::kFromCodingOrder>(coded);
}

}  // namespace ozrdc::zfp
