// Writes the instructions of an LZO1X stream into a destination of any size.
//
// No formula of the source's length bounds a stream tightly enough to be relied on: 19 literals and a far match of 4
// bytes make 24 bytes out of 23, again and again. So every instruction is held against the room that is left. That is
// one comparison for instructions of ordinary length, which are then written in whole units; near the end of either
// buffer, and for long ones, the exact length is computed and nothing is written or read outside it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/unaligned.h"
#include "lzo/container.h"
#include "lzo/format.h"

namespace ozrdc::lzo {

// Whether a run of literals may be written as the first byte of a stream, in the form that only that byte has.
enum class FirstByte : bool { Plain, Count };

// --- Lengths of what is written ---

// The bytes that follow a field of 0: `rest` is above 0.
[[nodiscard]] constexpr uint64_t extensionSize(uint64_t rest) noexcept {
    return (rest + kExtensionZero - 1) / kExtensionZero;
}

[[nodiscard]] constexpr uint64_t matchSize(uint64_t distance, uint64_t length) noexcept {
    if (distance <= kShortDistanceMax && length <= kShortLengthMax) return 2;
    const uint64_t plainMax =
        (distance <= kMiddleDistanceMax ? kMiddleLengthMask : kLongLengthMask) + uint64_t{kLengthBias};
    return 3 + (length <= plainMax ? 0 : extensionSize(length - plainMax));
}

// What stands in front of a run of literals.
[[nodiscard]] constexpr uint64_t runHeaderSize(uint64_t count, FirstByte firstByte) noexcept {
    if (firstByte == FirstByte::Count && count <= kFirstRunMax) return 1;
    if (count <= kFewLiterals) return 0;
    return count <= kPlainRunMax ? 1 : 1 + extensionSize(count - kPlainRunMax);
}

// --- Writing ---

[[gnu::always_inline]] inline uint8_t* writeExtension(uint8_t* op, uint64_t rest) noexcept {
    const uint64_t zeros = extensionSize(rest) - 1;
    // A decoder takes zeros until a byte that is not 0: the last byte is from 1 to 255.
    if (zeros > 0) [[unlikely]] {
        std::memset(op, 0, zeros);
        op += zeros;
    }
    *op++ = static_cast<uint8_t>(rest - zeros * kExtensionZero);
    return op;
}

[[gnu::always_inline]] inline uint8_t* writeMatch(uint8_t* op, uint64_t distance, uint64_t length) noexcept {
    if (distance <= kShortDistanceMax && length <= kShortLengthMax) {
        const uint64_t coded = distance - 1;
        store16(op, static_cast<uint16_t>((length - 1) << 5 | (coded & 7) << 2 | coded >> 3 << 8));
        return op + 2;
    }
    uint64_t first = kMiddleClass;
    uint64_t lengthMask = kMiddleLengthMask;
    uint64_t coded = distance - 1;
    if (distance > kMiddleDistanceMax) {
        coded = distance - kLongDistanceBase;
        first = kLongClass | (coded >> 14) * kLongDistanceBit;
        lengthMask = kLongLengthMask;
    }
    if (length <= lengthMask + kLengthBias) {
        *op++ = static_cast<uint8_t>(first | (length - kLengthBias));
    } else {
        *op++ = static_cast<uint8_t>(first);
        op = writeExtension(op, length - lengthMask - kLengthBias);
    }
    store16(op, static_cast<uint16_t>(coded << 2));
    return op + 2;
}

// What stands in front of a run of literals; `op` is where they begin or, for a few behind a match, what is changed is
// the match.
[[gnu::always_inline]] inline uint8_t* writeRunHeader(uint8_t* op, uint64_t count, FirstByte firstByte) noexcept {
    if (firstByte == FirstByte::Count && count <= kFirstRunMax) {
        *op++ = static_cast<uint8_t>(count + kFirstRunBias);
    } else if (count <= kFewLiterals) {
        op[-2] |= static_cast<uint8_t>(count);
    } else if (count <= kPlainRunMax) {
        *op++ = static_cast<uint8_t>(count - kRunBias);
    } else {
        *op++ = 0;
        op = writeExtension(op, count - kPlainRunMax);
    }
    return op;
}

class InstructionWriter {
  public:
    // Writes one stream to [begin, end). Its literals are taken from a source that ends at `sourceEnd`.
    InstructionWriter(uint8_t* begin, uint8_t* end, const uint8_t* sourceEnd) noexcept
        : op_(begin), begin_(begin), end_(end), sourceEnd_(sourceEnd) {}

    // Where the next instruction goes.
    [[nodiscard]] uint8_t* position() const noexcept { return op_; }
    [[nodiscard]] uint64_t room() const noexcept { return static_cast<uint64_t>(end_ - op_); }

    // Writes literals and a match. False, and nothing is written, if there is no room for both.
    [[gnu::always_inline]] bool put(const uint8_t* literals, uint64_t count, uint64_t distance,
                                    uint64_t length) noexcept {
        const auto n = static_cast<int64_t>(count);
        if ((count | length) < kOrdinary && n <= end_ - op_ - kAmple && n <= sourceEnd_ - literals - kOverrun)
            [[likely]] {
            op_ = writeRunHeader(op_, count, firstByte(literals, count));
            uint64_t done = 0;
            do {
                copyBlock<kUnit>(op_ + done, literals + done);
                done += kUnit;
            } while (done < count);
            op_ = writeMatch(op_ + count, distance, length);
            return true;
        }
        uint8_t* const end = putExactly(op_, end_, firstByte(literals, count), literals, count, distance, length);
        if (end == nullptr) return false;
        op_ = end;
        return true;
    }

    // How many of `count` literals fit, as the last run of the stream.
    [[nodiscard]] uint64_t fitting(const uint8_t* literals, uint64_t count) const noexcept {
        const auto excess = [this, literals](uint64_t n) noexcept {
            const uint64_t size = n == 0 ? 0 : runHeaderSize(n, firstByte(literals, n)) + n;
            return size > room() ? size - room() : 0;
        };
        count = std::min(count, room());
        // A literal less makes the run two bytes shorter at most: half of the excess is never too much.
        while (const uint64_t over = excess(count)) count -= (over + 1) / 2;
        return count;
    }

    // Writes the last run of the stream, for which there is room.
    void putLastRun(const uint8_t* literals, uint64_t count) noexcept {
        if (count == 0) return;
        op_ = writeRunHeader(op_, count, firstByte(literals, count));
        std::memcpy(op_, literals, count);
        op_ += count;
    }

    // Writes the end marker. False if there is no room for it.
    [[nodiscard]] bool putEndMarker() noexcept {
        if (room() < kEndMarker.size()) return false;
        std::memcpy(op_, kEndMarker.data(), kEndMarker.size());
        op_ += kEndMarker.size();
        return true;
    }

  private:
    // Literals are copied in units of so many bytes, one at least, which pass their end by no more than one unit.
    static constexpr uint64_t kUnit = 16;
    static constexpr int64_t kOverrun = kUnit;

    // Room that is enough for any instructions of ordinary length, literals apart.
    static constexpr uint64_t kOrdinary = 4096;
    static constexpr int64_t kAmple =
        static_cast<int64_t>(runHeaderSize(kOrdinary, FirstByte::Plain) + matchSize(kDistanceMax, kOrdinary)) +
        kOverrun;

    // A stream whose first byte says 68 literals could be taken for a container, if the literals look like the rest of
    // its header. Such a run is written in the plain form, one byte longer, so that every stream decodes to its source.
    [[gnu::always_inline]] FirstByte firstByte(const uint8_t* literals, uint64_t count) const noexcept {
        if (op_ != begin_) [[likely]]
            return FirstByte::Plain;
        const bool mistakable = count + kFirstRunBias == kContainerMark && isPartCount(literals[0], literals[1]);
        return mistakable ? FirstByte::Plain : FirstByte::Count;
    }

    // Out of line, because it runs a few times a stream at most. Null if there is no room.
    [[gnu::noinline, gnu::cold]] static uint8_t* putExactly(uint8_t* op, const uint8_t* end, FirstByte firstByte,
                                                            const uint8_t* literals, uint64_t count, uint64_t distance,
                                                            uint64_t length) noexcept {
        const uint64_t size = runHeaderSize(count, firstByte) + count + matchSize(distance, length);
        if (size > static_cast<uint64_t>(end - op)) return nullptr;
        op = writeRunHeader(op, count, firstByte);
        std::memcpy(op, literals, count);
        return writeMatch(op + count, distance, length);
    }

    uint8_t* op_;
    uint8_t* begin_;
    uint8_t* end_;
    const uint8_t* sourceEnd_;
};

}  // namespace ozrdc::lzo
