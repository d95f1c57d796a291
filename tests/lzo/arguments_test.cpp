// Argument checks: which come first, and that a call that fails one leaves its outputs untouched.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>

#include "lzo/checked_calls.h"

namespace ozrdc::test::lzo {
namespace {

constexpr uint32_t kMax = std::numeric_limits<uint32_t>::max();

class LzoArguments : public ::testing::Test {
  protected:
    static constexpr uint8_t kUntouched = 0xB7;
    static constexpr uint32_t kCount = 900;

    LzoArguments() {
        target_.fill(kUntouched);
        state_.assign(kStateSize, kUntouched);
    }

    bool targetIsUntouched() const { return isUntouched(target_); }
    LZOState* state() { return reinterpret_cast<LZOState*>(state_.data()); }

    static bool isUntouched(std::span<const uint8_t> bytes) {
        return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == kUntouched; });
    }

    std::array<uint8_t, 1000> source_{};
    std::array<uint8_t, 2000> target_{};
    Bytes state_;
};

TEST_F(LzoArguments, DecodersRefuseNullPointersWhateverTheLengths) {
    for (const auto decoder : {ozrsDecodeLZOSafe_8u, ozrsDecodeLZO_8u}) {
        for (const uint32_t size : {0U, 1U, 1000U, kMax}) {
            uint32_t written = size;
            EXPECT_EQ(decoder(nullptr, size, target_.data(), &written), StatusNullPointer);
            EXPECT_EQ(decoder(source_.data(), size, nullptr, &written), StatusNullPointer);
            EXPECT_EQ(decoder(source_.data(), size, target_.data(), nullptr), StatusNullPointer);
            EXPECT_EQ(written, size);
        }
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(LzoArguments, DecodersTakeAnEmptySource) {
    for (const auto decoder : {ozrsDecodeLZOSafe_8u, ozrsDecodeLZO_8u}) {
        for (const uint32_t capacity : {0U, 1U, 2000U}) {
            uint32_t written = capacity;
            EXPECT_EQ(decoder(source_.data(), 0, target_.data(), &written), StatusOk);
            EXPECT_EQ(written, 0U);
        }
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(LzoArguments, SizeOfTheStateIsKnownForMethodsBelowThree) {
    for (const uint32_t reserved : {0U, 1U, kMax}) {
        EXPECT_EQ(ozrsEncodeLZOGetSize(0, reserved, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeLZOGetSize(3, reserved, nullptr), StatusNullPointer);
        for (const uint32_t method : {0U, 1U, 2U}) {
            uint32_t size = kCount;
            EXPECT_EQ(ozrsEncodeLZOGetSize(method, reserved, &size), StatusOk);
            EXPECT_EQ(size, 131104U);
        }
        for (const uint32_t method : {3U, 4U, kMax}) {
            uint32_t size = kCount;
            EXPECT_EQ(ozrsEncodeLZOGetSize(method, reserved, &size), StatusBadArgument);
            EXPECT_EQ(size, 0U);
        }
    }
}

TEST_F(LzoArguments, InitSetsTheModeAndNothingElse) {
    constexpr std::array<uint32_t, 3> modes{0, 0, 2};
    for (const uint32_t reserved : {0U, 1U, kMax}) {
        EXPECT_EQ(ozrsEncodeLZOInit_8u(0, reserved, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeLZOInit_8u(3, reserved, nullptr), StatusNullPointer);
        for (uint32_t method = 0; method < 3; ++method) {
            std::fill(state_.begin(), state_.end(), kUntouched);
            EXPECT_EQ(ozrsEncodeLZOInit_8u(method, reserved, state()), StatusOk);
            uint32_t mode = kMax;
            std::memcpy(&mode, state_.data(), sizeof mode);
            EXPECT_EQ(mode, modes[method]);
            EXPECT_TRUE(isUntouched(std::span(state_).subspan(4)));
        }
        for (const uint32_t method : {3U, 4U, kMax}) {
            std::fill(state_.begin(), state_.end(), kUntouched);
            EXPECT_EQ(ozrsEncodeLZOInit_8u(method, reserved, state()), StatusBadArgument);
            EXPECT_TRUE(isUntouched(state_));
        }
    }
}

TEST_F(LzoArguments, EncoderRefusesNullPointersBeforeAllElse) {
    for (const uint32_t mode : {0U, 1U, 2U, 3U}) {
        prepareState(state_, mode, 1);
        for (const uint32_t size : {0U, 1U, 1000U}) {
            uint32_t written = kCount;
            EXPECT_EQ(ozrsEncodeLZO_8u(nullptr, size, target_.data(), &written, state()), StatusNullPointer);
            EXPECT_EQ(ozrsEncodeLZO_8u(source_.data(), size, nullptr, &written, state()), StatusNullPointer);
            EXPECT_EQ(ozrsEncodeLZO_8u(source_.data(), size, target_.data(), nullptr, state()), StatusNullPointer);
            EXPECT_EQ(ozrsEncodeLZO_8u(source_.data(), size, target_.data(), &written, nullptr), StatusNullPointer);
            EXPECT_EQ(written, kCount);
        }
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(LzoArguments, EncoderTakesAnEmptySourceInAnyMode) {
    for (const uint32_t mode : {0U, 1U, 2U, 3U, kMax}) {
        prepareState(state_, mode, 0);
        for (const uint32_t capacity : {0U, 3U, 2000U}) {
            uint32_t written = capacity;
            EXPECT_EQ(ozrsEncodeLZO_8u(source_.data(), 0, target_.data(), &written, state()), StatusOk);
            EXPECT_EQ(written, 0U);
        }
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(LzoArguments, EncoderRefusesUnknownModes) {
    for (const uint32_t mode : {3U, 4U, 256U, kMax}) {
        prepareState(state_, mode, 1);
        const Bytes before = state_;
        for (const uint32_t size : {1U, 1000U}) {
            uint32_t written = kCount;
            EXPECT_EQ(ozrsEncodeLZO_8u(source_.data(), size, target_.data(), &written, state()), StatusBadArgument);
            EXPECT_EQ(written, kCount);
        }
        EXPECT_EQ(state_, before);
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(LzoArguments, ContainerWriterRefusesNumbersOfPartsOutOfRange) {
    for (const uint32_t parts : {0U, 33U, 256U, 257U, kMax}) {
        prepareState(state_, kContainerMode, parts);
        uint32_t written = kCount;
        EXPECT_EQ(ozrsEncodeLZO_8u(source_.data(), 1000, target_.data(), &written, state()), StatusBadArgument);
        EXPECT_EQ(written, kCount);
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(LzoArguments, OnlyTheFirstFieldsOfTheStateMatter) {
    const Bytes source(source_.begin(), source_.end());
    for (const uint32_t mode : {kStandardMode, kFastMode}) {
        const Bytes expected = encode(mode, source);
        for (const uint8_t fill : Bytes{0, 1, 255}) {
            std::fill(state_.begin(), state_.end(), fill);
            ASSERT_EQ(ozrsEncodeLZOInit_8u(mode, 0, state()), StatusOk);
            auto written = static_cast<uint32_t>(target_.size());
            ASSERT_EQ(ozrsEncodeLZO_8u(source.data(), 1000, target_.data(), &written, state()), StatusOk);
            EXPECT_EQ(Bytes(target_.begin(), target_.begin() + written), expected);
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::lzo
