// Where the bytes of a position lie, and which earlier positions a match may begin at.
//
// Positions count bytes in one address space: position `srcIdx` is the first byte of the source, those below it are
// history. The search keeps positions only; what stands here turns a candidate, that is, the position of an earlier
// group of four bytes, into bytes to compare. The kinds of history differ in that and in nothing else, so that one
// search and one parse serve them all.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/match_length.h"
#include "core/opaque.h"
#include "core/unaligned.h"
#include "lz4/format.h"
#include "ozrdc.h"

namespace ozrdc::lz4 {

// Two equal groups of four bytes. None was found if `at` is null.
struct Hit {
    const uint8_t* at = nullptr;
    int64_t candidate = 0;  // the position of the earlier group
};

// In a source, the limit of a match lies at least this far behind every group that is probed.
constexpr int64_t kSourceBehindGroup = 8;

// Counts how many bytes behind the groups of a hit are equal too, where `kLeast` bytes at least may be compared. A
// displacement in the address of the first comparison would cost a cycle on the way to the next match, so that the base
// is moved once and for all.
template <int64_t kLeast>
struct Extender {
    const uint8_t* compareBase;

    explicit Extender(const uint8_t* base) noexcept : compareBase(opaque(base + kMinMatch)) {}

    [[gnu::always_inline]] int64_t operator()(const Hit& hit, const uint8_t* matchLimit) const noexcept {
        const uint8_t* const compared = hit.at + kMinMatch;
        if (matchLimit - compared < kLeast) __builtin_unreachable();
        return getboundlong(compared, compareBase, hit.candidate, matchLimit - compared);
    }
};
using SourceExtender = Extender<kSourceBehindGroup>;

// No history: every candidate lies in the source. With `kOffsetsAlwaysFit` none is too far away.
template <bool kOffsetsAlwaysFit>
struct NoHistory {
    const uint8_t* base;  // the byte of position 0

    [[gnu::always_inline]] int64_t position(const uint8_t* p) const noexcept { return p - base; }

    // True if a match with the candidate may begin at `p`.
    [[gnu::always_inline]] bool equalFour(const uint8_t* p, int64_t candidate) const noexcept {
        if (load32(base + candidate) != load32(p)) [[likely]]
            return false;
        return kOffsetsAlwaysFit || candidate + int64_t{kMaxOffset} >= position(p);
    }

    [[nodiscard]] SourceExtender extender() const noexcept { return SourceExtender(base); }
};

// The history lies right in front of the source. No byte further back than an offset reaches is read, so that no more
// than that has to be there.
struct PrefixHistory {
    const uint8_t* base;

    PrefixHistory(const uint8_t* source, int64_t srcIdx) noexcept : base(source - srcIdx) {}

    [[gnu::always_inline]] int64_t position(const uint8_t* p) const noexcept { return p - base; }

    [[gnu::always_inline]] bool equalFour(const uint8_t* p, int64_t candidate) const noexcept {
        return candidate + int64_t{kMaxOffset} >= position(p) && load32(base + candidate) == load32(p);
    }

    [[nodiscard]] SourceExtender extender() const noexcept { return SourceExtender(base); }
};

// A match may not begin where fewer bytes of a separate dictionary follow than are compared at once.
constexpr int64_t kLeastDictionaryRest = 8;

// The history lies elsewhere; its end stands where the source begins. With `kAllUsable` a match may begin at every
// candidate of the dictionary.
template <bool kAllUsable>
struct SeparateHistory {
    const uint8_t* base;        // of the source's positions
    const uint8_t* dictionary;  // of the dictionary's positions
    const uint8_t* source;
    const uint8_t* dictionaryEnd;
    int64_t srcIdx;
    int64_t first;    // the dictionary's first position
    uint64_t usable;  // how many positions from there on a match may begin at

    SeparateHistory(const uint8_t* pSrc, int64_t index, const uint8_t* pDict, int64_t dictSize) noexcept
        : base(pSrc - index),
          dictionary(pDict + dictSize - index),
          source(pSrc),
          dictionaryEnd(pDict + dictSize),
          srcIdx(index),
          first(index - dictSize),
          usable(static_cast<uint64_t>(std::max<int64_t>(0, dictSize - kLeastDictionaryRest + 1))) {}

    [[gnu::always_inline]] int64_t position(const uint8_t* p) const noexcept { return p - base; }

    [[gnu::always_inline]] bool isInSource(int64_t candidate) const noexcept { return candidate >= srcIdx; }

    // True if a match may begin at a candidate below `srcIdx`.
    [[gnu::always_inline]] bool isUsable(int64_t candidate) const noexcept {
        return static_cast<uint64_t>(candidate - first) < usable;
    }

    // Which side a candidate lies on cannot be predicted, so that there is no branch on it: the bytes of a candidate
    // that must not be used are taken from the source's beginning, and the comparison does not count.
    [[gnu::always_inline]] bool equalFour(const uint8_t* p, int64_t candidate) const noexcept {
        const uint8_t* from = (isInSource(candidate) ? base : dictionary) + candidate;
        if constexpr (!kAllUsable) from = isInSource(candidate) || isUsable(candidate) ? from : source;
        if (load32(from) != load32(p)) [[likely]]
            return false;
        return (kAllUsable || isInSource(candidate) || isUsable(candidate)) &&
               candidate + int64_t{kMaxOffset} >= position(p);
    }

    // A match never runs from the dictionary on into the source.
    struct TwoSidedExtender {
        const SeparateHistory& history;
        SourceExtender inSource;
        Extender<0> inDictionary;

        [[gnu::always_inline]] int64_t operator()(const Hit& hit, const uint8_t* matchLimit) const noexcept {
            if (history.isInSource(hit.candidate)) return inSource(hit, matchLimit);
            return inDictionary(hit, std::min(matchLimit, hit.at + (history.srcIdx - hit.candidate)));
        }
    };

    [[nodiscard]] TwoSidedExtender extender() const noexcept {
        return {*this, SourceExtender(base), Extender<0>(dictionary)};
    }
};

// How the encoders with a dictionary understand their arguments.
enum class HistoryKind { Prefix, Separate, Invalid };

[[nodiscard]] inline HistoryKind historyKind(const uint8_t* pSrc, int32_t srcIdx, const uint8_t* pDict,
                                             int32_t dictSize) noexcept {
    if (pDict == nullptr || dictSize == 0) return HistoryKind::Prefix;
    if (dictSize < 0) return HistoryKind::Invalid;
    return srcIdx == dictSize && pDict + dictSize == pSrc ? HistoryKind::Prefix : HistoryKind::Separate;
}

}  // namespace ozrdc::lz4
