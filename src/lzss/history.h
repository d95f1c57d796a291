// What the decoder has produced last, for matches that begin in front of a call's output.
#pragma once

#include <algorithm>
#include <cstring>

#include "core/match_copy.h"
#include "lzss/state.h"

namespace ozrdc::lzss {

class History {
  public:
    explicit History(DecoderState& state) noexcept : state_(state) {}

    // The bytes of a match that begins in front of the output, whose first byte is `begin`: `length` bytes to `op`.
    // Touches no byte but these. A distance of 0, which no encoder writes, gives zeros.
    void copyMatch(const uint8_t* begin, uint8_t* op, uint32_t distance, uint32_t length) const noexcept {
        if (distance == 0) {
            std::memset(op, 0, length);
            return;
        }
        const uint64_t produced = static_cast<uint64_t>(op - begin);
        const uint64_t before = distance - std::min<uint64_t>(distance, produced);
        const uint64_t n = std::min<uint64_t>(length, before);
        std::memcpy(op, end() - before, n);
        copyMatchExact(op + n, distance, length - n);
    }

    // Appends a call's output.
    void append(const uint8_t* begin, const uint8_t* end) noexcept {
        const ptrdiff_t n = std::min<ptrdiff_t>(end - begin, kWindow);
        if (state_.end + n > kHistorySize) {
            const ptrdiff_t kept = kWindow - n;
            std::memmove(state_.history, this->end() - kept, static_cast<size_t>(kept));
            state_.end = static_cast<uint32_t>(kept);
        }
        std::memcpy(state_.history + state_.end, end - n, static_cast<size_t>(n));
        state_.end += static_cast<uint32_t>(n);
    }

  private:
    [[nodiscard]] const uint8_t* end() const noexcept { return state_.history + state_.end; }

    DecoderState& state_;
};

}  // namespace ozrdc::lzss
