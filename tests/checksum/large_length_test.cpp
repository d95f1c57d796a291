// CRC-32C takes lengths that a signed number could not hold.

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <array>
#include <cstdint>
#include <span>

#include "checksum/checksums.h"
#include "checksum/every_path.h"
#include "ozrdc.h"
#include "support/random.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define OZRDC_UNDER_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define OZRDC_UNDER_SANITIZER 1
#endif
#endif

namespace ozrdc::test {
namespace {

using LargeLengths = EveryPath;
OZRDC_ON_EVERY_PATH(LargeLengths);

// A linear function of the register, by its values at the 32 unit vectors.
using Linear = std::array<uint32_t, 32>;

uint32_t image(const Linear& f, uint32_t r) {
    uint32_t result = 0;
    for (unsigned bit = 0; bit < 32; ++bit) result ^= (r >> bit & 1) != 0 ? f[bit] : 0;
    return result;
}

// The register behind `zeros` zero bytes, by squaring the function of one.
uint32_t advance(const Checksum& crc, uint32_t r, uint64_t zeros) {
    Linear f;
    for (unsigned bit = 0; bit < 32; ++bit) f[bit] = crc.reference(1U << bit, 0);
    for (; zeros != 0; zeros >>= 1) {
        if ((zeros & 1) != 0) r = image(f, r);
        Linear square;
        for (unsigned bit = 0; bit < 32; ++bit) square[bit] = image(f, f[bit]);
        f = square;
    }
    return r;
}

TEST_P(LargeLengths, Crc32cBeyondTwoGigabytes) {
#ifdef OZRDC_UNDER_SANITIZER
    GTEST_SKIP() << "the mapping would cost too much under a sanitizer";
#endif
    constexpr size_t kEdge = 1000;
    const Checksum& crc = checksums()[3];
    for (const uint64_t len : {(uint64_t{1} << 31) + 12345, (uint64_t{1} << 32) - 1}) {
        // Zero pages that are only read take no memory; only the two edges do.
        void* const mapping =
            mmap(nullptr, len, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (mapping == MAP_FAILED) GTEST_SKIP() << "no address space for " << len << " bytes";
        auto* const bytes = static_cast<uint8_t*>(mapping);
        Random random(7);
        random.fill({bytes, kEdge});
        random.fill({bytes + len - kEdge, kEdge});

        const uint32_t front = reference(crc, crc.start, {bytes, kEdge});
        const uint32_t expected = reference(crc, advance(crc, front, len - 2 * kEdge), {bytes + len - kEdge, kEdge});
        uint32_t value = crc.start;
        EXPECT_EQ(ozrsCRC32C_8u(bytes, static_cast<uint32_t>(len), &value), StatusOk);
        EXPECT_EQ(value, expected) << len;
        munmap(mapping, len);
    }
}

}  // namespace
}  // namespace ozrdc::test
