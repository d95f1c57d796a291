// Matches into the circular window: over its end, up to its edges, on into the destination, and beyond all history.
#include <gtest/gtest.h>

#include "inflate/checked_decoder.h"
#include "inflate/random_blocks.h"

namespace ozrdc::test::inflate {
namespace {

// A fixed block of `literals` literals and one match.
Bytes oneMatch(unsigned literals, unsigned length, unsigned distance, unsigned behind = 20) {
    deflate::BitWriter writer;
    deflate::SymbolWriter symbols(writer, deflate::fixedCodes());
    for (unsigned i = 0; i < literals; ++i) symbols.literal(static_cast<uint8_t>('a' + i % 26));
    symbols.match(length, distance);
    symbols.endOfBlock();
    for (unsigned i = 0; i < behind; ++i) writer.put(0xAA, 8);
    return writer.bytes();
}

Bytes randomBytes(std::size_t size) {
    Bytes bytes(size);
    Random(330).fill(bytes);
    return bytes;
}

struct Case {
    unsigned literals, length, distance;
    Placement placement;
    std::size_t spareRoom;
    bool valid;
};

::testing::AssertionResult check(const Case& c, Tables tables) {
    const Bytes stream = oneMatch(c.literals, c.length, c.distance);
    const Bytes history = randomBytes(c.placement.inDestination + c.placement.windowSize);
    for (const Guard guard : {Guard::After, Guard::Before}) {
        CheckedDecoder decoder(stream, history, guard);
        if (auto result = decoder.beginBlock(deflate::fixedCodes(), tables); !result) return result;
        auto result = decoder.call(stream.size(), c.literals + c.length + c.spareRoom, c.placement);
        if (result && decoder.failed() == c.valid) result = ::testing::AssertionFailure() << "valid or not?";
        if (result && c.valid && !decoder.blockEnded()) result = ::testing::AssertionFailure() << "no end";
        if (!result) {
            return result << "\n  " << c.literals << " literals, length " << c.length << ", distance " << c.distance;
        }
    }
    return ::testing::AssertionSuccess();
}

// The destination is given with room for the fast loop, or with none to spare.
constexpr std::size_t kSpareRooms[] = {0, 1000};
constexpr Tables kTables[] = {Tables::Fixed, Tables::Built};

TEST(InflateWindow, MatchesReachEveryPlaceOfASmallWindowAtEveryIndex) {
    for (const Tables tables : kTables) {
        for (const std::size_t spare : kSpareRooms) {
            for (const std::size_t size : {1U, 2U, 7U, 19U}) {
                for (std::size_t index = 0; index <= size; ++index) {
                    for (unsigned distance = 1; distance <= size + 4; ++distance) {
                        for (const unsigned length : {3U, 8U, 17U, 40U, 258U}) {
                            for (const unsigned literals : {0U, 2U}) {
                                ASSERT_TRUE(check(
                                    {literals, length, distance, {0, size, index}, spare, distance <= size + literals},
                                    tables))
                                    << "window of " << size << " at " << index;
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST(InflateWindow, MatchesReachTheEdgesOfALargeWindow) {
    for (const Tables tables : kTables) {
        for (const std::size_t spare : kSpareRooms) {
            for (const std::size_t size : {256U, 1000U, 32768U}) {
                for (const std::size_t index : {std::size_t{0}, std::size_t{1}, std::size_t{200}, size - 1, size}) {
                    for (const unsigned length : {3U, 15U, 16U, 31U, 258U}) {
                        std::vector<std::size_t> distances{1, 2, size - 1, size, size + 1, size + 5};
                        for (const std::size_t edge :
                             {index, size}) {  // around the beginning and the end of the window
                            for (std::size_t d = edge > 3 ? edge - 3 : 1; d < edge + 4; ++d) distances.push_back(d);
                            if (edge > length) distances.push_back(edge - length);
                            distances.push_back(edge + length);
                        }
                        for (const std::size_t distance : distances) {
                            if (distance == 0 || distance > 32768) continue;
                            const std::size_t inDestination = length % 2 == 0 ? 0 : 5;
                            ASSERT_TRUE(check({3,
                                               length,
                                               static_cast<unsigned>(distance),
                                               {inDestination, size, index},
                                               spare,
                                               distance <= size + inDestination + 3},
                                              tables))
                                << "window of " << size << " at " << index;
                        }
                    }
                }
            }
        }
    }
}

TEST(InflateWindow, WithoutOneHistoryEndsWhereTheDestinationDoes) {
    for (const Tables tables : kTables) {
        for (const std::size_t spare : kSpareRooms) {
            for (const std::size_t inDestination : {0U, 1U, 10U, 300U}) {
                for (const unsigned literals : {0U, 1U, 20U}) {
                    const auto all = static_cast<unsigned>(inDestination + literals);
                    for (unsigned distance = all > 2 ? all - 2 : 1; distance <= all + 3; ++distance) {
                        ASSERT_TRUE(
                            check({literals, 258, distance, {inDestination, 0, 0}, spare, distance <= all}, tables));
                    }
                    ASSERT_TRUE(check({literals, 3, 32768, {inDestination, 0, 0}, spare, false}, tables));
                }
            }
        }
    }
}

// A null window does not turn its size into history.
TEST(InflateWindow, SizeWithoutAWindowIsNoHistory) {
    const Bytes stream = oneMatch(1, 10, 2);
    InflateState state{};
    state.winSize = 32768;
    for (const uint32_t index : {0U, 100U, 32768U}) {
        Bytes target(100);
        const uint8_t* source = stream.data();
        auto sourceSize = static_cast<uint32_t>(stream.size());
        uint8_t* output = target.data();
        uint32_t room = 100;
        uint32_t code = 0;
        uint32_t codeLength = 0;
        uint32_t mode = 0;
        EXPECT_EQ(ozrsInflate_8u(&source, &sourceSize, &code, &codeLength, index, &output, &room, 0, &mode, &state),
                  StatusBadCodeTable);
        EXPECT_EQ(room, 99U);
        EXPECT_EQ(target[0], 'a');
    }
}

// Small windows are used up when a match has been interrupted: what was in reach at its beginning need not be any more.
TEST(InflateWindow, BlocksDecodeInPiecesBehindSmallWindows) {
    Random random(331);
    int failures = 0;
    for (int round = 0; round < 2000; ++round) {
        const std::size_t windowSize = 1 + random.below(600);
        const std::size_t inDestination = random.oneIn(2) ? 0 : random.below(300);
        const BlockCodes codes = random.oneIn(4) ? deflate::fixedCodes() : randomCodes(random);
        deflate::BitWriter writer;
        writeRandomSymbols(writer, codes, random, 1500, windowSize + inDestination);
        deflate::SymbolWriter(writer, codes).endOfBlock();
        const Bytes stream = writer.bytes();
        CheckedDecoder decoder(stream, randomBytes(1000), random.oneIn(2) ? Guard::Before : Guard::After);
        ASSERT_TRUE(decoder.beginBlock(codes, Tables::Built));
        const uint64_t most = 1 + random.below(uint64_t{1} << random.below(12));
        std::size_t given = 0;
        while (!decoder.blockEnded() && !decoder.failed()) {
            given += random.below(most + 1);
            ASSERT_TRUE(decoder.call(given, random.below(most + 1),
                                     {inDestination, windowSize, random.below(windowSize + 1)},
                                     static_cast<unsigned>(random.below(4))));
        }
        failures += decoder.failed() ? 1 : 0;
    }
    EXPECT_GT(failures, 100);
    EXPECT_LT(failures, 1900);
}

}  // namespace
}  // namespace ozrdc::test::inflate
