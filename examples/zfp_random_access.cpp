// Compresses a volume at a fixed rate, then reads one block from the middle of the stream, alone: at a fixed rate it is
// known where every block begins.
#include <array>
#include <cmath>
#include <cstdio>
#include <exception>
#include <ozrdc.hpp>
#include <vector>

namespace zfp = ozrdc::zfp;

constexpr int kSide = 64;  // of the volume
constexpr int kBlock = 4;
constexpr int kBlocks = kSide / kBlock;
constexpr int kBitsPerValue = 8;  // blocks are whole bytes then, and have addresses
constexpr std::size_t kBlockBytes = kBlock * kBlock * kBlock * kBitsPerValue / 8;
constexpr zfp::Parameters kRate = zfp::fixedRate(kBitsPerValue);

static float field(int x, int y, int z) {
    return std::sin(0.1F * static_cast<float>(x + y)) + 0.02F * static_cast<float>(z);
}

static std::vector<std::byte> compress(const std::vector<float>& volume) {
    std::vector<std::byte> stream(kBlocks * kBlocks * kBlocks * kBlockBytes);
    auto encoder = zfp::Encoder::create(stream, kRate).value();
    constexpr zfp::Steps steps{.row = kSide * sizeof(float), .plane = kSide * kSide * sizeof(float)};
    for (int z = 0; z < kSide; z += kBlock) {
        for (int y = 0; y < kSide; y += kBlock) {
            for (int x = 0; x < kSide; x += kBlock) {
                encoder.encode(&volume[static_cast<std::size_t>(x + kSide * (y + kSide * z))], steps).value();
            }
        }
    }
    encoder.finish().value();
    return stream;
}

static std::array<float, 64> readBlock(ozrdc::Bytes stream, std::size_t number) {
    std::array<float, 64> values;
    auto decoder = zfp::Decoder::create(stream.subspan(number * kBlockBytes), kRate).value();
    decoder.decode(values.data()).value();
    return values;
}

int main() try {
    std::vector<float> volume;
    for (int z = 0; z < kSide; ++z) {
        for (int y = 0; y < kSide; ++y) {
            for (int x = 0; x < kSide; ++x) volume.push_back(field(x, y, z));
        }
    }
    const std::vector<std::byte> stream = compress(volume);

    constexpr int kX = 7, kY = 11, kZ = 3;  // which block
    constexpr std::size_t kNumber = kX + kBlocks * (kY + kBlocks * kZ);
    const std::array<float, 64> block = readBlock(stream, kNumber);
    float largest = 0;
    for (int i = 0; i < 64; ++i) {
        const float original = field(4 * kX + i % 4, 4 * kY + i / 4 % 4, 4 * kZ + i / 16);
        largest = std::fmax(largest, std::fabs(block[static_cast<std::size_t>(i)] - original));
    }
    std::printf("%zu bytes of floats in %zu; block %zu alone: error %s 0.001\n", volume.size() * sizeof(float),
                stream.size(), kNumber, largest < 1e-3F ? "below" : "above");
    return largest < 1e-3F ? 0 : 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "zfp_random_access: %s\n", error.what());
    return 1;
}
