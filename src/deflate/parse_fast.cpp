// The fast parser: at every position the longest match on a chain, or a literal.

#include <cstdint>

#include "deflate/chain_search.h"
#include "deflate/parser.h"

namespace ozrdc::deflate {

const uint8_t* parseFast(const Call& sharedCall, Records& sharedRecords) noexcept {
    const Call call = sharedCall;
    Records records = sharedRecords;
    const Limits limits = chainLimits(call);
    const uint8_t* p =
        parseInParts(call.stream, limits.searchEnd, [&]<Place place>(const uint8_t* at, const uint8_t* end) noexcept {
            if (at >= end) return at;
            uint32_t slot = call.tables.hash(at);  // of `at`
            while (at < end && records.room() > 0) {
                const uint32_t index = call.stream.indexOf(at);
                const uint32_t candidate = call.tables.insert(slot, index);
                slot = call.tables.hash(limits.hashable(at + 1));
                call.tables.prefetch(slot);
                const Match match = searchChain<place, Budget::CutByGoodMatch>(call, limits, at, index, candidate,
                                                                               call.effort.maxChain, kFastLeast - 1);
                if (match.distance == 0) {
                    records.literal(*at++);
                    continue;
                }
                records.match(match.length, match.distance);
                slot = call.tables.hash(limits.hashable(at + match.length));
                call.tables.prefetch(slot);
                // Long matches are mostly followed by others like them, and these are found by their starts.
                if (match.length <= call.effort.maxLazy) {
                    const int64_t covered = std::min(match.length, limits.hashEnd - at);
                    call.tables.insertAll(at + 1, index + 1, covered - 1);
                }
                at += match.length;
            }
            return at;
        });
    p = parseLastBytes(call, limits, p, records);
    sharedRecords = records;
    return p;
}

}  // namespace ozrdc::deflate
