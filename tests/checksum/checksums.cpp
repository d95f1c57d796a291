#include "checksum/checksums.h"

#include <gtest/gtest.h>

#include <array>

#include "ozrdc.h"

namespace ozrdc::test {
namespace {

template <typename Length, Status (*function)(const uint8_t*, Length, uint32_t*) noexcept, bool acceptsNothing>
uint32_t call(uint32_t value, const uint8_t* p, size_t len) {
    if (len == 0 && !acceptsNothing) return value;
    EXPECT_EQ(function(p, static_cast<Length>(len), &value), StatusOk);
    return value;
}

uint32_t adler32(uint32_t value, uint8_t byte) {
    const uint32_t a = ((value & 0xFFFF) + byte) % 65521;
    const uint32_t b = ((value >> 16) + a) % 65521;
    return b << 16 | a;
}

uint32_t reflectedCrc(uint32_t r, uint8_t byte, uint32_t polynomial) {
    for (int bit = 0; bit < 8; ++bit) {
        const bool out = ((r ^ (byte >> bit)) & 1) != 0;
        r = (r >> 1) ^ (out ? polynomial : 0);
    }
    return r;
}
uint32_t crc32(uint32_t value, uint8_t byte) { return ~reflectedCrc(~value, byte, 0xEDB88320); }
uint32_t crc32c(uint32_t value, uint8_t byte) { return reflectedCrc(value, byte, 0x82F63B78); }

uint32_t crc32Bz2(uint32_t value, uint8_t byte) {
    uint32_t r = ~value;
    for (int bit = 7; bit >= 0; --bit) {
        const bool out = ((r >> 31 ^ byte >> bit) & 1) != 0;
        r = (r << 1) ^ (out ? 0x04C11DB7 : 0);
    }
    return ~r;
}

constexpr std::array kChecksums = {
    Checksum{"adler32", 1, call<int32_t, ozrsAdler32_8u, true>, adler32, 0x091E01DE},
    Checksum{"crc32", 0, call<int32_t, ozrsCRC32_8u, false>, crc32, 0xCBF43926},
    Checksum{"crc32_bz2", 0, call<int32_t, ozrsCRC32_BZ2_8u, false>, crc32Bz2, 0xFC891918},
    Checksum{"crc32c", 0xFFFFFFFF, call<uint32_t, ozrsCRC32C_8u, false>, crc32c, 0x1CF96D7C},
};

}  // namespace

std::span<const Checksum> checksums() { return kChecksums; }

uint32_t reference(const Checksum& checksum, uint32_t value, std::span<const uint8_t> bytes) {
    for (const uint8_t byte : bytes) value = checksum.reference(value, byte);
    return value;
}

std::vector<uint32_t> referenceOfPrefixes(const Checksum& checksum, uint32_t value, std::span<const uint8_t> bytes) {
    std::vector<uint32_t> values{value};
    values.reserve(bytes.size() + 1);
    for (const uint8_t byte : bytes) values.push_back(value = checksum.reference(value, byte));
    return values;
}

}  // namespace ozrdc::test
