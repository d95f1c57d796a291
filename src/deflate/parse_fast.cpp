// The fast parser: at every position the longest match on a chain, or a literal.

#include <cstdint>

#include "deflate/chain_search.h"
#include "deflate/parser.h"
#include "deflate/single_candidate.h"

namespace ozrdc::deflate {
namespace {

// How many candidates of a chain are looked at.
enum class Candidates { One, Several };

// The call's parts are passed by value: as copies that nothing else can reach, they stay in registers.
template <Candidates candidates, Part part>
[[gnu::noinline]] const uint8_t* parse(const Stream stream, const Limits limits, const ChainTables tables,
                                       const Effort effort, Records& shared, const uint8_t* p,
                                       const uint8_t* end) noexcept {
    if (p >= end) return p;
    const View<part> view{stream, limits};
    const Foresight noForesight(stream);
    Records records = shared;
    uint32_t slot = tables.hash(p);  // of the next position
    // Fetches what its search begins with: the slot, or, if that is all there is to look at, the candidate's bytes.
    const auto fetch = [&](uint32_t index) noexcept {
        if (candidates == Candidates::One) {
            tables.prefetchCandidate(slot, p, index);
        } else {
            tables.prefetch(slot);
        }
    };
    while (p < end && records.room() > 0) {
        const uint32_t index = stream.indexOf(p);
        const uint32_t candidate = tables.insert(slot, index);
        slot = tables.hash(view.hashable(p + 1));
        fetch(index);
        const Match match = candidates == Candidates::One
                                ? matchAt(view, p, index - candidate)
                                : searchChain<Rules::Fast>(view, tables, effort, noForesight, p, index, candidate,
                                                           effort.maxChain, kNoMatch<Rules::Fast>);
        if (match.distance == 0) {
            records.literal(*p++);
            continue;
        }
        records.match(match);
        const uint8_t* const entered = p + 1;
        p += match.length;
        slot = tables.hash(view.hashable(p));
        fetch(index);
        // Long matches are mostly followed by others like them, and these are found by their starts.
        if (match.length <= effort.maxLazy) tables.insertAll(entered, index + 1, view.enterable(p) - entered);
    }
    shared = records;
    return p;
}

template <Candidates candidates>
const uint8_t* parseAll(const Call& call, const Limits& limits, Records& records) noexcept {
    return parseInParts(call.stream, limits, [&]<Part part>(const uint8_t* begin, const uint8_t* end) noexcept {
        return parse<candidates, part>(call.stream, limits, call.tables, call.effort, records, begin, end);
    });
}

}  // namespace

const uint8_t* parseFast(const Call& call, Records& records) noexcept {
    const Limits limits = chainLimits(call);
    const uint8_t* const p = call.effort.maxChain == 1 ? parseAll<Candidates::One>(call, limits, records)
                                                       : parseAll<Candidates::Several>(call, limits, records);
    return parseLastBytes(call, limits, p, records);
}

}  // namespace ozrdc::deflate
