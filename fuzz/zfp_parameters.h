// The parameters of a ZFP stream, from the front of a fuzz target's input.
#pragma once

#include "fuzz_input.h"
#include "zfp/reference_codec.h"

namespace ozrdc::fuzz {

// A number of bits in 2 bytes: those of interest, and some that are far beyond.
inline uint32_t takeBitCount(Input& input) {
    const auto number = input.take<uint16_t>();
    return (number & 0x8000U) != 0 ? 0xFFFFFFFFU - (number & 0x7FFFU) : number % 5000U;
}

// minBits (2 bytes), maxBits (2), maxPrec (1), minExp (2).
inline test::zfp::Parameters takeZfpParameters(Input& input) {
    test::zfp::Parameters p;
    p.minBits = takeBitCount(input);
    p.maxBits = takeBitCount(input);
    p.maxPrec = input.take<uint8_t>();
    p.minExp = input.take<int16_t>();
    return p;
}

}  // namespace ozrdc::fuzz
