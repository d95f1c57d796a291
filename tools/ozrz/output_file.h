// A result of the command. What is to become a file is written under a temporary name beside it and gets its own name
// when it is complete, so that nobody ever sees half of it.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "cleanup.h"
#include "sink.h"

namespace ozrz {

class OutputFile {
  public:
    virtual ~OutputFile() = default;

    virtual Sink& sink() = 0;

    // The result is complete. `source`, if there is one, is the file whose mode, owner and times it takes over.
    // `durable` results are on the disk when this returns.
    virtual void commit(const struct stat* source, bool durable) = 0;

    virtual bool isTerminal() const { return false; }
};

// What to do when the target exists: true overwrites it.
using OverwriteDecision = std::function<bool(const std::string& path)>;

std::unique_ptr<OutputFile> openStdout();

// Checks and counts without writing.
std::unique_ptr<OutputFile> openNowhere();

// A file to be made at `path`. Devices and pipes that are there are written to as they are; for other things there,
// `overwrite` decides. `source` is compared with what is there: a file cannot be its own result.
std::unique_ptr<OutputFile> openFile(const std::string& path, const struct stat& source,
                                     const OverwriteDecision& overwrite);

}  // namespace ozrz
