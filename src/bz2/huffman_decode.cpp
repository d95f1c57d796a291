// Decodes the symbols of a block.
//
// The careful loop takes a symbol at a time from the tables of the state, and stops where the source or the destination
// ends. Calls that are large enough to repay it build wider tables on the stack: ten bits of the stream select one
// symbol, or two if both codes fit. They decode whole groups, the table of the group in a register, while neither end
// is near; the end of the block, and codes that stand for nothing, are left to the careful loop.

#include <array>
#include <cstddef>
#include <cstdint>

#include "bz2/bit_input.h"
#include "bz2/huffman_decoder_state.h"
#include "core/arguments.h"
#include "core/entry_points.h"

namespace ozrdc::bz2 {
namespace {

// Where the symbols go.
struct Output {
    uint16_t* dst;
    uint16_t* const end;
};

// --- Groups ---------------------------------------------------------------------------------------------------------

constexpr unsigned kWideBits = 10;

// An entry of a wide table, from its low bits on: the length of all codes, the length of the first, the symbols, and
// whether there are two. 0 where more has to be done.
namespace wide {
constexpr unsigned kFirstLengthShift = 6;
constexpr unsigned kFirstShift = 12;
constexpr unsigned kSecondShift = kFirstShift + kSymbolBits;
constexpr unsigned kPairShift = kSecondShift + kSymbolBits;
constexpr uint32_t kLengthMask = (1U << kFirstLengthShift) - 1;

constexpr uint32_t one(unsigned symbol, unsigned length) noexcept {
    return length | length << kFirstLengthShift | symbol << kFirstShift;
}
constexpr uint32_t withSecond(uint32_t first, unsigned symbol, unsigned length) noexcept {
    return (first + length) | symbol << kSecondShift | 1U << kPairShift;
}
constexpr unsigned length(uint32_t entry) noexcept { return entry & kLengthMask; }
constexpr unsigned firstLength(uint32_t entry) noexcept { return entry >> kFirstLengthShift & kLengthMask; }
constexpr uint16_t first(uint32_t entry) noexcept { return static_cast<uint16_t>(symbolOf(entry >> kFirstShift)); }
constexpr uint16_t second(uint32_t entry) noexcept { return static_cast<uint16_t>(symbolOf(entry >> kSecondShift)); }
constexpr ptrdiff_t symbols(uint32_t entry) noexcept { return 1 + (entry >> kPairShift); }
}  // namespace wide

using WideTable = std::array<uint32_t, 1U << kWideBits>;

void buildWide(const DecodingTable& table, int32_t alphaSize, WideTable& entries) noexcept {
    constexpr unsigned kShift = kCodeBits - kWideBits;
    const auto endOfBlock = static_cast<unsigned>(alphaSize) - 1;
    std::array<uint16_t, 1U << kWideBits> single{};
    uint32_t end = 0;
    for (int32_t i = 0; i < alphaSize && end < kCodeSpace; ++i) {
        const unsigned symbol = table.permuted[i];
        const unsigned length = table.lengths[symbol];
        if (length > kWideBits) break;
        const uint32_t step = kCodeSpace >> length;
        if (symbol != endOfBlock) {
            std::fill(single.begin() + (end >> kShift), single.begin() + ((end + step) >> kShift),
                      codeEntry(symbol, length));
        }
        end += step;
    }
    for (size_t i = 0; i < entries.size(); ++i) {
        const unsigned first = single[i];
        if (first == 0) {
            entries[i] = 0;
            continue;
        }
        entries[i] = wide::one(symbolOf(first), lengthOf(first));
        const unsigned second = single[i << lengthOf(first) & (entries.size() - 1)];
        if (second != 0 && lengthOf(first) + lengthOf(second) <= kWideBits) {
            entries[i] = wide::withSecond(entries[i], symbolOf(second), lengthOf(second));
        }
    }
}

// A refill suffices for this many look-ups.
constexpr int32_t kLookUps = BitInput::kRefill / kWideBits;
static_assert(BitInput::kRefill >= kMaxCodedLength);

// What a group may take from the source, the load of the last refill included, and what it may write: a look-up stores
// two symbols always.
constexpr ptrdiff_t kSourceMargin = (kGroupSize * kMaxCodedLength + 7) / 8 + 2 * BitInput::kLoad;
constexpr ptrdiff_t kRoomMargin = kGroupSize + 1;

// Decodes the symbols of a group from the current position on. Returns how many are left of it: none, unless there is a
// code that the careful loop has to look at.
int32_t decodeGroup(const WideTable& entries, const DecodingTable& table, unsigned endOfBlock, int32_t left,
                    BitInput& input, uint16_t*& dst) noexcept {
    BitInput in = input;
    uint16_t* op = dst;
    const auto lookUp = [&]() __attribute__((always_inline)) { return entries[in.bits() >> (64 - kWideBits)]; };
    const auto take = [&](uint32_t entry) __attribute__((always_inline)) {
        op[0] = wide::first(entry);
        op[1] = wide::second(entry);
        op += wide::symbols(entry);
        in.drop(wide::length(entry));
    };
    uint16_t* const groupEnd = op + left;
    while (op < groupEnd) {
        in.refillFast();
        uint32_t entry = 1;
        if (groupEnd - op >= ptrdiff_t{2} * kLookUps) {
            for (int32_t i = 0; i < kLookUps && entry != 0; ++i) {
                entry = lookUp();
                if (entry != 0) take(entry);
            }
            if (entry != 0) continue;
            in.refillFast();
        } else {
            entry = lookUp();
            if (entry != 0) {
                if (groupEnd - op == 1) {
                    *op++ = wide::first(entry);
                    in.drop(wide::firstLength(entry));
                } else {
                    take(entry);
                }
                continue;
            }
        }
        const unsigned found = table.find(in.peek(kCodeBits));
        if (found == 0 || symbolOf(found) == endOfBlock) break;
        *op++ = static_cast<uint16_t>(symbolOf(found));
        in.drop(lengthOf(found));
    }
    input = in;
    dst = op;
    return static_cast<int32_t>(groupEnd - op);
}

void decodeGroups(HuffDecState& state, BitInput& input, Output& output) noexcept {
    std::array<WideTable, kMaxTables> entries;
    for (size_t t = 0; t < static_cast<size_t>(state.nGroups); ++t) {
        buildWide(state.tables[t], state.alphaSize, entries[t]);
    }
    const uint8_t* const selectors = state.selectors();
    const auto endOfBlock = static_cast<unsigned>(state.alphaSize) - 1;
    while (state.group < state.nSelectors && input.left() >= kSourceMargin && output.end - output.dst >= kRoomMargin) {
        const uint8_t t = selectors[state.group];
        const int32_t left =
            decodeGroup(entries[t], state.tables[t], endOfBlock, kGroupSize - state.position, input, output.dst);
        state.position = kGroupSize - left;
        if (left > 0) return;
        state.position = 0;
        ++state.group;
    }
}

// --- Symbols --------------------------------------------------------------------------------------------------------

Status decodeSymbols(HuffDecState& state, BitInput& input, Output& output) noexcept {
    const auto endOfBlock = static_cast<unsigned>(state.alphaSize) - 1;
    while (output.dst < output.end) {
        if (state.position == kGroupSize) {
            state.position = 0;
            ++state.group;
        }
        if (state.group >= state.nSelectors) return StatusError;
        if (input.count() < kCodeBits) input.refill();
        if (input.count() < kCodeBits) return StatusSourceExhausted;
        const unsigned found = state.tables[state.selectors()[state.group]].find(input.peek(kCodeBits));
        if (found == 0) return StatusError;
        input.drop(lengthOf(found));
        *output.dst = static_cast<uint16_t>(symbolOf(found));
        if (symbolOf(found) == endOfBlock) {
            state.group = 0;
            state.position = 0;
            return StatusOk;
        }
        ++output.dst;
        ++state.position;
    }
    return StatusDestinationFull;
}

// Below this many bytes and symbols the wide tables are not worth their building.
constexpr ptrdiff_t kLargeSource = 4096;
constexpr ptrdiff_t kLargeRoom = 4096;

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsDecodeHuff_BZ2_8u16u(uint32_t* pCode, int32_t* pCodeLenBits, const uint8_t** ppSrc, int32_t* pSrcLen,
                                   uint16_t* pDst, int32_t* pDstLen, HuffDecState* pState) noexcept {
    if (anyNull(pCode, pCodeLenBits, ppSrc, pSrcLen) || anyNull(*ppSrc, pDst, pDstLen, pState)) {
        return StatusNullPointer;
    }
    if (*pDstLen < 1 || !validCount(*pCodeLenBits)) return StatusSizeError;
    HuffDecState& state = *pState;
    BitInput input(*pCode, *pCodeLenBits, *ppSrc, std::max(*pSrcLen, 0));
    Output output{pDst, pDst + *pDstLen};
    Status status = StatusError;
    // Without a complete description there are no tables.
    if (state.phase == kPhaseCounts) {
        if (input.left() >= kLargeSource && *pDstLen >= kLargeRoom) decodeGroups(state, input, output);
        status = decodeSymbols(state, input, output);
    }
    if (status != StatusSourceExhausted) input.giveBack(7);
    input.finish(pCode, pCodeLenBits, ppSrc, pSrcLen);
    // A full destination is the reason only while there is source left.
    if (status == StatusDestinationFull && *pSrcLen < 1) status = StatusSourceExhausted;
    *pDstLen = static_cast<int32_t>(output.dst - pDst);
    return status;
}
