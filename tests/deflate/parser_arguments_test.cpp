// Argument checks of the match search: which come first, and that a call that fails one leaves everything untouched.
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

// Everything that a call is given, all of it good.
struct Call {
    std::array<uint8_t, 600> sourceBytes{};
    std::array<uint8_t, 600> windowBytes{};
    std::vector<int32_t> headEntries = std::vector<int32_t>(70000, kEntry);
    std::vector<int32_t> prevEntries = std::vector<int32_t>(40000, kEntry);
    std::vector<uint32_t> literalCounts = std::vector<uint32_t>(286, 5);
    std::vector<uint32_t> distanceCounts = std::vector<uint32_t>(30, 5);
    std::vector<uint8_t> literalBytes = std::vector<uint8_t>(1000, kUntouched);
    std::vector<uint16_t> distanceValues = std::vector<uint16_t>(1000, kUntouched);

    const uint8_t* source = sourceBytes.data();
    int32_t sourceSize = 600;
    int32_t index = 0;
    int32_t room = 1000;

    const uint8_t** ppSrc = &source;
    int32_t* pSrcLen = &sourceSize;
    int32_t* pSrcIdx = &index;
    const uint8_t* window = windowBytes.data();
    int32_t windowSize = 512;
    int32_t* head = headEntries.data();
    int32_t* prev = prevEntries.data();
    int32_t hashSize = 1024;
    uint32_t* literalFrequencies = literalCounts.data();
    uint32_t* distanceFrequencies = distanceCounts.data();
    uint8_t* literals = literalBytes.data();
    uint16_t* distances = distanceValues.data();
    int32_t* pDstLen = &room;

    Call() = default;
    Call(const Call&) = delete;  // its pointers are to itself
    Call& operator=(const Call&) = delete;

    template <typename Function, typename Parameters>
    Status operator()(Function function, Parameters parameters) {
        return function(ppSrc, pSrcLen, pSrcIdx, window, windowSize, head, prev, hashSize, literalFrequencies,
                        distanceFrequencies, literals, distances, pDstLen, parameters, 2);
    }

    // Takes one of the required pointers away.
    static constexpr int kPointers = 12;
    void forget(int pointer) {
        takeAway(pointer, ppSrc, pSrcLen, pSrcIdx, window, head, prev, literalFrequencies, distanceFrequencies,
                 literals, distances, pDstLen, source);
    }

    bool isUntouched() const {
        const auto allAre = [](const auto& values, auto value) {
            return std::all_of(values.begin(), values.end(), [=](auto v) { return v == value; });
        };
        return (source == sourceBytes.data() || source == nullptr) && sourceSize == 600 && index == 0 && room == 1000 &&
               allAre(headEntries, kEntry) && allAre(prevEntries, kEntry) && allAre(literalCounts, 5U) &&
               allAre(distanceCounts, 5U) && allAre(literalBytes, kUntouched) && allAre(distanceValues, kUntouched);
    }
};

constexpr int32_t kGood[] = {4, 8, 8, 8};
constexpr int32_t kBad[] = {-1, 0, 0, 0};
constexpr int32_t kWrongWindows[] = {255, 32769, 0, -1, INT32_MIN, INT32_MAX};
constexpr int32_t kWrongHashes[] = {255, 65537, 0, -1, INT32_MIN, INT32_MAX};

TEST(DeflateParserArguments, LevelIsCheckedFirst) {
    for (const int32_t level : {30, 31, 1000, INT32_MAX, -1, -10, INT32_MIN}) {
        Call call;
        EXPECT_EQ(call(ozrsDeflateLZ77_8u, level), StatusSizeError) << level;
        call.forget(0);
        EXPECT_EQ(call(ozrsDeflateLZ77_8u, level), StatusSizeError) << level;
        EXPECT_TRUE(call.isUntouched());
    }
}

TEST(DeflateParserArguments, NullPointersAreRefusedBeforeSizes) {
    for (int pointer = 0; pointer < Call::kPointers; ++pointer) {
        for (const int32_t size : {512, 0}) {
            for (const int32_t level : {0, 1, 4, 5, 9, 10, 29}) {
                Call call;
                call.windowSize = call.hashSize = size;
                call.forget(pointer);
                EXPECT_EQ(call(ozrsDeflateLZ77_8u, level), StatusNullPointer) << "pointer " << pointer;
                EXPECT_TRUE(call.isUntouched());
            }
            for (const int32_t* const parameters : {kGood, kBad}) {
                Call call;
                call.windowSize = call.hashSize = size;
                call.forget(pointer);
                EXPECT_EQ(call(ozrsDeflateLZ77Fast_8u, parameters), StatusNullPointer) << "pointer " << pointer;
                EXPECT_EQ(call(ozrsDeflateLZ77Slow_8u, parameters), StatusNullPointer) << "pointer " << pointer;
                EXPECT_TRUE(call.isUntouched());
            }
        }
    }
    for (const int32_t size : {512, 0}) {
        Call call;
        call.windowSize = call.hashSize = size;
        const int32_t* const none = nullptr;
        EXPECT_EQ(call(ozrsDeflateLZ77Fast_8u, none), StatusNullPointer);
        EXPECT_EQ(call(ozrsDeflateLZ77Slow_8u, none), StatusNullPointer);
        EXPECT_TRUE(call.isUntouched());
    }
}

TEST(DeflateParserArguments, SizesAreRefusedBeforeParameters) {
    const auto refuses = [](int32_t windowSize, int32_t hashSize) {
        for (const int32_t* const parameters : {kGood, kBad}) {
            Call call;
            call.windowSize = windowSize;
            call.hashSize = hashSize;
            EXPECT_EQ(call(ozrsDeflateLZ77Fast_8u, parameters), StatusSizeError) << windowSize << ", " << hashSize;
            EXPECT_EQ(call(ozrsDeflateLZ77Slow_8u, parameters), StatusSizeError) << windowSize << ", " << hashSize;
            for (const int32_t level : {0, 1, 5}) {
                EXPECT_EQ(call(ozrsDeflateLZ77_8u, level), StatusSizeError) << windowSize << ", " << hashSize;
            }
            EXPECT_TRUE(call.isUntouched());
        }
    };
    for (const int32_t wrong : kWrongWindows) refuses(wrong, 1024);
    for (const int32_t wrong : kWrongHashes) refuses(512, wrong);
    for (const auto& [windowSize, hashSize] : {std::pair{256, 256}, {32768, 65536}, {257, 65535}}) {
        Call call;
        call.windowSize = windowSize;
        call.hashSize = hashSize;
        EXPECT_EQ(call(ozrsDeflateLZ77Fast_8u, kGood), StatusOk);
        Call again;
        again.windowSize = windowSize;
        again.hashSize = hashSize;
        EXPECT_EQ(again(ozrsDeflateLZ77Slow_8u, kGood), StatusOk);
    }
}

TEST(DeflateParserArguments, ParametersOutOfRangeAreRefused) {
    struct Case {
        std::array<int32_t, 4> parameters;
        Status fast, slow;
    };
    for (const Case& c : {Case{{1, 3, 4, 4}, StatusBadArgument, StatusBadArgument},
                          Case{{1, 4, 3, 4}, StatusBadArgument, StatusBadArgument},
                          Case{{1, 4, 4, 3}, StatusBadArgument, StatusBadArgument},
                          Case{{1, -1, 4, 4}, StatusBadArgument, StatusBadArgument},
                          Case{{1, 4, INT32_MIN, 4}, StatusBadArgument, StatusBadArgument},
                          Case{{-1, 4, 4, 4}, StatusBadArgument, StatusBadArgument},
                          Case{{INT32_MIN, 4, 4, 4}, StatusBadArgument, StatusBadArgument},
                          Case{{0, 4, 4, 4}, StatusOk, StatusBadArgument},
                          Case{{0, 3, 0, -7}, StatusOk, StatusBadArgument}, Case{{1, 4, 4, 4}, StatusOk, StatusOk},
                          Case{{INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}, StatusOk, StatusOk}}) {
        Call fast;
        EXPECT_EQ(fast(ozrsDeflateLZ77Fast_8u, c.parameters.data()), c.fast);
        EXPECT_EQ(fast.isUntouched(), c.fast != StatusOk);
        Call slow;
        EXPECT_EQ(slow(ozrsDeflateLZ77Slow_8u, c.parameters.data()), c.slow);
        EXPECT_EQ(slow.isUntouched(), c.slow != StatusOk);
        // Even where there is nothing to do.
        Call empty;
        empty.sourceSize = 0;
        EXPECT_EQ(empty(ozrsDeflateLZ77Fast_8u, c.parameters.data()), c.fast);
        EXPECT_EQ(empty(ozrsDeflateLZ77Slow_8u, c.parameters.data()), c.slow);
    }
}

TEST(DeflateParserArguments, SourceOfNegativeLengthIsNoError) {
    for (const int32_t size : {-1, INT32_MIN}) {
        for (const int32_t level : {0, 1, 5}) {
            Call call;
            call.sourceSize = size;
            EXPECT_EQ(call(ozrsDeflateLZ77_8u, level), StatusOk);
            EXPECT_EQ(call.sourceSize, size);
            call.sourceSize = 600;
            EXPECT_TRUE(call.isUntouched());
        }
    }
}

TEST(DeflateParserArguments, UpdateHashChecksPointersThenSizesThenTheLength) {
    Call c;
    for (const int32_t size : {600, 2, -1}) {
        for (const int32_t mode : {0, 1}) {
            for (const int32_t sizes : {512, 0}) {
                EXPECT_EQ(ozrsDeflateUpdateHash_8u(nullptr, 0, size, c.head, sizes, c.prev, sizes, mode),
                          StatusNullPointer);
                EXPECT_EQ(ozrsDeflateUpdateHash_8u(c.source, 0, size, nullptr, sizes, c.prev, sizes, mode),
                          StatusNullPointer);
                EXPECT_EQ(ozrsDeflateUpdateHash_8u(c.source, 0, size, c.head, sizes, nullptr, sizes, mode),
                          StatusNullPointer);
            }
            for (const int32_t wrong : kWrongWindows) {
                EXPECT_EQ(ozrsDeflateUpdateHash_8u(c.source, 0, size, c.head, 512, c.prev, wrong, mode),
                          StatusSizeError);
            }
            for (const int32_t wrong : kWrongHashes) {
                EXPECT_EQ(ozrsDeflateUpdateHash_8u(c.source, 0, size, c.head, wrong, c.prev, 512, mode),
                          StatusSizeError);
            }
        }
    }
    EXPECT_TRUE(c.isUntouched());
}

TEST(DeflateParserArguments, DictionarySetChecksPointersThenSizesThenTheLength) {
    Call c;
    std::vector<uint8_t> window(40000, kUntouched);
    for (const int32_t size : {600, 2, -1}) {
        for (const int32_t mode : {0, 1}) {
            const auto call = [&](const uint8_t* dictionary, int32_t* head, int32_t hashSize, int32_t* prev,
                                  uint8_t* target, int32_t windowSize) {
                return ozrsDeflateDictionarySet_8u(dictionary, size, head, hashSize, prev, target, windowSize, mode);
            };
            for (const int32_t sizes : {512, 0}) {
                EXPECT_EQ(call(nullptr, c.head, sizes, c.prev, window.data(), sizes), StatusNullPointer);
                EXPECT_EQ(call(c.source, nullptr, sizes, c.prev, window.data(), sizes), StatusNullPointer);
                EXPECT_EQ(call(c.source, c.head, sizes, nullptr, window.data(), sizes), StatusNullPointer);
                EXPECT_EQ(call(c.source, c.head, sizes, c.prev, nullptr, sizes), StatusNullPointer);
            }
            for (const int32_t wrong : kWrongWindows) {
                EXPECT_EQ(call(c.source, c.head, 512, c.prev, window.data(), wrong), StatusSizeError);
            }
            for (const int32_t wrong : kWrongHashes) {
                EXPECT_EQ(call(c.source, c.head, wrong, c.prev, window.data(), 512), StatusSizeError);
            }
        }
    }
    EXPECT_TRUE(c.isUntouched());
    EXPECT_EQ(window, std::vector<uint8_t>(40000, kUntouched));
}

}  // namespace
}  // namespace ozrdc::test::deflate
