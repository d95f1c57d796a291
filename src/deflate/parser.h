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
};

// A call's positions come in parts, for each of which the loops are instantiated. In the middle everything is as usual:
// candidates lie in the source, or right in front of it, matches may have any distance and any length, and bytes follow
// for the hash of every position in sight. At the edges, the start of the source and its end, each of these is looked
// at. Both give the same records.
enum class Part { Edge, Middle };

// How many bytes follow a position of the middle. A match there may be put off until a longer one has been found at the
// next position, and that again, until it has the greatest length; that one is covered, and looked at from behind.
constexpr int64_t kInSight = (kMaxMatch - kMinMatch) + kMaxMatch + 8;

// One part of a call, as its loops see it.
template <Part part>
struct View {
    static constexpr Place kPlace = part == Part::Middle ? Place::Source : Place::WindowOrSource;

    const Stream& stream;
    const Limits& limits;

    // How far a match at `p` may reach back.
    [[nodiscard, gnu::always_inline]] uint32_t reach(const uint8_t* p) const noexcept {
        return part == Part::Middle ? static_cast<uint32_t>(stream.winSize) - 1 : stream.reach(p);
    }

    // The length of the longest match at `p`.
    [[nodiscard, gnu::always_inline]] int64_t longest(const uint8_t* p) const noexcept {
        return part == Part::Middle ? kMaxMatch : std::min<int64_t>(kMaxMatch, limits.matchEnd - p);
    }

    // The last position that has the bytes for its hash, if any has, or `p` if that comes before it.
    [[nodiscard, gnu::always_inline]] const uint8_t* hashable(const uint8_t* p) const noexcept {
        return part == Part::Middle ? p : std::min(p, limits.hashEnd - 1);
    }

    // The end of positions that can be entered, up to `p`.
    [[nodiscard, gnu::always_inline]] const uint8_t* enterable(const uint8_t* p) const noexcept {
        return part == Part::Middle ? p : std::min(p, limits.hashEnd);
    }

    // Whether a position lies before the end of those to be searched.
    [[nodiscard, gnu::always_inline]] bool isSearched(const uint8_t* p) const noexcept {
        return part == Part::Middle || p < limits.searchEnd;
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

// Runs `parse<part>(p, end)`, which parses up to `end` or further and returns where it stopped, over the parts of a
// call.
template <class Parse>
[[gnu::always_inline]] inline const uint8_t* parseInParts(const Stream& stream, const Limits& limits,
                                                          Parse parse) noexcept {
    const uint8_t* p = stream.src;
    const int64_t length = stream.end - stream.src;
    const int64_t history = stream.windowEnd == stream.src ? stream.history : 0;
    const int64_t middleBegin = std::max<int64_t>(0, stream.winSize - 1 - history);
    if (middleBegin + kInSight < length) {
        p = parse.template operator()<Part::Edge>(p, std::min(p + middleBegin, limits.searchEnd));
        p = parse.template operator()<Part::Middle>(p, std::min(stream.end - kInSight, limits.searchEnd));
    }
    return parse.template operator()<Part::Edge>(p, limits.searchEnd);
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
