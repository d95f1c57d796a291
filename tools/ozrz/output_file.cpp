// Making results: standard output, devices, and files by way of a temporary name.
#include "output_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <random>
#include <utility>

#include "error.h"
#include "input_file.h"

namespace ozrz {
namespace {

constexpr mode_t kPermissions = 07777;

// An open file descriptor that is closed at the end.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }

    int number() const { return number_; }

    // Errors of late writes show here on some file systems.
    void close(const std::string& name) {
        if (::close(std::exchange(number_, -1)) != 0) throw FileError(name, "cannot write", errno);
    }

  private:
    int number_;
};

class StdoutFile final : public OutputFile {
  public:
    Sink& sink() override { return sink_; }
    void commit(const struct stat*, bool) override {}
    bool isTerminal() const override { return isatty(STDOUT_FILENO) != 0; }

  private:
    FileSink sink_{STDOUT_FILENO, kStdoutName};
};

class NoFile final : public OutputFile {
  public:
    Sink& sink() override { return sink_; }
    void commit(const struct stat*, bool) override {}

  private:
    NullSink sink_;
};

// A device or pipe: there is nothing to rename, and its mode and times are its own.
class DeviceFile final : public OutputFile {
  public:
    explicit DeviceFile(const std::string& path)
        : path_(path),
          descriptor_(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY)),
          sink_(descriptor_.number(), path) {
        if (descriptor_.number() < 0) throw FileError(path, "cannot open for writing", errno);
    }

    Sink& sink() override { return sink_; }
    void commit(const struct stat*, bool) override { descriptor_.close(path_); }
    bool isTerminal() const override { return isatty(descriptor_.number()) != 0; }

  private:
    std::string path_;
    Descriptor descriptor_;
    FileSink sink_;
};

// A name beside `path` that nobody else uses. Long names are cut: the whole must stay a valid file name.
std::string temporaryNameFor(const std::string& path) {
    constexpr std::size_t kKept = 64;
    const std::size_t base = path.rfind('/') + 1;
    const uint64_t number = std::random_device()() | uint64_t{std::random_device()()} << 32;
    char suffix[32];
    std::snprintf(suffix, sizeof suffix, ".%016llx.tmp", static_cast<unsigned long long>(number));
    return path.substr(0, base) + "." + path.substr(base, kKept) + suffix;
}

class NewFile final : public OutputFile {
  public:
    NewFile(const std::string& path, bool replace)
        : path_(path),
          replace_(replace),
          temporary_(temporaryNameFor(path)),
          descriptor_(create()),
          sink_(descriptor_.number(), path) {}

    Sink& sink() override { return sink_; }
    void commit(const struct stat* source, bool durable) override;

  private:
    int create();
    void takeOver(const struct stat& source);
    void takeCreationMode();
    void rename();

    std::string path_;
    bool replace_;
    TemporaryFile temporary_;
    Descriptor descriptor_;
    FileSink sink_;
};

int NewFile::create() {
    // Readable by nobody else while it is made: the source may be private.
    const int descriptor =
        open(temporary_.path().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (descriptor < 0) {
        const int reason = errno;
        temporary_.release();
        throw FileError(path_, "cannot create", reason);
    }
    return descriptor;
}

void NewFile::commit(const struct stat* source, bool durable) {
    if (source != nullptr) {
        takeOver(*source);
    } else {
        takeCreationMode();
    }
    if (durable && fsync(descriptor_.number()) != 0) throw FileError(path_, "cannot write", errno);
    descriptor_.close(path_);
    rename();
}

void NewFile::takeOver(const struct stat& source) {
    // Who may not give files away still may give them to their own groups. Where that fails too, the bits that would
    // lend the owner's or group's rights must go.
    mode_t mode = source.st_mode & kPermissions;
    if (fchown(descriptor_.number(), source.st_uid, source.st_gid) != 0 &&
        fchown(descriptor_.number(), static_cast<uid_t>(-1), source.st_gid) != 0) {
        mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID | S_ISVTX);
    }
    if (fchmod(descriptor_.number(), mode) != 0) throw FileError(path_, "cannot set its mode", errno);
    const struct timespec times[2] = {source.st_atim, source.st_mtim};
    if (futimens(descriptor_.number(), times) != 0) throw FileError(path_, "cannot set its time", errno);
}

void NewFile::takeCreationMode() {
    const mode_t mask = umask(0);
    umask(mask);
    if (fchmod(descriptor_.number(), 0666 & ~mask) != 0) throw FileError(path_, "cannot set its mode", errno);
}

void NewFile::rename() {
    const char* from = temporary_.path().c_str();
    int result = -1;
    if (!replace_) {
        // Fails if the target has appeared since it was looked for. Some file systems do not know this way.
        result = renameat2(AT_FDCWD, from, AT_FDCWD, path_.c_str(), RENAME_NOREPLACE);
        if (result != 0 && errno == EEXIST) throw Skipped(path_ + ": already exists; not overwritten (-f does it)");
    }
    if (result != 0) result = std::rename(from, path_.c_str());
    if (result != 0) throw FileError(path_, "cannot give the finished file its name", errno);
    temporary_.release();
}

// Where a symbolic link leads: its target is replaced, not the link.
std::string resolved(const std::string& path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
    const std::unique_ptr<char, decltype(&free)> target(realpath(path.c_str(), nullptr), free);
    return target ? target.get() : path;
}

}  // namespace

std::unique_ptr<OutputFile> openStdout() { return std::make_unique<StdoutFile>(); }

std::unique_ptr<OutputFile> openNowhere() { return std::make_unique<NoFile>(); }

std::unique_ptr<OutputFile> openFile(const std::string& path, const struct stat& source,
                                     const OverwriteDecision& overwrite) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        // A link that leads nowhere is in the way like a file.
        const bool exists = lstat(path.c_str(), &status) == 0;
        if (exists && !overwrite(path)) throw Skipped(path + ": already exists; not overwritten (-f does it)");
        return std::make_unique<NewFile>(path, exists);
    }
    if (S_ISDIR(status.st_mode)) throw FileError(path, "cannot create", EISDIR);
    if (!S_ISREG(status.st_mode)) return std::make_unique<DeviceFile>(path);
    if (status.st_dev == source.st_dev && status.st_ino == source.st_ino) {
        throw FileError(path, "is the source itself and cannot be the result too");
    }
    if (!overwrite(path)) throw Skipped(path + ": already exists; not overwritten (-f does it)");
    return std::make_unique<NewFile>(resolved(path), true);
}

}  // namespace ozrz
