// Code lengths: within the limit, complete, and as good as any.
#include "formats/deflate/prefix_code.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "support/deflate_format.h"
#include "support/random.h"

namespace ozrz::deflate {
namespace {

using Frequencies = std::vector<uint32_t>;
using Lengths = std::vector<uint8_t>;

Lengths lengthsOf(const Frequencies& frequencies, unsigned limit) {
    Lengths lengths(frequencies.size(), 99);
    makeCodeLengths(frequencies, limit, lengths.data());
    return lengths;
}

uint64_t costOf(const Frequencies& frequencies, const Lengths& lengths) {
    uint64_t cost = 0;
    for (std::size_t i = 0; i < frequencies.size(); ++i) cost += uint64_t{frequencies[i]} * lengths[i];
    return cost;
}

// The least cost of any code, found by trying all: `frequencies` in falling order get lengths that do not fall, and
// `room` is what of 2^limit is left.
uint64_t leastCost(const Frequencies& frequencies, std::size_t next, unsigned length, unsigned limit, uint64_t room) {
    if (next == frequencies.size()) return 0;
    uint64_t least = std::numeric_limits<uint32_t>::max();
    for (; length <= limit; ++length) {
        const uint64_t takes = uint64_t{1} << (limit - length);
        // What follows takes at least one unit each.
        if (takes + (frequencies.size() - next - 1) > room) continue;
        least = std::min(least, uint64_t{frequencies[next]} * length +
                                    leastCost(frequencies, next + 1, length, limit, room - takes));
    }
    return least;
}

TEST(PrefixCode, IsAsGoodAsAnyWithinTheLimit) {
    ozrdc::test::Random random(1);
    for (int repetition = 0; repetition < 2000; ++repetition) {
        Frequencies frequencies(2 + random.below(8));
        const bool steep = random.oneIn(2);
        for (auto& f : frequencies) f = static_cast<uint32_t>(1 + random.below(steep ? 1U << random.below(12) : 50));
        unsigned limit = 1;
        while (std::size_t{1} << limit < frequencies.size()) ++limit;
        limit += static_cast<unsigned>(random.below(3));
        const Lengths lengths = lengthsOf(frequencies, limit);
        for (const uint8_t length : lengths) ASSERT_TRUE(length >= 1 && length <= limit);
        const uint64_t cost = costOf(frequencies, lengths);
        std::sort(frequencies.rbegin(), frequencies.rend());
        ASSERT_EQ(cost, leastCost(frequencies, 0, 1, limit, uint64_t{1} << limit))
            << ::testing::PrintToString(frequencies);
    }
}

TEST(PrefixCode, IsCompleteForAllSizes) {
    ozrdc::test::Random random(2);
    for (const unsigned limit : {7U, 9U, 15U}) {
        for (std::size_t size = 2; size <= 288; size += 1 + size / 20) {
            if (size > std::size_t{1} << limit) continue;
            Frequencies frequencies(size);
            for (auto& f : frequencies) f = static_cast<uint32_t>(1 + random.below(1U << random.below(20)));
            const Lengths lengths = lengthsOf(frequencies, limit);
            const std::vector<uint16_t> wide(lengths.begin(), lengths.end());
            ASSERT_EQ(ozrdc::test::deflate::completeness(wide), ozrdc::test::deflate::Completeness::Complete);
            ASSERT_LE(ozrdc::test::deflate::longest(wide), limit);
        }
    }
}

TEST(PrefixCode, FibonacciFrequenciesAreLimited) {
    // The worst case: without a limit, n symbols take n - 1 bits.
    Frequencies frequencies{1, 1};
    while (frequencies.size() < 40) frequencies.push_back(frequencies.back() + frequencies[frequencies.size() - 2]);
    EXPECT_EQ(lengthsOf(frequencies, 39)[0], 39);
    const Lengths lengths = lengthsOf(frequencies, 15);
    EXPECT_EQ(*std::max_element(lengths.begin(), lengths.end()), 15);
    // No symbol has a longer code than a rarer one.
    EXPECT_TRUE(std::is_sorted(lengths.rbegin(), lengths.rend()));
}

TEST(PrefixCode, UnusedSymbolsHaveNone) {
    EXPECT_EQ(lengthsOf({0, 0, 0}, 15), (Lengths{0, 0, 0}));
    EXPECT_EQ(lengthsOf({0, 7, 0}, 15), (Lengths{0, 1, 0}));
    EXPECT_EQ(lengthsOf({3, 0, 9}, 15), (Lengths{1, 0, 1}));
}

TEST(PrefixCode, CodesAreCanonical) {
    ozrdc::test::Random random(3);
    for (int repetition = 0; repetition < 50; ++repetition) {
        Frequencies frequencies(286);
        for (auto& f : frequencies) f = random.oneIn(3) ? 0 : static_cast<uint32_t>(random.below(1000));
        const Lengths lengths = lengthsOf(frequencies, 15);
        std::vector<DeflateHuffCode> codes(lengths.size());
        assignCodes(lengths, codes.data());
        const auto expected =
            ozrdc::test::deflate::canonicalCodes(std::vector<uint16_t>(lengths.begin(), lengths.end()));
        for (std::size_t i = 0; i < codes.size(); ++i) {
            ASSERT_EQ(codes[i].len, expected[i].length);
            ASSERT_EQ(codes[i].code, expected[i].bits);
        }
    }
}

}  // namespace
}  // namespace ozrz::deflate
