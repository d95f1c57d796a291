// Building LZ4 frames.
#include "frame_builder.h"

#include <array>
#include <bit>

namespace ozrz::test {
namespace {

constexpr uint8_t kVersion1Independent = 0x60;
constexpr uint8_t kContentChecksum = 0x04;
constexpr uint8_t kBlocksOf64K = 0x40;

uint32_t wordAt(const std::string& bytes, std::size_t i) {
    uint32_t word = 0;
    for (unsigned k = 0; k < 4; ++k) word |= static_cast<uint32_t>(static_cast<uint8_t>(bytes[i + k])) << (8 * k);
    return word;
}

}  // namespace

std::string littleEndian(uint64_t value, unsigned bytes) {
    std::string text;
    for (unsigned i = 0; i < bytes; ++i) text += static_cast<char>(value >> (8 * i));
    return text;
}

uint32_t referenceXxh32(const std::string& bytes) {
    constexpr uint32_t p1 = 2654435761U;
    constexpr uint32_t p2 = 2246822519U;
    constexpr uint32_t p3 = 3266489917U;
    constexpr uint32_t p4 = 668265263U;
    constexpr uint32_t p5 = 374761393U;
    std::size_t i = 0;
    uint32_t hash = p5;
    if (bytes.size() >= 16) {
        std::array<uint32_t, 4> lanes{p1 + p2, p2, 0, 0U - p1};
        for (; i + 16 <= bytes.size(); i += 16) {
            for (unsigned k = 0; k < 4; ++k) {
                lanes[k] = std::rotl(lanes[k] + wordAt(bytes, i + 4 * k) * p2, 13) * p1;
            }
        }
        hash = std::rotl(lanes[0], 1) + std::rotl(lanes[1], 7) + std::rotl(lanes[2], 12) + std::rotl(lanes[3], 18);
    }
    hash += static_cast<uint32_t>(bytes.size());
    for (; i + 4 <= bytes.size(); i += 4) hash = std::rotl(hash + wordAt(bytes, i) * p3, 17) * p4;
    for (; i < bytes.size(); ++i) hash = std::rotl(hash + static_cast<uint8_t>(bytes[i]) * p5, 11) * p1;
    hash = (hash ^ (hash >> 15)) * p2;
    hash = (hash ^ (hash >> 13)) * p3;
    return hash ^ (hash >> 16);
}

std::string frameHeader(uint8_t flags, uint8_t blockDescriptor, const std::string& optionalFields) {
    const std::string descriptor =
        std::string{static_cast<char>(flags), static_cast<char>(blockDescriptor)} + optionalFields;
    return littleEndian(0x184D2204, 4) + descriptor + littleEndian(referenceXxh32(descriptor) >> 8, 1);
}

std::string storedBlock(const std::string& contents) {
    return littleEndian(contents.size() | kStoredBlock, 4) + contents;
}

std::string dataBlock(const std::string& data) { return littleEndian(data.size(), 4) + data; }

std::string frameEnd() { return littleEndian(0, 4); }

std::string skippableFrame(const std::string& contents, unsigned kind) {
    return littleEndian(0x184D2A50 + kind, 4) + littleEndian(contents.size(), 4) + contents;
}

std::string plainFrame(const std::string& blocks) {
    return frameHeader(kVersion1Independent, kBlocksOf64K) + blocks + frameEnd();
}

std::string storedFrame(const std::string& contents) {
    return frameHeader(kVersion1Independent | kContentChecksum, kBlocksOf64K) + storedBlock(contents) + frameEnd() +
           littleEndian(referenceXxh32(contents), 4);
}

}  // namespace ozrz::test
