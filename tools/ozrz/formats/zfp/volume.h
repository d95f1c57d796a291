// Volumes of floats, and the pieces that they are worked on in.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace ozrz::zfp {

constexpr uint64_t kBlockSide = 4;

// x runs fastest.
struct Dims {
    uint64_t nx = 1;
    uint64_t ny = 1;
    uint64_t nz = 1;

    uint64_t values() const { return nx * ny * nz; }
    uint64_t bytes() const { return values() * sizeof(float); }
    uint64_t blocks() const { return across(nx) * across(ny) * across(nz); }
    std::string text() const {
        return std::to_string(nx) + " x " + std::to_string(ny) + " x " + std::to_string(nz) + " floats";
    }

  private:
    static uint64_t across(uint64_t n) { return (n + kBlockSide - 1) / kBlockSide; }
};

// A volume in pieces that follow each other in the file as in the stream: slabs of four planes, or, of a volume of one
// plane, bands of rows. Each is a volume of whole blocks itself, but for the volume's own edges.
class Pieces {
  public:
    explicit Pieces(const Dims& whole) : whole_(whole) {
        constexpr uint64_t kBandBytes = uint64_t{1} << 20;
        const uint64_t rows = kBandBytes / (whole.nx * sizeof(float));
        step_ = whole.nz > 1 ? kBlockSide : std::max(kBlockSide, rows / kBlockSide * kBlockSide);
    }

    uint64_t count() const { return (extent() + step_ - 1) / step_; }

    Dims dims(uint64_t piece) const {
        Dims dims = whole_;
        (whole_.nz > 1 ? dims.nz : dims.ny) = std::min(step_, extent() - piece * step_);
        return dims;
    }

    // Of the largest, which is the first.
    Dims largest() const { return dims(0); }

  private:
    uint64_t extent() const { return whole_.nz > 1 ? whole_.nz : whole_.ny; }

    Dims whole_;
    uint64_t step_;
};

// Floats that are not cleared before use.
class Values {
  public:
    // The contents are lost when the memory has to grow.
    void require(uint64_t count) {
        if (count > capacity_) {
            data_ = std::make_unique_for_overwrite<float[]>(count);
            capacity_ = count;
        }
        count_ = count;
    }

    float* data() { return data_.get(); }
    const float* data() const { return data_.get(); }
    std::span<const float> span() const { return {data_.get(), count_}; }
    std::span<uint8_t> bytes() { return {reinterpret_cast<uint8_t*>(data_.get()), count_ * sizeof(float)}; }

  private:
    std::unique_ptr<float[]> data_;
    uint64_t capacity_ = 0;
    uint64_t count_ = 0;
};

}  // namespace ozrz::zfp
