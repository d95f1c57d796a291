// The encoders write, bit for bit, the blocks that the reference predicts.
#include <gtest/gtest.h>

#include <algorithm>

#include "lz4/checked_calls.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lz4 {
namespace {

TEST(Lz4Encoder, WritesThePredictedBlockAtEveryShortLength) {
    EncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(620, 1);
        for (std::size_t size = 1; size <= sample.size(); ++size) {
            ASSERT_TRUE(encoder.allAgree(ByteView(sample).first(size))) << "length " << size;
        }
    }
}

TEST(Lz4Encoder, WritesThePredictedBlockAroundTheChangeOfTableWidth) {
    EncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(65600, 2);
        for (const std::size_t size : {65500U, 65534U, 65535U, 65536U, 65537U, 65600U}) {
            ASSERT_TRUE(encoder.allAgree(ByteView(sample).first(size))) << "length " << size;
        }
    }
}

TEST(Lz4Encoder, WritesThePredictedBlockOfLongSources) {
    EncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        ASSERT_TRUE(encoder.allAgree(kind.make(300000, 3)));
    }
}

TEST(Lz4Encoder, WritesThePredictedBlockOfRealFiles) {
    const std::vector<CorpusFile> files = corpusFiles(200000);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    EncoderCheck encoder;
    for (const CorpusFile& file : files) {
        SCOPED_TRACE(file.name);
        ASSERT_TRUE(encoder.allAgree(file.bytes));
        ASSERT_TRUE(encoder.allAgree(ByteView(file.bytes).first(std::min<std::size_t>(file.bytes.size(), 50000))));
    }
}

// Small alphabets and copies of earlier stretches: matches of every length at every distance from the end.
TEST(Lz4Encoder, WritesThePredictedBlockOfRandomSources) {
    EncoderCheck encoder;
    Random random(101);
    for (int round = 0; round < 6000; ++round) {
        const uint64_t alphabet = uint64_t{1} << (1 + random.below(8));
        const std::size_t size = 1 + random.below(random.oneIn(4) ? 3000 : 300);
        Bytes source;
        while (source.size() < size) {
            if (source.size() > 8 && random.oneIn(12)) {
                const std::size_t from = random.below(source.size());
                for (uint64_t n = 1 + random.below(80); n > 0; --n) source.push_back(source[source.size() - from - 1]);
            } else {
                source.push_back(static_cast<uint8_t>(random.below(alphabet)));
            }
        }
        source.resize(size);
        ASSERT_TRUE(encoder.allAgree(source)) << "round " << round;
    }
}

TEST(Lz4Encoder, MatchReachesBackAtMost65535Bytes) {
    EncoderCheck encoder;
    const auto blockSize = [&](std::size_t period) {
        const Bytes source = periodicSample(200000, period, 6);
        EXPECT_TRUE(encoder.allAgree(source));
        return encodePlain(source).size();
    };
    EXPECT_LT(blockSize(65534), 70000U);
    EXPECT_LT(blockSize(65535), 70000U);
    EXPECT_GT(blockSize(65536), 200000U);
    EXPECT_GT(blockSize(65537), 200000U);
}

TEST(Lz4Encoder, SourceOf29BytesBecomesOneLiteralRun) {
    const Bytes source(29, 'x');
    Bytes expected(31, 'x');
    expected[0] = 0xF0;
    expected[1] = 14;
    EXPECT_EQ(encodePlain(source), expected);
    EXPECT_EQ(encodeFast(source, 5), expected);
}

TEST(Lz4Encoder, SourceOf30BytesIsSearched) {
    // One literal, then a match at distance 1 that ends five bytes before the end: length 24, coded 20 = 15 + 5.
    const Bytes source(30, 'x');
    const Bytes expected{0x1F, 'x', 1, 0, 5, 0x50, 'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(encodePlain(source), expected);
    EXPECT_EQ(encodeFast(source, 5), expected);
}

// How the last match of a block ends: the length of the literal run behind it.
int64_t lastRun(const Bytes& block) {
    const Decoded whole = decode(block, 1 << 20);
    EXPECT_EQ(whole.status, StatusOk);
    // The last token stands right in front of the last run, for runs below 15.
    for (int64_t run = 0; run < 15; ++run) {
        const auto at = static_cast<std::size_t>(std::ssize(block) - run - 1);
        if (block[at] == run * 16) return run;
    }
    return -1;
}

TEST(Lz4Encoder, FirstMatchMayReachSourceEndMinusFiveAndLaterOnesMinusTwelve) {
    const Bytes oneMatch(1000, 'x');
    EXPECT_EQ(lastRun(encodePlain(oneMatch)), 5);
    EXPECT_EQ(lastRun(encodeFast(oneMatch, 2)), 5);

    Bytes twoMatches = sampleKind("one byte").make(1000, 1);
    twoMatches.resize(2000, static_cast<uint8_t>(twoMatches[0] + 1));
    EXPECT_EQ(lastRun(encodePlain(twoMatches)), 12);

    Bytes longSource(100000, 'x');
    longSource.resize(200000, 'y');
    EXPECT_EQ(lastRun(encodePlain(longSource)), 12);
    EXPECT_EQ(lastRun(encodeFast(longSource, 2)), 12);
}

TEST(Lz4AcceleratedEncoder, EveryMatchOfAShortSourceMayReachSourceEndMinusFive) {
    Bytes source(1000, 'x');
    source.resize(2000, 'y');
    EXPECT_EQ(lastRun(encodeFast(source, 2)), 5);
}

TEST(Lz4AcceleratedEncoder, AccelerationOneIsThePlainEncoder) {
    Bytes table(kHashTableSize);
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes source = kind.make(70000, 4);
        Bytes block(static_cast<std::size_t>(worstCase(std::ssize(source))));
        int32_t written = 0;
        ASSERT_EQ(ozrsEncodeLZ4_8u(source.data(), 70000, block.data(), &written, table.data()), StatusOk);
        block.resize(static_cast<std::size_t>(written));
        EXPECT_EQ(encodeFast(source, 1), block) << kind.name;
    }
}

TEST(Lz4AcceleratedEncoder, WritesThePredictedBlockAtEveryAcceleration) {
    EncoderCheck encoder;
    const Bytes sample = sampleKind("mixed").make(90000, 7);
    for (int32_t acceleration = 2; acceleration <= 130; ++acceleration) {
        ASSERT_TRUE(encoder.acceleratedAgrees(ByteView(sample).first(4000), acceleration));
        ASSERT_TRUE(encoder.acceleratedAgrees(sample, acceleration));
    }
    // Steps that overflow 32 bits when the counter is computed carelessly.
    for (const int32_t acceleration : {1 << 24, 1 << 25, (1 << 25) + 1, 1 << 26, 1 << 30, 2147483647}) {
        ASSERT_TRUE(encoder.acceleratedAgrees(sample, acceleration));
    }
}

}  // namespace
}  // namespace ozrdc::test::lz4
