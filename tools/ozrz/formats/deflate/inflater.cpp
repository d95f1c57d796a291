// The blocks of a stream. The library decodes the compressed ones; all else is done here.
//
// The history always lies in front of the output, in the same memory, so the library needs no window.
#include "formats/deflate/inflater.h"

#include <algorithm>

#include "error.h"
#include "formats/deflate/block_header_reader.h"
#include "formats/deflate/symbols.h"

namespace ozrz::deflate {

void Inflater::begin() {
    step_ = Step::blockHeader;
    blocks_ = 0;
}

bool Inflater::decode(Output& out) {
    in_.setPlace("the compressed data");
    for (;;) {
        switch (step_) {
            case Step::blockHeader:
                readBlockHeader();
                continue;
            case Step::stored:
                if (!copyStored(out)) return false;
                break;
            case Step::symbols:
                if (!decodeSymbols(out)) return false;
                break;
            case Step::end:
                return true;
        }
        step_ = lastBlock_ ? Step::end : Step::blockHeader;
    }
}

void Inflater::readBlockHeader() {
    ++blocks_;
    blockPosition_ = in_.position();
    lastBlock_ = in_.take(1) != 0;
    try {
        switch (static_cast<BlockType>(in_.take(2))) {
            case BlockType::stored:
                readStoredHeader();
                return;
            case BlockType::fixed:
                state_.tableKind = 0;
                break;
            case BlockType::dynamic:
                readDynamicHeader(in_, state_);
                break;
            default:
                throw BadBlock("it is of a type that is not defined");
        }
    } catch (const BadBlock& reason) {
        failDamaged(reason.what());
    }
    mode_ = 0;
    step_ = Step::symbols;
}

void Inflater::readStoredHeader() {
    in_.align();
    const auto size = in_.takeLittleEndian<uint16_t>();
    const auto complement = in_.takeLittleEndian<uint16_t>();
    if ((size ^ complement) != 0xFFFF) throw BadBlock("its size and the copy of it differ");
    storedLeft_ = size;
    step_ = Step::stored;
}

bool Inflater::copyStored(Output& out) {
    while (storedLeft_ != 0) {
        const auto room = static_cast<std::size_t>(out.end - out.next);
        if (room == 0) return false;
        const std::size_t count = in_.read({out.next, std::min(storedLeft_, room)});
        if (count == 0) in_.failTruncated();
        out.next += count;
        storedLeft_ -= count;
    }
    return true;
}

bool Inflater::decodeSymbols(Output& out) {
    for (;;) {
        auto room = static_cast<uint32_t>(out.end - out.next);
        const auto history = static_cast<uint32_t>(out.next - out.history);
        const Status status = in_.lend([&](const uint8_t** next, uint32_t* left, uint32_t* code, uint32_t* codeBits) {
            return ozrsInflate_8u(next, left, code, codeBits, 0, &out.next, &room, history, &mode_, &state_);
        });
        if (status != StatusOk) failDamaged("a code or a distance in it cannot be");
        if (mode_ == 0) return true;
        if (room == 0) return false;
        if (!in_.refill()) in_.failTruncated();
    }
}

void Inflater::failDamaged(const std::string& reason) const {
    throw DataError("block " + std::to_string(blocks_) + " at byte " + std::to_string(blockPosition_) +
                    " is damaged: " + reason + " (at byte " + std::to_string(in_.position()) + ")");
}

}  // namespace ozrz::deflate
