// LZ4 frames as a format of the command: name, suffix, options.
#include "formats/lz4/format.h"

#include <CLI/CLI.hpp>
#include <iterator>

#include "formats/lz4/block_encoder.h"
#include "formats/lz4/codec.h"

namespace ozrz {
namespace {

// The spellings of a block size: the codes of the format, and the sizes.
const std::map<std::string, unsigned> kBlockSizes{{"4", 4}, {"64K", 4}, {"5", 5}, {"256K", 5},
                                                  {"6", 6}, {"1M", 6},  {"7", 7}, {"4M", 7}};

// What else -B takes: whether blocks are linked.
const std::map<std::string, unsigned> kBlockLinks{{"I", 0}, {"D", 1}};

std::map<std::string, unsigned> blockWords() {
    std::map<std::string, unsigned> words = kBlockSizes;
    words.insert(kBlockLinks.begin(), kBlockLinks.end());
    return words;
}

class Lz4Format final : public Format {
  public:
    const FormatDescription& description() const override { return description_; }

    void addOptions(CLI::App& app) override {
        const char* group = "Options for lz4";
        app.add_option_function<std::vector<std::string>>(
               "-B,--block-size", [this](const std::vector<std::string>& words) { setBlocks(words); },
               "4..7, or 64K, 256K, 1M, 4M (default); D: blocks may refer to the ones before, I: they do not (default)")
            ->transform(CLI::IsMember(blockWords(), CLI::ignore_case))
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
            ->allow_extra_args(false)
            ->type_name("SIZE")
            ->group(group);
        app.add_flag("--block-checksum", options_.blockChecksums, "write a checksum with every block")->group(group);
        app.add_flag("--no-check{false}", options_.contentChecksum, "write no checksum of the content")->group(group);
        app.add_flag("--content-size", options_.contentSize, "write the size of the content")->group(group);
    }

    bool recognizes(Bytes head) const override {
        return head.size() >= lz4::kMagicSize && lz4::isFrameMagic(loadLittleEndian<uint32_t>(head.data()));
    }

    void encode(Source& source, Sink& sink, const EncodeSettings& settings) const override {
        lz4::encode(source, sink, options_, settings);
    }

    void decode(Source& source, Sink& sink, const DecodeSettings& settings) const override {
        lz4::decode(source, sink, settings);
    }

    Listing list(Source& source, const DecodeSettings& settings) const override { return lz4::list(source, settings); }

  private:
    // Later words win over earlier ones of their kind.
    void setBlocks(const std::vector<std::string>& words) {
        for (const std::string& word : words) {
            if (const auto link = kBlockLinks.find(word); link != kBlockLinks.end()) {
                options_.linkedBlocks = link->second != 0;
            } else {
                options_.blockSizeCode = kBlockSizes.at(word);
            }
        }
    }

    const FormatDescription description_{
        .name = "lz4",
        .summary = "LZ4 frames: very fast, moderate ratio",
        .suffixes = {{".lz4"}},
        .defaultLevel = 1,
        .distinctLevels = {std::begin(lz4::kDistinctLevels), std::end(lz4::kDistinctLevels)},
        .distinctAccelerations = {2, 8, 32},  // some of many
        .hasFast = true,
        .hasDictionaries = true};
    lz4::FrameOptions options_;
};

}  // namespace

std::unique_ptr<Format> makeLz4Format() { return std::make_unique<Lz4Format>(); }

}  // namespace ozrz
