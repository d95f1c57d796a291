// What a compressed file format is to the command. A further format is one class, in a file or folder of this directory
// and in the list of registry.cpp; nothing else knows formats by name.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bytes.h"
#include "sink.h"
#include "source.h"

namespace CLI {
class App;
}

namespace ozrz {

// What is known of the bytes to be compressed before they are read.
struct SourceInfo {
    std::string name{};               // of the file, without directories; empty for standard input
    std::optional<uint64_t> size{};   // of a regular file
    std::optional<timespec> mtime{};  // of a regular file
    std::optional<mode_t> mode{};     // of a regular file: kind and permissions

    // The time as a field of 32 bits holds it: seconds since 1970, 0 if it is not known or does not fit.
    uint32_t storableTime() const {
        const time_t seconds = mtime ? mtime->tv_sec : 0;
        return seconds > 0 && seconds <= std::numeric_limits<uint32_t>::max() ? static_cast<uint32_t>(seconds) : 0;
    }
};

struct EncodeSettings {
    int level = 1;
    int acceleration = 0;  // of --fast=N; 0: not asked for, the level counts
    unsigned threads = 1;
    std::optional<Bytes> dictionary{};
    SourceInfo source{};
    bool storeName = true;   // and time, in formats that can
    bool overwrite = false;  // files that a format writes besides
    // Takes what was asked to be told of the result, line by line.
    std::function<void(const std::string&)> tell = [](const std::string&) {};
};

struct DecodeSettings {
    unsigned threads = 1;
    std::optional<Bytes> dictionary{};
    // Damaged blocks are left out, each with a warning; the error comes when all the others are written. For formats
    // that can do so.
    bool recover = false;
    // Takes what is odd but no error, such as bytes behind the end.
    std::function<void(const std::string&)> warn = [](const std::string&) {};
};

// What -l tells of a file.
struct Listing {
    uint64_t compressed = 0;
    uint64_t uncompressed = 0;
    std::string check{};    // name of the check on the content, "none" without one
    std::string details{};  // a line for -v
};

// The file that the content came from, as far as a compressed file tells it.
struct OriginalFile {
    std::string name{};  // without directories; empty if it does not tell
    std::optional<timespec> mtime{};
};

// With the dots.
struct Suffix {
    std::string_view text{};
    std::string_view restored{};  // what takes its place when the file is decompressed
};

struct FormatDescription {
    std::string_view name{};         // for -F
    std::string_view summary{};      // for --formats
    std::vector<Suffix> suffixes{};  // the first is the one given to compressed files
    int defaultLevel = 1;
    // Those of the levels 1 to 9 that differ in their results, for the benchmark; every level is accepted.
    std::vector<int> distinctLevels{};
    std::vector<int> distinctAccelerations{};  // the same of --fast; others are accepted too
    bool hasLevels = true;
    bool hasFast = false;
    bool hasDictionaries = false;
    bool canRecover = false;
};

class Format {
  public:
    Format() = default;
    Format(const Format&) = delete;
    Format& operator=(const Format&) = delete;
    virtual ~Format() = default;

    virtual const FormatDescription& description() const = 0;

    // Adds the options that only this format has; they are kept in the format itself.
    virtual void addOptions(CLI::App& /*app*/) {}

    // Whether a file that begins with `head` (up to `Source::kMaxPeek` bytes, fewer if the file is shorter) is of this
    // format. Formats without a magic number say no and are found by suffix or by -F.
    virtual bool recognizes(Bytes /*head*/) const { return false; }

    // What a file that begins with `head` tells of the original.
    virtual std::optional<OriginalFile> original(Bytes /*head*/) const { return std::nullopt; }

    // Compresses all of the source. Throws an `Error`.
    virtual void encode(Source& source, Sink& sink, const EncodeSettings& settings) const = 0;

    // Decompresses all members of the source. Throws an `Error`; what was written before it is at best the part of the
    // content in front of the damage.
    virtual void decode(Source& source, Sink& sink, const DecodeSettings& settings) const = 0;

    // Tells what the source holds, with as little decoding as the format allows.
    virtual Listing list(Source& source, const DecodeSettings& settings) const = 0;
};

}  // namespace ozrz
