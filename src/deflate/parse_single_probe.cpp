// The single-probe parser: at every position one candidate, the latest with the same rolling hash.

#include <algorithm>
#include <cstdint>

#include "deflate/parser.h"
#include "deflate/single_candidate.h"

namespace ozrdc::deflate {
namespace {

// The margin at the end of a source that the stream goes on behind.
constexpr int64_t kSingleProbeMargin = 260;

template <Part part>
[[gnu::noinline]] const uint8_t* parse(const Stream stream, const Limits limits, const HeadTable table,
                                       RollingHash& sharedHash, Records& shared, const uint8_t* p,
                                       const uint8_t* end) noexcept {
    const View<part> view{stream, limits};
    RollingHash hash = sharedHash;
    Records records = shared;
    while (p < end && records.room() > 0) {
        uint32_t index = stream.indexOf(p);
        const Match match = matchAt(view, p, index - table.exchange(hash.at(p), index));
        if (match.distance == 0) {
            records.literal(*p++);
            continue;
        }
        records.match(match);
        const uint8_t* const enterable = view.enterable(p + match.length);
        for (const uint8_t* covered = p + 1; covered < enterable; ++covered) {
            table.exchange(hash.at(covered), ++index);
        }
        p += match.length;
    }
    shared = records;
    sharedHash = hash;
    return p;
}

}  // namespace

const uint8_t* parseSingleProbe(const Call& call, Records& records) noexcept {
    const Limits limits(call.stream, call.final, kSingleProbeMargin, kRollingBytes);
    const uint8_t* p = call.stream.src;
    if (p < limits.searchEnd) {
        RollingHash hash(p, call.tables.mask);
        p = parseInParts(call.stream, limits, [&]<Part part>(const uint8_t* begin, const uint8_t* end) noexcept {
            return parse<part>(call.stream, limits, call.tables, hash, records, begin, end);
        });
    }
    return parseLastBytes(call, limits, p, records);
}

}  // namespace ozrdc::deflate
