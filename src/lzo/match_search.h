// The match search of the LZO1X encoders.
//
// A dictionary maps the CRC-32C of the four bytes at a position to the last position searched with that hash. To search
// a position is to read its slot, enter the position there, and compare four bytes with the position read. Nothing
// inside a match is searched. The order in which positions are searched is fixed: it decides the output bit for bit.
//
// The two searches differ in the size of the dictionary, in how far they look back, and in the step that follows a
// position where nothing was found.
#pragma once

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

// What stands at a position more often than not. Both expectations give the same result.
enum class Expectation { Match, Miss };

// Every position of a source. `Entry` is 16 bits wide for sources of at most `kShortSource` bytes, which halves the
// dictionary that has to be cleared and kept in the cache.
template <class Entry>
struct ThoroughSearch {
    // The last bytes of a source are not searched.
    static constexpr int64_t kMargin = 13;

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
        candidate = entry - kBias;
        if constexpr (!kIsShort && expectation == Expectation::Match) {
            // A branch that is mostly predicted, so that nothing waits for it.
            if (entry <= position) return false;
        } else if constexpr (!kIsShort) {
            // Whether old entries are in reach cannot be predicted. Here they become none, without a branch: the sign
            // of the difference is a mask.
            candidate &= (position - entry) >> 63;
        }
        return load32(base + candidate) == word && candidate != kNone;
    }

    // Loads what a search at a later position will need.
    [[gnu::always_inline]] void prefetch(const uint8_t* base, int64_t position) const noexcept {
        __builtin_prefetch(base + (dictionary.look(load32(base + position)) - kBias));
    }

    [[gnu::always_inline]] static int64_t stepAfterMiss() noexcept { return 1; }
    [[gnu::always_inline]] static void foundMatch() noexcept {}
};

// In chunks, with steps that grow while nothing is found.
struct SteppedSearch {
    static constexpr int64_t kMargin = 20;

    // All positions of a chunk fit the dictionary, and no two are further apart than a match reaches.
    static constexpr int64_t kChunk = 49152;
    static_assert(kChunk - 1 <= kDistanceMax);

    static constexpr int64_t kMissesPerStep = 32;

    Dictionary<uint16_t, 14> dictionary;
    int64_t misses = 0;

    // A slot that is clear stands for position 0, which is as good as any.
    template <Expectation>
    [[gnu::always_inline]] bool find(const uint8_t* base, int64_t position, int64_t& candidate) const noexcept {
        const uint32_t word = load32(base + position);
        candidate = dictionary.exchange(word, position);
        return load32(base + candidate) == word;
    }

    [[gnu::always_inline]] void prefetch(const uint8_t* base, int64_t position) const noexcept {
        __builtin_prefetch(base + dictionary.look(load32(base + position)));
    }

    [[gnu::always_inline]] int64_t stepAfterMiss() noexcept { return 1 + ++misses / kMissesPerStep; }
    [[gnu::always_inline]] void foundMatch() noexcept { misses = 0; }
};

}  // namespace ozrdc::lzo
