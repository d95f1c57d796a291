// The small array kernels against loops that say what they do.
#include "core/vector_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <tuple>
#include <vector>

#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test {
namespace {

constexpr int32_t kLowest = std::numeric_limits<int32_t>::min();
constexpr int32_t kHighest = std::numeric_limits<int32_t>::max();
constexpr int32_t kLongest = 100;  // long enough for every vector width and its remainder

// An array of elements that ends at an inaccessible page.
template <typename T>
class GuardedArray {
  public:
    explicit GuardedArray(int32_t n, uint64_t seed = 1)
        : bytes_(static_cast<std::size_t>(n) * sizeof(T), Guard::After, seed) {}
    explicit GuardedArray(const std::vector<T>& values) : GuardedArray(static_cast<int32_t>(values.size())) {
        std::copy(values.begin(), values.end(), data());
    }

    T* data() { return reinterpret_cast<T*>(bytes_.data()); }
    std::vector<T> values() { return {data(), data() + bytes_.size() / sizeof(T)}; }
    bool slackIntact() const { return bytes_.slackIntact(); }

  private:
    GuardedBuffer bytes_;
};

// Values near the ends of the range and near zero as often as any others.
std::vector<int32_t> someIntegers(int32_t n, Random& random) {
    std::vector<int32_t> values;
    for (int32_t i = 0; i < n; ++i) {
        const auto any = static_cast<int32_t>(random.next());
        switch (random.below(4)) {
            case 0:
                values.push_back(any);
                break;
            case 1:
                values.push_back(any % 8);
                break;
            case 2:
                values.push_back(kHighest - (any & 7));
                break;
            default:
                values.push_back(kLowest + (any & 7));
        }
    }
    return values;
}

TEST(VectorSet, FillsExactlyItsElements) {
    for (int32_t n = 1; n <= kLongest; ++n) {
        GuardedArray<uint8_t> bytes(n);
        EXPECT_EQ(ozrsSet_8u(0xA7, bytes.data(), n), StatusOk);
        EXPECT_EQ(bytes.values(), std::vector<uint8_t>(static_cast<std::size_t>(n), 0xA7));
        EXPECT_TRUE(bytes.slackIntact());

        GuardedArray<int32_t> words(n);
        EXPECT_EQ(ozrsSet_32s(-123456789, words.data(), n), StatusOk);
        EXPECT_EQ(words.values(), std::vector<int32_t>(static_cast<std::size_t>(n), -123456789));
        EXPECT_TRUE(words.slackIntact());
    }
}

// Clears `n` elements of `size` bytes that begin `shift` bytes into a buffer and end at an inaccessible page.
template <typename Zero>
void expectCleared(Zero zero, int32_t n, std::size_t size, std::size_t shift) {
    GuardedBuffer bytes(shift + size * static_cast<std::size_t>(n));
    std::vector<uint8_t> expected(bytes.begin(), bytes.end());
    std::fill(expected.begin() + static_cast<std::ptrdiff_t>(shift), expected.end(), uint8_t{0});
    EXPECT_EQ(zero(bytes.data() + shift, n), StatusOk);
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.end()), expected) << n << " elements, shift " << shift;
}

TEST(VectorZero, ClearsExactlyItsElementsAtAnyAddress) {
    for (int32_t n = 1; n <= kLongest; ++n) {
        expectCleared(ozrsZero_16s, n, 2, 7);
        expectCleared(ozrsZero_32s, n, 4, 7);
        GuardedBuffer odd(1 + 4 * kLongest);  // begins and ends at addresses that no element would be aligned to
        const uint8_t last = odd[4 * static_cast<std::size_t>(n)];
        EXPECT_EQ(ozrsZero_32s(odd.data(), n), StatusOk);
        EXPECT_EQ(std::count(odd.begin(), odd.begin() + 4 * n, uint8_t{0}), 4 * n);
        EXPECT_EQ(odd[4 * static_cast<std::size_t>(n)], last);
    }
}

TEST(VectorCopy, CopiesExactlyItsBytes) {
    for (int32_t n = 1; n <= kLongest; ++n) {
        GuardedArray<uint8_t> source(n, 5);
        GuardedArray<uint8_t> target(n, 6);
        EXPECT_EQ(ozrsCopy_8u(source.data(), target.data(), n), StatusOk);
        EXPECT_EQ(target.values(), source.values());
        EXPECT_TRUE(target.slackIntact());
    }
}

TEST(VectorAdd, SaturatesToTheSignedRange) {
    int32_t value = 0x7FFFFFF0;
    EXPECT_EQ(ozrsAddC_32s_Sfs(&value, 0x20, &value, 1, 0), StatusOk);
    EXPECT_EQ(value, kHighest);
    value = kLowest + 5;
    EXPECT_EQ(ozrsAddC_32s_Sfs(&value, -6, &value, 1, 0), StatusOk);
    EXPECT_EQ(value, kLowest);
}

TEST(VectorAdd, EqualsASaturatingLoop) {
    Random random(711);
    for (int32_t n = 1; n <= kLongest; ++n) {
        GuardedArray<int32_t> source(someIntegers(n, random));
        const int32_t addend = someIntegers(1, random)[0];
        std::vector<int32_t> expected;
        for (const int32_t v : source.values()) {
            const int64_t sum = int64_t{v} + addend;
            expected.push_back(static_cast<int32_t>(sum > kHighest ? kHighest : sum < kLowest ? kLowest : sum));
        }
        GuardedArray<int32_t> target(n, 9);
        EXPECT_EQ(ozrsAddC_32s_Sfs(source.data(), addend, target.data(), n, 0), StatusOk);
        EXPECT_EQ(target.values(), expected);
        EXPECT_TRUE(target.slackIntact());
    }
}

TEST(VectorAdd, WithNothingToAddIsACopy) {
    Random random(712);
    GuardedArray<int32_t> source(someIntegers(kLongest, random));
    GuardedArray<int32_t> target(kLongest, 9);
    EXPECT_EQ(ozrsAddC_32s_Sfs(source.data(), 0, target.data(), kLongest, 0), StatusOk);
    EXPECT_EQ(target.values(), source.values());
}

TEST(VectorAdd, ScaleDividesTheSaturatedSum) {
    Random random(713);
    for (int32_t scale = 1; scale <= 40; ++scale) {
        GuardedArray<int32_t> source(someIntegers(kLongest, random));
        GuardedArray<int32_t> target(kLongest, 9);
        EXPECT_EQ(ozrsAddC_32s_Sfs(source.data(), 100, target.data(), kLongest, scale), StatusOk);
        for (int32_t i = 0; i < kLongest; ++i) {
            if (scale >= 33) {
                ASSERT_EQ(target.data()[i], 0);
            } else {
                const auto sum = static_cast<double>(std::min<int64_t>(int64_t{source.data()[i]} + 100, kHighest));
                ASSERT_LT(std::fabs(target.data()[i] - std::ldexp(sum, -scale)), 1.0);  // the rounding is free
            }
        }
    }
}

TEST(VectorShift, ShiftsEveryElementAndDropsTheHighBits) {
    Random random(714);
    for (int32_t shift = 0; shift <= 35; ++shift) {
        for (const int32_t n : {1, 30, 286}) {
            GuardedArray<int32_t> array(someIntegers(n, random));
            std::vector<int32_t> expected;
            for (const int32_t v : array.values()) {
                const uint64_t wide = uint64_t{static_cast<uint32_t>(v)} << std::min(shift, 32);
                expected.push_back(static_cast<int32_t>(static_cast<uint32_t>(wide)));
            }
            EXPECT_EQ(ozrsLShiftC_32s_I(shift, array.data(), n), StatusOk);
            EXPECT_EQ(array.values(), expected) << "shift " << shift;
            EXPECT_TRUE(array.slackIntact());
        }
    }
}

TEST(VectorShift, LongShiftClearsBeforeAnyOtherCheck) {
    std::vector<int32_t> values{1, 2, 3};
    EXPECT_EQ(ozrsLShiftC_32s_I(40, nullptr, 3), StatusNullPointer);
    EXPECT_EQ(ozrsLShiftC_32s_I(40, values.data(), 0), StatusSizeError);
    EXPECT_EQ(ozrsLShiftC_32s_I(32, values.data(), 3), StatusOk);
    EXPECT_EQ(values, (std::vector<int32_t>{0, 0, 0}));
}

TEST(VectorShift, NegativeShiftIsRefusedAfterPointerAndLength) {
    std::vector<int32_t> values{1, 2, 3};
    EXPECT_EQ(ozrsLShiftC_32s_I(-1, nullptr, 0), StatusNullPointer);
    EXPECT_EQ(ozrsLShiftC_32s_I(-1, values.data(), 0), StatusSizeError);
    EXPECT_EQ(ozrsLShiftC_32s_I(-1, values.data(), 3), -32);
    EXPECT_EQ(ozrsLShiftC_32s_I(kLowest, values.data(), 3), -32);
    EXPECT_EQ(values, (std::vector<int32_t>{1, 2, 3}));
}

TEST(VectorMaxAbs, FindsTheLargestMagnitude) {
    Random random(715);
    for (int32_t n = 1; n <= kLongest; ++n) {
        std::vector<float> values;
        float expected = 0;
        for (int32_t i = 0; i < n; ++i) {
            const double magnitude =
                std::ldexp(static_cast<double>(random.below(1 << 24)), static_cast<int>(random.between(-150, 100)));
            values.push_back(static_cast<float>(random.oneIn(2) ? -magnitude : magnitude));
            expected = std::fmax(expected, std::fabs(values.back()));
        }
        GuardedArray<float> array(values);
        float max = -1;
        EXPECT_EQ(ozrsMaxAbs_32f(array.data(), n, &max), StatusOk);
        EXPECT_EQ(max, expected);
    }
}

TEST(VectorMaxAbs, ZerosInfinitiesAndTheSmallestNumbers) {
    const auto maxAbs = [](std::vector<float> values) {
        float max = -1;
        EXPECT_EQ(ozrsMaxAbs_32f(values.data(), static_cast<int32_t>(values.size()), &max), StatusOk);
        return max;
    };
    const float negativeZero = -0.0F;
    EXPECT_EQ(maxAbs({negativeZero}), 0.0F);
    EXPECT_FALSE(std::signbit(maxAbs({negativeZero, negativeZero})));
    constexpr float tiny = std::numeric_limits<float>::denorm_min();
    EXPECT_EQ(maxAbs({0.0F, -tiny, 0.0F}), tiny);
    EXPECT_EQ(maxAbs({1.0F, -std::numeric_limits<float>::infinity()}), std::numeric_limits<float>::infinity());
}

TEST(VectorMinMax, FindsBothExtremes) {
    Random random(716);
    for (int32_t n = 1; n <= kLongest; ++n) {
        GuardedArray<int32_t> array(someIntegers(n, random));
        int32_t min = 0;
        int32_t max = 0;
        EXPECT_EQ(ozrsMinMax_32s(array.data(), n, &min, &max), StatusOk);
        const std::vector<int32_t> values = array.values();
        EXPECT_EQ(min, *std::min_element(values.begin(), values.end()));
        EXPECT_EQ(max, *std::max_element(values.begin(), values.end()));
    }
}

TEST(VectorThreshold, LowersWhatIsAboveTheLevel) {
    std::vector<int32_t> values{3, 7, 5};
    EXPECT_EQ(ozrsThreshold_GT_32s_I(values.data(), 3, 5), StatusOk);
    EXPECT_EQ(values, (std::vector<int32_t>{3, 5, 5}));

    Random random(717);
    for (int32_t n = 1; n <= kLongest; ++n) {
        GuardedArray<int32_t> array(someIntegers(n, random));
        const int32_t level = someIntegers(1, random)[0];
        std::vector<int32_t> expected = array.values();
        for (int32_t& v : expected) {
            if (v > level) v = level;
        }
        EXPECT_EQ(ozrsThreshold_GT_32s_I(array.data(), n, level), StatusOk);
        EXPECT_EQ(array.values(), expected);
        EXPECT_TRUE(array.slackIntact());
    }
}

TEST(VectorKernels, RefuseNullPointersBeforeLengthsBelowOne) {
    std::vector<int32_t> words{1, 2, 3};
    std::vector<uint8_t> bytes{1, 2, 3};
    std::vector<float> floats{1, 2, 3};
    int32_t a = 7;
    int32_t b = 7;
    float f = 7;
    for (const int32_t n : {3, 0, -1, kLowest}) {
        EXPECT_EQ(ozrsSet_8u(9, nullptr, n), StatusNullPointer);
        EXPECT_EQ(ozrsSet_32s(9, nullptr, n), StatusNullPointer);
        EXPECT_EQ(ozrsZero_16s(nullptr, n), StatusNullPointer);
        EXPECT_EQ(ozrsZero_32s(nullptr, n), StatusNullPointer);
        EXPECT_EQ(ozrsCopy_8u(nullptr, bytes.data(), n), StatusNullPointer);
        EXPECT_EQ(ozrsCopy_8u(bytes.data(), nullptr, n), StatusNullPointer);
        EXPECT_EQ(ozrsAddC_32s_Sfs(nullptr, 1, words.data(), n, 0), StatusNullPointer);
        EXPECT_EQ(ozrsAddC_32s_Sfs(words.data(), 1, nullptr, n, 0), StatusNullPointer);
        EXPECT_EQ(ozrsLShiftC_32s_I(4, nullptr, n), StatusNullPointer);
        EXPECT_EQ(ozrsMaxAbs_32f(nullptr, n, &f), StatusNullPointer);
        EXPECT_EQ(ozrsMaxAbs_32f(floats.data(), n, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsMinMax_32s(nullptr, n, &a, &b), StatusNullPointer);
        EXPECT_EQ(ozrsMinMax_32s(words.data(), n, nullptr, &b), StatusNullPointer);
        EXPECT_EQ(ozrsMinMax_32s(words.data(), n, &a, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsThreshold_GT_32s_I(nullptr, n, 2), StatusNullPointer);
    }
    for (const int32_t n : {0, -1, kLowest}) {
        EXPECT_EQ(ozrsSet_8u(9, bytes.data(), n), StatusSizeError);
        EXPECT_EQ(ozrsSet_32s(9, words.data(), n), StatusSizeError);
        EXPECT_EQ(ozrsZero_16s(words.data(), n), StatusSizeError);
        EXPECT_EQ(ozrsZero_32s(words.data(), n), StatusSizeError);
        EXPECT_EQ(ozrsCopy_8u(bytes.data(), bytes.data() + 1, n), StatusSizeError);
        EXPECT_EQ(ozrsAddC_32s_Sfs(words.data(), 1, words.data(), n, 0), StatusSizeError);
        EXPECT_EQ(ozrsLShiftC_32s_I(4, words.data(), n), StatusSizeError);
        EXPECT_EQ(ozrsMaxAbs_32f(floats.data(), n, &f), StatusSizeError);
        EXPECT_EQ(ozrsMinMax_32s(words.data(), n, &a, &b), StatusSizeError);
        EXPECT_EQ(ozrsThreshold_GT_32s_I(words.data(), n, 2), StatusSizeError);
    }
    EXPECT_EQ(words, (std::vector<int32_t>{1, 2, 3}));
    EXPECT_EQ(bytes, (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_EQ(std::tuple(a, b, f), std::tuple(7, 7, 7.0F));
}

// --- Copy of a run of bits ------------------------------------------------------------------------------------------

// Bit i of a buffer is bit i % 8 of byte i / 8, from the least significant.
bool bitAt(std::span<const uint8_t> bytes, std::size_t i) { return (bytes[i / 8] >> (i % 8) & 1) != 0; }

TEST(BitCopy, MovesARunBetweenAnyBitsAndKeepsAllOthers) {
    for (int32_t srcBit = 0; srcBit < 16; ++srcBit) {
        for (int32_t dstBit = 0; dstBit < 16; ++dstBit) {
            for (int32_t count = 1; count <= 80; ++count) {
                // Buffers that end with the byte of the last bit of the run.
                const auto bytesFor = [](int32_t bits) { return static_cast<std::size_t>((bits + 7) / 8); };
                const GuardedBuffer source(bytesFor(srcBit + count), Guard::After, 3);
                GuardedBuffer target(bytesFor(dstBit + count), Guard::After, 4);
                const std::vector<uint8_t> before(target.begin(), target.end());

                ASSERT_EQ(ozrsCopyBE_1u(source.data(), srcBit, target.data(), dstBit, count), StatusOk);
                for (std::size_t i = 0; i < 8 * target.size(); ++i) {
                    const auto at = static_cast<int64_t>(i) - dstBit;
                    const bool inRun = at >= 0 && at < count;
                    const bool expected =
                        inRun ? bitAt(source.span(), static_cast<std::size_t>(at + srcBit)) : bitAt(before, i);
                    ASSERT_EQ(bitAt(target.span(), i), expected)
                        << "from bit " << srcBit << " to bit " << dstBit << ", " << count << " bits: bit " << i;
                }
                ASSERT_TRUE(target.slackIntact());
            }
        }
    }
}

// A whole byte in front of the run must not be read or written, either.
TEST(BitCopy, TouchesNoByteInFrontOfTheRun) {
    for (int32_t srcBit = 8; srcBit < 16; ++srcBit) {
        for (int32_t dstBit = 8; dstBit < 16; ++dstBit) {
            for (const int32_t count : {1, 7, 8, 9, 40}) {
                GuardedBuffer source(8, Guard::Before, 3);
                GuardedBuffer target(8, Guard::Before, 4);
                // The buffers begin one byte late: their byte 0 is inaccessible.
                ASSERT_EQ(ozrsCopyBE_1u(source.data() - 1, srcBit, target.data() - 1, dstBit, count), StatusOk);
                for (int32_t i = 0; i < count; ++i) {
                    ASSERT_EQ(bitAt(target.span(), static_cast<std::size_t>(dstBit - 8 + i)),
                              bitAt(source.span(), static_cast<std::size_t>(srcBit - 8 + i)));
                }
            }
        }
    }
}

TEST(BitCopy, MovesLongRuns) {
    Random random(718);
    for (int round = 0; round < 300; ++round) {
        const auto srcBit = static_cast<int32_t>(random.below(100));
        const auto dstBit = static_cast<int32_t>(random.below(100));
        const auto count = static_cast<int32_t>(1 + random.below(5000));
        const GuardedBuffer source(static_cast<std::size_t>(srcBit + count + 7) / 8, Guard::After, 5);
        GuardedBuffer target(static_cast<std::size_t>(dstBit + count + 7) / 8, Guard::After, 6);
        const std::vector<uint8_t> before(target.begin(), target.end());
        ASSERT_EQ(ozrsCopyBE_1u(source.data(), srcBit, target.data(), dstBit, count), StatusOk);
        for (std::size_t i = 0; i < 8 * target.size(); ++i) {
            const auto at = static_cast<int64_t>(i) - dstBit;
            const bool inRun = at >= 0 && at < count;
            ASSERT_EQ(bitAt(target.span(), i),
                      inRun ? bitAt(source.span(), static_cast<std::size_t>(at + srcBit)) : bitAt(before, i));
        }
    }
}

TEST(BitCopy, OnlyANullSourceIsANullPointer) {
    std::vector<uint8_t> source(4, 0xFF);
    std::vector<uint8_t> target(4, 0);
    EXPECT_EQ(ozrsCopyBE_1u(nullptr, 0, target.data(), 0, 8), StatusNullPointer);
    EXPECT_EQ(ozrsCopyBE_1u(nullptr, -1, nullptr, -1, 0), StatusNullPointer);
    EXPECT_EQ(ozrsCopyBE_1u(source.data(), 0, nullptr, 0, 8), StatusSizeError);
    EXPECT_EQ(ozrsCopyBE_1u(source.data(), 0, target.data(), 0, 0), StatusSizeError);
    EXPECT_EQ(ozrsCopyBE_1u(source.data(), 0, target.data(), 0, -8), StatusSizeError);
    EXPECT_EQ(ozrsCopyBE_1u(source.data(), -1, target.data(), 0, 8), StatusSizeError);
    EXPECT_EQ(ozrsCopyBE_1u(source.data(), 0, target.data(), -1, 8), StatusSizeError);
    EXPECT_EQ(target, std::vector<uint8_t>(4, 0));
}

}  // namespace
}  // namespace ozrdc::test
