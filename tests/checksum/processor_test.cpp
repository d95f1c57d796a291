// The checksums as an application gets them, with the library's own feature query.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "checksum/adler32_runs.h"
#include "checksum/checksums.h"
#include "core/features.h"
#include "support/random.h"

namespace ozrdc::test {
namespace {

TEST(ProcessorFeatures, AreThoseOfThisProcessor) {
    EXPECT_EQ(ownGetFeature(kFeatureCrc32Instruction) != 0, __builtin_cpu_supports("sse4.2") != 0);
    EXPECT_EQ(ownGetFeature(kFeatureCarrylessMultiply) != 0, __builtin_cpu_supports("pclmul") != 0);
    EXPECT_EQ(ownGetFeature(~(kFeatureCrc32Instruction | kFeatureCarrylessMultiply)), 0U);
}

// Wide vectors make longer runs, and so another number of bytes of this message.
TEST(ProcessorFeatures, DecideTheVectorsOfAdler32) {
    const std::vector<uint8_t> bytes(1000);
    using namespace adler32;
    const auto taken = [&](auto addRuns) {
        Sums sums{1, 0};
        return addRuns(sums, bytes.data(), bytes.size());
    };
    ASSERT_NE(taken(addAllRuns16), 640U);
    if (__builtin_cpu_supports("avx2") != 0) {
        EXPECT_EQ(taken(addAllRuns32), 640U);
        EXPECT_EQ(taken(ozrdcAdler32AddAllRuns), 640U);
    } else {
        EXPECT_EQ(taken(ozrdcAdler32AddAllRuns), taken(addAllRuns16));
    }
}

TEST(ProcessorPath, GivesTheReferenceValues) {
    std::vector<uint8_t> bytes(40000);
    Random(8).fill(bytes);
    for (const Checksum& checksum : checksums()) {
        const auto expected = referenceOfPrefixes(checksum, checksum.start, bytes);
        for (size_t len = 0; len <= bytes.size(); len += 1 + len / 500) {
            ASSERT_EQ(checksum.ours(checksum.start, bytes.data(), len), expected[len]) << checksum.name << ", " << len;
        }
    }
}

}  // namespace
}  // namespace ozrdc::test
