// ZFP through the face: the streams of the C calls, parameters and errors.
#include <gtest/gtest.h>

#include <cmath>
#include <ozrdc/zfp.hpp>

#include "streams.h"
#include "support/field_samples.h"
#include "support/guarded_buffer.h"

namespace ozrdc::test {
namespace {

constexpr std::size_t kSide = 32;
constexpr zfp::Steps kSteps{kSide * sizeof(float), kSide* kSide * sizeof(float)};

template <typename Volume, typename Visit>
bool forEachBlock(Volume& volume, Visit visit) {
    for (std::size_t z = 0; z < kSide; z += 4) {
        for (std::size_t y = 0; y < kSide; y += 4) {
            for (std::size_t x = 0; x < kSide; x += 4) {
                if (!visit(&volume[x + kSide * (y + kSide * z)])) return false;
            }
        }
    }
    return true;
}

Data encodeVolume(const std::vector<float>& volume, const zfp::Parameters& parameters) {
    GuardedBuffer target(volume.size() * 5);
    auto encoder = zfp::Encoder::create(target, parameters).value();
    EXPECT_TRUE(forEachBlock(volume, [&](const float* block) { return encoder.encode(block, kSteps).has_value(); }));
    const uint64_t bits = encoder.bits().value();
    const Buffer stream = encoder.finish().value();
    EXPECT_EQ(stream.size(), (bits + 63) / 64 * 8);
    return copy(stream);
}

std::vector<float> decodeVolume(const Data& stream, const zfp::Parameters& parameters) {
    std::vector<float> volume(kSide * kSide * kSide);
    auto decoder = zfp::Decoder::create(stream, parameters).value();
    EXPECT_TRUE(forEachBlock(volume, [&](float* block) { return decoder.decode(block, kSteps).has_value(); }));
    EXPECT_EQ(decoder.consumed().value(), stream.size());
    return volume;
}

float largestError(const std::vector<float>& a, const std::vector<float>& b) {
    float error = 0;
    for (std::size_t i = 0; i < a.size(); ++i) error = std::max(error, std::abs(a[i] - b[i]));
    return error;
}

TEST(FaceZfp, KeepsWhatTheParametersSay) {
    for (const FieldKind& kind : fieldKinds()) {
        const std::vector<float> volume = kind.make(kSide, kSide, kSide, 1).values;
        const Data everything = encodeVolume(volume, zfp::kEverything);
        EXPECT_LT(largestError(decodeVolume(everything, zfp::kEverything), volume), 1e-5F);

        const Data rate = encodeVolume(volume, zfp::fixedRate(8));
        EXPECT_EQ(rate.size(), volume.size());  // eight bits a value
        EXPECT_LT(largestError(decodeVolume(rate, zfp::fixedRate(8)), volume), 0.5F);

        const Data precision = encodeVolume(volume, zfp::fixedPrecision(16));
        EXPECT_LT(precision.size(), everything.size());
        EXPECT_LT(largestError(decodeVolume(precision, zfp::fixedPrecision(16)), volume), 0.01F);
    }
}

TEST(FaceZfp, KeepsToATolerance) {
    const std::vector<float> volume = fieldKind("turbulent").make(kSide, kSide, kSide, 1).values;
    GuardedBuffer target(volume.size() * 5);
    auto encoder = zfp::Encoder::create(target).value();
    ASSERT_TRUE(encoder.setTolerance(1e-3));
    ASSERT_TRUE(forEachBlock(volume, [&](const float* block) { return encoder.encode(block, kSteps).has_value(); }));
    const Buffer stream = encoder.finish().value();
    auto decoder = zfp::Decoder::create(stream).value();
    ASSERT_TRUE(decoder.setTolerance(1e-3));
    std::vector<float> back(volume.size());
    ASSERT_TRUE(forEachBlock(back, [&](float* block) { return decoder.decode(block, kSteps).has_value(); }));
    EXPECT_LT(largestError(back, volume), 1e-3F);
    EXPECT_GT(largestError(back, volume), 1e-6F);
}

TEST(FaceZfp, AnyBlockOfAFixedRateCanBeDecodedAlone) {
    const std::vector<float> volume = fieldKind("smooth").make(kSide, kSide, kSide, 1).values;
    const zfp::Parameters parameters = zfp::fixedRate(4);  // 256 bits a block, four words
    const Data stream = encodeVolume(volume, parameters);
    const std::vector<float> whole = decodeVolume(stream, parameters);
    auto decoder = zfp::Decoder::create(stream, parameters).value();
    for (const std::size_t number : std::array<std::size_t, 4>{511, 3, 64, 0}) {
        ASSERT_TRUE(decoder.restart(std::span(stream).subspan(number * 32), parameters));
        std::array<float, 64> block{};
        ASSERT_TRUE(decoder.decode(block.data()));
        const std::size_t first = number % 8 * 4 + kSide * (number / 8 % 8 * 4 + kSide * (number / 64 * 4));
        EXPECT_EQ(block[0], whole[first]);
        EXPECT_EQ(block[63], whole[first + 3 + kSide * (3 + kSide * 3)]);
    }
}

TEST(FaceZfp, EndsAreNoticed) {
    const std::array<float, 64> block{1, 2, 3};
    GuardedBuffer target(16);
    auto encoder = zfp::Encoder::create(target).value();
    EXPECT_EQ(encoder.encode(block.data()).status(), StatusStreamEnd);
    EXPECT_EQ(zfp::Encoder::create(Buffer()).status(), StatusNullPointer);
    EXPECT_EQ(encoder.encode(nullptr).status(), StatusNullPointer);

    std::array<float, 64> back{};
    const Data source(4, 0xFF);
    auto decoder = zfp::Decoder::create(source).value();
    EXPECT_EQ(decoder.decode(back.data()).status(), StatusStreamEnd);
    EXPECT_EQ(zfp::Decoder::create(Bytes()).status(), StatusNullPointer);
}

}  // namespace
}  // namespace ozrdc::test
