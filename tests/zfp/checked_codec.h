// The library's encoder and decoder as objects that check every call against the reference model: status, sizes, and
// every byte stored or value written. Streams, blocks and states stand against inaccessible pages.
#pragma once

#include <memory>

#include "support/guarded_buffer.h"
#include "zfp/reference_codec.h"

namespace ozrdc::test::zfp {

constexpr std::size_t kStateSize = 576;

class CheckedEncoder {
  public:
    explicit CheckedEncoder(std::size_t capacity, Guard guard = Guard::After);

    void set(const Parameters& parameters);
    Status encode(const Values& block);
    Status flush();

    // What has been stored.
    Bytes stream() const;
    uint64_t bitSize() const;
    ZfpState* state() { return reinterpret_cast<ZfpState*>(state_.data()); }
    const ZfpState* state() const { return reinterpret_cast<const ZfpState*>(state_.data()); }

  private:
    void compare(Status status, const Progress& expected) const;

    GuardedBuffer stream_;
    GuardedBuffer state_;
    GuardedBuffer source_;
    Bytes untouched_;  // what the buffer held before
    ReferenceEncoder reference_;
};

class CheckedDecoder {
  public:
    explicit CheckedDecoder(std::span<const uint8_t> stream, Guard guard = Guard::After);

    void set(const Parameters& parameters);
    Status decode(Values& block);

    uint64_t fetched() const;
    ZfpState* state() { return reinterpret_cast<ZfpState*>(state_.data()); }
    const ZfpState* state() const { return reinterpret_cast<const ZfpState*>(state_.data()); }

  private:
    GuardedBuffer stream_;
    GuardedBuffer state_;
    GuardedBuffer target_;
    ReferenceDecoder reference_;
};

// --- Samples --------------------------------------------------------------------------------------------------------

// Blocks of every nature: fields, constants, zeros, single values, noise, extreme and tiny magnitudes.
std::vector<Values> sampleBlocks(std::size_t count, uint64_t seed);

// Any bit patterns at all: infinities, NaNs, denormal numbers.
Values wildBlock(uint64_t seed);

// Combinations of parameters as callers use them, and as they should not.
std::vector<Parameters> usualParameters();
std::vector<Parameters> oddParameters();

std::string describe(const Parameters& parameters);

}  // namespace ozrdc::test::zfp
