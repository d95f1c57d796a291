// A source of the command: a named file, or standard input.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string>

#include "formats/format.h"
#include "source.h"

namespace ozrz {

inline constexpr const char* kStdinName = "standard input";
inline constexpr const char* kStdoutName = "standard output";

class InputFile {
  public:
    // What is read: regular files alone, also behind symbolic links, or pipes and devices as well.
    enum class Accept { regularFiles, linkedFiles, anything };

    // "-" is standard input. Throws FileError, or Skipped for what is not accepted; directories never are.
    InputFile(const std::string& path, Accept accept);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    Source& source() { return *source_; }
    const std::string& name() const { return name_; }  // for messages
    bool isStdin() const { return isStdin_; }
    bool isRegular() const { return S_ISREG(status_.st_mode); }
    bool isTerminal() const;
    const struct stat& status() const { return status_; }
    std::optional<uint64_t> size() const { return size_; }  // of what is to be read, where that is known
    SourceInfo info() const;

  private:
    std::string name_;
    bool isStdin_;
    int descriptor_ = -1;
    struct stat status_ {};
    std::optional<uint64_t> size_;
    std::unique_ptr<FileSource> source_;
};

}  // namespace ozrz
