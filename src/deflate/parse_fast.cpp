// The fast parser: at every position the longest match on a chain, or a literal.

#include <cstdint>

#include "deflate/chain_search.h"
#include "deflate/parser.h"

namespace ozrdc::deflate {

const uint8_t* parseFast(const Call& call, Records& records) noexcept {
    const Limits limits = chainLimits(call);
    const uint8_t* p =
        parseInParts(call.stream, limits.searchEnd, [&]<Place place>(const uint8_t* at, const uint8_t* end) noexcept {
            while (at < end && records.room() > 0) {
                const uint32_t index = call.stream.indexOf(at);
                const uint32_t candidate = call.tables.insert(call.tables.hash(at), index);
                const Match match = searchChain<place, Budget::CutByGoodMatch>(call, limits, at, index, candidate,
                                                                               call.effort.maxChain, kFastLeast - 1);
                if (match.distance == 0) {
                    records.literal(*at++);
                    continue;
                }
                records.match(match.length, match.distance);
                // Long matches are mostly followed by others like them, and these are found by their starts.
                if (match.length <= call.effort.maxLazy) {
                    const int64_t covered = std::min(match.length, limits.hashEnd - at);
                    call.tables.insertAll(at + 1, index + 1, covered - 1);
                }
                at += match.length;
            }
            return at;
        });
    return parseLastBytes(call, limits, p, records);
}

}  // namespace ozrdc::deflate
