// Every path of every checksum gives the value of the reference model: at every length, every alignment, every split.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "checksum/checksums.h"
#include "checksum/every_path.h"
#include "ozrdc.h"
#include "support/random.h"

namespace ozrdc::test {
namespace {

using ChecksumPaths = EveryPath;
OZRDC_ON_EVERY_PATH(ChecksumPaths);

constexpr size_t kAlignments = 16;
constexpr size_t kExhaustive = 4200;
// Beyond the thresholds of all paths, several times over.
constexpr size_t kLong = 60000;

std::vector<uint8_t> randomBytes(size_t size, uint64_t stream) {
    std::vector<uint8_t> bytes(size);
    Random(stream).fill(bytes);
    return bytes;
}

TEST_P(ChecksumPaths, TheNineDigits) {
    constexpr std::array<uint8_t, 9> digits = {'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    for (const Checksum& checksum : checksums()) {
        EXPECT_EQ(checksum.ours(checksum.start, digits.data(), digits.size()), checksum.digits) << checksum.name;
        EXPECT_EQ(reference(checksum, checksum.start, digits), checksum.digits) << checksum.name;
        for (size_t split = 0; split <= digits.size(); ++split) {
            const uint32_t first = checksum.ours(checksum.start, digits.data(), split);
            EXPECT_EQ(checksum.ours(first, digits.data() + split, digits.size() - split), checksum.digits)
                << checksum.name << " split at " << split;
        }
    }
}

TEST_P(ChecksumPaths, EveryLengthAtEveryAlignment) {
    const std::vector<uint8_t> bytes = randomBytes(kExhaustive + 2 * kAlignments, 1);
    const uint8_t* const aligned =
        bytes.data() + (kAlignments - reinterpret_cast<uintptr_t>(bytes.data()) % kAlignments) % kAlignments;
    for (const Checksum& checksum : checksums()) {
        for (size_t alignment = 0; alignment < kAlignments; ++alignment) {
            const uint8_t* const p = aligned + alignment;
            const auto expected = referenceOfPrefixes(checksum, checksum.start, {p, kExhaustive});
            for (size_t len = 0; len <= kExhaustive; ++len) {
                ASSERT_EQ(checksum.ours(checksum.start, p, len), expected[len])
                    << checksum.name << ", " << len << " bytes at " << alignment << " modulo 16";
            }
        }
    }
}

TEST_P(ChecksumPaths, LongInputsFromAnyValue) {
    const std::vector<uint8_t> bytes = randomBytes(kLong, 2);
    Random random(3);
    for (const Checksum& checksum : checksums()) {
        for (size_t round = 0; round < 6; ++round) {
            const auto value = static_cast<uint32_t>(random.next());
            const std::span<const uint8_t> input = std::span(bytes).subspan(random.below(kAlignments));
            const auto expected = referenceOfPrefixes(checksum, value, input);
            for (size_t len = kExhaustive + round; len <= input.size(); len += 1 + random.below(60)) {
                ASSERT_EQ(checksum.ours(value, input.data(), len), expected[len]) << checksum.name << ", " << len;
            }
        }
    }
}

TEST_P(ChecksumPaths, EverySplitOfShortInputs) {
    constexpr size_t kLongest = 300;
    const std::vector<uint8_t> bytes = randomBytes(kLongest, 4);
    for (const Checksum& checksum : checksums()) {
        const auto expected = referenceOfPrefixes(checksum, checksum.start, bytes);
        for (size_t len = 0; len <= kLongest; ++len) {
            for (size_t split = 0; split <= len; ++split) {
                const uint32_t first = checksum.ours(checksum.start, bytes.data(), split);
                ASSERT_EQ(checksum.ours(first, bytes.data() + split, len - split), expected[len])
                    << checksum.name << ", " << split << " of " << len;
            }
        }
    }
}

TEST_P(ChecksumPaths, SplitsOfLongInputs) {
    const std::vector<uint8_t> bytes = randomBytes(kLong, 5);
    Random random(6);
    for (const Checksum& checksum : checksums()) {
        const auto expected = referenceOfPrefixes(checksum, checksum.start, bytes);
        for (int i = 0; i < 2000; ++i) {
            const size_t len = random.below(random.oneIn(2) ? kExhaustive : kLong) + 1;
            const size_t split = random.below(len + 1);
            const uint32_t first = checksum.ours(checksum.start, bytes.data(), split);
            ASSERT_EQ(checksum.ours(first, bytes.data() + split, len - split), expected[len])
                << checksum.name << ", " << split << " of " << len;
        }
    }
}

// One bit set in zeros: each place of each kernel carries its bit to the right place of the result. CRCs only: they are
// linear but for a constant, so that what a bit must do follows from what it does at the place behind.
TEST_P(ChecksumPaths, EverySingleBytesEffectOnCrcs) {
    constexpr size_t kLength = 26000;
    std::vector<uint8_t> bytes(kLength);
    for (const Checksum& checksum : checksums().subspan(1)) {
        const uint32_t zeros = checksum.ours(0, bytes.data(), kLength);
        std::vector<uint32_t> behind(kLength);
        uint32_t r = checksum.reference(0, 0x80) ^ checksum.reference(0, 0);
        for (size_t i = kLength; i-- > 0;) {
            behind[i] = r;
            r = checksum.reference(r, 0) ^ checksum.reference(0, 0);
        }
        for (size_t i = 0; i < kLength; i += 1 + i % 3) {
            bytes[i] = 0x80;
            ASSERT_EQ(checksum.ours(0, bytes.data(), kLength), zeros ^ behind[i]) << checksum.name << ", byte " << i;
            bytes[i] = 0;
        }
    }
}

// The sums of Adler-32 at the limits of their widths.
TEST_P(ChecksumPaths, LargestBytesFromTheLargestValues) {
    const std::vector<uint8_t> bytes(kLong, 0xFF);
    const Checksum& adler = checksums()[0];
    for (const uint32_t value : {0xFFF0FFF0U, 0xFFFFFFFFU, 0U, 0xFFFF0000U}) {
        const auto expected = referenceOfPrefixes(adler, value, bytes);
        for (size_t len = 1; len <= kLong; len += 1 + len / 100) {
            ASSERT_EQ(adler.ours(value, bytes.data(), len), expected[len]) << len << " bytes from " << value;
        }
        // Runs of largest bytes between zeros, so that even and odd bytes, and neighboring vectors, differ most.
        for (const size_t period : {2U, 16U, 32U, 480U}) {
            std::vector<uint8_t> stripes(20000);
            for (size_t i = 0; i < stripes.size(); ++i) stripes[i] = i % (2 * period) < period ? 0xFF : 0;
            EXPECT_EQ(adler.ours(value, stripes.data(), stripes.size()), reference(adler, value, stripes)) << period;
        }
    }
}

// Beyond 262084 bytes Adler-32 adds up pieces of 65521 bytes.
TEST_P(ChecksumPaths, VeryLongInputs) {
    constexpr size_t kPieces = size_t{4} * 65521;
    const std::vector<uint8_t> random = randomBytes(2 * kPieces + 5000, 9);
    const std::vector<uint8_t> largest(random.size(), 0xFF);
    for (const auto& bytes : {random, largest}) {
        for (const Checksum& checksum : checksums()) {
            const auto expected = referenceOfPrefixes(checksum, 0xFFF0FFF0, bytes);
            for (const size_t around : {kPieces, 2 * kPieces}) {
                for (size_t len = around - 20; len <= around + 4000; len += 1 + len % 37) {
                    ASSERT_EQ(checksum.ours(0xFFF0FFF0, bytes.data(), len), expected[len])
                        << checksum.name << ", " << len;
                }
            }
        }
    }
}

TEST(FeatureQuery, IsAskedOnEveryCallOneBitAtATime) {
    constexpr uint64_t kInstruction = 0x80;
    constexpr uint64_t kMultiply = 0x800;
    constexpr uint64_t kAll = ~uint64_t{0};
    using Masks = std::vector<uint64_t>;
    constexpr std::array<uint8_t, 1> byte = {1};
    const auto questions = [&](auto function, uint64_t visible) {
        const FeatureMask mask(visible);
        uint32_t value = 0;
        EXPECT_EQ(function(byte.data(), 1, &value), StatusOk);
        return featureQuestions();
    };
    for (int i = 0; i < 3; ++i) {
        for (const uint64_t visible : {uint64_t{0}, kInstruction, kMultiply, kAll}) {
            EXPECT_EQ(questions(ozrsCRC32_8u, visible), Masks{kMultiply});
            EXPECT_EQ(questions(ozrsCRC32_BZ2_8u, visible), Masks{kMultiply});
            EXPECT_EQ(questions(ozrsAdler32_8u, visible), Masks{});
        }
        EXPECT_EQ(questions(ozrsCRC32C_8u, 0), (Masks{kMultiply, kInstruction}));
        EXPECT_EQ(questions(ozrsCRC32C_8u, kInstruction), (Masks{kMultiply, kInstruction}));
        if (presentFeatures(kMultiply) != 0) {
            EXPECT_EQ(questions(ozrsCRC32C_8u, kMultiply), Masks{kMultiply});
            EXPECT_EQ(questions(ozrsCRC32C_8u, kAll), Masks{kMultiply});
        }
    }
}

}  // namespace
}  // namespace ozrdc::test
