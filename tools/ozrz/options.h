// The command line.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "formats/registry.h"
#include "messages.h"

namespace ozrz {

enum class Mode { compress, decompress, test, list };

struct Options {
    Mode mode = Mode::compress;
    std::vector<std::string> files;  // never empty; "-" is standard input
    bool toStdout = false;
    std::optional<std::string> output;
    bool restoreName = false;  // and time, as the compressed file tells them
    bool removeSource = false;
    bool force = false;
    bool recover = false;            // of damaged files, what is intact
    const Format* format = nullptr;  // named by -F
    bool storeName = true;           // of the source, and its time, in formats that can
    int level = 0;                   // 0: the format's default
    int acceleration = 0;            // 0: --fast was not given
    unsigned threads = 1;
    std::optional<std::string> dictionary;
    int verbosity = Messages::kNormal;
    bool progress = true;

    bool writesFiles() const { return (mode == Mode::compress || mode == Mode::decompress) && !toStdout; }
};

struct BenchOptions {
    enum class Style { table, csv, json };

    std::vector<std::string> files;
    const Format* format = nullptr;  // null: all
    unsigned threads = 1;
    double seconds = 1;  // for each measurement
    Style style = Style::table;
};

// What the command line asks for; or an exit code, when it was a question such as --help, which has been answered, or
// wrong, which has been said. The options that belong to formats are set in the registry's formats.
std::variant<Options, BenchOptions, ExitCode> parseCommandLine(int argc, char** argv, Registry& registry,
                                                               Messages& messages);

// Writes to standard output, and throws where that fails.
void print(const std::string& text);

}  // namespace ozrz
