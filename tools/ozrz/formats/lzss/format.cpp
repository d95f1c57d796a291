// LZSS files as a format of the command: name and suffix.
#include "formats/lzss/format.h"

#include "error.h"
#include "formats/lzss/codec.h"
#include "formats/lzss/container.h"

namespace ozrz {
namespace {

class LzssFormat final : public Format {
  public:
    const FormatDescription& description() const override { return description_; }

    bool recognizes(Bytes head) const override { return lzss::beginsMember(head); }

    void encode(Source& source, Sink& sink, const EncodeSettings& settings) const override {
        if (settings.dictionary) throw UsageError("lzss files know no dictionaries");
        lzss::encode(source, sink, settings);
    }

    void decode(Source& source, Sink& sink, const DecodeSettings& settings) const override {
        lzss::decode(source, sink, settings);
    }

    Listing list(Source& source, const DecodeSettings& settings) const override { return lzss::list(source, settings); }

  private:
    const FormatDescription description_{.name = "lzss",
                                         .summary = "LZSS in blocks: this project's own, low ratio",
                                         .suffixes = {{".lzss"}},
                                         .hasLevels = false,
                                         .canRecover = true};
};

}  // namespace

std::unique_ptr<Format> makeLzssFormat() { return std::make_unique<LzssFormat>(); }

}  // namespace ozrz
