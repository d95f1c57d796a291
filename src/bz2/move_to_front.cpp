// Move-to-front coding, both directions.
//
// Both work on the list of symbols, whose first 16 entries stay in a register: moving one of them to the front is a
// shuffle. The others are searched and moved up 16 at a time. The state of the encoder is the inverse of the list, the
// rank of every symbol, and is turned into the list for some thousand symbols at a time. Where many of them come from
// far behind, the encoder rather works on the ranks themselves: then no search, and no branch, depends on the data.
//
// What a block sort gives is mostly runs. The encoder looks only at the symbols that differ from the one before them;
// all others have rank 0.

#include <smmintrin.h>

#include <algorithm>
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

[[gnu::always_inline]] inline unsigned equalMask(__m128i a, __m128i b) noexcept {
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
}

// The list of symbols.
class List {
  public:
    explicit List(const uint8_t* entries) noexcept : front_(load128(entries)) {
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

// The ranks of all symbols. To find one and move it to the front takes the same time whatever the rank: longer than
// with a list if it is near, shorter if it is not.
class Ranks {
  public:
    explicit Ranks(const uint8_t* ranks) noexcept {
        for (unsigned i = 0; i < 256; i += 16) store128(ranks_.data() + i, _mm_xor_si128(load128(ranks + i), bias()));
    }

    void copyTo(uint8_t* ranks) const noexcept {
        for (unsigned i = 0; i < 256; i += 16) store128(ranks + i, _mm_xor_si128(load128(ranks_.data() + i), bias()));
    }

    [[gnu::always_inline]] unsigned find(uint8_t symbol) noexcept {
        const auto rank = static_cast<int8_t>(ranks_[symbol]);
        const __m128i wanted = _mm_set1_epi8(rank);
        for (unsigned i = 0; i < 256; i += 16) {
            const __m128i ranks = load128(ranks_.data() + i);
            const __m128i lower = _mm_cmpgt_epi8(wanted, ranks);
            const __m128i same = _mm_cmpeq_epi8(wanted, ranks);
            store128(ranks_.data() + i, _mm_blendv_epi8(_mm_sub_epi8(ranks, lower), bias(), same));
        }
        return static_cast<uint8_t>(rank) ^ 0x80U;
    }

  private:
    // Comparisons are signed: ranks are less by 128 here. It is also the rank of the front.
    static __m128i bias() noexcept { return _mm_set1_epi8(-128); }

    alignas(16) std::array<uint8_t, 256> ranks_;
};

// The inverse of a list or of ranks. A symbol that no rank leads to is left out: 0 stands in its place.
std::array<uint8_t, 256> inverse(const std::array<uint8_t, 256>& entries) noexcept {
    std::array<uint8_t, 256> result{};
    for (unsigned i = 0; i < 256; ++i) result[entries[i]] = static_cast<uint8_t>(i);
    return result;
}

// Encodes bytes that `previous` stands in front of, the one of rank 0. Returns how many ranks were not near.
template <class Coder>
ptrdiff_t encodePart(const uint8_t* src, uint8_t* dst, ptrdiff_t length, uint8_t previous, Coder& state) noexcept {
    Coder coder = state;  // a local one can stay in registers
    ptrdiff_t far = 0;
    ptrdiff_t i = 0;
    alignas(16) std::array<uint8_t, 16> symbols;  // the destination may be the source
    __m128i before = _mm_set1_epi8(static_cast<char>(previous));
    for (; i + 16 <= length; i += 16) {
        const __m128i window = load128(src + i);
        unsigned changes = equalMask(window, _mm_alignr_epi8(window, before, 15)) ^ 0xFFFF;
        store128(dst + i, _mm_setzero_si128());
        if (changes != 0) {
            store128(symbols.data(), window);
            do {
                const auto at = static_cast<unsigned>(std::countr_zero(changes));
                const unsigned rank = coder.find(symbols[at]);
                dst[i + at] = static_cast<uint8_t>(rank);
                far += rank >= kFront ? 1 : 0;
                changes &= changes - 1;
            } while (changes != 0);
        }
        before = window;
    }
    for (; i < length; ++i) dst[i] = static_cast<uint8_t>(coder.find(src[i]));
    state = coder;
    return far;
}

// Encodes in parts: each with a list, unless many ranks of the one before it were not near.
void encode(const uint8_t* src, uint8_t* dst, ptrdiff_t length, std::array<uint8_t, 256>& ranks) noexcept {
    constexpr ptrdiff_t kPart = 4096;
    constexpr ptrdiff_t kManyFar = kPart / 16;
    // A short call does not repay the making of a list.
    constexpr ptrdiff_t kShort = 128;
    ptrdiff_t far = length < kShort ? kManyFar : 0;
    auto previous = static_cast<uint8_t>(inverse(ranks)[0]);
    while (length > 0) {
        const ptrdiff_t part = std::min(length, kPart);
        const uint8_t last = src[part - 1];
        if (far < kManyFar) {
            List list(inverse(ranks).data());
            far = encodePart(src, dst, part, previous, list);
            std::array<uint8_t, 256> entries;
            list.copyTo(entries.data());
            ranks = inverse(entries);
        } else {
            Ranks coder(ranks.data());
            far = encodePart(src, dst, part, previous, coder);
            coder.copyTo(ranks.data());
        }
        previous = last;
        src += part;
        dst += part;
        length -= part;
    }
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
    auto ranks = load<std::array<uint8_t, 256>>(pState->entries);
    encode(pSrc, pDst, len, ranks);
    store(pState->entries, ranks);
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
