// lzop files as a format of the command: name, suffixes, options.
#include "formats/lzo/format.h"

#include <CLI/CLI.hpp>

#include "error.h"
#include "formats/lzo/codec.h"

namespace ozrz {
namespace {

class LzoFormat final : public Format {
  public:
    const FormatDescription& description() const override { return description_; }

    void addOptions(CLI::App& app) override {
        const char* group = "Options for lzo";
        app.add_flag("--crc", options_.crc, "write CRC-32 checksums rather than Adler-32")->group(group);
        app.add_flag("--check-data", options_.dataChecked, "write checksums of the compressed data too")->group(group);
    }

    bool recognizes(Bytes head) const override { return lzo::beginsMember(head); }

    std::optional<OriginalFile> original(Bytes head) const override {
        MemorySource source(head);
        try {
            lzo::MemberReader reader(source, [](const std::string&) {});
            reader.nextMember();
            OriginalFile file{.name = reader.header().name};
            const uint32_t mtime = reader.header().mtime;
            if (mtime != 0) file.mtime = timespec{static_cast<time_t>(mtime), 0};
            return file;
        } catch (const DataError&) {
            return std::nullopt;  // decoding will say what is wrong, if it is not only long
        }
    }

    void encode(Source& source, Sink& sink, const EncodeSettings& settings) const override {
        if (settings.dictionary) throw UsageError("lzop files know no dictionaries");
        lzo::encode(source, sink, options_, settings);
    }

    void decode(Source& source, Sink& sink, const DecodeSettings& settings) const override {
        lzo::decode(source, sink, settings);
    }

    Listing list(Source& source, const DecodeSettings& settings) const override { return lzo::list(source, settings); }

  private:
    const FormatDescription description_{.name = "lzo",
                                         .summary = "lzop files: very fast, low ratio",
                                         .suffixes = {{".lzo"}, {".tzo", ".tar"}},
                                         .defaultLevel = lzo::kDefaultLevel,
                                         .distinctLevels = {1, lzo::kDefaultLevel}};
    lzo::Options options_;
};

}  // namespace

std::unique_ptr<Format> makeLzoFormat() { return std::make_unique<LzoFormat>(); }

}  // namespace ozrz
