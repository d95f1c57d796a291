// The fast parser: at every position the longest match on a chain, or a literal.

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
    uint32_t slot = tables.hash(p);
    while (p < end && records.room() > 0) {
        const uint32_t index = stream.indexOf(p);
        const uint32_t candidate = tables.insert(slot, index);
        slot = tables.hash(view.hashable(p + 1));
        tables.prefetch(slot);
        const Match match = searchChain<Rules::Fast>(view, tables, effort, foresight, p, index, candidate,
                                                     effort.maxChain, kNoMatch<Rules::Fast>);
        if (match.distance == 0) {
            records.literal(*p++);
            continue;
        }
        records.match(match.length, match.distance);
        const uint8_t* const entered = p + 1;
        p += match.length;
        slot = tables.hash(view.hashable(p));
        tables.prefetch(slot);
        // Long matches are mostly followed by others like them, and these are found by their starts.
        if (match.length <= effort.maxLazy) tables.insertAll(entered, index + 1, view.enterable(p) - entered);
    }
    shared = records;
    return p;
}

}  // namespace

const uint8_t* parseFast(const Call& call, Records& records) noexcept {
    const Limits limits = chainLimits(call);
    const Foresight foresight(call.stream);
    const uint8_t* p =
        parseInParts(call.stream, limits, [&]<Part part>(const uint8_t* begin, const uint8_t* end) noexcept {
            return parse<part>(call.stream, limits, call.tables, call.effort, foresight, records, begin, end);
        });
    return parseLastBytes(call, limits, p, records);
}

}  // namespace ozrdc::deflate
