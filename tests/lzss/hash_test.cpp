// The values that the hash is made of.
#include "lzss/hash.h"

#include <gtest/gtest.h>

#include <set>

#include "lzss/reference_lzss.h"
#include "support/random.h"

namespace ozrdc::test::lzss {
namespace {

using ozrdc::lzss::randVecLZSS;

TEST(LzssHash, RowsBeginAsTheyHaveTo) {
    const int given[3][4] = {{18845, 15810, 11527, 28763}, {23403, 25964, 7330, 5756}, {23616, 7640, 29028, 30668}};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(randVecLZSS[256 * row + i], given[row][i]);
    }
}

TEST(LzssHash, ValuesAreInRangeAndDifferentWithinARow) {
    ASSERT_EQ(randVecLZSS.size(), 768U);
    for (std::size_t row = 0; row < 3; ++row) {
        std::set<int> values;
        for (std::size_t i = 0; i < 256; ++i) values.insert(randVecLZSS[256 * row + i]);
        EXPECT_EQ(values.size(), 256U);
        EXPECT_GE(*values.begin(), 46);
        EXPECT_LE(*values.rbegin(), 32764);
    }
}

TEST(LzssHash, ModelHasTheSameValues) {
    for (std::size_t i = 0; i < 768; ++i) EXPECT_EQ(randVecLZSS[i], hashValues()[i]);
}

TEST(LzssHash, RollsAlong) {
    Random random(1);
    Bytes bytes(1000);
    random.fill(bytes);
    ozrdc::lzss::RollingHash hash(bytes.data());
    for (std::size_t i = 0; i + 2 < bytes.size(); ++i) {
        ASSERT_EQ(hash.at(&bytes[i]), static_cast<uint32_t>(hashOf(bytes[i], bytes[i + 1], bytes[i + 2])));
    }
}

}  // namespace
}  // namespace ozrdc::test::lzss
