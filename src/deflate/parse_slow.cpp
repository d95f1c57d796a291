// The slow parser: a match is taken only if the next position has no longer one; otherwise a literal is.
//
// Nothing is left over between calls: a match that the next position was not asked about, because the records or the
// source end there, is taken as it is.

#include <cstdint>

#include "deflate/chain_search.h"
#include "deflate/parser.h"

namespace ozrdc::deflate {

const uint8_t* parseSlow(const Call& sharedCall, Records& sharedRecords) noexcept {
    const Call call = sharedCall;
    Records records = sharedRecords;
    const Limits limits = chainLimits(call);
    const uint8_t* p =
        parseInParts(call.stream, limits.searchEnd, [&]<Place place>(const uint8_t* at, const uint8_t* end) noexcept {
            if (at >= end) return at;
            uint32_t slot = call.tables.hash(at);  // of the next position to be entered
            // Enters the position of `slot` and searches it. The slot of the position behind it is fetched meanwhile.
            const auto search = [&](const uint8_t* where, int32_t budget, int64_t toBeat) noexcept {
                const uint32_t index = call.stream.indexOf(where);
                const uint32_t candidate = call.tables.insert(slot, index);
                slot = call.tables.hash(limits.hashable(where + 1));
                call.tables.prefetch(slot);
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
                slot = call.tables.hash(limits.hashable(at));
                call.tables.prefetch(slot);
                call.tables.insertAll(entered, call.stream.indexOf(entered), std::min(at, limits.hashEnd) - entered);
            }
            return at;
        });
    p = parseLastBytes(call, limits, p, records);
    sharedRecords = records;
    return p;
}

}  // namespace ozrdc::deflate
