// The numbers of the zero-run code, which both directions share.
//
// A run of n zeros is written in two digits, RUNA and RUNB, which stand for 1 and 2, least significant first: a number
// in base 2 without a zero. Its digits are the bits of n + 1 below the topmost one: RUNA for 0, RUNB for 1.
#pragma once

#include <cstdint>

namespace ozrdc::bz2 {

constexpr uint16_t kRunA = 0;
constexpr uint16_t kRunB = 1;
// A literal v, which is never 0, is the symbol v + 1.
constexpr uint16_t kFirstLiteral = 2;
constexpr unsigned kZeroRunSymbols = 257;

// The longest run that k digits express.
constexpr uint64_t longestRun(unsigned digits) noexcept { return (uint64_t{2} << digits) - 2; }
static_assert(longestRun(0) == 0 && longestRun(1) == 2 && longestRun(3) == 14);

}  // namespace ozrdc::bz2
