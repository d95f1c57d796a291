// LZ4 blocks through the face: the blocks of the C calls, judged by liblz4.
#include <gtest/gtest.h>

#include <ozrdc/lz4.hpp>

#include "streams.h"
#include "support/guarded_buffer.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

constexpr std::size_t kSizes[] = {1, 2, 12, 13, 14, 100, 5000, 70000};

TEST(FaceLz4, EncodesTheBlocksOfTheCCalls) {
    for (const SampleKind& kind : sampleKinds()) {
        for (const std::size_t size : kSizes) {
            const Data source = kind.make(size, 1);
            Data target(lz4::encodedBound(size));
            for (const int32_t acceleration : {1, 8}) {
                const auto block = lz4::encode(source, target, acceleration);
                ASSERT_TRUE(block);
                Data expected(target.size());
                Data table(16384);
                int32_t length = 0;
                ozrsEncodeLZ4Fast_8u(source.data(), static_cast<int32_t>(size), expected.data(), &length, table.data(),
                                     acceleration);
                expected.resize(static_cast<std::size_t>(length));
                EXPECT_EQ(copy(*block), expected);
                EXPECT_EQ(oracle::lz4Decompress(copy(*block), size), source);
            }
        }
    }
}

TEST(FaceLz4, KeepsToTheRoomWhateverItIs) {
    const Data source = sampleKind("text").make(3000, 1);
    Data target(lz4::encodedBound(source.size()));
    const std::size_t needed = lz4::encode(source, target).value().size();
    for (std::size_t room = 1; room <= needed + 3; ++room) {
        GuardedBuffer guarded(room);
        const auto block = lz4::encode(source, guarded);
        if (room >= needed + 1) {
            ASSERT_TRUE(block) << room;
            EXPECT_EQ(oracle::lz4Decompress(copy(*block), source.size()), source);
        } else if (!block) {
            EXPECT_EQ(block.status(), StatusDestinationFull);
        }
        const auto part = lz4::encodePart(source, guarded);
        ASSERT_TRUE(part);
        EXPECT_LE(part->produced, room);
        EXPECT_EQ(part->status, part->consumed == source.size() ? StatusOk : StatusDestinationFull);
    }
    EXPECT_FALSE(lz4::encode(source, std::span(target).first(1)));
}

TEST(FaceLz4, RefusesWhatMakesNoSense) {
    Data target(100);
    EXPECT_EQ(lz4::encode({}, target).status(), StatusNullPointer);
    EXPECT_EQ(lz4::encode(Data(10), Buffer()).status(), StatusNullPointer);
    EXPECT_EQ(lz4::encode(Data(10), target, 0).status(), StatusBadFactor);
    EXPECT_EQ(lz4::encode(Data(1000), target, 2).status(), StatusSizeError);  // not enough room for acceleration
    EXPECT_EQ(lz4::decode({}, target).status(), StatusNullPointer);
    const std::byte one{};
    const Bytes enormous(std::span(&one, std::size_t{1} << 32));  // never looked at
    EXPECT_EQ(lz4::encode(enormous, target).status(), StatusSizeError);
    EXPECT_EQ(lz4::decode(enormous, target).status(), StatusSizeError);
}

TEST(FaceLz4, DecodesWhatLiblz4Encodes) {
    for (const SampleKind& kind : sampleKinds()) {
        for (const std::size_t size : kSizes) {
            const Data source = kind.make(size, 3);
            const Data block = oracle::lz4Compress(source);
            GuardedBuffer target(size);
            const auto decoded = lz4::decode(block, target);
            ASSERT_TRUE(decoded) << message(decoded.status());
            EXPECT_EQ(copy(*decoded), source);
        }
    }
}

TEST(FaceLz4, TellsWhatIsWrongWithABlock) {
    const Data source = sampleKind("text").make(5000, 1);
    const Data block = oracle::lz4Compress(source);
    Data target(source.size());
    EXPECT_EQ(lz4::decode(block, std::span(target).first(4000)).status(), StatusDestinationFull);
    EXPECT_EQ(lz4::decode(std::span(block).first(block.size() - 3), target).status(), StatusSourceExhausted);
    EXPECT_EQ(lz4::decode(Data{0x10, 'a', 5, 0, 0x50, 'a', 'b', 'c', 'd', 'e'}, target).status(), StatusError);

    const auto part = lz4::decodePart(block, std::span(target).first(4000));
    ASSERT_TRUE(part);
    EXPECT_EQ(part->status, StatusDestinationFull);
    EXPECT_TRUE(
        std::equal(target.begin(), target.begin() + static_cast<std::ptrdiff_t>(part->produced), source.begin()));
    EXPECT_EQ(lz4::decodePart(block, target).value(), (Progress{block.size(), source.size(), StatusOk}));
}

TEST(FaceLz4, LinkedBlocksReachBack) {
    const Data source = sampleKind("text").make(200000, 1);
    constexpr std::size_t kBlock = 30000;
    for (const bool high : {false, true}) {
        lz4::LinkedEncoder fast;
        auto best = lz4::HighEncoder::create(4).value();
        ASSERT_TRUE(best.reset());
        Data decoded(source.size());
        std::size_t linked = 0;
        std::size_t alone = 0;
        for (std::size_t start = 0; start < source.size(); start += kBlock) {
            const std::size_t end = std::min(start + kBlock, source.size());
            const auto buffer = std::span(source).first(end);
            Data target(lz4::encodedBound(end - start));
            const auto block = high ? best.encodeLinked(buffer, start, target) : fast.encode(buffer, start, target);
            ASSERT_TRUE(block);
            linked += block->size();
            const auto piece = lz4::decodeLinked(*block, std::span(decoded).first(end), start);
            ASSERT_TRUE(piece) << message(piece.status());
            EXPECT_EQ(piece->size(), end - start);
            const std::span<const uint8_t> history = std::span(source).subspan(
                start - std::min<std::size_t>(start, 65535), std::min<std::size_t>(start, 65535));
            EXPECT_EQ(oracle::lz4Decompress(copy(*block), end - start, history),
                      Data(source.begin() + static_cast<std::ptrdiff_t>(start),
                           source.begin() + static_cast<std::ptrdiff_t>(end)));
            alone += lz4::encode(buffer.subspan(start), target).value().size();
        }
        EXPECT_EQ(decoded, source);
        EXPECT_LT(linked, alone);
    }
}

TEST(FaceLz4, DictionariesMakeShortRecordsShort) {
    const Data dictionary = sampleKind("text").make(100000, 5);
    const lz4::Dictionary loaded(dictionary);
    auto high = lz4::HighEncoder::create().value();
    EXPECT_EQ(loaded.bytes().size(), 65535U);
    for (const std::size_t start : std::array<std::size_t, 3>{40000, 70000, 99000}) {
        const Data record(dictionary.begin() + static_cast<std::ptrdiff_t>(start),
                          dictionary.begin() + static_cast<std::ptrdiff_t>(start) + 900);
        Data target(lz4::encodedBound(record.size()));
        const std::size_t without = lz4::encode(record, target).value().size();
        for (const auto& block : {loaded.encode(record, target), high.encode(record, target, dictionary)}) {
            ASSERT_TRUE(block);
            EXPECT_LT(block->size(), without);
        }
        for (const bool best : {false, true}) {
            const auto block = best ? high.encode(record, target, dictionary) : loaded.encode(record, target);
            ASSERT_TRUE(block);
            EXPECT_EQ(oracle::lz4Decompress(copy(*block), record.size(), std::span(dictionary).last(65535)), record);
            GuardedBuffer decoded(record.size());
            const auto back = loaded.decode(*block, decoded);
            ASSERT_TRUE(back);
            EXPECT_EQ(copy(*back), record);
        }
        EXPECT_EQ(loaded.encode(record, std::span(target).first(5)).status(), StatusDestinationFull);
    }
    const lz4::Dictionary none;
    Data target(100);
    const Data record(50, 'x');
    const auto block = none.encode(record, target);
    ASSERT_TRUE(block);
    Data back(50);
    EXPECT_EQ(copy(none.decode(*block, back).value()), record);
}

TEST(FaceLz4, HighCompressionIsSmaller) {
    for (const SampleKind& kind : sampleKinds()) {
        const Data source = kind.make(50000, 1);
        Data target(lz4::encodedBound(source.size()));
        auto encoder = lz4::HighEncoder::create(9).value();
        const auto block = encoder.encode(source, target);
        ASSERT_TRUE(block);
        EXPECT_EQ(oracle::lz4Decompress(copy(*block), source.size()), source);
        const Data first = copy(*block);
        EXPECT_EQ(copy(encoder.encode(source, target).value()), first);  // nothing is left of the block before
        EXPECT_FALSE(encoder.encode(source, std::span(target).first(first.size() - 1)));
    }
    const Data text = sampleKind("text").make(50000, 1);
    Data target(lz4::encodedBound(text.size()));
    const std::size_t plain = lz4::encode(text, target).value().size();
    EXPECT_LT(lz4::HighEncoder::create(9).value().encode(text, target).value().size(), plain);
}

}  // namespace
}  // namespace ozrdc::test
