// Destinations that are too small, or just large enough.
#include <gtest/gtest.h>

#include <algorithm>

#include "lzo/checked_calls.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzo {
namespace {

// 19 literals and a match of 4 bytes from more than 2048 bytes back, again and again: 24 bytes out of 23, more than any
// formula of a 128th allows.
Bytes worstCase(std::size_t units) {
    constexpr std::size_t kUnit = 23;
    constexpr std::size_t kUnitsBack = 100;
    Random random(601);
    Bytes source(kUnitsBack * kUnit);
    random.fill(source);
    for (std::size_t i = 0; i < units; ++i) {
        for (int n = 0; n < 19; ++n) source.push_back(random.byte());
        const std::size_t from = i * kUnit + 5;
        for (std::size_t n = 0; n < 4; ++n) source.push_back(source[from + n]);
    }
    return source;
}

class LzoFullDestination : public ::testing::Test {
  protected:
    // The encoder does what the reference predicts, and what it wrote decodes to the beginning of the source.
    void check(uint32_t mode, ByteView source, uint64_t capacity) {
        ASSERT_TRUE(encoder_.agrees(mode, source, capacity));
        const auto decoded = decodeStreams(encoder_.stream(), source.size());
        ASSERT_TRUE(decoded.has_value());
        ASSERT_TRUE(std::equal(decoded->begin(), decoded->end(), source.begin()));
    }

    EncoderCheck encoder_;
};

TEST_F(LzoFullDestination, EveryCapacityOfShortSources) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {1U, 3U, 4U, 13U, 14U, 18U, 20U, 60U, 239U, 400U}) {
            const Bytes source = kind.make(size, 91);
            for (const uint32_t mode : {kStandardMode, kFastMode}) {
                for (uint64_t capacity = 0; capacity <= roomFor(size); ++capacity) {
                    ASSERT_NO_FATAL_FAILURE(check(mode, source, capacity));
                }
            }
        }
    }
}

TEST_F(LzoFullDestination, ExactlyTheRoomOfTheStreamIsEnoughForTheStandardCompressor) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {100U, 5000U, 60000U}) {
            const Bytes source = kind.make(size, 92);
            const Bytes stream = encode(kStandardMode, source);
            ASSERT_NO_FATAL_FAILURE(check(kStandardMode, source, stream.size()));
            EXPECT_EQ(encoder_.stream(), stream);
            for (const std::size_t missing : {1U, 2U, 3U, 4U, 50U}) {
                if (missing <= stream.size()) {
                    ASSERT_NO_FATAL_FAILURE(check(kStandardMode, source, stream.size() - missing));
                }
            }
        }
    }
}

// The capacity that compressors of this format are often given, and one byte less.
TEST_F(LzoFullDestination, CommonRuleOfThumb) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {14U, 127U, 128U, 1000U, 70000U}) {
            const Bytes source = kind.make(size, 93);
            for (const uint64_t spare : {15U, 16U, 19U}) {
                ASSERT_NO_FATAL_FAILURE(check(kStandardMode, source, size + size / 128 + spare));
                ASSERT_NO_FATAL_FAILURE(check(kFastMode, source, size + size / 128 + spare));
            }
        }
    }
}

TEST_F(LzoFullDestination, WorstCasePassesTheRuleOfThumbAndStaysInside) {
    for (const std::size_t units : {1U, 10U, 500U, 700U}) {
        const Bytes source = worstCase(units);
        const std::size_t n = source.size();
        for (const uint32_t mode : {kStandardMode, kFastMode}) {
            const Bytes stream = encode(mode, source);
            ASSERT_NO_FATAL_FAILURE(check(mode, source, n + n / 128 + 16));
            ASSERT_NO_FATAL_FAILURE(check(mode, source, n + n / 128 + 15));
            ASSERT_NO_FATAL_FAILURE(check(mode, source, stream.size()));
            ASSERT_NO_FATAL_FAILURE(check(mode, source, stream.size() - 1));
            for (std::size_t missing = 1; missing < 40; ++missing) {
                ASSERT_NO_FATAL_FAILURE(check(mode, source, stream.size() - missing));
            }
            // What a destination of the rule of thumb cannot hold is told.
            if (units < 500) continue;
            EXPECT_GT(stream.size(), n + n / 128 + 19);
            ASSERT_TRUE(encoder_.agrees(mode, source, n + n / 128 + 19));
            EXPECT_LT(encoder_.stream().size(), stream.size());
        }
    }
}

TEST_F(LzoFullDestination, LiteralsAreCutToTheRoomBehindTheirHeader) {
    Random random(602);
    Bytes source(1000);
    random.fill(source);
    for (uint64_t capacity = 0; capacity <= 1010; ++capacity) {
        ASSERT_NO_FATAL_FAILURE(check(kStandardMode, source, capacity));
    }
    // Up to 238 literals, n + 1 bytes hold all of them; only the end marker is missing.
    for (const std::size_t n : {1U, 17U, 68U, 238U}) {
        ASSERT_TRUE(encoder_.agrees(kStandardMode, ByteView(source).first(n), n + 1));
        ASSERT_EQ(encoder_.stream().size(), n + 1);
        ASSERT_EQ(decodeStreams(encoder_.stream(), n)->size(), n);
    }
}

TEST_F(LzoFullDestination, FastCompressorAsksForRoomBeforeEachChunk) {
    const Bytes zeros(49152 + 10000, 0);
    const auto status = [&](uint64_t capacity) {
        EXPECT_TRUE(encoder_.agrees(kFastMode, zeros, capacity));
        return encodeFast(zeros, capacity).status;
    };
    EXPECT_EQ(status(49152 + 384 + 4), StatusOk);
    EXPECT_EQ(status(49152 + 384 + 3), StatusDestinationFull);
    EXPECT_TRUE(encoder_.stream().empty());
}

TEST_F(LzoFullDestination, LongSourcesAtManyCapacities) {
    Random random(603);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes source = kind.make(120000, 94);
        const std::size_t whole = encode(kStandardMode, source).size();
        for (int round = 0; round < 12; ++round) {
            const uint64_t capacity = random.below(whole + 20);
            ASSERT_NO_FATAL_FAILURE(check(kStandardMode, source, capacity));
            ASSERT_NO_FATAL_FAILURE(check(kFastMode, source, random.below(roomFor(source.size()))));
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::lzo
