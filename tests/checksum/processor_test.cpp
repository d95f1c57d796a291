// The checksums as an application gets them, with the library's own feature query.

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

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
