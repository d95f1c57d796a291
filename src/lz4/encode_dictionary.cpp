// Encodes LZ4 blocks with a hash table whose matches may reach into history that precedes the source.
//
// The table is the caller's, and its entries, 32-bit positions, live on from call to call: what a call may not believe
// of them, it makes harmless first, by lowering every entry that lies at or above the source's first position. An entry
// below is either a position of the history or as good as none, since it is too far away or its bytes do not match.

#include <smmintrin.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"
#include "core/vector_kernels.h"
#include "lz4/hash_encoder.h"

namespace ozrdc::lz4 {
namespace {

constexpr int64_t kDictionaryStep = 3;    // every third position of a dictionary is entered
constexpr int32_t kDictionaryMargin = 8;  // but none that fewer than 9 bytes follow, itself included

// The highest entry, where a negative one counts as very high.
uint32_t highestEntry(const uint8_t* pHashTable) noexcept {
    __m128i highest = _mm_setzero_si128();
    for (size_t i = 0; i < WideTable::kSize; i += sizeof highest) {
        highest = _mm_max_epu32(highest, load128(pHashTable + i));
    }
    std::array<uint32_t, 4> entries{};
    store128(entries.data(), highest);
    return *std::max_element(entries.begin(), entries.end());
}

struct PreparedTable {
    uint8_t* slots;
    uint32_t highest;  // no entry is higher, counted like this; it need not be reached
};

// What comes before all checks: without history the table is cleared, otherwise no entry stays above the source's first
// position less `margin`. A table that only a dictionary has been loaded into is not written to.
Status prepareTable(PreparedTable& table, int32_t srcIdx, int32_t margin) noexcept {
    table.highest = 0;
    if (srcIdx <= 0) return WideTable::clear(table.slots);
    if (anyNull(table.slots)) return StatusNullPointer;
    const int32_t level = srcIdx - margin;
    table.highest = highestEntry(table.slots);
    if (table.highest <= static_cast<uint32_t>(level)) return StatusOk;
    table.highest = std::numeric_limits<uint32_t>::max();
    return ozrsThreshold_GT_32s_I(table.slots, WideTable::kMask + 1, level);
}

struct Job {
    Source src;
    int32_t srcIdx;
    PreparedTable table;
    HistoryKind kind;
    const uint8_t* pDict;
    int32_t dictSize;
};

template <class Writer>
Block encodeWithHistory(const Job& job, Writer writer) noexcept {
    if (job.kind == HistoryKind::Prefix) {
        return encodeStepped<WideTable>(job.src, PrefixHistory(job.src.begin, job.srcIdx), job.table.slots, writer);
    }
    // If all entries are positions of the dictionary, as they are right after it was loaded, no candidate needs a
    // check. The source's own positions must not pass the largest, or they would come back as negative ones.
    const bool positionsFit = job.srcIdx + job.src.length <= std::numeric_limits<int32_t>::max();
    if (positionsFit && job.dictSize >= job.srcIdx && job.table.highest + kLeastDictionaryRest <= job.srcIdx) {
        const SeparateHistory<true> history(job.src.begin, job.srcIdx, job.pDict, job.dictSize);
        return encodeStepped<WideTable>(job.src, history, job.table.slots, writer);
    }
    const SeparateHistory<false> history(job.src.begin, job.srcIdx, job.pDict, job.dictSize);
    return encodeStepped<WideTable>(job.src, history, job.table.slots, writer);
}

}  // namespace
}  // namespace ozrdc::lz4

using namespace ozrdc;
using namespace ozrdc::lz4;

Status y8_ozrsEncodeLZ4DictHashTableInit_8u(uint8_t* pHashTable, int32_t srcLen) noexcept {
    if (anyNull(pHashTable)) return StatusNullPointer;
    if (srcLen < 1) return StatusSizeError;
    return WideTable::clear(pHashTable);
}

Status y8_ozrsEncodeLZ4LoadDict_8u(uint8_t* pHashTable, const uint8_t* pDict, int32_t dictSize) noexcept {
    if (anyNull(pHashTable, pDict)) return StatusNullPointer;
    if (dictSize < 1) return StatusSizeError;
    const WideTable table{pHashTable};
    for (int64_t i = 0; dictSize - i > kDictionaryMargin; i += kDictionaryStep) table.enter(hashFive(pDict + i), i);
    return StatusOk;
}

Status y8_ozrsEncodeLZ4Dict_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                               uint8_t* pHashTable, const uint8_t* pDict, int32_t dictSize) noexcept {
    PreparedTable table{pHashTable, 0};
    // The margin differs from the bounded encoder's: here the source's first position is no candidate.
    if (const Status s = prepareTable(table, srcIdx, 1)) return s;
    const HistoryKind kind = historyKind(pSrc, srcIdx, pDict, dictSize);
    if (kind == HistoryKind::Invalid) return StatusSizeError;
    if (anyNull(pSrc, pDst, pDstLen)) return StatusNullPointer;
    if (srcLen < 1) return StatusSizeError;
    if (srcIdx < 0) return StatusBadArgument;
    const Block block = encodeWithHistory({{pSrc, srcLen}, srcIdx, table, kind, pDict, dictSize},  //
                                          UncheckedWriter{pDst});
    *pDstLen = static_cast<int32_t>(block.end - pDst);
    return StatusOk;
}

Status y8_ozrsEncodeLZ4DictSafe_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t* pSrcLen, uint8_t* pDst,
                                   int32_t* pDstLen, uint8_t* pHashTable, const uint8_t* pDict,
                                   int32_t dictSize) noexcept {
    PreparedTable table{pHashTable, 0};
    if (const Status s = prepareTable(table, srcIdx, 0)) return s;
    const HistoryKind kind = historyKind(pSrc, srcIdx, pDict, dictSize);
    if (kind == HistoryKind::Invalid) return StatusSizeError;
    if (anyNull(pSrc, pSrcLen, pDst, pDstLen)) return StatusNullPointer;
    if (*pSrcLen < 1 || *pDstLen < 1) return StatusSizeError;
    if (srcIdx < 0) return StatusBadArgument;
    const Source src{pSrc, *pSrcLen};
    const Job job{src, srcIdx, table, kind, pDict, dictSize};
    const Block block =
        encodeInto(pDst, *pDstLen, src.length, [&](auto writer) { return encodeWithHistory(job, writer); });
    *pSrcLen = static_cast<int32_t>(block.consumed);
    *pDstLen = static_cast<int32_t>(block.end - pDst);
    return block.consumed == src.length ? StatusOk : StatusDestinationFull;
}
