// Argument checks: which come first, and that a call that fails one leaves its outputs untouched.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "ozrdc.h"

namespace ozrdc::test::zfp {
namespace {

class ZfpArguments : public ::testing::Test {
  protected:
    static constexpr uint8_t kUntouched = 0xB7;

    ZfpArguments() {
        state_.bytes.fill(kUntouched);
        stream_.fill(kUntouched);
        block_.fill(1.5F);
    }

    ZfpState* state() { return reinterpret_cast<ZfpState*>(state_.bytes.data()); }

    // A state that every call takes, and one that none does.
    void initialize() {
        ASSERT_EQ(ozrsEncodeZfpInit_32f(stream_.data(), static_cast<int32_t>(stream_.size()), state()), StatusOk);
    }
    void spoil() {
        initialize();
        state_.bytes[0] ^= 1;
    }

    bool stateIsUntouched() const {
        return std::ranges::all_of(state_.bytes, [](uint8_t b) { return b == kUntouched; });
    }
    bool streamIsUntouched() const {
        return std::ranges::all_of(stream_, [](uint8_t b) { return b == kUntouched; });
    }

    struct alignas(8) StateMemory {
        std::array<uint8_t, 576> bytes;
    };
    StateMemory state_{};
    std::array<uint8_t, 100> stream_{};
    std::array<float, 64> block_{};
};

using SizeFunction = decltype(&ozrsEncodeZfpGetStateSize_32f);

TEST_F(ZfpArguments, TheStateHas576Bytes) {
    for (const SizeFunction function : {ozrsEncodeZfpGetStateSize_32f, ozrsDecodeZfpGetStateSize_32f}) {
        int32_t size = 0;
        EXPECT_EQ(function(&size), StatusOk);
        EXPECT_EQ(size, 576);
        EXPECT_EQ(function(nullptr), StatusNullPointer);
    }
}

TEST_F(ZfpArguments, InitRefusesNullPointersBeforeSizes) {
    for (const int32_t size : {100, 0, -1}) {
        EXPECT_EQ(ozrsEncodeZfpInit_32f(nullptr, size, state()), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZfpInit_32f(nullptr, size, state()), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeZfpInit_32f(stream_.data(), size, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZfpInit_32f(stream_.data(), size, nullptr), StatusNullPointer);
    }
    for (const uint64_t size : {100U, 0U}) {
        EXPECT_EQ(ozrsEncodeZfpInitLong_32f(nullptr, size, state()), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZfpInitLong_32f(nullptr, size, state()), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeZfpInitLong_32f(stream_.data(), size, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZfpInitLong_32f(stream_.data(), size, nullptr), StatusNullPointer);
    }
    EXPECT_TRUE(stateIsUntouched());
}

TEST_F(ZfpArguments, InitRefusesSizesBelowOne) {
    for (const int32_t size : {0, -1, std::numeric_limits<int32_t>::min()}) {
        EXPECT_EQ(ozrsEncodeZfpInit_32f(stream_.data(), size, state()), StatusSizeError);
        EXPECT_EQ(ozrsDecodeZfpInit_32f(stream_.data(), size, state()), StatusSizeError);
    }
    EXPECT_EQ(ozrsEncodeZfpInitLong_32f(stream_.data(), 0, state()), StatusSizeError);
    EXPECT_EQ(ozrsDecodeZfpInitLong_32f(stream_.data(), 0, state()), StatusSizeError);
    EXPECT_TRUE(stateIsUntouched());
}

TEST_F(ZfpArguments, InitTouchesNothingButTheState) {
    initialize();
    EXPECT_TRUE(streamIsUntouched());
    int32_t size = -1;
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSize_32f(state(), &size), StatusOk);
    EXPECT_EQ(size, 0);
}

TEST_F(ZfpArguments, EveryCallRefusesNullPointers) {
    spoil();  // null pointers come first
    const StateMemory before = state_;
    int32_t size = 77;
    uint64_t longSize = 77;
    EXPECT_EQ(ozrsEncodeZfpSet_32f(1, 2, 3, 4, nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeZfpSet_32f(1, 2, 3, 4, nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfpSetAccuracy_32f(1, nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeZfpSetAccuracy_32f(1, nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfp444_32f(nullptr, 16, 64, state()), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfp444_32f(block_.data(), 16, 64, nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeZfp444_32f(nullptr, block_.data(), 16, 64), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeZfp444_32f(state(), nullptr, 16, 64), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfpFlush_32f(nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSize_32f(nullptr, &size), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSize_32f(state(), nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeZfpGetDecompressedSize_32f(nullptr, &size), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeZfpGetDecompressedSize_32f(state(), nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSizeLong_32f(nullptr, &longSize), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSizeLong_32f(state(), nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeZfpGetDecompressedSizeLong_32f(nullptr, &longSize), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeZfpGetDecompressedSizeLong_32f(state(), nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedBitSize_32f(nullptr, &longSize), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedBitSize_32f(state(), nullptr), StatusNullPointer);
    EXPECT_EQ(size, 77);
    EXPECT_EQ(longSize, 77U);
    EXPECT_EQ(state_.bytes, before.bytes);
    EXPECT_TRUE(streamIsUntouched());
}

TEST_F(ZfpArguments, EveryCallRefusesAStateOfAnotherFamily) {
    spoil();
    const StateMemory before = state_;
    int32_t size = 77;
    uint64_t longSize = 77;
    EXPECT_EQ(ozrsEncodeZfpSet_32f(1, 2, 3, 4, state()), StatusContextMismatch);
    EXPECT_EQ(ozrsDecodeZfpSet_32f(1, 2, 3, 4, state()), StatusContextMismatch);
    EXPECT_EQ(ozrsEncodeZfpSetAccuracy_32f(1, state()), StatusContextMismatch);
    EXPECT_EQ(ozrsDecodeZfpSetAccuracy_32f(1, state()), StatusContextMismatch);
    EXPECT_EQ(ozrsEncodeZfp444_32f(block_.data(), 16, 64, state()), StatusContextMismatch);
    EXPECT_EQ(ozrsDecodeZfp444_32f(state(), block_.data(), 16, 64), StatusContextMismatch);
    EXPECT_EQ(ozrsEncodeZfpFlush_32f(state()), StatusContextMismatch);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSize_32f(state(), &size), StatusContextMismatch);
    EXPECT_EQ(ozrsDecodeZfpGetDecompressedSize_32f(state(), &size), StatusContextMismatch);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSizeLong_32f(state(), &longSize), StatusContextMismatch);
    EXPECT_EQ(ozrsDecodeZfpGetDecompressedSizeLong_32f(state(), &longSize), StatusContextMismatch);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedBitSize_32f(state(), &longSize), StatusContextMismatch);
    EXPECT_EQ(size, 77);
    EXPECT_EQ(longSize, 77U);
    EXPECT_EQ(state_.bytes, before.bytes);
    EXPECT_TRUE(streamIsUntouched());
    EXPECT_TRUE(std::ranges::all_of(block_, [](float v) { return v == 1.5F; }));
}

TEST_F(ZfpArguments, InitMakesAStateOfAnything) {
    spoil();
    initialize();
    EXPECT_EQ(ozrsEncodeZfp444_32f(block_.data(), 16, 64, state()), StatusOk);
}

// What Set stores is what the coders use: the model's streams with the same parameters show that. Here: that it stores
// all of them, in the place that a debugger shows.
TEST_F(ZfpArguments, SetStoresAnyValues) {
    initialize();
    for (const uint32_t value : {0U, 1U, 0x80000000U, 0xFFFFFFFFU}) {
        for (const int32_t exponent : {0, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()}) {
            ASSERT_EQ(ozrsEncodeZfpSet_32f(value, value ^ 1, value ^ 2, exponent, state()), StatusOk);
            std::array<uint32_t, 5> fields;
            std::memcpy(fields.data(), state_.bytes.data(), sizeof fields);
            EXPECT_EQ(fields, (std::array<uint32_t, 5>{0x4B617398, value, value ^ 1, value ^ 2,
                                                       static_cast<uint32_t>(exponent)}));
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::zfp
