// The decoder against the reference model, and the cases that have numbers of their own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "support/random.h"
#include "zfp/checked_codec.h"

namespace ozrdc::test::zfp {
namespace {

// The stream of the reference encoder.
Bytes encoded(std::span<const Values> blocks, const Parameters& parameters) {
    ReferenceEncoder encoder(SIZE_MAX);
    encoder.parameters = parameters;
    for (const Values& block : blocks) EXPECT_EQ(encoder.encode(block).status, StatusOk);
    EXPECT_EQ(encoder.flush().status, StatusOk);
    return encoder.stored();
}

void decodeToTheEnd(CheckedDecoder& decoder, std::size_t mostBlocks) {
    Values block;
    for (std::size_t i = 0; i < mostBlocks; ++i) {
        if (decoder.decode(block) != StatusOk) return;
    }
}

TEST(ZfpDecoder, GivesTheModelsValuesWithUsualParameters) {
    const std::vector<Values> blocks = sampleBlocks(150, 11);
    for (const Parameters& parameters : usualParameters()) {
        SCOPED_TRACE(describe(parameters));
        CheckedDecoder decoder(encoded(blocks, parameters));
        decoder.set(parameters);
        Values block;
        for (std::size_t i = 0; i < blocks.size(); ++i) ASSERT_EQ(decoder.decode(block), StatusOk);
        if (HasFailure()) return;
    }
}

TEST(ZfpDecoder, GivesTheModelsValuesWithAnyParameters) {
    const std::vector<Values> blocks = sampleBlocks(20, 12);
    for (const Parameters& parameters : oddParameters()) {
        if (parameters.minBits > 10000) continue;
        SCOPED_TRACE(describe(parameters));
        CheckedDecoder decoder(encoded(blocks, parameters));
        decoder.set(parameters);
        Values block;
        for (std::size_t i = 0; i < blocks.size(); ++i) ASSERT_EQ(decoder.decode(block), StatusOk);
        if (HasFailure()) return;
    }
}

TEST(ZfpDecoder, TakesAnyBytes) {
    Random random(13);
    const std::vector<Parameters> odd = oddParameters();
    const std::vector<Parameters> usual = usualParameters();
    for (unsigned i = 0; i < 3000; ++i) {
        Bytes stream(1 + random.below(900));
        random.fill(stream);
        // Ones and zeros in excess make long planes and empty ones.
        const uint64_t nature = random.below(4);
        for (uint8_t& byte : stream) {
            if (nature == 1) byte = static_cast<uint8_t>(byte | random.byte() | random.byte());
            if (nature == 2) byte = static_cast<uint8_t>(byte & random.byte() & random.byte());
            if (nature == 3) byte = static_cast<uint8_t>(byte & byte >> 4);
        }
        const auto& parameters = random.oneIn(2) ? odd[random.below(odd.size())] : usual[random.below(usual.size())];
        SCOPED_TRACE(describe(parameters));
        CheckedDecoder decoder(stream, random.oneIn(2) ? Guard::After : Guard::Before);
        decoder.set(parameters);
        decodeToTheEnd(decoder, 50);
        if (HasFailure()) return;
    }
}

TEST(ZfpDecoder, TakesAStreamThatWasCutAnywhere) {
    const std::vector<Values> blocks = sampleBlocks(8, 14);
    for (const Parameters& parameters :
         {Parameters{}, Parameters{200, 200, 64, -10740}, Parameters{1000, 4171, 12, -10740}}) {
        SCOPED_TRACE(describe(parameters));
        const Bytes stream = encoded(blocks, parameters);
        for (std::size_t size = 1; size <= stream.size(); ++size) {
            SCOPED_TRACE(size);
            CheckedDecoder decoder{std::span(stream).first(size)};
            decoder.set(parameters);
            decodeToTheEnd(decoder, blocks.size());
            if (HasFailure()) return;
        }
    }
}

TEST(ZfpDecoder, ParametersMayChangeBetweenBlocks) {
    const std::vector<Values> blocks = sampleBlocks(60, 15);
    const std::vector<Parameters> all = usualParameters();
    ReferenceEncoder encoder(SIZE_MAX);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        encoder.parameters = all[i % all.size()];
        encoder.encode(blocks[i]);
    }
    encoder.flush();
    CheckedDecoder decoder(encoder.stored());
    Values block;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        decoder.set(all[i % all.size()]);
        ASSERT_EQ(decoder.decode(block), StatusOk);
    }
}

TEST(ZfpDecoder, AByteOfZeroIsEightBlocksOfZeros) {
    CheckedDecoder decoder(Bytes{0});
    for (unsigned i = 0; i < 8; ++i) {
        Values block;
        block.fill(7);
        ASSERT_EQ(decoder.decode(block), StatusOk);
        EXPECT_TRUE(std::ranges::all_of(block, [](float v) { return v == 0 && !std::signbit(v); }));
        EXPECT_EQ(decoder.fetched(), 1U);
    }
    Values block;
    EXPECT_EQ(decoder.decode(block), StatusStreamEnd);
    EXPECT_EQ(decoder.decode(block), StatusStreamEnd);
}

TEST(ZfpDecoder, AWordIsFetchedForItsFirstBit) {
    CheckedDecoder decoder(Bytes(24, 0));
    decoder.set({64, 64, 64, -10740});
    EXPECT_EQ(decoder.fetched(), 0U);
    for (unsigned words = 1; words <= 3; ++words) {
        Values block;
        ASSERT_EQ(decoder.decode(block), StatusOk);
        EXPECT_EQ(decoder.fetched(), words * 8);
    }
}

TEST(ZfpDecoder, ASkipToTheExactEndSucceeds) {
    for (std::size_t size = 1; size <= 40; ++size) {
        SCOPED_TRACE(size);
        for (const uint8_t byte : {uint8_t{0x00}, uint8_t{0xFF}}) {
            for (const uint32_t excess : {0U, 1U}) {
                CheckedDecoder decoder(Bytes(size, byte));
                decoder.set({static_cast<uint32_t>(8 * size) + excess, 9, 64, -10740});
                Values block;
                const bool ends = excess == 1 || (byte == 0xFF && size == 1);
                EXPECT_EQ(decoder.decode(block), ends ? StatusStreamEnd : StatusOk);
                EXPECT_EQ(decoder.fetched(), size);
            }
        }
    }
}

TEST(ZfpDecoder, AtAFixedRateABlockIsFoundByItsNumber) {
    const std::vector<Values> blocks = sampleBlocks(30, 16);
    for (const uint32_t bits : {64U, 192U, 512U, 1024U}) {
        const Parameters parameters{bits, bits, 64, -10740};
        const Bytes stream = encoded(blocks, parameters);
        ReferenceDecoder inOrder(stream);
        inOrder.parameters = parameters;
        for (std::size_t n = 0; n < blocks.size(); ++n) {
            Values expected;
            ASSERT_EQ(inOrder.decode(expected).status, StatusOk);
            CheckedDecoder alone{std::span(stream).subspan(n * bits / 8)};
            alone.set(parameters);
            Values block;
            ASSERT_EQ(alone.decode(block), StatusOk);
            EXPECT_EQ(block, expected);
        }
    }
}

// The error that the format's authors give for full precision: a few units of the last of the block's integers.
TEST(ZfpDecoder, AllPlanesGiveTheValuesBack) {
    const std::vector<Values> blocks = sampleBlocks(400, 17);
    const Parameters parameters{0, 4171, 32, -10740};
    CheckedDecoder decoder(encoded(blocks, parameters));
    decoder.set(parameters);
    for (const Values& original : blocks) {
        Values block;
        ASSERT_EQ(decoder.decode(block), StatusOk);
        float largest = 0;
        for (const float value : original) largest = std::max(largest, std::fabs(value));
        if (largest < 0x1p-97F) continue;  // below, integers are cut short
        for (std::size_t i = 0; i < block.size(); ++i) {
            ASSERT_LE(std::fabs(double{block[i]} - original[i]), double{largest} * 0x1p-22);
        }
    }
}

TEST(ZfpDecoder, TheErrorKeepsToTheTolerance) {
    const std::vector<Values> blocks = sampleBlocks(300, 18);
    for (const double tolerance : {1.0, 0.1, 1e-3, 1e-5}) {
        const Parameters parameters{0, 4171, 64, static_cast<int32_t>(std::floor(std::log2(tolerance)))};
        CheckedDecoder decoder(encoded(blocks, parameters));
        ASSERT_EQ(ozrsDecodeZfpSetAccuracy_32f(tolerance, decoder.state()), StatusOk);
        for (const Values& original : blocks) {
            Values block;
            ASSERT_EQ(ozrsDecodeZfp444_32f(decoder.state(), block.data(), 16, 64), StatusOk);
            for (std::size_t i = 0; i < block.size(); ++i) {
                // On top of it comes what the integers do not hold of large values.
                const double rounding = std::fabs(double{original[i]}) * 0x1p-20;
                float largest = 0;
                for (const float value : original) largest = std::max(largest, std::fabs(value));
                ASSERT_LE(std::fabs(double{block[i]} - original[i]), tolerance + rounding + double{largest} * 0x1p-22);
            }
        }
    }
}

TEST(ZfpDecoder, WhatTheEncoderMakesOfWildValuesIsRead) {
    for (uint64_t seed = 0; seed < 200; ++seed) {
        std::vector<Values> blocks(4);
        for (std::size_t i = 0; i < blocks.size(); ++i) blocks[i] = wildBlock(1000 + 4 * seed + i);
        const Parameters parameters = seed % 2 == 0 ? Parameters{} : Parameters{300, 300, 64, -10740};
        CheckedDecoder decoder(encoded(blocks, parameters));
        decoder.set(parameters);
        Values block;
        for (std::size_t i = 0; i < blocks.size(); ++i) ASSERT_EQ(decoder.decode(block), StatusOk);
        if (HasFailure()) return;
    }
}

}  // namespace
}  // namespace ozrdc::test::zfp
