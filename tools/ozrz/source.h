// Where bytes come from: a stream that is read forward, with a little looking ahead.
//
// Large reads go straight into the caller's buffer. The same system call also fills a small buffer of what follows, so
// that the short field between two blocks costs neither a call nor a copy of the blocks.
#pragma once

#include <array>
#include <atomic>
#include <functional>
#include <string>

#include "bytes.h"

namespace ozrz {

class Source {
  public:
    Source() = default;
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;
    virtual ~Source() = default;

    // Reads until `into` is full or the stream ends; returns the number of bytes read.
    std::size_t read(MutableBytes into);

    // The next bytes without taking them: `count` of them (at most `kMaxPeek`), or fewer where the stream ends.
    Bytes peek(std::size_t count);

    // Passes over `count` bytes; returns how many there were.
    uint64_t skip(uint64_t count);

    // Bytes taken so far. May be asked from any thread.
    uint64_t position() const { return position_.load(std::memory_order_relaxed); }

    // Called with the position after every read of any size. Reading stays on one thread at a time, and so do the
    // calls.
    void observe(std::function<void(uint64_t position)> observer) { observer_ = std::move(observer); }

    static constexpr std::size_t kMaxPeek = 4 * KiB;

  protected:
    // Reads at least one byte unless the stream has ended, first into `first` and then into `second`.
    virtual std::size_t readSome(MutableBytes first, MutableBytes second) = 0;

    // Moves forward without reading where that is possible; returns how far.
    virtual uint64_t seekForward(uint64_t /*count*/) { return 0; }

  private:
    std::size_t takeAhead(MutableBytes into);
    void advance(uint64_t count);

    static constexpr std::size_t kAheadSize = 16 * KiB;
    std::array<uint8_t, kAheadSize> ahead_;  // bytes [aheadBegin_, aheadEnd_) are read but not taken
    std::size_t aheadBegin_ = 0;
    std::size_t aheadEnd_ = 0;
    std::atomic<uint64_t> position_ = 0;
    std::function<void(uint64_t)> observer_;
};

// An open file descriptor, which stays the caller's.
class FileSource final : public Source {
  public:
    FileSource(int descriptor, std::string name);

  private:
    std::size_t readSome(MutableBytes first, MutableBytes second) override;
    uint64_t seekForward(uint64_t count) override;

    int descriptor_;
    std::string name_;
};

// Bytes in memory.
class MemorySource final : public Source {
  public:
    explicit MemorySource(Bytes bytes) : rest_(bytes) {}

  private:
    std::size_t readSome(MutableBytes first, MutableBytes second) override;
    uint64_t seekForward(uint64_t count) override;

    Bytes rest_;
};

}  // namespace ozrz
