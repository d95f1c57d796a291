// Decoding of whole Deflate streams: what zlib and libdeflate write, in every cutting, and damage.
#include <gtest/gtest.h>

#include <ozrdc/inflate.hpp>

#include "streams.h"
#include "support/guarded_buffer.h"
#include "support/oracles.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

using oracle::ZlibStrategy;

// Streams with every kind of block.
std::vector<Data> streamsOf(const Data& source) {
    return {oracle::zlibDeflate(source, 0),  // stored
            oracle::zlibDeflate(source, 1),       oracle::zlibDeflate(source, 9, ZlibStrategy::Fixed),
            oracle::zlibDeflate(source, 6),       oracle::zlibDeflate(source, 6, ZlibStrategy::HuffmanOnly, 1),
            oracle::libdeflateDeflate(source, 12)};
}

TEST(FaceInflate, DecodesInOnePiece) {
    for (const SampleKind& kind : sampleKinds()) {
        for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{300}, std::size_t{100000}}) {
            const Data source = kind.make(size, 1);
            for (Data stream : streamsOf(source)) {
                GuardedBuffer target(size);  // exactly what is needed
                const GuardedBuffer guarded(stream);
                const auto decoded = inflate::decode(guarded, target);
                ASSERT_TRUE(decoded) << kind.name << ' ' << size << ' ' << message(decoded.status());
                EXPECT_EQ(copy(*decoded), source);

                const std::size_t streamSize = stream.size();
                stream.insert(stream.end(), 100, 0xFF);  // what follows is not touched
                EXPECT_EQ(inflate::decodePart(stream, target).value(), (Progress{streamSize, size, StatusOk}));
            }
        }
    }
}

TEST(FaceInflate, DecodesInPiecesOfAnySize) {
    auto decoder = inflate::Decoder::create().value();
    for (const char* kind : {"text", "random", "zeros", "period 40000"}) {
        const Data source = sampleKind(kind).make(90000, 1);
        for (Data stream : streamsOf(source)) {
            for (const Pieces pieces : kPieces) {
                ASSERT_TRUE(decoder.reset());
                const auto output = run(decoder, stream, pieces);
                ASSERT_TRUE(output) << kind << ' ' << message(output.status());
                EXPECT_EQ(*output, source);
                EXPECT_TRUE(decoder.done());
            }
        }
    }
}

TEST(FaceInflate, TakesNoByteBehindTheStream) {
    const Data source = sampleKind("text").make(20000, 1);
    for (Data stream : streamsOf(source)) {
        const std::size_t size = stream.size();
        stream.insert(stream.end(), 10, 0x5A);
        auto decoder = inflate::Decoder::create().value();
        Data room(333);
        std::size_t consumed = 0;
        for (std::size_t piece = 1; !decoder.done(); piece = piece % 7 + 1) {
            const auto rest = std::span(stream).subspan(consumed);
            const auto progress = decoder.update(rest.first(std::min(piece, rest.size())), room);
            ASSERT_TRUE(progress);
            consumed += progress->consumed;
        }
        EXPECT_EQ(consumed, size);
        EXPECT_EQ(decoder.update(stream, room).value(), Progress{});
        EXPECT_EQ(decoder.finish(room).value(), Progress{});
    }
}

TEST(FaceInflate, UsesADictionary) {
    const Data dictionary = sampleKind("text").make(40000, 1);
    const Data source(dictionary.end() - 33000, dictionary.end());
    const Data stream = oracle::zlibDeflate(source, 9, ZlibStrategy::Default, 8, dictionary);
    auto decoder = inflate::Decoder::create().value();
    ASSERT_TRUE(decoder.reset(dictionary));
    EXPECT_EQ(run(decoder, stream, {1000, 1000}).value(), source);
    ASSERT_TRUE(decoder.reset());
    EXPECT_EQ(run(decoder, stream, {1000, 1000}).status(), StatusBadCodeTable);  // matches reach to nowhere
}

TEST(FaceInflate, ACutStreamIsNoticed) {
    const Data source = sampleKind("text").make(3000, 1);
    for (const Data& stream : streamsOf(source)) {
        Data target(source.size());
        for (std::size_t size = 0; size < stream.size(); ++size) {
            const auto cut = std::span(stream).first(size);
            EXPECT_EQ(inflate::decode(cut, target).status(), StatusSourceExhausted) << size;
            auto decoder = inflate::Decoder::create().value();
            EXPECT_EQ(run(decoder, cut, {100, 1000}).status(), StatusSourceExhausted);
        }
        for (std::size_t room = 0; room < source.size(); room += 97) {
            EXPECT_EQ(inflate::decode(stream, std::span(target).first(room)).status(), StatusDestinationFull);
        }
    }
}

TEST(FaceInflate, DamageIsNoticedAndStays) {
    const std::vector<std::pair<const char*, Data>> damaged{
        {"block of type 3", {7}},
        {"stored size against its complement", {1, 5, 0, 5, 0}},
        {"too many distances", {0x05, 0x1F}},
        {"no code for the lengths", {0x05, 0, 0, 0}},
        {"distance to nowhere", {0x03, 0x02}},
    };
    for (const auto& [what, start] : damaged) {
        Data stream = start;
        stream.resize(300);
        Data target(1000);
        const Status status = inflate::decode(stream, target).status();
        EXPECT_TRUE(status == StatusError || status == StatusBadCodeTable) << what << ' ' << status;
        auto decoder = inflate::Decoder::create().value();
        EXPECT_EQ(decoder.update(stream, target).status(), status) << what;
        EXPECT_EQ(decoder.update(stream, target).status(), status) << what;
        EXPECT_FALSE(decoder.done());
    }
}

TEST(FaceInflate, AgreesWithZlibOnDamagedStreams) {
    const Data source = sampleKind("text").make(2000, 1);
    Random random(77);
    const auto streams = streamsOf(source);
    std::size_t refused = 0;
    for (int round = 0; round < 20000; ++round) {
        Data stream = streams[random.below(streams.size())];
        for (uint64_t i = random.below(3) + 1; i > 0; --i) {
            stream[random.below(std::min<std::size_t>(stream.size(), 120))] = random.byte();
        }
        GuardedBuffer target(4000);
        const auto judged = oracle::zlibInflate(stream, 4000);
        const auto progress = inflate::decodePart(stream, target);
        if (judged) {
            ASSERT_TRUE(progress);
            EXPECT_EQ(progress->status, StatusOk);
            EXPECT_EQ(copy(Buffer(target).first(progress->produced)), *judged);
        } else {
            ++refused;
            const bool complete = progress && progress->status == StatusOk && progress->consumed == stream.size();
            EXPECT_FALSE(complete) << round;
        }
    }
    EXPECT_GT(refused, 1000U);
}

}  // namespace
}  // namespace ozrdc::test
