// The rotations that the others can be placed from.
//
// Rotation i ascends if it is less than rotation i + 1, else it descends. (In a block that is not all one byte no two
// neighbors are equal.) A turn is a rotation that ascends while the next one descends. At most every second rotation is
// a turn, in text every third; induce.h places all others from the turns in order.
#pragma once

#include <cstdint>

#include "bz2/bytes.h"

namespace ozrdc::bz2 {

// A block twice in a row, and some bytes behind it.
struct DoubledBlock {
    // 16 bytes may be read from every place of the block and from as many places behind it.
    static constexpr uint32_t kPadding = 16;

    const uint8_t* bytes;
    uint32_t n;
};

// How the rotations of a block begin.
struct RotationCounts {
    ByteCounts first{};    // the rotations that begin with a byte
    PairTable* ascending;  // the ones that ascend, by first two bytes: second * 256 + first
    PairTable* turns;      // the turns, by first two bytes: first * 256 + second

    static constexpr unsigned bySecond(unsigned first, unsigned second) noexcept {
        return second * kByteValues + first;
    }
    static constexpr unsigned byFirst(unsigned first, unsigned second) noexcept { return first * kByteValues + second; }
};

// Writes the places of the turns to the end of places[0..n), ascending, counts the rotations (the tables are cleared
// first), and returns the number of turns: 0 if all bytes are equal.
uint32_t findTurns(DoubledBlock block, uint32_t* places, RotationCounts& counts) noexcept;

// What comparing may cost.
enum class SortEffort {
    kBounded,  // long common beginnings are left to prefix doubling
    kBudget,   // compares until all is in order or the budget is used up
};

struct TurnArrays {
    uint32_t* places;   // n elements: on entry the last m hold the places of the turns
    uint32_t* scratch;  // (n + 1) / 2 elements; may hold the block, which is not read any more when this is written
};

// Puts the places of the m turns in the order of their rotations, into places[0..m), and turns the counts of the turns
// into the ends of their buckets there. Returns false if the budget ran out.
bool sortTurns(DoubledBlock block, TurnArrays arrays, uint32_t m, const RotationCounts& counts,
               SortEffort effort) noexcept;

}  // namespace ozrdc::bz2
