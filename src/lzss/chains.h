// Where three bytes occurred before, and the search for the longest match.
//
// Every hash value has a chain: the latest position of that hash, from there the one before, and so on. A link holds
// the distances to the next two positions of the chain, because a search waits for nothing but the walk from link to
// link, and so takes two candidates a step.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/match_length.h"
#include "core/unaligned.h"
#include "lzss/format.h"
#include "lzss/state.h"

namespace ozrdc::lzss {

// A length below kMinMatch is no match.
struct Match {
    uint32_t length;
    uint32_t distance;
};

class Chains {
  public:
    explicit Chains(EncoderState& state) noexcept : links_(state.links), head_(state.head) {}

    // Enters a position. Returns the distance to the one before it on its chain, or kWindow if that is farther back.
    [[gnu::always_inline]] uint32_t enter(uint32_t hash, uint32_t position) const noexcept {
        const uint32_t distance = std::min(position - head_[hash], kWindow);
        head_[hash] = position;
        // The sum fits 16 bits, unless the nearer candidate is out of reach and this one does not count.
        const uint32_t farther = distance + link(position - distance);
        link(position) = distance | farther << 16;
        return distance;
    }

    // The longest of the matches at `p`, which has `position`, with the candidate at `distance` and those behind it on
    // its chain, at most kCandidates; the nearest of equal ones. Matches end at `limit` bytes; two more can be read.
    [[gnu::always_inline]] [[nodiscard]] Match longestMatch(const uint8_t* p, uint32_t position, uint32_t distance,
                                                            uint32_t limit) const noexcept {
        Match best{kMinMatch - 1, 0};
        // Positions count modulo 2^32, so that one that was entered long ago may seem to be the position itself.
        if (distance - 1 >= kWindow - 1 || best.length >= limit) return best;

        // What a longer match must have in common: its last four bytes, or all of the shortest match, the three bytes
        // that the mask leaves.
        const uint8_t* tail = p;
        uint32_t word = load32(tail);
        uint32_t mask = 0x00FFFFFF;
        // True if no longer match is possible.
        const auto consider = [&](uint32_t candidate) __attribute__((always_inline)) {
            if (((load32(tail - candidate) ^ word) & mask) != 0) [[likely]]
                return false;
            const auto length = static_cast<uint32_t>(getboundlong(p, p, -static_cast<int64_t>(candidate), limit));
            if (length <= best.length) return false;
            best = {length, candidate};
            if (length >= limit) return true;
            tail = p + length - 3;
            word = load32(tail);
            mask = 0xFFFFFFFF;
            return false;
        };
        for (uint32_t steps = kCandidates / 2;;) {
            const uint32_t next = link(position - distance);
            if (consider(distance)) return best;
            const uint32_t nearer = distance + (next & 0xFFFF);
            if (nearer >= kWindow) return best;
            if (consider(nearer)) return best;
            distance += next >> 16;
            if (--steps == 0 || distance >= kWindow) return best;
        }
    }

  private:
    static constexpr uint32_t kCandidates = 16;
    static_assert(kCandidates % 2 == 0);

    [[gnu::always_inline]] [[nodiscard]] uint32_t& link(uint32_t position) const noexcept {
        return links_[position & (kWindow - 1)];
    }

    uint32_t* links_;
    uint32_t* head_;
};

}  // namespace ozrdc::lzss
