// Well-formed streams decode to what their instructions say, at every length and distance, at every distance from the
// ends of the buffers.
#include <gtest/gtest.h>

#include <algorithm>

#include "lzo/checked_calls.h"
#include "lzo/stream_builder.h"
#include "support/random.h"

namespace ozrdc::test::lzo {
namespace {

constexpr uint64_t kAmple = 200000;

class LzoDecoder : public ::testing::Test {
  protected:
    // The stream decodes as the reference says, successfully, with exactly the room it needs, with more, and with
    // too little of it.
    void expectWhole(const Bytes& stream) {
        ASSERT_TRUE(decoder_.agrees(stream, kAmple));
        ASSERT_EQ(decoder_.expected().status, StatusOk);
        const uint64_t size = decoder_.expected().written;
        for (const uint64_t spare : {0U, 1U, 7U, 40U, 98U, 99U, 130U}) {
            ASSERT_TRUE(decoder_.agrees(stream, size + spare));
        }
        if (size > 0) {
            ASSERT_TRUE(decoder_.agrees(stream, size - 1));
            ASSERT_EQ(decoder_.expected().status, StatusBrokenStream);
        }
        ASSERT_TRUE(decoder_.agrees(stream, size));
    }

    DecoderCheck decoder_;
};

TEST_F(LzoDecoder, EndMarkerAloneIsAnEmptyStream) {
    for (const Bytes& source : {Bytes{0x11, 0, 0}, Bytes{0x11, 0, 0, 0x11, 0, 0}, Bytes{0x11, 0, 0, 0xFF},
                                Bytes{0x11, 0, 0, 0x12, 'x', 0x11, 0, 0}}) {
        for (const uint64_t capacity : {0U, 1U, 100U}) {
            ASSERT_TRUE(decoder_.agrees(source, capacity));
            EXPECT_EQ(decoder_.expected().status, StatusOk);
            EXPECT_EQ(decoder_.expected().written, 0U);
        }
    }
}

TEST_F(LzoDecoder, FirstByteCountsLiterals) {
    for (int64_t count = 1; count <= 238; ++count) {
        ASSERT_NO_FATAL_FAILURE(expectWhole(StreamBuilder().first(count).end().stream()));
        ASSERT_EQ(decoder_.expected().written, static_cast<uint64_t>(count));
    }
}

TEST_F(LzoDecoder, FirstByteMayBeginARun) {
    for (int64_t count = 4; count <= 1100; ++count) {
        ASSERT_NO_FATAL_FAILURE(expectWhole(StreamBuilder().run(count).end().stream()));
        ASSERT_EQ(decoder_.expected().written, static_cast<uint64_t>(count));
    }
}

TEST_F(LzoDecoder, FirstByte17IsNoLiteralsAndThenAnInstruction) {
    for (const int64_t count : {4, 18, 19, 273}) {
        ASSERT_NO_FATAL_FAILURE(expectWhole(StreamBuilder().first(0).run(count).end().stream()));
        ASSERT_EQ(decoder_.expected().written, static_cast<uint64_t>(count));
    }
    ASSERT_NO_FATAL_FAILURE(expectWhole(StreamBuilder().first(20).end().first(0).middleMatch(20, 30).end().stream()));
    EXPECT_EQ(decoder_.expected().written, 50U);
    ASSERT_NO_FATAL_FAILURE(expectWhole({17}));
    // A run whose header begins with two zeros would make an end marker of the two instructions: it is one.
    ASSERT_NO_FATAL_FAILURE(expectWhole(StreamBuilder().first(20).end().first(0).raw({0, 0}).first(9).end().stream()));
    EXPECT_EQ(decoder_.expected().written, 29U);
}

TEST_F(LzoDecoder, RunsBehindMatches) {
    for (int64_t count = 4; count <= 800; ++count) {
        const Bytes stream = StreamBuilder().first(40).shortMatch(30, 5).run(count).shortMatch(3, 4, 2).end().stream();
        ASSERT_NO_FATAL_FAILURE(expectWhole(stream));
    }
    // Behind which runs enough follows for the fast loop.
    for (int64_t count = 4; count <= 800; ++count) {
        StreamBuilder builder;
        builder.first(40).shortMatch(30, 5).run(count);
        for (int i = 0; i < 60; ++i) builder.shortMatch(5 + i, 8, i % 4);
        ASSERT_NO_FATAL_FAILURE(expectWhole(builder.end().stream()));
    }
}

TEST_F(LzoDecoder, MatchesOfEveryShortLengthAtEveryShortDistance) {
    for (int64_t distance = 1; distance <= 80; ++distance) {
        for (int64_t length = 3; length <= 90; length += length < 40 ? 1 : 7) {
            const auto behind = (distance + length) % 4;
            StreamBuilder builder;
            builder.first(100);
            if (length <= 8) {
                builder.shortMatch(distance, length, behind);
            } else {
                builder.middleMatch(distance, length, behind);
            }
            // Near the ends, and with enough behind it for the fast loop.
            ASSERT_NO_FATAL_FAILURE(expectWhole(builder.end().stream()));
            builder.first(200);
            ASSERT_NO_FATAL_FAILURE(expectWhole(builder.end().stream()));
        }
    }
}

TEST_F(LzoDecoder, MatchLengthsWithExtensions) {
    for (int64_t length = 3; length <= 1200; length += length < 20 || length % 255 < 36 ? 1 : 11) {
        for (const int64_t tail : {0, 238}) {
            StreamBuilder builder;
            builder.run(20000).middleMatch(1 + length % 40, length, length % 4);
            builder.longMatch(16385 + length, length, (length + 1) % 4).end();
            if (tail > 0) builder.first(tail).end();
            ASSERT_NO_FATAL_FAILURE(expectWhole(builder.stream()));
        }
    }
}

TEST_F(LzoDecoder, EveryClassReachesAsFarAsItsDistanceField) {
    for (const int64_t spare : {0, 1}) {
        const auto matchAt = [&](int64_t distance, auto add) {
            StreamBuilder builder;
            builder.run(distance - 1 + spare);
            // The run leaves the context of a far match; a match with a literal leads to that of a near one.
            add(builder, distance);
            builder.end().first(200).end();
            ASSERT_TRUE(decoder_.agrees(builder.stream(), kAmple));
            ASSERT_EQ(decoder_.expected().status, spare == 0 ? StatusBrokenStream : StatusOk) << distance;
        };
        for (const int64_t distance : {5, 100, 2047, 2048}) {
            matchAt(distance, [](StreamBuilder& b, int64_t d) { b.shortMatch(d, 8); });
        }
        for (const int64_t distance : {5, 2049, 3072, 16383, 16384}) {
            matchAt(distance, [](StreamBuilder& b, int64_t d) { b.middleMatch(d, 10); });
        }
        for (const int64_t distance : {16385, 32767, 32768, 32769, 49151}) {
            matchAt(distance, [](StreamBuilder& b, int64_t d) { b.longMatch(d, 9); });
            matchAt(distance, [](StreamBuilder& b, int64_t d) { b.longMatch(d, 100); });
        }
        for (const int64_t distance : {2049, 2050, 2053, 3071, 3072}) {
            matchAt(distance, [](StreamBuilder& b, int64_t d) { b.farMatch(d, 1); });
        }
        for (const int64_t distance : {40, 1018, 1019}) {
            matchAt(distance, [](StreamBuilder& b, int64_t d) { b.middleMatch(1, 3, 2).nearMatch(d + 5, 3); });
        }
    }
}

TEST_F(LzoDecoder, BytesBelow16DependOnWhatPrecedesThem) {
    // Behind a match without literals: a run. Behind one, two or three literals: a near match. Behind a run: a far one.
    for (int64_t behind = 1; behind <= 3; ++behind) {
        for (int64_t distance = 1; distance <= 1024; distance += distance < 20 ? 1 : 37) {
            const Bytes stream = StreamBuilder()
                                     .run(3200)
                                     .shortMatch(9, 5, behind)
                                     .nearMatch(distance, behind)
                                     .nearMatch(distance, 0)
                                     .run(30)
                                     .farMatch(2048 + distance, 3)
                                     .nearMatch(1, 0)
                                     .run(4)
                                     .end()
                                     .stream();
            ASSERT_NO_FATAL_FAILURE(expectWhole(stream));
            Bytes longer = stream;
            const Bytes tail = StreamBuilder().first(230).end().stream();
            longer.insert(longer.end(), tail.begin(), tail.end());
            ASSERT_NO_FATAL_FAILURE(expectWhole(longer));
        }
    }
    // The first byte's literals count as well: up to three lead to a near match, more to a far one.
    for (int64_t count = 1; count <= 3; ++count) {
        ASSERT_NO_FATAL_FAILURE(expectWhole(StreamBuilder().first(count).nearMatch(1).run(9).end().stream()));
    }
    StreamBuilder builder;
    builder.run(3000).end().first(4).farMatch(2049).end().first(5).farMatch(3000).run(10).end();
    ASSERT_NO_FATAL_FAILURE(expectWhole(builder.stream()));
}

TEST_F(LzoDecoder, ConcatenatedStreamsDecodeToTheConcatenation) {
    const Bytes first = StreamBuilder(1).first(30).shortMatch(5, 8, 1).end().stream();
    const Bytes second = StreamBuilder(2).run(300).middleMatch(250, 100).end().stream();
    const Bytes empty{0x11, 0, 0};
    Bytes all;
    Bytes expected;
    for (const Bytes& stream : {first, second, empty, first, empty, empty, second, second}) {
        all.insert(all.end(), stream.begin(), stream.end());
        if (stream != empty) {
            const Bytes plain = decode(stream, kAmple).output();
            expected.insert(expected.end(), plain.begin(), plain.end());
        }
        ASSERT_NO_FATAL_FAILURE(expectWhole(all));
        ASSERT_EQ(decoder_.expected().output(), expected);
    }
}

TEST_F(LzoDecoder, LaterStreamsReachTheOutputOfEarlierOnes) {
    ASSERT_NO_FATAL_FAILURE(
        expectWhole(StreamBuilder().run(5000).end().first(4).middleMatch(5004, 60, 2).end().stream()));
}

TEST_F(LzoDecoder, EndMarkerMayBeMissing) {
    for (const Bytes& whole : {StreamBuilder().first(30).stream(), StreamBuilder().first(30).shortMatch(5, 8).stream(),
                               StreamBuilder().first(30).shortMatch(5, 8, 3).stream(),
                               StreamBuilder().run(20000).longMatch(16500, 50).run(100).stream()}) {
        ASSERT_NO_FATAL_FAILURE(expectWhole(whole));
    }
}

TEST_F(LzoDecoder, EndMarkerOfAnyLengthAndStateEndsAStream) {
    for (const Bytes& marker : {Bytes{0x11, 0, 0}, Bytes{0x12, 0, 0}, Bytes{0x17, 0, 0}, Bytes{0x11, 3, 0},
                                Bytes{0x10, 7, 0, 0}, Bytes{0x10, 0, 0, 9, 1, 0}}) {
        Bytes stream = StreamBuilder().first(40).raw(marker).first(3).nearMatch(2).raw(marker).stream();
        ASSERT_NO_FATAL_FAILURE(expectWhole(stream));
        EXPECT_EQ(decoder_.expected().written, 45U);
        // Far from the ends, too.
        const Bytes tail = StreamBuilder().first(230).end().stream();
        stream.insert(stream.end(), tail.begin(), tail.end());
        ASSERT_NO_FATAL_FAILURE(expectWhole(stream));
    }
}

// One random well-formed stream of about so many instructions.
Bytes randomStream(Random& random, int instructions, int64_t& written) {
    StreamBuilder builder(random.next());
    int64_t behind = 4;  // literals right before the next instruction; 4 for a run
    const auto startStream = [&] {
        if (random.oneIn(3)) {
            const int64_t n = random.between(4, random.oneIn(5) ? 60000 : 400);
            builder.run(n);
            written += n;
            behind = 4;
        } else {
            const int64_t n = random.between(1, 238);
            builder.first(n);
            written += n;
            behind = std::min<int64_t>(n, 4);
        }
    };
    startStream();
    for (int i = 0; i < instructions; ++i) {
        const int64_t next = random.oneIn(2) ? 0 : random.between(0, 3);
        const auto distanceUpTo = [&](int64_t most) {
            const int64_t reach = std::min(most, written);
            return random.oneIn(3) ? random.between(1, std::min<int64_t>(reach, 40)) : random.between(1, reach);
        };
        const int64_t length = random.oneIn(4) ? random.between(3, 700) : random.between(3, 40);
        if (behind == 0 && random.oneIn(2)) {
            const int64_t n = random.oneIn(6) ? random.between(19, 900) : random.between(4, 18);
            builder.run(n);
            written += n;
            behind = 4;
            continue;
        }
        if (behind >= 1 && behind <= 3 && random.oneIn(4)) {
            builder.nearMatch(distanceUpTo(1024), next);
            written += 2;
        } else if (behind == 4 && written >= 2049 && random.oneIn(4)) {
            builder.farMatch(random.between(2049, std::min<int64_t>(written, 3072)), next);
            written += 3;
        } else if (written >= 16385 && random.oneIn(3)) {
            builder.longMatch(random.between(16385, std::min<int64_t>(written, 49151)), length, next);
            written += length;
        } else if (random.oneIn(2)) {
            const int64_t n = random.between(3, 8);
            builder.shortMatch(distanceUpTo(2048), n, next);
            written += n;
        } else {
            builder.middleMatch(distanceUpTo(16384), length, next);
            written += length;
        }
        written += next;
        behind = next;
        if (random.oneIn(40)) {
            builder.end();
            startStream();
        }
    }
    if (random.oneIn(2)) builder.end();
    return builder.stream();
}

TEST_F(LzoDecoder, RandomStreamsDecodeAsTheReferenceSays) {
    Random random(201);
    for (int round = 0; round < 4000; ++round) {
        int64_t written = 0;
        const Bytes stream =
            randomStream(random, static_cast<int>(random.below(random.oneIn(10) ? 1500 : 60)), written);
        const auto size = static_cast<uint64_t>(written);
        for (const uint64_t capacity : {size, size + random.below(200)}) {
            ASSERT_TRUE(decoder_.agrees(stream, capacity)) << "round " << round;
            ASSERT_EQ(decoder_.expected().status, StatusOk) << "round " << round;
            ASSERT_EQ(decoder_.expected().written, size);
        }
        ASSERT_TRUE(decoder_.agrees(stream, size - 1 - random.below(std::min<uint64_t>(size, 300))))
            << "round " << round;
    }
}

}  // namespace
}  // namespace ozrdc::test::lzo
