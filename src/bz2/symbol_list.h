// The list of move-to-front coding: symbols in the order in which they were seen last.
//
// Its first 16 entries stay in a register: moving one of them to the front is a shuffle. The others are searched and
// moved up 16 at a time.
#pragma once

#include <smmintrin.h>

#include <array>
#include <bit>
#include <cstdint>

#include "core/unaligned.h"

namespace ozrdc::bz2 {

// Mask of the bytes that are the same in both.
[[gnu::always_inline]] inline unsigned equalMask(__m128i a, __m128i b) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
}

class SymbolList {
  public:
    // Ranks below this are near: the entry is in the register.
    static constexpr unsigned kFront = 16;

    explicit SymbolList(const uint8_t* entries) noexcept : front_(load128(entries)) {
        for (unsigned i = 0; i < 256; i += 16) store128(rest_.data() + i, load128(entries + i));
    }

    void copyTo(uint8_t* entries) const noexcept {
        store128(entries, front_);
        for (unsigned i = kFront; i < 256; i += 16) store128(entries + i, load128(rest_.data() + i));
    }

    [[gnu::always_inline]] [[nodiscard]] uint8_t first() const noexcept {
        return static_cast<uint8_t>(_mm_cvtsi128_si32(front_));
    }
    // Moves one of the first 16 entries to the front.
    [[gnu::always_inline]] void moveNear(unsigned rank) noexcept {
        front_ = _mm_shuffle_epi8(front_, load128(kToFront[rank].data()));
    }

    // Moves a symbol to the front and returns the rank that it had.
    //
    // The next symbol waits for the list, not for the rank: the shuffle of `moveNear`, which does, is not used here.
    [[gnu::always_inline]] unsigned find(uint8_t symbol) noexcept {
        const __m128i wanted = _mm_set1_epi8(static_cast<char>(symbol));
        const __m128i same = _mm_cmpeq_epi8(front_, wanted);
        const auto found = static_cast<unsigned>(_mm_movemask_epi8(same));
        if (found == 0) [[unlikely]]
            return findFar(wanted);
        // In the half that has the symbol, the subtraction sets all bytes from its place on; if it is the lower half,
        // the upper one follows. Behind the place, entries stay.
        const __m128i fromPlace = _mm_sub_epi64(_mm_setzero_si128(), _mm_and_si128(same, _mm_set1_epi8(1)));
        const __m128i upperHalf = _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, 7, 7, 7, 7, 7, 7, 7, 7);
        const __m128i behind = _mm_or_si128(_mm_slli_si128(fromPlace, 1), _mm_shuffle_epi8(fromPlace, upperHalf));
        front_ = _mm_blendv_epi8(_mm_alignr_epi8(front_, wanted, 15), front_, behind);
        return static_cast<unsigned>(std::countr_zero(found));
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
    // Shuffles that bring entry k of 16 to the front, and move those in front of it up.
    static constexpr auto kToFront = [] {
        std::array<std::array<uint8_t, kFront>, kFront> shuffles{};
        for (unsigned k = 0; k < kFront; ++k) {
            for (unsigned i = 0; i < kFront; ++i) {
                shuffles[k][i] = static_cast<uint8_t>(i == 0 ? k : i <= k ? i - 1 : i);
            }
        }
        return shuffles;
    }();

    // Moves up the entries from 16 to `rank`, which is below kEnd; the last of the front comes in at 16. How many there
    // are is hard to foresee, so that all blocks below kEnd are gone through: those behind `rank` stay as they are.
    template <unsigned kEnd>
    [[gnu::always_inline]] void moveUp(unsigned rank) noexcept {
        // Signed comparisons: all is moved by 128.
        const __m128i last = _mm_set1_epi8(static_cast<char>(rank ^ 0x80));
        const __m128i places = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
        __m128i before = front_;
        for (unsigned block = kFront; block < kEnd; block += kFront) {
            uint8_t* const p = rest_.data() + block;
            const __m128i entries = load128(p);
            const __m128i moved = _mm_alignr_epi8(entries, before, 15);
            const __m128i behind =
                _mm_cmpgt_epi8(_mm_add_epi8(places, _mm_set1_epi8(static_cast<char>(block ^ 0x80))), last);
            store128(p, _mm_blendv_epi8(moved, entries, behind));
            before = entries;
        }
    }
    [[gnu::always_inline]] void pushFront(__m128i symbol) noexcept { front_ = _mm_alignr_epi8(front_, symbol, 15); }

    // Most ranks that are not near are below this.
    static constexpr unsigned kMiddle = 64;

    [[gnu::always_inline]] void moveUpTo(unsigned rank) noexcept {
        if (rank < kMiddle) {
            moveUp<kMiddle>(rank);
        } else {
            moveUp<256>(rank);
        }
    }

    // Mask of the entries from `begin` on, 64 of them, that equal a symbol. Those of the front are none.
    [[gnu::always_inline]] [[nodiscard]] uint64_t equalIn64(unsigned begin, __m128i wanted) const noexcept {
        uint64_t found = 0;
        for (unsigned i = 0; i < 64; i += 16) {
            found |= uint64_t{equalMask(load128(rest_.data() + begin + i), wanted)} << i;
        }
        return begin == 0 ? found & ~uint64_t{0xFFFF} : found;
    }

    unsigned findFar(__m128i wanted) noexcept {
        // Only a list that lacks the symbol has none at all: then it takes the place of the last.
        unsigned rank = 255;
        for (unsigned begin = 0; begin < 256; begin += 64) {
            if (const uint64_t found = equalIn64(begin, wanted)) {
                rank = begin + static_cast<unsigned>(std::countr_zero(found));
                break;
            }
        }
        moveUpTo(rank);
        pushFront(wanted);
        return rank;
    }

    void moveFar(unsigned rank) noexcept {
        const __m128i symbol = _mm_set1_epi8(static_cast<char>(rest_[rank]));
        moveUpTo(rank);
        pushFront(symbol);
    }

    __m128i front_;
    alignas(16) std::array<uint8_t, 256> rest_;  // indices are ranks; the first 16 only fill their place
};

}  // namespace ozrdc::bz2
