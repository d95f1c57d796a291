// Where states live: on the heap, owned by the object that uses them, or in memory of the caller's.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_PLACE_HPP
#define OZRDC_PLACE_HPP

#include <cstddef>
#include <memory>
#include <new>
#include <utility>

#include "bytes.hpp"

namespace ozrdc {
inline namespace v11 {

namespace detail {

inline constexpr std::size_t kStateAlignment = 64;  // a cache line, and more than any state needs

struct Release {
    bool owned = false;
    void operator()(void* memory) const noexcept {
        if (owned) ::operator delete (memory, std::align_val_t{kStateAlignment});
    }
};

/// Memory of a state: a pointer that can be handed on while the state stays where it is. Empty after that.
class Memory {
  public:
    Memory() noexcept = default;

    static Memory allocate(std::size_t size) noexcept {
        return Memory(::operator new (size, std::align_val_t{kStateAlignment}, std::nothrow), true);
    }
    static Memory lend(void* memory) noexcept { return Memory(memory, false); }

    template <typename T>
    [[nodiscard]] T* as() const noexcept {
        return static_cast<T*>(memory_.get());
    }
    [[nodiscard]] uint8_t* bytes() const noexcept { return as<uint8_t>(); }

  private:
    Memory(void* memory, bool owned) noexcept : memory_(memory, Release{owned}) {}

    std::unique_ptr<void, Release> memory_;
};

}  // namespace detail

/// Where a factory shall put a state: on the heap, which is the default, or into memory of the caller's.
///
/// Every class with a state tells by `memorySize` how much memory `Place::in` needs. That memory may start at any
/// address, and must stay as long as the object.
///
/// @code
/// std::vector<std::byte> arena(ozrdc::lzss::Encoder::memorySize());
/// auto encoder = ozrdc::lzss::Encoder::create(ozrdc::Place::in(arena));
/// @endcode
/// @ingroup face
class Place {
  public:
    /// The heap: the object owns its state.
    static constexpr Place heap() noexcept { return Place(Buffer(), true); }
    /// Memory of the caller's, at least `memorySize` bytes.
    static constexpr Place in(Buffer memory) noexcept { return Place(memory, false); }

    /// Bytes to hand to `in` for a state of that size.
    static constexpr std::size_t sizeFor(std::size_t stateSize) noexcept {
        return stateSize + detail::kStateAlignment - 1;
    }

    /// Memory of that size, aligned for every state: `StatusSizeError` if the caller's memory is too small,
    /// `StatusOutOfMemory` if there is none on the heap. For the factories.
    [[nodiscard]] Result<detail::Memory> take(std::size_t size) const noexcept {
        if (!onHeap_) {
            void* memory = memory_.data();
            std::size_t room = memory_.size();
            if (std::align(detail::kStateAlignment, size, memory, room) == nullptr) return Failure{StatusSizeError};
            return detail::Memory::lend(memory);
        }
        detail::Memory memory = detail::Memory::allocate(size);
        if (memory.bytes() == nullptr) return Failure{StatusOutOfMemory};
        return memory;
    }

  private:
    constexpr Place(Buffer memory, bool onHeap) noexcept : memory_(memory), onHeap_(onHeap) {}

    Buffer memory_;
    bool onHeap_;
};

}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_PLACE_HPP
