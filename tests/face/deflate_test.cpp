// Encoding of whole Deflate streams, judged by zlib, and the stages.
#include <gtest/gtest.h>

#include <ozrdc/deflate.hpp>
#include <ozrdc/inflate.hpp>

#include "streams.h"
#include "support/guarded_buffer.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

const Data kMixed = [] {  // text, noise and zeros: blocks of all kinds
    Data data = sampleKind("text").make(150000, 1);
    for (const char* kind : {"random", "zeros", "text", "low entropy"}) {
        const Data more = sampleKind(kind).make(120000, 2);
        data.insert(data.end(), more.begin(), more.end());
    }
    return data;
}();

TEST(FaceDeflate, EncodesInOnePiece) {
    for (const SampleKind& kind : sampleKinds()) {
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{300}, std::size_t{70000}}) {
            const Data source = kind.make(size, 1);
            GuardedBuffer target(deflate::encodedBound(size));
            const auto stream = deflate::encode(source, target);
            ASSERT_TRUE(stream) << kind.name << ' ' << size;
            EXPECT_EQ(oracle::zlibInflate(copy(*stream), size + 1), source) << kind.name << ' ' << size;

            GuardedBuffer fastTarget(deflate::fastEncodedBound(size));
            const auto fast = deflate::encodeFast(source, fastTarget);
            ASSERT_TRUE(fast) << kind.name << ' ' << size;
            EXPECT_EQ(oracle::zlibInflate(copy(*fast), size + 1), source);
        }
    }
}

TEST(FaceDeflate, EveryLevelWorks) {
    std::size_t fastest = 0;
    for (int32_t level = 0; level < 30; ++level) {
        Data target(deflate::encodedBound(kMixed.size()));
        const auto stream = deflate::encode(kMixed, target, level);
        ASSERT_TRUE(stream);
        EXPECT_EQ(oracle::zlibInflate(copy(*stream), kMixed.size()), kMixed) << level;
        if (level == 1) fastest = stream->size();
        if (level == 9) {
            EXPECT_LT(stream->size(), fastest);
        }
    }
    Data target(100);
    EXPECT_EQ(deflate::encode(kMixed, target, 30).status(), StatusSizeError);
    EXPECT_EQ(deflate::encode(kMixed, target, -1).status(), StatusSizeError);
}

TEST(FaceDeflate, IsAboutAsSmallAsZlib) {
    const Data source = sampleKind("text").make(300000, 1);
    Data target(deflate::encodedBound(source.size()));
    const std::size_t size = deflate::encode(source, target, 6).value().size();
    EXPECT_LT(size, oracle::zlibDeflate(source, 6).size() * 103 / 100);
}

TEST(FaceDeflate, TheBoundHoldsForNoise) {
    const Data noise = sampleKind("random").make(1 << 20, 1);
    for (const std::size_t size : {std::size_t{1}, std::size_t{16383}, std::size_t{65536}, noise.size()}) {
        Data target(deflate::encodedBound(size));
        EXPECT_TRUE(deflate::encode(std::span(noise).first(size), target));
        Data fastTarget(deflate::fastEncodedBound(size));
        EXPECT_TRUE(deflate::encodeFast(std::span(noise).first(size), fastTarget));
    }
}

TEST(FaceDeflate, TooLittleRoomIsNoticed) {
    const Data source = sampleKind("text").make(1000, 1);
    Data target(2000);
    const std::size_t size = deflate::encode(source, target).value().size();
    const std::size_t fastSize = deflate::encodeFast(source, target).value().size();
    for (std::size_t room = 0; room < fastSize + 2; ++room) {
        GuardedBuffer guarded(room);
        EXPECT_EQ(deflate::encode(source, guarded).status(), room < size ? StatusDestinationFull : StatusOk) << room;
        if (room < fastSize) {
            EXPECT_FALSE(deflate::encodeFast(source, guarded)) << room;
        }
    }
}

template <typename Encoder>
void expectEveryCuttingToDecode(Encoder& encoder, const Data& source) {
    for (const Pieces pieces : kPieces) {
        ASSERT_TRUE(encoder.reset());
        const auto stream = run(encoder, source, pieces);
        ASSERT_TRUE(stream) << message(stream.status());
        EXPECT_EQ(oracle::zlibInflate(*stream, source.size()), source) << pieces.source << ' ' << pieces.room;
    }
}

TEST(FaceDeflate, EncodesInPiecesOfAnySize) {
    auto encoder = deflate::Encoder::create(4).value();
    auto fast = deflate::FastEncoder::create().value();
    const auto code = deflate::PreparedCode::fromSample(std::span(kMixed).first(50000)).value();
    auto prepared = deflate::FastEncoder::create(code).value();
    for (const Data& source : {Data(), Data{1}, kMixed}) {
        expectEveryCuttingToDecode(encoder, source);
        expectEveryCuttingToDecode(fast, source);
        expectEveryCuttingToDecode(prepared, source);
    }
}

TEST(FaceDeflate, AFinishedStreamTakesNoMore) {
    auto encoder = deflate::Encoder::create().value();
    auto fast = deflate::FastEncoder::create().value();
    Data room(1000);
    EXPECT_TRUE(encoder.finish(room));
    EXPECT_EQ(encoder.update(Data(1), room).status(), StatusContextMismatch);
    EXPECT_EQ(encoder.finish(room).value(), Progress{});
    EXPECT_TRUE(fast.finish(room));
    EXPECT_EQ(fast.update(Data(1), room).status(), StatusContextMismatch);
    EXPECT_EQ(fast.finish(room).value(), Progress{});
}

TEST(FaceDeflate, APreparedCodeIsSmallerThanTheFixedOne) {
    const Data sample = sampleKind("text").make(60000, 1);
    const Data source = sampleKind("text").make(60000, 2);
    auto fixed = deflate::FastEncoder::create().value();
    auto prepared = deflate::FastEncoder::create(deflate::PreparedCode::fromSample(sample).value()).value();
    EXPECT_LT(run(prepared, source, {9999, 9999}).value().size(), run(fixed, source, {9999, 9999}).value().size());
    EXPECT_TRUE(deflate::PreparedCode::fromSample({}));  // every symbol gets a code
}

TEST(FaceDeflate, UsesADictionary) {
    const Data dictionary = sampleKind("text").make(50000, 1);
    const Data source(dictionary.end() - 20000, dictionary.end());
    for (const int32_t level : {0, 1, 6}) {
        auto encoder = deflate::Encoder::create(level).value();
        ASSERT_TRUE(encoder.reset(dictionary));
        const Data stream = run(encoder, source, {700, 700}).value();
        EXPECT_EQ(oracle::zlibInflate(stream, source.size(), dictionary), source);
        ASSERT_TRUE(encoder.reset());
        EXPECT_LT(stream.size(), run(encoder, source, {700, 700}).value().size());
    }
}

TEST(FaceDeflateStages, MakeABlockTogether) {
    const Data source = sampleKind("text").make(10000, 1);
    auto finder = deflate::MatchFinder::create(5, 16384).value();
    Data literals(source.size());
    std::vector<uint16_t> distances(source.size());
    deflate::Frequencies counts;
    const deflate::Records room{literals, distances};
    const auto found = finder.find(source, 0, room, counts, true).value();
    EXPECT_EQ(found.consumed, source.size());
    ++counts.literals[deflate::endOfBlock];
    const auto codes = deflate::makeCodes(counts).value();
    const auto header = deflate::makeHeader(codes).value();

    GuardedBuffer target(20000);
    deflate::BitWriter writer(target);
    EXPECT_TRUE(writer.put(header, true));
    EXPECT_TRUE(writer.put(room.first(found.produced), codes));
    EXPECT_TRUE(writer.put(codes.literals[deflate::endOfBlock]));
    EXPECT_TRUE(writer.align());
    EXPECT_EQ(oracle::zlibInflate(copy(writer.written()), source.size()), source);

    EXPECT_EQ(finder.find(source, source.size() + 1, room, counts, true).status(), StatusSizeError);
    EXPECT_EQ(finder.find(source, 0, room, counts, true).status(), StatusBadArgument);  // the window is missing
}

TEST(FaceDeflateStages, TheBitWriterKeepsToItsRoom) {
    const deflate::Codes fixed = deflate::fixedCodes();
    Data literals(100, 255);
    std::vector<uint16_t> distances(100, 0);
    for (std::size_t room = 0; room < 250; ++room) {
        GuardedBuffer target(room);
        deflate::BitWriter writer(target);
        const auto put = writer.put({literals, distances}, fixed);
        EXPECT_EQ(put.status(), room * 8 + 7 < 100 * 15 ? StatusDestinationFull : StatusOk) << room;
        while (writer.put(0x2A5, 10)) continue;
        EXPECT_LE(writer.written().size(), room);
        EXPECT_GE(writer.written().size() + 2, room);
    }
}

TEST(FaceDeflateStages, TheFixedCodeIsThatOfTheFormat) {
    const deflate::Codes codes = deflate::fixedCodes();
    EXPECT_EQ(codes.literals[0].code, 0x0C);  // 00110000, reversed
    EXPECT_EQ(codes.literals[0].len, 8);
    EXPECT_EQ(codes.literals[144].code, 0x13);  // 110010000
    EXPECT_EQ(codes.literals[144].len, 9);
    EXPECT_EQ(codes.literals[256].code, 0);
    EXPECT_EQ(codes.literals[256].len, 7);
    EXPECT_EQ(codes.literals[280].code, 0x03);  // 11000000
    EXPECT_EQ(codes.distances[1].code, 0x10);
}

}  // namespace
}  // namespace ozrdc::test
