// The query of processor features.
#include "core/features.h"

#include <cpuid.h>
#include <gtest/gtest.h>

namespace ozrdc::test {
namespace {

TEST(Features, AnswersAreTheProcessors) {
    unsigned eax = 0;
    unsigned ebx = 0;
    unsigned ecx = 0;
    unsigned edx = 0;
    ASSERT_NE(__get_cpuid(1, &eax, &ebx, &ecx, &edx), 0);
    EXPECT_EQ(ownGetFeature(kFeatureCrc32Instruction) != 0, (ecx >> 20 & 1) != 0);
    EXPECT_EQ(ownGetFeature(kFeatureCarrylessMultiply) != 0, (ecx >> 1 & 1) != 0);
}

TEST(Features, BitsAreTheOnesOfTheInterface) {
    EXPECT_EQ(kFeatureCrc32Instruction, 0x80U);
    EXPECT_EQ(kFeatureCarrylessMultiply, 0x800U);
}

TEST(Features, NoOtherFeatureIsReported) {
    EXPECT_EQ(ownGetFeature(0), 0U);
    EXPECT_EQ(ownGetFeature(~(kFeatureCrc32Instruction | kFeatureCarrylessMultiply)), 0U);
}

}  // namespace
}  // namespace ozrdc::test
