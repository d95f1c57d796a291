// The caller's hash tables and the two hashes that fill them.
//
// `HeadTable` holds the latest index of each hash value; `ChainTables` also the index before it, and so on: a chain for
// each hash value, its links in a ring of one slot for each position of the window. Indexes are entered in the order of
// the stream. A chain's end is not marked: links are overwritten when the window has moved on, and a search stops at
// the first entry that is no candidate.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/crc_hash.h"
#include "core/unaligned.h"
#include "deflate/format.h"

namespace ozrdc::deflate {

// What the hashes look at: the first bytes of a position.
constexpr int64_t kCrcBytes = 4;
constexpr int64_t kRollingBytes = 3;

// The latest index of each hash value.
struct HeadTable {
    int32_t* head;
    uint32_t mask;

    HeadTable(int32_t* pHashHead, int32_t hashSize) noexcept
        : head(pHashHead), mask(static_cast<uint32_t>(hashSize) - 1) {}

    // The hash of the four bytes at `p`.
    [[nodiscard, gnu::always_inline]] uint32_t hash(const uint8_t* p) const noexcept {
        return crcHash(0, load32(p)) & mask;
    }

    // Has the slot of a hash brought near, which is to be read soon.
    [[gnu::always_inline]] void prefetch(uint32_t slot) const noexcept { __builtin_prefetch(head + slot); }

    // The same for the bytes of the slot's candidate, as seen from `p`, which has `index`. The candidate may be
    // anything: a fetch does no harm wherever it goes.
    [[gnu::always_inline]] void prefetchCandidate(uint32_t slot, const uint8_t* p, uint32_t index) const noexcept {
        const auto distance = static_cast<uint16_t>(index - static_cast<uint32_t>(head[slot]));
        // The address may lie outside of what p points into, where a pointer may not be moved to.
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(p) - distance));
    }

    // The latest index of all.
    [[nodiscard]] int32_t latest() const noexcept {
        int32_t result = kEmptySlot;
        for (uint32_t i = 0; i <= mask; ++i) result = std::max(result, head[i]);
        return result;
    }

    // Enters an index, and returns the one that was there.
    [[gnu::always_inline]] uint32_t exchange(uint32_t slot, uint32_t index) const noexcept {
        const int32_t previous = head[slot];
        head[slot] = static_cast<int32_t>(index);
        return static_cast<uint32_t>(previous);
    }
};

// Heads and chains.
struct ChainTables : HeadTable {
    int32_t* prev;
    uint32_t prevMask;

    ChainTables(int32_t* pHashHead, int32_t hashSize, int32_t* pHashPrev, int32_t winSize) noexcept
        : HeadTable(pHashHead, hashSize), prev(pHashPrev), prevMask(static_cast<uint32_t>(winSize) - 1) {}

    // The candidate behind `index` on its chain.
    [[nodiscard, gnu::always_inline]] uint32_t before(uint32_t index) const noexcept {
        return static_cast<uint32_t>(prev[index & prevMask]);
    }

    // Enters an index, and returns the one before it.
    [[gnu::always_inline]] uint32_t insert(uint32_t slot, uint32_t index) const noexcept {
        const uint32_t previous = exchange(slot, index);
        prev[index & prevMask] = static_cast<int32_t>(previous);
        return previous;
    }

    // Enters `count` positions from `p` on, which has `index`. Four bytes must be readable at each of them.
    [[gnu::always_inline]] void insertAll(const uint8_t* p, uint32_t index, int64_t count) const noexcept {
        // The hashes of a batch do not depend on one another, so that the processor computes them side by side. For the
        // few positions of an ordinary match it would only be one more loop whose end cannot be predicted.
        constexpr int64_t kMany = 16;
        constexpr int64_t kBatch = 4;
        for (; count >= kMany; count -= kBatch, p += kBatch, index += kBatch) {
            const uint32_t slots[kBatch] = {hash(p), hash(p + 1), hash(p + 2), hash(p + 3)};
            for (uint32_t i = 0; i < kBatch; ++i) insert(slots[i], index + i);
        }
        for (; count > 0; --count, ++p, ++index) insert(hash(p), index);
    }
};

// The hash of three bytes that is advanced byte by byte. It is what the recurrence makes it: it begins anew with each
// call, and at the largest size of the table keeps one bit of the byte before the three.
struct RollingHash {
    uint32_t value;
    uint32_t mask;

    // Stands before the first position. At least two bytes must be readable.
    RollingHash(const uint8_t* first, uint32_t hashMask) noexcept
        : value((static_cast<uint32_t>(first[0]) << 5) ^ first[1]), mask(hashMask) {}

    // Moves on to the position at `p`, the one behind the last, and returns its hash.
    [[gnu::always_inline]] uint32_t at(const uint8_t* p) noexcept {
        value = ((value << 5) ^ p[kRollingBytes - 1]) & mask;
        return value;
    }
};

}  // namespace ozrdc::deflate
