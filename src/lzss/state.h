// The state that a stream's caller keeps: one size for both directions.
//
// Both keep their history in a linear buffer, about twice as long as the window. New bytes are appended, and only when
// there is no room are the last 32 KB moved to the front: once in about 32 KB, and not with every call, however little
// it brings. A state holds no address.
#pragma once

#include <cstddef>
#include <cstdint>

#include "lzss/format.h"
#include "ozrdc.h"

namespace ozrdc::lzss {

constexpr std::size_t kStateSize = 327744;

// The history is behind kWindow bytes at the earliest, and so moves again after less than kWindow more: distances,
// which count as infinite from kWindow on, can be told by 16 bits of two positions as long as nothing older than the
// last move is believed, see `Chains`.
constexpr uint32_t kHistorySize = 2 * kWindow - 1;

constexpr uint32_t kHashValues = 32768;

// Distances from a position to the next two on its chain, or kWindow. If the first is kWindow, the second is undefined.
struct Link {
    uint16_t next;
    uint16_t second;
};

struct EncoderState {
    uint64_t bits;      // pending ones, left-aligned; zeros behind them
    uint32_t pending;   // their number
    uint32_t position;  // of the next byte, counted from the start of the stream, modulo 2^32
    uint32_t end;       // of the history, in its buffer: kWindow at least

    Link links[kWindow];         // by position, modulo kWindow
    uint16_t head[kHashValues];  // by hash: the latest position, modulo 2^16
    uint8_t history[kHistorySize];
};

struct DecoderState {
    uint32_t bits;      // pending ones, left-aligned; zeros behind them
    uint32_t pending;   // their number
    uint32_t length;    // what is left of a match that did not fit; 0: none
    uint32_t distance;  // of that match
    uint32_t end;       // of the history, in its buffer: kWindow at least

    uint8_t history[kHistorySize];
};

}  // namespace ozrdc::lzss

struct LZSSState {
    union {
        ozrdc::lzss::EncoderState encoder;
        ozrdc::lzss::DecoderState decoder;
        uint8_t reserved[ozrdc::lzss::kStateSize];
    };
};
static_assert(sizeof(LZSSState) == ozrdc::lzss::kStateSize);
