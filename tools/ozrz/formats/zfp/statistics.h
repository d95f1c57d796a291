// What compression did to the values.
#pragma once

#include <cstdint>
#include <limits>
#include <span>
#include <string>

namespace ozrz::zfp {

class Statistics {
  public:
    // Infinities and NaNs are counted, and otherwise left out.
    void add(std::span<const float> original, std::span<const float> restored);
    void add(const Statistics& other);

    double lowest() const { return lowest_; }
    double highest() const { return highest_; }
    double maxError() const { return maxError_; }
    double rmsError() const;
    // Decibels of the range of the values over the root-mean-square error; infinite if nothing was lost.
    double peakSignalToNoise() const;
    uint64_t nonFinite() const { return nonFinite_; }

  private:
    uint64_t count_ = 0;
    uint64_t nonFinite_ = 0;
    double lowest_ = std::numeric_limits<double>::infinity();
    double highest_ = -std::numeric_limits<double>::infinity();
    double maxError_ = 0;
    double squares_ = 0;
};

// "0.00123": six digits, or an exponent.
std::string numberText(double value);

// "max error 0.00123, RMS error 0.000456, PSNR 71.2 dB".
std::string errorText(const Statistics& statistics);

}  // namespace ozrz::zfp
