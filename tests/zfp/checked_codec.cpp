// See the header.
#include "zfp/checked_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

#include "support/field_samples.h"
#include "support/random.h"

namespace ozrdc::test::zfp {
namespace {

std::span<const uint8_t> bytesOf(const Values& values) {
    return {reinterpret_cast<const uint8_t*>(values.data()), sizeof values};
}

// True if both have the same bits, but for the payloads of NaNs.
bool same(const Values& a, const Values& b) {
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::isnan(a[i]) && std::isnan(b[i])) continue;
        if (std::bit_cast<uint32_t>(a[i]) != std::bit_cast<uint32_t>(b[i])) return false;
    }
    return true;
}

constexpr int32_t kRow = 4 * sizeof(float);
constexpr int32_t kPlane = 4 * kRow;

}  // namespace

// --- Encoder --------------------------------------------------------------------------------------------------------

CheckedEncoder::CheckedEncoder(std::size_t capacity, Guard guard)
    : stream_(capacity, guard),
      state_(kStateSize, guard),
      source_(sizeof(Values), guard),
      untouched_(stream_.begin(), stream_.end()),
      reference_(capacity) {
    EXPECT_EQ(ozrsEncodeZfpInitLong_32f(stream_.data(), capacity, state()), StatusOk);
}

void CheckedEncoder::set(const Parameters& p) {
    ASSERT_EQ(ozrsEncodeZfpSet_32f(p.minBits, p.maxBits, p.maxPrec, p.minExp, state()), StatusOk);
    reference_.parameters = p;
}

Status CheckedEncoder::encode(const Values& block) {
    std::ranges::copy(bytesOf(block), source_.begin());
    const Status status = ozrsEncodeZfp444_32f(reinterpret_cast<const float*>(source_.data()), kRow, kPlane, state());
    compare(status, reference_.encode(block));
    return status;
}

Status CheckedEncoder::flush() {
    const Status status = ozrsEncodeZfpFlush_32f(state());
    compare(status, reference_.flush());
    return status;
}

void CheckedEncoder::compare(Status status, const Progress& expected) const {
    EXPECT_EQ(status, expected.status);
    int32_t size = -1;
    uint64_t longSize = 0;
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSize_32f(state(), &size), StatusOk);
    EXPECT_EQ(ozrsEncodeZfpGetCompressedSizeLong_32f(state(), &longSize), StatusOk);
    EXPECT_EQ(static_cast<uint64_t>(size), expected.bytes);
    ASSERT_EQ(longSize, expected.bytes);
    EXPECT_EQ(bitSize(), 8 * expected.bytes + expected.bits);
    ASSERT_TRUE(std::ranges::equal(reference_.stored(), stream_.span().first(longSize)));
    // What has not been stored has not been touched.
    ASSERT_TRUE(std::equal(stream_.begin() + static_cast<std::ptrdiff_t>(longSize), stream_.end(),
                           untouched_.begin() + static_cast<std::ptrdiff_t>(longSize)));
    ASSERT_TRUE(stream_.slackIntact() && state_.slackIntact());
}

Bytes CheckedEncoder::stream() const { return reference_.stored(); }

uint64_t CheckedEncoder::bitSize() const {
    uint64_t bits = 0;
    EXPECT_EQ(ozrsEncodeZfpGetCompressedBitSize_32f(state(), &bits), StatusOk);
    return bits;
}

// --- Decoder --------------------------------------------------------------------------------------------------------

CheckedDecoder::CheckedDecoder(std::span<const uint8_t> stream, Guard guard)
    : stream_(stream, guard), state_(kStateSize, guard), target_(sizeof(Values), guard), reference_(stream_.span()) {
    EXPECT_EQ(ozrsDecodeZfpInitLong_32f(stream_.data(), stream_.size(), state()), StatusOk);
}

void CheckedDecoder::set(const Parameters& p) {
    ASSERT_EQ(ozrsDecodeZfpSet_32f(p.minBits, p.maxBits, p.maxPrec, p.minExp, state()), StatusOk);
    reference_.parameters = p;
}

Status CheckedDecoder::decode(Values& block) {
    auto* const target = reinterpret_cast<float*>(target_.data());
    const Status status = ozrsDecodeZfp444_32f(state(), target, kRow, kPlane);
    Values expectedBlock;
    const Progress expected = reference_.decode(expectedBlock);
    EXPECT_EQ(status, expected.status);
    int32_t size = -1;
    EXPECT_EQ(ozrsDecodeZfpGetDecompressedSize_32f(state(), &size), StatusOk);
    EXPECT_EQ(static_cast<uint64_t>(size), expected.bytes);
    EXPECT_EQ(fetched(), expected.bytes);
    std::memcpy(block.data(), target, sizeof block);
    EXPECT_TRUE(status != StatusOk || same(block, expectedBlock));
    EXPECT_TRUE(target_.slackIntact() && state_.slackIntact());
    return status;
}

uint64_t CheckedDecoder::fetched() const {
    uint64_t bytes = 0;
    EXPECT_EQ(ozrsDecodeZfpGetDecompressedSizeLong_32f(state(), &bytes), StatusOk);
    return bytes;
}

// --- Samples --------------------------------------------------------------------------------------------------------

Values wildBlock(uint64_t seed) {
    Random random(seed);
    Values block;
    for (float& value : block) {
        switch (random.below(8)) {
            case 0:
                value = std::numeric_limits<float>::infinity();
                break;
            case 1:
                value = -std::numeric_limits<float>::infinity();
                break;
            case 2:
                value = std::numeric_limits<float>::quiet_NaN();
                break;
            case 3:
                value = std::numeric_limits<float>::max();
                break;
            case 4:
                value = std::bit_cast<float>(static_cast<uint32_t>(random.below(1 << 23)));
                break;
            default:
                value = std::bit_cast<float>(static_cast<uint32_t>(random.next()));
                break;
        }
    }
    return block;
}

std::vector<Values> sampleBlocks(std::size_t count, uint64_t seed) {
    Random random(seed);
    std::vector<Field> fields;
    for (const FieldKind& kind : fieldKinds()) fields.push_back(kind.make(32, 16, 12, seed));
    std::vector<Values> blocks(count);
    for (Values& block : blocks) {
        const uint64_t nature = random.below(10);
        const Field& field = fields[random.below(fields.size())];
        const std::size_t x0 = random.below(field.nx - 3);
        const std::size_t y0 = random.below(field.ny - 3);
        const std::size_t z0 = random.below(field.nz - 3);
        const auto scale = static_cast<float>(std::ldexp(1.0, static_cast<int>(random.between(-140, 120))));
        for (std::size_t i = 0; i < block.size(); ++i) {
            const auto noise = static_cast<float>(random.between(-1000000, 1000000)) * 1e-6F;
            switch (nature) {
                case 0:
                    block[i] = 0;
                    break;
                case 1:
                    block[i] = scale;
                    break;
                case 2:
                    block[i] = i == seed % 64 ? noise : 0;
                    break;
                case 3:
                    block[i] = noise;
                    break;
                case 4:
                    block[i] = noise * scale;
                    break;
                case 5:
                    block[i] = (i * 7 % 64 == 5 ? 1.0F : 1e-9F) * noise;
                    break;
                default:
                    block[i] = field.at(x0 + i % 4, y0 + i / 4 % 4, z0 + i / 16);
                    break;
            }
        }
    }
    return blocks;
}

std::vector<Parameters> usualParameters() {
    std::vector<Parameters> all{{}};
    for (const uint32_t bits : {9U, 10U, 64U, 100U, 256U, 512U, 1000U, 1024U, 2048U}) {
        all.push_back({bits, bits, 64, -10740});  // fixed rate
    }
    for (const uint32_t planes : {1U, 2U, 7U, 8U, 9U, 16U, 24U, 31U, 32U}) all.push_back({0, 4171, planes, -10740});
    for (const int32_t exponent : {-30, -20, -10, -5, 0, 10}) all.push_back({0, 4171, 64, exponent});
    all.push_back({100, 700, 20, -12});
    return all;
}

std::vector<Parameters> oddParameters() {
    constexpr uint32_t kMost = std::numeric_limits<uint32_t>::max();
    constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
    constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
    std::vector<Parameters> all;
    for (const uint32_t maxBits : {0U, 1U, 8U, 9U, 10U, 63U, 64U, 65U, 2119U, 2120U, kMost - 63, kMost}) {
        for (const uint32_t minBits : {0U, 1U, 2U, 64U, 5000U}) {
            all.push_back({minBits, maxBits, 64, -10740});
            all.push_back({minBits, maxBits, kMost, kLowest});
        }
    }
    all.push_back({0, 4171, 0, -10740});
    all.push_back({0, 4171, 64, kHighest});
    all.push_back({kMost, 0, 64, -1074});
    return all;
}

std::string describe(const Parameters& p) {
    return "minBits " + std::to_string(p.minBits) + ", maxBits " + std::to_string(p.maxBits) + ", maxPrec " +
           std::to_string(p.maxPrec) + ", minExp " + std::to_string(p.minExp);
}

}  // namespace ozrdc::test::zfp
