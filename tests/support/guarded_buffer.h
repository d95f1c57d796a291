// A buffer of exactly n bytes that touches an inaccessible page on one side: the first byte read or written beyond that
// side ends the test with a segmentation fault, whatever the build.
//
//     GuardedBuffer source(block, Guard::After);             // a copy of `block`; reading past its end faults
//     GuardedBuffer target(capacity);                        // random contents; writing past its end faults
//     GuardedBuffer front(capacity, Guard::Before);          // reading or writing in front of it faults
//
// On the other side the buffer has slack (up to a page) that holds a known pattern: `slackIntact()` tells whether
// anything was written there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace ozrdc::test {

// Which side of the buffer the inaccessible page touches.
enum class Guard { After, Before };

class GuardedBuffer {
  public:
    // `size` bytes (0 is allowed) of arbitrary contents that depend on `seed` alone.
    explicit GuardedBuffer(std::size_t size, Guard guard = Guard::After, uint64_t seed = 1);

    // A copy of `contents`.
    explicit GuardedBuffer(std::span<const uint8_t> contents, Guard guard = Guard::After);

    GuardedBuffer(GuardedBuffer&& other) noexcept;
    GuardedBuffer& operator=(GuardedBuffer&& other) noexcept;
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;
    ~GuardedBuffer();

    uint8_t* data() noexcept { return bytes_.data(); }
    const uint8_t* data() const noexcept { return bytes_.data(); }
    std::size_t size() const noexcept { return bytes_.size(); }

    std::span<uint8_t> span() noexcept { return bytes_; }
    std::span<const uint8_t> span() const noexcept { return bytes_; }

    uint8_t& operator[](std::size_t i) noexcept { return bytes_[i]; }
    uint8_t operator[](std::size_t i) const noexcept { return bytes_[i]; }

    auto begin() noexcept { return bytes_.begin(); }
    auto end() noexcept { return bytes_.end(); }
    auto begin() const noexcept { return span().begin(); }
    auto end() const noexcept { return span().end(); }

    // The part of `n` bytes that touches the guard page: a test of many sizes makes one buffer of the largest size and
    // uses its parts, which is much cheaper than a buffer for each.
    std::span<uint8_t> guarded(std::size_t n) noexcept {
        return guard_ == Guard::After ? bytes_.last(n) : bytes_.first(n);
    }

    // False if a byte was written on the unguarded side.
    [[nodiscard]] bool slackIntact() const noexcept;

  private:
    void unmap() noexcept;

    uint8_t* mapping_ = nullptr;  // guard page, accessible pages, guard page
    std::size_t mappingSize_ = 0;
    std::span<uint8_t> bytes_;
    Guard guard_ = Guard::After;
};

// A guarded buffer that grows on demand and hands out the part that touches its guard.
class GuardedArena {
  public:
    explicit GuardedArena(Guard guard) : guard_(guard), buffer_(kInitialSize, guard) {}

    // `n` bytes at the guard, of unknown contents. Earlier parts are no longer valid.
    std::span<uint8_t> take(std::size_t n);

    // The same, holding a copy of `contents`.
    std::span<uint8_t> take(std::span<const uint8_t> contents);

  private:
    static constexpr std::size_t kInitialSize = 1 << 18;
    Guard guard_;
    GuardedBuffer buffer_;
};

}  // namespace ozrdc::test
