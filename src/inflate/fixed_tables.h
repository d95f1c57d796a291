// The decoding tables of the fixed code, constant data in the encoding of the general kind.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/deflate_code.h"
#include "inflate/general_tables.h"
#include "inflate/tables.h"

namespace ozrdc::inflate {

inline constexpr GeneralLayout spec_table_fixed_Huffman = [] {
    using namespace deflate;
    GeneralLayout tables{};
    LengthCounts counts{};
    std::array<uint16_t, kFixedLitLenSymbols> lengths{};
    unsigned longest = 0;
    for (unsigned symbol = 0; symbol < kFixedLitLenSymbols; ++symbol) {
        lengths[symbol] = static_cast<uint16_t>(fixedLitLenLength(symbol));
        ++counts[lengths[symbol]];
        longest = std::max(longest, fixedLitLenLength(symbol));
    }
    buildLevels<LitLenAlphabet>(tables.litLen.data(), lengths.data(), kFixedLitLenSymbols, counts, longest);

    std::array<uint16_t, kDistCodes> distLengths{};
    distLengths.fill(kFixedDistLength);
    LengthCounts distCounts{};
    distCounts[kFixedDistLength] = kDistCodes;
    buildLevels<DistAlphabet>(tables.dist.data(), distLengths.data(), kDistCodes, distCounts, kFixedDistLength);
    return tables;
}();

}  // namespace ozrdc::inflate
