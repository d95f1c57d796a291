// The stream as a call of the match search sees it: its source, and the window in front of it.
//
// Every byte of the stream has an index, a signed 32-bit number. A call gets the index of its first source byte, and
// the window holds the bytes of the indexes below it, as many as there are up to the size of the window, oldest first.
// Both lie somewhere in memory; a match may begin in the window and go on in the source.
//
// Nothing in a hash table is trusted: it may be left from other data, be rebased out of step, or be arbitrary. An entry
// becomes a candidate only as a distance that `reach` admits, and everything that is read then lies in the window or in
// the source, whatever the entry was.
#pragma once

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <span>

#include "core/match_length.h"
#include "core/unaligned.h"
#include "deflate/format.h"

namespace ozrdc::deflate {

// Where the candidates of a position may lie. A position far enough from the start of the source has all of them in the
// source, and so has every position if the window lies directly in front of the source; the loops are instantiated for
// both, so that these never ask where a candidate lies.
enum class Place { WindowOrSource, Source };

struct Stream {
    const uint8_t* src;
    const uint8_t* end;        // of the source
    const uint8_t* windowEnd;  // of the history in the window
    int32_t srcIdx;            // index of the first source byte
    int32_t history;           // bytes in the window
    int32_t winSize;

    // The view of a call, before its index is rebased: that leaves the bytes where they are.
    Stream(const uint8_t* source, int32_t sourceLength, int32_t sourceIndex, const uint8_t* window,
           int32_t windowSize) noexcept
        : src(source),
          end(source + sourceLength),
          windowEnd(window + std::clamp(sourceIndex, 0, windowSize)),
          srcIdx(sourceIndex),
          history(std::clamp(sourceIndex, 0, windowSize)),
          winSize(windowSize) {}

    // The index of the byte at `p`. Unsigned, as all arithmetic on indexes: they may wrap if a caller gives one close
    // to the largest, and a distance is right all the same.
    [[nodiscard, gnu::always_inline]] uint32_t indexOf(const uint8_t* p) const noexcept {
        return static_cast<uint32_t>(srcIdx) + static_cast<uint32_t>(p - src);
    }

    // How far a match at `p` may reach back: less than the size of the window, and to no byte before the history. A
    // distance d is admitted if d - 1 is below this, in unsigned arithmetic.
    [[nodiscard, gnu::always_inline]] uint32_t reach(const uint8_t* p) const noexcept {
        return static_cast<uint32_t>(std::min<int64_t>(winSize - 1, (p - src) + history));
    }

    // From here on all candidates lie in the source.
    [[nodiscard]] const uint8_t* windowReach() const noexcept {
        if (history == 0 || windowEnd == src) return src;
        return src + std::min<int64_t>(winSize - 1, end - src);
    }

    // How many bytes at `p` are equal to those at an admitted distance before it, at most `limit`, which the source
    // must still hold behind `p`.
    template <Place place>
    [[nodiscard, gnu::always_inline]] int64_t matchLength(const uint8_t* p, uint32_t distance,
                                                          int64_t limit) const noexcept {
        const int64_t inWindow = static_cast<int64_t>(distance) - (p - src);
        if (place == Place::Source || inWindow <= 0) [[likely]] {
            return getboundlong(p, p, -static_cast<int64_t>(distance), limit);
        }
        const int64_t first = std::min(inWindow, limit);
        const int64_t length = getboundlong(p, windowEnd, -inWindow, first);
        if (length < first || first == limit) return length;
        return length + getboundlong(p + first, src, 0, limit - first);
    }

    // The four bytes at an admitted distance before `p`, behind which the source must still hold four.
    template <Place place>
    [[nodiscard, gnu::always_inline]] uint32_t wordBefore(const uint8_t* p, uint32_t distance) const noexcept {
        const int64_t inWindow = static_cast<int64_t>(distance) - (p - src);
        if (place == Place::Source || inWindow <= 0) return load32(p - distance);
        if (inWindow >= 4) return load32(windowEnd - inWindow);
        return wordAcross(inWindow);
    }

  private:
    // The four bytes of which the first `inWindow`, 1 to 3, are the last of the window.
    [[nodiscard, gnu::noinline, gnu::cold]] uint32_t wordAcross(int64_t inWindow) const noexcept {
        uint8_t bytes[4];
        for (int64_t i = 0; i < 4; ++i) bytes[i] = i < inWindow ? windowEnd[i - inWindow] : src[i - inWindow];
        return load32(bytes);
    }
};

// Whether the index has to be rebased before `srcLen` bytes are parsed, so that indexes never come near the largest
// one.
[[nodiscard]] inline bool needsRebasing(int32_t srcIdx, int32_t srcLen, int32_t winSize) noexcept {
    const int64_t limit = srcLen ^ std::numeric_limits<int32_t>::max();
    return int64_t{srcIdx} + winSize + srcLen >= limit;
}

// Lowers the index of a call to the size of the window when that is due, and the entries of its hash tables with it.
// What lies in the window stays what it is.
inline void rebaseIfNeeded(Stream& stream, int32_t srcLen, std::initializer_list<std::span<int32_t>> tables) noexcept {
    if (!needsRebasing(stream.srcIdx, srcLen, stream.winSize)) return;
    const int64_t shift = int64_t{stream.srcIdx} - stream.winSize;
    constexpr int64_t kHighest = std::numeric_limits<int32_t>::max();
    for (const std::span<int32_t> table : tables) {
        for (int32_t& entry : table) {
            entry = static_cast<int32_t>(std::clamp(entry - shift, int64_t{kEmptySlot}, kHighest));
        }
    }
    stream.srcIdx = stream.winSize;
}

}  // namespace ozrdc::deflate
