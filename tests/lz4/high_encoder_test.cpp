// The high-compression encoder writes, bit for bit, the blocks that the reference predicts, and leaves the tables that
// it predicts.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "lz4/history_calls.h"
#include "support/oracles.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lz4 {
namespace {

constexpr std::array<int32_t, 9> kLevels{1, 2, 3, 4, 5, 6, 7, 8, 9};

// Sources of small alphabets and of copies of earlier stretches: matches that overlap in every way.
Bytes tangledSample(Random& random, std::size_t size) {
    const uint64_t alphabet = uint64_t{1} << (1 + random.below(8));
    const uint64_t copies = 2 + random.below(14);
    Bytes source;
    while (source.size() < size) {
        if (source.size() > 8 && random.oneIn(copies)) {
            const std::size_t from = random.below(source.size());
            for (uint64_t n = 1 + random.below(random.oneIn(8) ? 300 : 24); n > 0; --n) {
                source.push_back(source[source.size() - from - 1]);
            }
        } else {
            source.push_back(static_cast<uint8_t>(random.below(alphabet)));
        }
    }
    source.resize(size);
    return source;
}

TEST(Lz4HighEncoder, WritesThePredictedBlockAtEveryShortLength) {
    HighEncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(200, 1);
        for (std::size_t size = 1; size <= sample.size(); size += size < 60 ? 1 : 11) {
            for (const int32_t level : {1, 3, 9}) {
                ChainTables tables;
                ASSERT_TRUE(encoder.agrees(tables, ByteView(sample).first(size), {}, level)) << "length " << size;
            }
        }
    }
}

TEST(Lz4HighEncoder, WritesThePredictedBlockOfLongSourcesAtEveryLevel) {
    HighEncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(150000, 2);
        for (const int32_t level : kLevels) {
            // At a high level the reference takes its time over runs.
            const ByteView source = ByteView(sample).first(level > 6 ? 12000 : sample.size());
            ChainTables tables;
            ASSERT_TRUE(encoder.agrees(tables, source, {}, level));
        }
    }
}

TEST(Lz4HighEncoder, WritesThePredictedBlockOfRealFiles) {
    const std::vector<CorpusFile> files = corpusFiles(100000);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    HighEncoderCheck encoder;
    for (const CorpusFile& file : files) {
        SCOPED_TRACE(file.name);
        for (const int32_t level : {3, 6, 9}) {
            const std::size_t size = std::min<std::size_t>(file.bytes.size(), level == 9 ? 20000 : 100000);
            ChainTables tables;
            ASSERT_TRUE(encoder.agrees(tables, ByteView(file.bytes).first(size), {}, level));
        }
    }
}

TEST(Lz4HighEncoder, WritesThePredictedBlockOfTangledSources) {
    HighEncoderCheck encoder;
    Random random(401);
    for (int round = 0; round < 1500; ++round) {
        const Bytes source = tangledSample(random, 1 + random.below(random.oneIn(4) ? 4000 : 400));
        ChainTables tables;
        ASSERT_TRUE(encoder.agrees(tables, source, {}, static_cast<int32_t>(random.between(1, 9)))) << round;
    }
}

// Behind a history that an earlier call has entered, in front of the source and elsewhere.
TEST(Lz4HighEncoder, WritesThePredictedBlockBehindAHistory) {
    HighEncoderCheck encoder;
    Random random(402);
    for (int round = 0; round < 500; ++round) {
        const std::size_t historySize = 1 + random.below(random.oneIn(3) ? 3000 : 60);
        const Behind data{tangledSample(random, historySize + 1 + random.below(1500)), historySize};
        const auto level = static_cast<int32_t>(random.between(1, 9));
        ChainTables tables;
        ASSERT_TRUE(encoder.agrees(tables, data.history(), {}, level));
        ChainTables same = tables;
        ASSERT_TRUE(encoder.agrees(tables, data.source(), data.asPrefix(), level)) << round;
        ASSERT_TRUE(encoder.agrees(same, data.source(), data.asDictionary(), level)) << round;
    }
}

TEST(Lz4HighEncoder, WritesThePredictedBlocksOfAStream) {
    HighEncoderCheck encoder;
    Random random(403);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(180000, 3);
        ChainTables tables;
        for (std::size_t at = 0; at < sample.size();) {
            const std::size_t size = std::min<std::size_t>(1 + random.below(60000), sample.size() - at);
            // Of a long history, only what an offset reaches is there.
            const std::size_t reach = std::min<std::size_t>(at, 65535);
            const EncoderHistory history{static_cast<int64_t>(at), ByteView(sample).subspan(at - reach, reach), false};
            ASSERT_TRUE(encoder.agrees(tables, ByteView(sample).subspan(at, size), history, 4)) << "at " << at;
            at += size;
        }
    }
}

// The source's first position and the dictionary's size need not agree.
TEST(Lz4HighEncoder, DictionaryEndsWhereTheSourceBeginsWhateverItsSize) {
    HighEncoderCheck encoder;
    Random random(404);
    for (int round = 0; round < 300; ++round) {
        const Bytes dictionary = tangledSample(random, 1 + random.below(2000));
        Bytes source = dictionary;
        source.resize(1 + random.below(2000), 'x');
        ChainTables tables;
        const int64_t start = random.between(0, random.oneIn(2) ? 3000 : 2147000000);
        const Bytes before = tangledSample(random, 10);
        ASSERT_TRUE(encoder.agrees(tables, dictionary, {start, before, true}, 5));
        const int64_t srcIdx = start + random.between(0, std::ssize(dictionary) + 10);
        ASSERT_TRUE(encoder.agrees(tables, source, {srcIdx, dictionary, true}, 5)) << "source at " << srcIdx;
    }
}

// Whatever the tables hold, blocks are valid, and nothing outside the history is read.
TEST(Lz4HighEncoder, StalePositionsAreHarmless) {
    HighEncoderCheck encoder;
    Random random(405);
    for (int round = 0; round < 250; ++round) {
        const std::size_t historySize = 1 + random.below(random.oneIn(3) ? 70000 : 100);
        const Behind data{tangledSample(random, historySize + 1 + random.below(1500)), historySize};
        const uint64_t most = random.oneIn(2) ? historySize + 1000 : uint64_t{1} << 32;
        ChainTables tables;
        for (uint32_t& entry : tables.heads) entry = static_cast<uint32_t>(random.below(most));
        for (uint32_t& entry : tables.links) entry = static_cast<uint32_t>(random.below(most));
        if (random.oneIn(3)) {
            for (uint32_t& entry : tables.heads) entry = static_cast<uint32_t>(-1 - random.between(0, 100));
        }
        ChainTables same = tables;
        const auto level = static_cast<int32_t>(random.between(1, 9));
        ASSERT_TRUE(encoder.agrees(tables, data.source(), data.asPrefix(), level)) << round;
        ASSERT_TRUE(encoder.agrees(same, data.source(), data.asDictionary(), level)) << round;
    }
}

// --- Levels ---------------------------------------------------------------------------------------------------------

Bytes encodeHighAlone(ByteView source, int32_t level) {
    ChainTables tables;
    std::array<uint8_t*, 2> pointers{reinterpret_cast<uint8_t*>(tables.heads.data()),
                                     reinterpret_cast<uint8_t*>(tables.links.data())};
    Bytes block(static_cast<std::size_t>(worstCase(std::ssize(source))));
    auto consumed = static_cast<int32_t>(source.size());
    auto written = static_cast<int32_t>(block.size());
    EXPECT_EQ(
        ozrsEncodeLZ4HC_8u(source.data(), 0, &consumed, block.data(), &written, pointers.data(), nullptr, 0, level),
        StatusOk);
    block.resize(static_cast<std::size_t>(written));
    return block;
}

TEST(Lz4HighEncoder, LevelsOutsideOneToNineAreTakenAsTheNearestAndZeroAsNine) {
    const Bytes source = sampleKind("text").make(60000, 4);
    const Bytes fastest = encodeHighAlone(source, 1);
    const Bytes smallest = encodeHighAlone(source, 9);
    EXPECT_NE(fastest, smallest);
    for (const int32_t level : {-1, -3, std::numeric_limits<int32_t>::min()}) {
        EXPECT_EQ(encodeHighAlone(source, level), fastest) << level;
    }
    for (const int32_t level : {0, 10, 12, std::numeric_limits<int32_t>::max()}) {
        EXPECT_EQ(encodeHighAlone(source, level), smallest) << level;
    }
}

TEST(Lz4HighEncoder, EveryLevelIsSmallerThanTheOneBelow) {
    const Bytes source = sampleKind("text").make(200000, 5);
    std::size_t previous = encodePlain(source).size();
    for (const int32_t level : kLevels) {
        const std::size_t size = encodeHighAlone(source, level).size();
        EXPECT_LT(size, previous) << level;
        previous = size;
    }
}

// --- Limits ---------------------------------------------------------------------------------------------------------

TEST(Lz4HighEncoder, SourceOf14BytesIsOneLiteralRunAndOneOf15IsSearched) {
    const Bytes source(15, 'x');
    EXPECT_EQ(encodeHighAlone(ByteView(source).first(14), 9),
              (Bytes{0xE0, 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x', 'x'}));
    // One literal, then a match at distance 1 that ends five bytes before the end.
    EXPECT_EQ(encodeHighAlone(source, 9), (Bytes{0x15, 'x', 1, 0, 0x50, 'x', 'x', 'x', 'x', 'x'}));
}

TEST(Lz4HighEncoder, MatchReachesBackAtMost65534Bytes) {
    const auto blockSize = [](std::size_t period) {
        return encodeHighAlone(periodicSample(150000, period, 6), 9).size();
    };
    EXPECT_LT(blockSize(65533), 70000U);
    EXPECT_LT(blockSize(65534), 70000U);
    EXPECT_GT(blockSize(65535), 150000U);
    EXPECT_GT(blockSize(65536), 150000U);
}

TEST(Lz4HighEncoder, MatchAtPositionZeroIsFound) {
    // With empty tables, position 0 is where every chain ends.
    Bytes source = sampleKind("random").make(20, 7);
    const Bytes head = source;
    source.insert(source.end(), head.begin(), head.end());
    source.resize(60, 'z');
    EXPECT_LT(encodeHighAlone(source, 1).size(), 50U);
}

// --- Capacities -----------------------------------------------------------------------------------------------------

TEST(Lz4HighEncoder, WritesThePredictedBlockAtEveryCapacity) {
    HighEncoderCheck encoder;
    int truncated = 0;
    int full = 0;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes source = kind.make(500, 8);
        ChainTables fresh;
        ASSERT_TRUE(encoder.agrees(fresh, source, {}, 5));
        const int64_t needed = std::ssize(encoder.expected().block);
        for (int64_t capacity = 1; capacity <= needed + 20; ++capacity) {
            ChainTables tables;
            ASSERT_TRUE(encoder.agrees(tables, source, {}, 5, capacity)) << capacity;
            EXPECT_EQ(encoder.expected().status == StatusOk, capacity >= needed);
            truncated += encoder.expected().status == StatusOutputTruncated;
            full += encoder.expected().status == StatusDestinationFull;
        }
    }
    EXPECT_GT(truncated, 1000);
    EXPECT_GT(full, 100);
}

TEST(Lz4HighEncoder, WritesThePredictedBlockOfLongSourcesAtManyCapacities) {
    HighEncoderCheck encoder;
    Random random(406);
    for (int round = 0; round < 300; ++round) {
        const Bytes source = tangledSample(random, 3000 + random.below(3000));
        ChainTables tables;
        ASSERT_TRUE(encoder.agrees(tables, source, {}, 3));
        const int64_t needed = std::ssize(encoder.expected().block);
        tables = ChainTables();
        ASSERT_TRUE(encoder.agrees(tables, source, {}, 3, random.between(1, needed)));
    }
}

// Appends a run of literals that ends a block.
Bytes withLastRun(Bytes block, ByteView literals) {
    const std::size_t count = literals.size();
    block.push_back(static_cast<uint8_t>(std::min<std::size_t>(count, 15) << 4));
    if (count >= 15) {
        block.insert(block.end(), (count - 15) / 255, 255);
        block.push_back(static_cast<uint8_t>((count - 15) % 255));
    }
    block.insert(block.end(), literals.begin(), literals.end());
    return block;
}

// What is to be done with a block that was cut: the rest follows as literals, or 8 bytes of it. As it is, it is whole
// for no decoder.
TEST(Lz4HighEncoder, CutBlockIsWholeAgainWithARunOfLiterals) {
    const Bytes source = sampleKind("text").make(3000, 9);
    const auto needed = std::ssize(encodeHighAlone(source, 6));
    HighEncoderCheck encoder;
    for (int64_t capacity = 100; capacity < needed; ++capacity) {
        SCOPED_TRACE(capacity);
        ChainTables tables;
        ASSERT_TRUE(encoder.agrees(tables, source, {}, 6, capacity));
        const Bytes& block = encoder.expected().block;
        const auto consumed = static_cast<std::size_t>(encoder.expected().consumed);
        ASSERT_GT(consumed, 0U);
        const ByteView rest = ByteView(source).subspan(consumed);
        ASSERT_GE(rest.size(), 5U);
        ASSERT_EQ(oracle::lz4Decompress(withLastRun(block, rest), source.size()), source);
        if (rest.size() >= 8) {
            ASSERT_EQ(oracle::lz4Decompress(withLastRun(block, rest.first(8)), consumed + 8),
                      Bytes(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(consumed + 8)));
        }

        Bytes decoded(source.size());
        auto size = static_cast<int32_t>(decoded.size());
        EXPECT_EQ(ozrsDecodeLZ4_8u(block.data(), static_cast<int32_t>(block.size()), decoded.data(), &size),
                  StatusSourceExhausted);
        EXPECT_LT(size, encoder.expected().consumed);
    }
}

// --- Dictionaries ---------------------------------------------------------------------------------------------------

// Of a large dictionary, the limited encoder needs nothing but the last 65535 bytes.
TEST(Lz4HighEncoder, LimitedDictionaryIsReadOnlyWhereOffsetsReach) {
    const Bytes both = sampleKind("mixed").make(103000, 10);
    const ByteView history = ByteView(both).first(100000);
    const ByteView source = ByteView(both).subspan(100000);
    ChainTables tables;
    HighEncoderCheck encoder;
    ASSERT_TRUE(encoder.agrees(tables, history, {}, 4));
    ChainTables after = tables;
    const BoundedBlock expected = encodeHigh(after, source, {100000, history, true}, 4000, 4);

    const GuardedBuffer dictionary(history.last(65535), Guard::Before);
    std::array<uint8_t*, 2> pointers{reinterpret_cast<uint8_t*>(tables.heads.data()),
                                     reinterpret_cast<uint8_t*>(tables.links.data())};
    Bytes block(4000);
    int32_t consumed = 3000;
    int32_t written = 4000;
    ASSERT_EQ(ozrsEncodeLZ4HCDictLimit_8u(source.data(), 100000, &consumed, block.data(), &written, pointers.data(),
                                          dictionary.data() + 65535 - 100000, 100000, 4),
              StatusOk);
    block.resize(static_cast<std::size_t>(written));
    EXPECT_EQ(block, expected.block);
    EXPECT_LT(block.size(), encodeHighAlone(source, 4).size());
}

TEST(Lz4HighEncoder, AnotherDecoderReadsEveryBlock) {
    HighEncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Behind data{kind.make(70000, 11), 30000};
        for (const std::size_t size : {1U, 14U, 15U, 40U, 4000U, 40000U}) {
            const ByteView source = data.source().first(size);
            ASSERT_EQ(oracle::lz4Decompress(encodeHighAlone(source, 6), size), Bytes(source.begin(), source.end()));
            ChainTables tables;
            ASSERT_TRUE(encoder.agrees(tables, data.history(), {}, 3));
            for (const EncoderHistory& history : {data.asPrefix(), data.asDictionary()}) {
                ChainTables working = tables;
                ASSERT_TRUE(encoder.agrees(working, source, history, 3));
                ASSERT_EQ(oracle::lz4Decompress(encoder.expected().block, size, data.history()),
                          Bytes(source.begin(), source.end()));
            }
        }
    }
}

TEST(Lz4HighEncoder, TablesMayStandAtOddAddresses) {
    const Bytes source = sampleKind("mixed").make(20000, 12);
    const Bytes expected = encodeHighAlone(source, 5);
    Bytes block(static_cast<std::size_t>(worstCase(20000)));
    for (const std::size_t shift : {1U, 2U, 3U, 13U}) {
        GuardedBuffer heads(shift + 131072, Guard::After, shift);
        GuardedBuffer links(shift + 262144, Guard::After, shift);
        std::array<uint8_t*, 2> pointers{heads.data() + shift, links.data() + shift};
        ASSERT_EQ(ozrsEncodeLZ4HCHashTableInit_8u(pointers.data()), StatusOk);
        int32_t consumed = 20000;
        auto written = static_cast<int32_t>(block.size());
        ASSERT_EQ(
            ozrsEncodeLZ4HC_8u(source.data(), 0, &consumed, block.data(), &written, pointers.data(), nullptr, 0, 5),
            StatusOk);
        EXPECT_EQ(Bytes(block.begin(), block.begin() + written), expected);
    }
}

}  // namespace
}  // namespace ozrdc::test::lz4
