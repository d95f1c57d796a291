// What the decoder takes, gives and keeps, for streams that the encoder would not write, too. Every call is also
// compared with the model.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "lzss/checked_streams.h"
#include "lzss/state.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzss {
namespace {

constexpr std::size_t kPlenty = 100000;

Bytes bytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

Bytes repeated(const std::string& text, std::size_t size) {
    Bytes bytes;
    while (bytes.size() < size) bytes.push_back(static_cast<uint8_t>(text[bytes.size() % text.size()]));
    return bytes;
}

TEST(LzssDecoder, ReadsLiteralsAndMatches) {
    CheckedDecoder decoder;
    const Bytes stream = TokenWriter().literals(bytesOf("abc")).match(3, 4).literals(bytesOf("bc")).bytes();
    const Result call = decoder.decode(stream, kPlenty);
    EXPECT_EQ(call.written, bytesOf("abcabcabc"));
    EXPECT_EQ(call.consumed, stream.size());
    EXPECT_EQ(call.status, StatusOk);
}

TEST(LzssDecoder, NoSourceIsNoTrouble) {
    CheckedDecoder decoder;
    const Result call = decoder.decode({}, 1);
    EXPECT_EQ(call.status, StatusOk);
    EXPECT_EQ(call.written, Bytes{});
}

TEST(LzssDecoder, IncompleteTokensStayInTheState) {
    const Bytes stream = TokenWriter().literal('a').match(1, 10).bytes();  // 33 bits
    for (std::size_t cut = 1; cut < stream.size(); ++cut) {
        CheckedDecoder decoder;
        Result call = decoder.decode(ByteView(stream).first(cut), kPlenty);
        EXPECT_EQ(call.status, StatusOk);
        EXPECT_EQ(call.consumed, cut);
        EXPECT_EQ(call.written.size(), cut >= 2 ? 1U : 0U);
        call = decoder.decode(ByteView(stream).subspan(cut), kPlenty);
        EXPECT_EQ(call.consumed, stream.size() - cut);
        EXPECT_EQ(call.written.size(), cut >= 2 ? 10U : 11U);
    }
}

TEST(LzssDecoder, TakesNoMoreBytesThanTheLastTokenNeeds) {
    // Long enough for the fast loop, which reads ahead.
    const Bytes sample = sampleKind("text").make(5000, 1);
    const Bytes stream = modelStream(sample);
    for (std::size_t room = 1; room <= 1200; ++room) {
        CheckedDecoder decoder;
        ASSERT_EQ(decoder.decode(stream, room).status, StatusDestinationFull);
        if (HasFailure()) return;
    }
}

TEST(LzssDecoder, FullDestinationIsAWarningEvenIfAllIsDone) {
    const Bytes stream = TokenWriter().literal('a').match(1, 9).bytes();
    CheckedDecoder decoder;
    Result call = decoder.decode(stream, 1);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.consumed, 2U);
    call = decoder.decode(ByteView(stream).subspan(2), 9);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.consumed, stream.size() - 2);
    EXPECT_EQ(decoder.decode({}, 9).status, StatusOk);
}

TEST(LzssDecoder, MatchGoesOnBeforeAnyNewToken) {
    const Bytes stream = TokenWriter().literals(bytesOf("abc")).match(3, 258).literal('z').bytes();
    for (const std::size_t room : {1U, 2U, 3U, 7U, 100U, 257U}) {
        SCOPED_TRACE(room);
        CheckedDecoder decoder;
        Result call = decoder.decode(stream, 3 + room);
        EXPECT_EQ(call.status, StatusDestinationFull);
        EXPECT_EQ(call.written, repeated("abc", 3 + room));
        const std::size_t consumed = call.consumed;
        std::size_t written = call.written.size();
        // Without any source, until all of it is there.
        while (written < 261) {
            const std::size_t left = 261 - written;
            call = decoder.decode({}, std::min(room, left));
            EXPECT_EQ(call.status, StatusDestinationFull);
            EXPECT_EQ(call.written.size(), std::min(room, left));
            written += call.written.size();
            ASSERT_FALSE(HasFailure());
        }
        call = decoder.decode(ByteView(stream).subspan(consumed), room + 1);
        EXPECT_EQ(call.written, bytesOf("z"));
    }
}

TEST(LzssDecoder, EveryDistanceAndLengthFromAnywhere) {
    // Output in front of the match in this call, in the history, or in both; with room for wide copies and without.
    const Bytes front = sampleKind("random").make(400, 2);
    const auto lengths = {3U, 4U, 7U, 8U, 9U, 15U, 16U, 17U, 24U, 25U, 31U, 33U, 48U, 49U, 64U, 100U, 258U};
    std::vector<unsigned> distances;
    for (unsigned d = 1; d <= 70; ++d) distances.push_back(d);
    for (const unsigned d : {100U, 200U, 257U, 258U, 300U, 399U, 400U}) distances.push_back(d);
    CheckedDecoder decoder;
    for (const std::size_t history : {0U, 200U, 390U, 400U}) {
        const Bytes first = TokenWriter().literals(ByteView(front).first(history)).bytes();
        for (const unsigned distance : distances) {
            for (const unsigned length : lengths) {
                const Bytes second =
                    TokenWriter().literals(ByteView(front).subspan(history)).match(distance, length).bytes();
                for (const std::size_t slack : {0U, 1U, 40U, 1000U}) {
                    // Init forgets the bits that fill the stream up, but not the bytes.
                    decoder.init();
                    if (history > 0) decoder.decode(first, history);
                    decoder.init();
                    decoder.decode(second, 400 - history + length + slack);
                    if (HasFailure()) FAIL() << history << ' ' << distance << ' ' << length << ' ' << slack;
                }
            }
        }
    }
}

TEST(LzssDecoder, DistancesReachTheWholeWindow) {
    const Bytes front = sampleKind("random").make(70000, 3);
    const Bytes stream = TokenWriter().literals(front).bytes();
    for (const std::size_t last : {1U, 1000U, 32766U, 32767U, 32768U, 40000U, 70000U}) {
        for (const unsigned distance : {1U, 32000U, 32766U, 32767U}) {
            SCOPED_TRACE(testing::Message() << last << ' ' << distance);
            CheckedDecoder decoder;
            const Result call = decoder.decode(stream, front.size() - last + (last == front.size() ? 1 : 0));
            decoder.decode(ByteView(stream).subspan(call.consumed), last);
            decoder.init();
            EXPECT_EQ(decoder.decode(TokenWriter().match(distance, 3).bytes(), 3).written[0],
                      front[front.size() - distance]);
        }
    }
}

TEST(LzssDecoder, NewStreamReachesWhatTheOldOneLeft) {
    CheckedDecoder decoder;
    decoder.decode(TokenWriter().literals(bytesOf("hello, ")).bytes(), 7);
    decoder.init();
    EXPECT_EQ(decoder.decode(TokenWriter().match(7, 5).bytes(), 5).written, bytesOf("hello"));
    decoder.init();
    // What lies in front of that is what the memory held.
    EXPECT_EQ(decoder.decode(TokenWriter().match(32767, 3).bytes(), 3).written, Bytes(3, 0));
    CheckedDecoder other(0xAA);
    EXPECT_EQ(other.decode(TokenWriter().match(32767, 3).bytes(), 3).written, Bytes(3, 0xAA));
}

TEST(LzssDecoder, StateMayHoldAnythingBefore) {
    for (uint64_t seed = 1; seed < 20; ++seed) {
        StateMemory state;
        Random(seed).fill(state.bytes());
        state.get()->decoder.end = static_cast<uint32_t>(Random(seed).next());
        ASSERT_EQ(ozrsDecodeLZSSInit_8u(state.get()), StatusOk);
        const Bytes stream = TokenWriter().match(32767, 258).match(1, 258).match(258, 258).bytes();
        Bytes target(kPlenty);
        const uint8_t* from = stream.data();
        auto left = static_cast<int32_t>(stream.size());
        uint8_t* to = target.data();
        auto room = static_cast<int32_t>(target.size());
        EXPECT_EQ(ozrsDecodeLZSS_8u(&from, &left, &to, &room, state.get()), StatusOk);
        EXPECT_EQ(to - target.data(), 3 * 258);
    }
    // An encoder's state may become a decoder's.
    StateMemory state;
    ASSERT_EQ(ozrsEncodeLZSSInit_8u(state.get()), StatusOk);
    ASSERT_EQ(ozrsDecodeLZSSInit_8u(state.get()), StatusOk);
}

TEST(LzssDecoder, DistanceZeroGivesZeros) {
    for (const std::size_t room : {1U, 20U, 258U, 300U, 2000U}) {
        const Bytes stream = TokenWriter().literal('a').match(0, 258).literal('b').match(0, 3).match(4, 5).bytes();
        CheckedDecoder decoder(0x55);
        ByteView rest = stream;
        for (Status status = StatusDestinationFull; !rest.empty() || status == StatusDestinationFull;) {
            const Result call = decoder.decode(rest, room);
            rest = rest.subspan(call.consumed);
            status = call.status;
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST(LzssDecoder, RunsOfLiteralsOfEveryLengthAtEveryBit) {
    const Bytes sample = sampleKind("random").make(3000, 4);
    for (unsigned run = 0; run <= 40; ++run) {
        SCOPED_TRACE(run);
        TokenWriter writer;
        writer.literals(ByteView(sample).first(50));
        for (unsigned i = 0; i < 60; ++i) {
            // Two matches leave the bit as it is, a literal moves it.
            writer.literals(ByteView(sample).subspan(100 + i, run)).match(1 + i % 50, 3 + i % 30);
        }
        const Bytes stream = writer.bytes();
        CheckedDecoder decoder;
        ASSERT_EQ(decoder.decode(stream, kPlenty).consumed, stream.size());
        for (const std::size_t piece : {8U, 9U, 13U, 100U}) {
            CheckedDecoder pieces;
            ByteView rest = stream;
            while (!rest.empty()) {
                const Result call = pieces.decode(rest.first(std::min(piece, rest.size())), kPlenty);
                rest = rest.subspan(call.consumed);
                ASSERT_FALSE(HasFailure());
            }
        }
    }
}

TEST(LzssDecoder, AnyBytesAreAStream) {
    Random random(5);
    for (int round = 0; round < 400; ++round) {
        // Random bytes, of which the ones with many bits set are mostly literals.
        Bytes stream(1 + random.below(uint64_t{1} << random.below(15)));
        const uint64_t nature = random.below(4);
        for (uint8_t& byte : stream) {
            byte = random.byte();
            if (nature == 1) byte = static_cast<uint8_t>(byte | random.byte() | random.byte());
            if (nature == 2) byte = static_cast<uint8_t>(byte & random.byte() & random.byte());
        }
        CheckedDecoder decoder(static_cast<uint8_t>(round), round % 2 == 0 ? Guard::After : Guard::Before);
        ByteView rest = stream;
        const std::size_t mostSource = std::size_t{1} << random.below(15);
        const std::size_t mostRoom = std::size_t{1} << (3 + random.below(14));
        for (Status status = StatusDestinationFull; !rest.empty() || status == StatusDestinationFull;) {
            const std::size_t size = std::min<std::size_t>(rest.size(), random.below(mostSource + 1));
            const Result call = decoder.decode(rest.first(size), 1 + random.below(mostRoom));
            ASSERT_FALSE(HasFailure()) << round;
            rest = rest.subspan(call.consumed);
            status = call.status;
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::lzss
