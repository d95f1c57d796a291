// Invalid streams are refused where they become invalid; and whatever stream and state hold, nothing outside the
// buffers is read or written, and every call returns.
#include <gtest/gtest.h>

#include <cstring>

#include "inflate/checked_decoder.h"
#include "inflate/random_blocks.h"

namespace ozrdc::test::inflate {
namespace {

using deflate::Lengths;

// Some valid literals, then `bits`: invalid, whichever loop meets it. Decoded in one call and byte by byte.
::testing::AssertionResult isRefused(const BlockCodes& codes, Tables tables, uint64_t bits, unsigned count) {
    unsigned literal = 0;
    while (codes.literals[literal] == 0) ++literal;
    for (const unsigned literals : {0U, 1U, 50U}) {
        for (const unsigned behind : {0U, 100U}) {
            deflate::BitWriter writer;
            deflate::SymbolWriter symbols(writer, codes);
            for (unsigned i = 0; i < literals; ++i) symbols.literal(static_cast<uint8_t>(literal));
            writer.put(bits, count);
            for (unsigned i = 0; i < behind; ++i) writer.put(~uint64_t{0}, 8);
            writer.alignToByte();
            const Bytes stream = writer.bytes();
            for (const std::size_t step : {stream.size(), std::size_t{1}}) {
                CheckedDecoder decoder(stream, Bytes(1000, 'h'), Guard::After);
                if (auto result = decoder.beginBlock(codes, tables); !result) return result;
                for (std::size_t given = step; given <= stream.size() && !decoder.failed(); given += step) {
                    if (auto result = decoder.call(given, 1000, {0, 1000, 0}); !result) return result;
                }
                if (!decoder.failed() && behind > 0) return ::testing::AssertionFailure() << "not refused";
                if (decoder.output() != Bytes(literals, static_cast<uint8_t>(literal))) {
                    return ::testing::AssertionFailure() << "other output";
                }
            }
        }
    }
    return ::testing::AssertionSuccess();
}

// The bits of a code, as they are sent.
unsigned reversed(unsigned code, unsigned length) {
    unsigned result = 0;
    for (unsigned i = 0; i < length; ++i) result |= (code >> i & 1) << (length - 1 - i);
    return result;
}

TEST(InflateHostileBlocks, SymbolsWithoutMeaningAreRefusedInTheFixedCode) {
    const BlockCodes fixed = deflate::fixedCodes();
    EXPECT_TRUE(isRefused(fixed, Tables::Fixed, reversed(0b11000110, 8), 8));  // 286
    EXPECT_TRUE(isRefused(fixed, Tables::Fixed, reversed(0b11000111, 8), 8));  // 287
}

TEST(InflateHostileBlocks, DistancesWithoutMeaningAreRefusedInTheFixedCodeAndItsCopy) {
    const BlockCodes fixed = deflate::fixedCodes();
    for (const Tables tables : {Tables::Fixed, Tables::Built}) {
        for (const unsigned distance : {30U, 31U}) {
            const unsigned length3 = reversed(0b0000001, 7);
            EXPECT_TRUE(isRefused(fixed, tables, length3 | reversed(distance, 5) << 7, 12)) << distance;
        }
    }
}

// Symbols 286 and 287 read as the literal 0 in short tables, and as invalid in general ones.
TEST(InflateHostileBlocks, SymbolsWithoutMeaningInBuiltTables) {
    const BlockCodes fixed = deflate::fixedCodes();
    for (const unsigned code : {0b11000110U, 0b11000111U}) {
        deflate::BitWriter writer;
        writer.put(reversed(code, 8), 8);
        deflate::SymbolWriter(writer, fixed).endOfBlock();
        for (const std::size_t room : {1U, 1000U}) {
            const Bytes stream = writer.bytes();
            CheckedDecoder decoder(stream, {}, Guard::After);
            ASSERT_TRUE(decoder.beginBlock(fixed, Tables::Built));
            ASSERT_TRUE(decoder.call(stream.size(), room, {}));
            EXPECT_TRUE(decoder.blockEnded());
            EXPECT_EQ(decoder.output(), Bytes(1, 0));
        }
    }
    Random random(340);
    for (int round = 0; round < 50; ++round) {
        BlockCodes codes{randomCode(random, 288, 288, 15, true), {1, 1}};
        while (expectedKind(codes) != 1) codes.literals = randomCode(random, 288, 288, 15, true);
        const auto all = deflate::canonicalCodes(codes.literals);
        for (const unsigned symbol : {286U, 287U}) {
            EXPECT_TRUE(isRefused(codes, Tables::Built, all[symbol].bits, all[symbol].length));
        }
    }
}

TEST(InflateHostileBlocks, TheMissingHalfOfAOneBitCodeIsRefused) {
    Lengths endOfBlock(257);
    endOfBlock[256] = 1;
    deflate::BitWriter writer;
    writer.put(~uint64_t{0}, 64);
    for (const Bytes& stream : {writer.bytes(), Bytes(1, 0xFF)}) {
        CheckedDecoder decoder(stream, {}, Guard::After);
        ASSERT_TRUE(decoder.beginBlock({endOfBlock, {}}, Tables::Built));
        ASSERT_TRUE(decoder.call(stream.size(), 10, {}));
        EXPECT_TRUE(decoder.failed());
    }
    // The missing distance, in short tables and in general ones.
    Lengths shortLiterals(286, 0);
    for (const unsigned symbol : {0U, 1U, 256U, 257U}) shortLiterals[symbol] = 2;
    Lengths deepLiterals(286, 0);
    for (unsigned i = 1; i < 12; ++i) deepLiterals[i] = static_cast<uint16_t>(i);
    for (const unsigned symbol : {256U, 257U}) deepLiterals[symbol] = 12;
    for (const Lengths& literals : {shortLiterals, deepLiterals}) {
        for (const Lengths& distances : {Lengths{1}, Lengths{0, 0, 1}}) {
            const deflate::Code length = deflate::canonicalCodes(literals)[257];
            EXPECT_TRUE(
                isRefused({literals, distances}, Tables::Built, length.bits | 1U << length.length, length.length + 1U));
        }
    }
}

TEST(InflateHostileBlocks, LengthWithoutADistanceCodeIsRefused) {
    Random random(341);
    static constexpr unsigned always[] = {0, 256, 257, 285};
    for (const unsigned most : {11U, 15U}) {
        for (const Lengths& distances : {Lengths{}, Lengths(30)}) {
            const BlockCodes codes{randomCode(random, 286, 60, most, true, always), distances};
            const auto all = deflate::canonicalCodes(codes.literals);
            for (const unsigned symbol : {257U, 285U}) {
                EXPECT_TRUE(isRefused(codes, Tables::Built, all[symbol].bits, all[symbol].length));
            }
        }
    }
}

// Stale entries: tables of an earlier block must not shine through.
TEST(InflateHostileBlocks, UnusedSlotsDoNotKeepAnEarlierBlocksEntries) {
    Random random(342);
    for (int round = 0; round < 300; ++round) {
        Lengths literals(286, 0);
        for (const unsigned symbol : {0U, 1U, 256U, 257U}) literals[symbol] = 2;
        Lengths one(30);
        one[random.below(30)] = 1;
        const BlockCodes codes{literals, random.oneIn(2) ? one : Lengths{}};
        const deflate::Code length = deflate::canonicalCodes(literals)[257];
        deflate::BitWriter writer;
        writer.put(length.bits | 1U << length.length, length.length + 1U);
        writer.put(random.next(), 64);
        const Bytes stream = writer.bytes();
        CheckedDecoder decoder(stream, Bytes(32768), Guard::After);
        ASSERT_TRUE(decoder.beginBlock(randomCodes(random), Tables::Built));
        ASSERT_TRUE(decoder.beginBlock(codes, Tables::Built));
        ASSERT_TRUE(decoder.call(stream.size(), 1000, {0, 32768, 0}));
        EXPECT_TRUE(decoder.failed());
    }
}

// Random bits with random codes, cut at random: most of it is invalid sooner or later, and everything goes as
// predicted.
TEST(InflateHostileBlocks, RandomBitsGoAsPredicted) {
    Random random(343);
    unsigned modes = 0;
    Bytes history(33000);
    random.fill(history);
    for (int round = 0; round < 4000; ++round) {
        Bytes stream(1 + random.below(400));
        random.fill(stream);
        const BlockCodes codes = randomCodes(random);
        const bool fixed = random.oneIn(6);
        CheckedDecoder decoder(stream, history, random.oneIn(2) ? Guard::Before : Guard::After);
        decoder.moveTo(random.below(8));
        ASSERT_TRUE(decoder.beginBlock(fixed ? deflate::fixedCodes() : codes, fixed ? Tables::Fixed : Tables::Built));
        const uint64_t mostSource = 1 + random.below(uint64_t{1} << random.below(10));
        const uint64_t mostRoom = 1 + random.below(uint64_t{1} << random.below(14));
        const std::size_t reach = random.oneIn(2) ? 32768 : 1 + random.below(32768);
        std::size_t given = 0;
        while (!decoder.blockEnded() && !decoder.failed()) {
            const bool finished = given >= stream.size();
            given += random.below(mostSource + 1);
            ASSERT_TRUE(decoder.call(given, finished ? 100000 : random.below(mostRoom + 1),
                                     randomPlacement(random, reach, reach), static_cast<unsigned>(random.below(4))))
                << "round " << round;
            if (finished) break;
        }
        modes |= decoder.modesMet();
    }
    EXPECT_EQ(modes, 15U);
}

// Calls with random bits in buffers of random sizes, in a state that prepare(state) makes, with garbage in its decoder
// words. Statuses are free.
template <typename Prepare>
void requireSafety(Random& random, int rounds, Prepare prepare) {
    GuardedArena source(Guard::After);
    GuardedArena target(Guard::After);
    GuardedArena window(Guard::After);
    GuardedBuffer memory(sizeof(InflateState), Guard::After);
    InflateState& state = *reinterpret_cast<InflateState*>(memory.data());
    for (int round = 0; round < rounds; ++round) {
        const auto sourceRoom = static_cast<uint32_t>(random.below(random.oneIn(4) ? 3000 : 40));
        const auto room = static_cast<uint32_t>(random.below(random.oneIn(4) ? 4000 : 300));
        const auto inDestination = static_cast<uint32_t>(random.oneIn(2) ? 0 : random.below(100));
        const auto windowSize = static_cast<uint32_t>(random.oneIn(3) ? 0 : random.below(500));
        const std::span<uint8_t> sourceBytes = source.take(sourceRoom);
        const std::span<uint8_t> targetBytes = target.take(inDestination + room);
        const std::span<uint8_t> windowBytes = window.take(windowSize);
        random.fill(sourceBytes);
        random.fill(memory.span());
        prepare(state);
        state.pWindow = windowSize > 0 ? windowBytes.data() : nullptr;
        state.winSize = windowSize;
        for (uint32_t& word : state.decoder) word >>= random.below(32);

        const uint8_t* in = sourceBytes.data();
        auto left = sourceRoom;
        uint8_t* out = targetBytes.data() + inDestination;
        auto roomLeft = room;
        auto code = static_cast<uint32_t>(random.next());
        auto codeLength = static_cast<uint32_t>(random.below(33));
        uint32_t mode = random.oneIn(3) ? 0 : 2;
        for (int calls = 0; calls < 3; ++calls) {
            ozrsInflate_8u(&in, &left, &code, &codeLength, static_cast<uint32_t>(random.below(windowSize + 1)), &out,
                           &roomLeft, inDestination + (room - roomLeft), &mode, &state);
            ASSERT_LE(left, sourceRoom);
            ASSERT_LE(roomLeft, room);
            ASSERT_EQ(in, sourceBytes.data() + (sourceRoom - left));
            ASSERT_EQ(out, targetBytes.data() + inDestination + (room - roomLeft));
        }
    }
}

TEST(InflateHostileBlocks, AnySuspendedStepIsSafe) {
    Random random(344);
    requireSafety(random, 20000, [&](InflateState& state) {
        const BlockCodes codes = randomCodes(random);
        ASSERT_EQ(ozrsInflateBuildHuffTable(codes.joined().data(), static_cast<uint32_t>(codes.literals.size()),
                                            static_cast<uint32_t>(codes.distances.size()), &state),
                  StatusOk);
        if (random.oneIn(8)) state.tableKind = 0;
    });
}

// Not even tables that were never built lead outside the buffers.
TEST(InflateHostileBlocks, AnyTablesAreSafe) {
    Random random(345);
    requireSafety(random, 40000, [&](InflateState& state) {
        if (random.oneIn(2)) {  // built ones, with some bytes that are not as they were
            const BlockCodes codes = randomCodes(random);
            ozrsInflateBuildHuffTable(codes.joined().data(), static_cast<uint32_t>(codes.literals.size()),
                                      static_cast<uint32_t>(codes.distances.size()), &state);
            for (uint64_t n = 1 + random.below(200); n > 0; --n) {
                state.tables[random.below(sizeof state.tables)] = random.byte();
            }
            if (random.oneIn(4)) state.tableKind = static_cast<uint32_t>(random.below(4));
            return;
        }
        state.tableKind = static_cast<uint32_t>(random.below(4));
        if (random.oneIn(2)) state.maxLitLen %= 20;
        if (random.oneIn(2)) state.maxDistLen %= 20;
        if (random.oneIn(2)) std::memset(state.tables, static_cast<int>(random.below(256)), sizeof state.tables);
    });
}

}  // namespace
}  // namespace ozrdc::test::inflate
