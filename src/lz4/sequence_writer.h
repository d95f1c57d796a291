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

    // Writes one sequence; the match may not be shortened here, and always fits.
    [[gnu::always_inline]] bool put(const uint8_t* literals, uint64_t count, uint64_t offset, int64_t& extra) noexcept {
        constexpr int64_t kUnit = 16;
        static_assert(kUnit <= kSearchMargin);  // reads past the literals stay inside the source
        const auto code = static_cast<uint64_t>(extra);
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
        if (code >= kNibbleMax) {
            *token = static_cast<uint8_t>(nibbles | kNibbleMax);
            writelen(&op, code - kNibbleMax);
        } else {
            *token = static_cast<uint8_t>(nibbles | code);
        }
        return true;
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

    // Writes one sequence, with a shorter match if its whole length does not fit. False if not even that does: nothing
    // has been written then.
    [[gnu::always_inline]] bool put(const uint8_t* literals, uint64_t count, uint64_t offset, int64_t& extra) noexcept {
        int64_t room = end - op - kReserve;
        // This estimate of the run's extension is one short for some counts: what it lets pass ends at most 3 bytes
        // into the reserve.
        if (static_cast<int64_t>(1 + count + count / kExtensionMax) > room) return false;
        const uint64_t literalsLength = extensionLength(count) + count;
        room -= static_cast<int64_t>(1 + literalsLength + 2);
        if (static_cast<int64_t>(extensionLength(static_cast<uint64_t>(extra))) > room) {
            if (room < -1) return false;
            // The longest match whose extension ends two bytes into the reserve.
            extra = std::min(extra, kExtensionMax * room + 524);
        }
        const auto code = static_cast<uint64_t>(extra);
        *op++ = static_cast<uint8_t>(nibble(count) << 4 | nibble(code));
        if (count >= kNibbleMax) writelen(&op, count - kNibbleMax);
        // room + kReserve + 2 bytes lie between the literals' end and the end of the destination, and room is at least
        // -1.
        static_assert(kReserve + 2 - 1 >= 8);
        const uint8_t* const literalsEnd = literals + count;
        while (literals + 16 <= literalsEnd) {
            copyBlock<16>(op, literals);
            op += 16;
            literals += 16;
        }
        const auto left = static_cast<uint64_t>(literalsEnd - literals);
        copyBlock<8>(op, literals);
        if (left > 8) copyBlock<8>(op + 8, literals + 8);
        op += left;
        store16(op, static_cast<uint16_t>(offset));
        op += 2;
        if (code >= kNibbleMax) writelen(&op, code - kNibbleMax);
        return true;
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
