// Whole pages between two inaccessible ones; the buffer lies against one of them, and the rest of its pages is slack.
#include "support/guarded_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "support/random.h"

namespace ozrdc::test {
namespace {

constexpr uint8_t kSlackPattern = 0xC9;

std::size_t pageSize() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

}  // namespace

GuardedBuffer::GuardedBuffer(std::size_t size, Guard guard, uint64_t seed) : guard_(guard) {
    const std::size_t page = pageSize();
    const std::size_t accessible = std::max((size + page - 1) / page, std::size_t{1}) * page;
    mappingSize_ = accessible + 2 * page;
    void* const mapping = mmap(nullptr, mappingSize_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "mmap");
    mapping_ = static_cast<uint8_t*>(mapping);
    uint8_t* const pages = mapping_ + page;
    if (mprotect(pages, accessible, PROT_READ | PROT_WRITE) != 0) {
        const int error = errno;
        unmap();
        throw std::system_error(error, std::generic_category(), "mprotect");
    }
    std::fill_n(pages, accessible, kSlackPattern);
    bytes_ = {guard == Guard::After ? pages + (accessible - size) : pages, size};
    Random(seed).fill(bytes_);
}

GuardedBuffer::GuardedBuffer(std::span<const uint8_t> contents, Guard guard) : GuardedBuffer(contents.size(), guard) {
    std::copy(contents.begin(), contents.end(), bytes_.begin());
}

GuardedBuffer::GuardedBuffer(GuardedBuffer&& other) noexcept
    : mapping_(std::exchange(other.mapping_, nullptr)),
      mappingSize_(std::exchange(other.mappingSize_, 0)),
      bytes_(std::exchange(other.bytes_, {})),
      guard_(other.guard_) {}

GuardedBuffer& GuardedBuffer::operator=(GuardedBuffer&& other) noexcept {
    if (this != &other) {
        unmap();
        mapping_ = std::exchange(other.mapping_, nullptr);
        mappingSize_ = std::exchange(other.mappingSize_, 0);
        bytes_ = std::exchange(other.bytes_, {});
        guard_ = other.guard_;
    }
    return *this;
}

GuardedBuffer::~GuardedBuffer() { unmap(); }

void GuardedBuffer::unmap() noexcept {
    if (mapping_ != nullptr) munmap(mapping_, mappingSize_);
    mapping_ = nullptr;
}

bool GuardedBuffer::slackIntact() const noexcept {
    if (mapping_ == nullptr) return true;
    const uint8_t* const pages = mapping_ + pageSize();
    const uint8_t* const pagesEnd = mapping_ + mappingSize_ - pageSize();
    const auto holdsPattern = [](uint8_t b) { return b == kSlackPattern; };
    const uint8_t* const begin = bytes_.data();
    return std::all_of(pages, begin, holdsPattern) && std::all_of(begin + bytes_.size(), pagesEnd, holdsPattern);
}

std::span<uint8_t> GuardedArena::take(std::size_t n) {
    if (n > buffer_.size()) buffer_ = GuardedBuffer(2 * n, guard_);
    return buffer_.guarded(n);
}

std::span<uint8_t> GuardedArena::take(std::span<const uint8_t> contents) {
    const std::span<uint8_t> part = take(contents.size());
    std::copy(contents.begin(), contents.end(), part.begin());
    return part;
}

}  // namespace ozrdc::test
