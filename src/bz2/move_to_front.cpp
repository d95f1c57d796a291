// Move-to-front coding, both directions.
//
// Both work on the list of symbols, whose first 16 entries stay in a register: moving one of them to the front is a
// shuffle. The others are searched and moved up 16 at a time. The state of the encoder is the inverse of the list, the
// rank of every symbol, and is turned into the list for the time of a call.
//
// What a block sort gives is mostly runs. The encoder looks only at the symbols that differ from the one before them;
// all others have rank 0.

#include <tmmintrin.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"

struct MTFState {
    uint8_t entries[256];  // encoder: the rank of each symbol; decoder: the list
};

namespace ozrdc::bz2 {
namespace {

constexpr unsigned kFront = 16;

// Shuffles that bring entry k of 16 to the front, and move those in front of it up.
constexpr auto kToFront = [] {
    std::array<std::array<uint8_t, kFront>, kFront> shuffles{};
    for (unsigned k = 0; k < kFront; ++k) {
        for (unsigned i = 0; i < kFront; ++i) {
            shuffles[k][i] = static_cast<uint8_t>(i == 0 ? k : i <= k ? i - 1 : i);
        }
    }
    return shuffles;
}();

// From index 16 - n on, 16 bytes of which the first n are set.
constexpr auto kPrefixMasks = [] {
    std::array<uint8_t, 2 * kFront> masks{};
    for (unsigned i = 0; i < kFront; ++i) masks[i] = 0xFF;
    return masks;
}();

[[gnu::always_inline]] inline __m128i prefixMask(unsigned n) noexcept {
    return load128(kPrefixMasks.data() + kFront - n);
}

[[gnu::always_inline]] inline unsigned equalMask(__m128i a, __m128i b) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
}

// The list of symbols.
class List {
  public:
    explicit List(const uint8_t* entries) noexcept : front_(load128(entries)) {
        for (unsigned i = kFront; i < 256; i += 16) store128(rest_.data() + i, load128(entries + i));
    }

    void copyTo(uint8_t* entries) const noexcept {
        store128(entries, front_);
        for (unsigned i = kFront; i < 256; i += 16) store128(entries + i, load128(rest_.data() + i));
    }

    [[gnu::always_inline]] [[nodiscard]] uint8_t first() const noexcept {
        return static_cast<uint8_t>(_mm_cvtsi128_si32(front_));
    }
    [[gnu::always_inline]] [[nodiscard]] __m128i firstEverywhere() const noexcept {
        return _mm_shuffle_epi8(front_, _mm_setzero_si128());
    }

    // Moves one of the first 16 entries to the front.
    [[gnu::always_inline]] void moveNear(unsigned rank) noexcept {
        front_ = _mm_shuffle_epi8(front_, load128(kToFront[rank].data()));
    }

    // Moves a symbol to the front and returns the rank that it had.
    [[gnu::always_inline]] unsigned find(uint8_t symbol) noexcept {
        const __m128i wanted = _mm_set1_epi8(static_cast<char>(symbol));
        const unsigned found = equalMask(front_, wanted);
        if (found == 0) [[unlikely]]
            return findFar(wanted);
        const auto rank = static_cast<unsigned>(std::countr_zero(found));
        moveNear(rank);
        return rank;
    }

    // Moves the entry of a rank to the front.
    [[gnu::always_inline]] void move(unsigned rank) noexcept {
        if (rank < kFront) [[likely]] {
            moveNear(rank);
        } else {
            moveFar(rank);
        }
    }

  private:
    // Moves up the entries from 16 to `rank`; the last of the front comes in at 16. Below `block`, a multiple of 16,
    // they have been moved already, and `before` holds what the 16 in front of it were.
    [[gnu::always_inline]] void moveUp(unsigned block, __m128i before, unsigned rank) noexcept {
        uint8_t* const p = rest_.data() + block;
        const __m128i entries = load128(p);
        const __m128i moved = _mm_alignr_epi8(entries, before, 15);
        const __m128i mask = prefixMask(rank - block + 1);
        store128(p, _mm_or_si128(_mm_and_si128(mask, moved), _mm_andnot_si128(mask, entries)));
    }
    void pushFront(__m128i symbol) noexcept { front_ = _mm_alignr_epi8(front_, symbol, 15); }

    unsigned findFar(__m128i wanted) noexcept {
        __m128i before = front_;
        for (unsigned block = kFront; block < 256; block += 16) {
            const __m128i entries = load128(rest_.data() + block);
            if (const unsigned found = equalMask(entries, wanted)) {
                const unsigned rank = block + static_cast<unsigned>(std::countr_zero(found));
                moveUp(block, before, rank);
                pushFront(wanted);
                return rank;
            }
            store128(rest_.data() + block, _mm_alignr_epi8(entries, before, 15));
            before = entries;
        }
        // Only a list that lacks the symbol leads here: the symbol takes the place of the last.
        pushFront(wanted);
        return 255;
    }

    void moveFar(unsigned rank) noexcept {
        const __m128i symbol = _mm_set1_epi8(static_cast<char>(rest_[rank]));
        __m128i before = front_;
        unsigned block = kFront;
        for (; block + 16 <= rank; block += 16) {
            const __m128i entries = load128(rest_.data() + block);
            store128(rest_.data() + block, _mm_alignr_epi8(entries, before, 15));
            before = entries;
        }
        moveUp(block, before, rank);
        pushFront(symbol);
    }

    __m128i front_;
    alignas(16) std::array<uint8_t, 256> rest_;  // the first 16 are not used: indices are ranks
};

// The inverse of a list or of ranks. A symbol that no rank leads to is left out: 0 stands in its place.
std::array<uint8_t, 256> inverse(const uint8_t* entries) noexcept {
    std::array<uint8_t, 256> result{};
    for (unsigned i = 0; i < 256; ++i) result[entries[i]] = static_cast<uint8_t>(i);
    return result;
}

void encode(const uint8_t* src, uint8_t* dst, ptrdiff_t length, List& list) noexcept {
    ptrdiff_t i = 0;
    alignas(16) std::array<uint8_t, 16> symbols;  // the destination may be the source
    __m128i previous = list.firstEverywhere();
    for (; i + 16 <= length; i += 16) {
        const __m128i window = load128(src + i);
        unsigned changes = equalMask(window, _mm_alignr_epi8(window, previous, 15)) ^ 0xFFFF;
        store128(dst + i, _mm_setzero_si128());
        if (changes != 0) {
            store128(symbols.data(), window);
            do {
                const auto at = static_cast<unsigned>(std::countr_zero(changes));
                dst[i + at] = static_cast<uint8_t>(list.find(symbols[at]));
                changes &= changes - 1;
            } while (changes != 0);
        }
        previous = window;
    }
    for (; i < length; ++i) dst[i] = static_cast<uint8_t>(list.find(src[i]));
}

void decode(const uint8_t* src, uint8_t* dst, ptrdiff_t length, List& list) noexcept {
    constexpr uint64_t kFarRanks = 0xF0F0F0F0F0F0F0F0;
    ptrdiff_t i = 0;
    while (i + 8 <= length) {
        uint64_t ranks = load64(src + i);
        if ((ranks & kFarRanks) == 0) {
            // The symbols of near ranks follow each other as fast as the register can be shuffled.
            uint64_t symbols = 0;
            for (unsigned k = 0; k < 64; k += 8) {
                list.moveNear(ranks & 15);
                ranks >>= 8;
                symbols |= uint64_t{list.first()} << k;
            }
            store64(dst + i, symbols);
            i += 8;
            continue;
        }
        for (const ptrdiff_t end = i + 8; i < end; ++i) {
            list.move(src[i]);
            dst[i] = list.first();
        }
    }
    for (; i < length; ++i) {
        list.move(src[i]);
        dst[i] = list.first();
    }
}

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsMTFGetSize_8u(int32_t* pSize) noexcept {
    if (anyNull(pSize)) return StatusNullPointer;
    *pSize = sizeof(MTFState);
    return StatusOk;
}

Status y8_ozrsMTFInit_8u(MTFState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    for (unsigned i = 0; i < 256; ++i) pState->entries[i] = static_cast<uint8_t>(i);
    return StatusOk;
}

Status y8_ozrsMTFFwd_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, MTFState* pState) noexcept {
    if (anyNull(pSrc, pDst, pState)) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    List list(inverse(pState->entries).data());
    encode(pSrc, pDst, len, list);
    std::array<uint8_t, 256> entries;
    list.copyTo(entries.data());
    store(pState->entries, inverse(entries.data()));
    return StatusOk;
}

Status y8_ozrsMTFInv_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, MTFState* pState) noexcept {
    if (anyNull(pSrc, pDst, pState)) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    List list(pState->entries);
    decode(pSrc, pDst, len, list);
    list.copyTo(pState->entries);
    return StatusOk;
}
