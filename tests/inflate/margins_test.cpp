// The ends of source and destination, approached with the symbols that take the most bits and the most bytes: a loop
// that looks at neither for a while must have stopped in time.
#include <gtest/gtest.h>

#include "inflate/checked_decoder.h"
#include "inflate/random_blocks.h"

namespace ozrdc::test::inflate {
namespace {

const Bytes& history() {
    static const Bytes bytes = [] {
        Bytes b(32768);
        Random(350).fill(b);
        return b;
    }();
    return bytes;
}

// Codes of 1, 2, 3 ... bits for symbols without interest, and four of the longest for the symbols in question.
deflate::Lengths deepCode(std::size_t symbols, unsigned longest, std::span<const unsigned> deep) {
    deflate::Lengths lengths(symbols);
    for (const unsigned symbol : deep) lengths[symbol] = static_cast<uint16_t>(longest);
    unsigned length = 1;
    for (std::size_t symbol = 0; length <= longest - 2; ++symbol) {
        if (lengths[symbol] == 0) lengths[symbol] = static_cast<uint16_t>(length++);
    }
    return lengths;
}

BlockCodes deepCodes(unsigned longestLiteral, unsigned longestDistance) {
    static constexpr unsigned literals[] = {'a', 'b', 256, 284};  // and a length with five extra bits
    static constexpr unsigned distances[] = {26, 27, 28, 29};     // with 12 and 13 extra bits
    return {deepCode(286, longestLiteral, literals), deepCode(30, longestDistance, distances)};
}

struct Depth {
    unsigned literal, distance;
};
constexpr Depth kDepths[] = {{15, 15}, {11, 10}, {11, 15}, {15, 10}};

TEST(InflateMargins, SourceMayEndAnywhereAmongTheLongestSymbols) {
    for (const Depth& depth : kDepths) {
        const BlockCodes codes = deepCodes(depth.literal, depth.distance);
        ASSERT_EQ(verdict(codes).status, StatusOk);
        for (unsigned literals = 0; literals <= 5; ++literals) {
            for (unsigned offset = 0; offset < 8; ++offset) {
                deflate::BitWriter writer;
                writer.put(0, offset);
                deflate::SymbolWriter symbols(writer, codes);
                for (int i = 0; i < 12; ++i) {
                    for (unsigned n = 0; n < literals; ++n) symbols.literal(n % 2 == 0 ? 'a' : 'b');
                    symbols.match(257, 32768 - 7 * static_cast<unsigned>(i));
                }
                symbols.endOfBlock();
                const Bytes stream = writer.bytes();
                for (std::size_t cut = 0; cut <= stream.size(); ++cut) {
                    CheckedDecoder decoder(stream, history(), cut % 4 == 0 ? Guard::Before : Guard::After);
                    decoder.moveTo(offset);
                    ASSERT_TRUE(decoder.beginBlock(codes, Tables::Built));
                    ASSERT_TRUE(decoder.call(cut, 10000, {32768, 0, 0}));
                    if (!decoder.blockEnded()) {
                        ASSERT_TRUE(decoder.call(stream.size(), 10000, {32768, 0, 0}));
                    }
                    ASSERT_TRUE(decoder.blockEnded());
                }
            }
        }
    }
}

// With little source behind the block, and with much of it, which may be worth other tables.
TEST(InflateMargins, DestinationMayEndAnywhereBehindTheLongestMatches) {
    Random random(351);
    for (const std::size_t behind : {30U, 20000U}) {
        for (const bool general : {true, false}) {
            const unsigned most = general ? 15 : 10;
            BlockCodes codes{randomCode(random, 286, 286, most, true), randomCode(random, 30, 30, most, true)};
            while (expectedKind(codes) != (general ? 1U : 2U))
                codes.literals = randomCode(random, 286, 286, most, true);
            for (const unsigned distance : {1U, 2U, 3U, 5U, 7U, 8U, 9U, 15U, 16U, 17U, 31U, 33U, 300U, 32768U}) {
                for (unsigned length = 246; length <= 258; ++length) {
                    for (unsigned literals = 0; literals <= 4; ++literals) {
                        deflate::BitWriter writer;
                        deflate::SymbolWriter symbols(writer, codes);
                        for (int i = 0; i < 4; ++i) symbols.match(258, 1000);
                        for (unsigned n = 0; n < literals; ++n) symbols.literal('a');
                        symbols.match(length, distance);
                        symbols.endOfBlock();
                        Bytes stream = writer.bytes();
                        stream.resize(stream.size() + behind, 0xA5);
                        const std::size_t spare = random.below(48);
                        CheckedDecoder decoder(stream, history(), Guard::After);
                        ASSERT_TRUE(decoder.beginBlock(codes, Tables::Built));
                        const std::size_t room = decoder.bytesLeft() + spare;
                        const Placement placement =
                            random.oneIn(2) ? Placement{32768, 0, 0} : Placement{0, 32768, random.below(32769)};
                        ASSERT_TRUE(decoder.call(stream.size(), room, placement));
                        ASSERT_TRUE(decoder.blockEnded());
                    }
                }
            }
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::inflate
