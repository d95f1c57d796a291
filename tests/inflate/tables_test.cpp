// Tables from code lengths: which codes are accepted, which kind they give, what is written, and the published layout
// of the short kind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "inflate/checked_decoder.h"
#include "inflate/code_verdict.h"
#include "inflate/random_blocks.h"

namespace ozrdc::test::inflate {
namespace {

using deflate::Lengths;

// The state as built from guarded lengths, in guarded memory that held a known pattern before.
class Built {
  public:
    static constexpr uint8_t kPattern = 0xB7;

    explicit Built(const BlockCodes& codes) : memory_(sizeof(InflateState), Guard::After) {
        std::fill(memory_.begin(), memory_.end(), kPattern);
        const Lengths joined = codes.joined();
        GuardedBuffer lengths(2 * joined.size(), Guard::After);
        std::memcpy(lengths.data(), joined.data(), lengths.size());
        status_ = ozrsInflateBuildHuffTable(reinterpret_cast<const uint16_t*>(lengths.data()),
                                            static_cast<uint32_t>(codes.literals.size()),
                                            static_cast<uint32_t>(codes.distances.size()), &state());
    }

    Status status() const { return status_; }
    bool slackIntact() { return memory_.slackIntact(); }
    InflateState& state() { return *reinterpret_cast<InflateState*>(memory_.data()); }

    // True if nothing was written but the fields that such tables consist of.
    bool onlyWrote(unsigned kind) {
        InflateState expected;
        std::memset(&expected, kPattern, sizeof expected);
        if (kind != 0) {
            if (state().tableKind != kind) return false;
            expected.tableKind = kind;
            std::memcpy(expected.tables, state().tables, sizeof expected.tables);
        }
        if (kind == 2) {
            expected.maxLitLen = state().maxLitLen;
            expected.maxDistLen = state().maxDistLen;
        }
        return memory_.slackIntact() && std::memcmp(&expected, memory_.data(), sizeof expected) == 0;
    }

  private:
    GuardedBuffer memory_;
    Status status_ = StatusOk;
};

// Compares status and extent of writing with the verdict.
::testing::AssertionResult judgedRightly(const BlockCodes& codes) {
    Built built(codes);
    const Verdict expected = verdict(codes);
    if (built.status() == expected.status && built.onlyWrote(expected.kind)) return ::testing::AssertionSuccess();
    auto result = ::testing::AssertionFailure()
                  << "status " << built.status() << " instead of " << expected.status << ", kind "
                  << built.state().tableKind << " instead of " << expected.kind << "; lengths";
    for (const uint16_t n : codes.literals) result << ' ' << n;
    result << " |";
    for (const uint16_t n : codes.distances) result << ' ' << n;
    return result;
}

// A complete code for the end of the block and one other symbol.
Lengths leastLiterals() {
    Lengths lengths(257);
    lengths[0] = lengths[256] = 1;
    return lengths;
}

TEST(InflateTables, EveryCodeOfAFewLengthsIsJudgedRightly) {
    for (unsigned n = 0; n < 6 * 6 * 6 * 6; ++n) {
        const Lengths few{static_cast<uint16_t>(n % 6), static_cast<uint16_t>(n / 6 % 6),
                          static_cast<uint16_t>(n / 36 % 6), static_cast<uint16_t>(n / 216)};
        ASSERT_TRUE(judgedRightly({leastLiterals(), few}));
        ASSERT_TRUE(judgedRightly({few, {1, 1}}));  // no end of the block
        Lengths literals(257);
        std::copy(few.begin(), few.end(), literals.end() - 4);
        ASSERT_TRUE(judgedRightly({literals, {1, 1}}));
        ASSERT_TRUE(judgedRightly({literals, {}}));
        ASSERT_TRUE(judgedRightly({literals, few}));
    }
}

TEST(InflateTables, CodesThatMissCompletenessByOneLeafAreRefused) {
    Random random(301);
    for (int round = 0; round < 3000; ++round) {
        BlockCodes codes = randomCodes(random, 15, 15);
        ASSERT_TRUE(judgedRightly(codes));
        Lengths& changed = random.oneIn(2) ? codes.literals : codes.distances;
        changed[random.below(changed.size())] = static_cast<uint16_t>(random.below(16));
        ASSERT_TRUE(judgedRightly(codes));
    }
}

TEST(InflateTables, RandomLengthsAreJudgedRightly) {
    Random random(302);
    for (int round = 0; round < 3000; ++round) {
        BlockCodes codes{Lengths(random.below(289)), Lengths(random.below(31))};
        for (Lengths* lengths : {&codes.literals, &codes.distances}) {
            const uint64_t rarity = 1 + random.below(20);
            const uint64_t shortest = random.below(16);
            for (uint16_t& n : *lengths) {
                if (random.oneIn(rarity)) n = static_cast<uint16_t>(shortest + random.below(16 - shortest));
            }
        }
        ASSERT_TRUE(judgedRightly(codes));
    }
}

TEST(InflateTables, CompleteCodesOfOneLengthAreAccepted) {
    for (unsigned length = 1; length <= 8; ++length) {
        BlockCodes codes{Lengths(std::size_t{1} << length, static_cast<uint16_t>(length)), {1, 1}};
        codes.literals.resize(288);
        codes.literals[256] = codes.literals[0];
        codes.literals[0] = 0;
        EXPECT_TRUE(judgedRightly(codes)) << length;
        EXPECT_EQ(verdict(codes).status, StatusOk);
    }
}

TEST(InflateTables, TheFixedCodeIsAcceptedAndShort) {
    const BlockCodes fixed = deflate::fixedCodes();
    EXPECT_EQ(verdict(fixed).status, StatusOk);
    EXPECT_EQ(verdict(fixed).kind, 2U);
    EXPECT_TRUE(judgedRightly(fixed));
    // It is the thirty distances of five bits that are excepted, with any literals, and no other number of them.
    EXPECT_TRUE(judgedRightly({leastLiterals(), Lengths(30, 5)}));
    for (const std::size_t n : {16U, 28U, 29U}) {
        EXPECT_EQ(verdict({fixed.literals, Lengths(n, 5)}).status, StatusBadCodeTable);
        EXPECT_TRUE(judgedRightly({fixed.literals, Lengths(n, 5)}));
    }
    BlockCodes oneMissing = fixed;
    oneMissing.distances[7] = 0;
    EXPECT_TRUE(judgedRightly(oneMissing));
    oneMissing = fixed;
    oneMissing.literals.resize(287);
    EXPECT_TRUE(judgedRightly(oneMissing));
}

TEST(InflateTables, OneCodeOfOneBitIsAcceptedAndOneOfTwoBitsIsNot) {
    for (const std::size_t symbol : {0U, 29U}) {
        for (uint16_t length = 1; length <= 15; ++length) {
            Lengths distances(30);
            distances[symbol] = length;
            const BlockCodes codes{leastLiterals(), distances};
            EXPECT_EQ(verdict(codes).status, length == 1 ? StatusOk : StatusBadCodeTable);
            EXPECT_TRUE(judgedRightly(codes)) << length;
            Lengths literals(288);
            literals[256] = length;
            EXPECT_TRUE(judgedRightly({literals, {}})) << length;
        }
    }
}

TEST(InflateTables, TheKindChangesAtElevenAndTenBits) {
    // Lengths 1, 2, 3, ... n, n: complete.
    const auto ladder = [](std::size_t symbols, unsigned longest) {
        Lengths lengths(symbols);
        for (unsigned i = 0; i < longest; ++i) lengths[symbols - 1 - i] = static_cast<uint16_t>(i + 1);
        lengths[symbols - 1 - longest] = static_cast<uint16_t>(longest);
        return lengths;
    };
    for (unsigned literal = 1; literal <= 15; ++literal) {
        for (unsigned distance = 1; distance <= 15; ++distance) {
            const BlockCodes codes{ladder(257, literal), ladder(30, distance)};
            EXPECT_EQ(verdict(codes).kind, literal <= 11 && distance <= 10 ? 2U : 1U);
            EXPECT_TRUE(judgedRightly(codes)) << literal << ", " << distance;
        }
    }
}

TEST(InflateTables, GeneralTablesNeedNoEndOfBlockAndShortOnesDo) {
    Lengths deep(288);
    for (unsigned i = 0; i < 12; ++i) deep[i] = static_cast<uint16_t>(i + 1);
    deep[12] = 12;
    EXPECT_EQ(verdict({deep, {}}).status, StatusOk);
    EXPECT_TRUE(judgedRightly({deep, {}}));
    EXPECT_TRUE(judgedRightly({Lengths(deep.begin(), deep.begin() + 13), {1}}));
    EXPECT_TRUE(judgedRightly({Lengths(256, 8), {}}));
    EXPECT_EQ(verdict({Lengths(256, 8), {}}).status, StatusBadCodeTable);
    EXPECT_EQ(verdict({Lengths(256, 8), {}}).kind, 2U);
}

// --- The layout of the short kind -----------------------------------------------------------------------------------

class ShortLayout {
  public:
    explicit ShortLayout(const InflateState& state) : state_(&state) {}

    uint16_t literal(std::size_t i) const { return word(2 * i); }
    uint8_t distanceByte(std::size_t i) const { return state_->tables[distances() + i]; }
    uint16_t distanceBase(std::size_t i) const { return word(distances() + 1024 + 2 * i); }

  private:
    std::size_t distances() const { return std::size_t{2} << state_->maxLitLen; }
    uint16_t word(std::size_t at) const {
        return static_cast<uint16_t>(state_->tables[at] | state_->tables[at + 1] << 8);
    }

    const InflateState* state_;
};

uint16_t literalEntry(unsigned symbol, unsigned length) {
    unsigned typeAndValue = 0;
    if (symbol < 256) typeAndValue = symbol << 8;
    if (symbol == 256) typeAndValue = 15 << 4;
    if (symbol > 256 && symbol < 286) {
        const deflate::CodeRange range = deflate::kLengthCodes[symbol - 257];
        typeAndValue = (range.first - 3U) << 8 | (8U + range.extraBits) << 4;
    }
    return static_cast<uint16_t>(typeAndValue | length);
}

::testing::AssertionResult hasShortLayout(const BlockCodes& codes) {
    Built built(codes);
    const InflateState& state = built.state();
    if (built.status() != StatusOk || state.tableKind != 2) return ::testing::AssertionFailure() << "no short tables";
    if (state.maxLitLen != deflate::longest(codes.literals)) {
        return ::testing::AssertionFailure() << "maxLitLen " << state.maxLitLen;
    }
    if (state.maxDistLen != deflate::longest(codes.distances)) {
        return ::testing::AssertionFailure() << "maxDistLen " << state.maxDistLen;
    }
    const ShortLayout layout(state);
    const auto literals = deflate::canonicalCodes(codes.literals);
    for (unsigned symbol = 0; symbol < literals.size(); ++symbol) {
        const deflate::Code& code = literals[symbol];
        if (code.length == 0) continue;
        for (std::size_t i = code.bits; i < std::size_t{1} << state.maxLitLen; i += std::size_t{1} << code.length) {
            if (layout.literal(i) != literalEntry(symbol, code.length)) {
                return ::testing::AssertionFailure()
                       << "symbol " << symbol << ", entry " << i << " is " << layout.literal(i);
            }
        }
    }
    const auto distances = deflate::canonicalCodes(codes.distances);
    for (unsigned symbol = 0; symbol < distances.size(); ++symbol) {
        const deflate::Code& code = distances[symbol];
        if (code.length == 0) continue;
        const deflate::CodeRange range = deflate::kDistanceCodes[symbol];
        for (std::size_t i = code.bits; i < std::size_t{1} << state.maxDistLen; i += std::size_t{1} << code.length) {
            if (layout.distanceByte(i) != (range.extraBits << 4 | code.length) ||
                layout.distanceBase(i) != range.first) {
                return ::testing::AssertionFailure()
                       << "distance symbol " << symbol << ", entry " << i << " is " << unsigned{layout.distanceByte(i)}
                       << ", " << layout.distanceBase(i);
            }
        }
    }
    return ::testing::AssertionSuccess();
}

TEST(InflateTables, ShortTablesHaveThePublishedLayout) {
    EXPECT_TRUE(hasShortLayout(deflate::fixedCodes()));
    Random random(303);
    for (int round = 0; round < 2000; ++round) {
        const BlockCodes codes = randomCodes(random, 1 + random.below(11) < 6 ? 11 : 9, random.oneIn(2) ? 10 : 6);
        ASSERT_TRUE(hasShortLayout(codes));
    }
    EXPECT_TRUE(hasShortLayout({leastLiterals(), {}}));
    EXPECT_TRUE(hasShortLayout({leastLiterals(), {0, 0, 1}}));
    EXPECT_TRUE(hasShortLayout({leastLiterals(), {0, 0, 0}}));
    EXPECT_TRUE(hasShortLayout({leastLiterals(), Lengths(30, 5)}));
    Lengths endOfBlockAlone(257);
    endOfBlockAlone[256] = 1;
    EXPECT_TRUE(hasShortLayout({endOfBlockAlone, {1, 1}}));
}

// They must not be passed and are not refused; what they may not do is lead out of the lengths or the state.
TEST(InflateTables, LengthsAboveFifteenDoNoHarm) {
    Random random(304);
    for (int round = 0; round < 2000; ++round) {
        BlockCodes codes = randomCodes(random);
        for (Lengths* lengths : {&codes.literals, &codes.distances}) {
            for (uint16_t& length : *lengths) {
                // With the low bits kept, the code may look complete.
                if (random.oneIn(3)) length = static_cast<uint16_t>(length | random.below(4096) << 4);
                if (random.oneIn(300)) length = static_cast<uint16_t>(random.below(65536));
            }
        }
        Built built(codes);
        ASSERT_TRUE(built.slackIntact());
        ASSERT_TRUE(built.status() == StatusOk || built.status() == StatusBadCodeTable) << built.status();
    }
}

}  // namespace
}  // namespace ozrdc::test::inflate
