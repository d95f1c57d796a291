// Walking members and blocks, with every field checked before it is used.
#include "formats/lzss/member_reader.h"

#include "error.h"
#include "text.h"

namespace ozrz::lzss {

bool MemberReader::nextMember() {
    const Bytes head = source_.peek(kHeaderSize);
    if (!beginsMember(head)) {
        if (members_ == 0) throw DataError(head.empty() ? "the file is empty" : "not an LZSS file");
        if (!head.empty()) {
            warn_("trailing garbage ignored: the bytes from " + std::to_string(source_.position()) +
                  " on are no LZSS member");
        }
        return false;
    }
    HeaderBytes header;
    if (source_.read(header) != header.size()) throw DataError("truncated: the data end inside an LZSS header");
    blockSize_ = blockSizeOf(header);
    ++members_;
    blocks_ = 0;
    headersCrc_ = {};
    return true;
}

bool MemberReader::nextBlock(BlockHeader& block) {
    block = {.number = blocks_ + 1, .position = source_.position()};
    BlockHeaderBytes bytes;
    const Bytes head = source_.peek(kBlockHeaderSize);
    if (head.size() < sizeof block.size) {
        throw DataError("truncated: the data end where " + nameOf(block) + " should begin");
    }
    block.size = loadLittleEndian<uint32_t>(head.data());
    if (block.size == 0) {
        const MutableBytes end = MutableBytes(bytes).first(2 * sizeof block.size);
        if (source_.read(end) != end.size()) {
            throw DataError("truncated: the data end in the end mark at byte " + std::to_string(block.position));
        }
        checkEnd(loadLittleEndian<uint32_t>(bytes.data() + sizeof block.size));
        return false;
    }
    if (source_.read(bytes) != bytes.size()) failTruncated(block);
    readRest(block, bytes);
    if (block.size > blockSize_) {
        throw DataError(nameOf(block) + " is damaged: its size " + std::to_string(block.size) +
                        " is above the maximum of " + std::to_string(blockSize_));
    }
    if (block.dataSize == 0 || block.dataSize > block.size) {
        throw DataError(nameOf(block) + " is damaged: it has " + std::to_string(block.dataSize) +
                        " bytes of data for " + std::to_string(block.size) + " bytes");
    }
    headersCrc_.update(bytes);
    ++blocks_;
    return true;
}

void MemberReader::checkEnd(uint32_t stored) const {
    const uint32_t computed = headersCrc_.value();
    if (stored == computed) return;
    throw DataError((members_ > 1 ? "member " + std::to_string(members_) + ": " : "") +
                    "the blocks are not those that were written: the checksum of their headers is " +
                    hexText(computed) + ", but should be " + hexText(stored));
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

}  // namespace ozrz::lzss
