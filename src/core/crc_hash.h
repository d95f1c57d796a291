// The hash of the LZ encoders: the processor's CRC-32C instruction over a 32-bit little-endian word.
#pragma once

#include <nmmintrin.h>

#include <cstdint>

namespace ozrdc {

// One instruction with latency 3 and throughput 1. The caller masks the result to the size of its table.
[[gnu::always_inline]] inline uint32_t crcHash(uint32_t seed, uint32_t word) noexcept {
    return _mm_crc32_u32(seed, word);
}

}  // namespace ozrdc
