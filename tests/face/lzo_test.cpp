// LZO1X streams through the face, judged by liblzo2.
#include <gtest/gtest.h>

#include <ozrdc/lzo.hpp>

#include "streams.h"
#include "support/guarded_buffer.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

TEST(FaceLzo, GoesBothWays) {
    for (const lzo::Method method : {lzo::Method::standard, lzo::Method::fast}) {
        auto encoder = lzo::Encoder::create(method).value();
        for (const SampleKind& kind : sampleKinds()) {
            for (const std::size_t size : {std::size_t{1}, std::size_t{30}, std::size_t{100000}}) {
                const Data source = kind.make(size, 1);
                GuardedBuffer target(lzo::encodedBound(size));
                const auto stream = encoder.encode(source, target);
                ASSERT_TRUE(stream) << message(stream.status());
                EXPECT_EQ(oracle::lzoDecompress(copy(*stream), size), source);
                Data decoded(size + 49152);
                const auto room = std::span(decoded).last(size);
                EXPECT_EQ(copy(lzo::decode(*stream, room).value()), source);
                EXPECT_EQ(copy(lzo::decodeTrusted(*stream, room).value()), source);
            }
        }
    }
}

TEST(FaceLzo, TellsWhatIsWrong) {
    const Data source = sampleKind("text").make(5000, 1);
    Data stream = oracle::lzoCompress(source);
    Data target(source.size());
    EXPECT_EQ(lzo::decode(stream, std::span(target).first(100)).status(), StatusBrokenStream);
    EXPECT_EQ(lzo::decode(std::span(stream).first(stream.size() / 2), target).status(), StatusBrokenStream);
    auto encoder = lzo::Encoder::create().value();
    EXPECT_EQ(encoder.encode(source, std::span(target).first(100)).status(), StatusDestinationFull);
    EXPECT_EQ(lzo::Encoder::create(static_cast<lzo::Method>(3)).status(), StatusBadArgument);
}

TEST(FaceLzo, ContainersGoBothWays) {
    const Data source = sampleKind("random").make(10007, 1);  // takes the most room
    for (const uint32_t parts : {1U, 3U, 32U}) {
        auto encoder = lzo::Encoder::createContainer(parts).value();
        GuardedBuffer target(lzo::containerBound(source.size(), parts));
        const auto container = encoder.encode(source, target);
        ASSERT_TRUE(container) << message(container.status());
        EXPECT_EQ((*container)[0], std::byte{0x55});
        EXPECT_EQ((*container)[1], static_cast<std::byte>(parts));
        Data decoded(source.size());
        EXPECT_EQ(copy(lzo::decode(*container, decoded).value()), source);
    }
    EXPECT_EQ(lzo::Encoder::createContainer(0).status(), StatusBadArgument);
    EXPECT_EQ(lzo::Encoder::createContainer(33).status(), StatusBadArgument);
}

TEST(FaceLzo, AContainerThatStatesMoreThanTheRoomIsRefused) {
    Data container{0x55, 1, 0x54, 0, 0, 0, 1};  // 16 MB in one part
    container.insert(container.end(), {18, 'a', 0x11, 0, 0});
    GuardedBuffer target(1000);
    EXPECT_EQ(lzo::decode(container, target).status(), StatusDestinationFull);
    EXPECT_EQ(lzo::decodeTrusted(container, target).status(), StatusDestinationFull);
    container[6] = 0;
    container[3] = 1;  // the one byte that it has
    EXPECT_EQ(copy(lzo::decode(container, target).value()), Data{'a'});
}

}  // namespace
}  // namespace ozrdc::test
