// Walking frames and blocks, with every field checked before it is used.
#include "formats/lz4/frame_reader.h"

#include <array>

#include "error.h"
#include "text.h"

namespace ozrz::lz4 {

bool FrameReader::nextFrame() {
    for (;;) {
        const uint64_t position = source_.position();
        const Bytes head = source_.peek(kMagicSize);
        if (head.empty() && anything_) return false;
        const uint32_t magic = head.size() == kMagicSize ? loadLittleEndian<uint32_t>(head.data()) : 0;
        if (!isFrameMagic(magic)) {
            if (!anything_) throw DataError(head.empty() ? "the file is empty" : "not an LZ4 file");
            warn_("trailing garbage ignored: the bytes from " + std::to_string(position) + " on are no LZ4 frame");
            return false;
        }
        source_.skip(kMagicSize);
        anything_ = true;
        if (isSkippableMagic(magic)) {
            skipSkippableFrame();
            continue;
        }
        ++frames_;
        framePosition_ = position;
        blocks_ = 0;
        legacy_ = magic == kLegacyMagic;
        descriptor_ = legacy_ ? Descriptor{.contentChecksum = false} : readDescriptor(source_);
        return true;
    }
}

void FrameReader::skipSkippableFrame() {
    std::array<uint8_t, 4> field;
    if (source_.read(field) == field.size()) {
        const auto size = loadLittleEndian<uint32_t>(field.data());
        if (source_.skip(size) == size) return;
    }
    throw DataError("truncated: the data end inside a skippable frame");
}

std::size_t FrameReader::maxDataSize() const {
    // A frame's block that does not get smaller is stored as it is; legacy frames know no stored blocks.
    return legacy_ ? compressedBound(kLegacyBlockSize) : descriptor_.blockSize() + kChecksumSize;
}

std::size_t FrameReader::sizeWithChecksum(const BlockHeader& block) const {
    return block.size + (descriptor_.blockChecksums ? kChecksumSize : 0);
}

bool FrameReader::nextBlock(BlockHeader& block) {
    block = {.number = blocks_ + 1, .position = source_.position()};
    const Bytes head = source_.peek(kBlockHeaderSize);
    if (head.empty() && legacy_) return false;
    if (head.size() < kBlockHeaderSize) {
        throw DataError("truncated: the data end where " + nameOf(block) + " should begin");
    }
    const auto field = loadLittleEndian<uint32_t>(head.data());
    if (legacy_) {
        if (isFrameMagic(field)) return false;  // far above the size of any block
        block.size = field;
        if (block.size > maxDataSize()) {
            // Legacy frames have no end mark: what cannot be a block is behind the frame, unless nothing came before
            // it.
            if (blocks_ > 0) return false;
            throw DataError(nameOf(block) + " is damaged: its size " + std::to_string(field) +
                            " is above the maximum of " + std::to_string(maxDataSize()));
        }
    } else {
        block.size = field & ~kStoredFlag;
        block.stored = (field & kStoredFlag) != 0;
        if (block.size > descriptor_.blockSize()) {
            throw DataError(nameOf(block) + " is damaged: its size " + std::to_string(block.size) +
                            " is above the frame's maximum of " + std::to_string(descriptor_.blockSize()));
        }
    }
    source_.skip(kBlockHeaderSize);
    if (!legacy_ && field == kEndMark) return false;
    ++blocks_;
    return true;
}

void FrameReader::readBlock(const BlockHeader& block, MutableBytes into) {
    const std::size_t size = sizeWithChecksum(block);
    if (source_.read(into.first(size)) != size) failTruncated(block);
}

void FrameReader::skipBlock(const BlockHeader& block) {
    const std::size_t size = sizeWithChecksum(block);
    if (source_.skip(size) != size) failTruncated(block);
}

uint32_t FrameReader::readContentChecksum() {
    std::array<uint8_t, kChecksumSize> field;
    if (source_.read(field) != field.size()) {
        throw DataError("truncated: the data end inside the content checksum of " + frameName());
    }
    return loadLittleEndian<uint32_t>(field.data());
}

void FrameReader::failTruncated(const BlockHeader& block) const {
    throw DataError("truncated: the data end inside " + nameOf(block));
}

std::string FrameReader::nameOf(const BlockHeader& block) const {
    const std::string name = "block " + std::to_string(block.number) + " at byte " + std::to_string(block.position);
    return frames_ > 1 ? "frame " + std::to_string(frames_) + ", " + name : name;
}

std::string FrameReader::frameName() const {
    return "frame " + std::to_string(frames_) + " at byte " + std::to_string(framePosition_);
}

}  // namespace ozrz::lz4
