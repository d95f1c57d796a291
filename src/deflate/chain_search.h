// The search that the fast and the slow parser share: the longest match among the candidates on a chain.
//
// A candidate counts only if its match is longer than the best so far. It must then agree in the last four bytes of a
// match one longer than that, and hardly any candidate does by chance: one load and one comparison turn away nearly all
// of them, without a look at their start. What is left is the walk from one link to the next, each of which waits for
// the one before. `Foresight` ends it where no better match can follow.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "core/unaligned.h"
#include "deflate/parser.h"

namespace ozrdc::deflate {

// What differs between the parsers.
enum class Rules {
    Fast,  // matches of three bytes, where the hashes of different words agree; a good match cuts the rest of the
           // budget
    Slow   // matches of four bytes; the budget stays
};

// The length that a match has to beat if there is none yet.
template <Rules rules>
constexpr int64_t kNoMatch = rules == Rules::Fast ? 2 : 3;

// The margin of the chain parsers at the end of a source that the stream goes on behind.
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

// Knows when no better match can follow.
//
// Every four bytes in a row of a longer match must occur at the candidate, too. If no position in reach was entered
// with their hash, there is no such candidate. That holds where this call has entered all positions in reach, as the
// slow parser does, and chains run back in the stream. They do: the link of a position in reach was written when it was
// entered, from a head that was entered before by this call or that came with the call, and then had no index that was
// still to come; and with a window of 2^n bytes no other position in reach has the same link.
struct Foresight {
    const uint8_t* begin;  // positions from here on have it

    // To ask the tables costs as much as some steps along the chain; a smaller budget does not repay it.
    static constexpr int32_t kLeastBudget = 12;

    // `room` is that for records. A call that will not get far behind the window, at the usual four bytes for a record,
    // has none: it is not worth a look through the tables.
    Foresight(const Stream& stream, const ChainTables& tables, int64_t room) noexcept : Foresight(stream) {
        const int64_t size = stream.winSize;
        const bool goesFar = std::min(stream.end - stream.src, 4 * room) >= 2 * size;
        if (goesFar && std::has_single_bit(static_cast<uint32_t>(size)) && tables.latest() < stream.srcIdx) {
            begin = stream.src + (size - 1);
        }
    }

    // None.
    explicit Foresight(const Stream& stream) noexcept : begin(stream.end) {}

    [[nodiscard, gnu::always_inline]] bool isGivenAt(const uint8_t* p) const noexcept { return p >= begin; }
};

// The longest of the matches at `p` with `candidate` and those behind it on its chain, at most `budget` in all, that is
// longer than `toBeat`, the nearest of equal ones; or none, with the length to beat.
template <Rules rules, Part part>
[[gnu::always_inline]] inline Match searchChain(const View<part> view, const ChainTables& tables, const Effort& effort,
                                                const Foresight& foresight, const uint8_t* p, uint32_t index,
                                                uint32_t candidate, int32_t budget, int64_t toBeat) noexcept {
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

    // Whether the four bytes at `at`, which a better match must hold, occur nowhere in reach. Candidates so near that
    // their last bytes were not entered yet are looked at.
    const auto occursNowhere = [&](const uint8_t* at) noexcept {
        return foresight.isGivenAt(p) && distance + 3 >= static_cast<uint32_t>(best.length) &&
               index - static_cast<uint32_t>(tables.head[tables.hash(at)]) > reach;
    };
    if (rules == Rules::Slow && toBeat > kNoMatch<rules> && budget >= Foresight::kLeastBudget) {
        // A match to beat was found at the position in front of this one, which asked neither for the last byte of a
        // better match nor for the one before.
        if (occursNowhere(tail) || occursNowhere(tail - 1)) return best;
    }

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
        if (rules == Rules::Slow) {
            if (budget >= Foresight::kLeastBudget && occursNowhere(tail)) break;
        } else if (!cut && length >= effort.goodLength) {
            // A quarter of what is left behind this candidate.
            budget = (budget - 1) / 4 + 1;
            cut = true;
        }
    } while (--budget > 0 && distance - 1 < reach);
    return best;
}

}  // namespace ozrdc::deflate
