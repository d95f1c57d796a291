// Argument checks of the single-pass family: which come first, and that a call that fails one leaves everything
// untouched.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "ozrdc.h"
#include "support/take_away.h"

namespace ozrdc::test::deflate {
namespace {

constexpr uint8_t kUntouched = 0xB7;
constexpr int32_t kEntry = 0x1B7B7B7;
constexpr int32_t kWrongWindows[] = {255, 32769, 0, -1, INT32_MIN, INT32_MAX};
constexpr int32_t kWrongHashes[] = {255, 65537, 0, -1, INT32_MIN, INT32_MAX};

// Everything that a call is given, all of it good: the start of a stream with a prepared code.
struct Call {
    std::array<uint8_t, 600> sourceBytes = withoutMatches();
    std::vector<int32_t> headEntries = std::vector<int32_t>(70000, kEntry);
    std::vector<uint8_t> targetBytes = std::vector<uint8_t>(1000, kUntouched);
    std::vector<uint32_t> literalCounts = std::vector<uint32_t>(286, 5);
    std::vector<uint32_t> distanceCounts = std::vector<uint32_t>(30, 5);
    std::vector<DeflateHuffCode> literalCodes = std::vector<DeflateHuffCode>(286, {0, 9});
    std::vector<DeflateHuffCode> distanceCodes = std::vector<DeflateHuffCode>(30, {0, 5});
    std::array<uint8_t, 100> headerBytes{};

    const uint8_t* source = sourceBytes.data();
    int32_t sourceSize = 600;
    int32_t index = 0;
    uint16_t bits = 5;
    int32_t bitCount = 3;
    int32_t written = 7;

    const uint8_t** ppSrc = &source;
    int32_t* pSrcLen = &sourceSize;
    int32_t* pSrcIdx = &index;
    const uint8_t* window = sourceBytes.data();
    int32_t windowSize = 512;
    int32_t* head = headEntries.data();
    int32_t hashSize = 1024;
    uint16_t* pCode = &bits;
    int32_t* pCodeLenBits = &bitCount;
    uint8_t* target = targetBytes.data();
    int32_t targetSize = 1000;
    int32_t* pDstIdx = &written;
    const DeflateHuffCode* literals = literalCodes.data();
    const DeflateHuffCode* distances = distanceCodes.data();
    const uint8_t* header = headerBytes.data();
    int32_t headerBits = 700;

    Call() = default;
    Call(const Call&) = delete;  // its pointers are to itself
    Call& operator=(const Call&) = delete;

    static std::array<uint8_t, 600> withoutMatches() {
        std::array<uint8_t, 600> bytes;
        for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * i / 7);
        return bytes;
    }

    Status encode() {
        return ozrsDeflateLZ77FastestPrecompHeader_8u(ppSrc, pSrcLen, pSrcIdx, window, windowSize, head, hashSize,
                                                      pCode, pCodeLenBits, target, targetSize, pDstIdx, literals,
                                                      distances, header, headerBits, 2);
    }
    Status encodeFixed() {
        return ozrsDeflateLZ77Fastest_8u(ppSrc, pSrcLen, pSrcIdx, window, windowSize, head, hashSize, pCode,
                                         pCodeLenBits, target, targetSize, pDstIdx, 2);
    }
    Status count() {
        return ozrsDeflateLZ77FastestGetStat_8u(ppSrc, pSrcLen, pSrcIdx, window, windowSize, head, hashSize,
                                                literalCounts.data(), distanceCounts.data(), 2);
    }

    // Takes one of the required pointers away; the first six are those of the statistics too.
    static constexpr int kPointers = 10;
    static constexpr int kPointersOfStatistics = 6;
    void forget(int pointer) {
        takeAway(pointer, ppSrc, pSrcLen, pSrcIdx, window, head, source, pCode, pCodeLenBits, target, pDstIdx);
    }

    bool isUntouched() const {
        const auto allAre = [](const auto& values, auto value) {
            return std::all_of(values.begin(), values.end(), [=](auto v) { return v == value; });
        };
        return (source == sourceBytes.data() || source == nullptr) && sourceSize == 600 && bits == 5 && bitCount == 3 &&
               allAre(headEntries, kEntry) && allAre(targetBytes, kUntouched) && allAre(literalCounts, 5U) &&
               allAre(distanceCounts, 5U);
    }
};

TEST(DeflateSinglePassArguments, NullPointersAreRefusedBeforeSizes) {
    for (int pointer = 0; pointer < Call::kPointers; ++pointer) {
        for (const int32_t size : {512, 0}) {
            Call call;
            call.windowSize = call.hashSize = size;
            if (size == 0) call.targetSize = 0;
            call.forget(pointer);
            EXPECT_EQ(call.encode(), StatusNullPointer) << "pointer " << pointer;
            EXPECT_EQ(call.encodeFixed(), StatusNullPointer) << "pointer " << pointer;
            if (pointer < Call::kPointersOfStatistics) {
                EXPECT_EQ(call.count(), StatusNullPointer) << "pointer " << pointer;
            }
            EXPECT_TRUE(call.isUntouched());
        }
    }
}

TEST(DeflateSinglePassArguments, StatisticsNeedBothTables) {
    for (const int32_t size : {512, 0}) {
        Call c;
        EXPECT_EQ(ozrsDeflateLZ77FastestGetStat_8u(c.ppSrc, c.pSrcLen, c.pSrcIdx, c.window, size, c.head, size, nullptr,
                                                   c.distanceCounts.data(), 2),
                  StatusNullPointer);
        EXPECT_EQ(ozrsDeflateLZ77FastestGetStat_8u(c.ppSrc, c.pSrcLen, c.pSrcIdx, c.window, size, c.head, size,
                                                   c.literalCounts.data(), nullptr, 2),
                  StatusNullPointer);
        EXPECT_TRUE(c.isUntouched());
    }
}

TEST(DeflateSinglePassArguments, SizesAreRefusedBeforeTheCodesAreLookedAt) {
    const auto refuses = [](auto spoil) {
        for (const bool codes : {true, false}) {
            Call call;
            spoil(call);
            if (!codes) call.distances = nullptr;
            EXPECT_EQ(call.encode(), StatusSizeError);
            EXPECT_EQ(call.encodeFixed(), StatusSizeError);
            EXPECT_TRUE(call.isUntouched());
        }
    };
    for (const int32_t wrong : kWrongWindows) {
        refuses([=](Call& call) { call.windowSize = wrong; });
        Call call;
        call.windowSize = wrong;
        EXPECT_EQ(call.count(), StatusSizeError);
        EXPECT_TRUE(call.isUntouched());
    }
    for (const int32_t wrong : kWrongHashes) {
        refuses([=](Call& call) { call.hashSize = wrong; });
        Call call;
        call.hashSize = wrong;
        EXPECT_EQ(call.count(), StatusSizeError);
        EXPECT_TRUE(call.isUntouched());
    }
    for (const int32_t wrong : {1000, 1001, INT32_MAX, -1, INT32_MIN}) {
        refuses([=](Call& call) { call.written = wrong; });
    }
    for (const int32_t wrong : {7, 0, -1, INT32_MIN}) {
        refuses([=](Call& call) { call.targetSize = wrong; });
    }
}

TEST(DeflateSinglePassArguments, CodesComeTogether) {
    for (const int32_t index : {0, 100}) {
        Call call;
        call.index = index;
        call.distances = nullptr;
        EXPECT_EQ(call.encode(), StatusNullPointer);
        call.header = nullptr;
        EXPECT_EQ(call.encode(), StatusNullPointer);
        call.literals = nullptr;
        call.distances = call.distanceCodes.data();  // only distances
        EXPECT_EQ(call.encode(), StatusNullPointer);
        call.header = call.headerBytes.data();  // and a header
        EXPECT_EQ(call.encode(), StatusNullPointer);
        call.distances = nullptr;  // only the header
        EXPECT_EQ(call.encode(), StatusNullPointer);
        EXPECT_TRUE(call.isUntouched());
        call.header = nullptr;  // none: the fixed code
        EXPECT_EQ(call.encode(), StatusOk);
    }
}

TEST(DeflateSinglePassArguments, HeaderThatIsGivenHasBits) {
    for (const int32_t index : {0, 100}) {
        for (const int32_t headerBits : {0, -1, INT32_MIN}) {
            Call call;
            call.index = index;
            call.headerBits = headerBits;
            EXPECT_EQ(call.encode(), StatusSizeError) << headerBits;
            EXPECT_TRUE(call.isUntouched());
            // Codes are asked for first.
            call.distances = nullptr;
            EXPECT_EQ(call.encode(), StatusNullPointer) << headerBits;
        }
    }
    // Without a header its length does not matter, but only behind the start of the stream it may be missing.
    for (const int32_t headerBits : {0, -1, 700}) {
        Call call;
        call.header = nullptr;
        call.headerBits = headerBits;
        EXPECT_EQ(call.encode(), StatusNullPointer);
        EXPECT_TRUE(call.isUntouched());
        call.index = 100;
        EXPECT_EQ(call.encode(), StatusOk);
    }
}

TEST(DeflateSinglePassArguments, HeaderHasToFit) {
    // 3 pending bits and 697 of the header are 87 bytes and a half.
    for (const int32_t room : {1, 86}) {
        Call call;
        call.targetSize = call.written + room;
        EXPECT_EQ(call.encode(), StatusSizeError) << room;
        EXPECT_TRUE(call.isUntouched());
        EXPECT_EQ(call.written, 7);
        EXPECT_EQ(call.index, 0);
        // Elsewhere in the stream it is not written.
        call.index = 100;
        EXPECT_EQ(call.encode(), StatusDestinationFull);
        EXPECT_LE(call.written, 7 + room);
    }
    Call call;
    call.targetSize = call.written + 88;
    EXPECT_EQ(call.encode(), StatusDestinationFull);
    for (const int32_t headerBits : {100000, INT32_MAX}) {
        Call large;
        large.headerBits = headerBits;
        EXPECT_EQ(large.encode(), StatusSizeError);
        EXPECT_TRUE(large.isUntouched());
    }
    // A header of nothing but the three bits that are left out.
    for (const int32_t headerBits : {1, 2, 3}) {
        Call none;
        none.headerBits = headerBits;
        EXPECT_EQ(none.encode(), StatusOk) << headerBits;
    }
}

}  // namespace
}  // namespace ozrdc::test::deflate
