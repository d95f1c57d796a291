// The parse of the single-pass encoders: at every position one candidate, the latest with the same hash of four bytes.
//
// One parse serves statistics and encoders: what it finds goes to a sink. A sink has `record`, for a literal or a
// match, and `literals`, for two of them; both may be called while `hasRoom` holds. `tryRecord` can be called at any
// time, and returns false if the symbol does not fit.
//
// Far from the end of the source every match can be as long as the format allows, and while the sink has room every
// symbol fits; there the fast loop runs. The careful loop does the rest. Both make the same decisions, so that the
// stream does not depend on where source or destination were cut.
//
// Memory: whatever a hash table holds, it leads to no read outside window and source.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "core/match_length.h"
#include "core/opaque.h"
#include "core/unaligned.h"
#include "deflate/format.h"
#include "deflate/hash.h"
#include "deflate/record_words.h"
#include "deflate/stream.h"

namespace ozrdc::deflate::single_pass {

// The margin at the end of a source that the stream goes on behind.
constexpr int64_t kMargin = 260;
static_assert(kMargin >= int64_t{kMaxMatch} && kMargin >= kCrcBytes);

// A match enters its start, and the positions behind it that every match covers. That needs no loop over its length,
// and gains more by better matches (3% of the output) than it costs.
constexpr uint32_t kEntered = static_cast<uint32_t>(kCrcBytes);

// The ways to a match. Each has `lengthAt(p, distance)`: the length of the match at `p` with the candidate at a
// distance that may be anything, or 0 if there is none of at least 4 bytes.

// Candidates may lie in the window or in the source, or on the border.
struct WindowSearch {
    const Stream& stream;

    WindowSearch(const Stream& s) noexcept : stream(s) {}

    [[nodiscard, gnu::always_inline]] int64_t lengthAt(const uint8_t* p, uint32_t distance) const noexcept {
        if (distance - 1 >= stream.reach(p)) return 0;
        if (stream.wordBefore<Place::WindowOrSource>(p, distance) != load32(p)) return 0;
        return stream.matchLength<Place::WindowOrSource>(p, distance, opaque(int64_t{kMaxMatch}));
    }
};

// How much of the history lies directly in front of the source.
inline int64_t historyInFront(const Stream& stream) noexcept {
    return stream.windowEnd == stream.src ? stream.history : 0;
}

// Candidates lie in the source, or in the window directly in front of it. Half of them are no match, and which of them
// is hard to predict, so that there is one branch: it looks at the difference of the bytes, which are loaded from a
// place that is safe to read whatever the distance, and at whether the distance was admitted.
enum class Reach {
    Growing,  // the history is shorter than the window
    Full      // all that a distance can say lies in the history
};
template <Reach kind>
struct SourceSearch {
    const uint8_t* historyBegin;
    uint32_t fullReach;
    uint32_t distanceMask;

    SourceSearch(const Stream& stream) noexcept
        : historyBegin(stream.src - historyInFront(stream)),
          fullReach(static_cast<uint32_t>(stream.winSize) - 1),
          distanceMask(std::bit_ceil(static_cast<uint32_t>(stream.winSize)) - 1) {}

    // Where the history holds every distance that the mask leaves.
    [[nodiscard]] const uint8_t* fullBegin(const Stream& stream) const noexcept {
        return stream.src + std::min<int64_t>(stream.end - stream.src,
                                              std::max<int64_t>(0, int64_t{distanceMask} - historyInFront(stream)));
    }

    [[nodiscard, gnu::always_inline]] int64_t lengthAt(const uint8_t* p, uint32_t distance) const noexcept {
        uint32_t reach = fullReach;
        uint64_t back = distance & distanceMask;
        if (kind == Reach::Growing) {
            reach = static_cast<uint32_t>(std::min<int64_t>(reach, p - historyBegin));
            back = distance - 1 < reach ? distance : 0;
        }
        const uint64_t difference = load64(p - back) ^ load64(p);
        const uint32_t refused = distance - 1 < reach ? 0 : 1;
        if ((static_cast<uint32_t>(difference) | refused) != 0) return 0;
        if (difference != 0) {
            const int64_t length = equalBytes(difference);
            if (length < kCrcBytes) __builtin_unreachable();
            return length;
        }
        // As many comparisons as the limit allows are not to be unrolled, in so many instances.
        const int64_t limit = opaque(int64_t{kMaxMatch} - 8);
        return 8 + getboundlong(p + 8, p + 8, -static_cast<int64_t>(distance), limit);
    }
};

struct Found {
    int64_t length;  // 0 if there is no match
    uint32_t distance;
    uint32_t index;
};

// Parses positions from `p` to `end`, and perhaps the one at `end`, and returns where it stopped: behind the last, or
// at a position before which the sink has no more room. Behind the positions the source goes on by the margin.
template <class Search, class Sink>
[[gnu::noinline]] const uint8_t* parseWithMargin(const Stream& stream, const HeadTable table, const uint8_t* p,
                                                 const uint8_t* end, Sink& sink) noexcept {
    const Search search(stream);
    const uint32_t firstIndex = stream.indexOf(p);
    const uint8_t* const first = p;
    const auto probe = [&](const uint8_t* at) noexcept -> Found {
        const uint32_t index = firstIndex + static_cast<uint32_t>(at - first);
        const uint32_t distance = index - table.exchange(table.hash(at), index);
        return {search.lengthAt(at, distance), distance, index};
    };
    Sink local = sink;
    while (p < end && local.hasRoom()) {
        Found found = probe(p);
        if (found.length == 0) {
            // Literals come in runs, and two at a time are cheaper.
            const uint8_t literal = *p++;
            found = probe(p);
            if (found.length == 0) {
                local.literals(literal, *p++);
                continue;
            }
            local.record(literal, kLiteral);
        }
        for (uint32_t i = 1; i < kEntered; ++i) table.exchange(table.hash(p + i), found.index + i);
        local.record(less3(found.length), found.distance);
        p += found.length;
    }
    sink = local;
    return p;
}

// The same up to the end of the source, if `end` says so, and stops at a position whose symbol does not fit.
template <class Sink>
[[gnu::noinline]] const uint8_t* parseCarefully(const Stream& stream, const HeadTable table, const uint8_t* p,
                                                const uint8_t* end, Sink& sink) noexcept {
    while (p < end) {
        const int64_t left = stream.end - p;
        if (left < kCrcBytes) {
            if (!sink.tryRecord(*p, kLiteral)) break;
            ++p;
            continue;
        }
        const uint32_t index = stream.indexOf(p);
        const uint32_t slot = table.hash(p);
        const uint32_t previous = table.exchange(slot, index);
        const uint32_t distance = index - previous;
        int64_t length = 0;
        if (distance - 1 < stream.reach(p)) {
            length = stream.matchLength<Place::WindowOrSource>(p, distance, std::min<int64_t>(left, kMaxMatch));
        }
        const bool match = length >= kCrcBytes;
        if (!(match ? sink.tryRecord(less3(length), distance) : sink.tryRecord(*p, kLiteral))) {
            // The next call meets this position again, and is to find what this one found.
            table.exchange(slot, previous);
            break;
        }
        if (match) {
            for (uint32_t i = 1; i < kEntered && i + kCrcBytes <= left; ++i)
                table.exchange(table.hash(p + i), index + i);
        }
        p += match ? length : 1;
    }
    return p;
}

// Parses a source up to `end`, which is its end or leaves the margin, and returns where it stopped: before `end` if the
// sink is full.
template <class Sink>
const uint8_t* parseOnce(const Stream& stream, const HeadTable table, const uint8_t* end, Sink& sink) noexcept {
    // The fast loop may go one position further than told.
    const uint8_t* const fastEnd = stream.end - std::min<int64_t>(stream.end - stream.src, kMargin + 1);
    const uint8_t* p = stream.src;
    const auto parseUpTo = [&]<class Search>(const uint8_t* partEnd) {
        partEnd = std::min(partEnd, fastEnd);
        if (p < partEnd) p = parseWithMargin<Search>(stream, table, p, partEnd, sink);
    };
    parseUpTo.template operator()<WindowSearch>(stream.windowReach());
    parseUpTo.template operator()<SourceSearch<Reach::Growing>>(SourceSearch<Reach::Full>(stream).fullBegin(stream));
    parseUpTo.template operator()<SourceSearch<Reach::Full>>(fastEnd);
    return parseCarefully(stream, table, p, end, sink);
}

}  // namespace ozrdc::deflate::single_pass
