// The single-pass encoders: streams that independent decoders read, the same however source and destination are cut,
// and nothing behind the destination's end.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>

#include "deflate/reference_output.h"
#include "deflate/single_pass_check.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test::deflate {
namespace {

const PreparedCode& prepared() {
    static const PreparedCode code(sampleKind("mixed").make(30000, 450));
    return code;
}

// Both encoders.
const PreparedCode* const* bothCodes() {
    static const PreparedCode* const codes[] = {nullptr, &prepared()};
    return codes;
}
constexpr int kBoth = 2;

// The symbols of a stream of one block, or of its beginning.
std::vector<Symbol> symbolsOf(ByteView stream) {
    BitReader reader(stream);
    const auto header = readHeader(reader);
    if (!header) return {};
    return readSymbols(stream, reader.position(), header->codes, UnusedSymbols::Invalid);
}

TEST(DeflateSinglePass, AnotherDecoderReadsTheStreams) {
    std::vector<Bytes> sources;
    for (const SampleKind& kind : sampleKinds()) {
        for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 5U, 8U, 259U, 260U, 261U, 262U, 1000U, 100000U}) {
            sources.push_back(kind.make(size, 451));
        }
    }
    for (CorpusFile& file : corpusFiles(100000)) sources.push_back(std::move(file.bytes));
    for (const Bytes& source : sources) {
        for (int i = 0; i < kBoth; ++i) {
            for (const Sizes& sizes : {Sizes{32768, 65536}, Sizes{256, 256}, Sizes{1000, 777}}) {
                Encoder encoder(sizes, bothCodes()[i], source.size() % 2 == 0 ? Guard::After : Guard::Before);
                ASSERT_TRUE(encoder.encodesWhole(source));
                ASSERT_EQ(oracle::zlibInflate(encoder.stream(), source.size()), source);
                for (const Symbol& symbol : symbolsOf(encoder.stream())) {
                    if (symbol.kind != Symbol::Kind::Match) continue;
                    ASSERT_LT(symbol.distance, sizes.window);
                    ASSERT_GE(symbol.length, 4U);
                }
            }
        }
    }
}

TEST(DeflateSinglePass, PreparedCodeOfTheDataItselfIsShorterThanTheFixedOne) {
    for (const char* const name : {"text", "records", "low entropy"}) {
        const Bytes source = sampleKind(name).make(50000, 452);
        Encoder fixed({}, nullptr);
        ASSERT_TRUE(fixed.encodesWhole(source));
        const PreparedCode own(source);
        Encoder dynamic({}, &own);
        ASSERT_TRUE(dynamic.encodesWhole(source));
        EXPECT_LT(dynamic.bits(), fixed.bits()) << name;
        EXPECT_LT(fixed.bits(), 8 * source.size()) << name;
        EXPECT_EQ(oracle::zlibInflate(dynamic.stream(), source.size()), source);
    }
}

// The prepared header is written as it is, but for its first three bits, behind the bits that the caller has pending.
TEST(DeflateSinglePass, HeaderFollowsThePendingBits) {
    const Bytes source = sampleKind("text").make(500, 453);
    Encoder encoder({}, &prepared());
    ASSERT_TRUE(encoder.encodesWhole(source));
    const Bytes stream = encoder.stream();
    EXPECT_EQ(bitsAt(stream, 0, 3), 0b101U);
    for (std::size_t bit = 3; bit < static_cast<std::size_t>(prepared().headerBits); ++bit) {
        ASSERT_EQ(bitsAt(stream, bit, 1), bitsAt(prepared().header, bit, 1)) << "bit " << bit;
    }
}

TEST(DeflateSinglePass, EveryNumberOfPendingBitsIsTaken) {
    const Bytes source = sampleKind("text").make(700, 454);
    Random random(455);
    for (int i = 0; i < kBoth; ++i) {
        Encoder whole({}, bothCodes()[i]);
        ASSERT_TRUE(whole.encodesWhole(source));
        const std::size_t size = whole.bits() - 3;
        for (int32_t count = 0; count <= 16; ++count) {
            std::vector<int32_t> head(4096, kEmpty);
            const auto pending = static_cast<uint16_t>(random.below(uint64_t{1} << count));
            const uint8_t* at = source.data();
            int32_t left = 700;
            int32_t index = 0;
            int32_t written = 0;
            uint16_t bits = pending;
            int32_t bitCount = count;
            Bytes target(2000);
            const PreparedCode& code = prepared();
            const Status status =
                i == 0 ? ozrsDeflateLZ77Fastest_8u(&at, &left, &index, source.data(), 32768, head.data(), 4096, &bits,
                                                   &bitCount, target.data(), 2000, &written, 2)
                       : ozrsDeflateLZ77FastestPrecompHeader_8u(&at, &left, &index, source.data(), 32768, head.data(),
                                                                4096, &bits, &bitCount, target.data(), 2000, &written,
                                                                code.literals.data(), code.distances.data(),
                                                                code.header.data(), code.headerBits, 2);
            ASSERT_EQ(status, StatusOk);
            const auto total = static_cast<std::size_t>(8 * written + bitCount);
            ASSERT_EQ(total, size + static_cast<std::size_t>(count));
            target[static_cast<std::size_t>(written)] = static_cast<uint8_t>(bits);
            ASSERT_EQ(bitsAt(target, 0, static_cast<unsigned>(count)), pending);
            const Bytes expected = whole.stream();
            for (std::size_t bit = 0; bit < size; ++bit) {
                ASSERT_EQ(bitsAt(target, bit + static_cast<std::size_t>(count), 1), bitsAt(expected, bit + 3, 1));
            }
        }
    }
}

// --- Cuts -----------------------------------------------------------------------------------------------------------

// How far the symbols of a stream's beginning go: what they decode to must be what was consumed.
::testing::AssertionResult standsAtASymbol(const Encoder& encoder, ByteView source) {
    const Bytes stream = encoder.stream();
    BitReader reader(stream);
    const auto header = readHeader(reader);
    if (!header) {
        return encoder.consumedInAll() == 0 ? ::testing::AssertionSuccess()
                                            : ::testing::AssertionFailure() << "no header, but bytes consumed";
    }
    std::vector<Symbol> symbols = readSymbols(stream, reader.position(), header->codes, UnusedSymbols::Invalid);
    // The last byte is filled up with zeros, which may look like symbols: only those in front of its end count.
    Bytes output;
    std::size_t end = reader.position();
    for (const Symbol& symbol : symbols) {
        if (symbol.end > encoder.bits()) break;
        end = symbol.end;
        execute({&symbol, 1}, output);
    }
    if (end != encoder.bits()) return ::testing::AssertionFailure() << "stands inside a symbol";
    if (output.size() != encoder.consumedInAll() || !std::equal(output.begin(), output.end(), source.begin())) {
        return ::testing::AssertionFailure()
               << "symbols of " << output.size() << " bytes, consumed " << encoder.consumedInAll();
    }
    return ::testing::AssertionSuccess();
}

TEST(DeflateSinglePass, DestinationMayEndAtEveryByte) {
    for (const char* const name : {"text", "mixed", "zeros", "random", "rare matches"}) {
        const Bytes source = sampleKind(name).make(900, 456);
        for (int i = 0; i < kBoth; ++i) {
            Encoder whole({}, bothCodes()[i]);
            ASSERT_TRUE(whole.encodesWhole(source));
            const std::vector<Symbol> symbols = symbolsOf(whole.stream());
            for (std::size_t room = 1; room <= whole.stream().size() + 2; ++room) {
                SCOPED_TRACE(std::string(name) + ", room for " + std::to_string(room));
                Encoder encoder({}, bothCodes()[i]);
                ASSERT_TRUE(encoder.encodes(source, room, 2));
                if (encoder.status() == StatusOk) {
                    ASSERT_EQ(encoder.bits(), whole.bits());
                    ASSERT_EQ(encoder.stream(), whole.stream());
                    continue;
                }
                if (encoder.status() == StatusSizeError) {
                    // The header does not fit.
                    ASSERT_EQ(i, 1);
                    ASSERT_LT(room, static_cast<std::size_t>(prepared().headerBits + 7) / 8);
                } else {
                    ASSERT_TRUE(standsAtASymbol(encoder, source));
                    // The next symbol would not have fitted.
                    const auto next = std::find_if(symbols.begin(), symbols.end(),
                                                   [&](const Symbol& s) { return s.begin == encoder.bits(); });
                    if (next != symbols.end()) {
                        ASSERT_GT(next->end / 8, room);
                    }
                }
                const ByteView rest = ByteView(source).subspan(encoder.consumedInAll());
                ASSERT_TRUE(encoder.encodes(rest, 3000, 2));
                ASSERT_EQ(encoder.status(), StatusOk);
                ASSERT_EQ(encoder.bits(), whole.bits());
                ASSERT_EQ(encoder.stream(), whole.stream());
            }
        }
    }
}

TEST(DeflateSinglePass, CutsMakeNoDifferenceToTheStream) {
    Random random(457);
    for (int round = 0; round < 500; ++round) {
        const auto kinds = sampleKinds();
        const SampleKind& kind = kinds[random.below(kinds.size())];
        const Bytes source = kind.make(random.below(6000), 458 + random.below(20));
        const PreparedCode* const code = bothCodes()[random.below(2)];
        const Sizes sizes{256 + random.below(random.oneIn(2) ? 3000 : 32513), std::size_t{1} << (8 + random.below(9))};
        SCOPED_TRACE(std::string(kind.name) + ", round " + std::to_string(round));
        Encoder whole(sizes, code);
        ASSERT_TRUE(whole.encodesWhole(source));

        Encoder encoder(sizes, code, random.oneIn(2) ? Guard::After : Guard::Before);
        const uint64_t mostBytes = 1 + random.below(3000);
        const uint64_t mostRoom = 1 + random.below(uint64_t{1} << random.below(12));
        std::size_t given = 0;
        std::size_t spare = 0;  // more and more room when nothing goes on
        for (;;) {
            given = std::min(source.size(), given + random.below(mostBytes + 1));
            const bool last = given == source.size();
            const int32_t flush = last ? 2 : static_cast<int32_t>(random.below(2));
            const std::size_t consumed = encoder.consumedInAll();
            ASSERT_TRUE(encoder.encodes(
                ByteView(source).first(given).subspan(consumed), 1 + random.below(mostRoom) + spare, flush,
                random.oneIn(2) ? HistoryPlace::InFront : HistoryPlace::Apart, random.below(10)));
            if (encoder.status() == StatusOk && last) break;
            if (encoder.status() != StatusOk) spare = encoder.consumedInAll() > consumed ? 0 : 2 * spare + 1;
            ASSERT_LT(spare, 100000U);
        }
        ASSERT_EQ(encoder.bits(), whole.bits());
        ASSERT_EQ(encoder.stream(), whole.stream());
    }
}

// Without a final flush the last 260 bytes are left, and a call that can do nothing writes nothing, not even the
// header.
TEST(DeflateSinglePass, EndOfTheSourceIsLeftToTheNextCall) {
    const Bytes source = sampleKind("text").make(2000, 459);
    for (int i = 0; i < kBoth; ++i) {
        for (const int32_t flush : {-1, 0, 1}) {
            for (const std::size_t size : {0U, 1U, 259U, 260U, 261U, 262U, 700U, 2000U}) {
                Encoder encoder({}, bothCodes()[i]);
                ASSERT_TRUE(encoder.encodes(ByteView(source).first(size), 5000, flush));
                ASSERT_EQ(encoder.status(), StatusOk);
                if (size <= 260) {
                    EXPECT_EQ(encoder.lastWritten(), 0);
                    EXPECT_EQ(encoder.bits(), 3U);
                    EXPECT_EQ(encoder.consumedInAll(), 0U);
                } else {
                    EXPECT_GE(encoder.consumedInAll(), size - 260);
                    EXPECT_LE(encoder.consumedInAll(), size - 3);
                    EXPECT_TRUE(standsAtASymbol(encoder, source));
                }
            }
        }
    }
}

// The block stays open until the final flush, which may come without any source left.
TEST(DeflateSinglePass, FinalFlushMayComeAlone) {
    const Bytes source = sampleKind("zeros").make(1 + 258 * 3, 460);
    for (int i = 0; i < kBoth; ++i) {
        Encoder encoder({}, bothCodes()[i]);
        Bytes more = source;
        more.resize(source.size() + 2);  // the last match reaches up to the last bytes, which are left
        ASSERT_TRUE(encoder.encodes(more, 2000, 0));
        const std::size_t consumed = encoder.consumedInAll();
        ASSERT_GT(consumed, 500U);
        ASSERT_TRUE(encoder.encodes({}, 2000, 2));
        ASSERT_EQ(encoder.status(), StatusOk);
        EXPECT_EQ(oracle::zlibInflate(encoder.stream(), consumed), Bytes(consumed, 0));

        Encoder empty({}, bothCodes()[i]);
        ASSERT_TRUE(empty.encodes({}, 2000, 2));
        EXPECT_EQ(oracle::zlibInflate(empty.stream(), 10), Bytes{});
    }
}

// --- Statistics -----------------------------------------------------------------------------------------------------

TEST(DeflateSinglePass, StatisticsCountWhatTheEncodersWrite) {
    Random random(461);
    for (int round = 0; round < 200; ++round) {
        const auto kinds = sampleKinds();
        const SampleKind& kind = kinds[random.below(kinds.size())];
        const Bytes source = kind.make(random.below(20000), 462 + random.below(20));
        const Sizes sizes{256 + random.below(32513), 256 + random.below(65281)};
        Encoder encoder(sizes, bothCodes()[round % 2]);
        ASSERT_TRUE(encoder.encodesWhole(source));
        std::vector<uint32_t> literalCounts(286, 7);
        std::vector<uint32_t> distanceCounts(30, 9);
        for (const Symbol& symbol : symbolsOf(encoder.stream())) {
            if (symbol.kind == Symbol::Kind::Literal) ++literalCounts[symbol.literal];
            if (symbol.kind == Symbol::Kind::Match) {
                ++literalCounts[kFirstLength + lengthCode(symbol.length)];
                ++distanceCounts[distanceCode(symbol.distance)];
            }
        }

        // Counted in pieces of the source.
        GuardedArena sourceMemory(Guard::After);
        GuardedArena windowMemory(Guard::After);
        std::vector<int32_t> head(sizes.hashes, kEmpty);
        std::vector<uint32_t> ourLiterals(286, 7);
        std::vector<uint32_t> ourDistances(30, 9);
        int32_t index = 0;
        for (std::size_t consumed = 0, given = 0; given < source.size() || consumed < given;) {
            given = std::min(source.size(), given + random.below(8000));
            const std::span<uint8_t> bytes = sourceMemory.take(ByteView(source).first(given).subspan(consumed));
            const std::size_t held = std::min(consumed, sizes.window);
            const std::span<uint8_t> window = windowMemory.take(ByteView(source).first(consumed).last(held));
            const uint8_t* at = bytes.data();
            auto left = static_cast<int32_t>(bytes.size());
            ASSERT_EQ(
                ozrsDeflateLZ77FastestGetStat_8u(&at, &left, &index, window.data(), static_cast<int32_t>(sizes.window),
                                                 head.data(), static_cast<int32_t>(sizes.hashes), ourLiterals.data(),
                                                 ourDistances.data(), given == source.size() ? 2 : 0),
                StatusOk);
            consumed += static_cast<std::size_t>(at - bytes.data());
            ASSERT_EQ(static_cast<std::size_t>(left), given - consumed);
            ASSERT_EQ(static_cast<std::size_t>(index), consumed);
        }
        ASSERT_EQ(ourLiterals, literalCounts) << kind.name;
        ASSERT_EQ(ourDistances, distanceCounts) << kind.name;
    }
}

TEST(DeflateSinglePass, StatisticsLeaveTheEndOfTheSource) {
    const Bytes source(1000, 0);
    for (std::size_t size = 250; size < 270; ++size) {
        std::vector<int32_t> head(256, kEmpty);
        std::vector<uint32_t> literals(286);
        std::vector<uint32_t> distances(30);
        const uint8_t* at = source.data();
        auto left = static_cast<int32_t>(size);
        int32_t index = 0;
        ASSERT_EQ(ozrsDeflateLZ77FastestGetStat_8u(&at, &left, &index, source.data(), 256, head.data(), 256,
                                                   literals.data(), distances.data(), 1),
                  StatusOk);
        EXPECT_EQ(at == source.data(), size <= 260) << size;
    }
    // No source is no error.
    for (const int32_t size : {0, -1, INT32_MIN}) {
        int32_t head = 5;
        const uint8_t* at = source.data();
        int32_t left = size;
        int32_t index = 0;
        std::vector<uint32_t> literals(286);
        std::vector<uint32_t> distances(30);
        std::vector<int32_t> table(256, head);
        EXPECT_EQ(ozrsDeflateLZ77FastestGetStat_8u(&at, &left, &index, source.data(), 256, table.data(), 256,
                                                   literals.data(), distances.data(), 2),
                  StatusOk);
        EXPECT_EQ(left, size);
        EXPECT_EQ(literals, std::vector<uint32_t>(286));
        EXPECT_EQ(table, std::vector<int32_t>(256, 5));
    }
}

// The middle of a stream, after a dictionary: the tables are primed, and since the header is written at the start of a
// stream only, the caller opens the block.
TEST(DeflateSinglePass, PrimedTablesAndAPreparedCodeGoTogether) {
    const Bytes all = sampleKind("text").make(60'000, 468);
    for (const std::size_t dictionarySize : {4U, 100U, 1023U, 1024U, 5000U, 32'768U}) {
        const ByteView dictionary = ByteView(all).first(dictionarySize);
        const Bytes source(all.begin() + 32'768, all.end());
        const PreparedCode code(all);
        Encoder encoder({32768, 4096}, &code);
        encoder.startAt(static_cast<int64_t>(dictionarySize), dictionary);
        std::vector<int32_t> links(32'768);
        std::fill_n(encoder.hashes(), 4096, -32768);
        ASSERT_EQ(ozrsDeflateUpdateHash_8u(dictionary.data(), 0, static_cast<int32_t>(dictionarySize), encoder.hashes(),
                                           4096, links.data(), 32'768, 1),
                  StatusOk);
        ASSERT_TRUE(encoder.encodesWhole(source));

        const Bytes symbols = encoder.stream();
        Bytes stream;
        std::size_t bits = 0;
        const auto append = [&](ByteView from, std::size_t begin, std::size_t end) {
            for (; begin < end; ++begin, ++bits) {
                if (bits % 8 == 0) stream.push_back(0);
                stream.back() = static_cast<uint8_t>(stream.back() | bitsAt(from, begin, 1) << (bits % 8));
            }
        };
        append(symbols, 0, 3);
        append(code.header, 3, static_cast<std::size_t>(code.headerBits));
        append(symbols, 3, encoder.bits());
        EXPECT_EQ(oracle::zlibInflate(stream, source.size(), dictionary), source) << dictionarySize;
        // The dictionary is used: without it there is no such stream.
        if (dictionarySize >= 1000) {
            EXPECT_NE(oracle::zlibInflate(stream, source.size()), source) << dictionarySize;
        }
    }
}

// --- Indexes and tables ---------------------------------------------------------------------------------------------

TEST(DeflateSinglePass, IndexesAreLoweredBeforeTheyRunOut) {
    Random random(463);
    const Bytes before = sampleKind("mixed").make(1024, 464);
    const Bytes source = sampleKind("mixed").make(3000, 464);
    const int64_t edge = 0x7FFFFFFF - 2 * std::ssize(source) - 1024;
    for (const int64_t index : {edge - 1, edge, edge + 1, int64_t{0x7FFFFFFF} - 3001}) {
        Encoder encoder({1024, 4096}, nullptr);
        encoder.startAt(index, before);
        for (int i = 0; i < 4096; ++i) encoder.hashes()[i] = static_cast<int32_t>(index - random.between(0, 1023));
        ASSERT_TRUE(encoder.encodesWhole(source));
        EXPECT_EQ(encoder.index(), index < edge ? index + 3000 : 1024 + 3000);
        EXPECT_EQ(oracle::zlibInflate(encoder.stream(), source.size(), before), source);
    }
}

TEST(DeflateSinglePass, GarbageInTheTableDoesNoHarm) {
    Random random(465);
    for (int round = 0; round < 300; ++round) {
        const auto kinds = sampleKinds();
        const Bytes source = kinds[random.below(kinds.size())].make(random.below(3000), 466);
        const Sizes sizes{256 + random.below(5000), 256 + random.below(3000)};
        const auto index = static_cast<int64_t>(random.oneIn(3) ? 0 : random.below(20000));
        const Bytes before = sampleKind("mixed").make(static_cast<std::size_t>(index), 467);
        Encoder encoder(sizes, nullptr, random.oneIn(2) ? Guard::After : Guard::Before);
        encoder.startAt(index, before);
        for (std::size_t i = 0; i < sizes.hashes; ++i) {
            encoder.hashes()[i] = static_cast<int32_t>(random.oneIn(2) ? static_cast<int64_t>(random.next())
                                                                       : index + random.between(-6000, 4000));
        }
        const auto place = random.oneIn(2) ? HistoryPlace::InFront : HistoryPlace::Apart;
        ASSERT_TRUE(encoder.encodes(source, 2 * source.size() + 400, 2, place));
        ASSERT_EQ(encoder.status(), StatusOk);
        const ByteView window =
            ByteView(before).last(std::min(before.size(), std::min<std::size_t>(sizes.window, 32768)));
        ASSERT_EQ(oracle::zlibInflate(encoder.stream(), source.size(), window), source) << "round " << round;
    }
}

}  // namespace
}  // namespace ozrdc::test::deflate
