// Codes made from frequencies, and the block headers that describe them.
#include <gtest/gtest.h>

#include <algorithm>
#include <queue>

#include "deflate/reference_output.h"
#include "inflate/random_blocks.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test::deflate {
namespace {

constexpr unsigned kLiteralLimit = 15;
constexpr unsigned kDistanceLimit = 9;

struct Codes {
    HuffCodes literals = HuffCodes(286);
    HuffCodes distances = HuffCodes(30);
    Status status = StatusOk;
};

Codes generate(const std::vector<uint32_t>& literals, const std::vector<uint32_t>& distances) {
    Codes codes;
    codes.status = ozrsDeflateLZ77FastestGenHuffTable_8u(literals.data(), distances.data(), codes.literals.data(),
                                                         codes.distances.data());
    return codes;
}

std::vector<uint64_t> raised(const std::vector<uint32_t>& frequencies, uint64_t k) {
    std::vector<uint64_t> result;
    for (const uint32_t f : frequencies) result.push_back(std::max<uint64_t>(f + k, 1));
    return result;
}

// The depth of the flattest or of the deepest of the trees that are equally good.
enum class Among { Flattest, Deepest };
unsigned depth(const std::vector<uint64_t>& frequencies, Among among) {
    struct Node {
        uint64_t weight;
        unsigned depth;
    };
    const auto later = [&](const Node& a, const Node& b) {
        if (a.weight != b.weight) return a.weight > b.weight;
        return among == Among::Flattest ? a.depth > b.depth : a.depth < b.depth;
    };
    std::priority_queue<Node, std::vector<Node>, decltype(later)> nodes(later);
    for (const uint64_t f : frequencies) nodes.push({f, 0});
    while (nodes.size() > 1) {
        const Node first = nodes.top();
        nodes.pop();
        const Node second = nodes.top();
        nodes.pop();
        nodes.push({first.weight + second.weight, 1 + std::max(first.depth, second.depth)});
    }
    return nodes.top().depth;
}

// True if the lengths are an optimal code for frequencies raised by the first number that brings a code within the
// limit. Where frequencies are equal the tree may be chosen, and with it perhaps that number.
::testing::AssertionResult followsTheRule(const std::vector<uint32_t>& frequencies, const HuffCodes& codes,
                                          unsigned limit) {
    const Lengths lengths = lengthsOf(codes);
    if (completeness(lengths) != Completeness::Complete) return ::testing::AssertionFailure() << "incomplete";
    if (std::count(lengths.begin(), lengths.end(), 0) > 0) return ::testing::AssertionFailure() << "a symbol has none";
    if (longest(lengths) > limit) return ::testing::AssertionFailure() << "a code of " << longest(lengths) << " bits";
    if (!areCanonical(codes)) return ::testing::AssertionFailure() << "not canonical";
    for (uint64_t k = 0; k <= 4095; ++k) {
        const std::vector<uint64_t> f = raised(frequencies, k);
        if (depth(f, Among::Flattest) > limit) continue;
        if (costOf(f, lengths) == optimalCost(f)) return ::testing::AssertionSuccess();
        if (depth(f, Among::Deepest) <= limit) {
            return ::testing::AssertionFailure() << "not optimal for frequencies raised by " << k;
        }
    }
    return ::testing::AssertionFailure() << "not optimal for any frequencies";
}

::testing::AssertionResult bothFollowTheRule(const std::vector<uint32_t>& literals,
                                             const std::vector<uint32_t>& distances) {
    const Codes codes = generate(literals, distances);
    if (codes.status != StatusOk) return ::testing::AssertionFailure() << "status " << codes.status;
    if (auto result = followsTheRule(literals, codes.literals, kLiteralLimit); !result) return result << " (literals)";
    return followsTheRule(distances, codes.distances, kDistanceLimit) << " (distances)";
}

TEST(DeflateCodeGeneration, SymbolsWithoutAFrequencyGetACodeToo) {
    EXPECT_TRUE(bothFollowTheRule(std::vector<uint32_t>(286), std::vector<uint32_t>(30)));
    for (std::size_t i = 0; i < 286; ++i) {
        std::vector<uint32_t> literals(286);
        std::vector<uint32_t> distances(30);
        literals[i] = 1000;
        distances[i % 30] = 7;
        ASSERT_TRUE(bothFollowTheRule(literals, distances));
    }
}

TEST(DeflateCodeGeneration, RandomFrequenciesFollowTheRule) {
    Random random(441);
    for (int round = 0; round < 1500; ++round) {
        std::vector<uint32_t> literals(286);
        std::vector<uint32_t> distances(30);
        const uint64_t bits = 1 + random.below(19);
        const uint64_t rarity = 1 + random.below(20);
        for (std::vector<uint32_t>* const frequencies : {&literals, &distances}) {
            for (uint32_t& f : *frequencies) {
                if (random.oneIn(rarity))
                    f = static_cast<uint32_t>(random.below(uint64_t{1} << random.below(bits + 1)));
            }
        }
        ASSERT_TRUE(bothFollowTheRule(literals, distances)) << "round " << round;
    }
}

TEST(DeflateCodeGeneration, SkewedFrequenciesAreFlattenedUntilTheCodesFit) {
    // Fibonacci numbers and powers of two make the deepest trees.
    for (const uint32_t base : {1U, 3U, 50U}) {
        std::vector<uint32_t> literals(286);
        std::vector<uint32_t> distances(30);
        std::vector<uint32_t> doubled(30);
        uint32_t a = base;
        uint32_t b = base;
        for (std::size_t i = 0; i < 28; ++i) {
            literals[10 * i] = a;
            distances[i] = i < 20 ? a : 0;
            doubled[29 - i] = base << (i / 2);
            a = std::exchange(b, a + b);
        }
        EXPECT_GT(depth(raised(distances, 0), Among::Flattest), kDistanceLimit);
        EXPECT_GT(depth(raised(literals, 0), Among::Flattest), kLiteralLimit);
        EXPECT_TRUE(bothFollowTheRule(literals, distances));
        EXPECT_TRUE(bothFollowTheRule(literals, doubled));
    }
}

TEST(DeflateCodeGeneration, CodesThatCannotBeLimitedAreReported) {
    const std::vector<uint32_t> flatLiterals(286, 10);
    const std::vector<uint32_t> flatDistances(30, 10);
    std::vector<uint32_t> literals(286);
    std::vector<uint32_t> distances(30);
    for (unsigned i = 0; i < 12; ++i) literals[i] = 1U << (20 + i);
    for (unsigned i = 0; i < 15; ++i) distances[i] = 1U << (17 + i);
    ASSERT_GT(depth(raised(literals, 4095), Among::Flattest), kLiteralLimit);
    ASSERT_GT(depth(raised(distances, 4095), Among::Flattest), kDistanceLimit);
    EXPECT_EQ(generate(literals, distances).status, StatusCodeLengthLimit);
    // The other table is good all the same.
    const Codes badLiterals = generate(literals, flatDistances);
    EXPECT_EQ(badLiterals.status, StatusCodeLengthLimit);
    EXPECT_TRUE(followsTheRule(flatDistances, badLiterals.distances, kDistanceLimit));
    const Codes badDistances = generate(flatLiterals, distances);
    EXPECT_EQ(badDistances.status, StatusCodeLengthLimit);
    EXPECT_TRUE(followsTheRule(flatLiterals, badDistances.literals, kLiteralLimit));
}

TEST(DeflateCodeGeneration, LargeFrequenciesDoNotOverflow) {
    Random random(442);
    for (int round = 0; round < 100; ++round) {
        std::vector<uint32_t> literals(286, UINT32_MAX);
        std::vector<uint32_t> distances(30, UINT32_MAX);
        for (uint32_t& f : literals) f -= static_cast<uint32_t>(random.below(uint64_t{1} << random.below(32)));
        for (uint32_t& f : distances) f -= static_cast<uint32_t>(random.below(uint64_t{1} << random.below(32)));
        ASSERT_TRUE(bothFollowTheRule(literals, distances));
    }
}

TEST(DeflateCodeGeneration, NullPointersAreRefused) {
    const std::vector<uint32_t> frequencies(286);
    for (int missing = 0; missing < 4; ++missing) {
        Codes codes;
        EXPECT_EQ(ozrsDeflateLZ77FastestGenHuffTable_8u(
                      missing == 0 ? nullptr : frequencies.data(), missing == 1 ? nullptr : frequencies.data(),
                      missing == 2 ? nullptr : codes.literals.data(), missing == 3 ? nullptr : codes.distances.data()),
                  StatusNullPointer);
        EXPECT_EQ(longest(lengthsOf(codes.literals)), 0U);
        EXPECT_EQ(longest(lengthsOf(codes.distances)), 0U);
    }
}

TEST(DeflateCodeGeneration, TablesAreAllThatIsRead) {
    GuardedBuffer literals(286 * 4, Guard::After);
    GuardedBuffer distances(30 * 4, Guard::After);
    GuardedBuffer literalCodes(286 * 4, Guard::After);
    GuardedBuffer distanceCodes(30 * 4, Guard::After);
    EXPECT_NE(ozrsDeflateLZ77FastestGenHuffTable_8u(reinterpret_cast<const uint32_t*>(literals.data()),
                                                    reinterpret_cast<const uint32_t*>(distances.data()),
                                                    reinterpret_cast<DeflateHuffCode*>(literalCodes.data()),
                                                    reinterpret_cast<DeflateHuffCode*>(distanceCodes.data())),
              StatusNullPointer);
    EXPECT_TRUE(literalCodes.slackIntact());
    EXPECT_TRUE(distanceCodes.slackIntact());
}

// --- Headers --------------------------------------------------------------------------------------------------------

// True if the header describes exactly these lengths. It may leave out unused symbols at the end.
::testing::AssertionResult describes(const BlockCodes& codes) {
    constexpr uint8_t untouched = 0xB7;
    const HuffCodes literals = huffCodes(codes.literals);
    const HuffCodes distances = huffCodes(codes.distances);
    GuardedBuffer header(OZRDC_DEFLATE_HEADER_SIZE, Guard::After);
    std::fill(header.begin(), header.end(), untouched);
    int32_t bytes = -1;
    int32_t bits = -1;
    const Status status =
        ozrsDeflateLZ77FastestGenHeader_8u(literals.data(), distances.data(), header.data(), &bytes, &bits);
    if (status != StatusOk) return ::testing::AssertionFailure() << "status " << status;
    if (bytes < 1 || bytes > OZRDC_DEFLATE_HEADER_SIZE || bytes != (bits + 7) / 8) {
        return ::testing::AssertionFailure() << bytes << " bytes, " << bits << " bits";
    }
    if (std::any_of(header.begin() + bytes, header.end(), [](uint8_t b) { return b != untouched; })) {
        return ::testing::AssertionFailure() << "written behind the header";
    }
    if (bits % 8 != 0 && header[static_cast<std::size_t>(bytes - 1)] >> (bits % 8) != 0) {
        return ::testing::AssertionFailure() << "bits behind the header";
    }
    const ByteView written = std::as_const(header).span().first(static_cast<std::size_t>(bytes));
    BitReader reader(written);
    auto read = readHeader(reader);
    if (!read || read->last || read->type != 2) return ::testing::AssertionFailure() << "no header of a dynamic block";
    if (reader.position() != static_cast<std::size_t>(bits)) return ::testing::AssertionFailure() << "another length";
    read->codes.literals.resize(286);
    read->codes.distances.resize(30);
    if (read->codes.literals != codes.literals || read->codes.distances != codes.distances) {
        return ::testing::AssertionFailure() << "other code lengths";
    }
    return ::testing::AssertionSuccess();
}

TEST(DeflateHeader, DescribesTheCodesOfAnyFrequencies) {
    Random random(443);
    for (int round = 0; round < 1000; ++round) {
        std::vector<uint32_t> literals(286);
        std::vector<uint32_t> distances(30);
        for (uint32_t& f : literals) f = static_cast<uint32_t>(random.below(uint64_t{1} << random.below(18)));
        for (uint32_t& f : distances) f = static_cast<uint32_t>(random.below(uint64_t{1} << random.below(18)));
        const Codes codes = generate(literals, distances);
        ASSERT_TRUE(describes({lengthsOf(codes.literals), lengthsOf(codes.distances)}));
    }
}

TEST(DeflateHeader, DescribesAnyLengths) {
    Random random(444);
    for (int round = 0; round < 3000; ++round) {
        BlockCodes codes{Lengths(286), Lengths(30)};
        const uint64_t rarity = 1 + random.below(30);
        const uint64_t stay = 1 + random.below(40);
        for (Lengths* const lengths : {&codes.literals, &codes.distances}) {
            uint16_t current = 0;
            for (uint16_t& n : *lengths) {
                if (random.oneIn(stay)) current = random.oneIn(rarity) ? static_cast<uint16_t>(random.below(16)) : 0;
                n = current;
            }
        }
        ASSERT_TRUE(describes(codes)) << "round " << round;
    }
}

TEST(DeflateHeader, DescribesTheExtremes) {
    for (uint16_t length = 0; length <= 15; ++length) {
        EXPECT_TRUE(describes({Lengths(286, length), Lengths(30, length)}));
        BlockCodes one{Lengths(286), Lengths(30)};
        one.literals[285] = length;
        EXPECT_TRUE(describes(one));
        one.distances[29] = length;
        EXPECT_TRUE(describes(one));
    }
    // No two neighbors alike: nothing to shorten, so that the header is at its longest.
    BlockCodes restless{Lengths(286), Lengths(30)};
    for (std::size_t i = 0; i < 286; ++i) restless.literals[i] = static_cast<uint16_t>(1 + (i * 7) % 15);
    for (std::size_t i = 0; i < 30; ++i) restless.distances[i] = static_cast<uint16_t>(i % 16);
    EXPECT_TRUE(describes(restless));
    // Frequencies of the code lengths that would give a code of more than 7 bits.
    BlockCodes skewed{Lengths(286), Lengths(30)};
    std::size_t at = 0;
    for (unsigned length = 1, count = 1; length <= 10; ++length, count = count * 17 / 10 + 1) {
        for (unsigned i = 0; i < count && at + 1 < 286; ++i) {
            skewed.literals[at] = static_cast<uint16_t>(length);
            at += 1;
            if (i % 2 == 1 && at < 285) skewed.literals[at++] = 15;
        }
    }
    EXPECT_TRUE(describes(skewed));
}

TEST(DeflateHeader, CodesAboveFifteenBitsAreRefused) {
    for (const bool inLiterals : {true, false}) {
        for (const uint16_t length : {uint16_t{16}, uint16_t{255}, uint16_t{0x8001}, uint16_t{65535}}) {
            HuffCodes literals(286, {0, 8});
            HuffCodes distances(30, {0, 5});
            (inLiterals ? literals[285] : distances[0]).len = length;
            Bytes header(OZRDC_DEFLATE_HEADER_SIZE, 0xB7);
            int32_t bytes = -1;
            int32_t bits = -1;
            EXPECT_EQ(
                ozrsDeflateLZ77FastestGenHeader_8u(literals.data(), distances.data(), header.data(), &bytes, &bits),
                StatusBadCodeTable);
            EXPECT_EQ(header, Bytes(OZRDC_DEFLATE_HEADER_SIZE, 0xB7));
            EXPECT_EQ(bytes, -1);
            EXPECT_EQ(bits, -1);
        }
    }
}

TEST(DeflateHeader, NullPointersAreRefused) {
    const HuffCodes codes(286, {0, 8});
    for (int missing = 0; missing < 5; ++missing) {
        Bytes header(OZRDC_DEFLATE_HEADER_SIZE, 0xB7);
        int32_t bytes = -1;
        int32_t bits = -1;
        EXPECT_EQ(ozrsDeflateLZ77FastestGenHeader_8u(missing == 0 ? nullptr : codes.data(),
                                                     missing == 1 ? nullptr : codes.data(),
                                                     missing == 2 ? nullptr : header.data(),
                                                     missing == 3 ? nullptr : &bytes, missing == 4 ? nullptr : &bits),
                  StatusNullPointer);
        EXPECT_EQ(header, Bytes(OZRDC_DEFLATE_HEADER_SIZE, 0xB7));
        EXPECT_EQ(bytes, -1);
        EXPECT_EQ(bits, -1);
    }
}

}  // namespace
}  // namespace ozrdc::test::deflate
