// Streams of independent compressors, at every level, in one call a block and in pieces.
#include <gtest/gtest.h>

#include "inflate/checked_decoder.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test::inflate {
namespace {

struct Stream {
    std::string name;
    Bytes bytes;
};

std::vector<Stream> streamsOf(ByteView source) {
    using oracle::ZlibStrategy;
    std::vector<Stream> streams;
    for (int level = 0; level <= 9; ++level) {
        streams.push_back({"zlib -" + std::to_string(level), oracle::zlibDeflate(source, level)});
    }
    for (int level = 0; level <= 12; ++level) {
        streams.push_back({"libdeflate -" + std::to_string(level), oracle::libdeflateDeflate(source, level)});
    }
    for (const ZlibStrategy strategy :
         {ZlibStrategy::Filtered, ZlibStrategy::HuffmanOnly, ZlibStrategy::RunLengths, ZlibStrategy::Fixed}) {
        streams.push_back(
            {"zlib, strategy " + std::to_string(static_cast<int>(strategy)), oracle::zlibDeflate(source, 6, strategy)});
    }
    streams.push_back({"zlib, short blocks", oracle::zlibDeflate(source, 6, ZlibStrategy::Default, 1)});
    return streams;
}

TEST(InflateStreams, WholeStreamsDecode) {
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes source = kind.make(100000, 320);
        for (const Stream& stream : streamsOf(source)) {
            SCOPED_TRACE(std::string(kind.name) + ", " + stream.name);
            CheckedDecoder decoder(stream.bytes, {}, Guard::After);
            ASSERT_TRUE(decodeStream(decoder, stream.bytes, [](CheckedDecoder& d) { return d.decodeWhole(); }));
            ASSERT_EQ(decoder.output(), source);
        }
    }
}

// As most callers do it: everything in large pieces, a window of 32 KB that is moved on between calls.
TEST(InflateStreams, PiecesDecodeWithACircularWindow) {
    Random random(321);
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes source = kind.make(100000, 322);
        for (const Stream& stream : streamsOf(source)) {
            SCOPED_TRACE(std::string(kind.name) + ", " + stream.name);
            const std::size_t piece = 100 + random.below(5000);
            const std::size_t room = 100 + random.below(20000);
            std::size_t given = 0;
            CheckedDecoder decoder(stream.bytes, Bytes(32768), Guard::Before);
            ASSERT_TRUE(decodeStream(decoder, stream.bytes, [&](CheckedDecoder& d) {
                if (d.sourceUsedUp()) given += piece;
                return d.call(given, room, {0, 32768, d.outputSize() % 32769});
            }));
            ASSERT_EQ(decoder.output(), source);
        }
    }
}

TEST(InflateStreams, PiecesOfAnySizeDecodeWithTheHistoryAnywhere) {
    Random random(323);
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes source = kind.make(12000, 324);
        for (const Stream& stream : streamsOf(source)) {
            SCOPED_TRACE(std::string(kind.name) + ", " + stream.name);
            const uint64_t most = 1 + random.below(uint64_t{1} << random.below(14));
            std::size_t given = 0;
            CheckedDecoder decoder(stream.bytes, Bytes(32768), random.oneIn(2) ? Guard::Before : Guard::After);
            ASSERT_TRUE(decodeStream(decoder, stream.bytes, [&](CheckedDecoder& d) {
                given += random.below(most + 1);
                return d.call(given, random.below(3 * most), randomPlacement(random, 32768 + d.outputSize()),
                              static_cast<unsigned>(random.below(4)));
            }));
            ASSERT_EQ(decoder.output(), source);
        }
    }
}

TEST(InflateStreams, DictionaryStandsInTheWindow) {
    const Bytes dictionary = sampleKind("text").make(32768, 325);
    const Bytes source = sampleKind("text").make(60000, 326);
    for (const int level : {1, 6, 9}) {
        const Bytes stream = oracle::zlibDeflate(source, level, oracle::ZlibStrategy::Default, 8, dictionary);
        CheckedDecoder decoder(stream, dictionary, Guard::After);
        ASSERT_TRUE(decodeStream(decoder, stream, [&](CheckedDecoder& d) {
            return d.call(stream.size(), 7000, {0, 32768, (5 * d.outputSize()) % 32769});
        }));
        ASSERT_EQ(decoder.output(), source);
    }
}

TEST(InflateStreams, RealFilesDecode) {
    const std::vector<CorpusFile> files = corpusFiles(300000);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    Random random(327);
    for (const CorpusFile& file : files) {
        for (const Stream& stream : {Stream{"zlib -6", oracle::zlibDeflate(file.bytes, 6)},
                                     Stream{"zlib -1", oracle::zlibDeflate(file.bytes, 1)},
                                     Stream{"libdeflate -9", oracle::libdeflateDeflate(file.bytes, 9)}}) {
            SCOPED_TRACE(file.name + ", " + stream.name);
            CheckedDecoder whole(stream.bytes, {}, Guard::After);
            ASSERT_TRUE(decodeStream(whole, stream.bytes, [](CheckedDecoder& d) { return d.decodeWhole(); }));
            ASSERT_EQ(whole.output(), file.bytes);

            std::size_t given = 0;
            CheckedDecoder pieces(stream.bytes, Bytes(32768), Guard::Before);
            ASSERT_TRUE(decodeStream(pieces, stream.bytes, [&](CheckedDecoder& d) {
                given += random.below(30000);
                return d.call(given, random.below(60000), randomPlacement(random, 32768 + d.outputSize()));
            }));
            ASSERT_EQ(pieces.output(), file.bytes);
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::inflate
