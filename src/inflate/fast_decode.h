// The fast loop: whole symbols, as long as both buffers have room for the largest.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/match_copy.h"
#include "core/unaligned.h"
#include "inflate/lookup.h"
#include "inflate/stream.h"
#include "inflate/tables.h"
#include "inflate/window.h"

namespace ozrdc::inflate {

// A refill loads 8 bytes and moves on by 7 at most; a pass refills twice.
constexpr ptrdiff_t kSourceMargin = 2 * 7 + 8;

// A pass stores three literals and the longest match at most.
constexpr ptrdiff_t kDestinationMargin = 3 + kMaxEntryLength + kMatchOverwrite;

[[gnu::always_inline]] inline bool roomForFastLoop(const Source& source, const Output& output) noexcept {
    return source.end - source.ip >= kSourceMargin && output.end - output.op >= kDestinationMargin;
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
    void run(Source& source, Output& output, const History& history) const noexcept;

  private:
    const GeneralLayout& layout_;
};

inline void FastDecoder<GeneralTables>::run(Source& source, Output& output, const History& history) const noexcept {
    const Entry* const litLen = layout_.litLen.data();
    const Entry* const dist = layout_.dist.data();
    const uint8_t* ip = source.ip;
    const uint8_t* const ipLimit = source.end - kSourceMargin;
    uint8_t* op = output.op;
    uint8_t* const opLimit = output.end - kDestinationMargin;
    uint64_t bits = source.bits;
    uint64_t held = source.held;

    const auto refill = [&]() __attribute__((always_inline)) {
        bits |= load64(ip) << (held & 63);
        ip += ((held ^ 63) >> 3) & 7;
        held |= 56;
    };
    const auto drop = [&](Entry e) __attribute__((always_inline)) {
        bits >>= e & 63;
        held -= e;
    };
    constexpr uint64_t litMask = (1U << kLitLenRootBits) - 1;
    constexpr uint64_t distMask = (1U << kDistRootBits) - 1;

    const auto finish = [&](uint64_t b, uint64_t h, const uint8_t* i) {
        source.ip = i;
        source.held = static_cast<uint32_t>(h & 63);
        source.bits = b & ((uint64_t{1} << source.held) - 1);
        output.op = op;
    };
    refill();
    Entry e = litLen[bits & litMask];
    do {
        refill();
        if (e & entry::kLiteral) {
            drop(e);
            *op++ = static_cast<uint8_t>(e >> entry::kValueShift);
            e = litLen[bits & litMask];
            if (e & entry::kLiteral) {
                drop(e);
                *op++ = static_cast<uint8_t>(e >> entry::kValueShift);
                e = litLen[bits & litMask];
                if (e & entry::kLiteral) {
                    drop(e);
                    *op++ = static_cast<uint8_t>(e >> entry::kValueShift);
                    e = litLen[bits & litMask];
                    continue;
                }
            }
        }
        const uint64_t bits0 = bits;
        const uint64_t held0 = held;
        const uint8_t* const ip0 = ip;
        if (!(e & entry::kRegular)) [[unlikely]] {
            if (!(e & entry::kLink)) return finish(bits, held, ip);
            bits >>= kLitLenRootBits;
            held -= kLitLenRootBits;
            const size_t index = entry::linkedIndex(e) + (bits & ((1U << entry::codeBits(e)) - 1));
            if (index >= kLitLenEntries) return finish(bits0, held0, ip0);
            e = litLen[index];
            if (e & entry::kLiteral) {
                drop(e);
                *op++ = static_cast<uint8_t>(e >> entry::kValueShift);
                e = litLen[bits & litMask];
                continue;
            }
            if (!(e & entry::kRegular)) return finish(bits0, held0, ip0);
        }
        const uint64_t length = 3 + entry::byteValue(e) + (bits >> entry::codeBits(e) & e >> entry::kLengthMaskShift);
        drop(e);
        Entry d = dist[bits & distMask];
        refill();
        if (!(d & entry::kRegular)) [[unlikely]] {
            if (!(d & entry::kLink)) {
                return finish(bits0, held0, ip0);
            }
            bits >>= kDistRootBits;
            held -= kDistRootBits;
            const size_t index = entry::linkedIndex(d) + (bits & ((1U << entry::codeBits(d)) - 1));
            if (index >= kDistEntries) {
                return finish(bits0, held0, ip0);
            }
            d = dist[index];
            if (!(d & entry::kRegular)) {
                return finish(bits0, held0, ip0);
            }
        }
        const uint64_t extra = (bits & ~(~uint64_t{0} << (d & 63))) >> entry::codeBits(d);
        const uint64_t distance = (d >> entry::kValueShift) + 1 + extra;
        drop(d);
        e = litLen[bits & litMask];
        if (distance > history.inDestination(op)) [[unlikely]] {
            if (!history.reaches(op, distance)) {
                return finish(bits0, held0, ip0);
            }
            history.copyExact(op, distance, length);
        } else {
            copyMatchFast(op, distance, length);
        }
        op += length;
    } while (ip <= ipLimit && op <= opLimit);
    finish(bits, held, ip);
}

}  // namespace ozrdc::inflate
