// Checksums of arbitrary bytes, given in pieces of arbitrary sizes to every path that the processor has, compared with
// a byte-by-byte calculation.
//
// Input: seed of the piece sizes (4 bytes), running value at the start (4), repetition (1), the bytes. A repetition
// of 192 and above repeats the bytes, for lengths at which the paths use their widest steps.

#include <algorithm>
#include <vector>

#include "core/features.h"
#include "fuzz_input.h"
#include "ozrdc.h"
#include "support/feature_mask.h"

namespace {

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

uint32_t adler32(uint32_t value, std::span<const uint8_t> bytes) {
    constexpr uint32_t modulus = 65521;
    uint32_t a = (value & 0xFFFF) % modulus;
    uint32_t b = (value >> 16) % modulus;
    for (const uint8_t byte : bytes) {
        a = (a + byte) % modulus;
        b = (b + a) % modulus;
    }
    return b << 16 | a;
}

uint32_t reflectedCrc(uint32_t crc, std::span<const uint8_t> bytes, uint32_t polynomial) {
    for (const uint8_t byte : bytes) {
        crc ^= byte;
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? polynomial : 0);
    }
    return crc;
}

uint32_t crc32(uint32_t value, std::span<const uint8_t> bytes) { return ~reflectedCrc(~value, bytes, 0xEDB88320); }
uint32_t crc32c(uint32_t value, std::span<const uint8_t> bytes) { return reflectedCrc(value, bytes, 0x82F63B78); }

uint32_t crc32Bz2(uint32_t value, std::span<const uint8_t> bytes) {
    uint32_t crc = ~value;
    for (const uint8_t byte : bytes) {
        crc ^= uint32_t{byte} << 24;
        for (int bit = 0; bit < 8; ++bit) crc = (crc << 1) ^ ((crc >> 31) != 0 ? 0x04C11DB7U : 0);
    }
    return ~crc;
}

struct Checksum {
    const char* name;
    uint32_t (*reference)(uint32_t value, std::span<const uint8_t> bytes);
    Status (*update)(const uint8_t* bytes, int32_t size, uint32_t* value);
};

constexpr Checksum kChecksums[] = {
    {"Adler-32", adler32, [](const uint8_t* p, int32_t n, uint32_t* value) { return ozrsAdler32_8u(p, n, value); }},
    {"CRC-32", crc32, [](const uint8_t* p, int32_t n, uint32_t* value) { return ozrsCRC32_8u(p, n, value); }},
    {"bzip2 CRC", crc32Bz2, [](const uint8_t* p, int32_t n, uint32_t* value) { return ozrsCRC32_BZ2_8u(p, n, value); }},
    {"CRC-32C", crc32c,
     [](const uint8_t* p, int32_t n, uint32_t* value) { return ozrsCRC32C_8u(p, static_cast<uint32_t>(n), value); }},
};

// Sizes of pieces: mostly short, some long.
std::vector<std::size_t> pieces(uint32_t seed, std::size_t total) {
    std::vector<std::size_t> sizes;
    while (total > 0) {
        seed = seed * 1664525U + 1013904223U;
        const std::size_t most = (seed >> 28) < 6 ? 40 : (seed >> 28) < 12 ? 700 : total;
        const std::size_t size = std::min(total, 1 + (seed >> 4) % most);
        sizes.push_back(size);
        total -= size;
    }
    return sizes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto seed = input.take<uint32_t>();
    const auto start = input.take<uint32_t>();
    const auto repetition = input.take<uint8_t>();
    if (input.rest().empty()) return 0;

    std::vector<uint8_t> bytes;
    const std::size_t total =
        std::min<std::size_t>(input.rest().size() * (repetition < 192 ? 1 : repetition - 190), 20000);
    for (std::size_t i = 0; i < std::max(total, input.rest().size()); ++i) {
        bytes.push_back(static_cast<uint8_t>(input.rest()[i % input.rest().size()] + i / input.rest().size()));
    }

    // Each piece is a heap block of its own.
    std::vector<ExactBuffer> blocks;
    std::span<const uint8_t> left = bytes;
    for (const std::size_t n : pieces(seed, bytes.size())) {
        blocks.emplace_back(left.first(n));
        left = left.subspan(n);
    }

    for (const Checksum& checksum : kChecksums) {
        const uint32_t expected = checksum.reference(start, bytes);
        for (const uint64_t features : {uint64_t{0}, ozrdc::kFeatureCrc32Instruction, ozrdc::kFeatureCarrylessMultiply,
                                        ozrdc::kFeatureCrc32Instruction | ozrdc::kFeatureCarrylessMultiply}) {
            const ozrdc::test::FeatureMask mask(features);
            uint32_t inPieces = start;
            for (ExactBuffer& block : blocks) {
                require(checksum.update(block.data(), static_cast<int32_t>(block.size()), &inPieces) == StatusOk,
                        checksum.name);
            }
            require(inPieces == expected, checksum.name);

            ExactBuffer whole(bytes);
            uint32_t atOnce = start;
            require(checksum.update(whole.data(), static_cast<int32_t>(whole.size()), &atOnce) == StatusOk,
                    checksum.name);
            require(atOnce == expected, checksum.name);
        }
    }
    return 0;
}
