// The match search of the LZO1X encoders.
//
// A dictionary maps the CRC-32C of the four bytes at a position to the last position searched with that hash. To search
// a position is to read its slot, enter the position there, and compare four bytes with the position read. Nothing
// inside a match is searched. The order in which positions are searched is fixed: it decides the output bit for bit.
//
// The two searches differ in the size of the dictionary, in how far they look back, and in the step that follows a
// position where nothing was found.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/crc_hash.h"
#include "core/opaque.h"
#include "core/unaligned.h"
#include "core/vector_kernels.h"
#include "lzo/format.h"
#include "lzo/state.h"

namespace ozrdc::lzo {

constexpr int64_t kMinMatch = 4;

// The first position of a source, or of a chunk, that is searched.
constexpr int64_t kFirstSearched = 4;

// Returns `value` if it is above `limit`, and otherwise `instead`. Compilers make a branch of this.
[[gnu::always_inline]] inline int64_t ifAbove(int64_t value, int64_t limit, int64_t instead) noexcept {
    __asm__("cmp %1, %0\n\tcmovle %2, %0" : "+r"(value) : "r"(limit), "r"(instead) : "cc");
    return value;
}

// A dictionary of 2^bits entries in the caller's scratch.
template <class Entry, unsigned bits>
struct Dictionary {
    static constexpr uint32_t kMask = (1U << bits) - 1;
    static_assert((sizeof(Entry) << bits) <= kScratchSize);

    uint8_t* slots;

    void clear() const noexcept {
        constexpr int32_t kSlots = kMask + 1;
        if constexpr (sizeof(Entry) == 2) {
            ozrsZero_16s(slots, kSlots);
        } else {
            ozrsZero_32s(slots, kSlots);
        }
    }

    // Reads the slot of a word.
    [[gnu::always_inline]] int64_t look(uint32_t word) const noexcept {
        return load<Entry>(slots + (crcHash(0, word) & kMask) * sizeof(Entry));
    }

    // Reads the slot of a word and enters something else there.
    [[gnu::always_inline]] int64_t exchange(uint32_t word, int64_t entry) const noexcept {
        const uint64_t slot = crcHash(0, word) & kMask;
        const int64_t previous = load<Entry>(slots + slot * sizeof(Entry));
        // The load is on the way from one match to the next. If the compiler saw that the store goes to the same
        // address, it would compute the address first, and the load would wait for that.
        store(slots + opaque(slot) * sizeof(Entry), static_cast<Entry>(entry));
        return previous;
    }
};

// Where a match begins, and the earlier position that it repeats. If nothing was found, `position` is not in front of
// the end of the search.
struct Found {
    int64_t position;
    int64_t candidate;
};

// What stands at a position more often than not. Both expectations give the same result.
enum class Expectation { Match, Miss };

// Every position of a source. `Entry` is 16 bits wide for sources of at most `kShortSource` bytes, which halves the
// dictionary that has to be cleared and kept in the cache.
template <class Entry>
struct ThoroughSearch {
    // The last bytes of a source are not searched.
    static constexpr int64_t kMargin = 13;

    // Behind a match of the least length, so many positions are worth a prefetch.
    static constexpr int64_t kPrefetched = 3;

    // In sources up to this length nothing lies too far back.
    static constexpr int64_t kShortSource = kDistanceMax + 1;
    static constexpr bool kIsShort = sizeof(Entry) == 2;

    // An entry is a position plus this. In a long source an entry reaches to a position if it is larger than that
    // position itself, and a slot that is clear reaches nowhere: one comparison tells both. (Sums of 2^32 and above, at
    // the end of the longest source that can be, wrap to small ones, and reach nowhere.)
    static constexpr int64_t kBias = kIsShort ? 0 : int64_t{kDistanceMax} + 1;

    // What no candidate is, because positions before the first searched one are never entered.
    static constexpr int64_t kNone = 0;

    Dictionary<Entry, 15> dictionary;

    template <Expectation expectation>
    [[gnu::always_inline]] bool find(const uint8_t* base, int64_t position, int64_t& candidate) const noexcept {
        const uint32_t word = load32(base + position);
        const int64_t entry = dictionary.exchange(word, position + kBias);
        if constexpr (kIsShort) {
            candidate = entry;
            return load32(base + candidate) == word && candidate != kNone;
        } else if constexpr (expectation == Expectation::Match) {
            // A branch that is mostly predicted, so that nothing waits for it.
            if (entry <= position) return false;
            candidate = entry - kBias;
            return load32(base + candidate) == word;
        } else {
            // Whether old entries are in reach cannot be predicted. Here they become none, without a branch.
            const int64_t reached = ifAbove(entry, position, kNone + kBias);
            if (load32(base + (reached - kBias)) != word) return false;
            candidate = opaque(reached) - kBias;
            return candidate != kNone;
        }
    }

    // Loads what a search at a later position will need.
    [[gnu::always_inline]] void prefetch(const uint8_t* base, int64_t position) const noexcept {
        __builtin_prefetch(base + (dictionary.look(load32(base + position)) - kBias));
    }

    [[gnu::always_inline]] Found findFirst(const uint8_t* base, int64_t end) const noexcept {
        return findFrom(base, kFirstSearched, end);
    }

    // Searches on, behind the end of a match where nothing was found.
    [[gnu::always_inline]] Found findNext(const uint8_t* base, int64_t matchEnd, int64_t end) const noexcept {
        return findFrom(base, matchEnd + 1, end);
    }

  private:
    [[gnu::always_inline]] Found findFrom(const uint8_t* base, int64_t position, int64_t end) const noexcept {
        // The end is looked at once in so many positions.
        constexpr int64_t kAtOnce = 4;
        int64_t candidate = kNone;
        for (; position <= end - kAtOnce; position += kAtOnce) {
#pragma GCC unroll 4
            for (int64_t i = 0; i < kAtOnce; ++i) {
                if (find<Expectation::Miss>(base, position + i, candidate)) return {position + i, candidate};
            }
        }
        while (position < end && !find<Expectation::Miss>(base, position, candidate)) ++position;
        return {position, candidate};
    }
};

// In chunks, with steps that grow while nothing is found.
struct SteppedSearch {
    static constexpr int64_t kMargin = 20;

    // Fewer than above: a chunk and its dictionary are mostly in the first cache.
    static constexpr int64_t kPrefetched = 2;

    // All positions of a chunk fit the dictionary, and no two are further apart than a match reaches.
    static constexpr int64_t kChunk = 49152;
    static_assert(kChunk - 1 <= kDistanceMax);

    // The step grows by one with every so many misses in succession.
    static constexpr int64_t kMissesPerStep = 32;

    using Slots = Dictionary<uint16_t, 14>;
    Slots dictionary;

    // The misses in succession at the end of a chunk, which count in the next one. Kept elsewhere, so that a search can
    // be in registers.
    int64_t* misses;

    // A slot that is clear stands for position 0, which is as good as any.
    template <Expectation>
    [[gnu::always_inline]] bool find(const uint8_t* base, int64_t position, int64_t& candidate) const noexcept {
        return findIn(dictionary, base, position, candidate);
    }

    [[gnu::always_inline]] void prefetch(const uint8_t* base, int64_t position) const noexcept {
        __builtin_prefetch(base + dictionary.look(load32(base + position)));
    }

    [[gnu::always_inline]] Found findFirst(const uint8_t* base, int64_t end) const noexcept {
        return findInSteps(dictionary, base, kFirstSearched, end, *misses, misses);
    }

    // Searches on, behind the end of a match where nothing was found.
    [[gnu::always_inline]] Found findNext(const uint8_t* base, int64_t matchEnd, int64_t end) const noexcept {
        // The step is still one.
        const int64_t nearEnd = std::min(end, matchEnd + kMissesPerStep);
        int64_t position = matchEnd + 1;
        for (; position < nearEnd; ++position) {
            int64_t candidate;
            if (findIn(dictionary, base, position, candidate)) return {position, candidate};
        }
        const int64_t missed = position - matchEnd;
        return findInSteps(dictionary, base, position + missed / kMissesPerStep, end, missed, misses);
    }

  private:
    [[gnu::always_inline]] static bool findIn(const Slots dictionary, const uint8_t* base, int64_t position,
                                              int64_t& candidate) noexcept {
        const uint32_t word = load32(base + position);
        candidate = dictionary.exchange(word, position);
        return load32(base + candidate) == word;
    }

    // Searches on after so many misses. Out of line: this is for data where there is little to find.
    [[gnu::noinline]] static Found findInSteps(const Slots dictionary, const uint8_t* base, int64_t position,
                                               int64_t end, int64_t missed, int64_t* misses) noexcept {
        int64_t candidate = 0;
        while (position < end) {
            // All positions that are reached with the same step.
            const int64_t step = 1 + missed / kMissesPerStep;
            const int64_t first = position;
            const int64_t behind = first + (kMissesPerStep - missed % kMissesPerStep) * step;
            for (const int64_t stop = std::min(end, behind); position < stop; position += step) {
                if (findIn(dictionary, base, position, candidate)) {
                    *misses = 0;
                    return {position, candidate};
                }
            }
            missed += (position - first) / step;
            // The last miss of these makes the step longer.
            if (position == behind) ++position;
        }
        *misses = missed;
        return {position, candidate};
    }
};

}  // namespace ozrdc::lzo
