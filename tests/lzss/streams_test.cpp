// Whole streams of every nature, cut everywhere: encoded and decoded beside the models, and back to what they were.
#include <gtest/gtest.h>

#include <algorithm>

#include "lzss/checked_streams.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzss {
namespace {

Sizes always(std::size_t size) {
    return [size] { return size; };
}

// 1 to `most`.
Sizes upTo(Random& random, std::size_t most) {
    return [&random, most] { return static_cast<std::size_t>(1 + random.below(most)); };
}

// 1 to some power of two, each power equally often.
Sizes anyMagnitude(Random& random, unsigned magnitudes) {
    return [&random, magnitudes] {
        return static_cast<std::size_t>(1 + random.below(uint64_t{1} << random.below(magnitudes)));
    };
}

class LzssStreams : public ::testing::Test {
  protected:
    CheckedCodec codec;
};

TEST_F(LzssStreams, EveryNatureInOneCall) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes plain = kind.make(200000, 1);
        const Bytes stream = codec.encode(plain, always(plain.size()), always(2 * plain.size()));
        EXPECT_TRUE(stream == modelStream(plain));
        EXPECT_LE(stream.size(), (9 * plain.size() + 7) / 8);
        EXPECT_TRUE(codec.decode(stream, always(stream.size()), always(plain.size() + 1)) == plain);
        EXPECT_TRUE(codec.decode(stream, always(stream.size()), always(plain.size())) == plain);
        if (HasFailure()) return;
    }
}

TEST_F(LzssStreams, EveryNatureInRandomCalls) {
    Random random(1);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes plain = kind.make(100000, 2);
        for (const std::size_t most : {7U, 100U, 1500U, 20000U, 90000U}) {
            SCOPED_TRACE(most);
            const Bytes part(plain.begin(),
                             plain.begin() + static_cast<std::ptrdiff_t>(std::min(plain.size(), 300 * most)));
            ASSERT_TRUE(codec.roundTrip(part, upTo(random, most), upTo(random, most)));
        }
        ASSERT_TRUE(codec.roundTrip(plain, anyMagnitude(random, 17), anyMagnitude(random, 17)));
        ASSERT_TRUE(codec.roundTrip(plain, anyMagnitude(random, 17), always(1 << 20)));
        ASSERT_TRUE(codec.roundTrip(plain, always(1 << 20), anyMagnitude(random, 12)));
    }
}

TEST_F(LzssStreams, ByteByByte) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes plain = kind.make(3000, 3);
        ASSERT_TRUE(codec.roundTrip(plain, always(1), always(100)));
        ASSERT_TRUE(codec.roundTrip(plain, always(3000), always(1)));
        ASSERT_TRUE(codec.roundTrip(plain, always(1), always(1)));
    }
}

TEST_F(LzssStreams, EveryLengthInOneCall) {
    for (const char* const name : {"zeros", "text", "two symbols", "low entropy", "period 3", "period 17", "random"}) {
        SCOPED_TRACE(name);
        const Bytes sample = sampleKind(name).make(800, 4);
        for (std::size_t size = 1; size <= sample.size(); ++size) {
            const ByteView plain = ByteView(sample).first(size);
            ASSERT_TRUE(codec.roundTrip(plain, always(size), always(2 * size))) << size;
        }
    }
}

TEST_F(LzssStreams, EveryCutIntoTwoCalls) {
    for (const char* const name : {"zeros", "text", "low entropy", "period 3"}) {
        SCOPED_TRACE(name);
        const Bytes plain = sampleKind(name).make(600, 5);
        for (std::size_t cut = 1; cut < plain.size(); ++cut) {
            bool first = true;
            const auto sources = [&] { return std::exchange(first, false) ? cut : plain.size(); };
            ASSERT_TRUE(codec.roundTrip(plain, sources, always(2 * plain.size()))) << cut;
        }
    }
}

TEST_F(LzssStreams, EveryCutOfSourceAndDestination) {
    for (const char* const name : {"zeros", "text", "low entropy", "random"}) {
        SCOPED_TRACE(name);
        const Bytes plain = sampleKind(name).make(80, 6);
        for (std::size_t source = 1; source <= plain.size(); ++source) {
            for (std::size_t capacity = 1; capacity <= 92; ++capacity) {
                ASSERT_TRUE(codec.roundTrip(plain, always(source), always(capacity))) << source << ' ' << capacity;
            }
        }
    }
}

// Sizes at which the history moves, or a window or a longest match ends, in both directions.
TEST_F(LzssStreams, SizesWhereTheHistoryMoves) {
    for (const char* const name : {"mixed", "zeros", "period 300"}) {
        SCOPED_TRACE(name);
        const Bytes sample = sampleKind(name).make(140000, 7);
        for (const std::size_t size : {258U, 260U, 32768U, 32768U + 258U, 65278U, 65536U - 260U, 65536U, 98304U}) {
            for (std::size_t cut = size - 3; cut <= size + 3; ++cut) {
                SCOPED_TRACE(cut);
                unsigned calls = 0;
                const auto sources = [&] { return calls++ == 0 ? cut : std::size_t{1} << 20; };
                ASSERT_TRUE(codec.roundTrip(ByteView(sample).first(size + 3000), sources, always(1 << 20)));
                calls = 0;
                const Bytes stream = codec.encode(sample, always(1 << 20), always(1 << 20));
                ASSERT_TRUE(codec.decode(stream, always(1 << 20), sources) == sample);
            }
        }
    }
}

TEST_F(LzssStreams, CallsOfOneSizeForLong) {
    // Wherever the history ends when it has to move.
    const Bytes sample = sampleKind("mixed").make(300000, 8);
    for (const std::size_t size : {1021U, 4096U, 16384U, 32767U, 32768U, 32769U, 50000U}) {
        SCOPED_TRACE(size);
        ASSERT_TRUE(codec.roundTrip(sample, always(size), always(1 << 20)));
        ASSERT_TRUE(codec.roundTrip(sample, always(1 << 20), always(size)));
        ASSERT_TRUE(codec.roundTrip(sample, always(size), always(size)));
    }
}

TEST_F(LzssStreams, RealFiles) {
    Random random(9);
    for (const CorpusFile& file : corpusFiles(150000)) {
        SCOPED_TRACE(file.name);
        ASSERT_TRUE(codec.roundTrip(file.bytes, always(file.bytes.size()), always(2 * file.bytes.size())));
        ASSERT_TRUE(codec.roundTrip(file.bytes, anyMagnitude(random, 17), anyMagnitude(random, 17)));
    }
}

}  // namespace
}  // namespace ozrdc::test::lzss
