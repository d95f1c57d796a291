// See the header.
#include "lzss/checked_streams.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace ozrdc::test::lzss {
namespace {

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }

// Calls call(&source, &sourceLength, &target, &targetLength) on these buffers.
template <typename Call>
Result called(ByteView source, std::span<uint8_t> target, Call call) {
    const uint8_t* from = source.data();
    int32_t left = narrow(source.size());
    uint8_t* to = target.data();
    int32_t room = narrow(target.size());
    const Status status = call(&from, &left, &to, &room);
    const auto consumed = static_cast<std::size_t>(from - source.data());
    EXPECT_EQ(consumed + static_cast<std::size_t>(left), source.size());
    EXPECT_EQ(static_cast<std::size_t>(to - target.data()) + static_cast<std::size_t>(room), target.size());
    return {Bytes(target.data(), to), consumed, status};
}

void expectSame(const Result& result, const Result& expected) {
    EXPECT_EQ(result.status, expected.status);
    EXPECT_EQ(result.consumed, expected.consumed);
    EXPECT_EQ(result.written.size(), expected.written.size());
    // Not EXPECT_EQ on the bytes: their printed difference takes minutes.
    EXPECT_TRUE(result.written == expected.written);
}

}  // namespace

CheckedEncoder::CheckedEncoder(Guard guard) : state_(guard), source_(guard), target_(guard) { init(); }

void CheckedEncoder::init() {
    EXPECT_EQ(ozrsEncodeLZSSInit_8u(state_.get()), StatusOk);
    model_.init();
}

Result CheckedEncoder::encode(ByteView source, std::size_t capacity) {
    const Result result = called(source_.take(source), target_.take(capacity),
                                 [&](auto... arguments) { return ozrsEncodeLZSS_8u(arguments..., state_.get()); });
    expectSame(result, model_.encode(source, capacity));
    EXPECT_TRUE(state_.slackIntact());
    return result;
}

Result CheckedEncoder::flush(std::size_t capacity) {
    const Result result = called({}, target_.take(capacity), [&](auto, auto, uint8_t** target, int32_t* room) {
        return ozrsEncodeLZSSFlush_8u(target, room, state_.get());
    });
    expectSame(result, model_.flush(capacity));
    return result;
}

CheckedDecoder::CheckedDecoder(uint8_t memory, Guard guard)
    : state_(guard), source_(guard), target_(guard), model_(memory) {
    std::fill(state_.bytes().begin(), state_.bytes().end(), memory);
    init();
}

void CheckedDecoder::init() {
    EXPECT_EQ(ozrsDecodeLZSSInit_8u(state_.get()), StatusOk);
    model_.init();
}

Result CheckedDecoder::decode(ByteView source, std::size_t capacity) {
    const Result result = called(source_.take(source), target_.take(capacity),
                                 [&](auto... arguments) { return ozrsDecodeLZSS_8u(arguments..., state_.get()); });
    expectSame(result, model_.decode(source, capacity));
    EXPECT_TRUE(state_.slackIntact());
    return result;
}

Bytes CheckedCodec::encode(ByteView plain, const Sizes& sourceSizes, const Sizes& capacities) {
    encoder_.init();
    Bytes stream;
    const auto append = [&](const Bytes& bytes) { stream.insert(stream.end(), bytes.begin(), bytes.end()); };
    while (!plain.empty()) {
        const Result call = encoder_.encode(plain.first(std::min(plain.size(), sourceSizes())), capacities());
        if (::testing::Test::HasFailure()) return {};
        append(call.written);
        plain = plain.subspan(call.consumed);
    }
    for (Status status = StatusDestinationFull; status == StatusDestinationFull;) {
        const Result call = encoder_.flush(std::max<std::size_t>(capacities(), 1));
        if (::testing::Test::HasFailure()) return {};
        append(call.written);
        status = call.status;
    }
    return stream;
}

Bytes CheckedCodec::decode(ByteView stream, const Sizes& sourceSizes, const Sizes& capacities) {
    decoder_.init();
    Bytes plain;
    for (Status status = StatusDestinationFull; !stream.empty() || status == StatusDestinationFull;) {
        const Result call = decoder_.decode(stream.first(std::min(stream.size(), sourceSizes())), capacities());
        if (::testing::Test::HasFailure()) return {};
        plain.insert(plain.end(), call.written.begin(), call.written.end());
        stream = stream.subspan(call.consumed);
        status = call.status;
    }
    return plain;
}

bool CheckedCodec::roundTrip(ByteView plain, const Sizes& sourceSizes, const Sizes& capacities) {
    const Bytes stream = encode(plain, sourceSizes, capacities);
    const Bytes back = decode(stream, sourceSizes, capacities);
    return std::equal(plain.begin(), plain.end(), back.begin(), back.end());
}

Bytes modelStream(ByteView plain) {
    ReferenceEncoder model;
    const std::size_t everything = 2 * plain.size() + 8;
    Bytes stream = model.encode(plain, everything).written;
    const Bytes last = model.flush(8).written;
    stream.insert(stream.end(), last.begin(), last.end());
    return stream;
}

}  // namespace ozrdc::test::lzss
