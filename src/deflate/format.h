// What the match search of Deflate and its callers agree on: limits of the buffers, the empty slot of the hash tables,
// and the map from lengths and distances to the codes of the format.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/deflate_code.h"
#include "core/opaque.h"

namespace ozrdc::deflate {

constexpr int32_t kMinWindow = 256;
constexpr int32_t kMaxWindow = 32768;
constexpr int32_t kMinHashSize = 256;
constexpr int32_t kMaxHashSize = 65536;

[[nodiscard]] constexpr bool sizesAreValid(int32_t winSize, int32_t hashSize) noexcept {
    return winSize >= kMinWindow && winSize <= kMaxWindow && hashSize >= kMinHashSize && hashSize <= kMaxHashSize;
}

// A slot of a hash table that no position was entered in. Seen from index 0 it is as far away as the largest window
// reaches, and matches are closer than that: it needs no test of its own.
constexpr int32_t kEmptySlot = -kMaxWindow;

// From this value of `flush` on the source is parsed to its end.
constexpr int32_t kFinalFlush = 2;

// The code of a length or a distance, by two ranges of entries. The first 256 entries: the length code of each match
// length less 3. The other 512: the distance code of each distance less 1 that is below 256, and then of every 128
// distances, because a code of larger distances stands for a multiple of 128 of them.
constexpr unsigned kNearDistances = 256;
constexpr unsigned kFarShift = 7;
constexpr auto litCodeTable = [] {
    constexpr unsigned kFarEntries = kMaxDistance >> kFarShift;
    std::array<uint8_t, 256 + kNearDistances + kFarEntries> table{};
    const auto codeOf = [](const auto& bases, unsigned value) {
        std::size_t code = bases.size() - 1;
        while (bases[code] > value) --code;
        return static_cast<uint8_t>(code);
    };
    for (unsigned i = 0; i < 256; ++i) table[i] = codeOf(kLengthBase, i);
    for (unsigned i = 0; i < kNearDistances; ++i) table[256 + i] = codeOf(kDistBase, i);
    for (unsigned i = 0; i < kFarEntries; ++i) table[512 + i] = codeOf(kDistBase, i << kFarShift);
    return table;
}();

// A match length as records have it.
[[gnu::always_inline]] inline uint8_t less3(int64_t length) noexcept {
    return static_cast<uint8_t>(length - int64_t{kMinMatch});
}

// The length code (0 to 28) of a match length less 3.
[[gnu::always_inline]] inline unsigned lengthCode(unsigned lengthLess3) noexcept { return litCodeTable[lengthLess3]; }

// The distance code (0 to 29) of a distance.
[[gnu::always_inline]] inline unsigned distCode(unsigned distance) noexcept {
    // Both ways are computed, and one is selected: which it is cannot be predicted.
    const unsigned less1 = distance - 1;
    const unsigned nearEntry = opaque(256 + less1);
    const unsigned farEntry = opaque(512 + (less1 >> kFarShift));
    return litCodeTable[less1 < kNearDistances ? nearEntry : farEntry];
}

}  // namespace ozrdc::deflate
