// See the header.
#include "inflate/code_verdict.h"

#include <algorithm>

namespace ozrdc::test::inflate {
namespace {

using deflate::BlockCodes;
using deflate::Completeness;
using deflate::Lengths;

// Complete, or one code of one bit.
bool acceptable(const Lengths& lengths) {
    const auto used = std::count_if(lengths.begin(), lengths.end(), [](uint16_t n) { return n != 0; });
    return deflate::completeness(lengths) == Completeness::Complete || (used == 1 && deflate::longest(lengths) == 1);
}

}  // namespace

unsigned expectedKind(const BlockCodes& codes) {
    return deflate::longest(codes.literals) <= 11 && deflate::longest(codes.distances) <= 10 ? 2 : 1;
}

Verdict verdict(const BlockCodes& codes) {
    const bool isFixedDistances = codes.distances == Lengths(30, 5);
    const bool noDistances = deflate::completeness(codes.distances) == Completeness::Empty;
    if (!acceptable(codes.literals)) return {StatusBadCodeTable, 0};
    if (!noDistances && !isFixedDistances && !acceptable(codes.distances)) return {StatusBadCodeTable, 0};
    if (expectedKind(codes) == 1) return {StatusOk, 1};
    const bool endOfBlock = codes.literals.size() > 256 && codes.literals[256] > 0;
    return {endOfBlock ? StatusOk : StatusBadCodeTable, 2};
}

}  // namespace ozrdc::test::inflate
