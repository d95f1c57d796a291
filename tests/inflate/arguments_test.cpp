// Argument checks: which come first, and that a call that fails one leaves everything untouched.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "inflate/checked_decoder.h"

namespace ozrdc::test::inflate {
namespace {

constexpr uint32_t kMost = std::numeric_limits<uint32_t>::max();

class InflateArguments : public ::testing::Test {
  protected:
    InflateArguments() {
        std::memset(&state_, 0xB7, sizeof state_);
        state_.pWindow = window_.data();
        state_.winSize = 100;
        state_.tableKind = 0;
        remember();
    }

    void remember() { std::memcpy(before_.data(), &state_, sizeof state_); }
    bool stateIsUntouched() const { return std::memcmp(before_.data(), &state_, sizeof state_) == 0; }

    InflateState state_;
    std::array<uint8_t, 100> window_{};

  private:
    std::array<uint8_t, sizeof(InflateState)> before_;
};

TEST_F(InflateArguments, TableBuilderRefusesNullPointersBeforeCounts) {
    const std::array<uint16_t, 320> lengths{};
    for (const uint32_t count : {0U, 288U, 289U, kMost}) {
        EXPECT_EQ(ozrsInflateBuildHuffTable(nullptr, count, count, &state_), StatusNullPointer);
        EXPECT_EQ(ozrsInflateBuildHuffTable(lengths.data(), count, count, nullptr), StatusNullPointer);
    }
    EXPECT_TRUE(stateIsUntouched());
}

TEST_F(InflateArguments, TableBuilderRefusesTooManyLengthsBeforeItLooksAtThem) {
    const std::array<uint16_t, 320> lengths{};  // no code at all
    for (const uint32_t count : {289U, 1000U, 0x80000000U, kMost}) {
        EXPECT_EQ(ozrsInflateBuildHuffTable(lengths.data(), count, 30, &state_), StatusSizeError) << count;
        EXPECT_EQ(ozrsInflateBuildHuffTable(lengths.data(), 288, count, &state_), StatusSizeError) << count;
    }
    EXPECT_EQ(ozrsInflateBuildHuffTable(lengths.data(), 288, 31, &state_), StatusSizeError);
    EXPECT_EQ(ozrsInflateBuildHuffTable(lengths.data(), 288, 30, &state_), StatusBadCodeTable);
    EXPECT_EQ(ozrsInflateBuildHuffTable(lengths.data(), 0, 0, &state_), StatusBadCodeTable);
    EXPECT_TRUE(stateIsUntouched());
}

// One call's arguments, all of them good. The stream is a fixed block of one literal.
struct Call {
    std::array<uint8_t, 4> stream{};
    std::array<uint8_t, 50> target{};
    const uint8_t* source = stream.data();
    uint32_t sourceSize = 4;
    uint32_t code = 0x12345678;
    uint32_t codeLength = 5;
    uint32_t winIdx = 7;
    uint8_t* output = target.data();
    uint32_t room = 50;
    uint32_t mode = 1;

    bool operator==(const Call& other) const {
        return stream == other.stream && target == other.target && sourceSize == other.sourceSize &&
               code == other.code && codeLength == other.codeLength && room == other.room && mode == other.mode;
    }
};

TEST_F(InflateArguments, DecoderRefusesNullPointersBeforeEverythingElse) {
    for (const uint32_t tableKind : {0U, 9U}) {
        for (const uint32_t codeLength : {5U, 33U}) {
            for (const uint32_t winIdx : {0U, 101U}) {
                state_.tableKind = tableKind;
                remember();
                for (int missing = 0; missing < 10; ++missing) {
                    Call c;
                    c.codeLength = codeLength;
                    if (missing == 8) c.source = nullptr;
                    if (missing == 9) c.output = nullptr;
                    const Call before = c;
                    EXPECT_EQ(
                        ozrsInflate_8u(missing == 0 ? nullptr : &c.source, missing == 1 ? nullptr : &c.sourceSize,
                                       missing == 2 ? nullptr : &c.code, missing == 3 ? nullptr : &c.codeLength, winIdx,
                                       missing == 4 ? nullptr : &c.output, missing == 5 ? nullptr : &c.room, 0,
                                       missing == 6 ? nullptr : &c.mode, missing == 7 ? nullptr : &state_),
                        StatusNullPointer)
                        << "pointer " << missing;
                    EXPECT_EQ(c, before);
                    EXPECT_EQ(c.source, missing == 8 ? nullptr : c.stream.data());
                    EXPECT_EQ(c.output, missing == 9 ? nullptr : c.target.data());
                }
                EXPECT_TRUE(stateIsUntouched());
            }
        }
    }
}

TEST_F(InflateArguments, DecoderRefusesMoreThan32BitsAndAnIndexBehindTheWindow) {
    struct Case {
        uint32_t codeLength, winIdx, winSize;
    };
    for (const uint32_t tableKind : {0U, 9U}) {
        for (const Case& wrong : {Case{33, 0, 100}, Case{kMost, 0, 100}, Case{33, 101, 100}, Case{32, 101, 100},
                                  Case{0, kMost, 100}, Case{0, 1, 0}}) {
            for (const bool window : {true, false}) {
                state_.tableKind = tableKind;
                state_.winSize = wrong.winSize;
                state_.pWindow = window ? window_.data() : nullptr;
                remember();
                Call c;
                c.codeLength = wrong.codeLength;
                const Call before = c;
                EXPECT_EQ(ozrsInflate_8u(&c.source, &c.sourceSize, &c.code, &c.codeLength, wrong.winIdx, &c.output,
                                         &c.room, 0, &c.mode, &state_),
                          StatusSizeError)
                    << wrong.codeLength << " bits, index " << wrong.winIdx;
                EXPECT_EQ(c, before);
                EXPECT_EQ(c.source, c.stream.data());
                EXPECT_EQ(c.output, c.target.data());
                EXPECT_TRUE(stateIsUntouched());
            }
        }
    }
}

TEST_F(InflateArguments, DecoderRefusesTablesOfAnUnknownKind) {
    for (const uint32_t tableKind : {3U, 4U, 255U, 0x80000000U, kMost}) {
        for (const uint32_t mode : {0U, 1U, 2U, 3U}) {
            state_.tableKind = tableKind;
            remember();
            Call c;
            c.mode = mode;
            const Call before = c;
            EXPECT_EQ(ozrsInflate_8u(&c.source, &c.sourceSize, &c.code, &c.codeLength, 100, &c.output, &c.room, 0,
                                     &c.mode, &state_),
                      StatusBadCodeTable);
            EXPECT_EQ(c, before);
            EXPECT_EQ(c.source, c.stream.data());
            EXPECT_EQ(c.output, c.target.data());
            EXPECT_TRUE(stateIsUntouched());
        }
    }
}

TEST_F(InflateArguments, ThirtyTwoBitsAndAnIndexAtTheWindowsEndAreAccepted) {
    // The end of the block is seven zero bits; 25 ones are left in the bit buffer.
    Call c;
    c.code = 0xFFFFFF80;
    c.codeLength = 32;
    EXPECT_EQ(
        ozrsInflate_8u(&c.source, &c.sourceSize, &c.code, &c.codeLength, 100, &c.output, &c.room, 0, &c.mode, &state_),
        StatusOk);
    EXPECT_EQ(c.mode, 0U);
    EXPECT_EQ(c.codeLength, 25U);
    EXPECT_EQ(c.code, 0x1FFFFFFU);
    EXPECT_EQ(c.source, c.stream.data());
    EXPECT_EQ(c.sourceSize, 4U);
    EXPECT_EQ(c.room, 50U);
}

TEST_F(InflateArguments, SourcesAndDestinationsOfLengthZeroAreAccepted) {
    for (const uint32_t mode : {0U, 1U, 7U}) {
        Call c;
        c.sourceSize = 0;
        c.room = 0;
        c.codeLength = 0;
        c.mode = mode;
        EXPECT_EQ(ozrsInflate_8u(&c.source, &c.sourceSize, &c.code, &c.codeLength, 0, &c.output, &c.room, 0, &c.mode,
                                 &state_),
                  StatusOk);
        EXPECT_EQ(c.mode, 1U);
        EXPECT_EQ(c.codeLength, 0U);
        EXPECT_EQ(c.source, c.stream.data());
        EXPECT_EQ(c.output, c.target.data());
    }
}

}  // namespace
}  // namespace ozrdc::test::inflate
