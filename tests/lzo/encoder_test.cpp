// The compressors write, bit for bit, the streams that the reference predicts, and these decode to the source.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "lzo/checked_calls.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzo {
namespace {

class LzoEncoder : public ::testing::Test {
  protected:
    // Both compressors agree with the reference, and what they write decodes to the source.
    void check(ByteView source) {
        for (const uint32_t mode : {kStandardMode, kFastMode}) {
            ASSERT_TRUE(encoder_.agrees(mode, source, roomFor(source.size())));
            const auto decoded = decodeStreams(encoder_.stream(), source.size());
            ASSERT_TRUE(decoded.has_value());
            ASSERT_TRUE(std::equal(source.begin(), source.end(), decoded->begin(), decoded->end()));
            ASSERT_FALSE(containerTotal(encoder_.stream())) << "the stream would be taken for a container";
        }
    }

    EncoderCheck encoder_;
};

TEST_F(LzoEncoder, WritesThePredictedStreamAtEveryShortLength) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(620, 81);
        for (std::size_t size = 1; size <= sample.size(); ++size) {
            ASSERT_NO_FATAL_FAILURE(check(ByteView(sample).first(size))) << "length " << size;
        }
    }
}

TEST_F(LzoEncoder, WritesThePredictedStreamAroundTheEndsOfChunks) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(100000, 82);
        for (const std::size_t chunks : {49152U, 98304U}) {
            for (const std::size_t behind : {0U, 1U, 4U, 20U, 24U, 25U}) {
                ASSERT_NO_FATAL_FAILURE(check(ByteView(sample).first(chunks + behind))) << chunks + behind;
                ASSERT_NO_FATAL_FAILURE(check(ByteView(sample).first(chunks - behind))) << chunks - behind;
            }
        }
    }
}

TEST_F(LzoEncoder, WritesThePredictedStreamOfLongSources) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        ASSERT_NO_FATAL_FAILURE(check(kind.make(300000, 83)));
    }
}

TEST_F(LzoEncoder, WritesThePredictedStreamOfRealFiles) {
    const std::vector<CorpusFile> files = corpusFiles(200000);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    for (const CorpusFile& file : files) {
        SCOPED_TRACE(file.name);
        ASSERT_NO_FATAL_FAILURE(check(file.bytes));
    }
}

// Small alphabets and copies of earlier stretches: matches of every length at every distance from the end.
TEST_F(LzoEncoder, WritesThePredictedStreamOfRandomSources) {
    Random random(501);
    for (int round = 0; round < 4000; ++round) {
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
        ASSERT_NO_FATAL_FAILURE(check(source)) << "round " << round;
    }
}

TEST_F(LzoEncoder, SourcesOf13BytesAreLiteralsOnly) {
    for (const uint32_t mode : {kStandardMode, kFastMode}) {
        const Bytes source(13, 'x');
        Bytes expected(17, 'x');
        expected[0] = 30;
        expected[14] = 0x11;
        expected[15] = expected[16] = 0;
        EXPECT_EQ(encode(mode, source), expected);
    }
}

TEST_F(LzoEncoder, MethodOneIsMethodZero) {
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes source = kind.make(70000, 84);
        std::array<Bytes, 2> streams;
        for (uint32_t method = 0; method < 2; ++method) {
            Bytes state(kStateSize);
            ASSERT_EQ(ozrsEncodeLZOInit_8u(method, 0, reinterpret_cast<LZOState*>(state.data())), StatusOk);
            Bytes& stream = streams[method];
            stream.resize(roomFor(source.size()));
            auto written = static_cast<uint32_t>(stream.size());
            ASSERT_EQ(ozrsEncodeLZO_8u(source.data(), 70000, stream.data(), &written,
                                       reinterpret_cast<LZOState*>(state.data())),
                      StatusOk);
            stream.resize(written);
        }
        EXPECT_EQ(streams[0], streams[1]) << kind.name;
    }
}

// Runs of every length between a match and the next: the header changes at 3, 18, 273, 528 and so on, and its last byte
// is never 0.
TEST_F(LzoEncoder, LiteralRunsOfEveryLength) {
    Random random(502);
    Bytes source(60);
    random.fill(source);
    Bytes literals(1100);
    random.fill(literals);
    for (std::size_t run = 0; run <= literals.size(); ++run) {
        Bytes with = source;
        // A match, the run, a match, the run again as the last.
        with.insert(with.end(), source.begin() + 10, source.begin() + 40);
        with.insert(with.end(), literals.begin(), literals.begin() + static_cast<std::ptrdiff_t>(run));
        with.insert(with.end(), source.begin() + 20, source.end());
        with.insert(with.end(), literals.begin() + 1,
                    literals.begin() + static_cast<std::ptrdiff_t>(std::max<std::size_t>(run, 1)));
        ASSERT_NO_FATAL_FAILURE(check(with)) << run;
    }
}

// The same for the run that a stream begins with, and for a stream that is nothing else.
TEST_F(LzoEncoder, FirstRunsOfEveryLength) {
    Random random(503);
    Bytes literals(1100);
    random.fill(literals);
    for (std::size_t run = 1; run <= literals.size(); ++run) {
        const auto end = literals.begin() + static_cast<std::ptrdiff_t>(run);
        ASSERT_NO_FATAL_FAILURE(check(Bytes(literals.begin(), end)));
        if (run < 12) continue;
        Bytes repeated(literals.begin(), end);
        repeated.insert(repeated.end(), end - 12, end);
        repeated.insert(repeated.end(), 40, 0);
        ASSERT_NO_FATAL_FAILURE(check(repeated)) << run;
    }
}

// A match of each class, of the lengths where its form changes, as the first of its stream and behind another.
TEST_F(LzoEncoder, MatchLengthsOfEveryClass) {
    Random random(504);
    Bytes base(60000);
    random.fill(base);
    Bytes matchBefore(base.end() - 40, base.end());
    matchBefore.insert(matchBefore.end(), matchBefore.begin(), matchBefore.begin() + 20);
    std::vector<std::size_t> lengths;
    for (std::size_t length = 3; length <= 50; ++length) lengths.push_back(length);
    // Around 255, and where an extension takes a second byte.
    for (const std::size_t middle : {255U, 264U, 288U, 519U, 543U}) {
        for (std::size_t length = middle - 2; length <= middle + 2; ++length) lengths.push_back(length);
    }
    for (const std::size_t distance :
         {5U, 2048U, 2049U, 16383U, 16384U, 16385U, 32767U, 32768U, 32769U, 49151U, 49152U}) {
        for (const std::size_t length : lengths) {
            for (const bool first : {true, false}) {
                Bytes source = first ? Bytes() : matchBefore;
                source.insert(source.end(), base.begin(), base.begin() + static_cast<std::ptrdiff_t>(distance));
                // Repeats what lies `distance` back, then differs.
                for (std::size_t i = 0; i < length; ++i) source.push_back(source[source.size() - distance]);
                source.push_back(static_cast<uint8_t>(source[source.size() - distance] + 1));
                source.insert(source.end(), base.end() - 70, base.end() - 40);
                ASSERT_NO_FATAL_FAILURE(check(source)) << distance << ", " << length;
            }
        }
    }
}

TEST_F(LzoEncoder, MatchesReachBack49151Bytes) {
    const auto size = [](uint32_t mode, std::size_t period) {
        return encode(mode, periodicSample(200000, period, 85)).size();
    };
    EXPECT_LT(size(kStandardMode, 49150), 60000U);
    EXPECT_LT(size(kStandardMode, 49151), 60000U);
    EXPECT_GT(size(kStandardMode, 49152), 200000U);
    // The fast compressor never looks beyond its chunk.
    EXPECT_LT(size(kFastMode, 20000), 100000U);
    EXPECT_GT(size(kFastMode, 49151), 190000U);
}

TEST_F(LzoEncoder, DistanceOf16384IsNeverAnEndMarker) {
    const Bytes source = periodicSample(40000, 16384, 86);
    ASSERT_NO_FATAL_FAILURE(check(source));
    for (const uint32_t mode : {kStandardMode, kFastMode}) EXPECT_LT(encode(mode, source).size(), 18000U);
}

TEST_F(LzoEncoder, MatchesMayReachTheEndOfTheSource) {
    for (const uint32_t mode : {kStandardMode, kFastMode}) {
        // Four literals and the position before the first searched one: a match of the rest.
        const Bytes stream = encode(mode, Bytes(1000, 'x'));
        const Bytes end(stream.end() - 3, stream.end());
        EXPECT_EQ(end, (Bytes{0x11, 0, 0}));
        EXPECT_LT(stream.size(), 20U);
    }
}

// A stream of 68 literals at first begins with the mark of a container.
TEST_F(LzoEncoder, StreamsAreNeverTakenForContainers) {
    Random random(505);
    for (unsigned parts = 0; parts < 40; ++parts) {
        Bytes source(68);
        random.fill(source);
        source[0] = static_cast<uint8_t>(parts);
        source[1] = static_cast<uint8_t>(parts ^ 0x55);
        ASSERT_NO_FATAL_FAILURE(check(source));
        EXPECT_EQ(encode(kStandardMode, source).size(), parts >= 1 && parts <= 32 ? 73U : 72U);
        // Behind the literals a match.
        source.insert(source.end(), source.begin() + 20, source.begin() + 68);
        ASSERT_NO_FATAL_FAILURE(check(source));
        for (const uint32_t mode : {kStandardMode, kFastMode}) {
            const Bytes stream = encode(mode, source);
            Bytes decoded(source.size());
            auto written = static_cast<uint32_t>(decoded.size());
            ASSERT_EQ(callDecoder(Entry::Safe, stream, decoded, &written), StatusOk);
            ASSERT_EQ(decoded, source);
        }
    }
}

// 17 million zeros: lengths of extensions whose count of bytes is large, and positions beyond 24 bits.
TEST_F(LzoEncoder, LongRunsOfOneByte) {
    const Bytes source(17000000, 0);
    for (const uint32_t mode : {kStandardMode, kFastMode}) {
        const Bytes stream = encode(mode, source);
        for (const Entry entry : {Entry::Safe, Entry::Trusting}) {
            Bytes decoded(source.size());
            auto written = static_cast<uint32_t>(decoded.size());
            ASSERT_EQ(callDecoder(entry, stream, decoded, &written), StatusOk);
            ASSERT_EQ(written, source.size());
            ASSERT_TRUE(decoded == source);
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::lzo
