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
#include "core/opaque.h"
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

// A pass takes at most this many bits in front of its last refill, which loads 8 bytes, the first perhaps in part: two
// literals, and a length and a distance with links. Entries that were never built count too.
constexpr unsigned kPassBits = 3 * entry::kMaxBitsToTake + kLitLenRootBits + kDistRootBits;
constexpr ptrdiff_t kSourceMargin = (kPassBits + 7) / 8 + 8;

// The longest match that an entry can stand for, even one that was never built.
constexpr unsigned kLengthExtraBitsMask = 7;
static_assert(kMaxLengthExtraBits <= kLengthExtraBitsMask);
constexpr unsigned kMaxLengthExtra = (1U << kLengthExtraBitsMask) - 1;
constexpr unsigned kMaxEntryLength = deflate::kMinMatch + 0xFF + kMaxLengthExtra;

// A pass stores three literals and a match at most.
constexpr ptrdiff_t kLiterals = 3;

// The loop has two versions. As long as there is room for the longest match, and for what its copy writes too much, no
// match is checked for it. Towards the end of the destination each is, and copied exactly.
enum class Room { kAmple, kScarce };

template <Room kRoom>
constexpr ptrdiff_t kDestinationMargin = kLiterals;
template <>
inline constexpr ptrdiff_t kDestinationMargin<Room::kAmple> = kLiterals + kMaxEntryLength + ShortCopy::overwrite;

// Masks of the low bits.
constexpr auto MaskBits = [] {
    std::array<uint64_t, kFront + entry::kMaxBitsToTake + 1> masks{};
    for (unsigned n = 0; n < masks.size(); ++n) masks[n] = (uint64_t{1} << n) - 1;
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
    // The bits behind an entry. The processor looks only at the low six bits of a shift's amount, and of an entry these
    // are the bits to take.
    [[gnu::always_inline]] [[nodiscard]] uint64_t freshBehind(Entry e) const noexcept { return fresh() >> (e & 63); }
    [[gnu::always_inline]] void refill(uint64_t bits) noexcept { bits_ = bits; }

    [[gnu::always_inline]] void drop(unsigned n) noexcept {
        bits_ >>= n;
        front_ += n;
    }
    // Takes what an entry says.
    [[gnu::always_inline]] void take(Entry e) noexcept {
        bits_ >>= e & 63;
        front_ += entry::bitsToTake(e);
    }
    // The entry of a table that the next `n` bits lead to.
    [[gnu::always_inline]] [[nodiscard]] Entry lookUp(const Entry* table, unsigned n) const noexcept {
        return load32(reinterpret_cast<const uint8_t*>(table) + (bits_ & MaskBits[n] << kFront));
    }
    // The same, where an entry links to.
    template <size_t kSize>
    [[nodiscard]] Entry lookUp(const std::array<Entry, kSize>& table, Entry link) const noexcept {
        const size_t index = entry::linkedIndex(link) + (bits_ >> kFront & MaskBits[entry::linkedBits(link)]);
        return index < kSize ? table[index] : Entry{entry::kInvalid};
    }
    // What the extra bits behind an entry's code add.
    [[gnu::always_inline]] [[nodiscard]] uint64_t extra(Entry e) const noexcept {
        return (bits_ & MaskBits[entry::bitsToTake(e) + kFront]) >> entry::codeBits(e) >> kFront;
    }
    // The same behind the code of a length, which has few: also an entry that was never built adds no more than their
    // mask.
    [[gnu::always_inline]] [[nodiscard]] uint64_t lengthExtra(Entry e) const noexcept {
        const uint64_t extraBits = (entry::bitsToTake(e) - entry::codeBits(e)) & kLengthExtraBitsMask;
        return bits_ >> kFront >> entry::codeBits(e) & MaskBits[extraBits];
    }
    // The position, less the bits in front.
    [[gnu::always_inline]] [[nodiscard]] uint64_t front() const noexcept { return front_; }
    void goTo(uint64_t front) noexcept { front_ = front; }

  private:
    const uint8_t* base_;
    uint64_t front_;
    uint64_t bits_ = 0;
};

// No distance of an entry, not even of one that was never built, is this long.
constexpr uintptr_t kAnyDistance = uintptr_t{1} << 32;

// Whether a match begins before the address `lowest`. The shorter form takes it that the difference does not wrap, that
// is, that the destination lies behind the first `kAnyDistance` bytes of the address space.
template <Room kRoom>
[[gnu::always_inline]] inline bool startsBefore(const uint8_t* op, uint64_t distance, uintptr_t lowest) noexcept {
    const auto here = reinterpret_cast<uintptr_t>(op);
    return kRoom == Room::kAmple ? here - distance < lowest : distance > here - lowest;
}

template <Room kRoom>
void decodeFast(const GeneralLayout& tables, Source& source, Output& output, const History& history) noexcept {
    BitCursor in(source.begin, source.position());
    const uint64_t limit = static_cast<uint64_t>(source.end - source.begin - kSourceMargin) * 8 - kFront;
    uint8_t* op = output.op;
    uint8_t* const opLimit = output.end - kDestinationMargin<kRoom>;
    const uintptr_t lowest = history.lowest;
    // Opaque, because an address with a displacement takes the processor a cycle longer, too.
    const Entry* const dist = opaque(tables.dist.data());

    const auto nextLitLen = [&]() __attribute__((always_inline)) {
        return in.lookUp(tables.litLen.data(), kLitLenRootBits);
    };
    const auto putLiteral = [&](Entry e) __attribute__((always_inline)) {
        in.take(e);
        *op++ = entry::literal(e);
    };

    in.refill(in.fresh());
    Entry e = nextLitLen();
    while (in.front() <= limit && op <= opLimit) {
        if (e & entry::kLiteral) {
            const uint64_t fresh = in.freshBehind(e);
            putLiteral(e);
            e = nextLitLen();
            in.refill(fresh);
            if (e & entry::kLiteral) {
                putLiteral(e);
                e = nextLitLen();
                if (e & entry::kLiteral) {
                    putLiteral(e);
                    e = nextLitLen();
                    continue;
                }
            }
        }

        // A length, most likely. Whatever else it is, and whatever is wrong with its distance, the careful loop will
        // find again from here.
        const uint64_t start = in.front();
        uint64_t length = entry::length(e);
        if (!(e & entry::kLength)) [[unlikely]] {
            in.refill(in.fresh());
            if (entry::sort(e) == entry::kLink) {
                in.drop(kLitLenRootBits);
                e = in.lookUp(tables.litLen, e);
                if (e & entry::kLiteral) {
                    putLiteral(e);
                    e = nextLitLen();
                    continue;
                }
            }
            if (entry::sort(e) != entry::kLongLength && entry::sort(e) != entry::kLength) {
                in.goTo(start);
                break;
            }
            length = entry::length(e) + in.lengthExtra(e);
            in.take(e);
            e = 0;  // nothing more to take
        }
        const uint64_t fresh = in.freshBehind(e);
        in.take(e);
        Entry d = in.lookUp(dist, kDistRootBits);
        in.refill(fresh);
        if (!(d & entry::kDistance)) [[unlikely]] {
            if (entry::sort(d) == entry::kLink) {
                in.drop(kDistRootBits);
                d = in.lookUp(tables.dist, d);
                in.refill(in.fresh());
            }
            if (!(d & entry::kDistance)) {
                in.goTo(start);
                break;
            }
        }
        d = opaque(d);  // keeps the compiler from preparing what follows twice, once for each way here
        const uint64_t distance = entry::baseDistance(d) + in.extra(d);
        in.take(d);
        e = nextLitLen();
        if (kRoom == Room::kScarce && length > static_cast<uint64_t>(output.end - op)) {
            in.goTo(start);
            break;
        }
        if (startsBefore<kRoom>(op, distance, lowest)) [[unlikely]] {
            if (!history.reaches(op, distance)) {
                in.goTo(start);
                break;
            }
            if constexpr (kRoom == Room::kAmple) {
                history.copyFast(op, distance, length);
            } else {
                history.copyExact(op, distance, length);
            }
        } else if constexpr (kRoom == Room::kAmple) {
            copyMatchFast<ShortCopy>(op, distance, length);
        } else {
            copyMatchExact(op, distance, length);
        }
        op += length;
    }
    source.moveTo(in.front() + kFront);
    output.op = op;
}

inline bool roomForFastLoop(const Source& source, const Output& output) noexcept {
    return source.end - source.ip >= kSourceMargin && output.end - output.op >= kDestinationMargin<Room::kScarce> &&
           source.reaches(kFront);
}

inline void decodeFast(const GeneralLayout& tables, Source& source, Output& output, const History& history) noexcept {
    if (output.end - output.op >= kDestinationMargin<Room::kAmple> &&
        reinterpret_cast<uintptr_t>(output.op) >= kAnyDistance) [[likely]] {
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
