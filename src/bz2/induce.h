// Places all rotations from the turns in order, and writes the last column.
//
// The rotations that begin with one byte c stand together: first those that descend, then those that ascend, by second
// byte. Among the ones that ascend and have the same two bytes the turns are the least.
//
// A rotation that ascends and is no turn is followed (one place on) by one that also ascends and is greater. So a scan
// from the greatest rotation down, over those that ascend, finds for each the one in front of it, and puts it behind
// all that were put into its bucket of two bytes before. Then a scan from the least rotation up does the same for those
// that descend, each of which is followed by a lesser one; and this scan passes every rotation, and writes the byte in
// front.
//
// An entry carries that byte, so that a scan knows the bucket to write to without a load from the block; the load that
// makes the entry there is for later, and nothing waits for it.
#pragma once

#include <cstdint>

#include "bz2/bytes.h"
#include "bz2/turns.h"

namespace ozrdc::bz2 {

// Entries for blocks whose places fit 24 bits. Places count from 1 to n here: n is the block's beginning, and 0 tells
// that the scan up has nothing to put in front of the entry.
struct PackedEntry {
    static constexpr unsigned kPlaceBits = 24;
    static constexpr uint32_t kMaxPlace = (uint32_t{1} << kPlaceBits) - 1;

    static uint32_t make(uint32_t place, unsigned before) noexcept { return before << kPlaceBits | place; }
    static unsigned before(uint32_t entry, const uint8_t* /*src*/) noexcept { return entry >> kPlaceBits; }
    static uint32_t place(uint32_t entry) noexcept { return entry & kMaxPlace; }
};

// Entries for longer blocks: only those that are done with carry the byte.
struct WideEntry {
    static constexpr uint32_t kDone = uint32_t{1} << 31;

    static uint32_t make(uint32_t place, unsigned before) noexcept { return place != 0 ? place : kDone | before; }
    static unsigned before(uint32_t entry, const uint8_t* src) noexcept {
        return (entry & kDone) != 0 ? entry & (kByteValues - 1) : src[entry - 1];
    }
    static uint32_t place(uint32_t entry) noexcept { return (entry & kDone) != 0 ? 0 : entry; }
};

// On entry rows[0..m) holds the places of the turns in order, and the counts are as sortTurns leaves them; the tables
// are used up. Returns the row of the block itself.
template <class Entry>
uint32_t induce(const uint8_t* src, uint32_t n, uint32_t* rows, uint32_t m, const RotationCounts& counts,
                uint8_t* dst) noexcept {
    uint32_t primaryIndex = 0;
    PairTable& tails = *counts.ascending;
    ByteCounts descending;  // where the next one goes
    ByteCounts ascending;   // the first of these rows

    // From the greatest bucket down, so that no turn is overwritten before it is moved.
    uint32_t turn = m;
    uint32_t end = n;
    for (unsigned first = kByteValues; first-- > 0;) {
        const uint32_t begin = end - counts.first[first];
        for (unsigned second = kByteValues; second-- > first;) {
            uint32_t& tail = tails[RotationCounts::bySecond(first, second)];
            if (tail == 0) continue;
            const uint32_t bucket = end - tail;
            tail = end;
            end = bucket;
            const unsigned pair = RotationCounts::byFirst(first, second);
            const uint32_t firstTurn = pair > 0 ? (*counts.turns)[pair - 1] : 0;
            for (uint32_t row = bucket + (turn - firstTurn); turn > firstTurn;) {
                uint32_t place = rows[--turn];
                --row;
                if (place == 0) {
                    place = n;
                    primaryIndex = row;
                }
                rows[row] = Entry::make(place, src[place - 1]);
            }
        }
        ascending[first] = end;
        descending[first] = begin;
        end = begin;
    }

    // The entry for the rotation in front of `place`, if it goes to `row`.
    const auto front = [&](uint32_t place, uint32_t row) noexcept {
        if (--place == 0) {
            place = n;
            primaryIndex = row;
        }
        return place;
    };

    end = n;
    for (unsigned byte = kByteValues; byte-- > 0;) {
        uint32_t* const tail = &tails[RotationCounts::bySecond(0, byte)];
        for (uint32_t i = end; i-- > ascending[byte];) {
            const uint32_t entry = rows[i];
            const unsigned before = Entry::before(entry, src);
            if (before > byte) continue;
            rows[i] = Entry::make(0, before);
            const uint32_t row = --tail[before];
            const uint32_t place = front(Entry::place(entry), row);
            rows[row] = Entry::make(place, src[place - 1]);
        }
        end -= counts.first[byte];
    }

    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t entry = rows[i];
        const unsigned byte = Entry::before(entry, src);
        dst[i] = static_cast<uint8_t>(byte);
        if (Entry::place(entry) == 0) continue;
        const uint32_t row = descending[byte]++;
        const uint32_t place = front(Entry::place(entry), row);
        const unsigned before = src[place - 1];
        rows[row] = Entry::make(before >= byte ? place : 0, before);
    }
    return primaryIndex;
}

}  // namespace ozrdc::bz2
