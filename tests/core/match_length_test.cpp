// The length of a common prefix.
#include "core/match_length.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test {
namespace {

TEST(MatchLength, EndsAtTheFirstDifferenceOrAtTheLimit) {
    constexpr std::size_t most = 150;
    GuardedBuffer a(most);
    GuardedBuffer b(most);  // the same contents
    for (std::size_t limit = 0; limit <= most; ++limit) {
        // Both ranges end at an inaccessible page: nothing behind the limit can be read.
        uint8_t* const p = a.guarded(limit).data();
        uint8_t* const q = b.guarded(limit).data();
        EXPECT_EQ(getboundlong(p, q, 0, static_cast<int64_t>(limit)), static_cast<int64_t>(limit));
        for (std::size_t at = 0; at < limit; ++at) {
            q[at] ^= 0x10;
            if (at + 1 < limit) q[limit - 1] ^= 0x01;  // later differences do not matter
            ASSERT_EQ(getboundlong(p, q, 0, static_cast<int64_t>(limit)), static_cast<int64_t>(at))
                << "limit " << limit;
            if (at + 1 < limit) q[limit - 1] ^= 0x01;
            q[at] ^= 0x10;
        }
    }
}

TEST(MatchLength, DifferenceMayBeAnyBit) {
    GuardedBuffer a(64);
    GuardedBuffer b(64);
    for (std::size_t bit = 0; bit < 64 * 8; ++bit) {
        b[bit / 8] ^= static_cast<uint8_t>(1U << (bit % 8));
        EXPECT_EQ(getboundlong(a.data(), b.data(), 0, 64), static_cast<int64_t>(bit / 8));
        b[bit / 8] ^= static_cast<uint8_t>(1U << (bit % 8));
    }
}

TEST(MatchLength, RangesMayOverlap) {
    for (std::size_t distance = 1; distance <= 40; ++distance) {
        for (std::size_t limit = 0; limit <= 120; ++limit) {
            GuardedBuffer bytes(distance + limit);
            for (std::size_t i = distance; i < bytes.size(); ++i) bytes[i] = bytes[i - distance];
            ASSERT_EQ(getboundlong(bytes.data() + distance, bytes.data() + distance, -static_cast<int64_t>(distance),
                                   static_cast<int64_t>(limit)),
                      static_cast<int64_t>(limit));
        }
    }
}

TEST(MatchLength, AgreesWithAByteWiseComparisonAtAnyAddress) {
    Random random(702);
    for (int round = 0; round < 20000; ++round) {
        const std::size_t limit = random.below(100);
        GuardedBuffer a(limit + random.below(16), random.oneIn(2) ? Guard::After : Guard::Before);
        GuardedBuffer b(limit + random.below(16), random.oneIn(2) ? Guard::After : Guard::Before);
        for (uint8_t& byte : a) byte = random.oneIn(60) ? 1 : 0;
        for (uint8_t& byte : b) byte = random.oneIn(60) ? 1 : 0;
        const std::span<const uint8_t> p = a.span().last(limit);
        const std::span<const uint8_t> q = b.span().first(limit);
        const auto expected = std::mismatch(p.begin(), p.end(), q.begin()).first - p.begin();
        ASSERT_EQ(getboundlong(p.data(), q.data(), 0, static_cast<int64_t>(limit)), expected);
    }
}

}  // namespace
}  // namespace ozrdc::test
