// The slow parser: a match is taken only if the next position has no longer one; otherwise a literal is.
//
// Nothing is left over between calls: a match that the next position was not asked about, because the records or the
// source end there, is taken as it is.

#include <cstdint>

#include "deflate/chain_search.h"
#include "deflate/parser.h"

namespace ozrdc::deflate {
namespace {

// The call's parts are passed by value: as copies that nothing else can reach, they stay in registers.
template <Part part>
[[gnu::noinline]] const uint8_t* parse(const Stream stream, const Limits limits, const ChainTables tables,
                                       const Effort effort, const Foresight foresight, Records& shared,
                                       const uint8_t* p, const uint8_t* end) noexcept {
    if (p >= end) return p;
    const View<part> view{stream, limits};
    Records records = shared;
    uint32_t slot = tables.hash(p);  // of the next position to be searched
    // Enters that position and searches it. The slot of the position behind it is fetched meanwhile.
    const auto search = [&](const uint8_t* at, int32_t budget, int64_t toBeat) noexcept {
        const uint32_t index = stream.indexOf(at);
        const uint32_t candidate = tables.insert(slot, index);
        slot = tables.hash(view.hashable(at + 1));
        tables.prefetch(slot);
        return searchChain<Rules::Slow>(view, tables, effort, foresight, at, index, candidate, budget, toBeat);
    };
    while (p < end && records.room() > 0) {
        Match match = search(p, effort.maxChain, kNoMatch<Rules::Slow>);
        if (match.distance == 0) {
            records.literal(*p++);
            continue;
        }
        const uint8_t* entered = p + 1;  // all positions before this one are
        while (match.length < effort.maxLazy && view.isSearched(p + 1) && records.room() > 1) {
            const int32_t budget = match.length >= effort.goodLength ? effort.maxChain / 4 : effort.maxChain;
            const Match next = search(p + 1, budget, match.length);
            entered = p + 2;
            if (next.distance == 0) break;
            records.literal(*p++);
            match = next;
        }
        records.match(match);
        p += match.length;
        slot = tables.hash(view.hashable(p));
        tables.prefetch(slot);
        tables.insertAll(entered, stream.indexOf(entered), view.enterable(p) - entered);
    }
    shared = records;
    return p;
}

}  // namespace

const uint8_t* parseSlow(const Call& call, Records& records) noexcept {
    const Limits limits = chainLimits(call);
    const Foresight foresight(call.stream, call.tables, records.room());
    const uint8_t* p =
        parseInParts(call.stream, limits, [&]<Part part>(const uint8_t* begin, const uint8_t* end) noexcept {
            return parse<part>(call.stream, limits, call.tables, call.effort, foresight, records, begin, end);
        });
    return parseLastBytes(call, limits, p, records);
}

}  // namespace ozrdc::deflate
