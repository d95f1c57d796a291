// The table of -l.
#include "list.h"

#include <optional>

#include "error.h"
#include "job.h"
#include "text.h"

namespace ozrz {
namespace {

std::string row(const std::string& format, const std::string& compressed, const std::string& uncompressed,
                const std::string& ratio, const std::string& check, const std::string& name) {
    return padRight(format, 8) + padLeft(compressed, 15) + padLeft(uncompressed, 15) + padLeft(ratio, 9) + "  " +
           padRight(check, 9) + name + "\n";
}

std::string ratioText(uint64_t compressed, uint64_t uncompressed) {
    if (compressed == 0) return "-";
    const double ratio = static_cast<double>(uncompressed) / static_cast<double>(compressed);
    return fixedText(ratio, ratio < 10'000 ? 3 : 0);
}

}  // namespace

void listFiles(const Options& options, const Registry& registry, Messages& messages) {
    const std::optional<Buffer> dictionary = loadDictionary(options.dictionary);
    uint64_t compressed = 0;
    uint64_t uncompressed = 0;
    std::size_t files = 0;
    const auto heading = row("format", "compressed", "uncompressed", "ratio", "check", "name");
    forEachFile(options.files, messages, [&](const std::string& file) {
        InputFile input(file, acceptedSources(options));
        const Format* format = detectFormat(options, registry, input);
        if (format == nullptr) throw DataError("is in no format that is known here");
        unsigned warnings = 0;
        const Listing listing =
            format->list(input.source(), decodeSettings(options, dictionary, input, messages, warnings));
        if (files++ == 0) print(heading);
        print(row(std::string(format->description().name), std::to_string(listing.compressed),
                  std::to_string(listing.uncompressed), ratioText(listing.compressed, listing.uncompressed),
                  listing.check, printableText(input.name())));
        if (messages.verbose()) print("      " + listing.details + "\n");
        compressed += listing.compressed;
        uncompressed += listing.uncompressed;
    });
    if (files > 1) {
        print(row("", std::to_string(compressed), std::to_string(uncompressed), ratioText(compressed, uncompressed), "",
                  countText(files, "file")));
    }
}

}  // namespace ozrz
