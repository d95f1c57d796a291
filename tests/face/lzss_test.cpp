// LZSS streams through the face.
#include <gtest/gtest.h>

#include <ozrdc/lzss.hpp>

#include "streams.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

static_assert(Stream<lzss::Encoder> && Stream<lzss::Decoder>);

TEST(FaceLzss, GoesBothWaysInPiecesOfAnySize) {
    auto encoder = lzss::Encoder::create().value();
    auto decoder = lzss::Decoder::create().value();
    for (const SampleKind& kind : sampleKinds()) {
        const Data source = kind.make(20000, 1);
        for (const Pieces encoding : kPieces) {
            ASSERT_TRUE(encoder.reset());
            const Data stream = run(encoder, source, encoding).value();
            EXPECT_LE(stream.size(), lzss::encodedBound(source.size()));
            for (const Pieces decoding : {kPieces[0], kPieces[3], kPieces[4]}) {
                ASSERT_TRUE(decoder.reset());
                EXPECT_EQ(run(decoder, stream, decoding).value(), source) << kind.name;
            }
        }
    }
}

TEST(FaceLzss, WritesTheStreamOfTheCCalls) {
    const Data source = sampleKind("text").make(30000, 1);
    auto encoder = lzss::Encoder::create().value();
    const Data stream = run(encoder, source, {source.size(), 100000}).value();

    int32_t size = 0;
    ozrsLZSSGetSize_8u(&size);
    std::vector<uint64_t> memory(static_cast<std::size_t>(size) / 8 + 1);
    auto* const state = reinterpret_cast<LZSSState*>(memory.data());
    ozrsEncodeLZSSInit_8u(state);
    Data expected(100000);
    const uint8_t* from = source.data();
    auto left = static_cast<int32_t>(source.size());
    uint8_t* to = expected.data();
    auto room = static_cast<int32_t>(expected.size());
    ozrsEncodeLZSS_8u(&from, &left, &to, &room, state);
    ozrsEncodeLZSSFlush_8u(&to, &room, state);
    expected.resize(static_cast<std::size_t>(to - expected.data()));
    EXPECT_EQ(stream, expected);
}

TEST(FaceLzss, ADecoderGivesNothingAwayOfWhatItsMemoryHeld) {
    Data memory(lzss::Decoder::memorySize(), 0x77);
    auto decoder = lzss::Decoder::create(Place::in(memory)).value();
    const Data reachingBack{0x00, 0x32, 0x04, 0x00};  // a match of 7 bytes, 100 back, in front of the stream
    Data room(100);
    for (int round = 0; round < 2; ++round) {
        const auto progress = decoder.update(reachingBack, room);
        ASSERT_TRUE(progress);
        ASSERT_GT(progress->produced, 0U);
        for (std::size_t i = 0; i < progress->produced; ++i) EXPECT_EQ(room[i], 0);
        EXPECT_TRUE(decoder.update(Data(50, 0xFF), room));
        ASSERT_TRUE(decoder.reset());
    }
}

TEST(FaceLzss, FinishingTwiceWritesOnce) {
    auto encoder = lzss::Encoder::create().value();
    Data room(100);
    ASSERT_TRUE(encoder.update(Data{1, 2, 3}, room));
    EXPECT_GT(encoder.finish(room).value().produced, 0U);
    EXPECT_EQ(encoder.finish(room).value(), Progress{});
}

}  // namespace
}  // namespace ozrdc::test
