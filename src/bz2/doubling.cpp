// Rounds of prefix doubling over the groups that are not in order yet. Each round but the last is preceded by a pass
// from the end of the sequence to its beginning, which resolves repetitions of any length at once where it can.

#include "bz2/doubling.h"

#include <algorithm>
#include <array>

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

// The rank of a rotation is the first place of its group, with the mark kTied if it is not alone there.
uint32_t placeOf(uint32_t rank) noexcept { return rank & ~kTied; }

// Gives the rotations in order[begin, end) their ranks. Returns whether they are all one group.
bool rankGroups(uint32_t* order, uint32_t begin, uint32_t end, uint32_t* rank) noexcept {
    uint32_t first = begin;
    while (first < end) {
        const uint32_t next = groupEnd(order, first, end);
        const uint32_t groupRank = next - first > 1 ? first | kTied : first;
        for (uint32_t i = first; i < next; ++i) rank[order[i] & ~kTied] = groupRank;
        if (first == begin && next == end) return true;
        first = next;
    }
    return false;
}

// The ranks of a sequence, which goes on with its beginning.
struct Sequence {
    uint32_t* order;
    uint32_t* rank;
    uint32_t m;

    // Sorts a group by the ranks h positions on, h < m. Returns whether it stays one group.
    bool sort(uint32_t begin, uint32_t end, uint32_t h) const noexcept {
        for (uint32_t i = begin; i < end; ++i) order[i] &= ~kTied;
        sortGroup(order + begin, end - begin, [=, *this](uint32_t item) noexcept { return uint64_t{later(item, h)}; });
        return rankGroups(order, begin, end, rank);
    }

    // The same for a group of at most kSmall.
    static constexpr uint32_t kSmall = 8;
    void sortSmall(uint32_t begin, uint32_t end, uint32_t h) const noexcept {
        std::array<uint64_t, kSmall> sorted;  // rank above, item below
        uint32_t n = 0;
        for (uint32_t i = begin; i < end; ++i, ++n) {
            const uint32_t item = order[i] & ~kTied;
            const uint64_t word = uint64_t{later(item, h)} << 32 | item;
            uint32_t at = n;
            for (; at > 0 && sorted[at - 1] > word; --at) sorted[at] = sorted[at - 1];
            sorted[at] = word;
        }
        if (sorted[0] >> 32 == sorted[n - 1] >> 32) return;
        uint64_t previous = ~sorted[0];
        for (uint32_t i = 0; i < n; ++i) {
            const bool tied = (sorted[i] ^ previous) >> 32 == 0;
            order[begin + i] = static_cast<uint32_t>(sorted[i]) | (tied ? kTied : 0);
            previous = sorted[i];
        }
        rankGroups(order, begin, end, rank);
    }

    [[nodiscard]] uint32_t later(uint32_t item, uint32_t h) const noexcept {
        item += h;
        return placeOf(rank[item < m ? item : item - m]);
    }
};

// Sorts every small group by the ranks one position on, where the rotations that come later in the sequence come first.
// Where a part of the sequence occurs again, the rotations that begin at its end are told apart by what follows, the
// ones in front of these by them, and so on: one pass is enough for repetitions of any length.
void sortBackwards(Sequence s) noexcept {
    for (uint32_t item = s.m; item-- > 0;) {
        // There is nothing to be gained while what follows is tied itself.
        const uint32_t following = item + 1 < s.m ? item + 1 : 0;
        if ((s.rank[item] & kTied) == 0 || (s.rank[following] & kTied) != 0) continue;
        const uint32_t begin = placeOf(s.rank[item]);
        const uint32_t end = groupEnd(s.order, begin, std::min(s.m, begin + Sequence::kSmall + 1));
        if (end - begin <= Sequence::kSmall) s.sortSmall(begin, end, 1);
    }
}

// Sorts every group by the ranks h positions on. Returns whether any group was split.
bool sortRound(Sequence s, uint32_t h) noexcept {
    uint32_t* const order = s.order;
    const uint32_t m = s.m;
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
        if (!s.sort(i, end, h)) split = true;
        i = end;
        finalSince = end;
    }
    endFinal();
    return split;
}

}  // namespace

void sortByDoubling(uint32_t* order, uint32_t* rank, uint32_t m) noexcept {
    rankGroups(order, 0, m, rank);
    const Sequence s{order, rank, m};
    // If a round does not tell any rotations apart those left are equal: no later round could.
    uint32_t h = 1;
    do {
        sortBackwards(s);
        if (!sortRound(s, h)) break;
        h *= 2;
    } while (h < m);
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
