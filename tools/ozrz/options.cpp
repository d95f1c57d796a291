// Parsing the command line, and the questions that are answered at once: --help, --version, --formats.
#include "options.h"

#include <ozrdc.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <limits>
#include <thread>

#include "error.h"
#include "help.h"
#include "text.h"

namespace ozrz {
namespace {

constexpr unsigned kMaxThreads = 256;

constexpr const char* kUsage =
    "Usage: ozrz [OPTIONS] [FILES]\n"
    "       ozrz bench [OPTIONS] [FILES]";

constexpr const char* kDescription =
    "Compresses FILES, or decompresses them with -d. Every result goes to a new file beside its source, which is kept. "
    "Without FILES, or for the file -, standard input goes to standard output.";

constexpr const char* kExamples =
    "Examples:\n"
    "  ozrz big.log                  makes big.log.lz4, on all cores\n"
    "  ozrz -d big.log.lz4 -o copy   and back\n"
    "  ozrz -F gzip -9 *.csv         makes .gz files, as small as they get\n"
    "  tar c src | ozrz > src.tar.lz4\n"
    "  ozrz -l *.lz4                 shows what is in them\n";

constexpr const char* kFooter =
    "Exit status: 0 for success, 1 after an error, 2 after a warning.\n"
    "\"ozrz bench --help\" explains the benchmark.";

constexpr const char* kBenchUsage = "Usage: ozrz bench [OPTIONS] [FILES]";

constexpr const char* kBenchDescription =
    "Compresses and decompresses FILES in memory, with every format at every level, and shows ratio and speed. Every "
    "result is compared with the original. Without FILES, some that most systems have are taken.";

unsigned allCores() { return std::max(1U, std::thread::hardware_concurrency()); }

std::string versionText() {
    const LibraryVersion& library = *ozrdcGetLibVersion();
    return std::string("ozrz ") + OZRZ_VERSION + "\nwith " + library.name + " " + library.version + ", " +
           library.buildDate + "\n";
}

std::string levelsText(const FormatDescription& format) {
    std::string text = format.hasLevels ? "1-9" : "-";
    if (format.hasFast) text += ", fast";
    return text;
}

std::string formatsText(const Registry& registry) {
    const auto row = [](const std::string& name, const std::string& suffix, const std::string& levels,
                        const std::string& summary) {
        return padRight(name, 10) + padRight(suffix, 10) + padRight(levels, 12) + summary + "\n";
    };
    std::string text = row("format", "suffix", "levels", "");
    for (const auto& format : registry.formats()) {
        const FormatDescription& description = format->description();
        text += row(std::string(description.name), std::string(description.suffixes.front().text),
                    levelsText(description), std::string(description.summary));
    }
    return text;
}

const Format& findFormat(const Registry& registry, const std::string& name) {
    const Format* format = registry.byName(name);
    if (format == nullptr) throw UsageError("there is no format \"" + name + "\"; there are: " + registry.names());
    return *format;
}

CLI::Option* addThreads(CLI::App& app, unsigned& threads) {
    return app.add_option("-T,--threads", threads, "threads; 0: one for each core (default)")
        ->type_name("N")
        ->check(CLI::Range(0U, kMaxThreads));
}

// Parses; true if the work may go on. Otherwise help was asked for, and given.
bool parse(CLI::App& app, int argc, char** argv, const std::string& usage, const std::string& examples = {}) {
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    try {
        app.parse(argc, argv);
        return true;
    } catch (const CLI::CallForHelp&) {
        print(helpText(app, usage, examples));
        return false;
    } catch (const CLI::ExtrasError&) {
        throw UsageError("there is no option " + app.remaining().front());
    } catch (const CLI::ArgumentMismatch& error) {
        // "--output: 1 required FILE missing"
        const std::string text = error.what();
        throw UsageError(text.substr(0, text.find(':')) + " needs a value");
    } catch (const CLI::ParseError& error) {
        throw UsageError(error.what());
    }
}

void checkConsistency(const Options& options) {
    if (options.output && options.files.size() > 1) throw UsageError("-o takes the result of one file, not of several");
    if (options.output && options.toStdout) throw UsageError("-o and -c cannot be used together");
    if (options.removeSource && !options.writesFiles()) {
        throw UsageError("--rm is for results that go to files: it cannot be used with -c, -t or -l");
    }
    if (options.recover && options.format != nullptr && !options.format->description().canRecover) {
        throw UsageError("the format " + std::string(options.format->description().name) + " has no --recover");
    }
    if (options.level != 0 && options.format != nullptr && !options.format->description().hasLevels) {
        throw UsageError("the format " + std::string(options.format->description().name) + " has no levels");
    }
    if (options.acceleration != 0 && options.format != nullptr && !options.format->description().hasFast) {
        throw UsageError("the format " + std::string(options.format->description().name) + " has no --fast");
    }
}

std::variant<Options, BenchOptions, ExitCode> parseMain(int argc, char** argv, Registry& registry) {
    Options options;
    CLI::App app(kDescription);
    app.footer(kFooter);
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);

    bool compress = false;
    bool decompress = false;
    bool test = false;
    bool list = false;
    const char* group = "What to do";
    app.add_flag("-z,--compress", compress, "compress (default)")->group(group);
    app.add_flag("-d,--decompress", decompress, "decompress")->group(group);
    app.add_flag("-t,--test", test, "decompress, check, and write nothing")->group(group);
    app.add_flag("-l,--list", list, "show format, sizes, ratio and check")->group(group);
    app.add_flag("--recover", options.recover, "decompress what is intact of damaged files (bzip2, lzss)")
        ->group(group);

    group = "Where results go";
    bool keep = false;
    app.add_flag("-c,--stdout", options.toStdout, "write to standard output")->group(group);
    app.add_option("-o,--output", options.output, "write to this file")->type_name("FILE")->group(group);
    app.add_flag("-f,--force", options.force,
                 "overwrite files; follow symbolic links; write compressed data to a terminal; keep what is intact of "
                 "damaged files")
        ->group(group);
    app.add_flag("-k,--keep", keep, "keep the source (default, and wins over --rm)")->group(group);
    app.add_flag("-N,--name", options.restoreName, "restore name and time that the compressed file tells")
        ->group(group);
    app.add_flag("--rm", options.removeSource, "remove the source after success")->group(group);

    group = "How to compress";
    std::string formatName;
    app.add_option("-F,--format", formatName, "the format (default: by suffix of -o, else lz4)")
        ->type_name("NAME")
        ->group(group);
    app.add_flag("-1{1},-2{2},-3{3},-4{4},-5{5},-6{6},-7{7},-8{8},-9{9}", options.level, "level, fast to small")
        ->group(group);
    app.add_flag("--fast{1}", options.acceleration, "faster and larger; N from 1 (default) upwards")
        ->type_name("[=N]")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()))
        ->group(group);
    app.add_flag("-n{false},--no-name{false}", options.storeName, "store neither name nor time of the file (gzip, lzo)")
        ->group(group);
    app.add_option("-D,--dictionary", options.dictionary, "dictionary; decompressing needs the same")
        ->type_name("FILE")
        ->group(group);
    unsigned threads = 0;
    addThreads(app, threads)->group(group);

    for (const auto& format : registry.formats()) format->addOptions(app);

    group = "What to say";
    bool quiet = false;
    bool noProgress = false;
    bool version = false;
    bool formats = false;
    const CLI::Option* verbose = app.add_flag("-v,--verbose")
                                     ->description("a line for every file; twice: more of it")
                                     ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                                     ->group(group);
    app.add_flag("-q,--quiet", quiet, "no warnings, no progress bar, no questions")->group(group);
    app.add_flag("--no-progress", noProgress, "no progress bar")->group(group);
    app.add_flag("--formats", formats, "show the formats")->group(group);
    app.add_flag("-V,--version", version, "show the versions of command and library")->group(group);
    app.set_help_flag("-h,--help", "show this help")->group(group);

    app.add_option("FILES", options.files)->multi_option_policy(CLI::MultiOptionPolicy::Throw);

    if (!parse(app, argc, argv, kUsage, kExamples)) return ExitCode::success;
    if (version || formats) {
        print(version ? versionText() : formatsText(registry));
        return ExitCode::success;
    }

    if (options.recover && compress) throw UsageError("--recover is for decompressing");
    options.mode = list                            ? Mode::list
                   : test                          ? Mode::test
                   : decompress || options.recover ? Mode::decompress
                                                   : Mode::compress;
    if (!formatName.empty()) options.format = &findFormat(registry, formatName);
    if (options.output == "-") {
        options.output.reset();
        options.toStdout = true;
    }
    options.removeSource = options.removeSource && !keep;
    options.threads = threads == 0 ? allCores() : threads;
    options.verbosity = quiet ? 0 : Messages::kNormal + static_cast<int>(verbose->count());
    options.progress = !quiet && !noProgress;
    if (options.files.empty()) options.files.emplace_back("-");
    checkConsistency(options);
    return options;
}

std::variant<Options, BenchOptions, ExitCode> parseBench(int argc, char** argv, Registry& registry) {
    BenchOptions options;
    CLI::App app(kBenchDescription);
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);

    std::string formatName;
    bool csv = false;
    bool json = false;
    unsigned threads = 1;
    const char* group = "Options";
    app.add_option("-F,--format", formatName, "measure this format only")->type_name("NAME")->group(group);
    addThreads(app, threads)->description("threads (default 1); 0: one for each core")->group(group);
    app.add_option("--time", options.seconds, "time for each measurement (default 1)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 3600.0))
        ->group(group);
    app.add_flag("--csv", csv, "comma-separated values")->group(group);
    app.add_flag("--json", json, "JSON")->group(group);
    app.set_help_flag("-h,--help", "show this help")->group(group);
    for (const auto& format : registry.formats()) format->addOptions(app);
    app.add_option("FILES", options.files)->multi_option_policy(CLI::MultiOptionPolicy::Throw);

    if (!parse(app, argc, argv, kBenchUsage)) return ExitCode::success;
    if (!formatName.empty()) options.format = &findFormat(registry, formatName);
    options.threads = threads == 0 ? allCores() : threads;
    if (csv && json) throw UsageError("--csv and --json cannot be used together");
    if (csv) options.style = BenchOptions::Style::csv;
    if (json) options.style = BenchOptions::Style::json;
    return options;
}

}  // namespace

void print(const std::string& text) {
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
        throw FileError("standard output", "cannot write", errno);
    }
}

std::variant<Options, BenchOptions, ExitCode> parseCommandLine(int argc, char** argv, Registry& registry,
                                                               Messages& messages) {
    try {
        // A file of this name is given as ./bench.
        if (argc > 1 && std::string_view(argv[1]) == "bench") return parseBench(argc - 1, argv + 1, registry);
        return parseMain(argc, argv, registry);
    } catch (const UsageError& error) {
        messages.error(error.what());
        messages.line("Try \"ozrz --help\".");
        return ExitCode::error;
    }
}

}  // namespace ozrz
