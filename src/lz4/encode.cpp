// Encodes LZ4 blocks with a hash table: plain, bounded, and accelerated.

#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "lz4/hash_encoder.h"

namespace ozrdc::lz4 {
namespace {

template <class Table>
using HistoryOf = NoHistory<Table::kOffsetsAlwaysFit>;

template <class Table>
[[gnu::noinline]] Block encodeAccelerated(const Source src, uint8_t* pHashTable, UncheckedWriter writer,
                                          int64_t acceleration) noexcept {
    using History = HistoryOf<Table>;
    Table::clear(pHashTable);
    // With narrow positions every match may reach as far as the first.
    constexpr int64_t margin = Table::kOffsetsAlwaysFit ? kFirstMatchMargin : kNextMatchMargin;
    return encode(src,
                  AcceleratedSearch<Table, History>{prober<Table>(src, History{src.begin}, pHashTable), acceleration},
                  writer, margin);
}

// The table's width follows from the length of the source.
template <class Writer>
Block encodePlain(const Source src, uint8_t* pHashTable, Writer writer) noexcept {
    return src.length < kShortSource
               ? encodeStepped<NarrowTable>(src, HistoryOf<NarrowTable>{src.begin}, pHashTable, writer)
               : encodeStepped<WideTable>(src, HistoryOf<WideTable>{src.begin}, pHashTable, writer);
}

// Clears the part of the table that a source of this length uses.
Status clearTable(uint8_t* pHashTable, int32_t srcLen) noexcept {
    return srcLen < kShortSource ? NarrowTable::clear(pHashTable) : WideTable::clear(pHashTable);
}

}  // namespace
}  // namespace ozrdc::lz4

using namespace ozrdc;
using namespace ozrdc::lz4;

Status y8_ozrsEncodeLZ4HashTableGetSize_8u(int32_t* pHashTableSize) noexcept {
    if (anyNull(pHashTableSize)) return StatusNullPointer;
    *pHashTableSize = kHashTableSize;
    return StatusOk;
}

Status y8_ozrsEncodeLZ4HashTableInit_8u(uint8_t* pHashTable, int32_t srcLen) noexcept {
    if (anyNull(pHashTable)) return StatusNullPointer;
    if (srcLen < 1) return StatusSizeError;
    return clearTable(pHashTable, srcLen);
}

Status y8_ozrsEncodeLZ4_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                           uint8_t* pHashTable) noexcept {
    if (const Status s = clearTable(pHashTable, srcLen)) return s;
    if (anyNull(pSrc, pDst, pDstLen)) return StatusNullPointer;
    if (srcLen < 1) return StatusSizeError;
    const Source src{pSrc, srcLen};
    const Block block = encodePlain(src, pHashTable, UncheckedWriter{pDst});
    *pDstLen = static_cast<int32_t>(block.end - pDst);
    return StatusOk;
}

Status y8_ozrsEncodeLZ4Safe_8u(const uint8_t* pSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                               uint8_t* pHashTable) noexcept {
    if (anyNull(pSrcLen)) return StatusNullPointer;
    if (const Status s = clearTable(pHashTable, *pSrcLen)) return s;
    if (anyNull(pSrc, pDst, pDstLen)) return StatusNullPointer;
    if (*pSrcLen < 1 || *pDstLen < 1) return StatusSizeError;
    const Source src{pSrc, *pSrcLen};
    const Block block =
        encodeInto(pDst, *pDstLen, src.length, [&](auto writer) { return encodePlain(src, pHashTable, writer); });
    *pSrcLen = static_cast<int32_t>(block.consumed);
    *pDstLen = static_cast<int32_t>(block.end - pDst);
    return block.consumed == src.length ? StatusOk : StatusDestinationFull;
}

Status y8_ozrsEncodeLZ4Fast_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                               uint8_t* pHashTable, int32_t acceleration) noexcept {
    if (acceleration == 1) return y8_ozrsEncodeLZ4_8u(pSrc, srcLen, pDst, pDstLen, pHashTable);
    if (anyNull(pSrc, pDst, pDstLen, pHashTable)) return StatusNullPointer;
    if (srcLen < 1) return StatusSizeError;
    if (acceleration < 1) return StatusBadFactor;
    const Source src{pSrc, srcLen};
    const UncheckedWriter writer{pDst};
    const Block block = srcLen < kShortSource
                            ? encodeAccelerated<LargeNarrowTable>(src, pHashTable, writer, acceleration)
                            : encodeAccelerated<WideTable>(src, pHashTable, writer, acceleration);
    *pDstLen = static_cast<int32_t>(block.end - pDst);
    return StatusOk;
}
