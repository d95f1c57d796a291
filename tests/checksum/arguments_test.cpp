// The argument checks: which status, in which order, and that nothing is written when one fails.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>

#include "checksum/every_path.h"
#include "ozrdc.h"

namespace ozrdc::test {
namespace {

using ChecksumArguments = EveryPath;
OZRDC_ON_EVERY_PATH(ChecksumArguments);

constexpr std::array<uint8_t, 3> kAbc = {'a', 'b', 'c'};
constexpr uint32_t kUntouched = 0x12345678;

TEST_P(ChecksumArguments, CrcsRefuseNullPointersBeforeLengths) {
    for (const auto function : {ozrsCRC32_8u, ozrsCRC32_BZ2_8u}) {
        uint32_t crc = kUntouched;
        for (const int32_t len : {3, 0, -1}) {
            EXPECT_EQ(function(nullptr, len, &crc), StatusNullPointer);
            EXPECT_EQ(function(kAbc.data(), len, nullptr), StatusNullPointer);
            EXPECT_EQ(function(nullptr, len, nullptr), StatusNullPointer);
        }
        EXPECT_EQ(crc, kUntouched);
    }
    uint32_t crc = kUntouched;
    for (const uint32_t len : {3U, 0U}) {
        EXPECT_EQ(ozrsCRC32C_8u(nullptr, len, &crc), StatusNullPointer);
        EXPECT_EQ(ozrsCRC32C_8u(kAbc.data(), len, nullptr), StatusNullPointer);
    }
    EXPECT_EQ(crc, kUntouched);
}

TEST_P(ChecksumArguments, CrcsRefuseEmptyInput) {
    for (const auto function : {ozrsCRC32_8u, ozrsCRC32_BZ2_8u}) {
        uint32_t crc = kUntouched;
        for (const int32_t len : {0, -1, std::numeric_limits<int32_t>::min()}) {
            EXPECT_EQ(function(kAbc.data(), len, &crc), StatusSizeError);
        }
        EXPECT_EQ(crc, kUntouched);
    }
    uint32_t crc = kUntouched;
    EXPECT_EQ(ozrsCRC32C_8u(kAbc.data(), 0, &crc), StatusSizeError);
    EXPECT_EQ(crc, kUntouched);
}

TEST_P(ChecksumArguments, AdlerOfANullSourceIsANewChecksum) {
    for (const int32_t len : {3, 0, -1}) {
        uint32_t adler = kUntouched;
        EXPECT_EQ(ozrsAdler32_8u(nullptr, len, &adler), StatusOk);
        EXPECT_EQ(adler, 1U);
        EXPECT_EQ(ozrsAdler32_8u(nullptr, len, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsAdler32_8u(kAbc.data(), len, nullptr), StatusNullPointer);
    }
}

TEST_P(ChecksumArguments, AdlerOfNothingReducesBothHalves) {
    constexpr std::array<std::array<uint32_t, 2>, 5> cases = {
        {{0xFFFFFFFF, 0x000E000E}, {0xFFF1FFF1, 0}, {0xFFF0FFF0, 0xFFF0FFF0}, {1, 1}, {0xFFF20001, 0x00010001}}};
    for (const auto& [value, reduced] : cases) {
        for (const int32_t len : {0, -1, std::numeric_limits<int32_t>::min()}) {
            uint32_t adler = value;
            EXPECT_EQ(ozrsAdler32_8u(kAbc.data(), len, &adler), StatusOk);
            EXPECT_EQ(adler, reduced);
        }
    }
}

TEST_P(ChecksumArguments, AdlerOfAbc) {
    uint32_t adler = 1;
    EXPECT_EQ(ozrsAdler32_8u(kAbc.data(), 3, &adler), StatusOk);
    EXPECT_EQ(adler, 0x024D0127U);
}

}  // namespace
}  // namespace ozrdc::test
