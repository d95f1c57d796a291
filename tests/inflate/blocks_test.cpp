// Blocks in whole and in pieces: wherever the source or the destination is cut, the calls tell what they did and the
// next one goes on there.
#include <gtest/gtest.h>

#include <functional>

#include "inflate/checked_decoder.h"
#include "inflate/random_blocks.h"
#include "support/sample_data.h"

namespace ozrdc::test::inflate {
namespace {

constexpr std::size_t kWindowSize = 32768;
constexpr unsigned kAllModes = 1U << 0 | 1U << 1 | 1U << 2;

const Bytes& history() {
    static const Bytes bytes = sampleKind("mixed").make(40000, 310);
    return bytes;
}

struct Block {
    BlockCodes codes;
    Tables tables;
    Bytes stream;
    std::size_t begin;  // bit
};

// A block of about `bytes` bytes that begins at a random bit of the first byte, with `behind` bytes behind it.
Block makeBlock(Random& random, const BlockCodes& codes, Tables tables, std::size_t bytes, std::size_t behind) {
    deflate::BitWriter writer;
    const auto offset = static_cast<unsigned>(random.below(8));
    writer.put(random.next(), offset);
    writeRandomSymbols(writer, codes, random, bytes, kWindowSize);
    deflate::SymbolWriter(writer, codes).endOfBlock();
    writer.put(random.next(), static_cast<unsigned>((8 - writer.size() % 8) % 8));
    for (; behind > 0; --behind) writer.put(random.next(), 8);
    return {codes, tables, writer.bytes(), offset};
}

Block makeBlock(Random& random, std::size_t bytes, std::size_t behind) {
    if (random.oneIn(8)) return makeBlock(random, deflate::fixedCodes(), Tables::Fixed, bytes, behind);
    return makeBlock(random, randomCodes(random), Tables::Built, bytes, behind);
}

// Decodes the block with call(decoder, number of the call) until it ends.
::testing::AssertionResult decode(const Block& block, Guard guard,
                                  const std::function<::testing::AssertionResult(CheckedDecoder&, std::size_t)>& call,
                                  unsigned* modes = nullptr) {
    CheckedDecoder decoder(block.stream, history(), guard);
    decoder.moveTo(block.begin);
    if (auto result = decoder.beginBlock(block.codes, block.tables); !result) return result;
    for (std::size_t n = 0; !decoder.blockEnded(); ++n) {
        if (auto result = call(decoder, n); !result) return result;
        if (decoder.failed()) return ::testing::AssertionFailure() << "the block fails";
        if (n > 20 * block.stream.size() + 100000) return ::testing::AssertionFailure() << "no end";
    }
    if (modes != nullptr) *modes |= decoder.modesMet();
    return ::testing::AssertionSuccess();
}

constexpr Guard kGuards[] = {Guard::After, Guard::Before};

// Codes that have every symbol, of the fixed, the general and the short kind.
struct Kind {
    const char* name;
    BlockCodes codes;
    Tables tables;
};
std::vector<Kind> everyKind(Random& random) {
    return {{"fixed", deflate::fixedCodes(), Tables::Fixed},
            {"fixed, built", deflate::fixedCodes(), Tables::Built},
            {"short", {randomCode(random, 286, 286, 11, true), randomCode(random, 30, 30, 10, true)}, Tables::Built},
            {"general", {randomCode(random, 286, 286, 15, true), randomCode(random, 30, 30, 15, true)}, Tables::Built},
            {"general in distances",
             {randomCode(random, 286, 286, 10, true), randomCode(random, 30, 30, 12, true)},
             Tables::Built},
            {"general in lengths",
             {randomCode(random, 286, 286, 14, true), randomCode(random, 30, 30, 6, true)},
             Tables::Built}};
}

TEST(InflateBlocks, EverySymbolDecodesInEveryKind) {
    Random random(311);
    for (const Kind& kind : everyKind(random)) {
        SCOPED_TRACE(kind.name);
        Bytes expected = history();
        deflate::BitWriter writer;
        deflate::SymbolWriter symbols(writer, kind.codes);
        const auto match = [&](unsigned length, unsigned distance) {
            symbols.match(length, distance);
            for (unsigned i = 0; i < length; ++i) expected.push_back(expected[expected.size() - distance]);
        };
        for (unsigned i = 0; i < 256; ++i) {
            symbols.literal(static_cast<uint8_t>(i));
            expected.push_back(static_cast<uint8_t>(i));
        }
        for (unsigned length = 3; length <= 258; ++length) {
            for (unsigned distance = 1; distance <= 40; ++distance) match(length, distance);
            match(length, 1 + static_cast<unsigned>(random.below(kWindowSize)));
        }
        for (const deflate::CodeRange& range : deflate::kDistanceCodes) {
            match(3, range.first);
            match(258, range.first);
            match(17, range.first + (1U << range.extraBits) - 1);
        }
        match(258, 32768);
        symbols.endOfBlock();
        for (const Guard guard : kGuards) {
            for (const bool window : {false, true}) {
                const Bytes stream = writer.bytes();
                CheckedDecoder decoder(stream, history(), guard);
                ASSERT_TRUE(decoder.beginBlock(kind.codes, kind.tables));
                const Placement placement =
                    window ? Placement{0, kWindowSize, 12345} : Placement{history().size(), 0, 0};
                ASSERT_TRUE(decoder.call(stream.size(), decoder.bytesLeft(), placement));
                ASSERT_TRUE(decoder.blockEnded());
                const Bytes output = decoder.output();
                ASSERT_TRUE(std::equal(expected.begin() + static_cast<std::ptrdiff_t>(history().size()), expected.end(),
                                       output.begin(), output.end()));
            }
        }
    }
}

// No byte of source more than the block has, no byte of destination more than it needs: the end of the block is reached
// in the same call.
TEST(InflateBlocks, ExactSourceAndDestinationGiveTheEndOfTheBlock) {
    Random random(312);
    for (int round = 0; round < 600; ++round) {
        const Block block = makeBlock(random, random.below(3000), random.below(20));
        ASSERT_TRUE(decode(block, kGuards[round % 2], [](CheckedDecoder& decoder, std::size_t n) {
            if (n > 0) return ::testing::AssertionFailure() << "a second call is needed";
            return decoder.decodeWhole();
        }));
    }
}

TEST(InflateBlocks, SourceMayBeCutAtEveryByte) {
    Random random(313);
    unsigned modes = 0;
    for (int round = 0; round < 60; ++round) {
        const Block block = makeBlock(random, 20 + random.below(300), random.below(12));
        for (std::size_t cut = 0; cut <= block.stream.size(); ++cut) {
            const std::size_t room = random.oneIn(2) ? 100000 : SIZE_MAX;
            ASSERT_TRUE(decode(
                block, kGuards[cut % 2],
                [&](CheckedDecoder& decoder, std::size_t n) {
                    return decoder.call(n == 0 ? cut : block.stream.size(), std::min(room, decoder.bytesLeft()),
                                        randomPlacement(random, 40000));
                },
                &modes));
        }
    }
    EXPECT_EQ(modes, kAllModes);
}

TEST(InflateBlocks, DestinationMayBeCutAtEveryByte) {
    Random random(314);
    for (int round = 0; round < 60; ++round) {
        const Block block = makeBlock(random, 20 + random.below(300), random.below(12));
        CheckedDecoder whole(block.stream, history(), Guard::After);
        whole.moveTo(block.begin);
        ASSERT_TRUE(whole.beginBlock(block.codes, block.tables));
        const std::size_t size = whole.bytesLeft();
        for (std::size_t cut = 0; cut <= size; ++cut) {
            ASSERT_TRUE(decode(block, kGuards[cut % 2], [&](CheckedDecoder& decoder, std::size_t n) {
                return decoder.call(block.stream.size(), n == 0 ? cut : decoder.bytesLeft(),
                                    randomPlacement(random, 40000));
            }));
        }
    }
}

TEST(InflateBlocks, OneByteAtATimeGivesTheSameAsOneCall) {
    Random random(315);
    unsigned modes = 0;
    for (int round = 0; round < 80; ++round) {
        const Block block = makeBlock(random, 20 + random.below(800), random.below(12));
        for (const bool slowSource : {true, false}) {
            for (const bool slowDestination : {true, false}) {
                std::size_t given = 0;
                ASSERT_TRUE(decode(
                    block, kGuards[round % 2],
                    [&](CheckedDecoder& decoder, std::size_t) {
                        // More source only when what was given is used up.
                        if (slowSource && decoder.sourceUsedUp()) ++given;
                        return decoder.call(slowSource ? given : block.stream.size(),
                                            slowDestination ? 1 : decoder.bytesLeft(), randomPlacement(random, 40000));
                    },
                    &modes));
            }
        }
    }
    EXPECT_EQ(modes, kAllModes);
}

TEST(InflateBlocks, CallsMayHaveNoWork) {
    Random random(316);
    for (int round = 0; round < 100; ++round) {
        const Block block = makeBlock(random, 20 + random.below(200), random.below(12));
        std::size_t given = 0;
        ASSERT_TRUE(decode(block, kGuards[round % 2], [&](CheckedDecoder& decoder, std::size_t) {
            if (random.oneIn(3)) given += random.below(3);
            return decoder.call(given, random.oneIn(3) ? random.below(4) : 0, randomPlacement(random, 40000));
        }));
    }
}

TEST(InflateBlocks, BothMayBeCutAnywhereWithAnyBitsPendingAndTheHistoryAnywhere) {
    Random random(317);
    unsigned modes = 0;
    for (int round = 0; round < 400; ++round) {
        const Block block = makeBlock(random, random.below(random.oneIn(10) ? 20000 : 3000), random.below(40));
        const uint64_t mostSource = 1 + random.below(uint64_t{1} << random.below(13));
        const uint64_t mostRoom = 1 + random.below(uint64_t{1} << random.below(14));
        std::size_t given = 0;
        ASSERT_TRUE(decode(
            block, kGuards[round % 2],
            [&](CheckedDecoder& decoder, std::size_t) {
                given += random.below(mostSource + 1);
                return decoder.call(given, random.below(mostRoom + 1), randomPlacement(random, 40000),
                                    static_cast<unsigned>(random.below(5)));
            },
            &modes))
            << "round " << round;
    }
    EXPECT_EQ(modes, kAllModes);
}

// The last code may be shorter than what other symbols would need: with just its bits there, it counts.
TEST(InflateBlocks, LastCodeIsReadWithNoBitBehindIt) {
    for (unsigned others = 2; others <= 15; ++others) {
        deflate::Lengths literals(288);
        literals[256] = 1;  // the end of the block
        for (unsigned i = 2; i < others; ++i) literals[i] = static_cast<uint16_t>(i);
        literals[0] = literals[1] = static_cast<uint16_t>(others);
        const BlockCodes codes{literals, {1, 1}};
        // Bits in front of the block make it end with a byte.
        const unsigned offset = (8 - (20 * others + 1) % 8) % 8;
        deflate::BitWriter writer;
        writer.put(0, offset);
        deflate::SymbolWriter symbols(writer, codes);
        for (int i = 0; i < 20; ++i) symbols.literal(static_cast<uint8_t>(i % 2));
        symbols.endOfBlock();
        const Bytes stream = writer.bytes();
        CheckedDecoder decoder(stream, {}, Guard::After);
        decoder.moveTo(offset);
        ASSERT_TRUE(decoder.beginBlock(codes, Tables::Built));
        ASSERT_TRUE(decoder.decodeWhole());
        EXPECT_TRUE(decoder.blockEnded());
        EXPECT_EQ(decoder.position(), 8 * stream.size());
    }
}

// A call that begins with a fresh symbol does not look at what the state holds of an earlier block.
TEST(InflateBlocks, ASuspendedBlockMayBeAbandoned) {
    Random random(318);
    for (int round = 0; round < 200; ++round) {
        const Block first = makeBlock(random, 500, 0);
        const Block second = makeBlock(random, 500, 5);
        Bytes stream = first.stream;
        stream.insert(stream.end(), second.stream.begin(), second.stream.end());
        CheckedDecoder decoder(stream, history(), Guard::After);
        decoder.moveTo(first.begin);
        ASSERT_TRUE(decoder.beginBlock(first.codes, first.tables));
        ASSERT_TRUE(decoder.call(random.below(first.stream.size()), random.below(500), {40000, 0, 0}));
        decoder.moveTo(8 * first.stream.size() + second.begin);
        ASSERT_TRUE(decoder.beginBlock(second.codes, second.tables));
        ASSERT_TRUE(decoder.decodeWhole());
        EXPECT_TRUE(decoder.blockEnded());
    }
}

}  // namespace
}  // namespace ozrdc::test::inflate
