// Hides processor features from the library, so that every path of the checksums can be run on one machine.
//
// An executable that links this file's definition of the library's feature query uses it in place of the library's own.
#pragma once

#include <cstdint>
#include <vector>

namespace ozrdc::test {

// While it lives, the library sees only those features of this processor whose bits are in the mask. Not nested, and
// not for use beside other threads.
class FeatureMask {
  public:
    explicit FeatureMask(uint64_t visible) noexcept;
    ~FeatureMask();
    FeatureMask(const FeatureMask&) = delete;
    FeatureMask& operator=(const FeatureMask&) = delete;
};

// What the processor has: the query without a mask.
uint64_t presentFeatures(uint64_t mask) noexcept;

// The masks that the library has asked for since the last feature mask began to live, in order: the first 16 of them.
std::vector<uint64_t> featureQuestions();

}  // namespace ozrdc::test
