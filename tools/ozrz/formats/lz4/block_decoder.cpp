// Single blocks by the library's decoder, in prefix mode.
#include "formats/lz4/block_decoder.h"

#include <ozrdc.h>

#include <algorithm>
#include <cstring>

#include "error.h"
#include "formats/lz4/frame.h"

namespace ozrz::lz4 {
namespace {

// How far linked blocks run on before the history is moved back to the front of the window: far enough that moving 64
// KiB costs little, near enough that the window stays in the processor's cache.
constexpr std::size_t kMinRun = 512 * KiB;

}  // namespace

void Window::reset(std::size_t maxBlockSize, bool linked, Bytes dictionary) {
    maxBlockSize_ = maxBlockSize;
    linked_ = linked;
    capacity_ = linked ? kMaxDistance + std::max(maxBlockSize, kMinRun) : dictionary.size() + maxBlockSize;
    memory_.require(capacity_);
    if (!dictionary.empty()) std::memcpy(memory_.data(), dictionary.data(), dictionary.size());
    position_ = history_ = dictionary.size();
}

uint8_t* Window::next() {
    if (capacity_ - position_ < maxBlockSize_) {
        std::memmove(memory_.data(), memory_.data() + position_ - history_, history_);
        position_ = history_;
    }
    return memory_.data() + position_;
}

void Window::append(std::size_t size) {
    if (!linked_) return;
    position_ += size;
    history_ = std::min(history_ + size, kMaxDistance);
}

std::size_t decodeBlock(Bytes block, uint8_t* place, std::size_t capacity, std::size_t history) {
    // A lone token of zero is a block without content. The decoder reports it as exhausted, which it also is.
    if (block.size() == 1 && block[0] == 0) return 0;
    if (block.empty()) throw DataError("it has no data");
    auto consumed = static_cast<int32_t>(block.size());
    auto length = static_cast<int32_t>(capacity);
    uint8_t* base = place - history;
    const auto historySize = static_cast<int32_t>(history);
    const Status status = ozrsDecodeLZ4Dict_8u(block.data(), &consumed, base, historySize, &length,
                                               history == 0 ? nullptr : base, historySize);
    if (status == StatusError) {
        throw DataError(history == 0 ? "a match reaches before the start of the data"
                                     : "a match reaches before the start of the history");
    }
    if (status == StatusDestinationFull) {
        throw DataError("it decodes to more than the block size of " + std::to_string(capacity) + " bytes");
    }
    if (status == StatusSourceExhausted) throw DataError("its data end in the middle of a sequence");
    if (status != StatusOk) throw DataError("its data are no LZ4 block");
    if (static_cast<std::size_t>(consumed) != block.size()) {
        throw DataError("it has " + std::to_string(block.size() - static_cast<std::size_t>(consumed)) +
                        " bytes behind its end");
    }
    return static_cast<std::size_t>(length);
}

}  // namespace ozrz::lz4
