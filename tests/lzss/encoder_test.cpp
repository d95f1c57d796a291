// The tokens that the encoder chooses, and what it leaves in the state. Every call is also compared with the model.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "lzss/checked_streams.h"
#include "lzss/state.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzss {
namespace {

constexpr std::size_t kPlenty = 1 << 20;

Bytes bytesOf(const std::string& text) { return Bytes(text.begin(), text.end()); }

Bytes operator+(Bytes a, const Bytes& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// The whole stream of one call.
Bytes encoded(ByteView plain) {
    return CheckedCodec().encode(
        plain, [&] { return plain.size(); }, [] { return kPlenty; });
}

// Random bytes in which no three in a row occur twice: nothing in them matches, alone or joined with themselves.
Bytes withoutMatches(std::size_t size, uint64_t seed) {
    Random random(seed);
    std::vector<bool> used(1 << 24);
    Bytes bytes;
    while (bytes.size() < size) {
        bytes.push_back(random.byte());
        if (bytes.size() < 3) continue;
        const std::size_t n = bytes.size();
        const std::size_t word = std::size_t{bytes[n - 3]} << 16 | std::size_t{bytes[n - 2]} << 8 | bytes[n - 1];
        if (used[word]) {
            bytes.pop_back();
        } else {
            used[word] = true;
        }
    }
    return bytes;
}

TEST(LzssEncoder, ThreeCallsOfOneByteMakeThreeLiterals) {
    CheckedEncoder encoder;
    Bytes stream;
    for (int i = 0; i < 3; ++i) {
        const Result call = encoder.encode(bytesOf("a"), kPlenty);
        EXPECT_EQ(call.status, StatusOk);
        EXPECT_EQ(call.consumed, 1U);
        stream = stream + call.written;
    }
    const Result last = encoder.flush(kPlenty);
    EXPECT_EQ(last.status, StatusOk);
    stream = stream + last.written;
    EXPECT_EQ(stream, TokenWriter().literal('a').literal('a').literal('a').bytes());
    EXPECT_EQ(stream.size(), 4U);
    EXPECT_EQ(stream[3] & 31, 0);
}

TEST(LzssEncoder, MatchStopsTwoBytesBeforeTheEnd) {
    EXPECT_EQ(encoded(bytesOf("abcabcabc")),
              TokenWriter().literals(bytesOf("abc")).match(3, 4).literals(bytesOf("bc")).bytes());
}

TEST(LzssEncoder, ThreeHundredEqualBytes) {
    EXPECT_EQ(encoded(Bytes(300, 'x')),
              TokenWriter().literal('x').match(1, 258).match(1, 39).literal('x').literal('x').bytes());
}

TEST(LzssEncoder, DestinationOfOneByteTakesEightBits) {
    CheckedEncoder encoder;
    Result call = encoder.encode(bytesOf("\xC1xyz"), 1);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.consumed, 1U);
    EXPECT_EQ(call.written, Bytes{0xE0});
    call = encoder.flush(9);
    EXPECT_EQ(call.written, Bytes{0x80});
}

TEST(LzssEncoder, WholeBytesThatPendAreWrittenFirst) {
    CheckedEncoder encoder;
    // Eight literals leave a whole byte, which the next call begins with; it has no room for more.
    for (int i = 0; i < 8; ++i) {
        const Result call = encoder.encode(bytesOf("a"), 1);
        EXPECT_EQ(call.status, StatusDestinationFull);
        EXPECT_EQ(call.consumed, 1U);
    }
    Result call = encoder.encode(bytesOf("a"), 1);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.consumed, 0U);
    EXPECT_EQ(call.written.size(), 1U);
    call = encoder.encode(bytesOf("a"), 1);
    EXPECT_EQ(call.consumed, 1U);
}

TEST(LzssEncoder, WholeBytesPendOnWithoutSource) {
    CheckedEncoder encoder;
    // A literal and a match, 33 bits, of which 17 are left.
    encoder.encode(bytesOf("aaaaaaaa"), 2);
    const Result call = encoder.encode({}, 10);
    EXPECT_EQ(call.status, StatusOk);
    EXPECT_EQ(call.written, Bytes{});
    EXPECT_EQ(encoder.flush(10).written.size(), 3U);
}

TEST(LzssEncoder, DestinationFilledByTheLastTokenIsAWarning) {
    CheckedEncoder encoder;
    // Nine bytes for eight literals.
    const Result call = encoder.encode(bytesOf("abcdefgh"), 9);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.consumed, 8U);
    EXPECT_EQ(encoder.encode({}, 9).status, StatusOk);
    EXPECT_EQ(encoder.flush(9).written, Bytes{});
}

TEST(LzssEncoder, FlushThatFitsIsCompleteAndCanBeRepeated) {
    CheckedEncoder encoder;
    encoder.encode(bytesOf("aaaaaaaa"), 2);
    Result call = encoder.flush(1);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.written.size(), 1U);
    const Result last = encoder.flush(2);
    EXPECT_EQ(last.status, StatusOk);
    EXPECT_EQ(last.written.size(), 2U);
    EXPECT_EQ(encoder.flush(2), last);
    // The bits pend on: a call that encodes more writes them again.
    call = encoder.encode(bytesOf("z"), 20);
    EXPECT_EQ(call.written[0], last.written[0]);
}

TEST(LzssEncoder, NewStreamBeginsAnew) {
    CheckedEncoder encoder;
    const Bytes sample = sampleKind("text").make(50000, 1);
    encoder.encode(sample, 10000);
    encoder.init();
    encoder.encode(sample, 10000);
    encoder.flush(100);
}

TEST(LzssEncoder, DistancesEndAt32767) {
    // Far behind it, too: what was entered long ago must not be taken for something near.
    for (const std::size_t distance : {32766U, 32767U, 32768U, 32769U, 65534U, 65535U, 65536U, 65537U, 66000U, 98303U,
                                       98304U, 98305U, 131071U, 131072U, 131073U, 196608U}) {
        SCOPED_TRACE(distance);
        Bytes plain = withoutMatches(distance, 2);
        plain.insert(plain.end(), plain.begin(), plain.begin() + 20);
        TokenWriter expected;
        expected.literals(ByteView(plain).first(distance));
        if (distance < 32768) {
            expected.match(static_cast<unsigned>(distance), 18).literals(ByteView(plain).last(2));
        } else {
            expected.literals(ByteView(plain).last(20));
        }
        for (const std::size_t size : {std::size_t{1} << 20, distance, std::size_t{10000}, std::size_t{333}}) {
            const Bytes stream = CheckedCodec().encode(
                plain, [&] { return size; }, [] { return kPlenty; });
            if (size >= plain.size()) {
                EXPECT_TRUE(stream == expected.bytes());
            }
        }
    }
}

// `count` occurrences of "abc", each followed by other bytes of its own, then "abc" and what followed the occurrence
// `nth` (the last is number 1).
Bytes occurrences(unsigned count, unsigned nth) {
    Bytes plain;
    for (unsigned i = count; i > 0; --i) {
        plain = plain + bytesOf("abc") + Bytes{static_cast<uint8_t>(128 + i), static_cast<uint8_t>(200 - i)};
    }
    return plain + bytesOf("abc") + Bytes{static_cast<uint8_t>(128 + nth), static_cast<uint8_t>(200 - nth), '.', '.'};
}

// The last match of a stream of one call.
struct LastMatch {
    unsigned distance = 0;
    unsigned length = 0;
};
LastMatch lastMatch(const Bytes& stream) {
    LastMatch last;
    std::vector<bool> bits;
    for (const uint8_t byte : stream) {
        for (unsigned mask = 128; mask > 0; mask /= 2) bits.push_back((byte & mask) != 0);
    }
    const auto value = [&](std::size_t at, unsigned count) {
        unsigned v = 0;
        for (unsigned i = 0; i < count; ++i) v = 2 * v + (bits[at + i] ? 1 : 0);
        return v;
    };
    for (std::size_t at = 0; at + 9 <= bits.size();) {
        if (bits[at]) {
            at += 9;
        } else if (at + 24 <= bits.size()) {
            last = {value(at + 1, 15), value(at + 16, 8) + 3};
            at += 24;
        } else {
            break;
        }
    }
    return last;
}

TEST(LzssEncoder, SixteenCandidatesAreLookedAt) {
    for (unsigned nth = 1; nth <= 40; ++nth) {
        SCOPED_TRACE(nth);
        const LastMatch match = lastMatch(encoded(occurrences(40, nth)));
        if (nth <= 16) {
            EXPECT_EQ(match.distance, 5 * nth);
            EXPECT_EQ(match.length, 5U);
        } else {
            EXPECT_EQ(match.distance, 5U);
            EXPECT_EQ(match.length, 3U);
        }
    }
}

TEST(LzssEncoder, NearestOfEqualMatchesIsTaken) {
    const Bytes plain = bytesOf("abcde1abcde2abcd3abcd4abc5abcde....");
    const LastMatch match = lastMatch(encoded(plain));
    EXPECT_EQ(match.distance, 20U);
    EXPECT_EQ(match.length, 5U);
}

TEST(LzssEncoder, LastTwoBytesOfACallAreNeverFound) {
    // "abc" stands across the calls' border, in two ways, or is whole in the first call.
    for (std::size_t cut = 1; cut <= 9; ++cut) {
        SCOPED_TRACE(cut);
        const Bytes plain = bytesOf("12abc3456abc78");
        CheckedEncoder encoder;
        Bytes stream = encoder.encode(ByteView(plain).first(cut), kPlenty).written;
        stream = stream + encoder.encode(ByteView(plain).subspan(cut), kPlenty).written;
        stream = stream + encoder.flush(kPlenty).written;
        // Position 2 was hashed if it is neither of the last two of the first call.
        const bool found = cut <= 2 || cut >= 5;
        EXPECT_EQ(lastMatch(stream).length, found ? 3U : 0U);
    }
}

TEST(LzssEncoder, MatchRunsFromTheHistoryIntoTheSource) {
    CheckedEncoder encoder;
    encoder.encode(bytesOf("xyzxyzx12"), kPlenty);
    encoder.encode(bytesOf("xyzx12xyzx12xyzx12"), kPlenty);
    encoder.flush(kPlenty);
}

TEST(LzssEncoder, SmallCallsTouchLittleOfTheState) {
    // The history moves now and then, but not with every call.
    CheckedEncoder encoder;
    const Bytes sample = sampleKind("random").make(70000, 3);
    uint64_t changed = 0;
    Bytes before(encoder.state().begin(), encoder.state().end());
    for (std::size_t at = 0; at < sample.size(); at += 70) {
        encoder.encode(ByteView(sample).subspan(at, 70), kPlenty);
        for (std::size_t i = 0; i < before.size(); ++i) {
            const uint8_t now = encoder.state()[i];
            changed += before[i] != now ? 1 : 0;
            before[i] = now;
        }
    }
    EXPECT_LT(changed, 30 * sample.size());
}

TEST(LzssEncoder, StreamsMayHaveAnyLength) {
    // A stream of 2^32 bytes takes too long: a fresh state is set to a position near its end. The tokens only depend on
    // distances, so that the stream is that of any other position.
    for (const uint32_t before : {1U, 100U, 32767U, 32768U, 40000U, 66000U, 100000U}) {
        SCOPED_TRACE(before);
        StateMemory state;
        ASSERT_EQ(ozrsEncodeLZSSInit_8u(state.get()), StatusOk);
        state.get()->encoder.position -= before;
        for (uint16_t& position : state.get()->encoder.head) position = static_cast<uint16_t>(position - before);
        const Bytes sample = sampleKind("mixed").make(140000, before);
        Bytes stream(2 * sample.size());
        const uint8_t* from = sample.data();
        auto left = static_cast<int32_t>(sample.size());
        uint8_t* to = stream.data();
        auto room = static_cast<int32_t>(stream.size());
        ASSERT_EQ(ozrsEncodeLZSS_8u(&from, &left, &to, &room, state.get()), StatusOk);
        ASSERT_EQ(ozrsEncodeLZSSFlush_8u(&to, &room, state.get()), StatusOk);
        EXPECT_TRUE(Bytes(stream.data(), to) == modelStream(sample));
    }
}

}  // namespace
}  // namespace ozrdc::test::lzss
