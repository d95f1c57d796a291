// The middle slice of a volume before and after, and the error between, as a drawing.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "formats/zfp/volume.h"

namespace ozrz::zfp {

// Gathers the slice while the volume goes by in pieces.
class MiddleSlice {
  public:
    explicit MiddleSlice(const Dims& dims) : dims_(dims) {}

    // The next piece.
    void take(std::span<const float> original, std::span<const float> restored);

    uint64_t width() const { return dims_.nx; }
    uint64_t height() const { return dims_.ny; }
    uint64_t z() const { return dims_.nz / 2; }
    const std::vector<float>& original() const { return original_; }
    const std::vector<float>& restored() const { return restored_; }

  private:
    Dims dims_;
    uint64_t passed_ = 0;  // values that have gone by
    std::vector<float> original_;
    std::vector<float> restored_;
};

// The drawing as an SVG file. `title` and `subtitle` stand above it.
std::string drawSlice(const MiddleSlice& slice, const std::string& title, const std::string& subtitle);

}  // namespace ozrz::zfp
