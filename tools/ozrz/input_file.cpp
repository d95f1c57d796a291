// Opening sources.
#include "input_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "error.h"

namespace ozrz {
namespace {

int openSource(const std::string& name, InputFile::Accept accept) {
    int flags = O_RDONLY | O_CLOEXEC | O_NOCTTY;
    if (accept != InputFile::Accept::anything) flags |= O_NONBLOCK;  // a pipe, to be refused, is not waited for
    if (accept == InputFile::Accept::regularFiles) flags |= O_NOFOLLOW;
    const int descriptor = open(name.c_str(), flags);
    if (descriptor >= 0) return descriptor;
    if (errno == ELOOP && accept == InputFile::Accept::regularFiles) {
        throw Skipped(name + ": is a symbolic link; skipped (-f follows it)");
    }
    throw FileError(name, "cannot open", errno);
}

}  // namespace

InputFile::InputFile(const std::string& path, Accept accept)
    : name_(path == "-" ? kStdinName : path), isStdin_(path == "-") {
    descriptor_ = isStdin_ ? STDIN_FILENO : openSource(path, accept);
    try {
        if (fstat(descriptor_, &status_) != 0) throw FileError(name_, "cannot examine", errno);
        if (S_ISDIR(status_.st_mode)) throw Skipped(name_ + ": is a directory; skipped");
        if (!isStdin_ && accept != Accept::anything && !isRegular())
            throw Skipped(name_ + ": is not a regular file; skipped");
    } catch (...) {
        if (!isStdin_) close(descriptor_);
        throw;
    }
    if (isRegular()) {
        const off_t start = std::max<off_t>(0, lseek(descriptor_, 0, SEEK_CUR));
        size_ = static_cast<uint64_t>(std::max<off_t>(0, status_.st_size - start));
    }
    source_ = std::make_unique<FileSource>(descriptor_, name_);
}

InputFile::~InputFile() {
    if (!isStdin_) close(descriptor_);
}

bool InputFile::isTerminal() const { return isatty(descriptor_) != 0; }

SourceInfo InputFile::info() const {
    SourceInfo info{.size = size_};
    if (!isStdin_) info.name = name_.substr(name_.rfind('/') + 1);
    if (isRegular()) {
        info.mtime = status_.st_mtim;
        info.mode = status_.st_mode;
    }
    return info;
}

}  // namespace ozrz
