// zlib as a format of the command: name, suffixes.
#include "formats/zlib/format.h"

#include <iterator>

#include "formats/deflate/chunk_encoder.h"
#include "formats/deflate/decode.h"
#include "formats/deflate/encode.h"
#include "formats/deflate/list.h"
#include "formats/zlib/container.h"
#include "text.h"

namespace ozrz {
namespace {

// Fastest, fast, default, smallest.
unsigned effort(const EncodeSettings& settings) {
    if (settings.acceleration != 0 || settings.level <= 1) return 0;
    if (settings.level == deflate::kDefaultLevel) return 2;
    return settings.level < deflate::kDefaultLevel ? 1 : 3;
}

std::string describe(const zlib::Container& container) {
    std::string text = "stream";
    if (const auto dictionary = container.firstDictionary()) text += ", dictionary " + hexText(*dictionary);
    if (container.streams() > 1) text += ", the first of " + countText(container.streams(), "stream");
    return text;
}

class ZlibFormat final : public Format {
  public:
    const FormatDescription& description() const override { return description_; }

    bool recognizes(Bytes head) const override { return head.size() >= 2 && zlib::isLikelyHeader(head[0], head[1]); }

    void encode(Source& source, Sink& sink, const EncodeSettings& settings) const override {
        sink.write(zlib::makeHeader(effort(settings), settings.dictionary));
        ozrdc::Adler32 adler;
        deflate::encode(source, sink, settings, [&](Bytes bytes) { adler.update(bytes); });
        sink.write(zlib::makeTrailer(adler.value()));
    }

    void decode(Source& source, Sink& sink, const DecodeSettings& settings) const override {
        zlib::Container container(settings.dictionary);
        deflate::decode(source, sink, container, settings.threads);
        container.warn(settings.warn);
    }

    Listing list(Source& source, const DecodeSettings& settings) const override {
        zlib::Container container(settings.dictionary);
        Listing listing = deflate::list(source, container, settings.threads);
        container.warn(settings.warn);
        listing.check = "adler32";
        listing.details = describe(container);
        return listing;
    }

  private:
    const FormatDescription description_{
        .name = "zlib",
        .summary = "zlib streams: as gzip, without name and time",
        .suffixes = {{".zz"}, {".zlib"}},
        .defaultLevel = deflate::kDefaultLevel,
        .distinctLevels = {std::begin(deflate::kLevels), std::end(deflate::kLevels)},
        .distinctAccelerations = {std::begin(deflate::kAccelerations), std::end(deflate::kAccelerations)},
        .hasFast = true,
        .hasDictionaries = true};
};

}  // namespace

std::unique_ptr<Format> makeZlibFormat() { return std::make_unique<ZlibFormat>(); }

}  // namespace ozrz
