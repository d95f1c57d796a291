// The LZO1X encoder.
//
// A stream is a chain of: search for the next match, extend it forwards, write the literals in front of it and the
// match itself. One statement of that chain serves both compressors; the search is its parameter. The standard one
// treats the source as a whole; the fast one treats it in chunks, each with a fresh dictionary that fits the
// processor's first cache. Literals behind the last match of a chunk wait for the first match of the next.

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/match_length.h"
#include "core/opaque.h"
#include "lzo/buffers.h"
#include "lzo/container.h"
#include "lzo/format.h"
#include "lzo/instruction_writer.h"
#include "lzo/match_search.h"
#include "lzo/state.h"

namespace ozrdc::lzo {
namespace {

// Whether a stretch of the source has a position that is searched.
template <class Search>
constexpr bool isSearched(const Source stretch) noexcept {
    return stretch.length() > kFirstSearched + Search::kMargin;
}

// Bytes of a match that are known to be equal when its end is looked for further on: the four that were found, and the
// eight that are compared at once behind them.
constexpr int64_t kKnownEqual = kMinMatch + 8;
static_assert(kKnownEqual <= ThoroughSearch<uint32_t>::kMargin && kKnownEqual <= SteppedSearch::kMargin);

// The end of a match of at least that length. Out of line: the few registers are for the shorter ones.
[[gnu::noinline]] int64_t endOfLongMatch(const uint8_t* base, int64_t position, int64_t candidate,
                                         int64_t end) noexcept {
    position += kKnownEqual;
    return position + getboundlong(base + position, base, candidate + kKnownEqual, end - position);
}

// The end of a match of any length, before which the places are prefetched that a search behind it will look at.
template <class Search>
[[gnu::always_inline]] inline int64_t endOfMatch(const Source stretch, const Search& search,
                                                 const Found match) noexcept {
    const uint8_t* const base = stretch.begin;
    const int64_t unknown = match.position + kMinMatch;
#pragma GCC unroll 4
    for (int64_t i = 0; i < Search::kPrefetched; ++i) search.prefetch(base, unknown + i);
    int64_t end;
    if (const uint64_t difference = load64(base + unknown) ^ load64(base + match.candidate + kMinMatch)) [[likely]] {
        end = unknown + equalBytes(difference);
    } else {
        end = endOfLongMatch(base, match.position, match.candidate, stretch.length());
    }
    return opaque(end);
}

// Writes the matches of a stretch of the source, and the literals in front of them, from `literals` on, which moves on
// to those behind the last match. False if the destination has no room for an instruction.
//
// What bounds the speed is the way from one match to the next: load four bytes, hash, look up, load the candidate,
// compare, and add the length. Everything else is kept off it. While a match is being extended, the candidates of the
// positions where it is likely to end are prefetched; and where it ends is known before it is written.
template <class Search>
[[gnu::always_inline]] inline bool encodeMatches(const Source stretch, const Search& search, InstructionWriter& writer,
                                                 const uint8_t*& literals) noexcept {
    const uint8_t* const base = stretch.begin;
    const int64_t searchEnd = stretch.length() - Search::kMargin;

    Found match = search.findFirst(base, searchEnd);
    if (match.position >= searchEnd) return true;
    int64_t matchEnd = endOfMatch(stretch, search, match);
    if (!writer.putCarefully(literals, static_cast<uint64_t>(base + match.position - literals),
                             static_cast<uint64_t>(match.position - match.candidate),
                             static_cast<uint64_t>(matchEnd - match.position))) {
        return false;
    }
    bool whole = true;
    while (matchEnd < searchEnd) {
        // Right behind a match there mostly is another.
        match.position = matchEnd;
        if (!search.template find<Expectation::Match>(base, matchEnd, match.candidate)) {
            match = search.findNext(base, matchEnd, searchEnd);
            if (match.position >= searchEnd) break;
        }
        const int64_t next = endOfMatch(stretch, search, match);
        // (Were the literals' address computed from the same register as that of the next four bytes, the compiler
        // would keep it in memory.)
        whole = writer.put(base + opaque(matchEnd), static_cast<uint64_t>(match.position - matchEnd),
                           static_cast<uint64_t>(match.position - match.candidate),
                           static_cast<uint64_t>(next - match.position));
        if (!whole) break;
        matchEnd = next;
    }
    literals = base + opaque(matchEnd);
    return whole;
}

// The matches of the standard compressor: the source as a whole.
template <class Entry>
[[gnu::noinline]] void ownEncodeLZO1X_opt(const Source src, InstructionWriter& writer, uint8_t* scratch,
                                          const uint8_t*& literals) noexcept {
    const ThoroughSearch<Entry> search{{scratch}};
    search.dictionary.clear();
    // A copy, so that it can stay in registers.
    InstructionWriter local = writer;
    encodeMatches(src, search, local, literals);
    writer = local;
}

// The standard compressor: everything but the end marker. What does not fit is cut off.
Status ownEncodeLZO1X(const Source src, InstructionWriter& writer, uint8_t* scratch) noexcept {
    using Short = ThoroughSearch<uint16_t>;
    const uint8_t* literals = src.begin;
    if (isSearched<Short>(src)) {
        if (src.length() <= Short::kShortSource) {
            ownEncodeLZO1X_opt<uint16_t>(src, writer, scratch, literals);
        } else {
            ownEncodeLZO1X_opt<uint32_t>(src, writer, scratch, literals);
        }
    }
    const auto rest = static_cast<uint64_t>(src.end - literals);
    const uint64_t fitting = writer.fitting(literals, rest);
    writer.putLastRun(literals, fitting);
    return fitting == rest ? StatusOk : StatusDestinationFull;
}

// The matches of the fast compressor: chunk by chunk. False if the destination has no room.
[[gnu::noinline]] bool ownEncodeLZO1X1_opt(const Source src, InstructionWriter& writer, uint8_t* scratch,
                                           const uint8_t*& literals) noexcept {
    int64_t misses = 0;
    const SteppedSearch search{{scratch}, &misses};
    InstructionWriter local = writer;
    bool whole = true;
    for (const uint8_t* p = src.begin; whole && p < src.end;) {
        const Source chunk{p, p + std::min(SteppedSearch::kChunk, src.end - p)};
        whole = static_cast<uint64_t>(chunk.length() + chunk.length() / 128 + 4) <= local.room();
        if (whole && isSearched<SteppedSearch>(chunk)) {
            search.dictionary.clear();
            whole = encodeMatches(chunk, search, local, literals);
        }
        p = chunk.end;
    }
    writer = local;
    return whole;
}

// --- What the modes write ---

Status writeStandard(const Source src, InstructionWriter& writer, uint8_t* scratch) noexcept {
    if (const Status s = ownEncodeLZO1X(src, writer, scratch)) return s;
    return writer.putEndMarker() ? StatusOk : StatusDestinationFull;
}

Status writeFast(const Source src, InstructionWriter& writer, uint8_t* scratch) noexcept {
    const uint8_t* literals = src.begin;
    if (!ownEncodeLZO1X1_opt(src, writer, scratch, literals)) return StatusDestinationFull;
    const auto rest = static_cast<uint64_t>(src.end - literals);
    if (writer.fitting(literals, rest) < rest) return StatusDestinationFull;
    writer.putLastRun(literals, rest);
    return writer.putEndMarker() ? StatusOk : StatusDestinationFull;
}

// A container; its parts are encoded one after the other with the one dictionary that the state has.
Status writeContainer(const Source src, const Destination dst, const StateView state, uint8_t*& end) noexcept {
    const uint64_t parts = state.parts();
    const uint64_t header = containerHeaderSize(parts);
    end = dst.begin;
    if (static_cast<uint64_t>(dst.end - dst.begin) < header) return StatusDestinationFull;
    const Slices slices{static_cast<uint64_t>(src.length()), parts};
    dst.begin[0] = kContainerMark;
    dst.begin[1] = static_cast<uint8_t>(parts);
    dst.begin[2] = static_cast<uint8_t>(parts ^ kContainerMark);
    store32(dst.begin + kTotalOffset, static_cast<uint32_t>(slices.total));
    end += header;
    for (uint64_t part = 0; part < parts; ++part) {
        const uint8_t* const slice = src.begin + slices.begin(part);
        const uint8_t* const sliceEnd = slice + slices.size(part);
        InstructionWriter writer(end, dst.end, sliceEnd);
        const Status status = writeStandard({slice, sliceEnd}, writer, state.scratch());
        const auto length = static_cast<uint32_t>(writer.position() - end);
        end = writer.position();
        if (status != StatusOk) return status;
        if (part + 1 < parts) store32(dst.begin + kPartLengthsOffset + kPartLengthSize * part, length);
    }
    return StatusOk;
}

// The mode that each method stands for. The container writer is in none of them.
constexpr std::array<uint32_t, 3> kModes{kStandard, kStandard, kFastChunked};

}  // namespace
}  // namespace ozrdc::lzo

using namespace ozrdc;
using namespace ozrdc::lzo;

Status y8_ozrsEncodeLZOGetSize(uint32_t method, uint32_t /*reserved*/, uint32_t* pStateSize) noexcept {
    if (anyNull(pStateSize)) return StatusNullPointer;
    const bool known = method < kModes.size();
    *pStateSize = known ? kStateSize : 0;
    return known ? StatusOk : StatusBadArgument;
}

Status y8_ozrsEncodeLZOInit_8u(uint32_t method, uint32_t /*reserved*/, LZOState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    if (method >= kModes.size()) return StatusBadArgument;
    StateView(pState).setMode(kModes[method]);
    return StatusOk;
}

Status y8_ozrsEncodeLZO_8u(const uint8_t* pSrc, uint32_t srcLen, uint8_t* pDst, uint32_t* pDstLen,
                           LZOState* pState) noexcept {
    if (anyNull(pState, pSrc, pDst, pDstLen)) return StatusNullPointer;
    if (srcLen == 0) {
        *pDstLen = 0;
        return StatusOk;
    }
    const StateView state(pState);
    const Source src{pSrc, pSrc + srcLen};
    const Destination dst{pDst, pDst + *pDstLen};
    InstructionWriter writer(dst.begin, dst.end, src.end);
    uint8_t* end = nullptr;
    Status status = StatusOk;
    switch (state.mode()) {
        case kStandard:
            status = writeStandard(src, writer, state.scratch());
            end = writer.position();
            break;
        case kFastChunked:
            status = writeFast(src, writer, state.scratch());
            end = writer.position();
            break;
        case kContainerWriter:
            if (state.parts() < 1 || state.parts() > kMaxParts) return StatusBadArgument;
            status = writeContainer(src, dst, state, end);
            break;
        default:
            return StatusBadArgument;
    }
    *pDstLen = static_cast<uint32_t>(end - pDst);
    return status;
}
