// Nothing half-written stays behind: the name of the temporary file in the making is known to the signal handlers,
// which remove it before the process dies of the signal.
#pragma once

#include <string>

namespace ozrz {

// Catches the signals that end a process from outside, except those that the parent had it ignore (as nohup does).
void installSignalHandlers();

// The file of this name is removed if a signal ends the process, and when this object goes, unless it was released.
// One at a time.
class TemporaryFile {
  public:
    explicit TemporaryFile(std::string path);
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile();

    const std::string& path() const { return path_; }

    // The file has got its final name, or was never made: there is nothing to remove.
    void release();

  private:
    std::string path_;
    bool owned_ = true;
};

}  // namespace ozrz
