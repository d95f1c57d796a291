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
#include "deflate/symbol_counts.h"

namespace ozrdc::deflate {

// How hard the chain parsers try: a row of the caller's four parameters.
struct Effort {
    int32_t maxChain;    // candidates looked at for a position; 0 asks for the single-probe parser
    int32_t goodLength;  // a match this long cuts what is left of the chain to a quarter
    int32_t niceLength;  // a match this long ends the search
    int32_t maxLazy;     // slow: no search behind a match this long; fast: longer ones enter only their start
};

// A match; none if the distance is 0.
struct Match {
    int64_t length;
    uint32_t distance;
};

// The caller's record buffers, and the counters of the symbols. A record is a literal with distance 0, or a match
// length less 3 with its distance.
struct Records {
    uint8_t* lit;
    uint16_t* dist;
    int64_t written;
    int64_t capacity;
    SymbolCounts counts;

    [[nodiscard, gnu::always_inline]] int64_t room() const noexcept { return capacity - written; }

    [[gnu::always_inline]] void literal(uint8_t byte) noexcept {
        lit[written] = byte;
        dist[written] = 0;
        ++written;
        counts.literal(byte);
    }

    [[gnu::always_inline]] void match(const Match found) noexcept {
        lit[written] = less3(found.length);
        dist[written] = static_cast<uint16_t>(found.distance);
        ++written;
        counts.match(less3(found.length), found.distance);
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
// for the hash of every position in sight. Young positions are the same, but for the distance: the history is still
// shorter than the window. At the edges, at the end of the source and where candidates may lie in a window elsewhere,
// each of these is looked at. All parts give the same records.
enum class Part { Edge, Young, Middle };

// How many bytes follow a position that is not at an edge: a match there may be put off for a longer one at the next
// position, that one again, and so on up to the greatest length, and the position behind that one is hashed ahead.
constexpr int64_t kInSight = (kMaxMatch - kMinMatch) + kMaxMatch + kCrcBytes;

// One part of a call, as its loops see it.
template <Part part>
struct View {
    static constexpr bool kIsEdge = part == Part::Edge;
    static constexpr Place kPlace = kIsEdge ? Place::WindowOrSource : Place::Source;

    const Stream& stream;
    const Limits& limits;

    // How far a match at `p` may reach back.
    [[nodiscard, gnu::always_inline]] uint32_t reach(const uint8_t* p) const noexcept {
        return part == Part::Middle ? static_cast<uint32_t>(stream.winSize) - 1 : stream.reach(p);
    }

    // The length of the longest match at `p`.
    [[nodiscard, gnu::always_inline]] int64_t longest(const uint8_t* p) const noexcept {
        return kIsEdge ? std::min<int64_t>(kMaxMatch, limits.matchEnd - p) : kMaxMatch;
    }

    // The last position that has the bytes for its hash, if any has, or `p` if that comes before it.
    [[nodiscard, gnu::always_inline]] const uint8_t* hashable(const uint8_t* p) const noexcept {
        return kIsEdge ? std::min(p, limits.hashEnd - 1) : p;
    }

    // The end of positions that can be entered, up to `p`.
    [[nodiscard, gnu::always_inline]] const uint8_t* enterable(const uint8_t* p) const noexcept {
        return kIsEdge ? std::min(p, limits.hashEnd) : p;
    }

    // Whether a position lies before the end of those to be searched.
    [[nodiscard, gnu::always_inline]] bool isSearched(const uint8_t* p) const noexcept {
        return !kIsEdge || p < limits.searchEnd;
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

// Runs `parse<part>(p, end)` over the parts of a call: it parses up to `end` or further, or, when the records are full,
// not so far, and returns where it stopped.
template <class Parse>
[[gnu::always_inline]] inline const uint8_t* parseInParts(const Stream& stream, const Limits& limits,
                                                          Parse parse) noexcept {
    const uint8_t* const src = stream.src;
    const int64_t length = limits.searchEnd - src;
    const int64_t middleEnd = std::clamp<int64_t>(stream.end - src - kInSight, 0, length);
    const bool hasWindowElsewhere = stream.history > 0 && stream.windowEnd != src;
    const int64_t greatestDistance = stream.winSize - 1;
    const int64_t inFront = hasWindowElsewhere ? 0 : std::min<int64_t>(stream.history, greatestDistance);
    const int64_t middleBegin = std::min(middleEnd, greatestDistance - inFront);

    const uint8_t* p = src;
    p = hasWindowElsewhere ? parse.template operator()<Part::Edge>(p, src + middleBegin)
                           : parse.template operator()<Part::Young>(p, src + middleBegin);
    p = parse.template operator()<Part::Middle>(p, src + middleEnd);
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
