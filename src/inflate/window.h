// The history that a match may reach: the bytes of the destination and, behind them, a circular window.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/match_copy.h"

namespace ozrdc::inflate {

// Copies `length` bytes that begin `distance` bytes back from the end of the window's contents, which is `winIdx`;
// `distance` is 1 to `winSize`. The bytes go from there to the end of the contents, past the end of the buffer to its
// start where necessary; `length` is at most `distance`.
inline void copyWin2_na(const uint8_t* window, uint32_t winIdx, uint32_t winSize, uint8_t* dst, uint64_t distance,
                        uint64_t length) noexcept {
    const uint8_t* from = window + winIdx - distance;
    if (distance > winIdx) {
        const uint64_t older = distance - winIdx;
        from += winSize;
        const uint64_t n = std::min(length, older);
        std::memcpy(dst, from, n);
        dst += n;
        length -= n;
        from = window;
    }
    std::memcpy(dst, from, length);
}

// Where matches find their bytes.
struct History {
    const uint8_t* window;  // null: none
    uint32_t winSize;       // 0 without a window
    uint32_t winIdx;
    uintptr_t lowest;  // address of the oldest byte of the destination that a match may reach

    // How far back the destination reaches.
    [[gnu::always_inline]] uint64_t inDestination(const uint8_t* op) const noexcept {
        return reinterpret_cast<uintptr_t>(op) - lowest;
    }
    [[nodiscard]] bool reaches(const uint8_t* op, uint64_t distance) const noexcept {
        return distance <= inDestination(op) + winSize;
    }

    // Copies the part of a match that lies in the window and returns its length; the rest, if any, goes on in the
    // destination, at the same distance.
    uint64_t copyWindowPart(uint8_t* op, uint64_t distance, uint64_t length) const noexcept {
        const uint64_t there = distance - std::min(distance, inDestination(op));
        const uint64_t n = std::min(length, there);
        if (n > 0) copyWin2_na(window, winIdx, winSize, op, there, n);
        return n;
    }

    // Copies a match that `reaches` allows and that begins in the window; may write up to `ShortCopy::overwrite` bytes
    // past its end.
    void copyFast(uint8_t* op, uint64_t distance, uint64_t length) const noexcept {
        const uint64_t there = distance - inDestination(op);
        const uint64_t from = there <= winIdx ? winIdx - there : winIdx + winSize - there;
        if (length <= there && from + length + ShortCopy::overwrite <= winSize) [[likely]] {
            constexpr unsigned kUnit = 16;
            static_assert(kUnit - 1 <= ShortCopy::overwrite);
            uint8_t* const end = op + length;
            for (const uint8_t* src = window + from; op < end; op += kUnit, src += kUnit) copyBlock<kUnit>(op, src);
            return;
        }
        copyExact(op, distance, length);
    }

    // Copies a match that `reaches` allows, and touches no byte outside it and its source.
    void copyExact(uint8_t* op, uint64_t distance, uint64_t length) const noexcept {
        const uint64_t n = copyWindowPart(op, distance, length);
        copyMatchExact(op + n, distance, length - n);
    }
};

}  // namespace ozrdc::inflate
