// See the header.
#include "formats/zfp/statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "text.h"

namespace ozrz::zfp {

void Statistics::add(std::span<const float> original, std::span<const float> restored) {
    for (std::size_t i = 0; i < original.size(); ++i) {
        if (!std::isfinite(original[i])) {
            ++nonFinite_;
            continue;
        }
        const double value = original[i];
        const double error = std::fabs(double{restored[i]} - value);
        ++count_;
        lowest_ = std::min(lowest_, value);
        highest_ = std::max(highest_, value);
        // The other way round, an error that is no number would be lost.
        maxError_ = error <= maxError_ ? maxError_ : error;
        squares_ += error * error;
    }
}

void Statistics::add(const Statistics& other) {
    count_ += other.count_;
    nonFinite_ += other.nonFinite_;
    lowest_ = std::min(lowest_, other.lowest_);
    highest_ = std::max(highest_, other.highest_);
    maxError_ = other.maxError_ <= maxError_ ? maxError_ : other.maxError_;
    squares_ += other.squares_;
}

double Statistics::rmsError() const { return count_ == 0 ? 0 : std::sqrt(squares_ / static_cast<double>(count_)); }

double Statistics::peakSignalToNoise() const { return 20 * std::log10((highest_ - lowest_) / rmsError()); }

std::string numberText(double value) {
    std::array<char, 32> text;
    std::snprintf(text.data(), text.size(), "%.6g", value);
    return text.data();
}

std::string errorText(const Statistics& statistics) {
    std::string text =
        "max error " + numberText(statistics.maxError()) + ", RMS error " + numberText(statistics.rmsError());
    const double psnr = statistics.peakSignalToNoise();
    if (std::isfinite(psnr)) text += ", PSNR " + fixedText(psnr, 2) + " dB";
    return text;
}

}  // namespace ozrz::zfp
