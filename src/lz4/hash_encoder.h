// The parse of the LZ4 hash-table encoders.
//
// A block is a chain of: search for the next match, extend it forwards, write the literals before it and the match
// itself. One statement of that chain serves all encoders: the search (its table, its kind of history and its order of
// probes) and the writer (with or without bounds) are its parameters. Matches are never extended backwards. The first
// match of a block may reach closer to the end of the source than the later ones; both limits leave at least five
// literals at the end, and none of the margins lets an 8- or 16-byte unit pass the end.
#pragma once

#include <cstdint>

#include "lz4/format.h"
#include "lz4/hash_search.h"
#include "lz4/history.h"
#include "lz4/sequence_writer.h"

namespace ozrdc::lz4 {

// How many bytes at the end of the source a match leaves alone: the first of a block, and the later ones.
constexpr int64_t kFirstMatchMargin = 5;
constexpr int64_t kNextMatchMargin = 12;
static_assert(kNextMatchMargin >= kFirstMatchMargin);
static_assert(kSearchMargin - kNextMatchMargin - kMinMatch >= kSourceBehindGroup);

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
        const auto extend = search.history.extender();
        Hit hit = search.first(src.begin);
        while (hit.at != nullptr) {
            const int64_t literals = hit.at - anchor;
            int64_t extra = extend(hit, matchLimit);
            const auto offset = static_cast<uint64_t>(search.history.position(hit.at) - hit.candidate);
            const Admission admission = writer.admit(static_cast<uint64_t>(literals), extra);
            if (admission == Admission::Refused) break;
            // The next search starts before this sequence is written: the way to the next match is the longer one.
            const uint8_t* const next = hit.at + kMinMatch + extra;
            const bool searched = next < search.limit;
            const int64_t prepared = searched ? search.prepare(next) : 0;
            writer.put(admission, anchor, static_cast<uint64_t>(literals), offset, static_cast<uint64_t>(extra));
            anchor = next;
            if (!searched) break;
            matchLimit = src.end() - nextMatchMargin;
            hit = search.next(next, prepared, literals);
        }
    }
    const uint64_t last = writer.finish(anchor, static_cast<uint64_t>(src.end() - anchor));
    return {anchor - src.begin + static_cast<int64_t>(last), writer.op};
}

template <class Table, class History>
[[gnu::always_inline]] inline Prober<Table, History> prober(const Source src, const History& history,
                                                            uint8_t* pHashTable) noexcept {
    return {Table{pHashTable}, history, src.end() - kSearchMargin};
}

// Each instance is a function of its own: in one function they would compete for registers.
template <class Table, class History, class Writer>
[[gnu::noinline]] Block encodeStepped(const Source src, const History history, uint8_t* pHashTable,
                                      Writer writer) noexcept {
    return encode(src, SteppedSearch<Table, History>{prober<Table>(src, history, pHashTable)}, writer,
                  kNextMatchMargin);
}

// Encodes into a destination of `capacity` bytes, by `encodeWith(writer)`. Where the worst case fits, nothing is ever
// refused or made shorter, and the writer that does not look is the faster one.
template <class EncodeWith>
[[gnu::always_inline]] inline Block encodeInto(uint8_t* pDst, int32_t capacity, int64_t srcLen,
                                               EncodeWith encodeWith) noexcept {
    if (capacity >= worstCase(srcLen)) return encodeWith(UncheckedWriter{pDst});
    return encodeWith(BoundedWriter{pDst, pDst + capacity});
}

}  // namespace ozrdc::lz4
