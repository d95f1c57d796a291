// The fast loop: whole symbols, as long as both buffers have room for the largest.
//
// What bounds it is the chain from one table entry to the next: take the entry's bits, index, load. So nothing else
// stands in that chain. The bit buffer is not carried on but loaded anew, from the position that is the sum of the bits
// taken so far, in the shadow of a look-up that the bits before it still suffice for; and the next symbol is looked up
// before a match is copied.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/match_copy.h"
#include "core/unaligned.h"
#include "inflate/lookup.h"
#include "inflate/stream.h"
#include "inflate/tables.h"
#include "inflate/window.h"

namespace ozrdc::inflate {

// Bits that are there at least after a refill: 8 bytes less the part of the first that has been taken.
constexpr unsigned kRefill = 64 - 7;

constexpr unsigned kMaxLengthBits = deflate::kMaxCodeLength + 5;
constexpr unsigned kMaxDistExtraBits = 13;

// A pass takes at most this many bits in front of its last refill, which loads 8 bytes, the first perhaps in part.
template <unsigned kLitLenBits, unsigned kDistBits>
constexpr ptrdiff_t kSourceMargin = (2 * kLitLenBits + kMaxLengthBits + kDistBits + 7) / 8 + 8;

// A pass stores three literals and the longest match at most.
constexpr ptrdiff_t kDestinationMargin = 3 + deflate::kMaxMatch + kMatchOverwrite;

// Masks of the low bits.
constexpr auto MaskBits = [] {
    std::array<uint64_t, 64> masks{};
    for (unsigned n = 0; n < 64; ++n) masks[n] = (uint64_t{1} << n) - 1;
    return masks;
}();

// The bits of the source from a position on.
class BitCursor {
  public:
    BitCursor(const uint8_t* base, uint64_t position) noexcept : base_(base), position_(position) {}

    [[gnu::always_inline]] void refill() noexcept { bits_ = load64(base_ + position_ / 8) >> (position_ % 8); }
    [[gnu::always_inline]] void drop(unsigned n) noexcept {
        bits_ >>= n;
        position_ += n;
    }
    [[gnu::always_inline]] [[nodiscard]] uint64_t bits() const noexcept { return bits_; }
    [[gnu::always_inline]] [[nodiscard]] uint64_t position() const noexcept { return position_; }

  private:
    const uint8_t* base_;
    uint64_t position_;
    uint64_t bits_ = 0;
};

template <unsigned kLitLenBits, unsigned kDistBits>
void decodeFast(const Entry* litLen, const Entry* dist, Source& source, Output& output,
                const History& history) noexcept {
    // What a refill leaves for the symbols up to the next one.
    constexpr unsigned afterDistance = kRefill - (kDistBits + kMaxDistExtraBits);
    static_assert(afterDistance >= 3 * kLitLenBits);              // two literals and the next look-up
    static_assert(afterDistance >= 2 * kLitLenBits + kDistBits);  // a literal, a length and the look-up of its distance
    static_assert(kRefill - kLitLenBits >= afterDistance);        // the third literal
    static_assert(kRefill >= kMaxLengthBits + kDistBits);
    static_assert(kRefill >= deflate::kMaxCodeLength - kDistBits + kMaxDistExtraBits + 3 * kLitLenBits);

    BitCursor in(source.begin, static_cast<uint64_t>(source.ip - source.begin) * 8 - source.held);
    const uint64_t limit = static_cast<uint64_t>(source.end - source.begin - kSourceMargin<kLitLenBits, kDistBits>) * 8;
    uint8_t* op = output.op;
    uint8_t* const opLimit = output.end - kDestinationMargin;
    const uintptr_t lowest = history.lowest;

    const auto nextLitLen = [&]() __attribute__((always_inline)) { return litLen[in.bits() & MaskBits[kLitLenBits]]; };
    const auto putLiteral = [&](Entry e) __attribute__((always_inline)) {
        in.drop(entry::bitsToTake(e));
        *op++ = entry::literal(e);
    };

    in.refill();
    Entry e = nextLitLen();
    uint64_t symbolStart = in.position();
    while (in.position() <= limit && op <= opLimit) {
        if (e & entry::kLiteral) {
            putLiteral(e);
            e = nextLitLen();
            if (e & entry::kLiteral) {
                putLiteral(e);
                e = nextLitLen();
                in.refill();
                if (e & entry::kLiteral) {
                    putLiteral(e);
                    e = nextLitLen();
                    symbolStart = in.position();
                    continue;
                }
            }
        }
        symbolStart = in.position();
        uint64_t length = entry::length(e);
        if (!(e & entry::kLength)) [[unlikely]] {
            in.refill();
            if (entry::sort(e) == entry::kLink) {
                in.drop(kLitLenBits);
                e = litLen[entry::linkedIndex(e) + (in.bits() & MaskBits[entry::codeBits(e)])];
                if (e & entry::kLiteral) {
                    putLiteral(e);
                    e = nextLitLen();
                    in.refill();
                    symbolStart = in.position();
                    continue;
                }
            }
            length = entry::length(e);
            if (entry::sort(e) == entry::kLongLength) {
                length += (in.bits() & MaskBits[entry::bitsToTake(e)]) >> entry::codeBits(e);
            } else if (!(e & entry::kLength)) {
                break;
            }
        }
        in.drop(entry::bitsToTake(e));
        Entry d = dist[in.bits() & MaskBits[kDistBits]];
        in.refill();
        if (!(d & entry::kDistance)) [[unlikely]] {
            if (entry::sort(d) != entry::kLink) break;
            in.drop(kDistBits);
            d = dist[entry::linkedIndex(d) + (in.bits() & MaskBits[entry::codeBits(d)])];
            if (!(d & entry::kDistance)) break;
            in.refill();
        }
        const uint64_t distance =
            entry::baseDistance(d) + ((in.bits() & MaskBits[entry::bitsToTake(d)]) >> entry::codeBits(d));
        in.drop(entry::bitsToTake(d));
        e = nextLitLen();
        if (distance > reinterpret_cast<uintptr_t>(op) - lowest) [[unlikely]] {
            if (!history.reaches(op, distance)) break;
            history.copyExact(op, distance, length);
        } else {
            copyMatchFast(op, distance, length);
        }
        op += length;
        symbolStart = in.position();
    }
    source.moveTo(symbolStart);
    output.op = op;
}

template <class Tables>
class FastDecoder {
  public:
    explicit FastDecoder(const Tables&) noexcept {}
    void run(Source&, Output&, const History&) noexcept {}
};

template <>
class FastDecoder<GeneralTables> {
  public:
    explicit FastDecoder(const GeneralTables& tables) noexcept : layout_(tables.layout()) {}
    void run(Source& source, Output& output, const History& history) const noexcept {
        if (!source.positioned() || source.end - source.ip < kSourceMargin<kLitLenRootBits, kDistRootBits> ||
            output.end - output.op < kDestinationMargin) {
            return;
        }
        decodeFast<kLitLenRootBits, kDistRootBits>(layout_.litLen.data(), layout_.dist.data(), source, output, history);
    }

  private:
    const GeneralLayout& layout_;
};

}  // namespace ozrdc::inflate
