// Compresses a volume at a fixed rate, then reads one block from the middle of the stream, alone: at a fixed rate it is
// known where every block begins.
#include <ozrdc.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

constexpr int kSide = 64;  // of the volume
constexpr int kBlock = 4;
constexpr int kBlocks = kSide / kBlock;
constexpr uint32_t kBlockBits =
    64 * 8;  // 8 bits for each value: a whole number of bytes, so that blocks have addresses

float field(int x, int y, int z) { return std::sin(0.1F * static_cast<float>(x + y)) + 0.02F * static_cast<float>(z); }

// A state for streams in which every block takes kBlockBits.
class State {
  public:
    State() {
        int32_t size = 0;
        ozrsEncodeZfpGetStateSize_32f(&size);
        memory_.resize(static_cast<size_t>(size) / sizeof(uint64_t));
    }
    ZfpState* get() { return reinterpret_cast<ZfpState*>(memory_.data()); }
    Status fixRate() { return ozrsEncodeZfpSet_32f(kBlockBits, kBlockBits, 64, -1074, get()); }

  private:
    std::vector<uint64_t> memory_;
};

std::vector<uint8_t> compress(const std::vector<float>& volume) {
    std::vector<uint8_t> stream(kBlocks * kBlocks * kBlocks * kBlockBits / 8);
    State state;
    ozrsEncodeZfpInitLong_32f(stream.data(), stream.size(), state.get());
    state.fixRate();
    constexpr int32_t kRow = kSide * sizeof(float);
    for (int z = 0; z < kSide; z += kBlock) {
        for (int y = 0; y < kSide; y += kBlock) {
            for (int x = 0; x < kSide; x += kBlock) {
                const float* const first = &volume[static_cast<size_t>(x + kSide * (y + kSide * z))];
                if (ozrsEncodeZfp444_32f(first, kRow, kSide * kRow, state.get()) != StatusOk) return {};
            }
        }
    }
    if (ozrsEncodeZfpFlush_32f(state.get()) != StatusOk) return {};
    return stream;
}

// Decodes block `n` of the stream to 64 floats.
bool readBlock(const std::vector<uint8_t>& stream, size_t n, float* values) {
    const size_t begin = n * kBlockBits / 8;
    State state;
    if (ozrsDecodeZfpInitLong_32f(&stream[begin], stream.size() - begin, state.get()) != StatusOk) return false;
    state.fixRate();
    return ozrsDecodeZfp444_32f(state.get(), values, kBlock * sizeof(float), kBlock * kBlock * sizeof(float)) ==
           StatusOk;
}

}  // namespace

int main() {
    std::vector<float> volume;
    for (int z = 0; z < kSide; ++z) {
        for (int y = 0; y < kSide; ++y) {
            for (int x = 0; x < kSide; ++x) volume.push_back(field(x, y, z));
        }
    }
    const std::vector<uint8_t> stream = compress(volume);
    if (stream.empty()) return 1;

    constexpr int kX = 7, kY = 11, kZ = 3;  // which block
    constexpr size_t kNumber = kX + kBlocks * (kY + kBlocks * kZ);
    std::vector<float> block(64);
    if (!readBlock(stream, kNumber, block.data())) return 1;
    float largest = 0;
    for (int i = 0; i < 64; ++i) {
        const float original = field(4 * kX + i % 4, 4 * kY + i / 4 % 4, 4 * kZ + i / 16);
        largest = std::fmax(largest, std::fabs(block[static_cast<size_t>(i)] - original));
    }
    std::printf("%zu bytes of floats in %zu; block %zu alone: error %s 0.001\n", volume.size() * sizeof(float),
                stream.size(), kNumber, largest < 1e-3F ? "below" : "above");
    return largest < 1e-3F ? 0 : 1;
}
