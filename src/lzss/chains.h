// Where three bytes occurred before, and the search for the longest match.
//
// Every hash value has a chain: the latest position of that hash, from there the one before, and so on. The walk from
// link to link is what a search waits for, so a link tells the next two positions, and the walk takes two candidates a
// step.
//
// Positions are stored in 16 bits, which makes the tables small enough to stay near. Two of them less than 2^16 apart
// tell their distance, and `forget` takes care that they are: it has to be called before another kWindow positions are
// entered, and gives what is out of reach the distance kWindow again.
#pragma once

#include <smmintrin.h>

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

    // Makes all chains empty, in front of position 0.
    void clear() const noexcept { std::fill_n(head_, kHashValues, outOfReach(0)); }

    // Prepares for the next kWindow - 1 positions, of which `position` is the first.
    void forget(uint32_t position) const noexcept {
        constexpr uint32_t kLanes = 8;
        static_assert(kHashValues % kLanes == 0 && kWindow == 1 << 15);
        const __m128i now = _mm_set1_epi16(static_cast<int16_t>(position));
        const __m128i far = _mm_set1_epi16(static_cast<int16_t>(outOfReach(position)));
        for (uint32_t i = 0; i < kHashValues; i += kLanes) {
            const __m128i latest = load128(head_ + i);
            const __m128i isFar = _mm_srai_epi16(_mm_sub_epi16(now, latest), 15);
            store128(head_ + i, _mm_blendv_epi8(latest, far, isFar));
        }
    }

    // Enters a position. Returns the distance to the one before it on its chain, or kWindow if that is out of reach.
    [[gnu::always_inline]] uint32_t enter(uint32_t hash, uint32_t position) const noexcept {
        const uint32_t distance = std::min<uint32_t>(static_cast<uint16_t>(position - head_[hash]), kWindow);
        head_[hash] = static_cast<uint16_t>(position);
        const uint32_t second = distance + link(position - distance).next;
        // Two stores, rather than one of both halves, so that a load of the first half need not wait.
        Link& own = link(position);
        own.next = static_cast<uint16_t>(distance);
        own.second = static_cast<uint16_t>(second);
        return distance;
    }

    // Enters `count` positions, at least one, of the same hash as the position in front of them, which is entered, and
    // has the one in front of it for a candidate: a run of equal bytes.
    void enterRun(uint32_t hash, uint32_t position, uint32_t count) const noexcept {
        head_[hash] = static_cast<uint16_t>(position + count - 1);
        for (uint32_t i = 0; i < count; ++i) link(position + i) = {1, 2};
    }

    // The longest of the matches at `p`, which has `position`, with the candidate at `distance` and those behind it on
    // its chain, at most kCandidates; the nearest of equal ones. Matches end at `limit` bytes; two more can be read.
    [[gnu::always_inline]] [[nodiscard]] Match longestMatch(const uint8_t* p, uint32_t position, uint32_t distance,
                                                            uint32_t limit) const noexcept {
        Match best{kMinMatch - 1, 0};
        if (distance >= kWindow || best.length >= limit) return best;

        // What a longer match must have in common: its last four bytes, or all of the shortest match, the three bytes
        // that the mask leaves. Hardly any candidate has by chance.
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
        static_assert(kMinMatch == 3);
        for (uint32_t steps = kCandidates / 2;;) {
            const Link& next = link(position - distance);
            if (consider(distance)) return best;
            const uint32_t nearer = distance + next.next;
            if (nearer >= kWindow) return best;
            if (consider(nearer)) return best;
            distance += next.second;
            if (--steps == 0 || distance >= kWindow) return best;
        }
    }

  private:
    static constexpr uint32_t kCandidates = 16;
    static_assert(kCandidates % 2 == 0);

    static constexpr uint16_t outOfReach(uint32_t position) noexcept {
        return static_cast<uint16_t>(position - kWindow);
    }
    [[gnu::always_inline]] [[nodiscard]] Link& link(uint32_t position) const noexcept {
        return links_[position % kWindow];
    }

    Link* links_;
    uint16_t* head_;
};

}  // namespace ozrdc::lzss
