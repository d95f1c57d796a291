// What a literal or a match becomes in the stream, all of its codes and extra bits in one word of at most 48 bits.
//
// There are two ways to the word. `CodeWords` looks up each code in the caller's tables and each count of extra bits in
// those of the format; it is ready at once. `MergedWords` has every length with its extra bits in one table, and every
// near distance in another; building them takes as long as some hundreds of records. Both give the same bits.
//
// The code tables are the caller's and not checked. Their lengths are cut to four bits, so that a record never takes
// more than the format allows, and distances to what the format can say, so that no table is left.
#pragma once

#include <array>
#include <cstdint>

#include "core/deflate_code.h"
#include "deflate/bit_writer.h"
#include "deflate/extra_bits.h"
#include "deflate/format.h"
#include "ozrdc.h"

namespace ozrdc::deflate {

// The longest words, in bits.
constexpr unsigned kMaxLiteralBits = kMaxCodeLength;
constexpr unsigned kMaxMatchBits =
    kMaxCodeLength + lengthExtraBits(kLengthCodes - 2) + kMaxCodeLength + distExtraBits(kDistCodes - 1);
static_assert(kMaxMatchBits == 48);

// In a record, the distance of a literal.
constexpr uint32_t kLiteral = 0;

namespace detail {

constexpr unsigned lengthOf(DeflateHuffCode code) noexcept { return code.len & kMaxCodeLength; }
static_assert((kMaxCodeLength & (kMaxCodeLength + 1)) == 0);  // a mask

constexpr uint32_t lowBits(uint32_t value, unsigned count) noexcept { return value & ((uint32_t{1} << count) - 1); }

}  // namespace detail

// Appends a record to an accumulator. `value` is the literal, or the length less 3 if there is a distance.
[[gnu::always_inline]] inline Bits ownAddRecDyn(Bits accumulator, uint8_t value, uint32_t distance,
                                                const DeflateHuffCode* pLitHuffCodes,
                                                const DeflateHuffCode* pDistHuffCodes) noexcept {
    const auto append = [&accumulator](uint32_t bits, unsigned count) {
        accumulator.bits |= uint64_t{bits} << (accumulator.count & 63);
        accumulator.count += count;
    };
    if (distance == kLiteral) {
        append(pLitHuffCodes[value].code, detail::lengthOf(pLitHuffCodes[value]));
        return accumulator;
    }
    const unsigned length = lengthCode(value);
    const DeflateHuffCode lengthWord = pLitHuffCodes[kFirstLengthSymbol + length];
    append(lengthWord.code, detail::lengthOf(lengthWord));
    append(detail::lowBits(value, addNumBitLenTable[length]), addNumBitLenTable[length]);

    const uint32_t less1 = (distance - 1) % kMaxDistance;
    const unsigned dist = distCode(less1 + 1);
    const DeflateHuffCode distWord = pDistHuffCodes[dist];
    append(distWord.code, detail::lengthOf(distWord));
    append(detail::lowBits(less1, addNumBitDistTable[dist]), addNumBitDistTable[dist]);
    return accumulator;
}

// Records by the caller's tables.
struct CodeWords {
    const DeflateHuffCode* lit;
    const DeflateHuffCode* dist;

    [[nodiscard, gnu::always_inline]] Bits record(uint8_t value, uint32_t distance) const noexcept {
        return ownAddRecDyn({0, 0}, value, distance, lit, dist);
    }

    [[nodiscard]] Bits endOfBlock() const noexcept {
        return {lit[kEndOfBlock].code, detail::lengthOf(lit[kEndOfBlock])};
    }
};

// Records by merged tables.
class MergedWords {
  public:
    constexpr MergedWords(const DeflateHuffCode* lit, const DeflateHuffCode* dist) noexcept {
        for (unsigned i = 0; i < 256; ++i) literals_[i] = pack(lit[i], {0, 0});
        endOfBlock_ = pack(lit[kEndOfBlock], {0, 0});
        for (unsigned i = 0; i < 256; ++i) {
            lengths_[i] = pack(lit[kFirstLengthSymbol + litCodeTable[i]], litExtTable[i]);
        }
        for (unsigned i = 0; i < kNearDistances; ++i) near_[i] = pack(dist[litCodeTable[256 + i]], distExtTable[i]);
        for (unsigned i = 0; i < kDistCodes; ++i) {
            far_[i] = packFar(dist[i], addNumBitDistTable[i]);
        }
    }

    [[nodiscard, gnu::always_inline]] Bits record(uint8_t value, uint32_t distance) const noexcept {
        if (distance == kLiteral) return unpack(literals_[value]);
        const Bits length = unpack(lengths_[value]);
        const Bits dist = distanceBits((distance - 1) % kMaxDistance);
        return {length.bits | dist.bits << (length.count & 63), length.count + dist.count};
    }

    [[nodiscard]] Bits endOfBlock() const noexcept { return unpack(endOfBlock_); }

  private:
    // A code with its extra bits, at most 22 bits, above their count.
    static constexpr unsigned kCountBits = 8;

    static constexpr uint32_t pack(DeflateHuffCode code, ExtraBits extra) noexcept {
        const unsigned length = detail::lengthOf(code);
        const uint32_t bits = code.code | static_cast<uint32_t>(extra.value) << length;
        return bits << kCountBits | (length + extra.count);
    }
    [[gnu::always_inline]] static Bits unpack(uint32_t word) noexcept {
        return {word >> kCountBits, word & ((1U << kCountBits) - 1)};
    }

    // A code of far distances, above it the mask of their extra bits, its length, and its length with the extra bits.
    // One word, because compilers take small structs apart through memory.
    static constexpr uint64_t packFar(DeflateHuffCode code, unsigned extra) noexcept {
        const uint64_t length = detail::lengthOf(code);
        return code.code | ((uint64_t{1} << extra) - 1) << 16 | length << 32 | (length + extra) << 40;
    }
    [[gnu::always_inline]] static Bits unpackFar(uint64_t far, uint32_t less1) noexcept {
        const uint32_t extra = less1 & static_cast<uint16_t>(far >> 16);
        return {static_cast<uint16_t>(far) | uint64_t{extra} << ((far >> 32) & 63), static_cast<unsigned>(far >> 40)};
    }

    [[nodiscard, gnu::always_inline]] Bits distanceBits(uint32_t less1) const noexcept {
        if (less1 < kNearDistances) return unpack(near_[less1]);
        return unpackFar(far_[litCodeTable[512 + (less1 >> kFarShift)]], less1);
    }

    uint32_t endOfBlock_{};
    std::array<uint32_t, 256> literals_{};
    std::array<uint32_t, 256> lengths_{};
    std::array<uint32_t, kNearDistances> near_{};
    std::array<uint64_t, kDistCodes> far_{};
};

}  // namespace ozrdc::deflate
