// The ozrz command beside the commands of the formats, as processes: a file goes in, its result goes nowhere.
//
// Where one thread works, what is compared is processor time, that of the system included, so that it does not matter
// what else the machine does. Where two threads work, it is the time that a person waits.

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/measure.h"

extern char** environ;  // NOLINT(readability-redundant-declaration)

namespace ozrdc::bench {
namespace {

namespace fs = std::filesystem;
using Command = std::vector<std::string>;

// In shorter files, starting a process and its threads is most of the work.
constexpr std::size_t kMinSize = 1'000'000;

enum class Clock { processor, wall };

// A directory for the files, which goes when the program ends.
class Directory {
  public:
    Directory() {
        std::string name = (fs::temp_directory_path() / "ozrdc-bench-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make a directory");
        path_ = name;
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    const fs::path& path() const { return path_; }

  private:
    fs::path path_;
};

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Runs a command from file to file; returns the time, or 0 if it failed.
double timeOf(const Command& command, const std::string& from, const std::string& to, Clock clock) {
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, from.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, to.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);

    const auto start = std::chrono::steady_clock::now();
    pid_t process = 0;
    const int failure = posix_spawnp(&process, arguments.front(), &files, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    int status = 0;
    rusage usage{};
    if (failure != 0 || wait4(process, &status, 0, &usage) != process || status != 0) return 0;
    if (clock == Clock::processor) return seconds(usage.ru_utime) + seconds(usage.ru_stime);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The version that a command tells; empty if there is no such command.
std::string versionOf(const std::string& name) {
    const std::string ask = "command -v " + name + " >/dev/null && " + name + " --version 2>&1 </dev/null";
    FILE* pipe = popen(ask.c_str(), "r");
    if (pipe == nullptr) return "";
    std::string text;
    std::array<char, 256> piece;
    while (std::fgets(piece.data(), piece.size(), pipe) != nullptr) text += piece.data();
    pclose(pipe);
    std::smatch match;
    return std::regex_search(text, match, std::regex("[0-9]+(\\.[0-9]+)+")) ? match.str() : "";
}

// A peer of a format: how it compresses and decompresses, standard input to standard output.
struct Peer {
    std::string name;
    std::string format;  // as -F calls it
    Command pack;
    Command unpack;
    std::string level;  // ours
    int threads;
};

const std::vector<Peer>& peers() {
    static const std::vector<Peer> all{
        {"lz4", "lz4", {"lz4", "-c"}, {"lz4", "-dc"}, "-1", 1},
        {"gzip", "gzip", {"gzip", "-c"}, {"gzip", "-dc"}, "-6", 1},
        {"pigz", "gzip", {"pigz", "-p2", "-c"}, {"pigz", "-p2", "-dc"}, "-6", 2},
        {"bzip2", "bzip2", {"bzip2", "-c"}, {"bzip2", "-dc"}, "-9", 1},
        {"lbzip2", "bzip2", {"lbzip2", "-n2", "-c"}, {"lbzip2", "-n2", "-dc"}, "-9", 2},
        {"lzop", "lzo", {"lzop", "-c"}, {"lzop", "-dc"}, "-3", 1},
    };
    return all;
}

void measureCommand(const std::string& primitive, const std::string& implementation, const File& file,
                    const Command& command, const std::string& from, Clock clock, std::size_t size) {
    measureTimedCodec(primitive, implementation, file.name, file.data.size(), size,
                      [=] { return timeOf(command, from, "/dev/null", clock); });
}

// Runs a command for what it writes; returns how much that is.
std::uintmax_t packedSize(const Command& command, const std::string& from, const std::string& to) {
    if (timeOf(command, from, to, Clock::wall) == 0) {
        throw std::runtime_error("cannot compress with " + command.front());
    }
    return fs::file_size(to);
}

void addPeer(const Peer& peer, const File& file, const fs::path& directory) {
    const Clock clock = peer.threads == 1 ? Clock::processor : Clock::wall;
    const std::string threads = "-T" + std::to_string(peer.threads);
    const Command pack{OZRZ_COMMAND, "-q", threads, peer.level, "-F", peer.format, "-c"};
    const Command unpack{OZRZ_COMMAND, "-q", threads, "-F", peer.format, "-dc"};
    const std::string plain = directory / file.name;
    const std::string theirs = directory / (file.name + "." + peer.name);
    const auto ourSize = packedSize(pack, plain, theirs + ".ozrz");
    const auto theirSize = packedSize(peer.pack, plain, theirs);
    const std::string suffix = peer.threads == 1 ? "" : "_2_threads";
    const std::string encode = "ozrz_" + peer.format + "_encode" + suffix;
    measureCommand(encode, "ozrdc", file, pack, plain, clock, ourSize);
    measureCommand(encode, peer.name, file, peer.pack, plain, clock, theirSize);
    // Both read the file of the peer.
    const std::string decode = "ozrz_" + peer.format + "_decode" + suffix;
    measureCommand(decode, "ozrdc", file, unpack, theirs, clock, theirSize);
    measureCommand(decode, peer.name, file, peer.unpack, theirs, clock, theirSize);
}

// A command for gzip files with levels 1 to 9, and the sizes that it makes of the files.
class Levels {
  public:
    static constexpr int kHighest = 9;

    Levels(std::string name, Command command, const std::vector<const File*>& files, const fs::path& directory)
        : name_(std::move(name)), command_(std::move(command)) {
        for (int level = 1; level <= kHighest; ++level) {
            for (const File* file : files) {
                sizes_[index(level)].push_back(
                    packedSize(at(level), directory / file->name, directory / (file->name + ".gz")));
            }
        }
    }

    Command at(int level) const {
        Command command = command_;
        command.push_back({'-', static_cast<char>('0' + level)});
        return command;
    }

    // The geometric mean of the sizes.
    double meanSize(int level) const {
        double logarithms = 0;
        for (const std::uintmax_t size : sizes_[index(level)]) logarithms += std::log(static_cast<double>(size));
        return std::exp(logarithms / static_cast<double>(sizes_[index(level)].size()));
    }

    // The level whose mean size is nearest to this one.
    int nearest(double size) const {
        int best = 1;
        for (int level = 2; level <= kHighest; ++level) {
            if (std::abs(meanSize(level) - size) < std::abs(meanSize(best) - size)) best = level;
        }
        return best;
    }

    void measure(const std::string& primitive, int level, const std::vector<const File*>& files,
                 const fs::path& directory) const {
        for (std::size_t i = 0; i < files.size(); ++i) {
            measureCommand(primitive, name_, *files[i], at(level), directory / files[i]->name, Clock::processor,
                           sizes_[index(level)][i]);
        }
    }

  private:
    static std::size_t index(int level) { return static_cast<std::size_t>(level - 1); }

    std::string name_;
    Command command_;
    std::array<std::vector<std::uintmax_t>, kHighest> sizes_;
};

// Each level against the same one of gzip, and against the one of libdeflate's command whose files are of nearest size.
void addGzipLevels(const std::vector<const File*>& files, const fs::path& directory) {
    const auto levelsOf = [&](const std::string& name) -> std::optional<Levels> {
        if (std::system(("command -v " + name + " >/dev/null").c_str()) != 0) return std::nullopt;
        return Levels(name, {name, "-c"}, files, directory);
    };
    const Levels ours("ozrdc", {OZRZ_COMMAND, "-q", "-T1", "-F", "gzip", "-c"}, files, directory);
    const std::optional<Levels> gzip = levelsOf("gzip");
    const std::optional<Levels> libdeflate = levelsOf("libdeflate-gzip");
    for (int level = 1; level <= Levels::kHighest; ++level) {
        const std::string primitive = "ozrz_gzip_encode_" + std::to_string(level);
        ours.measure(primitive, level, files, directory);
        if (gzip) gzip->measure(primitive, level, files, directory);
        if (libdeflate) {
            const int nearest = libdeflate->nearest(ours.meanSize(level));
            note(primitive, "libdeflate-gzip -" + std::to_string(nearest));
            libdeflate->measure(primitive, nearest, files, directory);
        }
    }
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    static const Directory directory;
    for (const File& file : corpus) {
        std::ofstream out(directory.path() / file.name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(file.data.data()), static_cast<std::streamsize>(file.data.size()));
    }
    std::vector<const File*> files;
    for (const File& file : corpus) {
        if (file.data.size() >= kMinSize) files.push_back(&file);
    }
    for (const Peer& peer : peers()) {
        const std::string version = versionOf(peer.name);
        if (version.empty()) continue;
        note(peer.name, version);
        for (const File* file : files) addPeer(peer, *file, directory.path());
    }
    addGzipLevels(files, directory.path());
}

}  // namespace ozrdc::bench
