// ZFP as a format of the command: name, suffix, options.
#include "formats/zfp/format.h"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <cmath>

#include "formats/zfp/codec.h"

namespace ozrz {
namespace {

// "256,128,64"; what is missing is 1.
zfp::Dims parseDims(const std::string& text) {
    std::array<uint64_t, 3> sides{1, 1, 1};
    const char* p = text.data();
    const char* const end = p + text.size();
    for (std::size_t i = 0;; ++i, ++p) {
        if (i == sides.size()) throw CLI::ValidationError("--dims", "a volume has up to three sizes: NX,NY,NZ");
        const auto [stop, error] = std::from_chars(p, end, sides[i]);
        if (error != std::errc() || sides[i] < 1 || sides[i] > zfp::kLongestSide || (stop != end && *stop != ',')) {
            throw CLI::ValidationError("--dims", "wants sizes from 1 to 65536 with commas between: NX,NY,NZ");
        }
        p = stop;
        if (p == end) return {sides[0], sides[1], sides[2]};
    }
}

class ZfpFormat final : public Format {
  public:
    const FormatDescription& description() const override { return description_; }

    void addOptions(CLI::App& app) override {
        const char* group = "Options for zfp";
        app.add_option_function<std::string>(
               "--dims", [this](const std::string& text) { options_.dims = parseDims(text); },
               "size of the volume, x fastest; NY and NZ may be left out")
            ->type_name("NX,NY,NZ")
            ->group(group);
        app.add_option_function<double>(
               "--rate", [this](double bits) { options_.parameters = zfp::fixedRate(bits); },
               "keep so many bits per value, up to 32")
            ->type_name("BITS")
            ->check(CLI::Range(0.0, 32.0))
            ->group(group);
        app.add_option_function<uint32_t>(
               "--precision", [this](uint32_t planes) { options_.parameters = zfp::fixedPrecision(planes); },
               "keep so many bit planes, 1 to 32")
            ->type_name("PLANES")
            ->check(CLI::Range(1U, 32U))
            ->group(group);
        app.add_option_function<double>(
               "--accuracy", [this](double tolerance) { options_.parameters = zfp::fixedAccuracy(checked(tolerance)); },
               "keep the absolute error below this")
            ->type_name("ERROR")
            ->group(group);
        app.get_option("--rate")->excludes("--precision")->excludes("--accuracy");
        app.get_option("--precision")->excludes("--accuracy");
        app.add_flag("--stats", options_.statistics, "tell ratio, bits per value and errors")->group(group);
        app.add_option("--plot", options_.plot, "draw the middle slice before and after (SVG)")
            ->type_name("FILE")
            ->group(group);
    }

    bool recognizes(Bytes head) const override { return zfp::isMagic(head); }

    void encode(Source& source, Sink& sink, const EncodeSettings& settings) const override {
        zfp::encode(source, sink, options_, settings);
    }

    void decode(Source& source, Sink& sink, const DecodeSettings& settings) const override {
        zfp::decode(source, sink, settings);
    }

    Listing list(Source& source, const DecodeSettings&) const override { return zfp::list(source); }

  private:
    static double checked(double tolerance) {
        if (tolerance > 0 && std::isfinite(tolerance)) return tolerance;
        throw CLI::ValidationError("--accuracy", "wants a number above 0");
    }

    const FormatDescription description_{
        .name = "zfp", .summary = "ZFP: volumes of floats, with loss", .suffixes = {{".zfp"}}, .hasLevels = false};
    zfp::VolumeOptions options_;
};

}  // namespace

std::unique_ptr<Format> makeZfpFormat() { return std::make_unique<ZfpFormat>(); }

}  // namespace ozrz
