// Encodes LZ4 blocks with a hash table.
//
// A block is a chain of: search for the next match, extend it forwards, write the literals before it and the match
// itself. One statement of that chain serves all encoders: the search (its table and its order of probes) and the
// writer (with or without bounds) are its parameters. Matches are never extended backwards. The first match of a block
// may reach closer to the end of the source than the later ones; both limits leave at least five literals at the end,
// and none of the margins lets an 8- or 16-byte unit pass the end.

#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/match_length.h"
#include "core/opaque.h"
#include "lz4/format.h"
#include "lz4/hash_search.h"
#include "lz4/sequence_writer.h"

namespace ozrdc::lz4 {
namespace {

// How many bytes at the end of the source a match leaves alone: the first of a block, and the later ones.
constexpr int64_t kFirstMatchMargin = 5;
constexpr int64_t kNextMatchMargin = 12;

struct Source {
    const uint8_t* begin;
    int64_t length;

    [[nodiscard]] const uint8_t* end() const noexcept { return begin + length; }
};

// A block that was written: the source bytes it stands for, and where it ends.
struct Block {
    int64_t consumed;
    uint8_t* end;
};

// The writer is a copy, so that its cursor can stay in a register.
template <class Search, class Writer>
[[gnu::always_inline]] inline Block encode(const Source src, const Search search, Writer writer,
                                           int64_t nextMatchMargin) noexcept {
    const uint8_t* anchor = src.begin;
    // A source of one byte more than the margin has no position to probe: searches start at position 1.
    if (src.length > kSearchMargin + 1) {
        const uint8_t* matchLimit = src.end() - kFirstMatchMargin;
        const uint8_t* const compareBase = opaque(src.begin + kMinMatch);  // a displacement would cost a cycle
        Hit hit = search.first(src.begin);
        while (hit.at != nullptr) {
            const int64_t literals = hit.at - anchor;
            const uint8_t* const compared = hit.at + kMinMatch;
            int64_t extra = getboundlong(compared, compareBase, hit.candidate, matchLimit - compared);
            const auto offset = static_cast<uint64_t>(hit.at - src.begin - hit.candidate);
            if (!writer.admit(static_cast<uint64_t>(literals), extra)) break;
            // The next search starts before this sequence is written: the way to the next match is the longer one.
            const uint8_t* const next = compared + extra;
            const bool searched = next < search.limit;
            const int64_t prepared = searched ? search.prepare(next) : 0;
            writer.put(anchor, static_cast<uint64_t>(literals), offset, static_cast<uint64_t>(extra));
            anchor = next;
            if (!searched) break;
            matchLimit = src.end() - nextMatchMargin;
            hit = search.next(next, prepared, literals);
        }
    }
    const uint64_t last = writer.finish(anchor, static_cast<uint64_t>(src.end() - anchor));
    return {anchor - src.begin + static_cast<int64_t>(last), writer.op};
}

template <class Table>
[[gnu::always_inline]] inline Prober<Table> prober(const Source src, uint8_t* pHashTable) noexcept {
    return {Table{pHashTable}, src.begin, src.end() - kSearchMargin};
}

// The instances for the two tables are functions of their own: in one function they would compete for registers.
template <class Table, class Writer>
[[gnu::noinline]] Block encodeStepped(const Source src, uint8_t* pHashTable, Writer writer) noexcept {
    return encode(src, SteppedSearch<Table>{prober<Table>(src, pHashTable)}, writer, kNextMatchMargin);
}

template <class Table>
[[gnu::noinline]] Block encodeAccelerated(const Source src, uint8_t* pHashTable, UncheckedWriter writer,
                                          int64_t acceleration) noexcept {
    Table::clear(pHashTable);
    // With narrow positions every match may reach as far as the first.
    constexpr int64_t margin = Table::kOffsetsAlwaysFit ? kFirstMatchMargin : kNextMatchMargin;
    return encode(src, AcceleratedSearch<Table>{prober<Table>(src, pHashTable), acceleration}, writer, margin);
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
    const UncheckedWriter writer{pDst};
    const Block block = srcLen < kShortSource ? encodeStepped<NarrowTable>(src, pHashTable, writer)
                                              : encodeStepped<WideTable>(src, pHashTable, writer);
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
    const BoundedWriter writer{pDst, pDst + *pDstLen};
    const Block block = src.length < kShortSource ? encodeStepped<NarrowTable>(src, pHashTable, writer)
                                                  : encodeStepped<WideTable>(src, pHashTable, writer);
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
