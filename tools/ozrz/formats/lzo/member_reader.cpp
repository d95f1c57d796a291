// Walking members and blocks, with every field checked before it is used.
#include "formats/lzo/member_reader.h"

#include "error.h"

namespace ozrz::lzo {

bool MemberReader::nextMember() {
    const Bytes head = source_.peek(kMagic.size());
    if (!beginsMember(head)) {
        if (members_ == 0) throw DataError(head.empty() ? "the file is empty" : "not an lzop file");
        if (!head.empty()) {
            warn_("trailing garbage ignored: the bytes from " + std::to_string(source_.position()) +
                  " on are no lzop member");
        }
        return false;
    }
    source_.skip(kMagic.size());
    header_ = readHeader(source_);
    ++members_;
    blocks_ = 0;
    return true;
}

uint32_t MemberReader::takeField(const BlockHeader& block) {
    std::array<uint8_t, sizeof(uint32_t)> bytes;
    if (source_.read(bytes) != bytes.size()) failTruncated(block);
    return loadBigEndian<uint32_t>(bytes.data());
}

bool MemberReader::nextBlock(BlockHeader& block) {
    block = {.number = blocks_ + 1, .position = source_.position()};
    if (source_.peek(sizeof(uint32_t)).size() < sizeof(uint32_t)) {
        throw DataError("truncated: the data end where " + nameOf(block) + " should begin");
    }
    block.size = takeField(block);
    if (block.size == 0) return false;
    if (block.size > kMaxBlockSize) {
        throw DataError(nameOf(block) + " is damaged: its size " + std::to_string(block.size) +
                        " is above the maximum of " + std::to_string(kMaxBlockSize));
    }
    block.dataSize = takeField(block);
    if (block.dataSize == 0 || block.dataSize > block.size) {
        throw DataError(nameOf(block) + " is damaged: it has " + std::to_string(block.dataSize) +
                        " bytes of data for " + std::to_string(block.size) + " bytes");
    }
    if (header_.has(kAdlerOfContent)) block.contentAdler = takeField(block);
    if (header_.has(kCrcOfContent)) block.contentCrc = takeField(block);
    if (header_.has(kAdlerOfData) && !block.stored()) block.dataAdler = takeField(block);
    if (header_.has(kCrcOfData) && !block.stored()) block.dataCrc = takeField(block);
    ++blocks_;
    return true;
}

void MemberReader::readData(const BlockHeader& block, MutableBytes into) {
    if (source_.read(into.first(block.dataSize)) != block.dataSize) failTruncated(block);
}

void MemberReader::skipData(const BlockHeader& block) {
    if (source_.skip(block.dataSize) != block.dataSize) failTruncated(block);
}

void MemberReader::failTruncated(const BlockHeader& block) const {
    throw DataError("truncated: the data end inside " + nameOf(block));
}

std::string MemberReader::nameOf(const BlockHeader& block) const {
    const std::string name = "block " + std::to_string(block.number) + " at byte " + std::to_string(block.position);
    return members_ > 1 ? "member " + std::to_string(members_) + ", " + name : name;
}

}  // namespace ozrz::lzo
