// The guards must really guard, and random data must be repeatable: a test that rests on them could otherwise never
// fail.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/oracles.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

volatile uint8_t sink;

TEST(GuardedBufferDeathTest, AccessBehindAGuardedEndFaults) {
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const std::size_t size : {0U, 1U, 17U, 4095U, 4096U, 4097U}) {
        GuardedBuffer buffer(size, Guard::After);
        volatile uint8_t* const end = buffer.data() + size;
        EXPECT_DEATH(*end = 1, "");
        EXPECT_DEATH(sink = *end, "");
    }
}

TEST(GuardedBufferDeathTest, AccessInFrontOfAGuardedBeginningFaults) {
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const std::size_t size : {0U, 1U, 17U, 4096U}) {
        GuardedBuffer buffer(size, Guard::Before);
        volatile uint8_t* const front = buffer.data() - 1;
        EXPECT_DEATH(*front = 1, "");
        EXPECT_DEATH(sink = *front, "");
    }
}

TEST(GuardedBuffer, NoticesWritesOnTheUnguardedSide) {
    GuardedBuffer after(100, Guard::After);
    EXPECT_TRUE(after.slackIntact());
    after.data()[-1] ^= 1;
    EXPECT_FALSE(after.slackIntact());

    GuardedBuffer before(100, Guard::Before);
    EXPECT_TRUE(before.slackIntact());
    before.data()[100] ^= 1;
    EXPECT_FALSE(before.slackIntact());
}

TEST(GuardedBuffer, GuardedPartTouchesTheGuard) {
    GuardedBuffer after(100, Guard::After);
    EXPECT_EQ(after.guarded(30).data() + 30, after.data() + 100);
    GuardedBuffer before(100, Guard::Before);
    EXPECT_EQ(before.guarded(30).data(), before.data());
}

TEST(GuardedBuffer, MovesItsBytes) {
    const std::vector<uint8_t> contents{1, 2, 3};
    GuardedBuffer a(contents);
    const uint8_t* const address = a.data();
    GuardedBuffer b(std::move(a));
    EXPECT_EQ(b.data(), address);
    GuardedBuffer c(5000);
    c = std::move(b);
    EXPECT_EQ(c.data(), address);
    EXPECT_EQ(std::vector<uint8_t>(c.begin(), c.end()), contents);
}

TEST(Random, RepeatsForOneStreamAndDiffersBetweenStreams) {
    Random a(7);
    Random b(7);
    Random c(8);
    EXPECT_EQ(a.next(), b.next());
    EXPECT_NE(a.next(), c.next());
}

TEST(Random, StaysInItsBounds) {
    Random random(1);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_LT(random.below(7), 7U);
        const int64_t n = random.between(-3, 3);
        EXPECT_LE(-3, n);
        EXPECT_LE(n, 3);
    }
}

TEST(SampleData, ShorterSampleBeginsALongerOne) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const std::vector<uint8_t> longer = kind.make(20000, 3);
        ASSERT_EQ(longer.size(), 20000U);
        for (const std::size_t size : {0U, 1U, 777U, 19999U}) {
            const std::vector<uint8_t> shorter = kind.make(size, 3);
            EXPECT_EQ(shorter, std::vector<uint8_t>(longer.begin(), longer.begin() + static_cast<long>(size)));
        }
    }
}

TEST(SampleData, KindsRangeFromConstantToIncompressible) {
    const auto packedSize = [](const char* kind) {
        return oracle::lz4Compress(sampleKind(kind).make(60000, 1)).size();
    };
    EXPECT_LT(packedSize("zeros"), 300U);
    EXPECT_LT(packedSize("period 300"), 1000U);
    EXPECT_LT(packedSize("text"), 40000U);
    EXPECT_GT(packedSize("text"), 10000U);
    EXPECT_LT(packedSize("rare matches"), 60000U);
    EXPECT_GT(packedSize("rare matches"), 50000U);
    EXPECT_GT(packedSize("random"), 60000U);
}

TEST(SampleData, PeriodicSampleRepeatsWithItsPeriod) {
    const std::vector<uint8_t> sample = periodicSample(1000, 37, 1);
    for (std::size_t i = 37; i < sample.size(); ++i) ASSERT_EQ(sample[i], sample[i - 37]);
}

}  // namespace
}  // namespace ozrdc::test
