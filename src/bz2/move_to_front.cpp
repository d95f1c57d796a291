// Move-to-front coding, both directions.
//
// Both work on the list of symbols (symbol_list.h). The state of the encoder is the inverse of the list, the rank of
// every symbol, and is turned into the list for some thousand symbols at a time. Where many of them come from far
// behind, the encoder rather works on the ranks themselves: then no search, and no branch, depends on the data.
//
// What a block sort gives is mostly runs. The encoder looks only at the symbols that differ from the one before them;
// all others have rank 0.

#include <smmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "bz2/move_to_front.h"
#include "bz2/symbol_list.h"
#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"

namespace ozrdc::bz2 {
namespace {

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
                far += rank >= SymbolList::kFront ? 1 : 0;
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
            SymbolList list(inverse(ranks).data());
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

void decode(const uint8_t* src, uint8_t* dst, ptrdiff_t length, SymbolList& list) noexcept {
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
    SymbolList list(pState->entries);
    decode(pSrc, pDst, len, list);
    list.copyTo(pState->entries);
    return StatusOk;
}
