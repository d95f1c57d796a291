// The block sort: the last column of the sorted rotations of a block, and the row of the block itself.
//
// Blocks of fewer than 100 bytes are sorted directly, and short ones by prefix doubling (doubling.h). For longer ones
// the turns are sorted (turns.h) and all other rotations placed from them (induce.h); the budget of comparisons that a
// caller may ask for, and the prefix doubling that steps in for long repetitions, concern the turns alone. A caller may
// also choose prefix doubling of all rotations.
//
// The scratch buffer is used from its next multiple of 64 on: the two tables of pairs, the rows (n elements), and the
// block twice in a row, which gives way to the ranks of doubling. For doubling alone it holds two arrays of n elements.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <numeric>

#include "bz2/bytes.h"
#include "bz2/doubling.h"
#include "bz2/group_sort.h"
#include "bz2/induce.h"
#include "bz2/turns.h"
#include "core/arguments.h"
#include "core/entry_points.h"

namespace ozrdc::bz2 {
namespace {

constexpr uint32_t kMinScratchSorted = 100;
constexpr size_t kAlignment = 64;

// To clear the tables of pairs, and to walk them, takes longer than doubling takes for a shorter block.
constexpr uint32_t kMinTurnsSorted = 3000;

// How a caller may ask for the sort.
enum class Strategy : uint32_t {
    kBudget,    // by turns, and give up when comparing has used up its budget
    kNoBudget,  // by turns
    kDoubling,  // by prefix doubling of all rotations
    kFallback,  // by turns, with prefix doubling where comparing would take long: here the same as without a budget
};
constexpr uint32_t kStrategies = 4;

constexpr uint32_t kTurnScratchPerByte = 6;
constexpr uint32_t kTurnScratchFixed = 524484;
constexpr uint32_t kDoublingScratchPerByte = 18;
constexpr uint32_t kDoublingScratchFixed = 80;

// What the sizes say in 32 bits, in which they wrap for lengths beyond those that are accepted.
constexpr int32_t scratchSize(uint32_t n, Strategy strategy) noexcept {
    const auto turns = static_cast<int32_t>(kTurnScratchPerByte * n + kTurnScratchFixed);
    const auto doubling = static_cast<int32_t>(kDoublingScratchPerByte * n + kDoublingScratchFixed);
    switch (strategy) {
        case Strategy::kDoubling:
            return doubling;
        case Strategy::kFallback:
            return std::max(turns, doubling);
        default:
            return turns;
    }
}

// The longest block whose scratch size is right.
constexpr uint32_t maxLength(Strategy strategy) noexcept {
    constexpr uint32_t kMax = std::numeric_limits<int32_t>::max();
    return strategy == Strategy::kDoubling ? (kMax - kDoublingScratchFixed) / kDoublingScratchPerByte
                                           : (kMax - kTurnScratchFixed) / kTurnScratchPerByte;
}
static_assert(2 * sizeof(uint32_t) * kMinTurnsSorted + kAlignment <= kTurnScratchFixed);
static_assert(maxLength(Strategy::kFallback) <= kMaxDoublingLength &&
              maxLength(Strategy::kDoubling) <= kMaxDoublingLength);

template <class T>
T* aligned(T* at) noexcept {
    const auto address = reinterpret_cast<uintptr_t>(at);
    return at + (-address & (kAlignment - 1));
}

struct Block {
    const uint8_t* src;
    uint32_t n;
    uint8_t* dst;
    int32_t* pPrimaryIndex;

    void setPrimaryIndex(uint32_t row) const noexcept { *pPrimaryIndex = static_cast<int32_t>(row); }

    // Writes the result for the places of the rotations in order.
    template <class Place>
    void write(const Place* order) const noexcept {
        for (uint32_t row = 0; row < n; ++row) {
            const uint32_t place = order[row];
            if (place == 0) setPrimaryIndex(row);
            dst[row] = src[place == 0 ? n - 1 : place - 1];
        }
    }

    void copy() const noexcept {
        std::memcpy(dst, src, n);
        setPrimaryIndex(0);
    }
};

void sortDirectly(const Block& block) noexcept {
    std::array<uint8_t, size_t{2} * kMinScratchSorted> doubled;
    std::memcpy(doubled.data(), block.src, block.n);
    std::memcpy(doubled.data() + block.n, block.src, block.n);
    std::array<uint8_t, kMinScratchSorted> order;
    std::iota(order.begin(), order.begin() + block.n, uint8_t{0});
    std::sort(order.begin(), order.begin() + block.n, [&](uint8_t a, uint8_t b) noexcept {
        const int difference = std::memcmp(doubled.data() + a, doubled.data() + b, block.n);
        return difference != 0 ? difference < 0 : a < b;
    });
    block.write(order.data());
}

void sortAllByDoubling(const Block& block, uint8_t* scratch) noexcept {
    auto* const order = new (aligned(scratch)) uint32_t[2 * size_t{block.n}];
    ByteCounts next{};
    for (uint32_t i = 0; i < block.n; ++i) ++next[block.src[i]];
    if (next[block.src[0]] == block.n) {
        block.copy();
        return;
    }
    turnIntoStarts(next);
    const ByteCounts first = next;
    for (uint32_t i = 0; i < block.n; ++i) {
        const unsigned byte = block.src[i];
        order[next[byte]] = i | (next[byte] > first[byte] ? kTied : 0);
        ++next[byte];
    }
    sortByDoubling(order, order + block.n, block.n);
    block.write(order);
}

// Returns false if the budget ran out.
bool sortByTurns(const Block& block, uint8_t* scratch, SortEffort effort) noexcept {
    const uint32_t n = block.n;
    auto* const tables = new (aligned(scratch)) PairTable[2];
    auto* const rows = new (tables + 2) uint32_t[n + (n + 1) / 2];
    auto* const copy = reinterpret_cast<uint8_t*>(rows + n);
    // The tables, 4n bytes, and 2n bytes with the padding: the slack for the alignment is behind.
    static_assert(sizeof(PairTable[2]) + DoubledBlock::kPadding + kAlignment - 1 <= kTurnScratchFixed);
    std::memcpy(copy, block.src, n);
    std::memcpy(copy + n, block.src, n);
    std::memset(copy + 2 * size_t{n}, 0, DoubledBlock::kPadding);
    const DoubledBlock doubled{copy, n};

    RotationCounts counts{.ascending = &tables[0], .turns = &tables[1]};
    const uint32_t m = findTurns(doubled, rows, counts);
    if (m == 0) {
        block.copy();
        return true;
    }
    if (!sortTurns(doubled, {rows, rows + n}, m, counts, effort)) return false;
    block.setPrimaryIndex(n <= PackedEntry::kMaxPlace ? induce<PackedEntry>(block.src, n, rows, m, counts, block.dst)
                                                      : induce<WideEntry>(block.src, n, rows, m, counts, block.dst));
    return true;
}

Status sortBlock(const Block& block, uint8_t* scratch, Strategy strategy) noexcept {
    if (block.n < kMinScratchSorted) {
        sortDirectly(block);
        return StatusOk;
    }
    switch (strategy) {
        case Strategy::kBudget:
            return sortByTurns(block, scratch, SortEffort::kBudget) ? StatusOk : StatusSortBudgetExceeded;
        case Strategy::kNoBudget:
        case Strategy::kFallback:
            if (block.n >= kMinTurnsSorted) {
                sortByTurns(block, scratch, SortEffort::kBounded);
                break;
            }
            [[fallthrough]];
        case Strategy::kDoubling:
            sortAllByDoubling(block, scratch);
            break;
    }
    return StatusOk;
}

}  // namespace
}  // namespace ozrdc::bz2

Status y8_ozrsBWTFwdGetSize_8u(int32_t len, int32_t* pSize) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::bz2;
    if (anyNull(pSize)) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    *pSize = scratchSize(static_cast<uint32_t>(len), Strategy::kFallback);
    return StatusOk;
}

Status y8_ozrsBWTFwdGetBufSize_SelectSort_8u(uint32_t len, int32_t* pSize, uint32_t strategy) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::bz2;
    if (anyNull(pSize)) return StatusNullPointer;
    if (len == 0) return StatusSizeError;
    if (strategy < kStrategies) *pSize = scratchSize(len, Strategy{strategy});
    return StatusOk;
}

Status y8_ozrsBWTFwd_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t* pPrimaryIndex,
                        uint8_t* pBuffer) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::bz2;
    if (anyNull(pSrc, pDst, pPrimaryIndex, pBuffer)) return StatusNullPointer;
    if (len < 1 || static_cast<uint32_t>(len) > maxLength(Strategy::kFallback)) return StatusSizeError;
    return sortBlock({pSrc, static_cast<uint32_t>(len), pDst, pPrimaryIndex}, pBuffer, Strategy::kFallback);
}

Status y8_ozrsBWTFwd_SelectSort_8u(const uint8_t* pSrc, uint8_t* pDst, uint32_t len, int32_t* pPrimaryIndex,
                                   uint8_t* pBuffer, uint32_t strategy) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::bz2;
    if (anyNull(pSrc, pDst, pPrimaryIndex, pBuffer)) return StatusNullPointer;
    if (len == 0) return StatusSizeError;
    if (strategy >= kStrategies && len >= kMinScratchSorted) return StatusOk;
    if (len > maxLength(Strategy{strategy})) return StatusSizeError;
    return sortBlock({pSrc, len, pDst, pPrimaryIndex}, pBuffer, Strategy{strategy});
}
