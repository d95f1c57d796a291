// Writing and reading the frame descriptor.
#include "formats/lz4/frame.h"

#include <array>

#include "error.h"
#include "formats/lz4/xxh32.h"
#include "text.h"

namespace ozrz::lz4 {
namespace {

// FLG
constexpr unsigned kVersionShift = 6;
constexpr unsigned kVersion = 1;
constexpr uint8_t kIndependentBlocks = 1 << 5;
constexpr uint8_t kBlockChecksums = 1 << 4;
constexpr uint8_t kContentSize = 1 << 3;
constexpr uint8_t kContentChecksum = 1 << 2;
constexpr uint8_t kReservedFlag = 1 << 1;
constexpr uint8_t kDictionaryId = 1 << 0;

// BD
constexpr unsigned kBlockSizeShift = 4;
constexpr uint8_t kReservedDescriptorBits = 0x8F;

uint8_t headerCheck(Bytes descriptor) { return static_cast<uint8_t>(xxh32(descriptor) >> 8); }

template <typename Word>
void append(std::vector<uint8_t>& bytes, Word value) {
    bytes.resize(bytes.size() + sizeof value);
    storeLittleEndian(bytes.data() + bytes.size() - sizeof value, value);
}

}  // namespace

bool isSkippableMagic(uint32_t magic) { return (magic & kSkippableMask) == kSkippableMagic; }

bool isFrameMagic(uint32_t magic) { return magic == kMagic || magic == kLegacyMagic || isSkippableMagic(magic); }

std::vector<uint8_t> serialize(const Descriptor& descriptor) {
    unsigned flags = kVersion << kVersionShift;
    if (descriptor.independentBlocks) flags |= kIndependentBlocks;
    if (descriptor.blockChecksums) flags |= kBlockChecksums;
    if (descriptor.contentSize) flags |= kContentSize;
    if (descriptor.contentChecksum) flags |= kContentChecksum;
    if (descriptor.dictionaryId) flags |= kDictionaryId;

    std::vector<uint8_t> bytes;
    append(bytes, kMagic);
    append(bytes, static_cast<uint8_t>(flags));
    append(bytes, static_cast<uint8_t>(descriptor.blockSizeCode << kBlockSizeShift));
    if (descriptor.contentSize) append(bytes, *descriptor.contentSize);
    if (descriptor.dictionaryId) append(bytes, *descriptor.dictionaryId);
    append(bytes, headerCheck(Bytes(bytes).subspan(kMagicSize)));
    return bytes;
}

Descriptor readDescriptor(Source& source) {
    std::array<uint8_t, 2 + 8 + 4 + 1> bytes;
    std::size_t size = 0;
    const auto take = [&](std::size_t count) {
        const uint8_t* field = bytes.data() + size;
        if (source.read(MutableBytes(bytes).subspan(size, count)) != count) {
            throw DataError("truncated: the data end inside a frame header");
        }
        size += count;
        return field;
    };

    const uint8_t* fixed = take(2);
    const uint8_t flags = fixed[0];
    const uint8_t blockDescriptor = fixed[1];
    const unsigned version = flags >> kVersionShift;
    if (version != kVersion) {
        throw DataError("a frame header has the unknown version " + std::to_string(version));
    }
    if ((flags & kReservedFlag) != 0 || (blockDescriptor & kReservedDescriptorBits) != 0) {
        throw DataError("a frame header has reserved bits set");
    }

    Descriptor descriptor;
    descriptor.independentBlocks = (flags & kIndependentBlocks) != 0;
    descriptor.blockChecksums = (flags & kBlockChecksums) != 0;
    descriptor.contentChecksum = (flags & kContentChecksum) != 0;
    descriptor.blockSizeCode = blockDescriptor >> kBlockSizeShift;
    if (descriptor.blockSizeCode < kMinBlockSizeCode) {
        throw DataError("a frame header has the unknown block size code " + std::to_string(descriptor.blockSizeCode));
    }
    if ((flags & kContentSize) != 0) descriptor.contentSize = loadLittleEndian<uint64_t>(take(8));
    if ((flags & kDictionaryId) != 0) descriptor.dictionaryId = loadLittleEndian<uint32_t>(take(4));

    const uint8_t computed = headerCheck(Bytes(bytes).first(size));
    const uint8_t stored = *take(1);
    if (stored != computed) {
        throw DataError("a frame header is damaged: its checksum is " + hexText(computed) + ", but should be " +
                        hexText(stored));
    }
    return descriptor;
}

}  // namespace ozrz::lz4
