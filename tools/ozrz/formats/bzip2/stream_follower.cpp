// One step for each thing that a stream is made of.
#include "formats/bzip2/stream_follower.h"

#include <algorithm>
#include <utility>

#include "error.h"
#include "text.h"

namespace ozrz::bzip2 {
namespace {

// Of so many losses each is told; the others are counted.
constexpr std::size_t kMaxReports = 100;

}  // namespace

void StreamFollower::take(Attempt& attempt) {
    for (;;) {
        try {
            return follow(attempt);
        } catch (const DataError& error) {
            if (!recover_) throw;
            // The block that may begin with the piece is tried next, unless it was this one that failed, or the piece
            // begins inside an intact one.
            const bool tried = position_ == attempt.piece.begin && expected_ != Expected::stream;
            position_ = tried ? attempt.piece.end : std::max(position_, attempt.piece.begin);
            lose(error.what());
        }
    }
}

void StreamFollower::follow(Attempt& attempt) {
    if (carried_) {
        if (recover_ && attempt.intact()) {
            throw DataError(blockName() + " is damaged: it runs on into one that is intact");
        }
        if (!carried_->resume(attempt.piece, carriedBlock_)) return;
        carried_.reset();
        accept(carriedBlock_);
    }
    while (!ended_ && !carried_ && position_ < attempt.piece.end) step(attempt);
}

void StreamFollower::step(Attempt& attempt) {
    switch (expected_) {
        case Expected::stream:
            return readStreamHeader(attempt.piece);
        case Expected::blockOrEnd:
            return readMark(attempt);
        case Expected::anyBlock:
            return search(attempt);
    }
}

void StreamFollower::readStreamHeader(const Piece& piece) {
    uint64_t header = 0;
    const bool whole = piece.bits(position_, 8 * kStreamHeaderSize, header);
    const int level = whole ? levelOfHeader(static_cast<uint32_t>(header)) : 0;
    if (level == 0) {
        if (streams_ == 0) throw DataError("not a bzip2 file");
        if (recover_) throw DataError("the bytes from " + std::to_string(end()) + " on begin no stream");
        warnings_.push_back("trailing garbage ignored: the bytes from " + std::to_string(end()) +
                            " on are no bzip2 stream");
        ended_ = true;
        return;
    }
    level_ = level;
    if (streams_++ == 0) firstLevel_ = level;
    blocksInStream_ = 0;
    crc_ = 0;
    crcKnown_ = true;
    position_ += 8 * kStreamHeaderSize;
    expected_ = Expected::blockOrEnd;
}

void StreamFollower::readMark(Attempt& attempt) {
    uint64_t mark = 0;
    if (!attempt.piece.bits(position_, kMarkBits, mark)) {
        throw DataError("truncated: the data end where " + blockName() + " should begin");
    }
    if (mark == kEndMark) return readStreamEnd(attempt.piece);
    if (mark != kBlockMark) throw DataError(blockName() + " is damaged: it does not begin with the mark of a block");
    // Every mark of a block begins a piece.
    if (attempt.unfinished) {
        carry(attempt);
    } else {
        accept(attempt.block);
    }
}

void StreamFollower::readStreamEnd(const Piece& piece) {
    uint64_t stored = 0;
    if (!piece.bits(position_ + kMarkBits, kCrcBits, stored)) {
        throw DataError("truncated: the data end inside the CRC of a stream");
    }
    position_ = (position_ + kMarkBits + kCrcBits + 7) / 8 * 8;
    expected_ = Expected::stream;
    if (crcKnown_ && stored != crc_) {
        throw DataError("stream " + std::to_string(streams_) + " is damaged: the CRC of its blocks is " +
                        hexText(crc_) + ", but should be " + hexText(static_cast<uint32_t>(stored)));
    }
}

// The place is lost. A piece that begins with an intact block finds it again.
void StreamFollower::search(Attempt& attempt) {
    const bool candidate = attempt.piece.atMark && position_ <= attempt.piece.begin;
    position_ = candidate ? attempt.piece.begin : attempt.piece.end;
    if (!candidate) return;
    if (attempt.unfinished) {
        carry(attempt);
    } else {
        accept(attempt.block);
    }
}

void StreamFollower::carry(Attempt& attempt) {
    carried_ = std::move(attempt.unfinished);
    std::swap(carriedBlock_, attempt.block);
}

void StreamFollower::accept(DecodedBlock& block) {
    if (!block.intact()) throw DataError(blockName() + " is damaged: " + block.failure);
    if (block.size > blockSizeOfLevel(level_)) {
        throw DataError(blockName() + " is damaged: it is longer than the " + std::to_string(blockSizeOfLevel(level_)) +
                        " bytes of its stream's level");
    }
    block.writeTo(sink_);
    crc_ = combinedCrc(crc_, block.crc);
    ++blocks_;
    ++blocksInStream_;
    position_ = block.end;
    expected_ = Expected::blockOrEnd;
}

void StreamFollower::lose(const std::string& what) {
    if (++losses_ <= kMaxReports) warnings_.push_back(what);
    carried_.reset();
    expected_ = Expected::anyBlock;
    level_ = kMaxLevel;
    crcKnown_ = false;
}

void StreamFollower::finish() {
    try {
        if (carried_) {
            const std::unique_ptr<BlockDecoder> decoder = std::exchange(carried_, nullptr);
            if (!decoder->finish(carriedBlock_)) throw DataError("truncated: the data end inside " + blockName());
            accept(carriedBlock_);
        }
        if (expected_ == Expected::blockOrEnd) {
            throw DataError("truncated: the data end where " + blockName() + " should begin");
        }
        if (position_ == 0) throw DataError("the file is empty");
    } catch (const DataError& error) {
        if (!recover_) throw;
        lose(error.what());
    }
}

// The block that begins at the position.
std::string StreamFollower::blockName() const {
    const std::string place = " at byte " + std::to_string(position_ / 8);
    if (!crcKnown_) return "the block" + place;  // which one it is nobody knows
    const std::string name = "block " + std::to_string(blocksInStream_ + 1) + place;
    return streams_ > 1 ? "stream " + std::to_string(streams_) + ", " + name : name;
}

}  // namespace ozrz::bzip2
