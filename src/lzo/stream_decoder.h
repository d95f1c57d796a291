// Decodes one buffer of LZO1X streams.
//
// `decodeOne` does a single instruction with the literals behind it, checks every length and touches nothing outside
// its copies; it is the definition of the result. `decodeFast` does most instructions faster, while both cursors are so
// far from the ends of their buffers that copies of whole units stay inside them; what it does not do itself, and
// everything that is malformed, it leaves to `decodeOne`, untouched. The two take turns until the source ends.
//
// Two instances exist. Both keep source and output inside their buffers whatever the stream is. The trusting one does
// not look whether a match begins inside the output.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "core/match_copy.h"
#include "core/opaque.h"
#include "core/unaligned.h"
#include "lzo/buffers.h"
#include "lzo/format.h"

namespace ozrdc::lzo {

enum class Distances { Checked, Trusted };

// What an instruction byte means depends on what came before it.
using Context = unsigned;
constexpr Context kAfterMatch = 0;  // a match without literals: bytes below 16 are runs; 1 to 3: so many literals
constexpr Context kAfterRun = kFewLiterals + 1;
constexpr Context kStreamStart = kAfterRun + 1;

struct Cursor {
    const uint8_t* ip;
    uint8_t* op;
    Context context;
};

namespace detail {

// --- One instruction, with care ---

// Adds the bytes of an extension to a length. False if they run off the source. Sources are shorter than 2^32 bytes, so
// that the sum stays below 2^40.
[[gnu::always_inline]] inline bool readExtension(const uint8_t*& ip, const uint8_t* end, uint64_t& length) noexcept {
    for (; ip != end; ++ip) {
        if (*ip != 0) {
            length += *ip++;
            return true;
        }
        length += kExtensionZero;
    }
    return false;
}

// Copies literals. False if the source does not have them or the destination has no room for them.
[[gnu::always_inline]] inline bool copyLiterals(Cursor& at, const Source src, const Destination dst,
                                                uint64_t count) noexcept {
    if (count > static_cast<uint64_t>(src.end - at.ip) || count > static_cast<uint64_t>(dst.end - at.op)) return false;
    std::memcpy(at.op, at.ip, count);
    at.ip += count;
    at.op += count;
    at.context = count <= kFewLiterals ? static_cast<Context>(count) : kAfterRun;
    return true;
}

// A run of literals whose first byte was read.
inline bool decodeRun(Cursor& at, const Source src, const Destination dst, unsigned first) noexcept {
    uint64_t count = first + kRunBias;
    if (first == 0) {
        count = kPlainRunMax;
        if (!readExtension(at.ip, src.end, count)) return false;
    }
    return copyLiterals(at, src, dst, count);
}

// A match whose first byte was read.
template <Distances distances>
inline bool decodeMatch(Cursor& at, const Source src, const Destination dst, unsigned first) noexcept {
    uint64_t length;
    uint64_t distance;
    unsigned literals = first;
    if (first >= kLongClass && first < kShortClass) {
        const bool isLong = first < kMiddleClass;
        const unsigned mask = isLong ? kLongLengthMask : kMiddleLengthMask;
        length = (first & mask) + kLengthBias;
        if ((first & mask) == 0) {
            length = mask + kLengthBias;
            if (!readExtension(at.ip, src.end, length)) return false;
        }
        if (src.end - at.ip < 2) return false;
        literals = load16(at.ip);
        at.ip += 2;
        distance = literals >> 2;
        if (isLong) {
            distance += kLongDistanceBase + (first & kLongDistanceBit) * (kLongDistanceBase / kLongDistanceBit);
            if (distance == kLongDistanceBase) {
                at.context = kStreamStart;
                return true;
            }
        } else {
            distance += 1;
        }
    } else {
        if (at.ip == src.end) return false;
        const uint64_t second = *at.ip++;
        if (first >= kShortClass) {
            length = (first >> 5) + 1;
            distance = second * 8 + (first >> 2 & 7) + 1;
        } else {
            const bool isFar = at.context == kAfterRun;
            length = isFar ? kFarMatchLength : kNearMatchLength;
            distance = second * 4 + (first >> 2) + (isFar ? kFarDistanceBase : kNearDistanceBase);
        }
    }
    if constexpr (distances == Distances::Checked) {
        if (distance > static_cast<uint64_t>(at.op - dst.begin)) return false;
    }
    if (length > static_cast<uint64_t>(dst.end - at.op)) return false;
    copyMatchExact(at.op, distance, length);
    at.op += length;
    return copyLiterals(at, src, dst, literals & kFewLiterals);
}

// The first byte of a stream, which was read.
inline bool decodeFirst(Cursor& at, const Source src, const Destination dst, unsigned first) noexcept {
    if (first < kLongClass) return decodeRun(at, src, dst, first);
    if (first < kFirstRunBias) return false;
    // A stream of nothing but the end marker.
    if (first == kEndMarker[0] && src.end - at.ip >= 2 && load16(at.ip) == 0) {
        at.ip += 2;
        return true;
    }
    return copyLiterals(at, src, dst, first - kFirstRunBias);
}

// Does the instruction at the cursor, which is in front of the source's end. False if it is malformed or does not fit.
template <Distances distances>
[[gnu::noinline]] bool decodeOne(Cursor& at, const Source src, const Destination dst) noexcept {
    const unsigned first = *at.ip++;
    if (at.context == kStreamStart) return decodeFirst(at, src, dst, first);
    if (first < kLongClass && at.context == kAfterMatch) return decodeRun(at, src, dst, first);
    return decodeMatch<distances>(at, src, dst, first);
}

// --- Many instructions, fast ---

// What the first byte of a match says: the length, or 0 where an extension follows, and in the upper half the distance
// but for the part that stands in the bytes behind it.
constexpr auto kMatchClasses = [] {
    std::array<uint32_t, 256> classes{};
    for (unsigned first = kLongClass; first < 256; ++first) {
        unsigned length;
        unsigned distance;
        if (first >= kShortClass) {
            length = (first >> 5) + 1;
            distance = (first >> 2 & 7) + 1;
        } else if (first >= kMiddleClass) {
            length = first & kMiddleLengthMask;
            distance = 1;
        } else {
            length = first & kLongLengthMask;
            distance = kLongDistanceBase + (first & kLongDistanceBit) * (kLongDistanceBase / kLongDistanceBit);
        }
        if (length != 0 && first < kShortClass) length += kLengthBias;
        classes[first] = length | distance << 16;
    }
    return classes;
}();

// The longest match without an extension.
constexpr uint64_t kPlainMatchMax = kMiddleLengthMask + kLengthBias;

// Matches up to this length are copied as one unit if they do not overlap themselves.
constexpr uint64_t kUnit = 16;

// From an instruction on, the fast loop reads at most so much of the source before it looks at the end again: a run,
// and a match with its literals, of which 4 bytes are loaded.
constexpr int64_t kSourceMargin = 1 + int64_t{kPlainRunMax} + 3 + 4;

// And it writes so much: a run, a match copied in whole units, and the load of literals behind it.
constexpr int64_t kDestinationMargin = int64_t{kPlainRunMax} + int64_t{kPlainMatchMax} + WideCopy::overwrite + 1;
static_assert(WideCopy::overwrite + 1 >= 4);

// Does instructions from the cursor on, which is not at a stream's start, as long as the margins allow and nothing odd
// comes. It returns in front of the first instruction that it does not do.
template <Distances distances>
[[gnu::always_inline]] inline Cursor decodeFast(Cursor at, const Source src, const Destination dst) noexcept {
    const uint8_t* ip = at.ip;
    uint8_t* op = at.op;
    uint64_t context = at.context;
    const uint8_t* const ipFast = src.end - kSourceMargin;
    uint8_t* const opFast = dst.end - kDestinationMargin;

    while (ip <= ipFast && op <= opFast) {
        uint32_t word = load32(ip);
        unsigned first = word & 255;
        if (first < kLongClass) {
            if (context == kAfterMatch) {
                if (first != 0) {
                    copyBlock<16>(op, ip + 1);
                    copyBlock<kPlainRunMax - 16>(op + 16, ip + 17);
                    ip += first + kRunBias + 1;
                    op += first + kRunBias;
                } else {
                    const uint8_t* literals = ip + 1;
                    uint64_t count = kPlainRunMax;
                    if (!readExtension(literals, src.end, count)) break;
                    // Room for this run in whole units, and for what may follow it.
                    if (static_cast<int64_t>(count) > ipFast - literals || static_cast<int64_t>(count) > opFast - op)
                        break;
                    uint64_t done = 0;
                    do {
                        copyBlock<kUnit>(op + done, literals + done);
                        done += kUnit;
                    } while (done < count);
                    ip = literals + count;
                    op += count;
                }
                context = kAfterRun;
                word = load32(ip);
                first = word & 255;
            }
            if (first < kLongClass) {
                // A match of two or three bytes; always written as three, in order.
                const bool isFar = context == kAfterRun;
                const uint64_t distance =
                    (word >> 6 & 0x3FC) + (first >> 2) + (isFar ? kFarDistanceBase : kNearDistanceBase);
                if (distances == Distances::Checked && distance > static_cast<uint64_t>(op - dst.begin)) break;
                const uint8_t* const from = op - distance;
                op[0] = from[0];
                op[1] = from[1];
                op[2] = from[2];
                op += isFar ? kFarMatchLength : kNearMatchLength;
                context = first & kFewLiterals;
                store32(op, load32(ip + 2));
                op += context;
                ip += 2 + context;
                continue;
            }
        }

        const uint32_t matchClass = kMatchClasses[first];
        const bool isShort = first >= kShortClass;
        uint64_t length = matchClass & 0xFFFF;
        uint64_t distance = (matchClass >> 16) + (isShort ? word >> 5 & 0x7F8 : word >> 10 & 0x3FFF);
        uint64_t literals = (isShort ? word : word >> 8) & kFewLiterals;
        const uint8_t* behind = ip + (isShort ? 2 : 3);
        if (length == 0) [[unlikely]] {
            behind = ip + 1;
            length = (first >= kMiddleClass ? kMiddleLengthMask : kLongLengthMask) + kLengthBias;
            if (!readExtension(behind, src.end, length) || behind > ipFast) break;
            if (static_cast<int64_t>(length) > opFast - op) break;
            const uint32_t last = load16(behind);
            behind += 2;
            distance = (matchClass >> 16) + (last >> 2);
            literals = last & kFewLiterals;
        }
        if (distance == kLongDistanceBase && first < kMiddleClass) [[unlikely]]
            break;
        if (distances == Distances::Checked && distance > static_cast<uint64_t>(op - dst.begin)) [[unlikely]]
            break;
        if (length <= kUnit && distance >= length) [[likely]] {
            copyBlock<kUnit>(op, op - distance);
        } else {
            copyMatchFast<WideCopy>(op, distance, length);
        }
        op += length;
        store32(op, load32(behind));
        op += literals;
        ip = behind + literals;
        context = literals;
    }
    return {ip, op, static_cast<Context>(context)};
}

}  // namespace detail

// How a decoding ended.
struct Outcome {
    bool whole;    // false: an instruction is malformed or does not fit
    uint8_t* end;  // of the output; behind the instructions before it
};

// Decodes streams, one behind the other, up to the end of the source.
template <Distances distances>
[[gnu::noinline]] Outcome decodeStreams(const Source src, const Destination dst) noexcept {
    Cursor at{src.begin, dst.begin, kStreamStart};
    while (at.ip != src.end) {
        if (at.context != kStreamStart && src.end - at.ip >= detail::kSourceMargin &&
            dst.end - at.op >= detail::kDestinationMargin) {
            at = detail::decodeFast<distances>(at, src, dst);
        }
        uint8_t* const before = at.op;
        if (!detail::decodeOne<distances>(at, src, dst)) return {false, before};
    }
    return {true, at.op};
}

}  // namespace ozrdc::lzo
