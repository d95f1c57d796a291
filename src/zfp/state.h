// The state of a ZFP stream, which the encoder and the decoder share.
//
// A stream is a row of 64-bit words, little-endian, filled from the least significant bit. Between calls the state
// holds the bits that do not make a word yet (encoder), or those of the last word that were not asked for yet
// (decoder). Words are stored when their last bit is there and fetched when their first bit is needed, neither earlier.
// Where less than a word is left at the end of the buffer, bytes take the place of words.
#pragma once

#include <cstddef>
#include <cstdint>

#include "ozrdc.h"
#include "zfp/format.h"

struct ZfpState {
    static constexpr uint32_t kIdentifier = 0x4B617398;

    uint32_t identifier;
    uint32_t minBits;
    uint32_t maxBits;
    uint32_t maxPrec;
    int32_t minExp;
    uint32_t bitCount;   // bits in the buffer, 0 to 63
    uint64_t bitBuffer;  // the next bit to be stored or read is the lowest; zeros above the last
    uint8_t* position;   // where the next word is stored, or fetched
    uint8_t* begin;
    uint8_t* end;
    uint8_t* guard;        // up to here the words of a block of maxBits bits fit
    uint64_t scratch[64];  // for the duration of a call

    [[nodiscard]] bool isValid() const noexcept { return identifier == kIdentifier; }
    [[nodiscard]] uint64_t roomInBytes() const noexcept { return static_cast<uint64_t>(end - position); }
};
static_assert(sizeof(ZfpState) == 576);
static_assert(offsetof(ZfpState, scratch) == 64);

namespace ozrdc::zfp {

constexpr unsigned kWordBits = 64;
constexpr uint64_t kWordBytes = 8;

// The low `n` bits, 0 to 63.
constexpr uint64_t lowBits(uint64_t word, unsigned n) noexcept { return word & ((uint64_t{1} << n) - 1); }

}  // namespace ozrdc::zfp
