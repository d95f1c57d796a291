// Compresses, decompresses or tests the files of the command line, one after the other.
#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "formats/registry.h"
#include "input_file.h"
#include "messages.h"
#include "options.h"
#include "output_file.h"
#include "progress.h"

namespace ozrz {

// Does `work` for every file. Errors are reported with the file's name and do not stop the files that follow.
void forEachFile(const std::vector<std::string>& files, Messages& messages,
                 const std::function<void(const std::string& file)>& work);

// The settings for decoding that follow from the options; warnings get the name of `input` in front and count in
// `warnings`.
DecodeSettings decodeSettings(const Options& options, const std::optional<Buffer>& dictionary, const InputFile& input,
                              Messages& messages, unsigned& warnings);

// The format of a compressed source: the one named, else that of its magic number, else that of its suffix. Null if
// none.
const Format* detectFormat(const Options& options, const Registry& registry, InputFile& input);

// What links, pipes and devices the mode of working reads.
InputFile::Accept acceptedSources(const Options& options);

// A dictionary file, whole; none where the options name none.
std::optional<Buffer> loadDictionary(const std::optional<std::string>& path);

// The work of the modes compress, decompress and test.
class JobRunner {
  public:
    JobRunner(const Options& options, const Registry& registry, Messages& messages);

    void run();

  private:
    void runFile(const std::string& file);
    void compress(InputFile& input, OutputFile& output, const Format& format);
    unsigned decompress(InputFile& input, OutputFile& output, const Format* format);
    unsigned decompressWhatIsIntact(InputFile& input, OutputFile& output, const Format* format);
    OriginalFile originalFile(InputFile& input, const Format* format) const;

    const Format& encodingFormat() const;
    std::string encodedName(const InputFile& input, const Format& format) const;
    std::string decodedName(const InputFile& input, const OriginalFile& original) const;
    std::unique_ptr<OutputFile> openOutput(const InputFile& input, const std::string& besideName);
    bool mayOverwrite(const InputFile& input, const std::string& path);
    void report(const InputFile& input, const std::string& target, uint64_t read, uint64_t written, double seconds);

    const Options& options_;
    const Registry& registry_;
    Messages& messages_;
    Progress progress_;
    std::optional<Buffer> dictionary_;
};

}  // namespace ozrz
