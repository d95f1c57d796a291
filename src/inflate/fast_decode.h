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

// The bit buffer has room for an entry's index in bytes: two bits in front of the next one, whatever they are. Then the
// address of an entry is base plus masked buffer, which the processor adds a cycle faster than a scaled index.
constexpr unsigned kFront = 2;
static_assert(sizeof(Entry) == 1U << kFront);

// Bits that are there at least after a refill: 8 bytes less the part of the first that has been taken.
constexpr unsigned kRefill = 64 - 7 - kFront;

// Most bits of a distance that a single look-up resolves.
constexpr unsigned kMaxDirectDist = kDistRootBits + kMaxDistExtraBits;

// A refill in front of a length lasts beyond its distance; this much is left in front of the next symbol.
constexpr unsigned kBitsAtSymbol = kRefill - kLitLenRootBits - kMaxDirectDist;
static_assert(kBitsAtSymbol >= 2 * kLitLenRootBits);              // a literal, and the look-up behind it
static_assert(kBitsAtSymbol >= kLitLenRootBits + kDistRootBits);  // a length, and the look-up of its distance
static_assert(kRefill - 3 * kLitLenRootBits >= kBitsAtSymbol);    // three literals with one refill
static_assert(kRefill >= kLitLenRootBits + kMaxLengthExtraBits);
static_assert(kRefill - deflate::kMaxCodeLength >= kBitsAtSymbol);  // a literal with a long code
static_assert(kRefill - (deflate::kMaxCodeLength - kDistRootBits + kMaxDistExtraBits) >= kBitsAtSymbol);

// A pass takes at most this many bits in front of its last refill, which loads 8 bytes, the first perhaps in part.
constexpr unsigned kPassBits = 2 * kLitLenRootBits + deflate::kMaxCodeLength + kMaxLengthExtraBits + kDistRootBits;
constexpr ptrdiff_t kSourceMargin = (kPassBits + 7) / 8 + 8;

// A pass stores three literals and a match at most.
constexpr ptrdiff_t kLiterals = 3;

// The loop has two versions. As long as there is room for the longest match, and for what its copy writes too much, no
// match is checked. Towards the end of the destination each is, and copied exactly.
enum class Room { kAmple, kScarce };

template <Room kRoom>
constexpr ptrdiff_t kDestinationMargin = kLiterals;
template <>
inline constexpr ptrdiff_t kDestinationMargin<Room::kAmple> = kLiterals + deflate::kMaxMatch + kMatchOverwrite;

// Masks of the low bits.
constexpr auto MaskBits = [] {
    std::array<uint64_t, 64> masks{};
    for (unsigned n = 0; n < 64; ++n) masks[n] = (uint64_t{1} << n) - 1;
    return masks;
}();

// The bits of the source from a position on.
class BitCursor {
  public:
    BitCursor(const uint8_t* base, uint64_t position) noexcept : base_(base), front_(position - kFront) {}

    // The bits from here on.
    [[gnu::always_inline]] [[nodiscard]] uint64_t fresh() const noexcept {
        return load64(base_ + front_ / 8) >> (front_ % 8);
    }
    [[gnu::always_inline]] void refill(uint64_t bits) noexcept { bits_ = bits; }

    [[gnu::always_inline]] void drop(unsigned n) noexcept {
        bits_ >>= n;
        front_ += n;
    }
    // The entry of a table that the next `n` bits lead to.
    [[gnu::always_inline]] [[nodiscard]] Entry lookUp(const Entry* table, unsigned n) const noexcept {
        return load32(reinterpret_cast<const uint8_t*>(table) + (bits_ & MaskBits[n] << kFront));
    }
    // What the extra bits behind an entry's code add.
    [[gnu::always_inline]] [[nodiscard]] uint64_t extra(Entry e) const noexcept {
        return (bits_ & MaskBits[entry::bitsToTake(e) + kFront]) >> (entry::codeBits(e) + kFront);
    }
    [[gnu::always_inline]] [[nodiscard]] uint64_t position() const noexcept { return front_ + kFront; }

  private:
    const uint8_t* base_;
    uint64_t front_;
    uint64_t bits_ = 0;
};

template <Room kRoom>
void decodeFast(const GeneralLayout& tables, Source& source, Output& output, const History& history) noexcept {
    const Entry* const litLen = tables.litLen.data();
    const Entry* const dist = tables.dist.data();
    BitCursor in(source.begin, source.position());
    const uint64_t limit = static_cast<uint64_t>(source.end - source.begin - kSourceMargin) * 8;
    uint8_t* op = output.op;
    uint8_t* const opLimit = output.end - kDestinationMargin<kRoom>;
    const uintptr_t lowest = history.lowest;

    const auto nextLitLen = [&]() __attribute__((always_inline)) { return in.lookUp(litLen, kLitLenRootBits); };
    const auto putLiteral = [&](Entry e) __attribute__((always_inline)) {
        in.drop(entry::bitsToTake(e));
        *op++ = entry::literal(e);
    };

    in.refill(in.fresh());
    Entry e = nextLitLen();
    uint64_t symbolStart = in.position();
    while (in.position() <= limit && op <= opLimit) {
        if (e & entry::kLiteral) {
            const uint64_t fresh = in.fresh() >> entry::bitsToTake(e);
            putLiteral(e);
            e = nextLitLen();
            in.refill(fresh);
            if (e & entry::kLiteral) {
                putLiteral(e);
                e = nextLitLen();
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
        uint64_t fresh = in.fresh();
        if (!(e & entry::kLength)) [[unlikely]] {
            in.refill(fresh);
            if (entry::sort(e) == entry::kLink) {
                in.drop(kLitLenRootBits);
                e = in.lookUp(litLen + entry::linkedIndex(e), entry::codeBits(e));
                if (e & entry::kLiteral) {
                    putLiteral(e);
                    e = nextLitLen();
                    symbolStart = in.position();
                    continue;
                }
            }
            if (entry::sort(e) != entry::kLongLength && entry::sort(e) != entry::kLength) break;
            length = entry::length(e) + in.extra(e);
            in.drop(entry::bitsToTake(e));
            fresh = in.fresh();
            e = 0;  // taken
        }
        fresh >>= entry::bitsToTake(e);
        in.drop(entry::bitsToTake(e));
        Entry d = in.lookUp(dist, kDistRootBits);
        in.refill(fresh);
        if (!(d & entry::kDistance)) [[unlikely]] {
            if (entry::sort(d) != entry::kLink) break;
            in.drop(kDistRootBits);
            d = in.lookUp(dist + entry::linkedIndex(d), entry::codeBits(d));
            if (!(d & entry::kDistance)) break;
            in.refill(in.fresh());
        }
        const uint64_t distance = entry::baseDistance(d) + in.extra(d);
        in.drop(entry::bitsToTake(d));
        e = nextLitLen();
        if (kRoom == Room::kScarce && length > static_cast<uint64_t>(output.end - op)) break;
        if (distance > reinterpret_cast<uintptr_t>(op) - lowest) [[unlikely]] {
            if (!history.reaches(op, distance)) break;
            history.copyExact(op, distance, length);
        } else if constexpr (kRoom == Room::kAmple) {
            copyMatchFast(op, distance, length);
        } else {
            copyMatchExact(op, distance, length);
        }
        op += length;
        symbolStart = in.position();
    }
    source.moveTo(symbolStart);
    output.op = op;
}

inline bool roomForFastLoop(const Source& source, const Output& output) noexcept {
    return source.end - source.ip >= kSourceMargin && output.end - output.op >= kDestinationMargin<Room::kScarce> &&
           source.reaches(kFront);
}

inline void decodeFast(const GeneralLayout& tables, Source& source, Output& output, const History& history) noexcept {
    if (output.end - output.op >= kDestinationMargin<Room::kAmple>) {
        decodeFast<Room::kAmple>(tables, source, output, history);
        if (!roomForFastLoop(source, output)) return;
    }
    decodeFast<Room::kScarce>(tables, source, output, history);
}

// Runs the fast loop on tables of either kind.
template <class Tables>
class FastDecoder;

template <>
class FastDecoder<GeneralTables> {
  public:
    explicit FastDecoder(const GeneralTables& tables) noexcept : layout_(tables.layout()) {}

    void run(Source& source, Output& output, const History& history) const noexcept {
        if (roomForFastLoop(source, output)) decodeFast(layout_, source, output, history);
    }

  private:
    const GeneralLayout& layout_;
};

// Short tables are widened first, if there is enough to decode in this call to be worth it.
template <>
class FastDecoder<ShortTables> {
  public:
    explicit FastDecoder(const ShortTables& tables) noexcept : tables_(tables) {}

    void run(Source& source, Output& output, const History& history) noexcept {
        if (!roomForFastLoop(source, output)) return;
        if (!ready_) {
            if (source.end - source.ip < kWorthWidening || output.end - output.op < kWorthWidening) return;
            tables_.widen(layout_);
            ready_ = true;
        }
        decodeFast(layout_, source, output, history);
    }

  private:
    static constexpr ptrdiff_t kWorthWidening = 512;

    const ShortTables& tables_;
    GeneralLayout layout_;
    bool ready_ = false;
};

}  // namespace ozrdc::inflate
