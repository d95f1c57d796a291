// The sort of groups by keys, and prefix doubling, beside the standard library's sorts.
#include "bz2/group_sort.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "bz2/doubling.h"
#include "support/random.h"

namespace ozrdc::test::bz2 {
namespace {

using namespace ozrdc::bz2;

constexpr uint64_t kKeys = uint64_t{1} << detail::kKeyBits;

// Sorts the items 0, 1, 2, ... by these keys, and checks the order, the marks, and that no item is lost.
void expectSorted(const std::vector<uint64_t>& keys) {
    std::vector<uint32_t> items(keys.size());
    std::iota(items.begin(), items.end(), 0U);
    sortGroup(items.data(), static_cast<uint32_t>(items.size()), [&](uint32_t item) { return keys[item]; });
    std::vector<bool> seen(keys.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        const uint32_t item = items[i] & ~kTied;
        ASSERT_LT(item, keys.size());
        ASSERT_FALSE(seen[item]);
        seen[item] = true;
        if (i == 0) {
            ASSERT_EQ(items[i] & kTied, 0U);
            continue;
        }
        const uint64_t before = keys[items[i - 1] & ~kTied];
        ASSERT_LE(before, keys[item]);
        ASSERT_EQ((items[i] & kTied) != 0, before == keys[item]);
    }
}

TEST(GroupSort, GroupsOfEverySizeAndKeysOfEveryRange) {
    Random random(831);
    for (int round = 0; round < 1500; ++round) {
        std::vector<uint64_t> keys(1 + random.below(random.oneIn(30) ? 30000 : 200));
        const uint64_t range = uint64_t{1} << random.below(detail::kKeyBits + 1);
        const uint64_t base = random.oneIn(2) ? kKeys - range : random.below(kKeys - range + 1);
        for (uint64_t& key : keys) key = base + random.below(range);
        expectSorted(keys);
        if (HasFatalFailure()) return;
    }
}

TEST(GroupSort, LargeGroupsOfFewKeys) {
    for (const uint64_t outlier : {uint64_t{0}, uint64_t{1}, uint64_t{255}, uint64_t{256}, kKeys - 1}) {
        for (const uint64_t common : {uint64_t{0}, uint64_t{257}, kKeys - 1}) {
            std::vector<uint64_t> keys(20000, common);
            keys[7777] = outlier;
            expectSorted(keys);
        }
    }
}

TEST(GroupSort, KeysInOrderAndInReverse) {
    std::vector<uint64_t> keys(4000);
    std::iota(keys.begin(), keys.end(), uint64_t{0x800000000000} - 2000);
    expectSorted(keys);
    std::reverse(keys.begin(), keys.end());
    expectSorted(keys);
}

TEST(GroupSort, WordsThatNoPivotDividesWellAreSortedAllTheSame) {
    Random random(832);
    for (uint32_t n = 1; n < 300; ++n) {
        std::vector<int64_t> words(n + 1);
        for (int64_t& word : words) word = static_cast<int64_t>(random.next());
        std::vector<int64_t> expected = words;
        std::sort(expected.begin(), expected.end() - 1);
        for (const unsigned depth : {0U, 1U, 20U}) {
            std::vector<int64_t> sorted = words;
            detail::sortWords(sorted.data(), n, depth);
            ASSERT_EQ(sorted, expected) << n << " words, depth " << depth;
        }
    }
}

// Sorts the rotations of a sequence of ranks, from the groups of equal ranks on.
void expectRotationsSorted(const std::vector<uint32_t>& ranks) {
    const std::size_t m = ranks.size();
    std::vector<uint32_t> order(m);
    std::iota(order.begin(), order.end(), 0U);
    std::stable_sort(order.begin(), order.end(), [&](uint32_t a, uint32_t b) { return ranks[a] < ranks[b]; });
    for (std::size_t i = m; i-- > 1;) {
        if (ranks[order[i]] == ranks[order[i - 1]]) order[i] |= kTied;
    }
    std::vector<uint32_t> scratch(m);
    sortByDoubling(order.data(), scratch.data(), static_cast<uint32_t>(m));
    std::vector<bool> seen(m);
    for (std::size_t i = 0; i < m; ++i) {
        ASSERT_LT(order[i], m);
        ASSERT_FALSE(seen[order[i]]);
        seen[order[i]] = true;
        for (std::size_t k = 0; i > 0 && k < m; ++k) {
            const uint32_t before = ranks[(order[i - 1] + k) % m];
            const uint32_t after = ranks[(order[i] + k) % m];
            ASSERT_LE(before, after) << "size " << m << ", row " << i;
            if (before < after) break;
        }
    }
}

TEST(PrefixDoubling, SequencesWithRepetitionsOfEveryKind) {
    Random random(833);
    for (int round = 0; round < 3000; ++round) {
        std::vector<uint32_t> ranks(1 + random.below(random.oneIn(20) ? 500 : 60));
        const uint64_t values = 1 + random.below(random.oneIn(2) ? 3 : 100);
        const std::size_t period = 1 + random.below(ranks.size());
        for (std::size_t i = 0; i < ranks.size(); ++i) {
            ranks[i] =
                i < period || random.oneIn(200) ? static_cast<uint32_t>(random.below(values)) : ranks[i - period];
        }
        expectRotationsSorted(ranks);
        if (HasFatalFailure()) return;
    }
}

}  // namespace
}  // namespace ozrdc::test::bz2
