// The decoder and blocks that are well-formed, or cut: statuses, counts and bytes are those of the reference.
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "lz4/block_builder.h"
#include "lz4/checked_calls.h"
#include "support/oracles.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lz4 {
namespace {

Bytes dictionary() { return sampleKind("text").make(3000, 77); }

// Room that keeps the fast loop going to the end of the source.
constexpr int64_t kAmple = 200;

TEST(Lz4Decoder, DecodesWhatItsEncodersWrite) {
    DecoderCheck decoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {1U, 5U, 13U, 29U, 30U, 64U, 65U, 100U, 500U, 5000U, 65536U, 200000U}) {
            const Bytes source = kind.make(size, 11);
            for (const int32_t acceleration : {1, 7}) {
                const Bytes block = encodeFast(source, acceleration);
                for (const int64_t spare : {int64_t{0}, int64_t{1}, kAmple}) {
                    ASSERT_TRUE(decoder.agrees(block, std::ssize(source) + spare)) << size << " bytes";
                    ASSERT_EQ(decoder.expected().status, StatusOk);
                    ASSERT_EQ(decoder.expected().output, source);
                }
            }
        }
    }
}

TEST(Lz4Decoder, DecodesBlocksOfEveryLevelOfAnotherEncoder) {
    DecoderCheck decoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {1U, 20U, 400U, 70000U}) {
            const Bytes source = kind.make(size, 12);
            for (const Bytes& block :
                 {oracle::lz4Compress(source), oracle::lz4CompressFast(source, 20), oracle::lz4CompressHigh(source, 3),
                  oracle::lz4CompressHigh(source, 9), oracle::lz4CompressHigh(source, 12)}) {
                ASSERT_TRUE(decoder.agreesInAllModes(block, std::ssize(source), dictionary()));
                ASSERT_EQ(decoder.expected().output, source);
                if (size == 1) continue;
                ASSERT_TRUE(decoder.agreesInAllModes(block, std::ssize(source) - 1, dictionary()));
                ASSERT_EQ(decoder.expected().status, StatusDestinationFull);
            }
        }
    }
}

TEST(Lz4Decoder, DecodesBlocksThatReachIntoADictionary) {
    DecoderCheck decoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes both = kind.make(90000, 13);
        for (const std::size_t dictionarySize : {8U, 100U, 5000U, 65536U}) {
            for (const std::size_t size : {20U, 1000U, 20000U}) {
                const ByteView history = ByteView(both).first(dictionarySize);
                const ByteView source = ByteView(both).subspan(dictionarySize, size);
                const Bytes block = oracle::lz4CompressWithDictionary(source, history);
                for (const int64_t spare : {int64_t{0}, kAmple}) {
                    const int64_t capacity = std::ssize(source) + spare;
                    for (const History& h : {History{History::Mode::Prefix, history},
                                             History{History::Mode::Separate, history, history}}) {
                        ASSERT_TRUE(decoder.agrees(block, capacity, h)) << dictionarySize << ", " << size;
                        ASSERT_EQ(decoder.expected().status, StatusOk);
                        ASSERT_TRUE(std::equal(source.begin(), source.end(), decoder.expected().output.begin()));
                    }
                }
            }
        }
    }
}

// A few blocks with sequences of all shapes, small enough to be taken apart byte by byte.
std::vector<Bytes> smallBlocks() {
    std::vector<Bytes> blocks;
    for (const char* const kind : {"zeros", "text", "random", "low entropy", "period 17", "runs"}) {
        for (const std::size_t size : {60U, 250U}) {
            const Bytes source = sampleKind(kind).make(size, 14);
            blocks.push_back(encodePlain(source));
            blocks.push_back(oracle::lz4CompressHigh(source, 12));
        }
    }
    const Bytes history = dictionary();
    const ByteView tail = ByteView(history).last(300);
    blocks.push_back(oracle::lz4CompressWithDictionary(sampleKind("text").make(250, 15), tail));
    blocks.push_back(BlockBuilder()
                         .sequence(20, 3, 40)
                         .sequence(0, 17, 5)
                         .sequence(3, 61, 300)
                         .sequence(40, 2, 8)
                         .sequence(0, 200, 18)
                         .sequence(14, 1, 19)
                         .lastRun(40)
                         .block());
    blocks.push_back(BlockBuilder().sequence(300, 8, 700).sequence(16, 400, 273).lastRun(0).block());
    return blocks;
}

TEST(Lz4Decoder, AgreesOnEveryTruncation) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (const Bytes& block : smallBlocks()) {
        const int64_t size = decode(block, 100000, {History::Mode::Prefix, history}).written;
        for (std::size_t length = 1; length <= block.size(); ++length) {
            for (const int64_t capacity : {size, size + kAmple}) {
                ASSERT_TRUE(decoder.agreesInAllModes(ByteView(block).first(length), capacity, history));
            }
        }
    }
}

TEST(Lz4Decoder, AgreesAtEveryCapacity) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (const Bytes& block : smallBlocks()) {
        const int64_t size = decode(block, 100000, {History::Mode::Prefix, history}).written;
        for (int64_t capacity = 1; capacity <= size + 80; ++capacity) {
            ASSERT_TRUE(decoder.agreesInAllModes(block, capacity, history));
        }
    }
}

TEST(Lz4Decoder, AgreesOnTruncationsOfALongBlockAtManyCapacities) {
    DecoderCheck decoder;
    Random random(301);
    const Bytes history = dictionary();
    const Bytes source = sampleKind("mixed").make(8000, 16);
    const Bytes block = oracle::lz4CompressHigh(source, 9);
    for (int round = 0; round < 3000; ++round) {
        const std::size_t length = 1 + random.below(block.size());
        const int64_t capacity = random.between(1, 8200);
        ASSERT_TRUE(decoder.agreesInAllModes(ByteView(block).first(length), capacity, history)) << round;
    }
}

TEST(Lz4Decoder, MatchesOfSmallOffsetsEqualAByteWiseCopyInBothLoops) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (int64_t offset = 0; offset <= 40; ++offset) {
        for (int64_t length = 4; length <= 300; ++length) {
            BlockBuilder builder;
            builder.sequence(41, offset, length);
            // Far from both ends, the fast loop copies the match; without spare room, the careful loop does.
            const Bytes inFastLoop = BlockBuilder(builder).lastRun(80).block();
            const Bytes inCarefulLoop = builder.lastRun(8).block();
            ASSERT_TRUE(decoder.agrees(inFastLoop, builder.decodedSize() + kAmple)) << offset << ", " << length;
            ASSERT_EQ(decoder.expected().status, StatusOk);
            ASSERT_TRUE(decoder.agreesInAllModes(inCarefulLoop, builder.decodedSize(), history))
                << offset << ", " << length;
        }
    }
}

TEST(Lz4Decoder, MatchesOfAnyOffsetEqualAByteWiseCopyInBothLoops) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    Random random(302);
    for (int round = 0; round < 4000; ++round) {
        const int64_t run = random.between(0, 400);
        const int64_t offset = random.between(1, random.oneIn(2) ? 100 : run + std::ssize(history));
        const int64_t length = random.between(4, random.oneIn(8) ? 5000 : 80);
        BlockBuilder builder(static_cast<uint64_t>(round));
        builder.sequence(run, offset, length).lastRun(random.oneIn(2) ? 8 : 100);
        const int64_t spare = random.oneIn(2) ? 0 : kAmple;
        ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), builder.decodedSize() + spare, history)) << round;
    }
}

TEST(Lz4Decoder, OneByteDecodesToNothing) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (const uint8_t token : Bytes{0x00, 0x0F, 0x10, 0xF0, 0xFF}) {
        ASSERT_TRUE(decoder.agreesInAllModes(Bytes{token}, 100, history));
        EXPECT_EQ(decoder.expected().status, StatusSourceExhausted);
        EXPECT_EQ(decoder.expected().consumed, 0);
        EXPECT_EQ(decoder.expected().written, 0);
    }
}

TEST(Lz4Decoder, ExactCapacitySucceedsAndOneByteLessReportsAFullDestination) {
    DecoderCheck decoder;
    const Bytes source = sampleKind("text").make(1000, 17);
    const Bytes block = encodePlain(source);
    ASSERT_TRUE(decoder.agrees(block, 1000));
    EXPECT_EQ(decoder.expected().status, StatusOk);
    EXPECT_EQ(decoder.expected().consumed, std::ssize(block));
    ASSERT_TRUE(decoder.agrees(block, 999));
    EXPECT_EQ(decoder.expected().status, StatusDestinationFull);
    EXPECT_EQ(decoder.expected().written, 999);
}

TEST(Lz4Decoder, FirstByteOfTheHistoryCanBeReachedAndTheOneBeforeCannot) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (const int64_t tail : {10, 100}) {
        for (const int64_t spare : {int64_t{0}, kAmple}) {
            const auto statusOf = [&](int64_t offset, const History& h) {
                BlockBuilder builder;
                builder.sequence(20, offset, 10).lastRun(tail);
                EXPECT_TRUE(decoder.agrees(builder.block(), builder.decodedSize() + spare, h));
                return decoder.expected().status;
            };
            EXPECT_EQ(statusOf(20, {}), StatusOk);
            EXPECT_EQ(statusOf(21, {}), StatusError);
            const History prefix{History::Mode::Prefix, history};
            EXPECT_EQ(statusOf(3020, prefix), StatusOk);
            EXPECT_EQ(statusOf(3021, prefix), StatusError);
            const History separate{History::Mode::Separate, history, history};
            EXPECT_EQ(statusOf(3020, separate), StatusOk);
            EXPECT_EQ(statusOf(3021, separate), StatusError);
        }
    }
}

TEST(Lz4Decoder, OffsetZeroIsNotRefused) {
    DecoderCheck decoder;
    for (const int64_t tail : {10, 100}) {
        for (const int64_t spare : {int64_t{0}, kAmple}) {
            BlockBuilder builder;
            builder.sequence(20, 0, 30).lastRun(tail);
            ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), builder.decodedSize() + spare, dictionary()));
            EXPECT_EQ(decoder.expected().status, StatusOk);
            EXPECT_EQ(decoder.expected().written, builder.decodedSize());
            // Even where nothing has been written yet.
            BlockBuilder atStart;
            atStart.sequence(0, 0, 30).lastRun(tail);
            ASSERT_TRUE(decoder.agreesInAllModes(atStart.block(), atStart.decodedSize() + spare, dictionary()));
            EXPECT_EQ(decoder.expected().status, StatusOk);
        }
    }
}

// Only the bytes of such a match, and copies of them, are unspecified; everything around them is what it would be.
TEST(Lz4Decoder, OffsetZeroLeavesAllOtherBytesAlone) {
    DecoderCheck decoder;
    for (const int64_t length : {4, 18, 19, 40, 300}) {
        for (const int64_t tail : {10, 100}) {
            BlockBuilder builder;
            builder.sequence(20, 0, length);       // unspecified: [20, 20 + length)
            builder.sequence(6, 8, 12);            // copies two of them, six literals, the two again, two literals
            builder.sequence(0, length + 38, 20);  // copies the first literals
            builder.lastRun(tail);
            for (const int64_t spare : {int64_t{0}, kAmple}) {
                const int64_t capacity = builder.decodedSize() + spare;
                ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), capacity, dictionary())) << length;
                const std::vector<bool>& known = decoder.expected().known;
                ASSERT_EQ(decoder.expected().status, StatusOk);
                ASSERT_EQ(std::ssize(known), builder.decodedSize());
                EXPECT_EQ(std::count(known.begin(), known.end(), false), length + 4);
                EXPECT_EQ(std::find(known.begin(), known.end(), false) - known.begin(), 20);
            }
        }
    }
}

TEST(Lz4Decoder, BlockMayEndWithoutALastRun) {
    // One byte behind the last match is the token of an empty run; it need not be there, and it is not consumed.
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (const int64_t run : {20, 100}) {
        BlockBuilder builder;
        builder.sequence(run, 5, 300);
        // The run must end eight bytes before the end: three bytes of match follow it, five more are sequences.
        builder.raw({0x00, 5, 0, 0x00, 5, 0}).lastRun(0);
        ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), 1000, history));
        EXPECT_EQ(decoder.expected().status, StatusSourceExhausted);
    }
    BlockBuilder builder;
    builder.sequence(20, 5, 5000);  // a match with 20 extension bytes ends the block
    ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), builder.decodedSize(), history));
    EXPECT_EQ(decoder.expected().status, StatusOk);
    EXPECT_EQ(decoder.expected().consumed, std::ssize(builder.block()));
    builder.lastRun(0);
    ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), builder.decodedSize(), history));
    EXPECT_EQ(decoder.expected().status, StatusOk);
    EXPECT_EQ(decoder.expected().consumed, std::ssize(builder.block()) - 1);
}

TEST(Lz4Decoder, DestinationThatFillsWithALiteralRunSucceedsWithSourceLeft) {
    DecoderCheck decoder;
    BlockBuilder builder;
    builder.sequence(20, 5, 30).lastRun(50);
    ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), 20, dictionary()));
    EXPECT_EQ(decoder.expected().status, StatusOk);
    EXPECT_EQ(decoder.expected().consumed, 1 + 1 + 20);
    EXPECT_EQ(decoder.expected().written, 20);
}

TEST(Lz4Decoder, FullDestinationStillConsumesTheTokenOfAnEmptyRun) {
    DecoderCheck decoder;
    BlockBuilder builder;
    builder.sequence(20, 5, 30).sequence(0, 7, 30).lastRun(50);
    ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), 50, dictionary()));
    EXPECT_EQ(decoder.expected().status, StatusOk);
    EXPECT_EQ(decoder.expected().consumed, 1 + 1 + 20 + 2 + 1 + 1);
    EXPECT_EQ(decoder.expected().written, 50);
}

TEST(Lz4Decoder, MatchThatDoesNotFitIsCutAndItsLengthConsumed) {
    DecoderCheck decoder;
    BlockBuilder builder;
    builder.sequence(20, 5, 300).lastRun(50);
    ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), 100, dictionary()));
    EXPECT_EQ(decoder.expected().status, StatusDestinationFull);
    EXPECT_EQ(decoder.expected().consumed, 1 + 1 + 20 + 2 + 2);
    EXPECT_EQ(decoder.expected().written, 100);
}

TEST(Lz4Decoder, RealFilesRoundTripInAllModes) {
    const std::vector<CorpusFile> files = corpusFiles(300000);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    DecoderCheck decoder;
    for (const CorpusFile& file : files) {
        SCOPED_TRACE(file.name);
        const Bytes block = encodePlain(file.bytes);
        ASSERT_TRUE(decoder.agreesInAllModes(block, std::ssize(file.bytes), dictionary()));
        ASSERT_EQ(decoder.expected().output, file.bytes);
    }
}

}  // namespace
}  // namespace ozrdc::test::lz4
