// The encoder against the reference model, and the cases that have numbers of their own.
#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "support/random.h"
#include "zfp/checked_codec.h"

namespace ozrdc::test::zfp {
namespace {

constexpr std::size_t kAmple = 1 << 16;

Values filled(float value) {
    Values block;
    block.fill(value);
    return block;
}

TEST(ZfpEncoder, GivesTheModelsStreamWithUsualParameters) {
    const std::vector<Values> blocks = sampleBlocks(150, 1);
    for (const Parameters& parameters : usualParameters()) {
        SCOPED_TRACE(describe(parameters));
        CheckedEncoder encoder(kAmple);
        encoder.set(parameters);
        for (const Values& block : blocks) ASSERT_EQ(encoder.encode(block), StatusOk);
        ASSERT_EQ(encoder.flush(), StatusOk);
        if (HasFailure()) return;
    }
}

TEST(ZfpEncoder, GivesTheModelsStreamWithAnyParameters) {
    const std::vector<Values> blocks = sampleBlocks(20, 2);
    for (const Parameters& parameters : oddParameters()) {
        SCOPED_TRACE(describe(parameters));
        CheckedEncoder encoder(1 << 12);
        encoder.set(parameters);
        for (const Values& block : blocks) encoder.encode(block);
        encoder.flush();
        if (HasFailure()) return;
    }
}

TEST(ZfpEncoder, GivesTheModelsStreamWithRandomParameters) {
    Random random(3);
    const std::vector<Values> blocks = sampleBlocks(200, 3);
    for (unsigned i = 0; i < 2000; ++i) {
        const Parameters parameters{static_cast<uint32_t>(random.below(600)), static_cast<uint32_t>(random.below(2200)),
                                    static_cast<uint32_t>(random.below(40)),
                                    static_cast<int32_t>(random.between(-60, 20))};
        SCOPED_TRACE(describe(parameters));
        CheckedEncoder encoder(1 + random.below(2000));
        encoder.set(parameters);
        for (unsigned k = 0; k < 6; ++k) encoder.encode(blocks[random.below(blocks.size())]);
        encoder.flush();
        if (HasFailure()) return;
    }
}

TEST(ZfpEncoder, ParametersMayChangeBetweenBlocks) {
    const std::vector<Values> blocks = sampleBlocks(60, 4);
    const std::vector<Parameters> all = usualParameters();
    CheckedEncoder encoder(kAmple);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        encoder.set(all[i % all.size()]);
        ASSERT_EQ(encoder.encode(blocks[i]), StatusOk);
    }
    ASSERT_EQ(encoder.flush(), StatusOk);
}

TEST(ZfpEncoder, StopsWhereTheBufferEnds) {
    const std::vector<Values> blocks = sampleBlocks(12, 5);
    for (const Parameters& parameters :
         {Parameters{}, Parameters{512, 512, 64, -10740}, Parameters{300, 4171, 9, -10740}}) {
        SCOPED_TRACE(describe(parameters));
        for (std::size_t capacity = 1; capacity <= 800; ++capacity) {
            SCOPED_TRACE(capacity);
            CheckedEncoder encoder(capacity, capacity % 2 == 0 ? Guard::After : Guard::Before);
            encoder.set(parameters);
            for (const Values& block : blocks) encoder.encode(block);
            encoder.flush();
            if (HasFailure()) return;
        }
    }
}

TEST(ZfpEncoder, AStreamThatHasEndedStaysSo) {
    CheckedEncoder encoder(16);
    const std::vector<Values> blocks = sampleBlocks(1, 6);
    encoder.set({512, 512, 64, -10740});
    EXPECT_EQ(encoder.encode(blocks[0]), StatusStreamEnd);
    EXPECT_EQ(encoder.bitSize(), 16 * 8 + 63U);
    EXPECT_EQ(encoder.encode(filled(0)), StatusStreamEnd);
    EXPECT_EQ(encoder.flush(), StatusStreamEnd);
    EXPECT_EQ(encoder.bitSize(), 16 * 8 + 63U);
}

TEST(ZfpEncoder, ABlockOfZerosIsOneBit) {
    for (const float zero : {0.0F, -0.0F}) {
        CheckedEncoder encoder(64);
        EXPECT_EQ(encoder.encode(filled(zero)), StatusOk);
        EXPECT_EQ(encoder.bitSize(), 1U);
        EXPECT_EQ(encoder.flush(), StatusOk);
        EXPECT_EQ(encoder.stream(), Bytes(8, 0));
    }
}

TEST(ZfpEncoder, AtAFixedRateEveryBlockTakesTheSame) {
    const std::vector<Values> blocks = sampleBlocks(50, 7);
    for (uint32_t rate = 1; rate <= 32; ++rate) {
        CheckedEncoder encoder(kAmple);
        encoder.set({64 * rate, 64 * rate, 64, -10740});
        for (std::size_t i = 0; i < blocks.size(); ++i) {
            ASSERT_EQ(encoder.encode(blocks[i]), StatusOk);
            ASSERT_EQ(encoder.bitSize(), 64 * rate * (i + 1));
        }
    }
}

TEST(ZfpEncoder, APaddingOfManyWordsIsOfZeros) {
    CheckedEncoder encoder(3000);
    encoder.set({8 * 1000, 64, 64, -10740});
    EXPECT_EQ(encoder.encode(filled(1)), StatusOk);
    EXPECT_EQ(encoder.encode(filled(0)), StatusOk);
    EXPECT_EQ(encoder.bitSize(), 2 * 8000U);
    EXPECT_EQ(encoder.encode(filled(0)), StatusOk);
    EXPECT_EQ(encoder.encode(filled(0)), StatusStreamEnd);
}

TEST(ZfpEncoder, AnEndlessPaddingEndsWithTheBuffer) {
    constexpr uint32_t kMost = std::numeric_limits<uint32_t>::max();
    for (const float value : {0.0F, 1.0F}) {
        CheckedEncoder encoder(1000);
        encoder.set({kMost, kMost, kMost, std::numeric_limits<int32_t>::min()});
        EXPECT_EQ(encoder.encode(filled(value)), StatusStreamEnd);
        EXPECT_EQ(encoder.bitSize(), 8000U + 63);
    }
}

TEST(ZfpEncoder, FlushWritesAWholeWordWhereThereIsRoom) {
    for (const std::size_t capacity : {8U, 9U, 16U, 100U}) {
        CheckedEncoder encoder(capacity);
        EXPECT_EQ(encoder.flush(), StatusOk);
        EXPECT_EQ(encoder.stream(), Bytes());
        EXPECT_EQ(encoder.encode(filled(0)), StatusOk);
        EXPECT_EQ(encoder.flush(), StatusOk);
        EXPECT_EQ(encoder.stream(), Bytes(8, 0));
        EXPECT_EQ(encoder.flush(), StatusOk);
        EXPECT_EQ(encoder.stream(), Bytes(8, 0));
    }
}

TEST(ZfpEncoder, FlushWritesBytesWhereLessThanAWordIsLeft) {
    for (uint32_t bits = 9; bits <= 63; ++bits) {
        SCOPED_TRACE(bits);
        for (std::size_t capacity = 1; capacity <= 7; ++capacity) {
            CheckedEncoder encoder(capacity);
            encoder.set({bits, bits, 64, -10740});
            EXPECT_EQ(encoder.encode(filled(1.5F)), StatusOk);
            const bool fits = (bits + 7) / 8 <= capacity;
            EXPECT_EQ(encoder.flush(), fits ? StatusOk : StatusStreamEnd);
            EXPECT_EQ(encoder.stream().size(), fits ? (bits + 7) / 8 : capacity);
        }
    }
}

TEST(ZfpEncoder, TheAccuracyIsTheExponentOfTheTolerance) {
    struct Case {
        double tolerance;
        int32_t minExp;
    };
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const std::vector<Values> blocks = sampleBlocks(40, 8);
    for (const Case& c : {Case{0.0, -10740}, Case{-1.0, -10740}, Case{-kInfinity, -10740}, Case{1.0, 0}, Case{0.75, -1},
                          Case{0.5, -1}, Case{1e-3, -10}, Case{3.0, 1}, Case{kInfinity, 1024}, Case{0x1p-1060, -1023},
                          Case{std::numeric_limits<double>::quiet_NaN(), -10740}}) {
        SCOPED_TRACE(c.tolerance);
        // The other parameters stay what they are.
        for (const Parameters& others : {Parameters{}, Parameters{70, 400, 20, 5}}) {
            Parameters expected = others;
            expected.minExp = c.minExp;
            CheckedEncoder byExponent(kAmple);
            byExponent.set(expected);
            CheckedEncoder byTolerance(kAmple);
            byTolerance.set(others);
            ASSERT_EQ(ozrsEncodeZfpSetAccuracy_32f(c.tolerance, byTolerance.state()), StatusOk);
            for (const Values& block : blocks) {
                ASSERT_EQ(byExponent.encode(block), StatusOk);
                const auto* const source = block.data();
                ASSERT_EQ(ozrsEncodeZfp444_32f(source, 16, 64, byTolerance.state()), StatusOk);
                ASSERT_EQ(byExponent.bitSize(), byTolerance.bitSize());
            }
        }
    }
}

TEST(ZfpEncoder, InfinitiesAndNaNsDoNoHarm) {
    for (uint64_t seed = 0; seed < 300; ++seed) {
        SCOPED_TRACE(seed);
        CheckedEncoder encoder(1200);
        if (seed % 2 == 0) encoder.set({256, 256, 64, -10740});
        for (uint64_t k = 0; k < 3; ++k) encoder.encode(wildBlock(3 * seed + k));
        encoder.encode(filled(std::numeric_limits<float>::quiet_NaN()));
        encoder.encode(filled(std::numeric_limits<float>::infinity()));
        encoder.flush();
        if (HasFailure()) return;
    }
}

}  // namespace
}  // namespace ozrdc::test::zfp
