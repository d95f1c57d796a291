// The fixed code in the encoder's forms, as constant data.
#pragma once

#include <array>
#include <cstdint>

#include "core/deflate_code.h"
#include "deflate/record_words.h"
#include "ozrdc.h"

namespace ozrdc::deflate {

constexpr auto kFixedLitCodes = [] {
    LengthCounts counts{};
    for (unsigned symbol = 0; symbol < kFixedLitLenSymbols; ++symbol) ++counts[fixedLitLenLength(symbol)];
    LengthCounts next = firstCodes(counts);
    std::array<DeflateHuffCode, kFixedLitLenSymbols> codes{};
    for (unsigned symbol = 0; symbol < kFixedLitLenSymbols; ++symbol) {
        const unsigned length = fixedLitLenLength(symbol);
        codes[symbol] = {static_cast<uint16_t>(reverseBits(next[length]++, length)), static_cast<uint16_t>(length)};
    }
    return codes;
}();

constexpr auto kFixedDistCodes = [] {
    std::array<DeflateHuffCode, kDistCodes> codes{};
    for (unsigned symbol = 0; symbol < kDistCodes; ++symbol) {
        codes[symbol] = {static_cast<uint16_t>(reverseBits(symbol, kFixedDistLength)), kFixedDistLength};
    }
    return codes;
}();

static_assert(kFixedLitCodes[0].code == 0x0C && kFixedLitCodes[0].len == 8);
static_assert(kFixedLitCodes[kEndOfBlock].code == 0 && kFixedLitCodes[kEndOfBlock].len == 7);
static_assert(kFixedDistCodes[1].code == 0x10);

constexpr MergedWords kFixedWords(kFixedLitCodes.data(), kFixedDistCodes.data());

}  // namespace ozrdc::deflate
