// What the ZFP format lays down for blocks of 4 x 4 x 4 single-precision floats, and the order of their coefficients.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace ozrdc::zfp {

constexpr unsigned kSide = 4;
constexpr unsigned kValues = kSide * kSide * kSide;
constexpr unsigned kRows = kSide * kSide;
constexpr unsigned kDimensions = 3;

// A block begins with a bit that tells whether anything follows, and with its exponent.
constexpr unsigned kExponentBits = 8;
constexpr unsigned kHeaderBits = 1 + kExponentBits;
constexpr int32_t kExponentBias = 127;
constexpr int32_t kNoExponent = -kExponentBias;  // of a block of zeros

// Coefficients are integers of this many bit planes; a value of 1 is 2 to the kFractionBits.
constexpr unsigned kPlanes = 32;
constexpr int32_t kFractionBits = 30;

// The most bits that a block takes: every plane has one bit for each coefficient; every coefficient but the last costs
// one more when it is found significant.
constexpr uint64_t kMostBlockBits = kHeaderBits + kPlanes * kValues + (kValues - 1);

// The most bits of one plane: the first 63 coefficients are found significant, with one bit more for each, and one for
// the test that finds no other.
constexpr uint64_t kMostPlaneBits = 2 * (kValues - 1) + 1;

// How many planes an accuracy asks for, on top of the distance between the block's exponent and that of the tolerance:
// the transform's gain, in the worst case.
constexpr int32_t kGuardPlanes = 2 * (kDimensions + 1);

// A coefficient's digits are those of base -2, so that small magnitudes of both signs have leading zeros.
constexpr uint32_t kNegabinaryMask = 0xAAAAAAAA;

// How many planes of a block with exponent `e` are coded. Any parameters are allowed: the sum does not fit 32 bits.
constexpr unsigned codedPlanes(uint32_t maxPrec, int32_t minExp, int32_t e) noexcept {
    const int64_t wanted = std::max<int64_t>(0, int64_t{e} - minExp + kGuardPlanes);
    return static_cast<unsigned>(std::min({int64_t{maxPrec}, wanted, int64_t{kPlanes}}));
}

using Permutation = std::array<uint8_t, kValues>;

// The order in which coefficients are coded, as indices x + 4y + 16z: by increasing total sequency x + y + z.
constexpr Permutation permTable = {0,  1,  4,  16, 20, 17, 5,  2,  8,  32, 21, 6,  18, 24, 9,  33,
                                   36, 3,  12, 48, 22, 25, 37, 40, 34, 10, 7,  19, 28, 13, 49, 52,
                                   41, 38, 26, 23, 29, 53, 11, 35, 44, 14, 50, 56, 42, 27, 39, 45,
                                   30, 54, 57, 60, 51, 15, 43, 46, 58, 61, 55, 31, 62, 59, 47, 63};

// Its inverse: where the coefficient of an index stands in that order.
constexpr Permutation permTableDecode = [] {
    Permutation inverse{};
    for (size_t i = 0; i < kValues; ++i) inverse[permTable[i]] = static_cast<uint8_t>(i);
    return inverse;
}();

static_assert([] {
    const auto sequency = [](unsigned index) { return index % kSide + index / kSide % kSide + index / kRows; };
    for (size_t i = 1; i < kValues; ++i) {
        if (sequency(permTable[i - 1]) > sequency(permTable[i])) return false;
    }
    for (size_t i = 0; i < kValues; ++i) {
        if (permTable[permTableDecode[i]] != i) return false;
    }
    return true;
}());

}  // namespace ozrdc::zfp
