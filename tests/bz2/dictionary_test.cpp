// The dictionary of a block.
#include <gtest/gtest.h>

#include <algorithm>

#include "bz2/reference_stages.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test::bz2 {
namespace {

int32_t sizeOf(const GuardedBuffer& buffer) { return static_cast<int32_t>(buffer.size()); }

TEST(Dictionary, TwoValues) {
    Bytes inUse(256);
    inUse[0x41] = inUse[0x61] = 1;
    Bytes bytes{0x61, 0x41};
    int32_t size = 0;
    EXPECT_EQ(ozrsReduceDictionary_8u_I(inUse.data(), bytes.data(), 2, &size), StatusOk);
    EXPECT_EQ(size, 2);
    EXPECT_EQ(bytes, (Bytes{1, 0}));
    EXPECT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), 2, 3), StatusError);
    EXPECT_EQ(bytes, (Bytes{1, 0}));
    EXPECT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), 2, 2), StatusOk);
    EXPECT_EQ(bytes, (Bytes{0x61, 0x41}));
}

TEST(Dictionary, AllValuesStayAsTheyAre) {
    const Bytes inUse(256, 1);
    GuardedBuffer bytes(1000);
    const Bytes before(bytes.begin(), bytes.end());
    int32_t size = 0;
    EXPECT_EQ(ozrsReduceDictionary_8u_I(inUse.data(), bytes.data(), sizeOf(bytes), &size), StatusOk);
    EXPECT_EQ(size, 256);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), before);
    EXPECT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), sizeOf(bytes), 256), StatusOk);
    EXPECT_EQ(Bytes(bytes.begin(), bytes.end()), before);
}

TEST(Dictionary, NoValueInUse) {
    const Bytes inUse(256, 0);
    Bytes bytes{3, 4};
    int32_t size = 9;
    EXPECT_EQ(ozrsReduceDictionary_8u_I(inUse.data(), bytes.data(), 2, &size), StatusOk);
    EXPECT_EQ(size, 0);
    EXPECT_EQ(bytes, (Bytes{0, 0}));
    EXPECT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), 2, 1), StatusError);
}

TEST(Dictionary, RenamesEveryByteAndBack) {
    Random random(94);
    for (std::size_t length = 1; length < 300; ++length) {
        GuardedBuffer inUse(256);
        for (uint8_t& entry : inUse) entry = random.oneIn(1 + length % 9) ? 1 : 0;
        GuardedBuffer bytes(length);
        random.fill(bytes.span());
        Bytes expected;
        for (const uint8_t byte : bytes) {
            expected.push_back(static_cast<uint8_t>(std::count(inUse.begin(), inUse.begin() + byte, 1)));
        }
        const Bytes before(bytes.begin(), bytes.end());
        int32_t size = -1;
        ASSERT_EQ(ozrsReduceDictionary_8u_I(inUse.data(), bytes.data(), sizeOf(bytes), &size), StatusOk);
        ASSERT_EQ(size, std::count(inUse.begin(), inUse.end(), 1));
        ASSERT_EQ(Bytes(bytes.begin(), bytes.end()), expected);
        if (size == 0) continue;
        ASSERT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), sizeOf(bytes), size), StatusOk);
        for (std::size_t i = 0; i < length; ++i) {
            if (inUse[before[i]] == 1) {
                ASSERT_EQ(bytes[i], before[i]);
            }
        }
        ASSERT_TRUE(bytes.slackIntact());
    }
}

TEST(Dictionary, TablesOfOtherNumbersDoNoHarm) {
    GuardedBuffer inUse(Bytes(256, 255));
    GuardedBuffer bytes(100);
    int32_t size = 0;
    EXPECT_EQ(ozrsReduceDictionary_8u_I(inUse.data(), bytes.data(), 100, &size), StatusOk);
    EXPECT_EQ(size, 255 * 256);
    EXPECT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), 100, size), StatusOk);
}

TEST(Dictionary, ArgumentsAreCheckedInOrder) {
    const Bytes inUse(256, 1);
    Bytes bytes{1, 2, 3};
    int32_t size = 77;
    for (const int32_t length : {3, 0, -1}) {
        EXPECT_EQ(ozrsReduceDictionary_8u_I(nullptr, bytes.data(), length, &size), StatusNullPointer);
        EXPECT_EQ(ozrsReduceDictionary_8u_I(inUse.data(), nullptr, length, &size), StatusNullPointer);
        EXPECT_EQ(ozrsReduceDictionary_8u_I(inUse.data(), bytes.data(), length, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsExpandDictionary_8u_I(nullptr, bytes.data(), length, 256), StatusNullPointer);
        EXPECT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), nullptr, length, 0), StatusNullPointer);
    }
    for (const int32_t bad : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(ozrsReduceDictionary_8u_I(inUse.data(), bytes.data(), bad, &size), StatusSizeError);
        EXPECT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), bad, 256), StatusSizeError);
        EXPECT_EQ(ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), 3, bad), StatusSizeError);
    }
    EXPECT_EQ(size, 77);
    EXPECT_EQ(bytes, (Bytes{1, 2, 3}));
}

}  // namespace
}  // namespace ozrdc::test::bz2
