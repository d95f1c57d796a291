// Checksums of the face: check values, pieces, and the C calls.
#include <gtest/gtest.h>

#include <ozrdc/checksum.hpp>
#include <string_view>

#include "streams.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

using namespace std::string_view_literals;

TEST(Checksums, HaveTheirStandardCheckValues) {
    EXPECT_EQ(crc32("123456789"sv), 0xCBF43926U);
    EXPECT_EQ(crc32Bz2("123456789"sv), 0xFC891918U);
    EXPECT_EQ(crc32c("123456789"sv), 0xE3069283U);
    EXPECT_EQ(adler32("123456789"sv), 0x091E01DEU);
}

TEST(Checksums, OfNothingAreTheirBeginnings) {
    EXPECT_EQ(crc32({}), 0U);
    EXPECT_EQ(crc32Bz2({}), 0U);
    EXPECT_EQ(crc32c({}), 0U);
    EXPECT_EQ(adler32({}), 1U);
    EXPECT_EQ(Adler32(0x091E01DE).update({}).value(), 0x091E01DEU);
}

template <typename Checksum>
void expectPiecesToGiveTheWhole() {
    const Data data = sampleKind("random").make(70000, 1);
    const uint32_t whole = Checksum().update(data).value();
    Random random(1);
    Checksum running;
    for (std::size_t i = 0; i < data.size();) {
        const std::size_t n = std::min<std::size_t>(random.below(3000), data.size() - i);
        running.update(std::span(data).subspan(i, n));
        const Checksum resumed(running.value());
        EXPECT_EQ(resumed.value(), running.value());
        running = resumed;
        i += n;
    }
    EXPECT_EQ(running.value(), whole);
}

TEST(Checksums, OfPiecesAreThoseOfTheWhole) {
    expectPiecesToGiveTheWhole<Crc32>();
    expectPiecesToGiveTheWhole<Crc32Bz2>();
    expectPiecesToGiveTheWhole<Crc32c>();
    expectPiecesToGiveTheWhole<Adler32>();
}

TEST(Checksums, AreThoseOfTheCCalls) {
    for (const SampleKind& kind : sampleKinds()) {
        const Data data = kind.make(5000, 2);
        const auto size = static_cast<int32_t>(data.size());
        uint32_t value = 0;
        ozrsCRC32_8u(data.data(), size, &value);
        EXPECT_EQ(crc32(data), value);
        value = 0;
        ozrsCRC32_BZ2_8u(data.data(), size, &value);
        EXPECT_EQ(crc32Bz2(data), value);
        value = 0xFFFFFFFF;
        ozrsCRC32C_8u(data.data(), static_cast<uint32_t>(size), &value);
        EXPECT_EQ(crc32c(data), ~value);
        value = 1;
        ozrsAdler32_8u(data.data(), size, &value);
        EXPECT_EQ(adler32(data), value);
    }
}

}  // namespace
}  // namespace ozrdc::test
