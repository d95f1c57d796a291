// The guards must really guard, and random data must be repeatable: a test that rests on them could otherwise never
// fail.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/random.h"

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

}  // namespace
}  // namespace ozrdc::test
