// Sorts the rotations of a sequence of ranks by prefix doubling.
//
// Once all groups of rotations agree in their first h ranks, the order inside a group is that of the rotations h
// positions on, which is known up to groups, and then they agree in 2h. So the work for a sequence of m ranks is at
// most log2(m) sorts of what is not yet in order, whatever the ranks.
#pragma once

#include <cstdint>

namespace ozrdc::bz2 {

// Sequences may be this long.
constexpr uint32_t kMaxDoublingLength = (uint32_t{1} << 30) - 1;

// `order` holds the numbers 0 to m - 1 of the rotations in groups, each item but the first of its group with the mark
// kTied (see group_sort.h): in an earlier group if its first rank is less, in the same if it is equal. On return it
// holds them in order, without marks; equal rotations stand together in any order. `rank` is scratch of m elements.
void sortByDoubling(uint32_t* order, uint32_t* rank, uint32_t m) noexcept;

}  // namespace ozrdc::bz2
