// See the header.

#include "bz2/doubling.h"

#include "bz2/group_sort.h"

namespace ozrdc::bz2 {
namespace {

// In `order`: the place begins a stretch of places that are final; the length is in the other bits. What belongs there
// is known from the ranks.
constexpr uint32_t kFinal = uint32_t{1} << 30;

uint32_t groupEnd(const uint32_t* order, uint32_t begin, uint32_t m) noexcept {
    uint32_t end = begin + 1;
    while (end < m && (order[end] & kTied) != 0) ++end;
    return end;
}

// The rank of a rotation is the first place of its group.
void rankGroups(const uint32_t* order, uint32_t begin, uint32_t end, uint32_t* rank) noexcept {
    uint32_t first = begin;
    for (uint32_t i = begin; i < end; ++i) {
        if ((order[i] & kTied) == 0) first = i;
        rank[order[i] & ~kTied] = first;
    }
}

// Sorts every group by the ranks h positions on. Returns whether any group was split.
bool sortRound(uint32_t* order, uint32_t* rank, uint32_t m, uint32_t h) noexcept {
    bool split = false;
    uint32_t finalSince = 0;
    uint32_t i = 0;
    const auto endFinal = [&]() noexcept {
        if (finalSince < i) order[finalSince] = kFinal | (i - finalSince);
    };
    while (i < m) {
        if ((order[i] & kFinal) != 0) {
            i += order[i] & ~kFinal;
            continue;
        }
        const uint32_t end = groupEnd(order, i, m);
        if (end - i == 1) {
            ++i;
            continue;
        }
        endFinal();
        for (uint32_t k = i; k < end; ++k) order[k] &= ~kTied;
        sortGroup(order + i, end - i, [=](uint32_t item) noexcept {
            const uint32_t later = item + h;
            return uint64_t{rank[later < m ? later : later - m]};
        });
        split |= groupEnd(order, i, m) < end;
        rankGroups(order, i, end, rank);
        i = end;
        finalSince = end;
    }
    endFinal();
    return split;
}

}  // namespace

void sortByDoubling(uint32_t* order, uint32_t* rank, uint32_t m) noexcept {
    rankGroups(order, 0, m, rank);
    // Rotations that a round does not tell apart are equal: no later round could.
    for (uint32_t h = 1; h < m && sortRound(order, rank, m, h); h *= 2) {
    }
    for (uint32_t i = 0; i < m; ++i) {
        if ((order[i] & kFinal) != 0) {
            i += (order[i] & ~kFinal) - 1;
        } else {
            rank[order[i] & ~kTied] = i;
        }
    }
    for (uint32_t item = 0; item < m; ++item) order[rank[item]] = item;
}

}  // namespace ozrdc::bz2
