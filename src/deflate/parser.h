// What the three parsers share: the parts of one call, and how it goes on through its source.
//
// A parser turns the source into records. It stops before a record that does not fit, and, while more of the stream is
// to come, so far before the end of the source that every match can be as long as the format allows. A position that
// was entered in the tables is always covered by a record: otherwise the next call would meet it as its own candidate.
#pragma once

#include <algorithm>
#include <cstdint>

#include "deflate/format.h"
#include "deflate/hash.h"
#include "deflate/stream.h"

namespace ozrdc::deflate {

// How hard the chain parsers try: a row of the caller's four parameters.
struct Effort {
    int32_t maxChain;    // candidates looked at for a position; 0 asks for the single-probe parser
    int32_t goodLength;  // a match this long cuts what is left of the chain to a quarter
    int32_t niceLength;  // a match this long ends the search
    int32_t maxLazy;     // slow: no search behind a match this long; fast: longer ones enter only their start
};

// The caller's record buffers and symbol counters. A record is a literal with distance 0, or a match length less 3 with
// its distance.
struct Records {
    uint8_t* lit;
    uint16_t* dist;
    int64_t written;
    int64_t capacity;
    uint32_t* litFreq;
    uint32_t* distFreq;

    [[nodiscard, gnu::always_inline]] int64_t room() const noexcept { return capacity - written; }

    [[gnu::always_inline]] void literal(uint8_t byte) noexcept {
        lit[written] = byte;
        dist[written] = 0;
        ++written;
        ++litFreq[byte];
    }

    [[gnu::always_inline]] void match(int64_t length, uint32_t distance) noexcept {
        const auto less3 = static_cast<unsigned>(length) - kMinMatch;
        lit[written] = static_cast<uint8_t>(less3);
        dist[written] = static_cast<uint16_t>(distance);
        ++written;
        ++litFreq[kFirstLengthSymbol + lengthCode(less3)];
        ++distFreq[distCode(distance)];
    }
};

// Where a call searches for matches, and how far these may reach.
struct Limits {
    const uint8_t* searchEnd;  // positions from here on are not searched
    const uint8_t* hashEnd;    // positions from here on lack bytes for their hash
    const uint8_t* matchEnd;   // no match passes it

    // `margin` is the part of a source at its end that is left to the next call.
    Limits(const Stream& stream, bool final, int64_t margin, int64_t hashBytes) noexcept {
        const int64_t length = stream.end - stream.src;
        hashEnd = stream.end - std::min(length, hashBytes - 1);
        searchEnd = final ? hashEnd : stream.end - std::min(length, margin);
        matchEnd = stream.end;
    }

    // The last position that has the bytes for its hash, if any has, or `p` if that comes before it.
    [[nodiscard, gnu::always_inline]] const uint8_t* hashable(const uint8_t* p) const noexcept {
        return std::min(p, hashEnd - 1);
    }

    // The length of the longest match at `p`.
    [[nodiscard, gnu::always_inline]] int64_t longestAt(const uint8_t* p) const noexcept {
        return std::min<int64_t>(kMaxMatch, matchEnd - p);
    }
};

// One call of a parser.
struct Call {
    Stream stream;
    ChainTables tables;
    Effort effort;
    bool final;  // whether the source is the end of the stream
};

// Each parses a call's source, writes records and returns where it stopped.
const uint8_t* parseSingleProbe(const Call& call, Records& records) noexcept;
const uint8_t* parseFast(const Call& call, Records& records) noexcept;
const uint8_t* parseSlow(const Call& call, Records& records) noexcept;

// Runs `parse<place>(p, partEnd)`, which returns where it stopped, over the positions up to `end`: first those whose
// candidates may lie in the window, then the others.
template <class Parse>
[[gnu::always_inline]] inline const uint8_t* parseInParts(const Stream& stream, const uint8_t* end,
                                                          Parse parse) noexcept {
    const uint8_t* p = stream.src;
    const uint8_t* const windowReach = std::min(end, stream.windowReach());
    if (p < windowReach) p = parse.template operator()<Place::WindowOrSource>(p, windowReach);
    return parse.template operator()<Place::Source>(p, end);
}

// Writes what is too short for a hash, at the end of the stream, as literals; returns where that ends.
inline const uint8_t* parseLastBytes(const Call& call, const Limits& limits, const uint8_t* p,
                                     Records& records) noexcept {
    if (call.final && p >= limits.hashEnd) {
        while (p < call.stream.end && records.room() > 0) records.literal(*p++);
    }
    return p;
}

}  // namespace ozrdc::deflate
