// The stages of a block on their own: the transform, the bytes of its coefficients, and their bit planes.
#include <gtest/gtest.h>

#include <array>
#include <bit>

#include "support/random.h"
#include "zfp/bit_planes.h"
#include "zfp/transform.h"

namespace ozrdc::zfp {
namespace {

using Integers = std::array<uint32_t, kValues>;

Block blockOf(const Integers& values) {
    Block block;
    for (size_t i = 0; i < kRows; ++i) block.rows[i] = load128(&values[kSide * i]);
    return block;
}

Integers integersOf(const Block& block) {
    Integers values;
    for (size_t i = 0; i < kRows; ++i) store128(&values[kSide * i], block.rows[i]);
    return values;
}

Integers randomIntegers(test::Random& random, unsigned bits) {
    Integers values;
    for (uint32_t& value : values) value = static_cast<uint32_t>(static_cast<int64_t>(random.next()) >> (64 - bits));
    return values;
}

TEST(ZfpTransform, AConstantBlockHasOneCoefficient) {
    Integers values;
    values.fill(12345);
    Block block = blockOf(values);
    ownFwdDecor(block);
    Integers expected{};
    expected[0] = 12345;
    EXPECT_EQ(integersOf(block), expected);
}

TEST(ZfpTransform, ARampHasNothingBeyondItsSlopes) {
    for (const unsigned axis : {1U, 4U, 16U}) {
        Integers values;
        for (size_t i = 0; i < kValues; ++i) values[i] = static_cast<uint32_t>(i / axis % 4) << 20;
        Block block = blockOf(values);
        ownFwdDecor(block);
        const Integers coefficients = integersOf(block);
        for (size_t i = 0; i < kValues; ++i) {
            EXPECT_EQ(coefficients[i] != 0, i == 0 || i == axis) << "axis " << axis << ", coefficient " << i;
        }
    }
}

// Each lifting step loses the lowest bit of a mean, and no more.
TEST(ZfpTransform, TheInverseGivesTheValuesBackButForTheLowestBits) {
    test::Random random(31);
    for (unsigned round = 0; round < 2000; ++round) {
        const Integers values = randomIntegers(random, 1 + static_cast<unsigned>(random.below(31)));
        Block block = blockOf(values);
        ownFwdDecor(block);
        ownInvDecor(block);
        const Integers back = integersOf(block);
        for (size_t i = 0; i < kValues; ++i) {
            const auto error = static_cast<int32_t>(back[i] - values[i]);
            ASSERT_LE(std::abs(error), 64) << "value " << i;
        }
    }
}

TEST(ZfpTransform, NegabinaryIsASumOfPowersOfMinusTwo) {
    test::Random random(32);
    for (unsigned round = 0; round < 1000; ++round) {
        const Integers values = randomIntegers(random, 32);
        const __m128i converted = toNegabinary(load128(values.data()));
        std::array<uint32_t, 4> digits;
        store128(digits.data(), converted);
        for (size_t i = 0; i < 4; ++i) {
            uint32_t sum = 0;
            uint32_t power = 1;
            for (unsigned k = 0; k < 32; ++k, power *= static_cast<uint32_t>(-2)) {
                if ((digits[i] >> k & 1) != 0) sum += power;
            }
            ASSERT_EQ(sum, values[i]);
        }
        std::array<uint32_t, 4> back;
        store128(back.data(), fromNegabinary(converted));
        ASSERT_TRUE(std::equal(back.begin(), back.end(), values.begin()));
    }
}

TEST(ZfpTransform, PlanesHoldTheBitsInCodingOrder) {
    test::Random random(33);
    for (unsigned round = 0; round < 500; ++round) {
        const Block block = blockOf(randomIntegers(random, 32));
        Block negabinary = block;
        for (__m128i& row : negabinary.rows) row = toNegabinary(row);
        const Integers digits = integersOf(negabinary);
        const ByteRows bytes = bytesOf(block);
        std::array<uint64_t, kPlanes> planes{};
        for (size_t b = kBytes; b-- > 0;) {
            PlanesOfByte source(bytes[b]);
            for (size_t k = kPlanesOfByte; k-- > 0;) planes[kPlanesOfByte * b + k] = source.next();
        }
        for (size_t k = 0; k < kPlanes; ++k) {
            for (size_t i = 0; i < kValues; ++i) ASSERT_EQ(planes[k] >> i & 1, digits[permTable[i]] >> k & 1);
        }
        ByteRows back;
        for (size_t b = 0; b < kBytes; ++b) back[b] = byteOfPlanes(&planes[kPlanesOfByte * b]);
        ASSERT_EQ(integersOf(fromBytes(back)), integersOf(block));
    }
}

}  // namespace
}  // namespace ozrdc::zfp
