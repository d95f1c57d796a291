// The match search of the LZO1X encoders.
//
// A dictionary maps the CRC-32C of the four bytes at a position to the last position searched with that hash. To search
// a position is to read its slot, enter the position there, and compare four bytes with the position read. Nothing
// inside a match is searched. The order in which positions are searched is fixed: it decides the output bit for bit.
//
// The two searches differ in the size of the dictionary, in how far they look back, and in the step that follows a
// position where nothing was found.
#pragma once

#include <cstdint>

#include "core/crc_hash.h"
#include "core/opaque.h"
#include "core/unaligned.h"
#include "core/vector_kernels.h"
#include "lzo/format.h"
#include "lzo/state.h"

namespace ozrdc::lzo {

constexpr int64_t kMinMatch = 4;

// The first position of a source, or of a chunk, that is searched. Slots are cleared to position 0, which is in front
// of it.
constexpr int64_t kFirstSearched = 4;

// A dictionary of 2^bits positions in the caller's scratch.
template <class Position, unsigned bits>
struct Dictionary {
    static constexpr uint32_t kMask = (1U << bits) - 1;
    static_assert((sizeof(Position) << bits) <= kScratchSize);

    uint8_t* slots;

    void clear() const noexcept {
        constexpr int32_t kSlots = kMask + 1;
        if constexpr (sizeof(Position) == 2) {
            ozrsZero_16s(slots, kSlots);
        } else {
            ozrsZero_32s(slots, kSlots);
        }
    }

    // Reads the slot of a word and enters a position there.
    [[gnu::always_inline]] int64_t exchange(uint32_t word, int64_t position) const noexcept {
        const uint64_t slot = crcHash(0, word) & kMask;
        const int64_t previous = load<Position>(slots + slot * sizeof(Position));
        store(slots + opaque(slot) * sizeof(Position), static_cast<Position>(position));
        return previous;
    }
};

// Every position, in a source of any length.
struct ThoroughSearch {
    using Slots = Dictionary<uint32_t, 15>;

    // The last bytes of a source are not searched.
    static constexpr int64_t kMargin = 13;

    Slots dictionary;

    // Whether a candidate with the right four bytes can be used.
    [[gnu::always_inline]] static bool reaches(int64_t position, int64_t candidate) noexcept {
        return candidate != 0 && position - candidate <= int64_t{kDistanceMax};
    }
    [[gnu::always_inline]] static int64_t stepAfterMiss() noexcept { return 1; }
    [[gnu::always_inline]] static void foundMatch() noexcept {}
};

// In chunks, with steps that grow while nothing is found.
struct SteppedSearch {
    using Slots = Dictionary<uint16_t, 14>;

    static constexpr int64_t kMargin = 20;

    // All positions of a chunk fit the dictionary, and no two are further apart than a match reaches.
    static constexpr int64_t kChunk = 49152;
    static_assert(kChunk - 1 <= kDistanceMax);

    static constexpr int64_t kMissesPerStep = 32;

    Slots dictionary;
    int64_t misses = 0;

    [[gnu::always_inline]] static bool reaches(int64_t, int64_t) noexcept { return true; }
    [[gnu::always_inline]] int64_t stepAfterMiss() noexcept { return 1 + ++misses / kMissesPerStep; }
    [[gnu::always_inline]] void foundMatch() noexcept { misses = 0; }
};

}  // namespace ozrdc::lzo
