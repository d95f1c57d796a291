// The single-probe parser: at every position one candidate, the latest with the same rolling hash.

#include <algorithm>
#include <cstdint>

#include "deflate/parser.h"

namespace ozrdc::deflate {
namespace {

// The margin at the end of a source that the stream goes on behind.
constexpr int64_t kSingleProbeMargin = 260;

}  // namespace

const uint8_t* parseSingleProbe(const Call& call, Records& records) noexcept {
    const Limits limits(call.stream, call.final, kSingleProbeMargin, kRollingBytes);
    const uint8_t* p = call.stream.src;
    if (p < limits.searchEnd) {
        RollingHash hash(p, call.tables.mask);
        p = parseInParts(call.stream, limits.searchEnd,
                         [&]<Place place>(const uint8_t* at, const uint8_t* end) noexcept {
                             while (at < end && records.room() > 0) {
                                 const uint32_t index = call.stream.indexOf(at);
                                 const uint32_t distance = index - call.tables.exchange(hash.at(at), index);
                                 int64_t length = 0;
                                 if (distance - 1 < call.stream.reach(at)) {
                                     length = call.stream.matchLength<place>(at, distance, limits.longestAt(at));
                                 }
                                 if (length < int64_t{kMinMatch}) {
                                     records.literal(*at++);
                                     continue;
                                 }
                                 records.match(length, distance);
                                 const int64_t covered = std::min(length, limits.hashEnd - at);
                                 for (int64_t i = 1; i < covered; ++i) {
                                     call.tables.exchange(hash.at(at + i), index + static_cast<uint32_t>(i));
                                 }
                                 at += length;
                             }
                             return at;
                         });
    }
    return parseLastBytes(call, limits, p, records);
}

}  // namespace ozrdc::deflate
