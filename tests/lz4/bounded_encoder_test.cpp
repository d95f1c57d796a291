// The encoder that minds its room: what it does at every capacity.
#include <gtest/gtest.h>

#include <algorithm>

#include "lz4/checked_calls.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lz4 {
namespace {

// Whatever was cut away, the block decodes to exactly the bytes that were consumed.
::testing::AssertionResult decodesToThePrefix(const Bytes& block, ByteView source, int64_t consumed) {
    if (consumed == 0) {
        // A single token: nothing to decode.
        if (block != Bytes{0})
            return ::testing::AssertionFailure() << "nothing consumed, but more than a token written";
        return ::testing::AssertionSuccess();
    }
    Bytes output(static_cast<std::size_t>(consumed));
    auto written = static_cast<int32_t>(consumed);
    auto used = static_cast<int32_t>(block.size());
    const Status status = ozrsDecodeLZ4Dict_8u(block.data(), &used, output.data(), 0, &written, nullptr, 0);
    if (status != StatusOk || written != consumed || used != std::ssize(block)) {
        return ::testing::AssertionFailure() << "decoding gives status " << status << ", " << written << " bytes of "
                                             << consumed << " from " << used << " of " << block.size();
    }
    if (!std::equal(output.begin(), output.end(), source.begin())) {
        return ::testing::AssertionFailure() << "decodes to other bytes";
    }
    return ::testing::AssertionSuccess();
}

::testing::AssertionResult agreesAndDecodes(EncoderCheck& encoder, ByteView source, int64_t capacity) {
    if (::testing::AssertionResult result = encoder.boundedAgrees(source, capacity); !result) return result;
    return decodesToThePrefix(encoder.block(), source, encodeBounded(source, capacity).consumed);
}

TEST(Lz4BoundedEncoder, WritesThePredictedBlockAtEveryCapacity) {
    EncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(900, 1);
        for (const std::size_t size : {1U, 2U, 15U, 29U, 30U, 100U, 300U, 900U}) {
            const ByteView source = ByteView(sample).first(size);
            for (int64_t capacity = 1; capacity <= worstCase(std::ssize(source)) + 2; ++capacity) {
                ASSERT_TRUE(agreesAndDecodes(encoder, source, capacity)) << "length " << size;
            }
        }
    }
}

TEST(Lz4BoundedEncoder, WritesThePredictedBlockOfLongSourcesAtManyCapacities) {
    EncoderCheck encoder;
    Random random(201);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {20000U, 70000U}) {
            const Bytes source = kind.make(size, 2);
            const auto whole = std::ssize(encodePlain(source));
            for (int64_t capacity = std::max<int64_t>(1, whole - 20); capacity <= whole + 20; capacity += 2) {
                ASSERT_TRUE(agreesAndDecodes(encoder, source, capacity)) << "length " << size;
            }
            for (int round = 0; round < 20; ++round) {
                ASSERT_TRUE(agreesAndDecodes(encoder, source, random.between(1, whole))) << "length " << size;
            }
        }
    }
}

TEST(Lz4BoundedEncoder, ShortensALongMatchToFit) {
    EncoderCheck encoder;
    const Bytes source(100000, 'x');
    const auto whole = std::ssize(encodePlain(source));
    for (int64_t capacity = 1; capacity <= whole + 10; ++capacity) {
        ASSERT_TRUE(agreesAndDecodes(encoder, source, capacity));
    }
    // A literal and the offset end at 4, the limit is 92: the match is cut to 255 * 88 + 528 bytes, the next ones do
    // not fit, and the last run takes the room that is left.
    const BoundedBlock cut = encodeBounded(source, 100);
    EXPECT_EQ(cut.status, StatusDestinationFull);
    EXPECT_GE(cut.consumed, 1 + 255 * 88 + 528);
    EXPECT_LT(cut.consumed, 1 + 255 * 88 + 528 + 8);
}

TEST(Lz4BoundedEncoder, WritesThePredictedBlockOfRandomSourcesAndCapacities) {
    EncoderCheck encoder;
    Random random(202);
    for (int round = 0; round < 30000; ++round) {
        const SampleKind& kind = sampleKinds()[random.below(sampleKinds().size())];
        const Bytes source = kind.make(1 + random.below(1500), random.below(50));
        const int64_t capacity = random.between(1, random.oneIn(2) ? worstCase(std::ssize(source)) : 80);
        ASSERT_TRUE(agreesAndDecodes(encoder, source, capacity)) << kind.name << ", length " << source.size();
    }
}

TEST(Lz4BoundedEncoder, CapacityOfOneGivesASingleToken) {
    const Bytes source(100, 'x');
    Bytes table(kHashTableSize);
    uint8_t token = 0xEE;
    int32_t consumed = 100;
    int32_t written = 1;
    EXPECT_EQ(ozrsEncodeLZ4Safe_8u(source.data(), &consumed, &token, &written, table.data()), StatusDestinationFull);
    EXPECT_EQ(consumed, 0);
    EXPECT_EQ(written, 1);
    EXPECT_EQ(token, 0);
}

TEST(Lz4BoundedEncoder, WithRoomEnoughIsThePlainEncoder) {
    EncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        for (const std::size_t size : {1U, 100U, 65535U, 65536U, 150000U}) {
            const Bytes source = kind.make(size, 3);
            ASSERT_TRUE(encoder.boundedAgrees(source, worstCase(std::ssize(source)))) << kind.name << " " << size;
            EXPECT_EQ(encoder.block(), encodePlain(source)) << kind.name << " " << size;
        }
    }
}

// The last run is lowered one byte at a time, not by all its extension bytes at once: 15 literals need 17 bytes, so
// that a room of 16 holds 14 in 15, and one of 17 holds 15.
TEST(Lz4BoundedEncoder, LastRunTakesAllTheRoomThatItsExtensionLeaves) {
    const Bytes source = sampleKind("random").make(2000, 4);
    EncoderCheck encoder;
    const auto sizes = [&](int64_t capacity) {
        EXPECT_TRUE(encoder.boundedAgrees(source, capacity));
        return std::pair(encodeBounded(source, capacity).consumed, std::ssize(encoder.block()));
    };
    EXPECT_EQ(sizes(15), std::pair(int64_t{14}, std::ptrdiff_t{15}));
    EXPECT_EQ(sizes(16), std::pair(int64_t{14}, std::ptrdiff_t{15}));
    EXPECT_EQ(sizes(17), std::pair(int64_t{15}, std::ptrdiff_t{17}));
    EXPECT_EQ(sizes(271), std::pair(int64_t{269}, std::ptrdiff_t{271}));
    EXPECT_EQ(sizes(272), std::pair(int64_t{269}, std::ptrdiff_t{271}));
    EXPECT_EQ(sizes(273), std::pair(int64_t{270}, std::ptrdiff_t{273}));
}

}  // namespace
}  // namespace ozrdc::test::lz4
