// The match of a position with one candidate, for the parsers that look at no other.
#pragma once

#include <cstdint>

#include "core/match_length.h"
#include "core/unaligned.h"
#include "deflate/parser.h"

namespace ozrdc::deflate {

// The match at `p` with its one candidate, which may be anything.
//
// Half of the candidates are out of reach or differ in their first bytes, and neither can be predicted: there is one
// branch for both. It looks at bytes from a place that is safe to read whatever the candidate is.
template <Part part>
[[gnu::always_inline]] inline Match matchAt(const View<part> view, const uint8_t* p, uint32_t distance) noexcept {
    constexpr Match kNone{0, 0};
    const bool isAdmitted = distance - 1 < view.reach(p);
    if (part == Part::Edge) {
        if (!isAdmitted) return kNone;
        const int64_t length = view.stream.template matchLength<View<part>::kPlace>(p, distance, view.longest(p));
        return length >= int64_t{kMinMatch} ? Match{length, distance} : kNone;
    }
    constexpr int64_t kWord = sizeof(uint64_t);
    static_assert(kWord <= kInSight);
    const uint8_t* const candidate = p - (isAdmitted ? distance : 0);
    const uint64_t difference = load64(candidate) ^ load64(p);
    const uint32_t differenceOfThree = static_cast<uint32_t>(difference) << 8;
    if ((differenceOfThree | (isAdmitted ? 0U : 1U)) != 0) return kNone;
    if (difference != 0) return {equalBytes(difference), distance};
    return {kWord + getboundlong(p + kWord, candidate + kWord, 0, kMaxMatch - kWord), distance};
}

}  // namespace ozrdc::deflate
