// What the fuzz targets share: parameters taken from the front of an input, buffers of exact size, and a check that
// ends the run.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>

namespace ozrdc::fuzz {

// Takes numbers from the front of the input; what is left is the data. An input that is too short gives zeros.
class Input {
  public:
    Input(const uint8_t* data, std::size_t size) : rest_(data, size) {}

    template <typename Number>
    Number take() {
        Number number{};
        const std::size_t n = rest_.size() < sizeof number ? rest_.size() : sizeof number;
        if (n > 0) std::memcpy(&number, rest_.data(), n);
        rest_ = rest_.subspan(n);
        return number;
    }

    std::span<const uint8_t> rest() const { return rest_; }

  private:
    std::span<const uint8_t> rest_;
};

// A heap block of exactly n bytes: AddressSanitizer reports the first byte touched outside it.
class ExactBuffer {
  public:
    explicit ExactBuffer(std::size_t size, uint8_t fill = 0) : bytes_(new uint8_t[size]), size_(size) {
        std::memset(bytes_.get(), fill, size);
    }
    explicit ExactBuffer(std::span<const uint8_t> contents) : ExactBuffer(contents.size()) {
        if (size_ > 0) std::memcpy(bytes_.get(), contents.data(), size_);
    }

    uint8_t* data() { return bytes_.get(); }
    std::size_t size() const { return size_; }
    std::span<uint8_t> span() { return {bytes_.get(), size_}; }

  private:
    std::unique_ptr<uint8_t[]> bytes_;
    std::size_t size_;
};

// Ends the run, and keeps the input, if something does not hold.
inline void require(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

}  // namespace ozrdc::fuzz
