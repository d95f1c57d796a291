// Names for runs of bytes, a large buffer that is not cleared before use, and fields of either byte order.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace ozrz {

using Bytes = std::span<const uint8_t>;
using MutableBytes = std::span<uint8_t>;

// Memory for a block. Its pages are not touched before they are used: a small file costs little whatever the block
// size.
class Buffer {
  public:
    Buffer() = default;
    explicit Buffer(std::size_t size) { require(size); }

    // Makes room for `size` bytes. The contents are lost when the buffer has to grow.
    void require(std::size_t size) {
        if (size <= size_) return;
        data_.reset();
        data_ = std::make_unique_for_overwrite<uint8_t[]>(size);
        size_ = size;
    }

    uint8_t* data() { return data_.get(); }
    const uint8_t* data() const { return data_.get(); }
    std::size_t size() const { return size_; }
    MutableBytes bytes() { return {data(), size_}; }

  private:
    std::unique_ptr<uint8_t[]> data_;
    std::size_t size_ = 0;
};

inline constexpr std::size_t KiB = std::size_t{1} << 10;
inline constexpr std::size_t MiB = std::size_t{1} << 20;

// Fields, one byte at a time so that no alignment or byte order is assumed; compilers make one move of it.
template <typename Word>
Word loadLittleEndian(const uint8_t* p) {
    Word value = 0;
    for (std::size_t i = 0; i < sizeof(Word); ++i) {
        value = static_cast<Word>(value | (static_cast<Word>(p[i]) << (8 * i)));
    }
    return value;
}

template <typename Word>
void storeLittleEndian(uint8_t* p, Word value) {
    for (std::size_t i = 0; i < sizeof(Word); ++i) p[i] = static_cast<uint8_t>(value >> (8 * i));
}

template <typename Word>
Word loadBigEndian(const uint8_t* p) {
    Word value = 0;
    for (std::size_t i = 0; i < sizeof(Word); ++i) {
        value = static_cast<Word>(value | (static_cast<Word>(p[i]) << (8 * (sizeof(Word) - 1 - i))));
    }
    return value;
}

template <typename Word>
void storeBigEndian(uint8_t* p, Word value) {
    for (std::size_t i = 0; i < sizeof(Word); ++i) p[i] = static_cast<uint8_t>(value >> (8 * (sizeof(Word) - 1 - i)));
}

}  // namespace ozrz
