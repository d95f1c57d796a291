// The guards must really guard, and random data must be repeatable: a test that rests on them could otherwise never
// fail.
#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "support/deflate_format.h"
#include "support/guarded_buffer.h"
#include "support/oracles.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

volatile uint8_t sink;

TEST(GuardedBufferDeathTest, AccessBehindAGuardedEndFaults) {
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const std::size_t size : {0U, 1U, 17U, 4095U, 4096U, 4097U}) {
        GuardedBuffer buffer(size, Guard::After);
        volatile uint8_t* const end = buffer.data() + size;
        EXPECT_DEATH(*end = 1, "");
        EXPECT_DEATH(sink = *end, "");
    }
}

TEST(GuardedBufferDeathTest, AccessInFrontOfAGuardedBeginningFaults) {
    GTEST_FLAG_SET(death_test_style, "fast");
    for (const std::size_t size : {0U, 1U, 17U, 4096U}) {
        GuardedBuffer buffer(size, Guard::Before);
        volatile uint8_t* const front = buffer.data() - 1;
        EXPECT_DEATH(*front = 1, "");
        EXPECT_DEATH(sink = *front, "");
    }
}

TEST(GuardedBuffer, NoticesWritesOnTheUnguardedSide) {
    GuardedBuffer after(100, Guard::After);
    EXPECT_TRUE(after.slackIntact());
    after.data()[-1] ^= 1;
    EXPECT_FALSE(after.slackIntact());

    GuardedBuffer before(100, Guard::Before);
    EXPECT_TRUE(before.slackIntact());
    before.data()[100] ^= 1;
    EXPECT_FALSE(before.slackIntact());
}

TEST(GuardedBuffer, GuardedPartTouchesTheGuard) {
    GuardedBuffer after(100, Guard::After);
    EXPECT_EQ(after.guarded(30).data() + 30, after.data() + 100);
    GuardedBuffer before(100, Guard::Before);
    EXPECT_EQ(before.guarded(30).data(), before.data());
}

TEST(GuardedBuffer, MovesItsBytes) {
    const std::vector<uint8_t> contents{1, 2, 3};
    GuardedBuffer a(contents);
    const uint8_t* const address = a.data();
    GuardedBuffer b(std::move(a));
    EXPECT_EQ(b.data(), address);
    GuardedBuffer c(5000);
    c = std::move(b);
    EXPECT_EQ(c.data(), address);
    EXPECT_EQ(std::vector<uint8_t>(c.begin(), c.end()), contents);
}

TEST(Random, RepeatsForOneStreamAndDiffersBetweenStreams) {
    Random a(7);
    Random b(7);
    Random c(8);
    EXPECT_EQ(a.next(), b.next());
    EXPECT_NE(a.next(), c.next());
}

TEST(Random, StaysInItsBounds) {
    Random random(1);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_LT(random.below(7), 7U);
        const int64_t n = random.between(-3, 3);
        EXPECT_LE(-3, n);
        EXPECT_LE(n, 3);
    }
}

TEST(SampleData, ShorterSampleBeginsALongerOne) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const std::vector<uint8_t> longer = kind.make(20000, 3);
        ASSERT_EQ(longer.size(), 20000U);
        for (const std::size_t size : {0U, 1U, 777U, 19999U}) {
            const std::vector<uint8_t> shorter = kind.make(size, 3);
            EXPECT_EQ(shorter, std::vector<uint8_t>(longer.begin(), longer.begin() + static_cast<long>(size)));
        }
    }
}

TEST(SampleData, KindsRangeFromConstantToIncompressible) {
    const auto packedSize = [](const char* kind) {
        return oracle::lz4Compress(sampleKind(kind).make(60000, 1)).size();
    };
    EXPECT_LT(packedSize("zeros"), 300U);
    EXPECT_LT(packedSize("period 300"), 1000U);
    EXPECT_LT(packedSize("text"), 40000U);
    EXPECT_GT(packedSize("text"), 10000U);
    EXPECT_LT(packedSize("rare matches"), 60000U);
    EXPECT_GT(packedSize("rare matches"), 50000U);
    EXPECT_GT(packedSize("random"), 60000U);
}

TEST(SampleData, PeriodicSampleRepeatsWithItsPeriod) {
    const std::vector<uint8_t> sample = periodicSample(1000, 37, 1);
    for (std::size_t i = 37; i < sample.size(); ++i) ASSERT_EQ(sample[i], sample[i - 37]);
}

// The models of the Deflate format are held against independent implementations before they judge the library.
TEST(DeflateFormat, ReadsWhatOthersWrite) {
    const std::vector<uint8_t> dictionary = sampleKind("text").make(3000, 5);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const std::vector<uint8_t> source = kind.make(70000, 4);
        for (const int level : {0, 1, 6, 9}) {
            const std::vector<uint8_t> stream = oracle::zlibDeflate(source, level);
            std::size_t end = 0;
            EXPECT_EQ(deflate::inflateStream(stream, {}, &end), source);
            EXPECT_EQ((end + 7) / 8, stream.size());
            EXPECT_EQ(deflate::inflateStream(oracle::libdeflateDeflate(source, level)), source);
        }
        EXPECT_EQ(deflate::inflateStream(oracle::zlibDeflate(source, 6, oracle::ZlibStrategy::Fixed)), source);
        EXPECT_EQ(deflate::inflateStream(oracle::zlibDeflate(source, 6, oracle::ZlibStrategy::Default, 8, dictionary),
                                         dictionary),
                  source);
    }
}

TEST(DeflateFormat, OthersReadWhatItWrites) {
    deflate::BlockCodes codes = deflate::fixedCodes();
    codes.literals.resize(286);
    codes.literals[285] = codes.literals[284] = 7;  // in place of the two symbols left out
    codes.distances[0] = codes.distances[1] = 4;    // the same for distances
    ASSERT_EQ(deflate::completeness(codes.literals), deflate::Completeness::Complete);
    ASSERT_EQ(deflate::completeness(codes.distances), deflate::Completeness::Complete);
    deflate::BitWriter writer;
    deflate::writeDynamicHeader(writer, codes, true);
    deflate::SymbolWriter symbols(writer, codes);
    std::vector<uint8_t> expected;
    for (unsigned i = 0; i < 256; ++i) {
        symbols.literal(static_cast<uint8_t>(i));
        expected.push_back(static_cast<uint8_t>(i));
    }
    for (unsigned length = 3; length <= 258; ++length) {
        const unsigned distance = length * length / 3;
        const unsigned reached = std::min(distance, static_cast<unsigned>(expected.size()));
        symbols.match(length, reached);
        for (unsigned i = 0; i < length; ++i) expected.push_back(expected[expected.size() - reached]);
    }
    symbols.endOfBlock();
    EXPECT_EQ(oracle::zlibInflate(writer.bytes(), expected.size()), expected);
    EXPECT_EQ(deflate::inflateStream(writer.bytes()), expected);
}

}  // namespace
}  // namespace ozrdc::test
