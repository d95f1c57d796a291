// What every call refuses, in which order, and that a call which refuses leaves everything as it was.
#include <gtest/gtest.h>

#include "lzss/checked_streams.h"

namespace ozrdc::test::lzss {
namespace {

// The arguments of a working call, with something in all of them.
struct Arguments {
    Bytes source = Bytes(10, 'x');
    Bytes target = Bytes(10, 0xEE);
    const uint8_t* from = source.data();
    int32_t left = 10;
    uint8_t* to = target.data();
    int32_t room = 10;

    // True if nothing has changed but what the test itself set.
    bool untouched(int32_t expectedLeft, int32_t expectedRoom) const {
        return from == source.data() && left == expectedLeft && to == target.data() && room == expectedRoom &&
               target == Bytes(10, 0xEE);
    }
};

using Working = decltype(&ozrsEncodeLZSS_8u);

void refusesNull(Working call, LZSSState* state) {
    for (const int32_t length : {10, 0, -1}) {
        Arguments a;
        a.left = length;
        a.room = length;
        EXPECT_EQ(call(nullptr, &a.left, &a.to, &a.room, state), StatusNullPointer);
        EXPECT_EQ(call(&a.from, nullptr, &a.to, &a.room, state), StatusNullPointer);
        EXPECT_EQ(call(&a.from, &a.left, nullptr, &a.room, state), StatusNullPointer);
        EXPECT_EQ(call(&a.from, &a.left, &a.to, nullptr, state), StatusNullPointer);
        EXPECT_EQ(call(&a.from, &a.left, &a.to, &a.room, nullptr), StatusNullPointer);
        const uint8_t* noSource = nullptr;
        EXPECT_EQ(call(&noSource, &a.left, &a.to, &a.room, state), StatusNullPointer);
        uint8_t* noTarget = nullptr;
        EXPECT_EQ(call(&a.from, &a.left, &noTarget, &a.room, state), StatusNullPointer);
        EXPECT_TRUE(a.untouched(length, length));
    }
}

class LzssArguments : public ::testing::Test {
  protected:
    StateMemory memory;
    LZSSState* const state = memory.get();

    Bytes contents() { return Bytes(memory.bytes().begin(), memory.bytes().end()); }
};

TEST_F(LzssArguments, SizeIsTold) {
    EXPECT_EQ(ozrsLZSSGetSize_8u(nullptr), StatusNullPointer);
    int32_t size = 0;
    EXPECT_EQ(ozrsLZSSGetSize_8u(&size), StatusOk);
    EXPECT_EQ(size, 327744);
}

TEST_F(LzssArguments, StatesAreNeeded) {
    EXPECT_EQ(ozrsEncodeLZSSInit_8u(nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeLZSSInit_8u(nullptr), StatusNullPointer);
}

TEST_F(LzssArguments, NullIsRefusedBeforeLengthsAreLookedAt) {
    ASSERT_EQ(ozrsEncodeLZSSInit_8u(state), StatusOk);
    Bytes before = contents();
    refusesNull(ozrsEncodeLZSS_8u, state);
    EXPECT_TRUE(contents() == before);
    ASSERT_EQ(ozrsDecodeLZSSInit_8u(state), StatusOk);
    before = contents();
    refusesNull(ozrsDecodeLZSS_8u, state);
    EXPECT_TRUE(contents() == before);
}

TEST_F(LzssArguments, EncoderIsWarnedOfNoRoomBeforeItSeesThereIsNoSource) {
    ASSERT_EQ(ozrsEncodeLZSSInit_8u(state), StatusOk);
    const Bytes before = contents();
    for (const int32_t left : {0, 10}) {
        Arguments a;
        a.left = left;
        a.room = 0;
        EXPECT_EQ(ozrsEncodeLZSS_8u(&a.from, &a.left, &a.to, &a.room, state), StatusDestinationFull);
        EXPECT_TRUE(a.untouched(left, 0));
    }
    Arguments a;
    a.left = 0;
    EXPECT_EQ(ozrsEncodeLZSS_8u(&a.from, &a.left, &a.to, &a.room, state), StatusOk);
    EXPECT_TRUE(a.untouched(0, 10));
    EXPECT_TRUE(contents() == before);
}

TEST_F(LzssArguments, NegativeLengthsAreErrors) {
    ASSERT_EQ(ozrsEncodeLZSSInit_8u(state), StatusOk);
    const Bytes before = contents();
    for (const int32_t other : {-1, 0, 10}) {
        Arguments a;
        a.left = -1;
        a.room = other;
        EXPECT_EQ(ozrsEncodeLZSS_8u(&a.from, &a.left, &a.to, &a.room, state), StatusSizeError);
        EXPECT_TRUE(a.untouched(-1, other));
        a.left = other;
        a.room = INT32_MIN;
        EXPECT_EQ(ozrsEncodeLZSS_8u(&a.from, &a.left, &a.to, &a.room, state), StatusSizeError);
        EXPECT_TRUE(a.untouched(other, INT32_MIN));
    }
    EXPECT_TRUE(contents() == before);
}

TEST_F(LzssArguments, DecoderNeedsRoomButNoSource) {
    ASSERT_EQ(ozrsDecodeLZSSInit_8u(state), StatusOk);
    const Bytes before = contents();
    for (const int32_t room : {0, -1}) {
        Arguments a;
        a.room = room;
        EXPECT_EQ(ozrsDecodeLZSS_8u(&a.from, &a.left, &a.to, &a.room, state), StatusSizeError);
        EXPECT_TRUE(a.untouched(10, room));
    }
    Arguments a;
    a.left = -1;
    EXPECT_EQ(ozrsDecodeLZSS_8u(&a.from, &a.left, &a.to, &a.room, state), StatusSizeError);
    EXPECT_TRUE(a.untouched(-1, 10));
    a.left = 0;
    EXPECT_EQ(ozrsDecodeLZSS_8u(&a.from, &a.left, &a.to, &a.room, state), StatusOk);
    EXPECT_TRUE(a.untouched(0, 10));
    EXPECT_TRUE(contents() == before);
}

TEST_F(LzssArguments, FlushNeedsRoomEvenIfNothingIsPending) {
    ASSERT_EQ(ozrsEncodeLZSSInit_8u(state), StatusOk);
    const Bytes before = contents();
    Arguments a;
    EXPECT_EQ(ozrsEncodeLZSSFlush_8u(nullptr, &a.room, state), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeLZSSFlush_8u(&a.to, nullptr, state), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeLZSSFlush_8u(&a.to, &a.room, nullptr), StatusNullPointer);
    uint8_t* noTarget = nullptr;
    EXPECT_EQ(ozrsEncodeLZSSFlush_8u(&noTarget, &a.room, state), StatusNullPointer);
    for (const int32_t room : {0, -1}) {
        a.room = room;
        EXPECT_EQ(ozrsEncodeLZSSFlush_8u(nullptr, &a.room, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeLZSSFlush_8u(&a.to, &a.room, state), StatusSizeError);
        EXPECT_TRUE(a.untouched(10, room));
    }
    a.room = 10;
    EXPECT_EQ(ozrsEncodeLZSSFlush_8u(&a.to, &a.room, state), StatusOk);
    EXPECT_TRUE(a.untouched(10, 10));
    EXPECT_TRUE(contents() == before);
}

}  // namespace
}  // namespace ozrdc::test::lzss
