// Writes the sequences of an LZ4 block.
//
// Two writers exist. `UncheckedWriter` relies on the caller's promise of room for the worst case, n + n / 255 + 16
// bytes, and copies literals in whole units past their end. That stays inside: a sequence is never longer than the
// source bytes it stands for plus one byte for each 255 literals, and at least `kSearchMargin` further source bytes
// follow every sequence. `BoundedWriter` writes nothing past the capacity, and stops, or shortens a match, when a
// sequence would not fit.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/unaligned.h"
#include "lz4/format.h"
#include "lz4/hash_search.h"

namespace ozrdc::lz4 {

// Bytes of extension that a length needs after its nibble.
[[nodiscard]] constexpr uint64_t extensionLength(uint64_t length) noexcept {
    return length < kNibbleMax ? 0 : (length - kNibbleMax) / kExtensionMax + 1;
}

// Writes the extension of a length, given what the nibble leaves of it.
[[gnu::always_inline]] inline void writelen(uint8_t** ppDst, uint64_t rest) noexcept {
    uint8_t* p = *ppDst;
    if (rest >= kExtensionMax) [[unlikely]] {
        const uint64_t full = rest / kExtensionMax;
        std::memset(p, kExtensionMax, full);
        p += full;
        rest -= full * kExtensionMax;
    }
    *p++ = static_cast<uint8_t>(rest);
    *ppDst = p;
}

// The nibble of a length.
[[nodiscard]] constexpr uint64_t nibble(uint64_t length) noexcept { return std::min<uint64_t>(length, kNibbleMax); }

// Writes the run of literals that ends a block.
inline uint8_t* writeLastLiterals(uint8_t* op, const uint8_t* literals, uint64_t count) noexcept {
    *op++ = static_cast<uint8_t>(nibble(count) << 4);
    if (count >= kNibbleMax) writelen(&op, count - kNibbleMax);
    std::memcpy(op, literals, count);
    return op + count;
}

struct UncheckedWriter {
    uint8_t* op;

    // Whether a sequence fits, and with which length of its match: here always, and with all of it.
    [[gnu::always_inline]] static bool admit(uint64_t, int64_t&) noexcept { return true; }

    // Writes one sequence whose match is `extra` bytes longer than the shortest.
    [[gnu::always_inline]] void put(const uint8_t* literals, uint64_t count, uint64_t offset, uint64_t extra) noexcept {
        constexpr uint64_t kUnit = 16;
        static_assert(kUnit <= kSearchMargin);  // reads past the literals stay inside the source
        uint8_t* const token = op++;
        uint64_t nibbles = count << 4;
        if (count >= kNibbleMax) [[unlikely]] {
            nibbles = kNibbleMax << 4;
            writelen(&op, count - kNibbleMax);
        }
        copyBlock<kUnit>(op, literals);
        for (uint64_t done = kUnit; done < count; done += kUnit) copyBlock<kUnit>(op + done, literals + done);
        op += count;
        store16(op, static_cast<uint16_t>(offset));
        op += 2;
        if (extra >= kNibbleMax) {
            *token = static_cast<uint8_t>(nibbles | kNibbleMax);
            writelen(&op, extra - kNibbleMax);
        } else {
            *token = static_cast<uint8_t>(nibbles | extra);
        }
    }

    // Writes the rest of the source as literals; returns how many.
    uint64_t finish(const uint8_t* literals, uint64_t count) noexcept {
        op = writeLastLiterals(op, literals, count);
        return count;
    }
};

struct BoundedWriter {
    // Sequences end before the last bytes of the destination, so that the last run of literals always finds room.
    static constexpr int64_t kReserve = 8;

    uint8_t* op;
    uint8_t* end;

    // Whether a sequence fits; its match, `extra` bytes longer than the shortest, may be made shorter for that.
    [[gnu::always_inline]] bool admit(uint64_t count, int64_t& extra) const noexcept {
        int64_t room = end - op - kReserve;
        // This estimate of the run's extension is one short for some counts: what it lets pass ends at most 3 bytes
        // into the reserve.
        if (static_cast<int64_t>(1 + count + count / kExtensionMax) > room) return false;
        room -= static_cast<int64_t>(1 + extensionLength(count) + count + 2);
        if (static_cast<int64_t>(extensionLength(static_cast<uint64_t>(extra))) > room) {
            if (room < -1) return false;
            // The longest match whose extension ends two bytes into the reserve.
            extra = std::min(extra, kExtensionMax * room + 524);
        }
        return true;
    }

    // Writes one sequence that was admitted. Behind its offset at least `kReserve` - 1 bytes of the destination are
    // left.
    [[gnu::always_inline]] void put(const uint8_t* literals, uint64_t count, uint64_t offset, uint64_t extra) noexcept {
        constexpr uint64_t kUnit = 8;
        static_assert(kUnit <= 2 + kReserve - 1 && kUnit <= kSearchMargin);
        *op++ = static_cast<uint8_t>(nibble(count) << 4 | nibble(extra));
        if (count >= kNibbleMax) writelen(&op, count - kNibbleMax);
        uint64_t done = 0;
        for (; done + 2 * kUnit <= count; done += 2 * kUnit) copyBlock<2 * kUnit>(op + done, literals + done);
        copyBlock<kUnit>(op + done, literals + done);
        if (count - done > kUnit) copyBlock<kUnit>(op + done + kUnit, literals + done + kUnit);
        op += count;
        store16(op, static_cast<uint16_t>(offset));
        op += 2;
        if (extra >= kNibbleMax) writelen(&op, extra - kNibbleMax);
    }

    // Writes as much of the source as fits as the last literals; returns how many.
    uint64_t finish(const uint8_t* literals, uint64_t count) noexcept {
        const auto room = static_cast<uint64_t>(end - op);
        count = std::min(count, room - 1);
        while (1 + extensionLength(count) + count > room) --count;
        op = writeLastLiterals(op, literals, count);
        return count;
    }
};

}  // namespace ozrdc::lz4
