// The hash-table encoders with history write, bit for bit, the blocks that the reference predicts, and leave the table
// that it predicts.
#include <gtest/gtest.h>
#include <sys/mman.h>

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

PositionTable emptyTable() { return PositionTable(kPositionTableEntries); }

PositionTable loadedTable(ByteView dictionary) {
    PositionTable table = emptyTable();
    loadDictionary(table, dictionary);
    return table;
}

// --- Loading a dictionary -------------------------------------------------------------------------------------------

PositionTable load(ByteView dictionary, const PositionTable& before) {
    const GuardedBuffer guarded(dictionary, Guard::After);
    GuardedBuffer table(kHashTableSize);
    std::memcpy(table.data(), before.data(), kHashTableSize);
    EXPECT_EQ(ozrsEncodeLZ4LoadDict_8u(table.data(), guarded.data(), static_cast<int32_t>(dictionary.size())),
              StatusOk);
    PositionTable after = emptyTable();
    std::memcpy(after.data(), table.data(), kHashTableSize);
    return after;
}

TEST(Lz4LoadDictionary, EntersEveryThirdPositionThatEightBytesFollow) {
    Random random(301);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(70000, 5);
        for (const std::size_t size : {1U, 8U, 9U, 10U, 11U, 12U, 13U, 100U, 4000U, 65536U, 70000U}) {
            PositionTable before = emptyTable();
            for (int32_t& entry : before) entry = static_cast<int32_t>(random.next() >> 33);
            PositionTable expected = before;
            const ByteView dictionary = ByteView(sample).first(size);
            loadDictionary(expected, dictionary);
            EXPECT_EQ(load(dictionary, before), expected) << size;
        }
    }
}

TEST(Lz4LoadDictionary, DictionaryOfNineBytesEntersPositionZeroAlone) {
    PositionTable before = emptyTable();
    std::fill(before.begin(), before.end(), 7);
    const Bytes dictionary{'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i'};
    EXPECT_EQ(load(ByteView(dictionary).first(8), before), before);
    const PositionTable after = load(dictionary, before);
    EXPECT_EQ(std::count(after.begin(), after.end(), 0), 1);
    EXPECT_EQ(std::count(after.begin(), after.end(), 7), std::ssize(after) - 1);
}

// --- Encoding -------------------------------------------------------------------------------------------------------

TEST(Lz4HistoryEncoder, WritesThePredictedBlockAtEveryShortLength) {
    HistoryEncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t historySize : {0U, 1U, 4U, 8U, 9U, 30U, 300U}) {
            const Bytes sample = kind.make(historySize + 260, 6);
            for (std::size_t size = 1; size <= 260; size += size < 70 ? 1 : 7) {
                const Behind data{
                    Bytes(sample.begin(), sample.begin() + static_cast<std::ptrdiff_t>(historySize + size)),
                    historySize};
                PositionTable table = loadedTable(data.history());
                ASSERT_TRUE(encoder.agrees(table, data.source(), data.asPrefix()));
                if (historySize == 0) continue;
                table = loadedTable(data.history());
                ASSERT_TRUE(encoder.agrees(table, data.source(), data.asDictionary()));
            }
        }
    }
}

TEST(Lz4HistoryEncoder, WritesThePredictedBlockOfLongSources) {
    HistoryEncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t historySize : {5000U, 65536U, 90000U}) {
            const Behind data{kind.make(historySize + 150000, 7), historySize};
            PositionTable table = loadedTable(data.history());
            ASSERT_TRUE(encoder.agrees(table, data.source(), data.asPrefix()));
            table = loadedTable(data.history());
            ASSERT_TRUE(encoder.agrees(table, data.source(), data.asDictionary()));
        }
    }
}

TEST(Lz4HistoryEncoder, WritesThePredictedBlockOfRealFiles) {
    const std::vector<CorpusFile> files = corpusFiles(100000);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    HistoryEncoderCheck encoder;
    for (const CorpusFile& file : files) {
        SCOPED_TRACE(file.name);
        const Behind data{file.bytes, file.bytes.size() / 3};
        PositionTable table = loadedTable(data.history());
        ASSERT_TRUE(encoder.agrees(table, data.source(), data.asPrefix()));
        table = loadedTable(data.history());
        ASSERT_TRUE(encoder.agrees(table, data.source(), data.asDictionary()));
    }
}

// The table as a stream uses it: each block behind the ones before it, in one buffer.
TEST(Lz4HistoryEncoder, WritesThePredictedBlocksOfAStream) {
    HistoryEncoderCheck encoder;
    Random random(302);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(250000, 8);
        PositionTable table = emptyTable();
        for (std::size_t at = 0; at < sample.size();) {
            const std::size_t size =
                std::min<std::size_t>(1 + random.below(random.oneIn(3) ? 40000 : 900), sample.size() - at);
            // Of a long history, only what an offset reaches is there.
            const std::size_t reach = std::min<std::size_t>(at, 65535);
            const EncoderHistory history{static_cast<int64_t>(at), ByteView(sample).subspan(at - reach, reach), false};
            ASSERT_TRUE(encoder.agrees(table, ByteView(sample).subspan(at, size), history)) << "at " << at;
            at += size;
        }
    }
}

// The table as records use it that do not load the dictionary anew: what one leaves is lowered for the next.
TEST(Lz4HistoryEncoder, WritesThePredictedBlocksOfRecordsBehindOneDictionary) {
    HistoryEncoderCheck encoder;
    Random random(303);
    for (const char* name : {"text", "records", "mixed"}) {
        SCOPED_TRACE(name);
        const Bytes dictionary = sampleKind(name).make(20000, 9);
        PositionTable table = loadedTable(dictionary);
        for (int record = 0; record < 40; ++record) {
            const Bytes source = sampleKind(name).make(1 + random.below(6000), 10 + random.below(5));
            const EncoderHistory history{std::ssize(dictionary), dictionary, true};
            ASSERT_TRUE(encoder.agrees(table, source, history)) << "record " << record;
        }
    }
}

// The source's first position and the dictionary's size need not agree.
TEST(Lz4HistoryEncoder, DictionaryEndsWhereTheSourceBeginsWhateverItsSize) {
    HistoryEncoderCheck encoder;
    Random random(304);
    const Bytes sample = sampleKind("text").make(9000, 11);
    for (int round = 0; round < 300; ++round) {
        const std::size_t size = 1 + random.below(5000);
        const ByteView dictionary = ByteView(sample).first(size);
        const Bytes source = sampleKind("text").make(1 + random.below(3000), random.below(20));
        PositionTable table = loadedTable(dictionary);
        const int64_t srcIdx = random.between(0, random.oneIn(2) ? 10000 : 100000000);
        ASSERT_TRUE(encoder.agrees(table, source, {srcIdx, dictionary, true})) << "source at " << srcIdx;
    }
}

// Whatever positions a table holds, blocks are valid, and nothing outside the history is read.
TEST(Lz4HistoryEncoder, StalePositionsAreHarmless) {
    HistoryEncoderCheck encoder;
    Random random(305);
    for (int round = 0; round < 400; ++round) {
        const SampleKind& kind = sampleKinds()[random.below(sampleKinds().size())];
        SCOPED_TRACE(kind.name);
        const std::size_t historySize = 1 + random.below(random.oneIn(2) ? 200 : 70000);
        const Behind data{kind.make(historySize + 1 + random.below(3000), random.below(30)), historySize};
        PositionTable table = emptyTable();
        const uint64_t most = random.oneIn(2) ? historySize + 2000 : uint64_t{std::numeric_limits<int32_t>::max()};
        for (int32_t& entry : table) entry = static_cast<int32_t>(random.below(most));
        PositionTable other = table;
        ASSERT_TRUE(encoder.agrees(table, data.source(), data.asPrefix()));
        ASSERT_TRUE(encoder.agrees(other, data.source(), data.asDictionary()));
    }
}

// A separate dictionary is guarded by its bounds even against positions that never were any.
TEST(Lz4HistoryEncoder, NegativePositionsAreNoneInASeparateDictionary) {
    HistoryEncoderCheck encoder;
    Random random(306);
    const Behind data{sampleKind("text").make(4000, 12), 1000};
    PositionTable table = emptyTable();
    for (int32_t& entry : table) entry = -1 - static_cast<int32_t>(random.below(3000));
    ASSERT_TRUE(encoder.agrees(table, data.source(), data.asDictionary()));
    // Some of these would be positions of a larger dictionary.
    const Bytes larger = sampleKind("text").make(5000, 13);
    for (int32_t& entry : table) entry = -1 - static_cast<int32_t>(random.below(3000));
    ASSERT_TRUE(encoder.agrees(table, data.source(), {1000, larger, true}));
}

TEST(Lz4HistoryEncoder, PositionsNearTheLargestGoWithoutAFault) {
    HistoryEncoderCheck encoder;
    const Bytes sample = sampleKind("text").make(4000, 14);
    for (const int64_t srcIdx : {2147483647 - 2000, 2147483647 - 100, 2147483647}) {
        PositionTable table = emptyTable();
        const EncoderHistory history{srcIdx, ByteView(sample).first(1000), true};
        ASSERT_TRUE(encoder.agrees(table, ByteView(sample).subspan(1000), history)) << srcIdx;
    }
}

// Behind so large a dictionary, the source's last positions do not fit an entry: they come back as negative ones, which
// lie in front of the dictionary, where nothing may be read.
TEST(Lz4HistoryEncoder, PositionsThatDoNotFitAnEntryAreNoneOfTheDictionary) {
    constexpr std::size_t kSize = std::size_t{1} << 31;
    constexpr int32_t kDictionarySize = std::numeric_limits<int32_t>::max() - 1000;
    // The address space alone is taken, and but a few pages are ever touched.
    void* const mapping = mmap(nullptr, 2 * kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED) GTEST_SKIP() << "no address space for a dictionary of 2 GiB";
    uint8_t* const upperHalf = static_cast<uint8_t*>(mapping) + kSize;
    ASSERT_EQ(mprotect(upperHalf, kSize, PROT_READ), 0);
    const ByteView dictionary(upperHalf + kSize - kDictionarySize, kDictionarySize);

    const Bytes source = sampleKind("text").make(6000, 26);
    PositionTable after = emptyTable();
    const Bytes expected = encodeWithHistory(after, source, {kDictionarySize, dictionary, true});
    PositionTable table = emptyTable();
    auto* const slots = reinterpret_cast<uint8_t*>(table.data());
    Bytes block(static_cast<std::size_t>(worstCase(6000)));
    int32_t written = 0;
    EXPECT_EQ(ozrsEncodeLZ4Dict_8u(source.data(), kDictionarySize, 6000, block.data(), &written, slots,
                                   dictionary.data(), kDictionarySize),
              StatusOk);
    block.resize(static_cast<std::size_t>(written));
    EXPECT_EQ(block, expected);
    EXPECT_EQ(table, after);
    munmap(mapping, 2 * kSize);
}

TEST(Lz4HistoryEncoder, WritesThePredictedBlockAtEveryCapacity) {
    HistoryEncoderCheck encoder;
    for (const char* name : {"text", "runs", "random", "one byte"}) {
        SCOPED_TRACE(name);
        const Behind data{sampleKind(name).make(1000, 15), 400};
        for (int64_t capacity = 1; capacity <= worstCase(600); ++capacity) {
            PositionTable table = loadedTable(data.history());
            ASSERT_TRUE(encoder.agrees(table, data.source(), data.asPrefix(), capacity)) << capacity;
            table = loadedTable(data.history());
            ASSERT_TRUE(encoder.agrees(table, data.source(), data.asDictionary(), capacity)) << capacity;
        }
    }
}

// --- What the history means -----------------------------------------------------------------------------------------

TEST(Lz4HistoryEncoder, WithoutHistoryItIsThePlainEncoderWithAWideTable) {
    HistoryEncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes source = kind.make(70000, 16);
        PositionTable table = emptyTable();
        std::fill(table.begin(), table.end(), 1234);  // cleared by the call
        ASSERT_TRUE(encoder.agrees(table, source, {})) << kind.name;
        EXPECT_EQ(encoder.block(), encodePlain(source)) << kind.name;
    }
}

TEST(Lz4HistoryEncoder, DictionaryMakesRecordsSmaller) {
    HistoryEncoderCheck encoder;
    const Behind data{sampleKind("text").make(40000, 17), 36000};
    PositionTable table = loadedTable(data.history());
    ASSERT_TRUE(encoder.agrees(table, data.source(), data.asDictionary()));
    EXPECT_LT(encoder.block().size(), encodePlain(data.source()).size());
}

// How long the first match of a block is that one literal precedes.
std::size_t firstMatch(const Bytes& block) {
    EXPECT_EQ(block.at(0) >> 4, 1);
    EXPECT_LT(block.at(0) & 15, 15);
    return 4U + (block.at(0) & 15U);
}

TEST(Lz4HistoryEncoder, MatchEndsWhereASeparateDictionaryEndsAndNotWhereAPrefixDoes) {
    // The dictionary ends with a text that the source repeats behind its first byte and goes on with.
    Bytes both = sampleKind("random").make(100, 18);
    const Bytes tail(both.end() - 10, both.end());  // enters position 90
    both.push_back('!');
    both.insert(both.end(), tail.begin(), tail.end());
    both.push_back('!');
    const Bytes rest = sampleKind("random").make(40, 19);
    both.insert(both.end(), rest.begin(), rest.end());
    const Behind data{both, 100};

    HistoryEncoderCheck encoder;
    PositionTable table = loadedTable(data.history());
    ASSERT_TRUE(encoder.agrees(table, data.source(), data.asDictionary()));
    EXPECT_EQ(firstMatch(encoder.block()), 10U);
    table = loadedTable(data.history());
    ASSERT_TRUE(encoder.agrees(table, data.source(), data.asPrefix()));
    EXPECT_EQ(firstMatch(encoder.block()), 11U);
}

TEST(Lz4HistoryEncoder, NoMatchBeginsInTheLastSevenBytesOfASeparateDictionary) {
    HistoryEncoderCheck encoder;
    for (const std::size_t back : {7U, 8U}) {
        Bytes both = sampleKind("random").make(100, 20);
        const Bytes tail(both.end() - static_cast<std::ptrdiff_t>(back), both.end());
        both.push_back('!');
        both.insert(both.end(), tail.begin(), tail.end());
        const Bytes rest = sampleKind("random").make(40, 21);
        both.insert(both.end(), rest.begin(), rest.end());
        const Behind data{both, 100};
        // The loader enters nothing so near the end: the position comes from a table of an earlier call.
        PositionTable table(kPositionTableEntries, static_cast<int32_t>(100 - back));
        PositionTable same = table;
        ASSERT_TRUE(encoder.agrees(table, data.source(), data.asDictionary()));
        EXPECT_EQ(encoder.block().at(0) >> 4 == 1, back == 8) << back;
        ASSERT_TRUE(encoder.agrees(same, data.source(), data.asPrefix()));
        EXPECT_EQ(encoder.block().at(0) >> 4, 1) << back;
    }
}

TEST(Lz4HistoryEncoder, MatchReachesBackAtMost65535Bytes) {
    HistoryEncoderCheck encoder;
    for (const std::size_t distance : {65534U, 65535U, 65536U}) {
        // The source's second byte begins what stands at the history's beginning; between them nothing repeats.
        Bytes both = sampleKind("random").make(distance - 1, 22);
        const std::size_t historySize = both.size();
        both.push_back('!');
        const Bytes head(both.begin(), both.begin() + 20);
        both.insert(both.end(), head.begin(), head.end());
        const Bytes rest = sampleKind("random").make(40, 23);
        both.insert(both.end(), rest.begin(), rest.end());
        const Behind data{both, historySize};
        for (const EncoderHistory& history : {data.asPrefix(), data.asDictionary()}) {
            PositionTable table = emptyTable();  // position 0 in every slot
            ASSERT_TRUE(encoder.agrees(table, data.source(), history));
            EXPECT_EQ(encoder.block().size() < data.source().size(), distance <= 65535) << distance;
        }
    }
}

// The level to which positions are lowered differs by one: the bounded encoder may use the source's first position
// although no call has entered it.
TEST(Lz4HistoryEncoder, PositionsAreLoweredToOneBelowTheSourceOrToItsFirst) {
    std::array<uint8_t, 16384> bytes{};
    const auto tableAfter = [&](auto call) {
        PositionTable table(kPositionTableEntries);
        for (std::size_t i = 0; i < table.size(); ++i) table[i] = static_cast<int32_t>(i);
        std::memcpy(bytes.data(), table.data(), bytes.size());
        call();
        std::memcpy(table.data(), bytes.data(), bytes.size());
        return table;
    };
    // Even a call that then fails has done it.
    const PositionTable plain = tableAfter([&] {
        int32_t written = 5;
        EXPECT_EQ(ozrsEncodeLZ4Dict_8u(nullptr, 1000, 5, nullptr, &written, bytes.data(), nullptr, 0),
                  StatusNullPointer);
        EXPECT_EQ(written, 5);
    });
    const PositionTable bounded = tableAfter([&] {
        EXPECT_EQ(ozrsEncodeLZ4DictSafe_8u(nullptr, 1000, nullptr, nullptr, nullptr, bytes.data(), nullptr, 0),
                  StatusNullPointer);
    });
    for (std::size_t i = 0; i < plain.size(); ++i) {
        ASSERT_EQ(plain[i], std::min<int32_t>(static_cast<int32_t>(i), 999));
        ASSERT_EQ(bounded[i], std::min<int32_t>(static_cast<int32_t>(i), 1000));
    }
}

// --- Other implementations ------------------------------------------------------------------------------------------

TEST(Lz4HistoryEncoder, AnotherDecoderReadsEveryBlock) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Behind data{kind.make(70000, 24), 30000};
        HistoryEncoderCheck encoder;
        for (const EncoderHistory& history : {data.asPrefix(), data.asDictionary()}) {
            for (const std::size_t size : {1U, 40U, 4000U, 40000U}) {
                PositionTable table = loadedTable(data.history());
                const ByteView source = data.source().first(size);
                ASSERT_TRUE(encoder.agrees(table, source, history));
                const auto decoded = oracle::lz4Decompress(encoder.block(), size, data.history());
                ASSERT_TRUE(decoded.has_value());
                ASSERT_TRUE(std::equal(decoded->begin(), decoded->end(), source.begin(), source.end()));
            }
        }
    }
}

// Wherever the encoder had its history, the decoder may have it in front of its output or elsewhere.
TEST(Lz4HistoryEncoder, BlocksDecodeBehindTheirDictionaryWhereverItLies) {
    HistoryEncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t historySize : {1U, 8U, 9U, 700U, 65535U, 70000U}) {
            const Behind data{kind.make(historySize + 5000, 27), historySize};
            const auto dictSize = static_cast<int32_t>(historySize);
            const GuardedBuffer dictionary(data.history());
            for (const EncoderHistory& history : {data.asPrefix(), data.asDictionary()}) {
                PositionTable table = loadedTable(data.history());
                ASSERT_TRUE(encoder.agrees(table, data.source(), history));
                for (const bool inFront : {true, false}) {
                    GuardedBuffer memory(historySize + 5000);
                    if (inFront) std::memcpy(memory.data(), dictionary.data(), historySize);
                    auto consumed = static_cast<int32_t>(encoder.block().size());
                    int32_t written = 5000;
                    EXPECT_EQ(ozrsDecodeLZ4Dict_8u(encoder.block().data(), &consumed, memory.data(), dictSize, &written,
                                                   inFront ? memory.data() : dictionary.data(), dictSize),
                              StatusOk);
                    EXPECT_EQ(consumed, std::ssize(encoder.block()));
                    EXPECT_EQ(written, 5000);
                    EXPECT_TRUE(std::equal(data.source().begin(), data.source().end(), memory.data() + historySize));
                }
            }
        }
    }
}

TEST(Lz4HistoryEncoder, TableMayStandAtAnOddAddress) {
    const Behind data{sampleKind("mixed").make(9000, 25), 4000};
    PositionTable table = loadedTable(data.history());
    PositionTable after = table;
    const Bytes expected = encodeWithHistory(after, data.source(), data.asDictionary());
    Bytes block(static_cast<std::size_t>(worstCase(5000)));
    for (const std::size_t shift : {1U, 2U, 3U, 5U, 15U}) {
        GuardedBuffer memory(shift + kHashTableSize, Guard::After, shift);
        uint8_t* const odd = memory.data() + shift;
        ASSERT_EQ(ozrsEncodeLZ4DictHashTableInit_8u(odd, 5000), StatusOk);
        ASSERT_EQ(ozrsEncodeLZ4LoadDict_8u(odd, data.history().data(), 4000), StatusOk);
        int32_t written = 0;
        ASSERT_EQ(ozrsEncodeLZ4Dict_8u(data.source().data(), 4000, 5000, block.data(), &written, odd,
                                       data.history().data(), 4000),
                  StatusOk);
        // Here the dictionary lies in front of the source; as a separate one the block is another.
        PositionTable prefixTable = loadedTable(data.history());
        EXPECT_EQ(Bytes(block.begin(), block.begin() + written),
                  encodeWithHistory(prefixTable, data.source(), data.asPrefix()));
        const Bytes apart(data.history().begin(), data.history().end());
        std::memcpy(odd, table.data(), kHashTableSize);
        ASSERT_EQ(
            ozrsEncodeLZ4Dict_8u(data.source().data(), 4000, 5000, block.data(), &written, odd, apart.data(), 4000),
            StatusOk);
        EXPECT_EQ(Bytes(block.begin(), block.begin() + written), expected);
    }
}

}  // namespace
}  // namespace ozrdc::test::lz4
