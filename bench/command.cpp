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
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <string>
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
        {"gzip", "gzip", {"gzip", "-c"}, {"gzip", "-dc"}, "-6", 1},
        {"pigz", "gzip", {"pigz", "-p2", "-c"}, {"pigz", "-p2", "-dc"}, "-6", 2},
        {"bzip2", "bzip2", {"bzip2", "-c"}, {"bzip2", "-dc"}, "-9", 1},
        {"lbzip2", "bzip2", {"lbzip2", "-n2", "-c"}, {"lbzip2", "-n2", "-dc"}, "-9", 2},
        {"lzop", "lzo", {"lzop", "-c"}, {"lzop", "-dc"}, "-3", 1},
    };
    return all;
}

void measureCommand(const std::string& primitive, const std::string& implementation, const File& file,
                    const Command& command, const std::string& from, Clock clock, std::size_t packedSize) {
    measureTimedCodec(primitive, implementation, file.name, file.data.size(), packedSize,
                      [=] { return timeOf(command, from, "/dev/null", clock); });
}

void addPeer(const Peer& peer, const File& file, const fs::path& directory) {
    const Clock clock = peer.threads == 1 ? Clock::processor : Clock::wall;
    const std::string threads = "-T" + std::to_string(peer.threads);
    const Command pack{OZRZ_COMMAND, "-q", threads, peer.level, "-F", peer.format, "-c"};
    const Command unpack{OZRZ_COMMAND, "-q", threads, "-F", peer.format, "-dc"};
    const std::string plain = directory / file.name;
    const std::string theirs = directory / (file.name + "." + peer.name);
    const std::string ours = theirs + ".ozrz";
    if (timeOf(peer.pack, plain, theirs, clock) == 0 || timeOf(pack, plain, ours, clock) == 0) {
        throw std::runtime_error("cannot compress with " + peer.name);
    }
    const std::string suffix = peer.threads == 1 ? "" : "_2_threads";
    const std::string encode = peer.format + "_encode" + suffix;
    measureCommand(encode, "ozrdc", file, pack, plain, clock, fs::file_size(ours));
    measureCommand(encode, peer.name, file, peer.pack, plain, clock, fs::file_size(theirs));
    // Both read the file of the peer.
    const std::string decode = peer.format + "_decode" + suffix;
    measureCommand(decode, "ozrdc", file, unpack, theirs, clock, fs::file_size(theirs));
    measureCommand(decode, peer.name, file, peer.unpack, theirs, clock, fs::file_size(theirs));
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    static const Directory directory;
    for (const File& file : corpus) {
        std::ofstream out(directory.path() / file.name, std::ios::binary);
        out.write(reinterpret_cast<const char*>(file.data.data()), static_cast<std::streamsize>(file.data.size()));
    }
    for (const Peer& peer : peers()) {
        const std::string version = versionOf(peer.name);
        if (version.empty()) continue;
        note(peer.name, version);
        for (const File& file : corpus) {
            if (file.data.size() >= kMinSize) addPeer(peer, file, directory.path());
        }
    }
}

}  // namespace ozrdc::bench
