// bzip2 as a format of the command: name, suffixes.
#include "formats/bzip2/format.h"

#include "error.h"
#include "formats/bzip2/decode.h"
#include "formats/bzip2/encode.h"
#include "formats/bzip2/layout.h"
#include "text.h"

namespace ozrz {
namespace {

std::string describe(const bzip2::Summary& summary) {
    std::string text = countText(summary.blocks, "block") + ", level " + std::to_string(summary.level);
    if (summary.streams > 1) text += " in the first of " + countText(summary.streams, "stream");
    return text;
}

class Bzip2Format final : public Format {
  public:
    const FormatDescription& description() const override { return description_; }

    bool recognizes(Bytes head) const override {
        return head.size() >= bzip2::kStreamHeaderSize &&
               bzip2::levelOfHeader(loadBigEndian<uint32_t>(head.data())) != 0;
    }

    void encode(Source& source, Sink& sink, const EncodeSettings& settings) const override {
        if (settings.dictionary) throw UsageError("bzip2 knows no dictionaries");
        bzip2::encode(source, sink, settings);
    }

    void decode(Source& source, Sink& sink, const DecodeSettings& settings) const override {
        bzip2::decode(source, sink, settings);
    }

    Listing list(Source& source, const DecodeSettings& settings) const override {
        NullSink nowhere;
        const bzip2::Summary summary = bzip2::decode(source, nowhere, settings);
        return {.compressed = summary.bytes,
                .uncompressed = nowhere.written(),
                .check = "crc32",
                .details = describe(summary)};
    }

  private:
    const FormatDescription description_{.name = "bzip2",
                                         .summary = "bzip2 files: very good ratio, read everywhere",
                                         .suffixes = {{".bz2"}, {".tbz2", ".tar"}, {".tbz", ".tar"}},
                                         .defaultLevel = bzip2::kMaxLevel,
                                         .distinctLevels = {1, 2, 3, 4, 5, 6, 7, 8, 9},
                                         .canRecover = true};
};

}  // namespace

std::unique_ptr<Format> makeBzip2Format() { return std::make_unique<Bzip2Format>(); }

}  // namespace ozrz
