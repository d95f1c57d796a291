// The slow parser: a match is taken only if the next position has no longer one; otherwise a literal is.
//
// Nothing is left over between calls: a match that the next position was not asked about, because the records or the
// source end there, is taken as it is.

#include <cstdint>

#include "deflate/chain_search.h"
#include "deflate/parser.h"

namespace ozrdc::deflate {

const uint8_t* parseSlow(const Call& call, Records& records) noexcept {
    const Limits limits = chainLimits(call);
    const uint8_t* p =
        parseInParts(call.stream, limits.searchEnd, [&]<Place place>(const uint8_t* at, const uint8_t* end) noexcept {
            // Enters a position and searches it.
            const auto search = [&](const uint8_t* where, int32_t budget, int64_t toBeat) noexcept {
                const uint32_t index = call.stream.indexOf(where);
                const uint32_t candidate = call.tables.insert(call.tables.hash(where), index);
                return searchChain<place, Budget::Fixed>(call, limits, where, index, candidate, budget, toBeat);
            };
            while (at < end && records.room() > 0) {
                Match match = search(at, call.effort.maxChain, kSlowLeast - 1);
                if (match.distance == 0) {
                    records.literal(*at++);
                    continue;
                }
                const uint8_t* entered = at + 1;  // all positions before this one are
                while (match.length < call.effort.maxLazy && at + 1 < limits.searchEnd && records.room() > 1) {
                    const int32_t maxChain = call.effort.maxChain;
                    const Match next =
                        search(at + 1, match.length >= call.effort.goodLength ? maxChain / 4 : maxChain, match.length);
                    entered = at + 2;
                    if (next.distance == 0) break;
                    records.literal(*at++);
                    match = next;
                }
                records.match(match.length, match.distance);
                at += match.length;
                call.tables.insertAll(entered, call.stream.indexOf(entered), std::min(at, limits.hashEnd) - entered);
            }
            return at;
        });
    return parseLastBytes(call, limits, p, records);
}

}  // namespace ozrdc::deflate
