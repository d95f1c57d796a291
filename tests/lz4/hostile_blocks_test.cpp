// Blocks that no encoder writes. Whatever the bytes, the decoder stays inside its buffers and tells the status and the
// counts that the reference predicts.
#include <gtest/gtest.h>

#include <algorithm>

#include "lz4/block_builder.h"
#include "lz4/checked_calls.h"
#include "support/oracles.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lz4 {
namespace {

constexpr int64_t kAmple = 200;

Bytes dictionary() { return sampleKind("text").make(700, 78); }

TEST(Lz4HostileBlocks, SingleDamagedBytes) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (const char* const kind : {"zeros", "text", "low entropy", "period 300", "runs", "mixed"}) {
        const Bytes source = sampleKind(kind).make(700, 21);
        for (const Bytes& intact : {encodePlain(source), oracle::lz4CompressHigh(source, 12)}) {
            Bytes block = intact;
            for (uint8_t& b : block) {
                const uint8_t original = b;
                for (const int damage :
                     {0x00, 0xFF, original ^ 0x01, original ^ 0x10, original ^ 0x80, original ^ 0x55}) {
                    b = static_cast<uint8_t>(damage);
                    for (const int64_t capacity : {int64_t{700}, 700 + kAmple}) {
                        ASSERT_TRUE(decoder.agreesInAllModes(block, capacity, history)) << kind;
                    }
                }
                b = original;
            }
        }
    }
}

TEST(Lz4HostileBlocks, RandomBytes) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    Random random(401);
    for (int round = 0; round < 60000; ++round) {
        Bytes block(1 + random.below(random.oneIn(3) ? 400 : 60));
        // Few different values give tokens of one kind, and offsets that stay within the history.
        const uint64_t values = uint64_t{1} << random.between(1, 8);
        for (uint8_t& b : block) b = static_cast<uint8_t>(random.below(values) * (random.oneIn(3) ? 17 : 1));
        ASSERT_TRUE(decoder.agreesInAllModes(block, random.between(1, 1000), history)) << round;
    }
}

int64_t pick(Random& random, std::initializer_list<int64_t> values) {
    return values.begin()[random.below(values.size())];
}

// Sequences of chosen shapes, then a tail: a last run, garbage, or a cut in the middle of a sequence.
TEST(Lz4HostileBlocks, RandomSequences) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    Random random(402);
    for (int round = 0; round < 60000; ++round) {
        BlockBuilder builder(static_cast<uint64_t>(round));
        for (int64_t n = random.between(0, 8); n > 0; --n) {
            const int64_t run = random.oneIn(2) ? random.between(0, 40)
                                                : pick(random, {0, 0, 1, 14, 15, 16, 31, 32, 33, 64, 269, 270, 300});
            const int64_t reach = builder.decodedSize() + run;
            const int64_t offset = random.oneIn(60)  ? random.between(0, 65535)
                                   : random.oneIn(3) ? std::min<int64_t>(random.between(0, 20), reach)
                                                     : random.between(0, std::min<int64_t>(reach, 65535));
            const int64_t length = random.oneIn(2) ? random.between(4, 40)
                                                   : pick(random, {4, 18, 19, 20, 32, 64, 128, 273, 274, 300, 1000});
            builder.sequence(run, offset, length);
        }
        if (!random.oneIn(3)) builder.lastRun(random.between(0, 50));
        if (random.oneIn(4)) builder.raw(random.between(0, 10), random.byte());
        Bytes block = builder.block();
        if (random.oneIn(3) && block.size() > 1)
            block.resize(block.size() - random.below(std::min<size_t>(block.size(), 45)));
        if (block.empty()) continue;
        const int64_t size = builder.decodedSize();
        const int64_t capacity = std::max<int64_t>(1, random.oneIn(3)   ? size + random.between(-100, 100)
                                                      : random.oneIn(2) ? size
                                                                        : size + kAmple);
        ASSERT_TRUE(decoder.agreesInAllModes(block, capacity, history)) << round;
    }
}

// A sequence of every run length with its end at every distance from the source end, around both loops' margins.
TEST(Lz4HostileBlocks, RunsThatEndNearTheSourceEnd) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (int64_t run = 0; run <= 70; ++run) {
        for (int64_t behind = 0; behind <= 48; ++behind) {
            BlockBuilder builder;
            builder.sequence(30, 7, 20).sequence(5, 3, 25);
            // The run in question, and behind it bytes that read as sequences with offsets inside the history.
            builder.lastRun(run).raw(behind, 0x02);
            const int64_t size = builder.decodedSize();
            for (const int64_t spare : {0, 1, 6, 60, 64, 65, 100, 300}) {
                ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), size + spare, history))
                    << "run " << run << ", behind it " << behind << ", spare room " << spare;
            }
        }
    }
}

// The same for the destination: runs and matches whose ends fall on either side of its margin and of its end.
TEST(Lz4HostileBlocks, RunsAndMatchesThatEndNearTheDestinationEnd) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (int64_t run = 0; run <= 40; ++run) {
        for (const int64_t length : {4, 5, 8, 16, 17, 18, 19, 31, 32, 33, 63, 64, 65, 100}) {
            BlockBuilder builder;
            builder.sequence(40, 7, 20).sequence(run, 11 + run % 9, length);
            const int64_t size = builder.decodedSize();
            builder.sequence(2, 1, 6).lastRun(60);
            for (int64_t spare = -70; spare <= 136; spare += (spare > -4 && spare < 70) ? 1 : 5) {
                ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), std::max<int64_t>(1, size + spare), history))
                    << "run " << run << ", match " << length << ", room behind it " << spare;
            }
        }
    }
}

TEST(Lz4HostileBlocks, RunOf32ThatReadsOneBytePastTheSourceIsRefused) {
    // Its token stands 33 bytes before the end, where only the loops with the margin of 32 still take it.
    DecoderCheck decoder;
    const Bytes history = dictionary();
    BlockBuilder builder;
    builder.sequence(30, 7, 20).lastRun(32);
    const Bytes block(builder.block().begin(), builder.block().end() - 1);
    for (const History& h :
         {History{}, History{History::Mode::Prefix, history}, History{History::Mode::Separate, history, history}}) {
        ASSERT_TRUE(decoder.agrees(block, 500, h));
        EXPECT_EQ(decoder.expected().status, StatusSourceExhausted);
        EXPECT_EQ(decoder.expected().written, 50 + 31);
    }
}

TEST(Lz4HostileBlocks, RunsOf25To32ThatTheFastLoopTakesMayEndInTheLastEightBytes) {
    DecoderCheck decoder;
    BlockBuilder builder;
    builder.sequence(30, 7, 20);
    const int64_t before = builder.decodedSize();
    // Token and extension stand 34 bytes before the end; behind 28 literals a match, then one token.
    builder.lastRun(28).raw({9, 0}).raw(2, 0x00);
    ASSERT_TRUE(decoder.agrees(builder.block(), 500));
    EXPECT_EQ(decoder.expected().status, StatusSourceExhausted);
    EXPECT_EQ(decoder.expected().written, before + 28 + 4);
}

// Lengths that run off the source: everything is consumed, what was written is told.
TEST(Lz4HostileBlocks, LengthsAndOffsetsThatRunOffTheSource) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (const int64_t extension : {0, 1, 2, 7, 8, 30, 31, 32, 33, 34, 35, 100}) {
        for (const int64_t spare : {int64_t{0}, kAmple}) {
            BlockBuilder run;
            run.sequence(30, 7, 20);
            const int64_t written = run.decodedSize();
            run.raw({0xF3}).raw(extension, 255);
            ASSERT_TRUE(decoder.agreesInAllModes(run.block(), written + spare, history));

            BlockBuilder match;
            match.sequence(30, 7, 20).raw({0x0F, 5, 0}).raw(extension, 255);
            ASSERT_TRUE(decoder.agreesInAllModes(match.block(), written + spare, history));
            if (spare != 0 && extension >= 8) {
                EXPECT_EQ(decoder.expected().status, StatusSourceExhausted);
                EXPECT_EQ(decoder.expected().consumed, std::ssize(match.block()));
                EXPECT_EQ(decoder.expected().written, written);
            }
        }
    }
}

TEST(Lz4HostileBlocks, OffsetIsCheckedBeforeTheMatchLengthIsRead) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    for (const int64_t extension : {7, 100}) {
        BlockBuilder builder;
        builder.sequence(30, 7, 20).raw({0x0F, 0xFF, 0xFF}).raw(extension, 255);
        ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), 1000, history));
        EXPECT_EQ(decoder.expected().status, StatusError);
    }
}

// A length of 15 + 255 * n + last, of the size asked for.
void hugeExtension(BlockBuilder& builder, int64_t total) {
    builder.raw((total - 15) / 255, 255).raw(1, static_cast<uint8_t>((total - 15) % 255));
}

TEST(Lz4HostileBlocks, HugeMatchLengthsAreRefusedOrFillTheDestination) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    constexpr int64_t two31 = int64_t{1} << 31;
    constexpr int64_t two32 = int64_t{1} << 32;
    struct Case {
        int64_t total;
        Status status;
    };
    for (const Case& c :
         {Case{two31 - 5, StatusDestinationFull}, Case{two31 - 4, StatusDestinationFull},
          Case{two31 - 1, StatusDestinationFull}, Case{two31, StatusSizeError}, Case{two32 - 5, StatusSizeError},
          Case{two32 - 4, StatusSizeError}, Case{two32 + 100, StatusSizeError}}) {
        BlockBuilder builder;
        builder.sequence(30, 7, 20).raw({0x0F, 9, 0});
        hugeExtension(builder, c.total);
        builder.lastRun(50);
        for (const int64_t capacity : {60, 1000}) {
            ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), capacity, history)) << c.total;
            EXPECT_EQ(decoder.expected().status, c.status) << c.total;
        }
    }
}

TEST(Lz4HostileBlocks, HugeRunLengthsFillTheDestination) {
    DecoderCheck decoder;
    const Bytes history = dictionary();
    constexpr int64_t two31 = int64_t{1} << 31;
    for (const int64_t total : {two31 - 60, two31 - 51, two31 - 50, two31 - 1, two31, 2 * two31 - 1, 2 * two31 + 20}) {
        BlockBuilder builder;
        builder.sequence(30, 7, 20).raw({0xF0});
        hugeExtension(builder, total);
        builder.raw(300, 'x');
        for (const int64_t capacity : {60, 1000}) {
            ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), capacity, history)) << total;
            EXPECT_EQ(decoder.expected().status, StatusDestinationFull) << total;
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::lz4
