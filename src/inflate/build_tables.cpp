// Checks the code lengths of a block and builds the decoding tables of the kind that fits them.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "core/arguments.h"
#include "core/deflate_code.h"
#include "core/entry_points.h"
#include "core/unaligned.h"
#include "inflate/general_tables.h"
#include "inflate/tables.h"

namespace ozrdc::inflate {
namespace {

using deflate::kMaxCodeLength;
using deflate::LengthCounts;

// One of the two codes of a block, as its lengths.
struct Code {
    const uint16_t* lengths;
    uint32_t n;
    LengthCounts counts{};
    unsigned shortest = 0;
    unsigned longest = 0;

    Code(const uint16_t* codeLengths, uint32_t count) noexcept : lengths(codeLengths), n(count) {
        for (uint32_t i = 0; i < n; ++i) ++counts[codeLength(lengths[i])];
        counts[0] = 0;
        for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
            if (counts[length] == 0) continue;
            if (shortest == 0) shortest = length;
            longest = length;
        }
    }

    [[nodiscard]] bool empty() const noexcept { return longest == 0; }

    // Whether every sequence of bits begins with one code and only one; a single code of one bit will do.
    [[nodiscard]] bool complete() const noexcept {
        uint32_t used = 0;  // of the 2^length sequences, as many begin with a code
        for (unsigned length = shortest; length <= longest; ++length) {
            used = 2 * used + counts[length];
            if (used > 1U << length) return false;
        }
        return used == 1U << longest || (used == 1 && longest == 1);
    }

    // The distance code of fixed blocks, which leaves two codes unused.
    [[nodiscard]] bool isFixedDistanceCode() const noexcept {
        return n == deflate::kDistCodes && counts[deflate::kFixedDistLength] == n;
    }
};

void buildGeneralTables(const Code& litLen, const Code& dist, InflateState* pState) noexcept {
    auto* const tables = new (pState->tables) GeneralLayout;
    buildLevels<LitLenAlphabet>(tables->litLen.data(), litLen.lengths, litLen.n, litLen.counts, litLen.longest);
    buildLevels<DistAlphabet>(tables->dist.data(), dist.lengths, dist.n, dist.counts, dist.longest);
}

// Calls put(index, symbol, length) for the codes of a single-level table in canonical order, and grow(size) to write
// the `size` entries that stand so far a second time, behind themselves.
template <class Put, class Grow>
void forSingleLevel(const Code& code, Put put, Grow grow) noexcept {
    const CanonicalOrder order(code.lengths, code.n, code.counts);
    const uint16_t* symbol = order.symbols.data();
    uint32_t next = 0;
    for (unsigned length = 1; length <= code.longest; ++length) {
        grow(size_t{1} << (length - 1));
        next *= 2;
        for (uint32_t i = 0; i < code.counts[length]; ++i) put(reversedCode(next++, length), *symbol++, length);
    }
}

Status ownsInflateBuildHuffTable(const Code& litLen, const Code& dist, InflateState* pState) noexcept {
    constexpr unsigned kEnd = deflate::kEndOfBlock;
    if (litLen.n <= kEnd || codeLength(litLen.lengths[kEnd]) == 0) return StatusBadCodeTable;

    const ShortLayout<uint8_t> layout(pState->tables, litLen.longest);
    const auto at = [](uint8_t* table, size_t i) noexcept { return table + i * sizeof(ShortEntry); };

    store16(layout.litLen, 0);
    forSingleLevel(
        litLen,
        [&](uint32_t index, unsigned symbol, unsigned length) noexcept {
            const unsigned row = symbol < kEnd ? symbol << short_entry::kValueShift : LenExtr[symbol - kEnd];
            store16(at(layout.litLen, index), static_cast<ShortEntry>(row | length));
        },
        [&](size_t size) noexcept { std::memcpy(at(layout.litLen, size), layout.litLen, size * sizeof(ShortEntry)); });

    // Without a distance code there is one entry, which no code reaches.
    layout.distBits[0] = 0;
    store16(layout.distBases, 0);
    forSingleLevel(
        dist,
        [&](uint32_t index, unsigned symbol, unsigned length) noexcept {
            layout.distBits[index] = static_cast<uint8_t>(DistExtr[symbol].bits | length);
            store16(at(layout.distBases, index), DistExtr[symbol].base);
        },
        [&](size_t size) noexcept {
            std::memcpy(layout.distBits + size, layout.distBits, size);
            std::memcpy(at(layout.distBases, size), layout.distBases, size * sizeof(ShortEntry));
        });
    return StatusOk;
}

}  // namespace
}  // namespace ozrdc::inflate

Status y8_ozrsInflateBuildHuffTable(const uint16_t* pCodeLens, uint32_t nLitCodeLens, uint32_t nDistCodeLens,
                                    InflateState* pState) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::inflate;
    if (anyNull(pCodeLens, pState)) return StatusNullPointer;
    if (nLitCodeLens > deflate::kFixedLitLenSymbols || nDistCodeLens > deflate::kDistCodes) return StatusSizeError;

    const Code litLen(pCodeLens, nLitCodeLens);
    if (litLen.empty() || !litLen.complete()) return StatusBadCodeTable;
    const Code dist(pCodeLens + nLitCodeLens, nDistCodeLens);
    if (!dist.empty() && !dist.complete() && !dist.isFixedDistanceCode()) return StatusBadCodeTable;

    if (litLen.longest <= kShortMaxLitLen && dist.longest <= kShortMaxDist) {
        pState->maxLitLen = litLen.longest;
        pState->maxDistLen = dist.longest;
        pState->tableKind = kShortTables;
        return ownsInflateBuildHuffTable(litLen, dist, pState);
    }
    pState->tableKind = kGeneralTables;
    buildGeneralTables(litLen, dist, pState);
    return StatusOk;
}
