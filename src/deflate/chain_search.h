// The search that the fast and the slow parser share: the longest match among the candidates on a chain.
//
// A candidate counts only if its match is longer than the best so far. It must then agree in the last four bytes of a
// match one longer than that, and hardly any candidate does by chance: one load and one comparison turn away nearly all
// of them, without a look at their start.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/unaligned.h"
#include "deflate/parser.h"

namespace ozrdc::deflate {

// The margins of the chain parsers at the end of a source that the stream goes on behind.
constexpr int64_t kChainMargin = 261;

// Limits of a chain parser. One position is searched although it lies within the margin: that of a call which has just
// the margin left. Its match ends so that the bytes for the hash of every position it covers are there.
inline Limits chainLimits(const Call& call) noexcept {
    Limits limits(call.stream, call.final, kChainMargin, kCrcBytes);
    if (!call.final && call.stream.end - call.stream.src == kChainMargin) {
        limits.searchEnd = call.stream.src + 1;
        limits.matchEnd = call.stream.src + (kMaxMatch - 1);
    }
    return limits;
}

// A match; none if the distance is 0, and then the length is the one that had to be beaten.
struct Match {
    int64_t length;
    uint32_t distance;
};

// How a search spends its budget when it comes upon a good match.
enum class Budget { Fixed, CutByGoodMatch };

// The shortest match of the fast parser has three bytes: positions are found by the hash of four, so that only those
// with equal hashes of different words are that short.
constexpr int64_t kFastLeast = 3;
constexpr int64_t kSlowLeast = 4;

// The longest of the matches at `p` with `candidate` and those behind it on its chain, at most `budget` in all, that is
// longer than `toBeat`; the nearest of equal ones.
template <Budget kind, Part part>
[[gnu::always_inline]] inline Match searchChain(const View<part> view, const ChainTables& tables, const Effort& effort,
                                                const uint8_t* p, uint32_t index, uint32_t candidate, int32_t budget,
                                                int64_t toBeat) noexcept {
    constexpr Place place = View<part>::kPlace;
    Match best{toBeat, 0};
    const uint32_t reach = view.reach(p);
    uint32_t distance = index - candidate;
    if (distance - 1 >= reach || budget <= 0) return best;
    const int64_t longest = view.longest(p);
    if (toBeat >= longest) return best;
    // What a better match ends with: the four bytes from `tail` on; or at first, for the fast parser, only three, the
    // fourth of which is shifted out.
    const uint8_t* tail = p + std::max<int64_t>(toBeat - 3, 0);
    unsigned ignored = toBeat < 3 ? 8 : 0;
    uint32_t word = load32(tail);
    bool cut = false;
    do {
        const uint32_t found = distance;
        candidate = tables.before(candidate);
        distance = index - candidate;
        if ((view.stream.template wordBefore<place>(tail, found) ^ word) << ignored != 0) [[likely]]
            continue;
        const int64_t length = view.stream.template matchLength<place>(p, found, longest);
        if (length <= best.length) continue;
        best = {length, found};
        if (length >= std::min<int64_t>(effort.niceLength, longest)) break;
        tail = p + length - 3;
        word = load32(tail);
        ignored = 0;
        if (kind == Budget::CutByGoodMatch && !cut && length >= effort.goodLength) {
            // A quarter of what is left behind this candidate.
            budget = (budget - 1) / 4 + 1;
            cut = true;
        }
    } while (--budget > 0 && distance - 1 < reach);
    return best;
}

}  // namespace ozrdc::deflate
