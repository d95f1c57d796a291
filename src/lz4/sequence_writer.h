// Writes the sequences of an LZ4 block.
//
// Three writers exist. `UncheckedWriter` relies on room for the worst case, and copies literals in whole units past
// their end. That stays inside: a sequence is never longer than the source bytes it stands for plus one byte for each
// 255 literals, and at least `kSearchMargin` further source bytes follow every sequence. `BoundedWriter` writes nothing
// past the capacity, and stops, or shortens a match, when a sequence would not fit. `StrictWriter` writes a sequence
// whole or not at all.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/unaligned.h"
#include "lz4/format.h"
#include "lz4/hash_search.h"

namespace ozrdc::lz4 {

// Bytes of extension that a length needs after its nibble.
[[nodiscard]] constexpr uint64_t extensionLength(uint64_t length) noexcept {
    return length < kNibbleMax ? 0 : (length - kNibbleMax) / kExtensionMax + 1;
}

// Writes the extension of a length, given what the nibble leaves of it.
[[gnu::always_inline]] inline void writelen(uint8_t** ppDst, uint64_t rest) noexcept {
    uint8_t* p = *ppDst;
    if (rest >= kExtensionMax) [[unlikely]] {
        const uint64_t full = rest / kExtensionMax;
        std::memset(p, kExtensionMax, full);
        p += full;
        rest -= full * kExtensionMax;
    }
    *p++ = static_cast<uint8_t>(rest);
    *ppDst = p;
}

// Writes the run of literals that ends a block.
inline uint8_t* writeLastLiterals(uint8_t* op, const uint8_t* literals, uint64_t count) noexcept {
    *op++ = static_cast<uint8_t>(std::min<uint64_t>(count, kNibbleMax) << 4);
    if (count >= kNibbleMax) writelen(&op, count - kNibbleMax);
    std::memcpy(op, literals, count);
    return op + count;
}

// The unit in which literals are copied. Reads past their end stay inside the source.
constexpr uint64_t kLiteralUnit = 16;
static_assert(kLiteralUnit <= kSearchMargin);

enum class Literals { InWholeUnits, Exactly };

// Writes one sequence whose match is `extra` bytes longer than the shortest; returns where it ends. In whole units the
// copy of the literals may pass their end in both buffers.
template <Literals copy>
[[gnu::always_inline]] inline uint8_t* writeSequence(uint8_t* op, const uint8_t* literals, uint64_t count,
                                                     uint64_t offset, uint64_t extra) noexcept {
    uint8_t* const token = op++;
    uint64_t nibbles = count << 4;
    if (count >= kNibbleMax) [[unlikely]] {
        nibbles = kNibbleMax << 4;
        writelen(&op, count - kNibbleMax);
    }
    if constexpr (copy == Literals::Exactly) {
        std::memcpy(op, literals, count);
    } else {
        uint64_t done = 0;
        do {
            copyBlock<kLiteralUnit>(op + done, literals + done);
            done += kLiteralUnit;
        } while (done < count);
    }
    op += count;
    store16(op, static_cast<uint16_t>(offset));
    op += 2;
    if (extra >= kNibbleMax) {
        *token = static_cast<uint8_t>(nibbles | kNibbleMax);
        writelen(&op, extra - kNibbleMax);
    } else {
        *token = static_cast<uint8_t>(nibbles | extra);
    }
    return op;
}

// True if a sequence fits into `room` bytes whatever its details: one of ordinary length, at a distance from the end
// that covers token, offset and extensions of that length, and the unit that the literals' copy may pass their end by.
[[gnu::always_inline]] inline bool isAmple(int64_t room, uint64_t count, uint64_t extra) noexcept {
    constexpr uint64_t kOrdinary = 4096;
    constexpr auto kAmple = static_cast<int64_t>(1 + 2 + 2 * extensionLength(kOrdinary) + kLiteralUnit);
    return (count | extra) < kOrdinary && static_cast<int64_t>(count) <= room - kAmple;
}

// Whether a sequence fits into the destination, and how it is written.
enum class Admission { Refused, InWholeUnits, Exactly };

struct UncheckedWriter {
    uint8_t* op;

    // Whether a sequence fits, and with which length of its match: here always, and with all of it.
    [[gnu::always_inline]] static Admission admit(uint64_t, int64_t&) noexcept { return Admission::InWholeUnits; }

    [[gnu::always_inline]] void put(Admission, const uint8_t* literals, uint64_t count, uint64_t offset,
                                    uint64_t extra) noexcept {
        op = writeSequence<Literals::InWholeUnits>(op, literals, count, offset, extra);
    }

    // Writes the rest of the source as literals; returns how many.
    uint64_t finish(const uint8_t* literals, uint64_t count) noexcept {
        op = writeLastLiterals(op, literals, count);
        return count;
    }
};

struct BoundedWriter {
    // Sequences end before the last bytes of the destination, so that the last run of literals always finds room.
    static constexpr int64_t kReserve = 8;

    uint8_t* op;
    uint8_t* end;

    // Whether a sequence fits; its match, `extra` bytes longer than the shortest, may be made shorter for that.
    [[gnu::always_inline]] Admission admit(uint64_t count, int64_t& extra) const noexcept {
        if (isAmple(end - op - kReserve, count, static_cast<uint64_t>(extra))) [[likely]]
            return Admission::InWholeUnits;
        extra = admitNearEnd(count, extra);
        return extra < 0 ? Admission::Refused : Admission::Exactly;
    }

    // Writes one sequence as it was admitted.
    [[gnu::always_inline]] void put(Admission admission, const uint8_t* literals, uint64_t count, uint64_t offset,
                                    uint64_t extra) noexcept {
        op = admission == Admission::InWholeUnits
                 ? writeSequence<Literals::InWholeUnits>(op, literals, count, offset, extra)
                 : writeNearEnd(op, literals, count, offset, extra);
    }

    // Writes as much of the source as fits as the last literals; returns how many.
    uint64_t finish(const uint8_t* literals, uint64_t count) noexcept {
        const auto room = static_cast<uint64_t>(end - op);
        count = std::min(count, room - 1);
        while (1 + extensionLength(count) + count > room) --count;
        op = writeLastLiterals(op, literals, count);
        return count;
    }

  private:
    // Decides as exactly as the end of the destination demands. Returns the length that the match may have beyond the
    // shortest, or -1 if the sequence does not fit.
    [[gnu::noinline, gnu::cold]] int64_t admitNearEnd(uint64_t count, int64_t extra) const noexcept {
        // What is left of the destination, less the reserve, behind token, literals and offset.
        const int64_t room = end - op - kReserve - static_cast<int64_t>(1 + extensionLength(count) + count + 2);
        if (static_cast<int64_t>(extensionLength(static_cast<uint64_t>(extra))) <= room) return extra;
        // Of the reserve, one byte may be used by what is in front of the extension, and two by the extension.
        if (room < -1) return -1;
        return std::min(extra, kExtensionMax * room + 524);
    }

    // Writes a sequence and nothing behind it; out of line, because it runs a few times a block at most.
    [[gnu::noinline, gnu::cold]] static uint8_t* writeNearEnd(uint8_t* op, const uint8_t* literals, uint64_t count,
                                                              uint64_t offset, uint64_t extra) noexcept {
        return writeSequence<Literals::Exactly>(op, literals, count, offset, extra);
    }
};

struct StrictWriter {
    uint8_t* op;
    uint8_t* end;
    const uint8_t* sourceEnd;

    // Writes one sequence; false, and nothing, if it does not fit.
    [[gnu::always_inline]] bool put(const uint8_t* literals, uint64_t count, uint64_t offset, uint64_t extra) noexcept {
        const bool copiesInside = static_cast<int64_t>(count + kLiteralUnit) <= sourceEnd - literals;
        uint8_t* const next = copiesInside && isAmple(end - op, count, extra)
                                  ? writeSequence<Literals::InWholeUnits>(op, literals, count, offset, extra)
                                  : writeNearEnd(op, end, literals, count, offset, extra);
        if (next == nullptr) return false;
        op = next;
        return true;
    }

    // Writes the rest of the source as literals; false, and nothing, if they do not fit.
    bool finish(const uint8_t* literals, uint64_t count) noexcept {
        if (1 + extensionLength(count) + count > static_cast<uint64_t>(end - op)) return false;
        op = writeLastLiterals(op, literals, count);
        return true;
    }

  private:
    // Returns where the sequence ends, or null if it does not fit.
    [[gnu::noinline, gnu::cold]] static uint8_t* writeNearEnd(uint8_t* op, const uint8_t* end, const uint8_t* literals,
                                                              uint64_t count, uint64_t offset,
                                                              uint64_t extra) noexcept {
        const uint64_t length = 1 + extensionLength(count) + count + 2 + extensionLength(extra);
        if (length > static_cast<uint64_t>(end - op)) return nullptr;
        return writeSequence<Literals::Exactly>(op, literals, count, offset, extra);
    }
};

}  // namespace ozrdc::lz4
