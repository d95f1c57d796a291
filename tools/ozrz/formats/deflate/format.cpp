// Raw Deflate as a format of the command: one stream, nothing around it.
#include "formats/deflate/format.h"

#include <iterator>

#include "formats/deflate/chunk_encoder.h"
#include "formats/deflate/decode.h"
#include "formats/deflate/encode.h"
#include "formats/deflate/list.h"

namespace ozrz {
namespace {

// A stream without header and trailer.
class RawContainer final : public deflate::Container {
  public:
    explicit RawContainer(const DecodeSettings& settings) : dictionary_(settings.dictionary.value_or(Bytes{})) {}

    bool open(deflate::BitReader& in) override {
        if (++streams_ == 1) return true;
        if (in.have(1)) noteGarbage(in.position());
        return false;
    }

    Bytes dictionary() const override { return dictionary_; }

    deflate::Trailer close(deflate::BitReader& in) override {
        in.align();
        return {};
    }

    uint32_t emptyCheck() const override { return 0; }
    uint32_t extendCheck(uint32_t check, Bytes) const override { return check; }
    void verify(const deflate::Trailer&, uint32_t, uint64_t, uint64_t) const override {}

  private:
    Bytes dictionary_;
    uint64_t streams_ = 0;
};

class DeflateFormat final : public Format {
  public:
    const FormatDescription& description() const override { return description_; }

    void encode(Source& source, Sink& sink, const EncodeSettings& settings) const override {
        deflate::encode(source, sink, settings, [](Bytes) {});
    }

    void decode(Source& source, Sink& sink, const DecodeSettings& settings) const override {
        RawContainer container(settings);
        deflate::decode(source, sink, container, settings.threads);
        container.warn(settings.warn);
    }

    Listing list(Source& source, const DecodeSettings& settings) const override {
        RawContainer container(settings);
        Listing listing = deflate::list(source, container, settings.threads);
        container.warn(settings.warn);
        listing.check = "none";
        listing.details = "raw stream";
        return listing;
    }

  private:
    const FormatDescription description_{
        .name = "deflate",
        .summary = "raw Deflate streams: no header, no check",
        .suffixes = {{".deflate"}},
        .defaultLevel = deflate::kDefaultLevel,
        .distinctLevels = {std::begin(deflate::kLevels), std::end(deflate::kLevels)},
        .distinctAccelerations = {std::begin(deflate::kAccelerations), std::end(deflate::kAccelerations)},
        .hasFast = true,
        .hasDictionaries = true};
};

}  // namespace

std::unique_ptr<Format> makeDeflateFormat() { return std::make_unique<DeflateFormat>(); }

}  // namespace ozrz
