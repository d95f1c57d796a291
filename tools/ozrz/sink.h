// Where bytes go: a file descriptor, memory, or nowhere. Writes are not gathered: callers bring whole blocks.
#pragma once

#include <string>
#include <vector>

#include "bytes.h"

namespace ozrz {

class Sink {
  public:
    Sink() = default;
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;
    virtual ~Sink() = default;

    void write(Bytes bytes) {
        writeAll(bytes);
        written_ += bytes.size();
    }
    uint64_t written() const { return written_; }

  private:
    virtual void writeAll(Bytes bytes) = 0;

    uint64_t written_ = 0;
};

// An open file descriptor, which stays the caller's.
class FileSink final : public Sink {
  public:
    FileSink(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {}

  private:
    void writeAll(Bytes bytes) override;

    int descriptor_;
    std::string name_;
};

// Counts and forgets.
class NullSink final : public Sink {
  private:
    void writeAll(Bytes) override {}
};

// Memory of a fixed capacity that is reused.
class MemorySink final : public Sink {
  public:
    explicit MemorySink(Buffer& buffer) : buffer_(buffer) {}

    Bytes bytes() const { return {buffer_.data(), static_cast<std::size_t>(written())}; }

  private:
    void writeAll(Bytes bytes) override;

    Buffer& buffer_;
};

}  // namespace ozrz
