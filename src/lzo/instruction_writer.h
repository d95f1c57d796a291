// Writes the instructions of an LZO1X stream into a destination of any size.
//
// No usual formula of the source's length bounds a stream: 19 literals and a far match of 4 bytes make 24 bytes out of
// 23, again and again. So every instruction is held against the room that is left. For plain ones that is a comparison
// with a limit, and they are then written in whole units; for others, and near the end of either buffer, the exact
// length is computed, and nothing is written or read outside it.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
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

// A decoder takes zeros until a byte that is not 0: the last byte is from 1 to 255.
[[gnu::always_inline]] inline uint8_t* writeExtension(uint8_t* op, uint64_t rest) noexcept {
    for (; rest > kExtensionZero; rest -= kExtensionZero) *op++ = 0;
    *op++ = static_cast<uint8_t>(rest);
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
        if (isPlain(count, distance, length) && op_ <= plainEnd_ && literals + count <= plainSourceEnd_) [[likely]] {
            if (count != 0) op_ = putPlainRun(op_, literals, count);
            op_ = putPlainMatch(op_, distance, length);
            return true;
        }
        return putCarefully(literals, count, distance, length);
    }

    // The same, for what is rare: a stream's first instruction, what is not plain, and the ends of the buffers.
    [[gnu::always_inline]] bool putCarefully(const uint8_t* literals, uint64_t count, uint64_t distance,
                                             uint64_t length) noexcept {
        uint8_t* const end = putAny(*this, literals, count, distance, length);
        if (end == nullptr) return false;
        op_ = end;
        if (plainEnd_ == nullptr && room() >= kPlainRoom && sourceEnd_ - literals >= int64_t{kUnit}) {
            plainEnd_ = end_ - kPlainRoom;
            plainSourceEnd_ = sourceEnd_ - kUnit;
        }
        return true;
    }

    // How many of `count` literals fit, as the last run of the stream.
    [[nodiscard]] uint64_t fitting(const uint8_t* literals, uint64_t count) const noexcept {
        const auto excess = [this, literals](uint64_t n) noexcept {
            const uint64_t size = n == 0 ? 0 : runHeaderSize(n, firstByte(literals, n)) + n;
            return size > room() ? size - room() : 0;
        };
        count = std::min(count, room());
        // Of an excess of one, a literal less is enough; and each literal less takes off two bytes at most. So half of
        // the excess is never too much.
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
    // Most instructions are plain: neither the literals nor the match are longer than this, for which one byte of an
    // extension is enough in any form. (All lower bits are set, so that one comparison does for both.)
    static constexpr uint64_t kPlainMax = 255;
    static_assert(std::has_single_bit(kPlainMax + 1) && kPlainMax <= kExtensionZero);
    // Literals are copied in units; most often one is all.
    static constexpr uint64_t kUnit = 16;
    static_assert(kUnit <= kPlainRunMax);
    // What is written of a plain instruction at most: a header of two bytes, units of literals, and a match as a 32-bit
    // word. A unit is read, at most, behind the literals.
    static constexpr uint64_t kPlainRoom = 2 + kPlainMax + kUnit + 4;

    // How a run of so many literals behind a match is told: in the two low bits of the match, or by a byte of its own.
    struct RunHeader {
        uint8_t bits;
        uint8_t size;
    };
    static constexpr auto kRunHeaders = [] {
        std::array<RunHeader, kUnit + 1> headers{};
        for (unsigned count = 0; count <= kUnit; ++count) {
            headers[count] = count <= kFewLiterals ? RunHeader{static_cast<uint8_t>(count), 0} : RunHeader{0, 1};
        }
        return headers;
    }();

    // A class of matches, by the distance. A match is a 32-bit word, of which two, three or four bytes are written.
    struct MatchClass {
        uint32_t word;          // of a match that is not short: what the length and the distance are added to
        uint16_t longestShort;  // up to this length the match is a short one,
        uint16_t longest;       // and up to this one it needs no extension
    };
    // Where the distance is added.
    static constexpr unsigned kDistanceShift = 10;
    // A class goes over 2048 distances, so that the first one is that of short matches.
    static constexpr unsigned kClassShift = 11;
    static_assert(kShortDistanceMax == 1U << kClassShift);
    // The first distance with the upper bit set is the last one of its class, and its word would be wrong.
    static constexpr uint32_t kCarryingDistance = 2 * kLongDistanceBase;
    static constexpr auto kMatchClasses = [] {
        std::array<MatchClass, ((kDistanceMax - 1) >> kClassShift) + 1> classes{};
        for (uint32_t i = 0; i < classes.size(); ++i) {
            MatchClass& match = classes[i];
            const uint32_t nearest = (i << kClassShift) + 1;
            if (nearest <= kMiddleDistanceMax) {
                match.word = kMiddleClass - kLengthBias;
                match.longestShort = i == 0 ? kShortLengthMax : 0;
                match.longest = kMiddleLengthMask + kLengthBias;
            } else {
                const bool far = nearest >= kCarryingDistance;
                const uint32_t distanceBase = far ? kCarryingDistance : kLongDistanceBase;
                match.word = (kLongClass | (far ? kLongDistanceBit : 0)) - kLengthBias;
                // What is added is the distance less one.
                match.word -= (distanceBase - 1) << kDistanceShift;
                match.longest = kLongLengthMask + kLengthBias;
            }
        }
        return classes;
    }();

    [[gnu::always_inline]] static const MatchClass& matchClass(uint64_t distance) noexcept {
        return kMatchClasses[(distance - 1) >> kClassShift];
    }

    [[gnu::always_inline]] static bool isPlain(uint64_t count, uint64_t distance, uint64_t length) noexcept {
        return (count | length) <= kPlainMax && distance != kCarryingDistance;
    }

    [[gnu::always_inline]] static uint8_t* putPlainRun(uint8_t* op, const uint8_t* literals, uint64_t count) noexcept {
        if (count > kUnit) [[unlikely]]
            return putLongerRun(op, literals, count);
        const RunHeader header = kRunHeaders[count];
        op[-2] |= header.bits;
        *op = static_cast<uint8_t>(count - kRunBias);
        op += header.size;
        copyBlock<kUnit>(op, literals);
        return op + count;
    }

    [[gnu::noinline]] static uint8_t* putLongerRun(uint8_t* op, const uint8_t* literals, uint64_t count) noexcept {
        op = writeRunHeader(op, count, FirstByte::Plain);
        copyUnits(op, literals, count);
        return op + count;
    }

    // Up to a unit more is read and written.
    static void copyUnits(uint8_t* to, const uint8_t* from, uint64_t count) noexcept {
        for (uint64_t done = 0; done < count; done += kUnit) copyBlock<kUnit>(to + done, from + done);
    }

    // Which form a match without an extension takes cannot be predicted: it is chosen without a branch.
    [[gnu::always_inline]] static uint8_t* putPlainMatch(uint8_t* op, uint64_t distance, uint64_t length) noexcept {
        const MatchClass& match = matchClass(distance);
        const auto coded = static_cast<uint32_t>(distance - 1);
        const auto n = static_cast<uint32_t>(length);
        const uint32_t word = match.word + (coded << kDistanceShift);
        if (n > match.longest) [[unlikely]] {
            const uint32_t whole = word + kLengthBias;
            store32(op, (whole & 0xFF) | (n - match.longest) << 8 | whole >> 8 << 16);
            return op + 4;
        }
        // (n - 1) << 5 | (coded & 7) << 2 | coded >> 3 << 8, in fewer steps.
        const uint32_t shortWord = (coded + n - 1) * 32 - (coded & 7) * 28;
        // All ones if the match is not a short one: the sign of a difference.
        const int64_t other = (int64_t{match.longestShort} - int64_t{n}) >> 63;
        store32(op, shortWord ^ ((shortWord ^ (word + n)) & static_cast<uint32_t>(other)));
        return op + 2 - other;
    }

    // Any literals and match; returns where they end, or null if there is no room. Out of line, so that the registers
    // are for the plain ones.
    [[gnu::noinline, gnu::cold]] static uint8_t* putAny(const InstructionWriter writer, const uint8_t* literals,
                                                        uint64_t count, uint64_t distance, uint64_t length) noexcept {
        uint8_t* op = writer.op_;
        const FirstByte firstByte = writer.firstByte(literals, count);
        const uint64_t size = runHeaderSize(count, firstByte) + count + matchSize(distance, length);
        if (size > writer.room()) return nullptr;
        const bool roomForUnits = writer.room() - size >= kUnit;
        op = writeRunHeader(op, count, firstByte);
        if (roomForUnits && static_cast<uint64_t>(writer.sourceEnd_ - literals) >= count + kUnit) {
            copyUnits(op, literals, count);
        } else {
            std::memcpy(op, literals, count);
        }
        return writeMatch(op + count, distance, length);
    }

    // A stream whose first byte says 68 literals could be taken for a container, if the literals look like the rest of
    // its header. Such a run is written in the plain form, one byte longer, so that every stream decodes to its source.
    [[nodiscard]] FirstByte firstByte(const uint8_t* literals, uint64_t count) const noexcept {
        if (op_ != begin_) return FirstByte::Plain;
        const bool mistakable = count + kFirstRunBias == kContainerMark && isPartCount(literals[0], literals[1]);
        return mistakable ? FirstByte::Plain : FirstByte::Count;
    }

    uint8_t* op_;
    uint8_t* begin_;
    uint8_t* end_;
    const uint8_t* sourceEnd_;
    // Up to where plain instructions may be written, and their literals taken. Nowhere at first: in front of a stream's
    // first instruction there is no match that could tell the number of literals.
    uint8_t* plainEnd_ = nullptr;
    const uint8_t* plainSourceEnd_ = nullptr;
};

}  // namespace ozrdc::lzo
