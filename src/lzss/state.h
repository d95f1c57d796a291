// The state that a stream's caller keeps: one size for both directions.
//
// Both keep their history in a linear buffer twice as long as the window. New bytes are appended, and only when there
// is no room are the last 32 KB moved to the front: once in 32 KB, and not with every call, however little it brings.
//
// Whatever an index of a state is, it is relative to the state: a state holds no address.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lzss/format.h"
#include "ozrdc.h"

namespace ozrdc::lzss {

constexpr std::size_t kStateSize = 327744;
constexpr std::size_t kHeaderSize = 64;
constexpr uint32_t kHistorySize = 2 * kWindow;
constexpr uint32_t kHashValues = 32768;

// What the tables begin with: a position too far back for any other.
constexpr int32_t kNoPosition = -static_cast<int32_t>(kWindow);

struct EncoderState {
    alignas(uint64_t) uint64_t bits;  // pending ones, left-aligned; zeros behind them
    uint32_t pending;                 // their number
    uint32_t position;                // of the next byte, counted from the start of the stream, modulo 2^32
    uint32_t end;                     // of the history, in the buffer
    uint8_t reserved[kHeaderSize - 20];

    // By position modulo kWindow; see `Chains`.
    uint32_t links[kWindow];
    // By hash: the latest position.
    uint32_t head[kHashValues];
    uint8_t history[kHistorySize];
};
static_assert(offsetof(EncoderState, links) == kHeaderSize);
static_assert(sizeof(EncoderState) == kStateSize);

struct DecoderState {
    uint32_t bits;      // pending ones, left-aligned; zeros behind them
    uint32_t pending;   // their number
    uint32_t length;    // what is left of a match that did not fit; 0: none
    uint32_t distance;  // of that match
    uint32_t end;       // of the history, in the buffer: kWindow at least
    uint8_t reserved[kHeaderSize - 20];

    uint8_t history[kHistorySize];
};
static_assert(sizeof(DecoderState) <= kStateSize);

}  // namespace ozrdc::lzss

struct LZSSState {
    union {
        ozrdc::lzss::EncoderState encoder;
        ozrdc::lzss::DecoderState decoder;
    };
};
static_assert(sizeof(LZSSState) == ozrdc::lzss::kStateSize);
