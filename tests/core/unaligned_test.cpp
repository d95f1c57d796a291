// Loads and stores at any address, and the hash of the LZ encoders.
#include "core/unaligned.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "core/crc_hash.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test {
namespace {

TEST(Unaligned, LoadsAreLittleEndianAtAnyAddress) {
    const GuardedBuffer bytes(64);
    const auto expected = [&](std::size_t at, std::size_t size) {
        uint64_t word = 0;
        for (std::size_t i = 0; i < size; ++i) word |= uint64_t{bytes[at + i]} << (8 * i);
        return word;
    };
    for (std::size_t at = 0; at + 2 <= bytes.size(); ++at) EXPECT_EQ(load16(bytes.data() + at), expected(at, 2));
    for (std::size_t at = 0; at + 4 <= bytes.size(); ++at) EXPECT_EQ(load32(bytes.data() + at), expected(at, 4));
    for (std::size_t at = 0; at + 8 <= bytes.size(); ++at) EXPECT_EQ(load64(bytes.data() + at), expected(at, 8));
}

TEST(Unaligned, StoresInvertLoads) {
    for (std::size_t at = 0; at < 16; ++at) {
        GuardedBuffer bytes(at + 8);
        uint8_t* const p = bytes.data() + at;
        store64(p, 0x8877665544332211);
        EXPECT_EQ(std::vector<uint8_t>(p, p + 8),
                  (std::vector<uint8_t>{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}));
        store32(p + 4, 0xDDCCBBAA);
        EXPECT_EQ(load64(p), 0xDDCCBBAA44332211);
        store16(p + 6, 0x0102);
        EXPECT_EQ(load64(p), 0x0102BBAA44332211);
    }
}

template <unsigned size>
void expectBlockCopied() {
    const GuardedBuffer source(size, Guard::After, 1);
    GuardedBuffer target(size, Guard::After, 2);
    copyBlock<size>(target.data(), source.data());
    EXPECT_TRUE(std::equal(source.begin(), source.end(), target.begin())) << size;
    EXPECT_TRUE(target.slackIntact()) << size;
}

TEST(Unaligned, BlockCopyMovesExactlyItsSize) {
    expectBlockCopied<2>();
    expectBlockCopied<4>();
    expectBlockCopied<8>();
    expectBlockCopied<16>();
    expectBlockCopied<32>();
    expectBlockCopied<48>();
    expectBlockCopied<128>();
}

// The register after the four bytes of the word, least significant first: the CRC-32C, bit by bit.
TEST(CrcHash, IsTheCrc32COfTheWordFromTheSeed) {
    Random random(701);
    for (int round = 0; round < 1000; ++round) {
        const auto seed = static_cast<uint32_t>(random.next());
        const auto word = static_cast<uint32_t>(random.next());
        uint32_t crc = seed;
        for (unsigned bit = 0; bit < 32; ++bit) {
            const uint32_t out = (crc ^ (word >> bit)) & 1;
            crc = (crc >> 1) ^ (out != 0 ? 0x82F63B78 : 0);
        }
        EXPECT_EQ(crcHash(seed, word), crc);
    }
}

}  // namespace
}  // namespace ozrdc::test
