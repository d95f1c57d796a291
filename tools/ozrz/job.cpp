// The way of one file: open, find the format and the target, work, commit, remove the source if that is wanted.
#include "job.h"

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <new>

#include "error.h"
#include "text.h"

namespace ozrz {
namespace {

using Clock = std::chrono::steady_clock;

Bytes bytesOf(const Buffer& buffer) { return {buffer.data(), buffer.size()}; }

// What -dcf does with files in no known format.
void copy(Source& source, Sink& sink) {
    Buffer buffer(MiB);
    while (const std::size_t count = source.read({buffer.data(), buffer.size()})) sink.write({buffer.data(), count});
}

}  // namespace

void forEachFile(const std::vector<std::string>& files, Messages& messages,
                 const std::function<void(const std::string& file)>& work) {
    for (const std::string& file : files) {
        try {
            work(file);
        } catch (const Skipped& reason) {
            messages.warning(reason.what());
        } catch (const DataError& error) {
            messages.error((file == "-" ? kStdinName : file) + ": " + error.what());
        } catch (const Error& error) {
            messages.error(error.what());
        } catch (const std::bad_alloc&) {
            messages.error((file == "-" ? kStdinName : file) + ": not enough memory");
        }
    }
}

DecodeSettings decodeSettings(const Options& options, const std::optional<Buffer>& dictionary, const InputFile& input,
                              Messages& messages, unsigned& warnings) {
    DecodeSettings settings{.threads = options.threads, .recover = options.recover};
    if (dictionary) settings.dictionary = bytesOf(*dictionary);
    settings.warn = [&](const std::string& text) {
        messages.warning(input.name() + ": " + text);
        ++warnings;
    };
    return settings;
}

const Format* detectFormat(const Options& options, const Registry& registry, InputFile& input) {
    if (options.format != nullptr) return options.format;
    const Bytes head = input.source().peek(Source::kMaxPeek);
    if (head.empty()) throw DataError("the file is empty, which no compressed file is");
    if (const Format* format = registry.byMagic(head)) return format;
    return registry.bySuffix(input.name()).format;
}

InputFile::Accept acceptedSources(const Options& options) {
    if (!options.writesFiles() || options.output) return InputFile::Accept::anything;
    return options.force ? InputFile::Accept::linkedFiles : InputFile::Accept::regularFiles;
}

std::optional<Buffer> loadDictionary(const std::optional<std::string>& path) {
    if (!path) return std::nullopt;
    InputFile input(*path, InputFile::Accept::anything);
    std::size_t size = 0;
    Buffer buffer(64 * KiB);
    for (;;) {
        size += input.source().read({buffer.data() + size, buffer.size() - size});
        if (size < buffer.size()) break;
        Buffer larger(2 * size);
        std::copy_n(buffer.data(), size, larger.data());
        buffer = std::move(larger);
    }
    if (size == 0) throw FileError(*path, "is empty and cannot be a dictionary");
    Buffer exact(size);
    std::copy_n(buffer.data(), size, exact.data());
    return exact;
}

JobRunner::JobRunner(const Options& options, const Registry& registry, Messages& messages)
    : options_(options),
      registry_(registry),
      messages_(messages),
      // Beside a bar that is drawn over and over, text on the same terminal could not be read.
      progress_(options.progress && isatty(STDERR_FILENO) != 0 &&
                !(options.mode == Mode::decompress && options.toStdout && isatty(STDOUT_FILENO) != 0)),
      dictionary_(loadDictionary(options.dictionary)) {
    messages_.beforeWriting([this] { progress_.clear(); });
}

void JobRunner::run() {
    forEachFile(options_.files, messages_, [this](const std::string& file) { runFile(file); });
    messages_.beforeWriting({});
}

void JobRunner::runFile(const std::string& file) {
    InputFile input(file, acceptedSources(options_));
    const bool encoding = options_.mode == Mode::compress;
    if (!encoding && input.isTerminal() && !options_.force) {
        throw FileError(input.name(), "compressed data are not read from a terminal (-f does it; -h helps)");
    }
    const Format* format = encoding ? &encodingFormat() : detectFormat(options_, registry_, input);
    const OriginalFile original = originalFile(input, encoding ? nullptr : format);
    const std::string target = !options_.writesFiles() || options_.output || input.isStdin() ? std::string()
                               : encoding ? encodedName(input, *format)
                                          : decodedName(input, original);
    const std::unique_ptr<OutputFile> output = openOutput(input, target);
    if (encoding && output->isTerminal() && !options_.force) {
        throw Error("compressed data are not written to a terminal (-f does it; -h helps)");
    }

    progress_.start(input.name(), input.size());
    input.source().observe([this](uint64_t position) { progress_.update(position); });
    const Clock::time_point start = Clock::now();
    unsigned warnings = 0;
    if (encoding) {
        compress(input, *output, *format);
    } else {
        warnings = options_.force || options_.recover ? decompressWhatIsIntact(input, *output, format)
                                                      : decompress(input, *output, format);
    }
    const bool remove = options_.removeSource && !input.isStdin() && warnings == 0;
    struct stat status = input.status();
    if (original.mtime) status.st_mtim = *original.mtime;
    output->commit(input.isRegular() && !input.isStdin() ? &status : nullptr, remove);
    progress_.clear();
    if (remove && unlink(file.c_str()) != 0) throw FileError(file, "cannot remove", errno);
    if (messages_.verbose()) {
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        report(input, options_.output.value_or(target), input.source().position(), output->sink().written(), seconds);
    }
}

void JobRunner::compress(InputFile& input, OutputFile& output, const Format& format) {
    EncodeSettings settings{.level = options_.level == 0 ? format.description().defaultLevel : options_.level,
                            .acceleration = options_.acceleration,
                            .threads = options_.threads,
                            .source = input.info(),
                            .storeName = options_.storeName,
                            .overwrite = options_.force,
                            .tell = [this](const std::string& text) { messages_.line(text); }};
    if (dictionary_) settings.dictionary = bytesOf(*dictionary_);
    format.encode(input.source(), output.sink(), settings);
}

// Returns the number of warnings.
unsigned JobRunner::decompress(InputFile& input, OutputFile& output, const Format* format) {
    unsigned warnings = 0;
    if (format == nullptr) {
        if (!(options_.force && options_.toStdout)) throw DataError("is in no format that is known here");
        copy(input.source(), output.sink());
        return warnings;
    }
    if (options_.recover && !format->description().canRecover) {
        throw DataError("the format " + std::string(format->description().name) + " has no --recover");
    }
    format->decode(input.source(), output.sink(), decodeSettings(options_, dictionary_, input, messages_, warnings));
    return warnings;
}

// The error is told all the same.
unsigned JobRunner::decompressWhatIsIntact(InputFile& input, OutputFile& output, const Format* format) {
    try {
        return decompress(input, output, format);
    } catch (const DataError& error) {
        const uint64_t intact = output.sink().written();
        if (intact == 0) throw;
        output.commit(input.isRegular() && !input.isStdin() ? &input.status() : nullptr, false);
        if (!options_.writesFiles()) throw;
        throw DataError(std::string(error.what()) + "; " + countText(intact, "byte") +
                        (options_.recover ? " are kept" : " in front of it are kept"));
    }
}

OriginalFile JobRunner::originalFile(InputFile& input, const Format* format) const {
    if (!options_.restoreName || format == nullptr) return {};
    OriginalFile original = format->original(input.source().peek(Source::kMaxPeek)).value_or(OriginalFile{});
    // Wherever the file came from, it goes beside its source.
    original.name.erase(0, original.name.rfind('/') + 1);
    if (original.name == "." || original.name == "..") original.name.clear();
    return original;
}

const Format& JobRunner::encodingFormat() const {
    if (options_.format != nullptr) return *options_.format;
    if (options_.output) {
        if (const Format* format = registry_.bySuffix(*options_.output).format) return *format;
    }
    return registry_.standard();
}

std::string JobRunner::encodedName(const InputFile& input, const Format& format) const {
    const std::string_view suffix = format.description().suffixes.front().text;
    if (!options_.force && registry_.bySuffix(input.name()).format == &format) {
        throw Skipped(input.name() + ": already has the suffix " + std::string(suffix) +
                      "; skipped (-f compresses it again)");
    }
    return input.name() + std::string(suffix);
}

std::string JobRunner::decodedName(const InputFile& input, const OriginalFile& original) const {
    if (!original.name.empty()) return input.name().substr(0, input.name().rfind('/') + 1) + original.name;
    const Suffix suffix = registry_.bySuffix(input.name()).suffix;
    if (suffix.text.empty())
        throw Skipped(input.name() + ": has no known suffix to take off; skipped (-o or -c tells where to)");
    return input.name().substr(0, input.name().size() - suffix.text.size()) + std::string(suffix.restored);
}

std::unique_ptr<OutputFile> JobRunner::openOutput(const InputFile& input, const std::string& besideName) {
    if (options_.mode == Mode::test) return openNowhere();
    if (options_.output || !besideName.empty()) {
        return openFile(options_.output.value_or(besideName), input.status(),
                        [&](const std::string& path) { return mayOverwrite(input, path); });
    }
    return openStdout();
}

bool JobRunner::mayOverwrite(const InputFile& input, const std::string& path) {
    if (options_.force) return true;
    if (messages_.quiet() || input.isStdin() || isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) return false;
    std::fputs(("ozrz: " + path + " already exists; overwrite it (y or n)? ").c_str(), stderr);
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

void JobRunner::report(const InputFile& input, const std::string& target, uint64_t read, uint64_t written,
                       double seconds) {
    const bool encoding = options_.mode == Mode::compress;
    const uint64_t plain = encoding ? read : written;
    const uint64_t packed = encoding ? written : read;
    std::string text = input.name() + ": ";
    if (options_.mode == Mode::test) text += "OK, ";
    text += sizeText(read) + " -> " + sizeText(written) + " (" + fixedText(percent(packed, plain), 1) + "%)";
    if (!target.empty()) text += ", " + target;
    if (messages_.detailed()) {
        text += ", " + fixedText(seconds, 2) + " s, " + rateText(static_cast<double>(plain) / seconds);
    }
    messages_.line(text);
}

}  // namespace ozrz
