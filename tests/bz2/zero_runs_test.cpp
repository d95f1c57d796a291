// The zero-run code, against the plain model: symbols, frequencies, and what a small destination leaves.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "bz2/reference_stages.h"
#include "bz2/run_samples.h"
#include "support/guarded_buffer.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::bz2 {
namespace {

constexpr std::size_t kFrequencies = 257;

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }

// 16-bit symbols between guards.
std::span<uint16_t> takeSymbols(GuardedArena& arena, std::size_t n) {
    const std::span<uint8_t> bytes = arena.take(2 * n);
    return {reinterpret_cast<uint16_t*>(bytes.data()), n};
}

struct Encoded {
    Symbols symbols;
    std::size_t consumed;
    Status status;
    std::vector<uint32_t> frequencies;
};

Encoded encode(std::span<const uint8_t> ranks, std::size_t capacity) {
    static GuardedArena sources(Guard::After);
    static GuardedArena targets(Guard::After);
    GuardedBuffer counters(Bytes(4 * kFrequencies));
    const std::span<const uint8_t> source = sources.take(ranks);
    const std::span<uint16_t> target = takeSymbols(targets, capacity);
    const uint8_t* at = source.data();
    int32_t left = narrow(source.size());
    int32_t length = narrow(capacity);
    const Status status =
        ozrsEncodeZ1Z2_BZ2_8u16u(&at, &left, target.data(), &length, reinterpret_cast<uint32_t*>(counters.data()));
    Encoded result{Symbols(target.data(), target.data() + length), static_cast<std::size_t>(at - source.data()), status,
                   std::vector<uint32_t>(kFrequencies)};
    EXPECT_EQ(result.consumed + static_cast<std::size_t>(left), ranks.size());
    std::memcpy(result.frequencies.data(), counters.data(), counters.size());
    return result;
}

void checkEncoding(std::span<const uint8_t> ranks, std::size_t capacity) {
    std::span<const uint8_t> rest = ranks;
    std::vector<uint32_t> frequencies(kFrequencies);
    const Symbols expected = encodeZeroRuns(rest, capacity, frequencies);
    const Encoded result = encode(ranks, capacity);
    ASSERT_EQ(result.symbols, expected);
    ASSERT_EQ(result.consumed, ranks.size() - rest.size());
    ASSERT_EQ(result.status, rest.empty() ? StatusOk : StatusDestinationFull);
    ASSERT_EQ(result.frequencies, frequencies);
}

struct Decoded {
    Bytes ranks;
    std::size_t consumed;
    Status status;
};

Decoded decode(const Symbols& symbols, std::size_t capacity) {
    static GuardedArena sources(Guard::After);
    static GuardedArena targets(Guard::After);
    const std::span<uint16_t> source = takeSymbols(sources, symbols.size());
    std::copy(symbols.begin(), symbols.end(), source.begin());
    const std::span<uint8_t> target = targets.take(capacity);
    const uint16_t* at = source.data();
    int32_t left = narrow(source.size());
    int32_t length = narrow(capacity);
    const Status status = ozrsDecodeZ1Z2_BZ2_16u8u(&at, &left, target.data(), &length);
    const auto consumed = static_cast<std::size_t>(at - source.data());
    EXPECT_EQ(consumed + static_cast<std::size_t>(left), symbols.size());
    return {Bytes(target.data(), target.data() + length), consumed, status};
}

void checkDecoding(const Symbols& symbols, std::size_t capacity) {
    std::span<const uint16_t> rest = symbols;
    Status status = StatusOk;
    const Bytes expected = decodeZeroRuns(rest, capacity, status);
    const Decoded result = decode(symbols, capacity);
    ASSERT_EQ(result.ranks, expected);
    ASSERT_EQ(result.consumed, symbols.size() - rest.size());
    ASSERT_EQ(result.status, status);
}

std::vector<Bytes> samples(std::size_t size) {
    std::vector<Bytes> all;
    for (const SampleKind& kind : sampleKinds()) all.push_back(kind.make(size, 11));
    for (const uint64_t values : {1U, 2U, 3U, 256U}) {
        for (const uint64_t usual : {1U, 3U, 20U, 400U}) all.push_back(runSample(size, usual, values, usual + values));
    }
    Bytes scattered = runSample(size, 1, 256, 12);
    Random random(12);
    for (uint8_t& rank : scattered) rank = random.oneIn(3) ? rank : 0;
    all.push_back(scattered);
    for (uint8_t& rank : scattered) rank = static_cast<uint8_t>(std::max<int>(rank, 1));
    all.push_back(scattered);
    return all;
}

TEST(ZeroRuns, ShortRuns) {
    const Encoded result = encode(Bytes{0, 0, 0, 5}, 10);
    EXPECT_EQ(result.symbols, (Symbols{0, 0, 6}));
    EXPECT_EQ(result.frequencies[0], 2U);
    EXPECT_EQ(result.frequencies[1], 0U);
    EXPECT_EQ(result.frequencies[6], 1U);
    EXPECT_EQ(encode(Bytes{0}, 10).symbols, Symbols{0});
    EXPECT_EQ(encode(Bytes{0, 0}, 10).symbols, Symbols{1});
    EXPECT_EQ(encode(Bytes(4), 10).symbols, (Symbols{1, 0}));
    EXPECT_EQ(encode(Bytes(6), 10).symbols, (Symbols{1, 1}));
    EXPECT_EQ(encode(Bytes{255}, 10).symbols, Symbols{256});
    EXPECT_EQ(decode(Symbols{1, 0, 3}, 10).ranks, (Bytes{0, 0, 0, 0, 2}));
    EXPECT_EQ(decode(Symbols{0, 0, 0}, 10).ranks, Bytes(7));
    EXPECT_EQ(decode(Symbols{256}, 10).ranks, Bytes{255});
}

TEST(ZeroRuns, ARunWithoutRoomForItsDigitsIsCut) {
    Bytes ranks(100);
    ranks.push_back(1);
    const Encoded result = encode(ranks, 3);
    EXPECT_EQ(result.symbols, (Symbols{1, 1, 1}));
    EXPECT_EQ(result.consumed, 14U);
    EXPECT_EQ(result.status, StatusDestinationFull);
    EXPECT_EQ(result.frequencies[1], 3U);
}

TEST(ZeroRuns, DigitsThatFillTheRoomLeaveTheRankBehindThem) {
    const Encoded result = encode(Bytes{0, 0, 0, 9}, 2);
    EXPECT_EQ(result.symbols, (Symbols{0, 0}));
    EXPECT_EQ(result.consumed, 3U);
    EXPECT_EQ(result.status, StatusDestinationFull);
    const Decoded back = decode(Symbols{0, 0, 9}, 3);
    EXPECT_EQ(back.ranks, Bytes(3));
    EXPECT_EQ(back.consumed, 2U);
    EXPECT_EQ(back.status, StatusDestinationFull);
}

TEST(ZeroRuns, ARunThatDoesNotFitIsNotBegun) {
    const Decoded result = decode(Symbols{5, 0, 0, 9}, 3);
    EXPECT_EQ(result.ranks, Bytes{4});
    EXPECT_EQ(result.consumed, 1U);
    EXPECT_EQ(result.status, StatusDestinationFull);
    const Decoded last = decode(Symbols{5, 0, 0}, 3);
    EXPECT_EQ(last.ranks, Bytes{4});
    EXPECT_EQ(last.status, StatusDestinationFull);
}

TEST(ZeroRuns, NumbersOfAnyLengthAreNumbers) {
    for (const std::size_t digits : {21U, 31U, 32U, 33U, 63U, 64U, 65U, 100U, 5000U}) {
        for (const uint16_t digit : Symbols{0, 1}) {
            for (const std::size_t behind : {0U, 1U, 40U}) {
                Symbols symbols(digits, digit);
                symbols.insert(symbols.end(), behind, 7);
                checkDecoding(symbols, 1000);
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(ZeroRuns, LongRunsKeepToTheirNumber) {
    for (const std::size_t run : {1U, 254U, 255U, 510U, 511U, 65534U, 65535U, 2097149U, 2097150U, 2097151U, 3000000U}) {
        for (const bool literal : {false, true}) {
            Bytes ranks(run);
            if (literal) ranks.push_back(3);
            Symbols expected = zeroRunDigits(run);
            if (literal) expected.push_back(4);
            for (const std::size_t more : {0U, 1U, 60U}) {
                const Encoded result = encode(ranks, expected.size() + more);
                ASSERT_EQ(result.symbols, expected);
                ASSERT_EQ(result.status, StatusOk);
                ASSERT_EQ(decode(expected, ranks.size() + more).ranks, ranks);
            }
            const Encoded cut = encode(ranks, zeroRunDigits(run).size() - (run > 2 ? 1 : 0));
            if (run > 2) {
                ASSERT_EQ(cut.status, StatusDestinationFull);
                ASSERT_EQ(cut.consumed, (std::size_t{2} << cut.symbols.size()) - 2);
            }
        }
    }
}

TEST(ZeroRuns, MatchesTheModelAndDecodesBack) {
    for (const std::size_t size : {1U, 15U, 16U, 17U, 100U, 511U, 512U, 5000U}) {
        for (const Bytes& ranks : samples(size)) {
            checkEncoding(ranks, ranks.size());
            checkEncoding(ranks, ranks.size() + 100);
            const Symbols symbols = encode(ranks, ranks.size() + 100).symbols;
            checkEncoding(ranks, symbols.size());
            for (const std::size_t more : {0U, 1U, 17U, 200U}) {
                checkDecoding(symbols, ranks.size() + more);
                ASSERT_EQ(decode(symbols, ranks.size() + more).ranks, ranks);
            }
            if (HasFatalFailure()) return;
        }
    }
}

TEST(ZeroRuns, MatchesTheModelWithEveryLackOfRoom) {
    for (const Bytes& ranks : samples(700)) {
        const Symbols symbols = encode(ranks, ranks.size() + 100).symbols;
        for (std::size_t room = 1; room <= symbols.size(); room += 1 + room / 40) checkEncoding(ranks, room);
        for (std::size_t back = 1; back < std::min<std::size_t>(80, symbols.size()); ++back) {
            checkEncoding(ranks, symbols.size() - back);
        }
        for (std::size_t room = 1; room <= ranks.size(); room += 1 + room / 40) checkDecoding(symbols, room);
        for (std::size_t back = 1; back < 40; ++back) checkDecoding(symbols, ranks.size() - back);
        if (HasFatalFailure()) return;
    }
}

TEST(ZeroRuns, AnySymbolsAreDecodedLikeTheModelDoes) {
    Random random(13);
    for (unsigned round = 0; round < 300; ++round) {
        Symbols symbols(1 + random.below(300));
        const uint64_t bound = round % 3 == 0 ? 65536 : 4;
        for (uint16_t& symbol : symbols) symbol = static_cast<uint16_t>(random.below(bound));
        for (const std::size_t room : {1U, 50U, 300U, 5000U, 100000U}) checkDecoding(symbols, room);
        if (HasFatalFailure()) return;
    }
}

TEST(ZeroRuns, FrequenciesAddUp) {
    const Bytes ranks = samples(3000).back();
    std::vector<uint32_t> frequencies(kFrequencies, 1000);
    Symbols symbols(4000);
    for (unsigned round = 0; round < 2; ++round) {
        const uint8_t* at = ranks.data();
        int32_t left = narrow(ranks.size());
        int32_t length = 4000;
        ASSERT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&at, &left, symbols.data(), &length, frequencies.data()), StatusOk);
    }
    const Encoded once = encode(ranks, 4000);
    for (std::size_t i = 0; i < kFrequencies; ++i) ASSERT_EQ(frequencies[i], 1000 + 2 * once.frequencies[i]);
}

TEST(ZeroRuns, BuffersMayEndAtAGuardInFront) {
    const Bytes ranks = samples(3000)[20];
    const GuardedBuffer source(ranks, Guard::Before);
    GuardedBuffer target(8000, Guard::Before);
    GuardedBuffer back(3000, Guard::Before);
    std::vector<uint32_t> frequencies(kFrequencies);
    const uint8_t* at = source.data();
    int32_t left = 3000;
    int32_t length = 4000;
    auto* const symbols = reinterpret_cast<uint16_t*>(target.data());
    ASSERT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&at, &left, symbols, &length, frequencies.data()), StatusOk);
    const uint16_t* from = symbols;
    int32_t written = 3000;
    ASSERT_EQ(ozrsDecodeZ1Z2_BZ2_16u8u(&from, &length, back.data(), &written), StatusOk);
    EXPECT_TRUE(std::equal(ranks.begin(), ranks.end(), back.begin()));
    EXPECT_TRUE(target.slackIntact());
    EXPECT_TRUE(back.slackIntact());
}

TEST(ZeroRuns, ArgumentsAreCheckedInOrder) {
    const Bytes ranks{1, 2, 0};
    const Symbols symbols{2, 3, 0};
    std::vector<uint32_t> frequencies(kFrequencies);
    Symbols symbolTarget(3, 0xCCCC);
    Bytes rankTarget(3, 0xCC);
    const uint8_t* rank = ranks.data();
    const uint16_t* symbol = symbols.data();
    const uint8_t* noRank = nullptr;
    const uint16_t* noSymbol = nullptr;
    for (const int32_t bad : {0, -1, -2147483647 - 1}) {
        int32_t b = bad;
        int32_t good = 3;
        uint16_t* const to = symbolTarget.data();
        uint32_t* const counts = frequencies.data();
        EXPECT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(nullptr, &b, to, &good, counts), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&rank, nullptr, to, &b, counts), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&rank, &b, nullptr, &good, counts), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&rank, &b, to, nullptr, counts), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&noRank, &b, to, &good, counts), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&rank, &b, to, &good, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&rank, &b, to, &good, counts), StatusSizeError);
        EXPECT_EQ(ozrsEncodeZ1Z2_BZ2_8u16u(&rank, &good, to, &b, counts), StatusSizeError);
        EXPECT_EQ(ozrsDecodeZ1Z2_BZ2_16u8u(nullptr, &b, rankTarget.data(), &good), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZ1Z2_BZ2_16u8u(&symbol, nullptr, rankTarget.data(), &b), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZ1Z2_BZ2_16u8u(&symbol, &b, nullptr, &good), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZ1Z2_BZ2_16u8u(&symbol, &b, rankTarget.data(), nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZ1Z2_BZ2_16u8u(&noSymbol, &b, rankTarget.data(), &good), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeZ1Z2_BZ2_16u8u(&symbol, &b, rankTarget.data(), &good), StatusSizeError);
        EXPECT_EQ(ozrsDecodeZ1Z2_BZ2_16u8u(&symbol, &good, rankTarget.data(), &b), StatusSizeError);
        EXPECT_EQ(b, bad);
        EXPECT_EQ(good, 3);
    }
    EXPECT_EQ(symbolTarget, Symbols(3, 0xCCCC));
    EXPECT_EQ(rankTarget, Bytes(3, 0xCC));
    EXPECT_EQ(frequencies, std::vector<uint32_t>(kFrequencies));
    EXPECT_EQ(rank, ranks.data());
    EXPECT_EQ(symbol, symbols.data());
}

}  // namespace
}  // namespace ozrdc::test::bz2
