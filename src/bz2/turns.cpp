// Finds the turns of a block, and sorts them: by their first two bytes, then by comparing words of the block, six bytes
// of all rotations of a group at a time, and where that comes to no end, by prefix doubling of the sequence of turns.

#include "bz2/turns.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "bz2/doubling.h"
#include "bz2/group_sort.h"
#include "core/unaligned.h"

namespace ozrdc::bz2 {
namespace {

// Whether rotation i ascends; the block must not be all one byte.
bool ascends(DoubledBlock block, uint32_t i) noexcept {
    const uint8_t* const from = block.bytes + i;
    uint32_t d = 1;
    while (from[d] == from[0]) ++d;
    return from[0] < from[d];
}

bool allEqual(DoubledBlock block) noexcept {
    uint32_t i = 1;
    while (i < block.n && block.bytes[i] == block.bytes[0]) ++i;
    return i == block.n;
}

// Comparing by words until the groups are single or it is known that doubling can go on from there.
class TurnComparison {
  public:
    TurnComparison(DoubledBlock block, SortEffort effort) noexcept
        : block_(block),
          limit_(effort == SortEffort::kBounded ? std::min(kLongEnough, block.n) : block.n),
          counting_(effort == SortEffort::kBudget),
          budget_(budgetOf(block.n)),
          sortsLeft_(kSortsPerByte * block.n) {}

    [[nodiscard]] bool leftTies() const noexcept { return leftTies_; }

    // Sorts the turns of a group whose first `depth` bytes are equal, and marks what stays tied. Returns false if the
    // budget has run out.
    bool sort(uint32_t* group, uint32_t size, uint32_t depth) noexcept {
        uint32_t limit = limit_;
        for (;;) {
            if (size == 2 || depth > kKeyBytes) {
                const uint32_t until = std::min(limit, depth + kStride);
                const uint32_t common = commonBytes(group, size, depth, until);
                if (counting_ && !pay(size, common, depth)) return false;
                depth += common;
                if (depth == until && depth < limit) continue;
            }
            if (depth >= limit) {
                if (depth >= block_.n || nextTurnKnown(group[0], depth)) {
                    for (uint32_t i = 1; i < size; ++i) group[i] |= kTied;
                    leftTies_ = true;
                    return true;
                }
                limit = std::min(2 * depth, block_.n);
                continue;
            }
            if (size == 2) {
                if (block_.bytes[group[0] + depth] > block_.bytes[group[1] + depth]) std::swap(group[0], group[1]);
                return true;
            }
            if (counting_ && !pay(size, kKeyBytes, depth)) return false;
            if (!counting_ && (sortsLeft_ -= size) < 0) {
                limit_ = std::min(limit_, kLongEnoughThen);
                limit = std::min(limit, std::max(depth, limit_));
            }
            const uint8_t* const at = block_.bytes + depth;
            sortGroup(group, size, [at](uint32_t place) noexcept {
                return __builtin_bswap64(load64(at + place)) >> (64 - detail::kKeyBits);
            });
            depth += kKeyBytes;

            // All tied parts but a largest are sorted by recursion, so that its depth is the logarithm of the size.
            uint32_t largest = 0;
            uint32_t largestSize = 1;
            for (uint32_t i = 0; i < size;) {
                const uint32_t begin = i++;
                while (i < size && (group[i] & kTied) != 0) group[i++] &= ~kTied;
                uint32_t partSize = i - begin;
                if (partSize == 1) continue;
                uint32_t part = begin;
                if (partSize > largestSize) {
                    std::swap(part, largest);
                    std::swap(partSize, largestSize);
                }
                if (partSize > 1 && !sort(group + part, partSize, depth)) return false;
            }
            if (largestSize == 1) return true;
            group += largest;
            size = largestSize;
        }
    }

  private:
    static constexpr unsigned kKeyBytes = detail::kKeyBits / 8;

    // So many bytes are compared before the budget is asked.
    static constexpr uint32_t kStride = 256;

    // Turns that agree so far are more quickly told apart by doubling.
    static constexpr uint32_t kLongEnough = 1024;

    // So are all turns if comparing comes to little: each of many groups may be sorted again and again and lose but a
    // few turns each time. Ordinary blocks need less than one sort of a turn for each byte.
    static constexpr int64_t kSortsPerByte = 8;
    static constexpr uint32_t kLongEnoughThen = 32;

    // The budget of the comparison sort in bytes. The first bytes, which a radix sort would deal with, are free.
    static constexpr uint32_t kFreeDepth = 14;
    static constexpr uint32_t kLargeBlock = 99900;
    static int64_t budgetOf(uint32_t n) noexcept { return int64_t{n} * (n < kLargeBlock ? 100 : 25); }

    // Charges for what sorting by comparisons of two would read.
    bool pay(uint32_t size, uint32_t bytes, uint32_t depth) noexcept {
        const uint32_t charged = std::max(depth + bytes, kFreeDepth) - std::max(depth, kFreeDepth);
        budget_ -= int64_t{size} * std::bit_width(size) * charged;
        return budget_ >= 0;
    }

    // How many bytes from `depth` up to `limit` are the same in all turns of the group.
    [[nodiscard]] uint32_t commonBytes(const uint32_t* group, uint32_t size, uint32_t depth,
                                       uint32_t limit) const noexcept {
        if (depth >= limit) return 0;
        const uint8_t* const first = block_.bytes + group[0] + depth;
        uint32_t common = limit - depth;
        for (uint32_t i = 1; i < size && common > 0; ++i) {
            const uint8_t* const other = block_.bytes + group[i] + depth;
            for (uint32_t d = 0; d < common; d += 16) {
                const __m128i equal = _mm_cmpeq_epi8(load128(first + d), load128(other + d));
                const auto different = static_cast<uint32_t>(_mm_movemask_epi8(equal)) ^ 0xFFFF;
                if (different == 0) continue;
                common = std::min(common, d + static_cast<uint32_t>(std::countr_zero(different)));
                break;
            }
        }
        return common;
    }

    // Whether all turns that share the first `depth` bytes with the one at `place` also share the distance to the next
    // turn: the bytes descend, ascend, and begin to descend again.
    [[nodiscard]] bool nextTurnKnown(uint32_t place, uint32_t depth) const noexcept {
        const uint8_t* const from = block_.bytes + place;
        uint32_t d = 1;
        while (d + 1 < depth && from[d] >= from[d + 1]) ++d;
        while (d + 1 < depth && from[d] <= from[d + 1]) ++d;
        return d + 1 < depth;
    }

    DoubledBlock block_;
    uint32_t limit_;
    bool counting_;
    int64_t budget_;
    int64_t sortsLeft_;
    bool leftTies_ = false;
};

// Brings the turns that comparing left tied into order.
void resolveTies(uint32_t* order, const uint32_t* places, uint32_t m, uint32_t* scratch) noexcept {
    // Turns are at least two places apart, so that half a place tells which one it is.
    for (uint32_t i = 0; i < m; ++i) scratch[places[i] / 2] = i;
    for (uint32_t i = 0; i < m; ++i) order[i] = scratch[(order[i] & ~kTied) / 2] | (order[i] & kTied);
    sortByDoubling(order, scratch, m);
    for (uint32_t i = 0; i < m; ++i) order[i] = places[order[i]];
}

}  // namespace

uint32_t findTurns(DoubledBlock block, uint32_t* places, RotationCounts& counts) noexcept {
    if (allEqual(block)) return 0;
    counts.ascending->fill(0);
    counts.turns->fill(0);
    uint32_t* const end = places + block.n;
    uint32_t* front = end;
    unsigned next = block.bytes[0];
    unsigned nextAscends = ascends(block, 0) ? 1 : 0;
    for (uint32_t i = block.n; i-- > 0;) {
        const unsigned byte = block.bytes[i];
        const unsigned itAscends = (byte < next ? 1U : 0U) | ((byte == next ? 1U : 0U) & nextAscends);
        *(front - 1) = i;
        front -= itAscends & ~nextAscends;
        (*counts.ascending)[RotationCounts::bySecond(byte, next)] += itAscends;
        ++counts.first[byte];
        next = byte;
        nextAscends = itAscends;
    }
    for (const uint32_t* place = front; place < end; ++place) {
        const uint8_t* const at = block.bytes + *place;
        ++(*counts.turns)[RotationCounts::byFirst(at[0], at[1])];
    }
    return static_cast<uint32_t>(end - front);
}

bool sortTurns(DoubledBlock block, TurnArrays arrays, uint32_t m, const RotationCounts& counts,
               SortEffort effort) noexcept {
    uint32_t* const order = arrays.places;
    const uint32_t* const places = order + (block.n - m);
    PairTable& end = *counts.turns;

    turnIntoStarts(end);
    for (uint32_t i = 0; i < m; ++i) {
        const uint32_t place = places[i];
        const uint8_t* const at = block.bytes + place;
        order[end[RotationCounts::byFirst(at[0], at[1])]++] = place;
    }

    TurnComparison comparison(block, effort);
    uint32_t begin = 0;
    for (const uint32_t bucketEnd : end) {
        if (bucketEnd - begin > 1 && !comparison.sort(order + begin, bucketEnd - begin, 2)) return false;
        begin = bucketEnd;
    }
    if (comparison.leftTies()) resolveTies(order, places, m, arrays.scratch);
    return true;
}

}  // namespace ozrdc::bz2
