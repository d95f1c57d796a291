// Reads the description of the tables of a block, and builds them. The source may end at any bit: the state remembers
// what has been read.

#include <bit>

#include "bz2/bit_input.h"
#include "bz2/huffman_decoder_state.h"
#include "bz2/move_to_front.h"
#include "core/arguments.h"
#include "core/entry_points.h"

namespace ozrdc::bz2 {

void DecodingTable::build(int32_t alphaSize) noexcept {
    std::array<uint32_t, kMaxCodedLength + 1> counts{};
    for (int32_t symbol = 0; symbol < alphaSize; ++symbol) ++counts[lengths[symbol]];

    std::array<uint32_t, kMaxCodedLength + 1> places{};
    for (size_t length = 2; length <= kMaxCodedLength; ++length) {
        places[length] = places[length - 1] + counts[length - 1];
    }
    auto next = places;
    for (int32_t symbol = 0; symbol < alphaSize; ++symbol) {
        permuted[next[lengths[symbol]]++] = static_cast<uint16_t>(symbol);
    }

    // `end` is the end of the codes so far; they may not go beyond the code space.
    uint32_t end = 0;
    for (unsigned length = 1; length <= kShortBits; ++length) {
        const uint32_t step = kCodeSpace >> length;
        for (uint32_t i = 0; i < counts[length] && end < kCodeSpace; ++i, end += step) {
            constexpr unsigned kShift = kCodeBits - kShortBits;
            std::fill(shortCodes + (end >> kShift), shortCodes + ((end + step) >> kShift),
                      codeEntry(permuted[places[length] + i], length));
        }
    }
    limits[0] = end;
    depth = 0;
    unsigned longest = kMaxCodedLength;
    while (counts[longest] == 0) --longest;
    for (unsigned length = kShortBits + 1; length <= longest && end < kCodeSpace; ++length) {
        const unsigned shift = kCodeBits - length;
        bases[depth] = static_cast<int32_t>(places[length]) - static_cast<int32_t>(end >> shift);
        end = std::min(end + (counts[length] << shift), kCodeSpace);
        limits[++depth] = end;
    }
}

namespace {

Status readCounts(HuffDecState& state, BitInput& input) noexcept {
    input.refill();
    // The first field is judged as soon as it is there.
    if (input.count() < kTableCountBits) return StatusSourceExhausted;
    const auto tables = static_cast<int32_t>(input.peek(kTableCountBits));
    if (tables < kMinTables || tables > kMaxTables) return StatusBadCodeTable;
    if (input.count() < kTableCountBits + kSelectorCountBits) return StatusSourceExhausted;
    input.drop(kTableCountBits);
    const auto selectors = static_cast<int32_t>(input.peek(kSelectorCountBits));
    input.drop(kSelectorCountBits);
    if (selectors == 0) return StatusBadCodeTable;
    state.nGroups = tables;
    state.nSelectors = selectors;
    state.selectorsRead = 0;
    return StatusOk;
}

Status readSelectors(HuffDecState& state, BitInput& input) noexcept {
    uint8_t* const selectors = state.selectors();
    for (; state.selectorsRead < state.nSelectors; ++state.selectorsRead) {
        if (input.count() < kMaxTables + 1) input.refill();
        const auto ones = static_cast<unsigned>(std::countl_one(input.bits()));
        if (std::min(ones, input.count()) >= static_cast<unsigned>(state.nGroups)) return StatusBadCodeTable;
        if (ones >= input.count()) return StatusSourceExhausted;
        input.drop(ones + 1);
        selectors[state.selectorsRead] = static_cast<uint8_t>(ones);
    }
    MTFState moveToFront;
    y8_ozrsMTFInit_8u(&moveToFront);
    state.table = 0;
    state.symbol = kFirstLength;
    return y8_ozrsMTFInv_8u(selectors, selectors, state.nSelectors, &moveToFront);
}

constexpr bool validLength(int32_t length) noexcept {
    return length >= 1 && length <= static_cast<int32_t>(kMaxCodedLength);
}

Status readLengths(HuffDecState& state, BitInput& input) noexcept {
    uint8_t* const lengths = state.tables[state.table].lengths;
    if (state.symbol == kFirstLength) {
        input.refill();
        if (input.count() < kFirstLengthBits) return StatusSourceExhausted;
        state.length = static_cast<int32_t>(input.peek(kFirstLengthBits));
        input.drop(kFirstLengthBits);
        if (!validLength(state.length)) return StatusBadCodeTable;
        state.symbol = 0;
    }
    while (state.symbol < state.alphaSize) {
        if (input.count() < 2) input.refill();
        if (input.count() == 0) return StatusSourceExhausted;
        if (input.peek(1) == 0) {
            lengths[state.symbol++] = static_cast<uint8_t>(state.length);
            input.drop(1);
        } else {
            if (input.count() == 1) return StatusSourceExhausted;
            constexpr uint32_t kUp = 0b10;
            const int32_t length = state.length + (input.peek(2) == kUp ? 1 : -1);
            input.drop(2);
            // The state keeps to valid lengths: a caller might call again.
            if (!validLength(length)) return StatusBadCodeTable;
            state.length = length;
        }
    }
    return StatusOk;
}

Status readDescription(HuffDecState& state, BitInput& input) noexcept {
    if (state.phase < kPhaseCounts || state.phase > kPhaseLengths) return StatusError;
    // Memory full of zeros has a phase, too.
    if (!validAlphabet(state.alphaSize)) return StatusError;
    if (state.phase == kPhaseCounts) {
        if (const Status status = readCounts(state, input)) return status;
        state.phase = kPhaseSelectors;
    }
    if (state.phase == kPhaseSelectors) {
        if (const Status status = readSelectors(state, input)) return status;
        state.phase = kPhaseLengths;
    }
    for (; state.table < state.nGroups; ++state.table) {
        if (const Status status = readLengths(state, input)) return status;
        state.tables[state.table].build(state.alphaSize);
        state.symbol = kFirstLength;
    }
    state.phase = kPhaseCounts;
    state.group = 0;
    state.position = 0;
    return StatusOk;
}

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsDecodeHuffGetSize_BZ2_8u16u(int32_t len, int32_t* pSize) noexcept {
    if (anyNull(pSize)) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    *pSize = static_cast<int32_t>(groupsOf(len) + int64_t{sizeof(HuffDecState)});
    return StatusOk;
}

Status y8_ozrsDecodeHuffInit_BZ2_8u16u(int32_t alphaSize, HuffDecState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    if (!validAlphabet(alphaSize)) return StatusSizeError;
    HuffDecState& state = *pState;
    state.phase = kPhaseCounts;
    state.alphaSize = alphaSize;
    state.nGroups = 0;
    state.nSelectors = 0;
    state.selectorsRead = 0;
    state.table = 0;
    state.symbol = kFirstLength;
    state.length = 0;
    state.group = 0;
    state.position = 0;
    return StatusOk;
}

Status y8_ozrsUnpackHuffContext_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc,
                                          int32_t* pSrcLen, HuffDecState* pState) noexcept {
    if (anyNull(pCode, pCodeLenBits, ppSrc, pSrcLen, pState) || anyNull(*ppSrc)) return StatusNullPointer;
    if (*pSrcLen < 1 || !validCount(*pCodeLenBits)) return StatusSizeError;
    BitInput input(*pCode, *pCodeLenBits, *ppSrc, *pSrcLen);
    const Status status = readDescription(*pState, input);
    if (status != StatusSourceExhausted) input.giveBack(7);
    input.finish(pCode, pCodeLenBits, ppSrc, pSrcLen);
    return status;
}
