// The match search of the LZ4 hash-table encoders.
//
// A table maps the hash of the five bytes at a position to the last position hashed into that slot. To probe a position
// is to read its slot, enter the position there, and compare four bytes with the position read. The order of the
// probes, that is, which positions are tried and entered and with what steps, is fixed: it decides the encoder's output
// bit for bit.
//
// Two orders exist. `SteppedSearch` tries positions one by one for a while after the start and after each match, then
// with steps that grow while nothing is found. `AcceleratedSearch` starts with large steps at once.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/crc_hash.h"
#include "core/opaque.h"
#include "core/unaligned.h"
#include "core/vector_kernels.h"
#include "lz4/history.h"

namespace ozrdc::lz4 {

// No position within this many bytes of the source's end is probed.
constexpr int64_t kSearchMargin = 28;

// Size of the caller's table in bytes, whatever its entries are.
constexpr int32_t kHashTableSize = 16384;

// All positions of a source below this length fit 16 bits.
constexpr int32_t kShortSource = 65536;

// The hash of the five bytes at `p`: the fifth seeds the CRC-32C of the first four.
[[gnu::always_inline]] inline uint32_t hashFive(const uint8_t* p) noexcept { return crcHash(p[4], load32(p)); }

// A caller's table of 2^bits positions, at any address. Position 0 is what a cleared slot holds, and a valid candidate.
template <class Position, unsigned bits>
struct HashTable {
    static constexpr uint32_t kMask = (1U << bits) - 1;
    static constexpr size_t kSize = sizeof(Position) << bits;
    static_assert(kSize <= kHashTableSize);
    // Narrow positions are never further apart than an offset reaches.
    static constexpr bool kOffsetsAlwaysFit = sizeof(Position) == 2;

    uint8_t* slots;

    // Clears a table; the status is that of the clearing.
    static Status clear(uint8_t* slots) noexcept {
        constexpr int32_t kEntries = kMask + 1;
        return sizeof(Position) == 2 ? ozrsZero_16s(slots, kEntries) : ozrsZero_32s(slots, kEntries);
    }

    void enter(uint32_t hash, int64_t position) const noexcept {
        store(slots + (hash & kMask) * sizeof(Position), static_cast<Position>(position));
    }

    // Reads the slot of a hash and enters a position there.
    [[gnu::always_inline]] int64_t exchange(uint32_t hash, int64_t position) const noexcept {
        const uint64_t slot = hash & kMask;
        const int64_t previous = load<Position>(slots + slot * sizeof(Position));
        // The load is on the way from one match to the next. If the compiler saw that the store goes to the same
        // address, it would compute the address first, and the load would wait for that.
        store(slots + opaque(slot) * sizeof(Position), static_cast<Position>(position));
        return previous;
    }
};

using NarrowTable = HashTable<uint16_t, 12>;
using LargeNarrowTable = HashTable<uint16_t, 13>;
using WideTable = HashTable<int32_t, 12>;

// What the orders of probing share.
template <class Table, class History>
struct Prober {
    Table table;
    History history;
    const uint8_t* limit;  // nothing at or behind it is probed

    // The first half of a probe: enters a position, and returns the one that its slot held.
    [[gnu::always_inline]] int64_t look(const uint8_t* p) const noexcept {
        return table.exchange(hashFive(p), history.position(p));
    }

    // The second half: compares the four bytes; true if it is a hit.
    [[gnu::always_inline]] bool matches(const uint8_t* p, int64_t candidate, Hit& hit) const noexcept {
        if (!history.equalFour(p, candidate)) return false;
        hit = {p, candidate};
        return true;
    }

    [[gnu::always_inline]] bool probe(const uint8_t* p, Hit& hit) const noexcept { return matches(p, look(p), hit); }
};

// Position by position first, then with growing steps.
template <class Table, class History>
struct SteppedSearch : Prober<Table, History> {
    // From the start of a block: this many single steps, then a counter that starts here and gives the step when
    // shifted.
    static constexpr int64_t kFirstSingles = Table::kOffsetsAlwaysFit ? 16 : 63;
    static constexpr int64_t kFirstCounter = Table::kOffsetsAlwaysFit ? 16 : 64;
    static constexpr int kFirstShift = Table::kOffsetsAlwaysFit ? 4 : 6;
    // After a match: single steps only if few literals preceded it, that is, if the data compress well here.
    static constexpr int64_t kNextSingles = 48;
    static constexpr int64_t kNextCounter = 128;
    static constexpr int kNextShift = 6;
    static constexpr int64_t kManyLiterals = 64;

    using Prober<Table, History>::limit;
    using Prober<Table, History>::look;
    using Prober<Table, History>::matches;
    using Prober<Table, History>::probe;

    // The first match of a block.
    [[gnu::always_inline]] Hit first(const uint8_t* begin) const noexcept {
        const uint8_t* const p = begin + 1;
        return scan<kFirstShift>(p, look(p), kFirstSingles, kFirstCounter);
    }

    // Prepares the search behind a match that ends at `p`, below the limit; its result is for `next`.
    [[gnu::always_inline]] int64_t prepare(const uint8_t* p) const noexcept { return look(p); }

    // The next match at or behind `p`, where one preceded by `literals` literals ended.
    [[gnu::always_inline]] Hit next(const uint8_t* p, int64_t prepared, int64_t literals) const noexcept {
        return scan<kNextShift>(p, prepared, literals < kManyLiterals ? kNextSingles : 0, kNextCounter);
    }

  private:
    // Tries `p`, whose candidate is known, and the positions behind it: `singles` one by one, `p` among them, and from
    // there on with steps.
    template <int shift>
    [[gnu::always_inline]] Hit scan(const uint8_t* p, int64_t candidate, int64_t singles,
                                    int64_t counter) const noexcept {
        Hit hit;
        if (matches(p, candidate, hit)) return hit;
        if (singles == 0) {
            p += counter++ >> shift;
        } else {
            const uint8_t* const singlesEnd = p + std::min(singles, limit - p);
            for (++p; singlesEnd - p >= 4; p += 4) {
                if (probe(p, hit) || probe(p + 1, hit) || probe(p + 2, hit) || probe(p + 3, hit)) return hit;
            }
            for (; p < singlesEnd; ++p) {
                if (probe(p, hit)) return hit;
            }
        }
        for (; p < limit; p += counter++ >> shift) {
            if (probe(p, hit)) return hit;
        }
        return hit;
    }
};

// Large steps from the start, growing while nothing is found.
template <class Table, class History>
struct AcceleratedSearch : Prober<Table, History> {
    static constexpr int kShift = 6;
    static constexpr int64_t kPass = 4;  // probes with one step

    int64_t acceleration;

    using Prober<Table, History>::limit;
    using Prober<Table, History>::look;
    using Prober<Table, History>::matches;
    using Prober<Table, History>::probe;

    // The first match of a block.
    [[gnu::always_inline]] Hit first(const uint8_t* begin) const noexcept {
        const uint8_t* const p = begin + 1;
        return scan(p, look(p));
    }

    // Prepares the search behind a match that ends at `p`, below the limit; its result is for `next`.
    [[gnu::always_inline]] int64_t prepare(const uint8_t* p) const noexcept {
        look(p - 2);
        return look(p);
    }

    // The next match at or behind `p`, where one ended.
    [[gnu::always_inline]] Hit next(const uint8_t* p, int64_t prepared, int64_t) const noexcept {
        return scan(p, prepared);
    }

  private:
    // Tries `p`, whose candidate is known, then positions behind it.
    [[gnu::always_inline]] Hit scan(const uint8_t* p, int64_t candidate) const noexcept {
        Hit hit;
        if (matches(p, candidate, hit)) return hit;
        int64_t counter = acceleration << kShift;
        for (;; counter += kPass) {
            const int64_t step = counter >> kShift;
            if (limit - p <= kPass * step) break;
            if (probe(p + step, hit) || probe(p + 2 * step, hit) || probe(p + 3 * step, hit) ||
                probe(p + 4 * step, hit)) {
                return hit;
            }
            p += kPass * step;
        }
        for (;; ++counter) {
            const int64_t step = counter >> kShift;
            if (limit - p <= step) return hit;
            p += step;
            if (probe(p, hit)) return hit;
        }
    }
};

}  // namespace ozrdc::lz4
