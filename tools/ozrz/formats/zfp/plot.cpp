// The drawing: three panels side by side, each a picture with a scale of its colors below. Original and restored share
// one scale, from the lowest to the highest value of both; the error has its own, the same to both sides of zero.
#include "formats/zfp/plot.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "formats/zfp/png.h"
#include "formats/zfp/statistics.h"

namespace ozrz::zfp {
namespace {

constexpr uint64_t kPanel = 360;       // width of a panel, and the longest side of what is drawn in it
constexpr uint64_t kMostPixels = 512;  // along a side; larger slices are drawn in part
constexpr int kMargin = 30;
constexpr int kGap = 36;
constexpr int kTop = 112;
constexpr int kScaleHeight = 12;
constexpr int kScaleRoom = 74;

// The last color of every palette is for what is no number.
constexpr std::size_t kScaleColors = 255;
constexpr uint8_t kNoNumber = 255;
constexpr Color kGray{170, 170, 170};

// A palette through colors at equal distances.
Palette through(std::span<const Color> colors) {
    Palette palette;
    for (std::size_t i = 0; i < kScaleColors; ++i) {
        const double place = static_cast<double>(i * (colors.size() - 1)) / (kScaleColors - 1);
        const std::size_t left = std::min(static_cast<std::size_t>(place), colors.size() - 2);
        const double share = place - static_cast<double>(left);
        for (std::size_t c = 0; c < 3; ++c) {
            palette[i][c] =
                static_cast<uint8_t>(std::lround(colors[left][c] * (1 - share) + colors[left + 1][c] * share));
        }
    }
    palette[kNoNumber] = kGray;
    return palette;
}

// Dark to light, so that it reads without color too.
const Palette& valuePalette() {
    static constexpr Color kColors[] = {{68, 1, 84},    {70, 50, 126},  {54, 92, 141},  {39, 127, 142},
                                        {31, 161, 135}, {74, 193, 109}, {160, 218, 57}, {253, 231, 37}};
    static const Palette palette = through(kColors);
    return palette;
}

// White where there is no error.
const Palette& errorPalette() {
    static constexpr Color kColors[] = {{5, 48, 97},     {67, 147, 195}, {209, 229, 240}, {255, 255, 255},
                                        {253, 219, 199}, {214, 96, 77},  {103, 0, 31}};
    static const Palette palette = through(kColors);
    return palette;
}

struct Scale {
    double low = 0;
    double high = 0;

    uint8_t color(double value) const {
        if (!std::isfinite(value)) return kNoNumber;
        if (!(high > low)) return kScaleColors / 2;
        const double place = (value - low) / (high - low) * (kScaleColors - 1);
        return static_cast<uint8_t>(std::lround(std::clamp(place, 0.0, static_cast<double>(kScaleColors - 1))));
    }
};

// A slice brought to the size of a picture: of several values that fall on one pixel, the one of largest magnitude is
// shown of errors, and the first of others.
class Sampling {
  public:
    Sampling(uint64_t width, uint64_t height) : width_(width), height_(height) {
        const uint64_t longest = std::max(width, height);
        step_ = (longest + kMostPixels - 1) / kMostPixels;
    }

    template <typename ValueAt>
    Picture draw(const Scale& scale, bool largest, ValueAt valueAt) const {
        Picture picture{static_cast<uint32_t>(cells(width_)), static_cast<uint32_t>(cells(height_))};
        for (uint64_t y = 0; y < height_; y += step_) {
            for (uint64_t x = 0; x < width_; x += step_) {
                double shown = valueAt(x + width_ * y);
                if (largest) shown = largestOf(x, y, shown, valueAt);
                picture.pixels.push_back(scale.color(shown));
            }
        }
        return picture;
    }

  private:
    uint64_t cells(uint64_t n) const { return (n + step_ - 1) / step_; }

    template <typename ValueAt>
    double largestOf(uint64_t x0, uint64_t y0, double shown, ValueAt valueAt) const {
        for (uint64_t y = y0; y < std::min(y0 + step_, height_); ++y) {
            for (uint64_t x = x0; x < std::min(x0 + step_, width_); ++x) {
                const double value = valueAt(x + width_ * y);
                if (!(std::fabs(value) <= std::fabs(shown))) shown = value;
            }
        }
        return shown;
    }

    uint64_t width_;
    uint64_t height_;
    uint64_t step_;
};

std::string escaped(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            default:
                out += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
                break;
        }
    }
    return out;
}

std::string number(double value) { return numberText(value); }

std::string textAt(double x, double y, const char* style, const std::string& text) {
    return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" " + style + ">" + escaped(text) + "</text>\n";
}

std::string imageAt(double x, double y, double width, double height, const Picture& picture, const Palette& palette) {
    return "<image x=\"" + number(x) + "\" y=\"" + number(y) + "\" width=\"" + number(width) + "\" height=\"" +
           number(height) + "\" preserveAspectRatio=\"none\" style=\"image-rendering:pixelated\" " +
           "href=\"data:image/png;base64," + pngInBase64(picture, palette) + "\"/>\n";
}

constexpr const char* kTitleStyle = R"(font-size="18" font-weight="bold")";
constexpr const char* kSubtitleStyle = R"(font-size="13" fill="#444")";
constexpr const char* kPanelStyle = R"(font-size="15" font-weight="bold")";
constexpr const char* kLowStyle = R"(font-size="12" fill="#444")";
constexpr const char* kHighStyle = R"(font-size="12" fill="#444" text-anchor="end")";

}  // namespace

void MiddleSlice::take(std::span<const float> original, std::span<const float> restored) {
    const uint64_t size = dims_.nx * dims_.ny;
    const uint64_t begin = std::clamp(z() * size, passed_, passed_ + original.size()) - passed_;
    const uint64_t end = std::clamp((z() + 1) * size, passed_, passed_ + original.size()) - passed_;
    const auto append = [&](std::vector<float>& to, std::span<const float> from) {
        const auto part = from.subspan(begin, end - begin);
        to.insert(to.end(), part.begin(), part.end());
    };
    append(original_, original);
    append(restored_, restored);
    passed_ += original.size();
}

std::string drawSlice(const MiddleSlice& slice, const std::string& title, const std::string& subtitle) {
    const auto error = [&](uint64_t i) { return double{slice.restored()[i]} - double{slice.original()[i]}; };
    Scale values{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    double mostError = 0;
    for (std::size_t i = 0; i < slice.original().size(); ++i) {
        for (const double value : {slice.original()[i], slice.restored()[i]}) {
            if (!std::isfinite(value)) continue;
            values.low = std::min(values.low, value);
            values.high = std::max(values.high, value);
        }
        if (std::isfinite(error(i))) mostError = std::max(mostError, std::fabs(error(i)));
    }
    if (values.low > values.high) values = {};
    const Scale errors{0 - mostError, mostError};

    const auto width = static_cast<double>(slice.width());
    const auto height = static_cast<double>(slice.height());
    const double zoom = static_cast<double>(kPanel) / std::max(width, height);
    const double panelHeight = std::max(1.0, height * zoom);
    const double panelWidth = std::max(1.0, width * zoom);
    const double totalWidth = 2 * kMargin + 3.0 * kPanel + 2 * kGap;
    const double totalHeight = kTop + panelHeight + kScaleRoom;

    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number(totalWidth) + "\" height=\"" +
                      number(totalHeight) + "\" viewBox=\"0 0 " + number(totalWidth) + " " + number(totalHeight) +
                      "\" font-family=\"sans-serif\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    svg += textAt(kMargin, 34, kTitleStyle, title);
    svg += textAt(kMargin, 58, kSubtitleStyle, subtitle);

    const Sampling sampling(slice.width(), slice.height());
    Picture ramp{kScaleColors, 1};
    for (std::size_t i = 0; i < kScaleColors; ++i) ramp.pixels.push_back(static_cast<uint8_t>(i));
    double left = kMargin;
    const auto panel = [&](const char* name, const Picture& picture, const Palette& palette, const Scale& scale) {
        svg += textAt(left, kTop - 12, kPanelStyle, name);
        svg += imageAt(left, kTop, panelWidth, panelHeight, picture, palette);
        svg += "<rect x=\"" + number(left) + "\" y=\"" + number(kTop) + "\" width=\"" + number(panelWidth) +
               "\" height=\"" + number(panelHeight) + "\" fill=\"none\" stroke=\"#888\"/>\n";
        const double below = kTop + panelHeight + 14;
        svg += imageAt(left, below, kPanel, kScaleHeight, ramp, palette);
        svg += textAt(left, below + kScaleHeight + 16, kLowStyle, number(scale.low));
        svg += textAt(left + kPanel, below + kScaleHeight + 16, kHighStyle, number(scale.high));
        left += kPanel + kGap;
    };
    panel("original", sampling.draw(values, false, [&](uint64_t i) { return double{slice.original()[i]}; }),
          valuePalette(), values);
    panel("restored", sampling.draw(values, false, [&](uint64_t i) { return double{slice.restored()[i]}; }),
          valuePalette(), values);
    panel("error", sampling.draw(errors, true, error), errorPalette(), errors);
    return svg + "</svg>\n";
}

}  // namespace ozrz::zfp
