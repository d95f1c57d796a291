// Blocks inside a volume are read and written in place. At its edges they go through a copy, in which every line that
// is too short is filled up: the third and second value repeat the one in front of them, the fourth repeats the first.
#include "formats/zfp/block_coder.h"

#include <array>
#include <limits>

#include "error.h"
#include "library.h"

namespace ozrz::zfp {
namespace {

constexpr std::size_t kBlockValues = kBlockSide * kBlockSide * kBlockSide;
using Block = std::array<float, kBlockValues>;

// Bits that a block takes when nothing limits it.
constexpr uint64_t kMostBlockBits = 2120;

ozrdc::zfp::Parameters forLibrary(const Parameters& p) { return {p.minBits, p.maxBits, p.maxPrec, p.minExp}; }

// Where the values of a volume's block stand.
ozrdc::zfp::Steps stepsIn(const Dims& dims) {
    return {static_cast<int32_t>(dims.nx * sizeof(float)), static_cast<int32_t>(dims.nx * dims.ny * sizeof(float))};
}

// The part of a block that lies inside the volume.
struct Part {
    uint64_t offset;  // of its first value
    std::array<std::size_t, 3> size;

    bool whole() const { return size[0] == kBlockSide && size[1] == kBlockSide && size[2] == kBlockSide; }
};

// Calls `use(part)` for every block, in the order of the stream.
template <typename Use>
void forEachBlock(const Dims& dims, Use use) {
    const auto part = [](uint64_t begin, uint64_t n) {
        return static_cast<std::size_t>(std::min(kBlockSide, n - begin));
    };
    for (uint64_t z = 0; z < dims.nz; z += kBlockSide) {
        for (uint64_t y = 0; y < dims.ny; y += kBlockSide) {
            for (uint64_t x = 0; x < dims.nx; x += kBlockSide) {
                use(Part{x + dims.nx * (y + dims.ny * z), {part(x, dims.nx), part(y, dims.ny), part(z, dims.nz)}});
            }
        }
    }
}

// Calls `use(index in the block, offset in the volume)` for the values of a part.
template <typename Use>
void forEachValue(const Part& part, const Dims& dims, Use use) {
    for (std::size_t z = 0; z < part.size[2]; ++z) {
        for (std::size_t y = 0; y < part.size[1]; ++y) {
            for (std::size_t x = 0; x < part.size[0]; ++x) {
                use(x + kBlockSide * (y + kBlockSide * z), part.offset + x + dims.nx * (y + dims.ny * z));
            }
        }
    }
}

// Fills up the lines along one axis; those along the axes before it are full.
void fillUp(Block& block, std::size_t size, std::size_t stride) {
    for (std::size_t first = 0; first < block.size(); ++first) {
        if (first / stride % kBlockSide != 0) continue;
        float* const line = &block[first];
        if (size < 2) line[stride] = line[0];
        if (size < 3) line[2 * stride] = line[stride];
        if (size < 4) line[3 * stride] = line[0];
    }
}

Block gather(const float* values, const Part& part, const Dims& dims) {
    Block block{};
    forEachValue(part, dims, [&](std::size_t i, uint64_t offset) { block[i] = values[offset]; });
    fillUp(block, part.size[0], 1);
    fillUp(block, part.size[1], kBlockSide);
    fillUp(block, part.size[2], kBlockSide * kBlockSide);
    return block;
}

// The library's steps are 32 bits wide.
bool inPlace(const Part& part, const Dims& dims) {
    return part.whole() && dims.nx * dims.ny * sizeof(float) <= std::numeric_limits<int32_t>::max();
}

}  // namespace

uint64_t encodeVolume(const float* values, const Dims& dims, const Parameters& parameters, Buffer& stream) {
    const uint64_t most =
        std::max<uint64_t>(std::min<uint64_t>(kMostBlockBits, parameters.maxBits), parameters.minBits);
    const uint64_t capacity = (dims.blocks() * most + 63) / 64 * 8;
    stream.require(capacity);
    constexpr const char* kStage = "the ZFP encoder";
    auto encoder =
        expect(ozrdc::zfp::Encoder::create(MutableBytes(stream.data(), capacity), forLibrary(parameters)), kStage);
    // There is room for everything, so that no call can fail.
    forEachBlock(dims, [&](const Part& part) {
        if (inPlace(part, dims)) {
            expect(encoder.encode(values + part.offset, stepsIn(dims)), kStage);
        } else {
            expect(encoder.encode(gather(values, part, dims).data()), kStage);
        }
    });
    const uint64_t bits = expect(encoder.bits(), kStage);
    expect(encoder.finish(), kStage);
    return bits;
}

VolumeDecoder::VolumeDecoder(Bytes stream, const Parameters& parameters) : size_(stream.size()) {
    if (stream.empty()) throw DataError("is damaged: there are no blocks");
    decoder_ = expect(ozrdc::zfp::Decoder::create(stream, forLibrary(parameters)), "the ZFP decoder");
}

void VolumeDecoder::decode(const Dims& dims, float* values) {
    constexpr const char* kTooShort = "is damaged: it ends inside its blocks";
    forEachBlock(dims, [&](const Part& part) {
        if (inPlace(part, dims)) {
            if (!decoder_.decode(values + part.offset, stepsIn(dims))) throw DataError(kTooShort);
        } else {
            Block block;
            if (!decoder_.decode(block.data())) throw DataError(kTooShort);
            forEachValue(part, dims, [&](std::size_t i, uint64_t offset) { values[offset] = block[i]; });
        }
    });
}

uint64_t VolumeDecoder::unused() const { return size_ - expect(decoder_.consumed(), "the ZFP decoder"); }

}  // namespace ozrz::zfp
