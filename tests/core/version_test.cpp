// The version record, to the letter.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>

#include "ozrdc.h"

namespace ozrdc::test {
namespace {

TEST(Version, RecordReadsToTheLetter) {
    const LibraryVersion* const version = ozrdcGetLibVersion();
    ASSERT_NE(version, nullptr);
    EXPECT_EQ(version->major, 2022);
    EXPECT_EQ(version->minor, 2);
    EXPECT_EQ(version->majorBuild, 0);
    EXPECT_EQ(version->build, 0x42db1a66);
    EXPECT_EQ(std::memcmp(version->targetCpu, "y8\0\0", 4), 0);
    EXPECT_STREQ(version->name, "ozrDC SSE4.2 (y8)");
    EXPECT_STREQ(version->version, "2022.2.0 (r0x42db1a66)");
    EXPECT_STREQ(version->buildDate, "May  9 2025");
}

TEST(Version, SameRecordOnEveryCall) { EXPECT_EQ(ozrdcGetLibVersion(), ozrdcGetLibVersion()); }

TEST(Version, RecordIsLaidOutInTheOrderOfItsFields) {
    EXPECT_EQ(offsetof(LibraryVersion, major), 0U);
    EXPECT_EQ(offsetof(LibraryVersion, minor), 4U);
    EXPECT_EQ(offsetof(LibraryVersion, majorBuild), 8U);
    EXPECT_EQ(offsetof(LibraryVersion, build), 12U);
    EXPECT_EQ(offsetof(LibraryVersion, targetCpu), 16U);
    EXPECT_EQ(offsetof(LibraryVersion, name), 24U);
    EXPECT_EQ(offsetof(LibraryVersion, version), 32U);
    EXPECT_EQ(offsetof(LibraryVersion, buildDate), 40U);
    EXPECT_EQ(sizeof(LibraryVersion), 48U);
}

TEST(Status, ValuesAreFixed) {
    EXPECT_EQ(sizeof(Status), 4U);
    EXPECT_EQ(StatusOk, 0);
    EXPECT_EQ(StatusSourceExhausted, 32);
    EXPECT_EQ(StatusDestinationFull, 33);
    EXPECT_EQ(StatusSortBudgetExceeded, 47);
    EXPECT_EQ(StatusOutputTruncated, 48);
    EXPECT_EQ(StatusCodeLengthLimit, -1);
    EXPECT_EQ(StatusError, -2);
    EXPECT_EQ(StatusStreamEnd, -4);
    EXPECT_EQ(StatusBadArgument, -5);
    EXPECT_EQ(StatusSizeError, -6);
    EXPECT_EQ(StatusNullPointer, -8);
    EXPECT_EQ(StatusContextMismatch, -13);
    EXPECT_EQ(StatusBadFactor, -16);
    EXPECT_EQ(StatusBadCodeTable, -200);
    EXPECT_EQ(StatusBrokenStream, -214);
}

}  // namespace
}  // namespace ozrdc::test
