// Where history comes from: the three modes of the decoder, and the address space of a separate dictionary.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "lz4/block_builder.h"
#include "lz4/checked_calls.h"
#include "support/oracles.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lz4 {
namespace {

constexpr int64_t kAmple = 200;

TEST(Lz4Dictionary, SeparateDictionaryDecodesAsAPrefixDoes) {
    const Bytes both = sampleKind("mixed").make(9000, 31);
    const ByteView dictionary = ByteView(both).first(4000);
    const ByteView source = ByteView(both).subspan(4000);
    const Bytes block = oracle::lz4CompressWithDictionary(source, dictionary);

    Bytes inPlace(both.begin(), both.end());
    std::fill(inPlace.begin() + 4000, inPlace.end(), uint8_t{0});
    auto consumed = static_cast<int32_t>(block.size());
    int32_t written = 5000;
    EXPECT_EQ(ozrsDecodeLZ4Dict_8u(block.data(), &consumed, inPlace.data(), 4000, &written, inPlace.data(), 4000),
              StatusOk);
    EXPECT_EQ(written, 5000);
    EXPECT_EQ(inPlace, both);

    Bytes apart(9000, 0x33);
    EXPECT_EQ(ozrsDecodeLZ4Dict_8u(block.data(), &consumed, apart.data(), 4000, &written, dictionary.data(), 4000),
              StatusOk);
    EXPECT_EQ(consumed, std::ssize(block));
    EXPECT_EQ(written, 5000);
    EXPECT_TRUE(std::equal(source.begin(), source.end(), apart.begin() + 4000));
    EXPECT_TRUE(std::all_of(apart.begin(), apart.begin() + 4000, [](uint8_t b) { return b == 0x33; }));
}

TEST(Lz4Dictionary, NullOrEmptyDictionaryMakesTheBlockSelfContained) {
    const Bytes dictionary(100, 'd');
    BlockBuilder builder;
    builder.sequence(20, 25, 10).lastRun(30);  // reaches five bytes in front of the output
    const Bytes& block = builder.block();
    Bytes target(1000);
    const auto statusWith = [&](const uint8_t* pDict, int32_t dictSize) {
        auto consumed = static_cast<int32_t>(block.size());
        int32_t written = 500;
        return ozrsDecodeLZ4Dict_8u(block.data(), &consumed, target.data(), 100, &written, pDict, dictSize);
    };
    EXPECT_EQ(statusWith(nullptr, 100), StatusError);
    EXPECT_EQ(statusWith(nullptr, -1), StatusError);
    EXPECT_EQ(statusWith(dictionary.data(), 0), StatusError);
    EXPECT_EQ(statusWith(dictionary.data(), 100), StatusOk);
    EXPECT_EQ(statusWith(target.data(), 100), StatusOk);
}

TEST(Lz4Dictionary, PrefixMayBeShorterThanWhatPrecedesTheOutput) {
    Bytes target(1000, 'p');
    BlockBuilder builder;
    builder.sequence(20, 31, 10).lastRun(30);  // reaches eleven bytes in front of the output
    const auto statusWith = [&](int32_t prefix) {
        auto consumed = static_cast<int32_t>(builder.block().size());
        int32_t written = 500;
        return ozrsDecodeLZ4Dict_8u(builder.block().data(), &consumed, target.data(), 100, &written,
                                    target.data() + 100 - prefix, prefix);
    };
    EXPECT_EQ(statusWith(11), StatusOk);
    EXPECT_EQ(statusWith(10), StatusError);
}

// Matches that begin in the dictionary and run over its end: the bytes go on at the position in the destination that
// follows the dictionary, whether output has been written there or not.
TEST(Lz4Dictionary, MatchesRunOverTheEndOfTheDictionary) {
    DecoderCheck decoder;
    const Bytes dictionary = sampleKind("random").make(300, 32);
    for (const int64_t tail : {8, 100}) {
        for (int64_t run = 0; run <= 20; ++run) {
            for (int64_t fromEnd = 1; fromEnd <= 70; ++fromEnd) {
                for (const int64_t length : {4, 8, 15, 16, 17, 18, 31, 32, 33, 34, 48, 64, 65, 100, 200}) {
                    BlockBuilder builder;
                    builder.sequence(run, run + fromEnd, length).lastRun(tail);
                    const History separate{History::Mode::Separate, dictionary, dictionary};
                    for (const int64_t spare : {int64_t{0}, kAmple}) {
                        ASSERT_TRUE(decoder.agrees(builder.block(), builder.decodedSize() + spare, separate));
                        ASSERT_EQ(decoder.expected().status, StatusOk);
                    }
                }
            }
        }
    }
}

// The destination between the end of the dictionary and the beginning of the output is read as earlier output.
TEST(Lz4Dictionary, OutputThatBeginsBehindTheDictionarysEndSeesWhatLiesBetween) {
    DecoderCheck decoder;
    Random random(501);
    const Bytes dictionary = sampleKind("random").make(200, 33);
    for (int round = 0; round < 8000; ++round) {
        const Bytes front = sampleKind("text").make(200 + random.below(150), static_cast<uint64_t>(round));
        BlockBuilder builder(static_cast<uint64_t>(round));
        for (int n = 0; n < 4; ++n) {
            const int64_t run = random.between(0, 30);
            const int64_t reach = std::ssize(front) + builder.decodedSize() + run;
            builder.sequence(run, random.between(1, reach), random.between(4, random.oneIn(3) ? 400 : 40));
        }
        builder.lastRun(random.oneIn(2) ? 8 : 80);
        const int64_t capacity = builder.decodedSize() + (random.oneIn(2) ? kAmple : 0);
        ASSERT_TRUE(decoder.agrees(builder.block(), capacity, {History::Mode::Separate, dictionary, front})) << round;
        ASSERT_EQ(decoder.expected().status, StatusOk);
    }
}

// With output that begins in front of the dictionary's end, the dictionary hides the output written there.
TEST(Lz4Dictionary, DictionaryHidesOutputBelowItsSize) {
    DecoderCheck decoder;
    Random random(502);
    for (int round = 0; round < 8000; ++round) {
        const Bytes dictionary = sampleKind("random").make(1 + random.below(500), static_cast<uint64_t>(round));
        const Bytes front(random.below(dictionary.size()));
        BlockBuilder builder(static_cast<uint64_t>(round));
        for (int n = 0; n < 4; ++n) {
            const int64_t run = random.between(0, 30);
            const int64_t reach = std::ssize(front) + builder.decodedSize() + run;
            if (reach == 0) continue;
            builder.sequence(run, random.between(1, reach), random.between(4, random.oneIn(3) ? 400 : 40));
        }
        builder.lastRun(random.oneIn(2) ? 8 : 80);
        const int64_t capacity = builder.decodedSize() + (random.oneIn(2) ? kAmple : 0);
        ASSERT_TRUE(decoder.agrees(builder.block(), capacity, {History::Mode::Separate, dictionary, front})) << round;
        ASSERT_EQ(decoder.expected().status, StatusOk);
    }
}

TEST(Lz4Dictionary, OutputAtTheVeryBeginningCannotReachItself) {
    // Every position of the output lies below the dictionary's size: matches read the dictionary only.
    DecoderCheck decoder;
    const Bytes dictionary = sampleKind("random").make(500, 34);
    BlockBuilder builder;
    builder.sequence(20, 20, 16).lastRun(30);
    ASSERT_TRUE(decoder.agrees(builder.block(), builder.decodedSize(), {History::Mode::Separate, dictionary, {}}));
    EXPECT_TRUE(std::equal(dictionary.begin(), dictionary.begin() + 16, decoder.expected().output.begin() + 20));
    // One byte further back lies nothing.
    BlockBuilder tooFar;
    tooFar.sequence(20, 21, 16).lastRun(30);
    ASSERT_TRUE(decoder.agrees(tooFar.block(), tooFar.decodedSize(), {History::Mode::Separate, dictionary, {}}));
    EXPECT_EQ(decoder.expected().status, StatusError);
}

TEST(Lz4Dictionary, OffsetsReachADictionaryOf64KiB) {
    DecoderCheck decoder;
    const Bytes dictionary = sampleKind("random").make(70000, 35);
    for (const int64_t offset : {65535, 65534, 40000, 21, 20, 19}) {
        BlockBuilder builder;
        builder.sequence(20, offset, 100).lastRun(100);
        ASSERT_TRUE(decoder.agreesInAllModes(builder.block(), builder.decodedSize() + kAmple, dictionary));
        EXPECT_EQ(decoder.expected().status, StatusOk);
    }
}

struct Result {
    Status status;
    int32_t consumed;
    int32_t written;
    bool operator==(const Result&) const = default;
};

// A negative index puts the output in front of `pDst`. Without a dictionary, and with a prefix, `pDst` says no more
// than where the output lies.
TEST(Lz4Dictionary, OutputInFrontOfTheBaseDecodesAsUsualWithoutADictionaryAndBehindAPrefix) {
    const Bytes prefix = sampleKind("random").make(50, 37);
    GuardedArena source(Guard::After);
    for (const Guard guard : {Guard::After, Guard::Before}) {
        for (const int64_t reach : {0, 1, 50, 51}) {
            for (const int64_t tail : {8, 100}) {
                BlockBuilder builder;
                builder.sequence(20, 20 + reach, 60).lastRun(tail);
                const std::span<const uint8_t> block = source.take(builder.block());
                const int64_t capacity = builder.decodedSize();
                for (const bool hasPrefix : {false, true}) {
                    const ByteView dictionary = hasPrefix ? ByteView(prefix) : ByteView{};
                    const History history{hasPrefix ? History::Mode::Prefix : History::Mode::None, dictionary};
                    const Decoded expected = decode(block, capacity, history);
                    ASSERT_EQ(expected.status, reach <= std::ssize(dictionary) ? StatusOk : StatusError);
                    for (const int32_t index : {-1, -40, static_cast<int32_t>(-capacity)}) {
                        GuardedBuffer memory(dictionary.size() + static_cast<std::size_t>(capacity), guard);
                        std::copy(dictionary.begin(), dictionary.end(), memory.begin());
                        const std::span<uint8_t> output = memory.span().subspan(dictionary.size());
                        const auto size = static_cast<int32_t>(dictionary.size());
                        Result result{StatusOk, static_cast<int32_t>(block.size()), static_cast<int32_t>(capacity)};
                        const Result start = result;
                        result.status = ozrsDecodeLZ4Dict_8u(block.data(), &result.consumed, output.data() - index,
                                                             index, &result.written, memory.data(), size);
                        // All of the source is taken and all of the room is filled, or both are left alone.
                        EXPECT_EQ(result, (Result{expected.status, start.consumed, start.written})) << index;
                        EXPECT_EQ(expected.firstDifference(output), std::nullopt) << index;
                        EXPECT_TRUE(std::equal(dictionary.begin(), dictionary.end(), memory.begin())) << index;
                        EXPECT_TRUE(memory.slackIntact()) << index;
                    }
                }
            }
        }
    }
}

// With a separate dictionary, nothing in front of `pDst` can be reached, though output has been written there; and the
// dictionary hides the first output behind it.
TEST(Lz4Dictionary, OutputInFrontOfTheBaseIsNoHistoryOfASeparateDictionary) {
    constexpr int64_t kDictionarySize = 20;
    const Bytes dictionary = sampleKind("random").make(kDictionarySize, 38);
    GuardedArena source(Guard::After);
    GuardedArena guardedDictionary(Guard::After);
    int refused = 0;
    int decoded = 0;
    for (const Guard guard : {Guard::After, Guard::Before}) {
        GuardedBuffer memory(2000, guard);
        const ByteView pDict = guardedDictionary.take(dictionary);
        for (const int64_t ahead : {1, 5, 16, 33, 100}) {
            for (int64_t run = 0; run <= ahead + 45; ++run) {
                for (int64_t offset = 1; offset <= run + 3; ++offset) {
                    for (const int64_t length : {4, 40}) {
                        for (const int64_t tail : {8, 100}) {
                            BlockBuilder builder;
                            builder.sequence(run, offset, length).lastRun(tail);
                            const std::span<const uint8_t> block = source.take(builder.block());
                            const auto capacity = static_cast<int32_t>(builder.decodedSize());
                            const std::span<uint8_t> output = memory.guarded(static_cast<std::size_t>(capacity));
                            Result result{StatusOk, static_cast<int32_t>(block.size()), capacity};
                            const Result start = result;
                            result.status = ozrsDecodeLZ4Dict_8u(block.data(), &result.consumed, output.data() + ahead,
                                                                 static_cast<int32_t>(-ahead), &result.written,
                                                                 pDict.data(), static_cast<int32_t>(kDictionarySize));
                            const int64_t position = run - ahead - offset;
                            const Status expected = position < 0 ? StatusError : StatusOk;
                            ASSERT_EQ(result, (Result{expected, start.consumed, start.written}))
                                << ahead << " ahead, run " << run << ", offset " << offset << ", tail " << tail;
                            ++(position < 0 ? refused : decoded);
                            if (position < 0) continue;
                            for (int64_t i = 0; i < length; ++i) {
                                const auto from = static_cast<std::size_t>(position + i);
                                const uint8_t byte = position + i < kDictionarySize
                                                         ? dictionary[from]
                                                         : output[from + static_cast<std::size_t>(ahead)];
                                ASSERT_EQ(output[static_cast<std::size_t>(run + i)], byte)
                                    << ahead << " ahead, run " << run << ", offset " << offset << ", byte " << i;
                            }
                            const auto literals = static_cast<std::ptrdiff_t>(tail);
                            ASSERT_TRUE(std::equal(block.end() - literals, block.end(), output.end() - literals));
                        }
                    }
                }
            }
        }
        EXPECT_TRUE(memory.slackIntact());
    }
    EXPECT_GT(refused, 1000);
    EXPECT_GT(decoded, 1000);
}

// A dictionary of negative size that ends where the output begins is a prefix, too: one that begins inside the output,
// so that matches reach less than all of it.
TEST(Lz4Dictionary, PrefixOfNegativeSizeHidesTheFirstOutput) {
    GuardedArena source(Guard::After);
    int refused = 0;
    int decoded = 0;
    for (const Guard guard : {Guard::After, Guard::Before}) {
        GuardedBuffer memory(2000, guard);
        for (const int32_t hidden : {1, 5, 16, 40, 100}) {
            for (int64_t run = 0; run <= hidden + 30; ++run) {
                for (int64_t offset = 1; offset <= run + 3; ++offset) {
                    for (const int64_t tail : {8, 100}) {
                        BlockBuilder builder;
                        builder.sequence(run, offset, 24).lastRun(tail);
                        const std::span<const uint8_t> block = source.take(builder.block());
                        const auto capacity = static_cast<int32_t>(builder.decodedSize());
                        const std::span<uint8_t> output = memory.guarded(static_cast<std::size_t>(capacity));
                        Result result{StatusOk, static_cast<int32_t>(block.size()), capacity};
                        const Result start = result;
                        result.status = ozrsDecodeLZ4Dict_8u(block.data(), &result.consumed, output.data(), 0,
                                                             &result.written, output.data() + hidden, -hidden);
                        const bool reachable = run - offset >= hidden;
                        ASSERT_EQ(result, (Result{reachable ? StatusOk : StatusError, start.consumed, start.written}))
                            << hidden << " hidden, run " << run << ", offset " << offset << ", tail " << tail;
                        ++(reachable ? decoded : refused);
                        if (!reachable) continue;
                        ASSERT_EQ(decode(block, capacity).firstDifference(output), std::nullopt)
                            << hidden << " hidden, run " << run << ", offset " << offset << ", tail " << tail;
                    }
                }
            }
        }
        EXPECT_TRUE(memory.slackIntact());
    }
    EXPECT_GT(refused, 1000);
    EXPECT_GT(decoded, 1000);
}

// The blocks of one stream, decoded one behind another into one buffer, each with all that precedes it as its prefix.
TEST(Lz4Dictionary, LinkedBlocksDecodeOneBehindAnother) {
    const Bytes source = sampleKind("text").make(100000, 36);
    constexpr std::size_t pieceSize = 10000;
    Bytes target(source.size());
    for (std::size_t at = 0; at < source.size(); at += pieceSize) {
        const std::size_t reach = std::min<std::size_t>(at, 65536);
        const ByteView piece = ByteView(source).subspan(at, pieceSize);
        const Bytes block = at == 0
                                ? oracle::lz4Compress(piece)
                                : oracle::lz4CompressWithDictionary(piece, ByteView(source).subspan(at - reach, reach));
        auto consumed = static_cast<int32_t>(block.size());
        int32_t written = pieceSize;
        ASSERT_EQ(ozrsDecodeLZ4Dict_8u(block.data(), &consumed, target.data(), static_cast<int32_t>(at), &written,
                                       target.data(), static_cast<int32_t>(at)),
                  StatusOk);
        ASSERT_EQ(written, static_cast<int32_t>(pieceSize));
    }
    EXPECT_EQ(target, source);
}

}  // namespace
}  // namespace ozrdc::test::lz4
