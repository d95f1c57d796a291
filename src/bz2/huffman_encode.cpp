// Encoder of the block-sorting Huffman code: up to six tables, one for each group of 50 symbols.
//
// The tables are found by refinement. To begin with, each has short codes for its part of the alphabet; then, four
// times over, every group takes the table that codes it in the fewest bits, and every table is made anew for the groups
// that took it. The lengths of a symbol in all tables are a row of 16-bit lanes, so that one addition a symbol gives
// the costs of a group in all tables, and one instruction the smallest of them, and of equal ones the first.
//
// Of a symbol only the low nine bits count, and the tables here have room for all of their values: no symbol leads
// outside them. Those that are not of the alphabet have no bits.

#include <smmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "bz2/bit_output.h"
#include "bz2/code_lengths.h"
#include "bz2/huffman_format.h"
#include "bz2/move_to_front.h"
#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"

struct HuffEncState {
    static constexpr size_t kEntries = size_t{ozrdc::bz2::kMaxTables} * ozrdc::bz2::kMaxAlphabet;

    int32_t alphaSize;
    int32_t nSelectors;
    int32_t nGroups;
    uint32_t reserved[7];
    uint32_t codes[kEntries];   // code and, in the low bits, its length
    uint8_t lengths[kEntries];  // nSelectors selectors follow, and then their ranks

    [[nodiscard]] uint8_t* selectors() noexcept { return reinterpret_cast<uint8_t*>(this + 1); }
    [[nodiscard]] const uint8_t* selectors() const noexcept { return reinterpret_cast<const uint8_t*>(this + 1); }
    [[nodiscard]] uint8_t* selectorRanks() noexcept { return selectors() + nSelectors; }
    [[nodiscard]] const uint8_t* selectorRanks() const noexcept { return selectors() + nSelectors; }
};
static_assert(sizeof(HuffEncState) == 7780);

namespace ozrdc::bz2 {
namespace {

constexpr unsigned kRefinements = 4;

// In the beginning a table has these lengths for the symbols of its part and for all others.
constexpr uint8_t kOwnLength = 0;
constexpr uint8_t kOtherLength = 15;

constexpr unsigned kIndexBits = 9;
constexpr size_t kIndexMask = (size_t{1} << kIndexBits) - 1;
static_assert(kMaxAlphabet <= kIndexMask);

constexpr unsigned kLengthBits = 5;
static_assert(kMaxEncodedLength < 1U << kLengthBits && kMaxEncodedLength + kLengthBits <= 32);

int32_t tablesFor(int32_t length) noexcept {
    if (length < 200) return 2;
    if (length < 600) return 3;
    if (length < 1200) return 4;
    return length < 2400 ? 5 : 6;
}

// Divides the alphabet into one part for each table, of about the same frequency, from the last table down.
void partition(const uint32_t* frequencies, int32_t length, HuffEncState& state) noexcept {
    std::fill_n(state.lengths, static_cast<size_t>(state.nGroups) * kMaxAlphabet, kOtherLength);
    int64_t remaining = length;
    int32_t symbol = 0;
    for (int32_t table = state.nGroups - 1; table >= 0; --table) {
        uint8_t* const lengths = state.lengths + ptrdiff_t{table} * kMaxAlphabet;
        const int64_t target = remaining / (table + 1);
        int64_t sum = 0;
        do {
            if (symbol == state.alphaSize) return;
            lengths[symbol] = kOwnLength;
            sum += frequencies[symbol++];
        } while (sum < target);
        // A part is too large by a half of its last symbol, on average: every second one gives it back.
        const bool everySecond = (state.nGroups - table) % 2 == 0;
        if (everySecond && table > 0 && sum != int64_t{frequencies[symbol - 1]}) {
            lengths[--symbol] = kOtherLength;
            sum -= frequencies[symbol];
        }
        remaining -= sum;
    }
}

class Refinement {
  public:
    explicit Refinement(HuffEncState& state) noexcept : state_(state) {}

    void run(const uint16_t* src, int32_t length) noexcept {
        setRows();
        for (unsigned pass = 0; pass < kRefinements; ++pass) {
            selectTables(src, length);
            for (ptrdiff_t t = 0; t < state_.nGroups; ++t) {
                auto& counts = counts_[static_cast<size_t>(t)];
                for (size_t symbol = 0; symbol < kMaxAlphabet; ++symbol) counts[0][symbol] += counts[1][symbol];
                makeCodeLengths(counts[0].data(), state_.alphaSize, state_.lengths + t * kMaxAlphabet);
            }
            setRows();
        }
    }

  private:
    static constexpr size_t kLanes = 8;
    // The cost of a table that is not there. Sums of it stay what they are.
    static constexpr uint16_t kNoTable = std::numeric_limits<uint16_t>::max();
    static_assert(kGroupSize * kMaxEncodedLength < kNoTable);

    void setRows() noexcept {
        for (size_t symbol = 0; symbol < rows_.size(); ++symbol) {
            for (size_t t = 0; t < kLanes; ++t) {
                if (t >= static_cast<size_t>(state_.nGroups)) {
                    rows_[symbol][t] = kNoTable;
                } else {
                    rows_[symbol][t] = symbol < static_cast<size_t>(state_.alphaSize)
                                           ? state_.lengths[t * kMaxAlphabet + symbol]
                                           : uint16_t{0};
                }
            }
        }
    }

    void selectTables(const uint16_t* src, int32_t length) noexcept {
        counts_ = {};
        uint8_t* selector = state_.selectors();
        const uint16_t* const end = src + length;
        for (; end - src >= kGroupSize; src += kGroupSize) *selector++ = selectTable(src, kGroupSize);
        if (src < end) *selector = selectTable(src, end - src);
    }

    [[gnu::always_inline]] uint8_t selectTable(const uint16_t* group, ptrdiff_t size) noexcept {
        __m128i even = _mm_setzero_si128();
        __m128i odd = _mm_setzero_si128();
        for (ptrdiff_t i = 0; i + 2 <= size; i += 2) {
            even = _mm_adds_epu16(even, row(group[i]));
            odd = _mm_adds_epu16(odd, row(group[i + 1]));
        }
        if (size % 2 != 0) even = _mm_adds_epu16(even, row(group[size - 1]));
        const __m128i sums = _mm_adds_epu16(even, odd);
        const auto table = static_cast<uint8_t>(_mm_extract_epi16(_mm_minpos_epu16(sums), 1));
        auto& counts = counts_[table];
        for (ptrdiff_t i = 0; i + 2 <= size; i += 2) {
            ++counts[0][group[i] & kIndexMask];
            ++counts[1][group[i + 1] & kIndexMask];
        }
        if (size % 2 != 0) ++counts[0][group[size - 1] & kIndexMask];
        return table;
    }

    [[gnu::always_inline]] [[nodiscard]] __m128i row(uint16_t symbol) const noexcept {
        return load128(rows_[symbol & kIndexMask].data());
    }

    HuffEncState& state_;
    alignas(16) std::array<std::array<uint16_t, kLanes>, kIndexMask + 1> rows_;
    // Two for each table, by turns: a count does not wait for the one before it.
    std::array<std::array<std::array<uint32_t, kIndexMask + 1>, 2>, kMaxTables> counts_;
};

// Canonical codes: shorter ones first, those of one length in the order of their symbols.
void assignCodes(const uint8_t* lengths, int32_t alphaSize, uint32_t* codes) noexcept {
    std::array<uint32_t, kMaxEncodedLength + 2> next{};
    for (int32_t symbol = 0; symbol < alphaSize; ++symbol) ++next[lengths[symbol] + size_t{1}];
    // next[n + 1] is the number of codes of length n: from here on, next[n] is the first code of length n.
    next[1] = 0;
    for (size_t length = 2; length <= kMaxEncodedLength; ++length) next[length] = (next[length - 1] + next[length]) * 2;
    for (int32_t symbol = 0; symbol < alphaSize; ++symbol) {
        codes[symbol] = next[lengths[symbol]]++ << kLengthBits | lengths[symbol];
    }
}

// v as v ones and a zero.
void putUnary(BitOutput& output, unsigned v) noexcept { output.put((2U << v) - 2, v + 1); }

void putLengths(BitOutput& output, const uint8_t* lengths, int32_t alphaSize) noexcept {
    constexpr uint32_t kUp = 0b10;
    constexpr uint32_t kDown = 0b11;
    uint8_t current = lengths[0];
    output.put(current, kFirstLengthBits);
    for (int32_t symbol = 0; symbol < alphaSize; ++symbol) {
        for (; current < lengths[symbol]; ++current) output.put(kUp, 2);
        for (; current > lengths[symbol]; --current) output.put(kDown, 2);
        output.put(0, 1);
    }
}

// The codes of all tables, with none for what is not of the alphabet.
class CodeTables {
  public:
    using Table = std::array<uint32_t, kIndexMask + 1>;

    explicit CodeTables(const HuffEncState& state) noexcept {
        for (size_t t = 0; t < static_cast<size_t>(state.nGroups); ++t) {
            std::copy_n(state.codes + t * kMaxAlphabet, kMaxAlphabet, tables_[t].begin());
            std::fill(tables_[t].begin() + kMaxAlphabet, tables_[t].end(), 0);
        }
    }
    const Table& operator[](size_t t) const noexcept { return tables_[t]; }

  private:
    std::array<Table, kMaxTables> tables_;
};

constexpr uint32_t lengthOf(uint32_t entry) noexcept { return entry & ((1U << kLengthBits) - 1); }

// Bytes that a group may fill, and those that the last store of its bits may write behind them.
constexpr ptrdiff_t kGroupMargin = (kGroupSize * kMaxEncodedLength + 7) / 8 + 8;

// Codes a whole group where there is ample room.
[[gnu::always_inline]] inline void putGroup(const CodeTables::Table& codes, const uint16_t* group,
                                            BitOutput::Cursor& at) noexcept {
    constexpr ptrdiff_t kAtOnce = 3;
    static_assert(7 + kAtOnce * kMaxEncodedLength < 64);
    // Right-aligned here; what is above the pending bits has been written.
    uint64_t bits = at.bits >> 1 >> (63 - at.pending);
    const auto append = [&](uint16_t symbol) __attribute__((always_inline)) {
        const uint32_t entry = codes[symbol & kIndexMask];
        bits = bits << lengthOf(entry) | entry >> kLengthBits;
        at.pending += lengthOf(entry);
    };
    const auto flush = [&]() __attribute__((always_inline)) {
        store64(at.dst, __builtin_bswap64(bits << 1 << (63 - at.pending)));
        at.dst += at.pending / 8;
        at.pending %= 8;
    };
    ptrdiff_t i = 0;
    for (; i + kAtOnce <= kGroupSize; i += kAtOnce) {
        for (ptrdiff_t k = 0; k < kAtOnce; ++k) append(group[i + k]);
        flush();
    }
    for (; i < kGroupSize; ++i) append(group[i]);
    flush();
    at.bits = bits << 1 << (63 - at.pending);
}

}  // namespace
}  // namespace ozrdc::bz2

using namespace ozrdc;
using namespace ozrdc::bz2;

Status y8_ozrsEncodeHuffGetSize_BZ2_16u8u(int32_t len, int32_t* pSize) noexcept {
    if (anyNull(pSize)) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    *pSize = static_cast<int32_t>(groupsOf(len) * 2 + int64_t{sizeof(HuffEncState)});
    return StatusOk;
}

Status y8_ozrsEncodeHuffInit_BZ2_16u8u(int32_t alphaSize, const uint32_t* pFreq, const uint16_t* pSrc, int32_t len,
                                       HuffEncState* pState) noexcept {
    if (anyNull(pFreq, pSrc, pState)) return StatusNullPointer;
    if (!validAlphabet(alphaSize) || len < 1) return StatusSizeError;
    HuffEncState& state = *pState;
    state.alphaSize = alphaSize;
    state.nSelectors = static_cast<int32_t>(groupsOf(len));
    state.nGroups = tablesFor(len);
    partition(pFreq, len, state);
    Refinement(state).run(pSrc, len);
    std::fill(std::begin(state.codes), std::end(state.codes), 0);
    for (ptrdiff_t t = 0; t < state.nGroups; ++t) {
        assignCodes(state.lengths + t * kMaxAlphabet, alphaSize, state.codes + t * kMaxAlphabet);
    }
    // Made here, so that the description can be written again and again from a constant state.
    MTFState moveToFront;
    y8_ozrsMTFInit_8u(&moveToFront);
    return y8_ozrsMTFFwd_8u(state.selectors(), state.selectorRanks(), state.nSelectors, &moveToFront);
}

Status y8_ozrsPackHuffContext_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, uint8_t* pDst, int32_t* pDstLen,
                                        const HuffEncState* pState) noexcept {
    if (anyNull(pCode, pCodeLenBits, pDst, pDstLen, pState)) return StatusNullPointer;
    if (*pDstLen < 1 || !validCount(*pCodeLenBits)) return StatusSizeError;
    const HuffEncState& state = *pState;
    BitOutput output(*pCode, *pCodeLenBits, pDst, *pDstLen);
    output.emit();
    output.put(static_cast<uint32_t>(state.nGroups), kTableCountBits);
    output.put(static_cast<uint32_t>(state.nSelectors) & ((1U << kSelectorCountBits) - 1), kSelectorCountBits);
    for (int32_t i = 0; i < state.nSelectors; ++i) putUnary(output, state.selectorRanks()[i]);
    for (ptrdiff_t t = 0; t < state.nGroups; ++t) {
        putLengths(output, state.lengths + t * kMaxAlphabet, state.alphaSize);
    }
    return output.finish(pCode, pCodeLenBits, pDstLen);
}

Status y8_ozrsEncodeHuff_BZ2_16u8u(uint32_t* pCode, int32_t* pCodeLenBits, const uint16_t** ppSrc, int32_t* pSrcLen,
                                   uint8_t* pDst, int32_t* pDstLen, const HuffEncState* pState) noexcept {
    if (anyNull(pCode, pCodeLenBits, ppSrc, pSrcLen) || anyNull(*ppSrc, pDst, pDstLen, pState)) {
        return StatusNullPointer;
    }
    if (*pDstLen < 1 || !validCount(*pCodeLenBits)) return StatusSizeError;
    const HuffEncState& state = *pState;
    const CodeTables tables(state);
    const uint8_t* selector = state.selectors();
    // Beyond the groups of the state there is no table to code with.
    const uint16_t* src = *ppSrc;
    const uint16_t* const end = src + std::min<int64_t>(std::max(*pSrcLen, 0), int64_t{state.nSelectors} * kGroupSize);
    BitOutput output(*pCode, *pCodeLenBits, pDst, *pDstLen);
    output.emit();

    if (output.room() >= kGroupMargin) {
        BitOutput::Cursor at = output.cursor();
        uint8_t* const last = pDst + *pDstLen - kGroupMargin;
        for (; end - src >= kGroupSize && at.dst <= last; src += kGroupSize) putGroup(tables[*selector++], src, at);
        output.resume(at);
    }
    while (src < end) {
        const CodeTables::Table& codes = tables[*selector++];
        const uint16_t* const groupEnd = src + std::min<ptrdiff_t>(kGroupSize, end - src);
        for (; src < groupEnd; ++src) {
            const uint32_t entry = codes[*src & kIndexMask];
            output.put(entry >> kLengthBits, lengthOf(entry));
        }
    }
    *pSrcLen -= static_cast<int32_t>(src - *ppSrc);
    *ppSrc = src;
    return output.finish(pCode, pCodeLenBits, pDstLen);
}
