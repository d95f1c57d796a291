// The match search finds, record for record, what the reference finds, whatever the sizes, the cuts and the tables.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>

#include "deflate/parser_check.h"
#include "support/sample_data.h"

namespace ozrdc::test::deflate {
namespace {

constexpr std::size_t kMost = 1 << 20;

// All levels that differ, without the slowest of each kind: the reference walks chains byte by byte.
constexpr int32_t kLevels[] = {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12, 13, 14, 15, 16, 20, 21, 22, 24, 25, 27, 28, 29};

TEST(DeflateParser, RecordsAreThePredictedOnesAtEveryLevel) {
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes sample = kind.make(40000, 401);
        for (int32_t level = 0; level < 30; ++level) {
            SCOPED_TRACE(std::string(kind.name) + ", level " + std::to_string(level));
            ParserCheck parser(32768, 65536);
            ASSERT_TRUE(parser.parses(sample, Search::atLevel(level), 2, kMost));
            ASSERT_EQ(parser.consumedInAll(), sample.size());
        }
    }
}

TEST(DeflateParser, RecordsAreThePredictedOnesOfRealFiles) {
    const std::vector<CorpusFile> files = corpusFiles(60000);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    for (const CorpusFile& file : files) {
        for (const int32_t level : {0, 1, 4, 6, 9, 11, 14, 15, 19}) {
            SCOPED_TRACE(file.name + ", level " + std::to_string(level));
            ParserCheck parser(32768, 32768);
            ASSERT_TRUE(parser.parses(file.bytes, Search::atLevel(level), 2, kMost));
        }
    }
}

TEST(DeflateParser, ShortSourcesOfEveryLengthAreParsed) {
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes sample = kind.make(530, 402);
        for (const int32_t level : {0, 1, 4, 5, 9, 14}) {
            SCOPED_TRACE(std::string(kind.name) + ", level " + std::to_string(level));
            for (std::size_t size = 0; size <= sample.size(); size += size < 20 || size > 240 ? 1 : 13) {
                for (const int32_t flush : {2, 0}) {
                    const Guard guard = size % 2 == 0 ? Guard::After : Guard::Before;
                    ParserCheck parser(512, 1024, guard);
                    ASSERT_TRUE(parser.parses(ByteView(sample).first(size), Search::atLevel(level), flush, kMost));
                }
            }
        }
    }
}

// Without a final flush 260 bytes are left to the next call, or 261 by the searches along chains; these parse one
// position of exactly 261 bytes. In front of them stands history that matches all of them.
TEST(DeflateParser, EndOfTheSourceIsLeftToTheNextCall) {
    const Bytes zeros(2000, 0);
    const Bytes text = sampleKind("text").make(2000, 403);
    for (const Bytes* sample : {&zeros, &text}) {
        for (const int32_t level : {0, 1, 4, 11, 5, 6, 9, 19}) {
            for (std::size_t size = 255; size <= 266; ++size) {
                for (const int32_t flush : {-1, 0, 1, 2, 3}) {
                    SCOPED_TRACE("level " + std::to_string(level) + ", " + std::to_string(size) + " bytes, flush " +
                                 std::to_string(flush));
                    ParserCheck parser(32768, 65536);
                    ASSERT_TRUE(parser.parses(*sample, Search::atLevel(level), 2, kMost));
                    ASSERT_TRUE(parser.parses(ByteView(*sample).first(size), Search::atLevel(level), flush, kMost));
                    if (flush >= 2) {
                        EXPECT_EQ(parser.consumed(), std::ssize(*sample) - 2000 + static_cast<int64_t>(size));
                    } else if (size < 261) {
                        EXPECT_EQ(parser.consumed(), 0);
                    } else {
                        EXPECT_GT(parser.consumed(), 0);
                    }
                    if (flush < 2 && size == 261 && level != 0) {
                        EXPECT_EQ(parser.records().size(), 1U);
                        EXPECT_LE(parser.consumed(), 257);
                        if (sample == &zeros) {
                            EXPECT_EQ(parser.consumed(), 257);
                        }
                    }
                    if (flush < 2 && size == 261 && level == 0 && sample == &zeros) {
                        EXPECT_EQ(parser.consumed(), 258);
                    }
                }
            }
        }
    }
}

TEST(DeflateParser, RunOfOneByteIsOneLiteralAndMatches) {
    const Bytes run(5000, 'x');
    for (int32_t level = 0; level < 30; ++level) {
        SCOPED_TRACE(level);
        ParserCheck parser(32768, 65536);
        ASSERT_TRUE(parser.parses(run, Search::atLevel(level), 2, kMost));
        const std::vector<Record>& records = parser.records();
        ASSERT_GE(records.size(), 2U);
        EXPECT_EQ(records[0], (Record{'x', 1, 0}));
        EXPECT_EQ(records[1], (Record{0, 258, 1}));
    }
}

TEST(DeflateParser, NothingIsDoneWithoutSourceOrRoom) {
    const Bytes sample = sampleKind("text").make(1000, 404);
    Random random(405);
    for (const int32_t level : {0, 1, 5, 9}) {
        for (const int32_t flush : {0, 2}) {
            ParserCheck parser(256, 256);
            // Even where the indexes would be lowered.
            parser.startAt(2147483647 - 300, sample);
            for (int32_t& entry : parser.tables().head) entry = static_cast<int32_t>(random.next());
            EXPECT_TRUE(parser.parses({}, Search::atLevel(level), flush, 100));
            for (const int64_t room : {int64_t{0}, int64_t{-1}, int64_t{-2147483647} - 1}) {
                EXPECT_TRUE(parser.parses(sample, Search::atLevel(level), flush, room));
                EXPECT_EQ(parser.consumed(), 0);
            }
        }
    }
}

TEST(DeflateParser, RecordBuffersMayBeOfAnySize) {
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes sample = kind.make(1500, 406);
        for (const int32_t level : {0, 1, 4, 5, 6, 9, 13}) {
            SCOPED_TRACE(std::string(kind.name) + ", level " + std::to_string(level));
            for (const int64_t room : {1, 2, 3, 4, 5, 7, 20, 100}) {
                for (const int32_t flush : {2, 0}) {
                    ParserCheck parser(1024, 4096, room % 2 == 0 ? Guard::After : Guard::Before);
                    for (ByteView left = sample; !left.empty();) {
                        ASSERT_TRUE(parser.parses(left, Search::atLevel(level), flush, room)) << room;
                        if (parser.consumed() == 0) break;
                        left = left.subspan(static_cast<std::size_t>(parser.consumed()));
                    }
                    ASSERT_GE(parser.consumedInAll() + (flush >= 2 ? 0 : 261), sample.size());
                }
            }
        }
    }
}

// Gives the stream in pieces of random sizes; what a call leaves comes again with new bytes behind it.
::testing::AssertionResult parsesInPieces(ParserCheck& parser, Random& random, ByteView stream, const Search& search,
                                          uint64_t mostBytes, uint64_t mostRecords) {
    std::size_t given = 0;
    for (std::size_t consumed = 0; consumed < stream.size();) {
        given = std::min(stream.size(), std::max(given, consumed) + random.below(mostBytes + 1));
        const bool last = given == stream.size();
        const auto place = random.oneIn(2) ? HistoryPlace::InFront : HistoryPlace::Apart;
        auto result = parser.parses(stream.first(given).subspan(consumed), search, last || random.oneIn(5) ? 2 : 0,
                                    static_cast<int64_t>(1 + random.below(mostRecords)), place);
        if (!result) return result << "\n  at byte " << consumed;
        consumed += static_cast<std::size_t>(parser.consumed());
    }
    return ::testing::AssertionSuccess();
}

TEST(DeflateParser, StreamsMayBeCutAnywhereWithWindowsAndTablesOfAnySize) {
    Random random(407);
    for (int round = 0; round < 700; ++round) {
        const auto kinds = sampleKinds();
        const SampleKind& kind = kinds[random.below(kinds.size())];
        const Bytes sample = kind.make(1 + random.below(random.oneIn(8) ? 20000 : 3000), 408 + random.below(100));
        // Powers of two, their neighbors, and anything between.
        const auto size = [&](unsigned most) {
            const std::size_t power = std::size_t{256} << random.below(most);
            switch (random.below(3)) {
                case 0:
                    return power;
                case 1:
                    return std::max<std::size_t>(256, power - 1 + random.below(2));
                default:
                    return 256 + random.below((std::size_t{256} << (most - 1)) - 255);
            }
        };
        const int32_t level = kLevels[random.below(std::size(kLevels))];
        ParserCheck parser(size(8), size(9), random.oneIn(2) ? Guard::After : Guard::Before);
        ASSERT_TRUE(parsesInPieces(parser, random, sample, Search::atLevel(level), 1 + random.below(2000),
                                   1 + random.below(uint64_t{1} << random.below(12))))
            << kind.name << ", round " << round;
    }
}

TEST(DeflateParser, ParametersMayBeOfAnySort) {
    Random random(409);
    for (int round = 0; round < 500; ++round) {
        const auto kinds = sampleKinds();
        const SampleKind& kind = kinds[random.below(kinds.size())];
        const Bytes sample = kind.make(1 + random.below(4000), 410 + random.below(100));
        const auto length = [&] { return static_cast<int32_t>(4 + random.below(random.oneIn(2) ? 20 : 300)); };
        const auto chain = static_cast<int32_t>(1 + random.below(uint64_t{1} << random.below(12)));
        const Effort effort{chain, length(), length(), length()};
        const Search search = random.oneIn(2) ? Search::fast(effort) : Search::slow(effort);
        ParserCheck parser(std::size_t{256} << random.below(8), std::size_t{256} << random.below(9));
        ASSERT_TRUE(parsesInPieces(parser, random, sample, search, 1 + random.below(3000), 1 + random.below(5000)))
            << kind.name << ", round " << round;
    }
    const Bytes sample = sampleKind("mixed").make(5000, 411);
    for (const int32_t most : {2147483647, 100000}) {
        ParserCheck fast(1024, 1024);
        EXPECT_TRUE(fast.parses(sample, Search::fast({most, most, most, most}), 2, kMost));
        ParserCheck slow(1024, 1024);
        EXPECT_TRUE(slow.parses(sample, Search::slow({most, most, most, most}), 2, kMost));
    }
    // With the single probe the other parameters do not matter.
    for (const int32_t other : {-5, 0, 3, 100}) {
        ParserCheck parser(1024, 1024);
        EXPECT_TRUE(parser.parses(sample, Search::fast({0, other, other, other}), 2, kMost));
    }
}

// With few hash values, four bytes come to stand on the chain of others that begin with the same three: the fast search
// takes such a match of three bytes, the slow one does not.
TEST(DeflateParser, MatchesOfThreeBytesComeFromTheFastSearchAlone) {
    const Bytes sample = sampleKind("low entropy").make(30000, 412);
    const auto shortMatches = [&](const Search& search) {
        ParserCheck parser(32768, 257);  // of whose hashes one bit is left
        EXPECT_TRUE(parser.parses(sample, search, 2, kMost));
        return std::count_if(parser.records().begin(), parser.records().end(),
                             [](const Record& r) { return r.distance != 0 && r.length == 3; });
    };
    EXPECT_GT(shortMatches(Search::fast({64, 258, 258, 258})), 0);
    EXPECT_EQ(shortMatches(Search::slow({64, 258, 258, 258})), 0);
}

// Far behind its window a search may rely on what it entered itself. What came with the call, heads that lie in the
// history and chains that lead anywhere, it must not take for that.
TEST(DeflateParser, ChainsFromElsewhereDoNoHarmFarBehindTheWindow) {
    Random random(422);
    for (int round = 0; round < 150; ++round) {
        const std::size_t windowSize = std::size_t{256} << random.below(4);
        const auto kinds = sampleKinds();
        const Bytes sample = kinds[random.below(kinds.size())].make(2 * windowSize + random.below(6000), 423);
        const auto index = static_cast<int64_t>(windowSize + random.below(100'000));
        const Bytes before = sampleKind("mixed").make(windowSize, 424);
        ParserCheck parser(windowSize, 256 + random.below(2000));
        parser.startAt(index, before);
        for (int32_t& entry : parser.tables().head) {
            entry = static_cast<int32_t>(random.oneIn(2) ? index - random.between(1, 40'000) : -32768);
        }
        for (int32_t& entry : parser.tables().prev) {
            entry = static_cast<int32_t>(random.oneIn(4) ? static_cast<int64_t>(random.next())
                                                         : index + random.between(-3000, 9000));
        }
        // With chains long enough to look ahead, and without.
        const auto chain = static_cast<int32_t>(1 + random.below(random.oneIn(2) ? 8 : 500));
        const Search search = random.oneIn(4) ? Search::fast({chain, 8, 64, 64}) : Search::slow({chain, 8, 64, 64});
        const auto place = random.oneIn(2) ? HistoryPlace::InFront : HistoryPlace::Apart;
        ASSERT_TRUE(parser.parses(sample, search, 2, kMost, place)) << "round " << round;
        ASSERT_TRUE(parser.parses(sample, search, 2, kMost, place)) << "round " << round;
    }
}

// --- Indexes near 2^31 ----------------------------------------------------------------------------------------------

TEST(DeflateParser, IndexesAreLoweredBeforeTheyRunOut) {
    Random random(413);
    int lowered = 0;
    for (int round = 0; round < 400; ++round) {
        const std::size_t windowSize = round % 3 == 0 ? 256 + random.below(1000) : std::size_t{256} << random.below(4);
        const Bytes before = sampleKind("mixed").make(windowSize, 414 + random.below(10));
        const Bytes sample = sampleKind("mixed").make(1 + random.below(3000), 414 + random.below(10));
        // Around the index at which a call with all of the sample lowers it.
        const int64_t edge = 0x7FFFFFFF - 2 * std::ssize(sample) - static_cast<int64_t>(windowSize);
        const int64_t index = edge + random.between(-3, 3);
        const int32_t level = kLevels[random.below(std::size(kLevels))];
        ParserCheck parser(windowSize, 256 + random.below(2000));
        parser.startAt(index, before);
        updateHash(before, index - std::ssize(before), level % 10 != 0, parser.tables());
        if (random.oneIn(3)) {  // garbage, the extremes among it
            for (std::vector<int32_t>* table : {&parser.tables().head, &parser.tables().prev}) {
                for (int32_t& entry : *table) {
                    if (random.oneIn(3)) entry = static_cast<int32_t>(random.next());
                    if (random.oneIn(9)) entry = random.oneIn(2) ? INT32_MIN : INT32_MAX;
                }
            }
        }
        ASSERT_TRUE(parser.parses(sample, Search::atLevel(level), 2, kMost)) << "round " << round;
        if (parser.index() < index) ++lowered;
        EXPECT_EQ(parser.index() < index, index >= edge);
        // It goes on from there.
        ASSERT_TRUE(parser.parses(sample, Search::atLevel(level), 2, kMost)) << "round " << round;
    }
    EXPECT_GT(lowered, 100);
}

// With a source of 2^30 bytes the index is already near enough at the start of the stream. (All but the beginning is
// zeros that take no memory.)
TEST(DeflateParser, IndexesAreLoweredForTheLargestSources) {
    constexpr std::size_t size = std::size_t{1} << 30;
    void* const mapping =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED) GTEST_SKIP() << "no address space";
    const ByteView source(static_cast<const uint8_t*>(mapping), size);
    const Bytes text = sampleKind("text").make(5000, 420);
    std::copy(text.begin(), text.end(), static_cast<uint8_t*>(mapping));
    constexpr int32_t windowSize = 1024;
    constexpr int32_t records = 1000;
    for (const int32_t level : {0, 1, 4, 5, 9}) {
        for (const int32_t index : {0, 100, 1024, 5000}) {
            const Bytes history = sampleKind("text").make(static_cast<std::size_t>(std::min(index, windowSize)), 421);
            HashTables expected(512, windowSize);
            updateHash(history, index - std::ssize(history), level % 10 != 0, expected);
            HashTables tables = expected;
            const Parsed parsed =
                parse({source, index, history, records, false}, strategyOf(level), effortOf(level), expected);

            const GuardedBuffer window(history);
            const uint8_t* at = source.data();
            auto left = static_cast<int32_t>(size);
            int32_t newIndex = index;
            int32_t room = records;
            std::vector<uint32_t> literalCounts(286);
            std::vector<uint32_t> distanceCounts(30);
            Bytes literals(records);
            std::vector<uint16_t> distances(records);
            ASSERT_EQ(ozrsDeflateLZ77_8u(&at, &left, &newIndex, window.data(), windowSize, tables.head.data(),
                                         tables.prev.data(), 512, literalCounts.data(), distanceCounts.data(),
                                         literals.data(), distances.data(), &room, level, 0),
                      StatusOk);
            EXPECT_EQ(newIndex, parsed.sourceIndex);
            EXPECT_EQ(at - source.data(), parsed.consumed);
            EXPECT_EQ(newIndex, windowSize + parsed.consumed);
            EXPECT_EQ(room, 0);
            EXPECT_EQ(tables, expected);
            for (std::size_t i = 0; i < parsed.records.size(); ++i) {
                ASSERT_EQ(distances[i], parsed.records[i].distance) << "level " << level << ", record " << i;
            }
        }
    }
    munmap(mapping, size);
}

// --- Tables that hold anything --------------------------------------------------------------------------------------

TEST(DeflateParser, GarbageInTheTablesDoesNoHarm) {
    Random random(415);
    for (int round = 0; round < 600; ++round) {
        const auto kinds = sampleKinds();
        const Bytes sample = kinds[random.below(kinds.size())].make(1 + random.below(3000), 416 + random.below(50));
        const std::size_t windowSize = random.oneIn(2) ? std::size_t{256} << random.below(8) : 256 + random.below(5000);
        ParserCheck parser(windowSize, 256 + random.below(1000), random.oneIn(2) ? Guard::After : Guard::Before);
        const int64_t index = random.oneIn(3) ? 0 : static_cast<int64_t>(random.below(10000));
        parser.startAt(index, sampleKind("mixed").make(static_cast<std::size_t>(index), 417));
        for (std::vector<int32_t>* table : {&parser.tables().head, &parser.tables().prev}) {
            for (int32_t& entry : *table) {
                entry = static_cast<int32_t>(random.oneIn(3) ? static_cast<int64_t>(random.next())
                                                             : index + random.between(-3000, 3000));
            }
        }
        const int32_t level = kLevels[random.below(std::size(kLevels))];
        ASSERT_TRUE(parsesInPieces(parser, random, sample, Search::atLevel(level), 3000, 1 + random.below(3000)))
            << "round " << round;
    }
}

// Nothing precedes a source whose index is negative; the window is not read then.
TEST(DeflateParser, NegativeIndexesDoNoHarm) {
    Random random(418);
    for (int round = 0; round < 300; ++round) {
        const auto kinds = sampleKinds();
        const Bytes sample = kinds[random.below(kinds.size())].make(1 + random.below(1500), 419 + random.below(50));
        ParserCheck parser(256 + random.below(1000), 256 + random.below(1000));
        const int64_t index = random.oneIn(2) ? random.between(-2000, -1) : random.between(INT32_MIN, -1);
        parser.startAt(index, {});
        for (std::vector<int32_t>* table : {&parser.tables().head, &parser.tables().prev}) {
            for (int32_t& entry : *table) {
                entry = static_cast<int32_t>(random.oneIn(3) ? static_cast<int64_t>(random.next())
                                                             : index + random.between(-1500, 1500));
            }
        }
        const int32_t level = kLevels[random.below(std::size(kLevels))];
        ASSERT_TRUE(parser.parses(sample, Search::atLevel(level), 2, kMost)) << "round " << round;
    }
}

}  // namespace
}  // namespace ozrdc::test::deflate
