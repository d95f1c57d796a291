// Where states live, and what is left of them after a move.
#include <gtest/gtest.h>

#include <ozrdc.hpp>
#include <vector>

#include "streams.h"

namespace ozrdc::test {
namespace {

// One of every class with a state: how it is made, how much memory it asks for, and a call that succeeds.
template <typename T>
struct Kind;

template <>
struct Kind<lz4::HighEncoder> {
    static Result<lz4::HighEncoder> make(Place place) { return lz4::HighEncoder::create(5, place); }
    static std::size_t size() { return lz4::HighEncoder::memorySize(); }
    static Status use(lz4::HighEncoder& encoder) {
        Data block(1000);
        return encoder.encode(Data(100, 'x'), block).status();
    }
};

template <typename S>
struct StreamKind {
    static Result<S> make(Place place) { return S::create(place); }
    static std::size_t size() { return S::memorySize(); }
    static Status use(S& stream) {
        Data room(1000);
        const Result<Progress> progress = stream.update(Data(10, 0), room);
        return progress.status();
    }
};
template <>
struct Kind<lzss::Encoder> : StreamKind<lzss::Encoder> {};
template <>
struct Kind<lzss::Decoder> : StreamKind<lzss::Decoder> {};
template <>
struct Kind<deflate::FastEncoder> : StreamKind<deflate::FastEncoder> {};
template <>
struct Kind<bz2::RunLengthEncoder> : StreamKind<bz2::RunLengthEncoder> {};
template <>
struct Kind<bz2::RunLengthDecoder> : StreamKind<bz2::RunLengthDecoder> {};
template <>
struct Kind<deflate::Encoder> : StreamKind<deflate::Encoder> {
    static Result<deflate::Encoder> make(Place place) { return deflate::Encoder::create(6, place); }
};
template <>
struct Kind<inflate::Decoder> : StreamKind<inflate::Decoder> {
    static Status use(inflate::Decoder& decoder) {
        Data room(10);
        return decoder.update(Data{3, 0}, room).status();  // an empty block with the fixed code
    }
};
template <>
struct Kind<deflate::MatchFinder> {
    static Result<deflate::MatchFinder> make(Place place) { return deflate::MatchFinder::create(6, 4096, place); }
    static std::size_t size() { return deflate::MatchFinder::memorySize(4096); }
    static Status use(deflate::MatchFinder& finder) {
        Data literals(10);
        std::vector<uint16_t> distances(10);
        deflate::Frequencies counts;
        finder.reset();
        return finder.find(Data(10, 'x'), 0, {literals, distances}, counts, true).status();
    }
};
template <>
struct Kind<lzo::Encoder> {
    static Result<lzo::Encoder> make(Place place) { return lzo::Encoder::create(lzo::Method::standard, place); }
    static std::size_t size() { return lzo::Encoder::memorySize(); }
    static Status use(lzo::Encoder& encoder) {
        Data stream(1000);
        return encoder.encode(Data(100, 'x'), stream).status();
    }
};
template <>
struct Kind<bz2::ForwardTransform> {
    static Result<bz2::ForwardTransform> make(Place place) {
        return bz2::ForwardTransform::create(100, bz2::SortStrategy::automatic, place);
    }
    static std::size_t size() { return bz2::ForwardTransform::memorySize(100).value(); }
    static Status use(bz2::ForwardTransform& transform) {
        Data column(100);
        return transform.transform(Data(100, 'x'), column).status();
    }
};
template <>
struct Kind<bz2::InverseTransform> {
    static Result<bz2::InverseTransform> make(Place place) { return bz2::InverseTransform::create(100, place); }
    static std::size_t size() { return bz2::InverseTransform::memorySize(100).value(); }
    static Status use(bz2::InverseTransform& transform) {
        Data block(100);
        return transform.transform(Data(100, 'x'), 0, block).status();
    }
};
template <>
struct Kind<bz2::HuffmanEncoder> {
    static constexpr std::array<uint16_t, 3> symbols{0, 1, 2};
    static Result<bz2::HuffmanEncoder> make(Place place) {
        bz2::SymbolCounts counts{1, 1, 1};
        return bz2::HuffmanEncoder::create(3, counts, symbols, place);
    }
    static std::size_t size() { return bz2::HuffmanEncoder::memorySize(symbols.size()).value(); }
    static Status use(bz2::HuffmanEncoder& encoder) {
        Data room(100);
        bz2::PendingBits bits;
        return encoder.writeTables(bits, room).status();
    }
};
template <>
struct Kind<bz2::HuffmanDecoder> {
    static Result<bz2::HuffmanDecoder> make(Place place) { return bz2::HuffmanDecoder::create(place); }
    static std::size_t size() { return bz2::HuffmanDecoder::memorySize(); }
    static Status use(bz2::HuffmanDecoder& decoder) { return decoder.start(10).status(); }
};
template <>
struct Kind<bz2::BlockDecoder> {
    static Result<bz2::BlockDecoder> make(Place place) { return bz2::BlockDecoder::create(100, place); }
    static std::size_t size() { return bz2::BlockDecoder::memorySize(100).value(); }
    static Status use(bz2::BlockDecoder& decoder) {
        Data block(100);
        bz2::InUse inUse{};
        inUse[7] = 1;
        return decoder.decode(std::array<uint16_t, 1>{0}, 0, inUse, block).status();
    }
};
template <>
struct Kind<zfp::Encoder> {
    static inline std::array<std::byte, 1000> target;
    static Result<zfp::Encoder> make(Place place) { return zfp::Encoder::create(target, zfp::kEverything, place); }
    static std::size_t size() { return zfp::Encoder::memorySize(); }
    static Status use(zfp::Encoder& encoder) {
        const std::array<float, 64> block{};
        return encoder.encode(block.data()).status();
    }
};
template <>
struct Kind<zfp::Decoder> {
    static inline std::array<std::byte, 1000> source;
    static Result<zfp::Decoder> make(Place place) { return zfp::Decoder::create(source, zfp::kEverything, place); }
    static std::size_t size() { return zfp::Decoder::memorySize(); }
    static Status use(zfp::Decoder& decoder) {
        std::array<float, 64> block{};
        return decoder.decode(block.data()).status();
    }
};

template <typename T>
class Places : public ::testing::Test {};
using Kinds = ::testing::Types<lz4::HighEncoder, lzss::Encoder, lzss::Decoder, deflate::Encoder, deflate::FastEncoder,
                               deflate::MatchFinder, inflate::Decoder, lzo::Encoder, bz2::RunLengthEncoder,
                               bz2::RunLengthDecoder, bz2::ForwardTransform, bz2::InverseTransform, bz2::HuffmanEncoder,
                               bz2::HuffmanDecoder, bz2::BlockDecoder, zfp::Encoder, zfp::Decoder>;
TYPED_TEST_SUITE(Places, Kinds);

TYPED_TEST(Places, StatesWorkOnTheHeap) {
    auto made = Kind<TypeParam>::make(Place::heap());
    ASSERT_TRUE(made) << message(made.status());
    EXPECT_EQ(Kind<TypeParam>::use(*made), StatusOk);
}

TYPED_TEST(Places, StatesWorkInMemoryAtAnyAddress) {
    const std::size_t size = Kind<TypeParam>::size();
    Data memory(size + 64);
    for (const std::size_t shift : std::array<std::size_t, 8>{0, 1, 2, 3, 4, 8, 31, 63}) {
        auto made = Kind<TypeParam>::make(Place::in(Buffer(std::span(memory).subspan(shift, size))));
        ASSERT_TRUE(made) << message(made.status());
        EXPECT_EQ(Kind<TypeParam>::use(*made), StatusOk);
    }
}

TYPED_TEST(Places, StaysInsideItsMemory) {
    constexpr uint8_t untouched = 0xA5;
    const std::size_t size = Kind<TypeParam>::size();
    Data memory(size + 128, untouched);
    {
        auto made = Kind<TypeParam>::make(Place::in(Buffer(std::span(memory).subspan(64, size))));
        ASSERT_TRUE(made);
        EXPECT_EQ(Kind<TypeParam>::use(*made), StatusOk);
    }
    for (std::size_t i = 0; i < 64; ++i) {
        EXPECT_EQ(memory[i], untouched);
        EXPECT_EQ(memory[memory.size() - 1 - i], untouched);
    }
}

TYPED_TEST(Places, TooLittleMemoryIsNoticed) {
    Data memory(Kind<TypeParam>::size() - 64);  // less than the state itself
    EXPECT_EQ(Kind<TypeParam>::make(Place::in(memory)).status(), StatusSizeError);
    EXPECT_EQ(Kind<TypeParam>::make(Place::in(Buffer())).status(), StatusSizeError);
}

TYPED_TEST(Places, AMovedStateGoesOnAndLeavesNothingBehind) {
    auto made = Kind<TypeParam>::make(Place::heap());
    ASSERT_TRUE(made);
    TypeParam first = *std::move(made);
    EXPECT_EQ(Kind<TypeParam>::use(first), StatusOk);
    TypeParam second = std::move(first);
    EXPECT_EQ(Kind<TypeParam>::use(second), StatusOk);
    EXPECT_EQ(Kind<TypeParam>::use(first), StatusNullPointer);  // NOLINT(bugprone-use-after-move): that is the test
    first = std::move(second);
    EXPECT_EQ(Kind<TypeParam>::use(first), StatusOk);
    TypeParam empty;
    EXPECT_EQ(Kind<TypeParam>::use(empty), StatusNullPointer);
    static_assert(!std::is_copy_constructible_v<TypeParam> && std::is_nothrow_move_constructible_v<TypeParam>);
}

}  // namespace
}  // namespace ozrdc::test
