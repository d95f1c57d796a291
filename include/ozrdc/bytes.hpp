// Views of memory: what the functions of this face take and give.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_BYTES_HPP
#define OZRDC_BYTES_HPP

#include <ozrdc.h>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <limits>
#include <ranges>
#include <span>
#include <type_traits>

#include "result.hpp"

namespace ozrdc {
inline namespace v11 {

/// Types of one byte that stand for nothing but their bits.
/// @ingroup face
template <typename T>
concept ByteLike = std::same_as<T, std::byte> || std::same_as<T, unsigned char> || std::same_as<T, char> ||
    std::same_as<T, signed char> || std::same_as<T, char8_t>;

/// Ranges whose bytes lie one behind the other: std::vector<std::byte>, std::string, std::array<unsigned char, 9>,
/// spans. String literals are left out, because their size counts the NUL: say std::string_view("text") or "text"sv.
/// @ingroup face
template <typename R>
concept ByteRange = std::ranges::contiguous_range<R> && std::ranges::sized_range<R> &&
    ByteLike<std::remove_cv_t<std::ranges::range_value_t<R>>> &&
    !(std::is_array_v<std::remove_reference_t<R>> &&
      std::same_as<std::remove_reference_t<std::ranges::range_reference_t<R>>, const char>);

/// Bytes to read: a std::span<const std::byte> that every `ByteRange` converts to.
/// @ingroup face
class Bytes : public std::span<const std::byte> {
  public:
    /// The view that this is.
    using span = std::span<const std::byte>;

    /// No bytes.
    constexpr Bytes() noexcept = default;
    /// The bytes of a span.
    constexpr Bytes(span bytes) noexcept : span(bytes) {}
    /// The bytes of a range; it must outlive the view.
    template <ByteRange R>
    requires(!std::same_as<std::remove_cvref_t<R>, Bytes>) Bytes(R&& range)
    noexcept : span(reinterpret_cast<const std::byte*>(std::ranges::data(range)), std::ranges::size(range)) {}
};

/// Room to write into: a std::span<std::byte> that every `ByteRange` of writable bytes converts to.
/// @ingroup face
class Buffer : public std::span<std::byte> {
  public:
    /// The view that this is.
    using span = std::span<std::byte>;

    /// No room.
    constexpr Buffer() noexcept = default;
    /// The room of a span.
    constexpr Buffer(span bytes) noexcept : span(bytes) {}
    /// The bytes of a range; it must outlive the view.
    template <ByteRange R>
    requires(!std::same_as<std::remove_cvref_t<R>, Buffer> &&
             !std::is_const_v<std::remove_reference_t<std::ranges::range_reference_t<R>>>) Buffer(R&& range)
    noexcept : span(reinterpret_cast<std::byte*>(std::ranges::data(range)), std::ranges::size(range)) {}
};

namespace detail {

// The views as the C functions take them.
inline const uint8_t* raw(Bytes bytes) noexcept { return reinterpret_cast<const uint8_t*>(bytes.data()); }
inline uint8_t* raw(Buffer buffer) noexcept { return reinterpret_cast<uint8_t*>(buffer.data()); }

/// Whether a size fits the length type of a C function.
template <std::integral Length>
constexpr bool fits(std::size_t size) noexcept {
    return size <= static_cast<std::size_t>(std::numeric_limits<Length>::max());
}

/// A size as a length of that type, of what is longer only the most that it can express: for room to write into, and
/// for sources that are taken piece by piece.
template <std::integral Length>
constexpr Length clamped(std::size_t size) noexcept {
    return static_cast<Length>(std::min(size, static_cast<std::size_t>(std::numeric_limits<Length>::max())));
}

template <std::integral Length>
constexpr std::size_t size(Length length) noexcept {
    return static_cast<std::size_t>(length);
}

}  // namespace detail

/// What encodes or decodes a stream piece by piece.
///
/// `update` takes some of the source, writes some output, and tells how much of each: with `consumed` below the size of
/// the source the destination is full; go on with the rest of the source and more room. `finish` says that the source
/// has ended, and writes what is held back; while its status is `StatusDestinationFull`, there is more.
/// @ingroup face
template <typename T>
concept Stream = requires(T stream, Bytes source, Buffer target) {
    { stream.update(source, target) } -> std::same_as<Result<Progress>>;
    { stream.finish(target) } -> std::same_as<Result<Progress>>;
};

/// Gives a stream all of a piece of source, and each piece of output, made in `room`, to `sink(Bytes)`. The result is
/// the number of bytes taken: less than there are if the stream has ended in front of the rest.
/// @ingroup face
template <Stream S, std::invocable<Bytes> Sink>
Result<std::size_t> update(S& stream, Bytes source, Buffer room, Sink&& sink) {
    if (room.empty()) return Failure{StatusSizeError};
    for (std::size_t consumed = 0;;) {
        const Result<Progress> progress = stream.update(source.subspan(consumed), room);
        if (!progress) return Failure{progress.status()};
        if (progress->produced != 0) sink(Bytes(room.first(progress->produced)));
        consumed += progress->consumed;
        const bool ended = consumed == source.size() ? progress->produced < room.size()
                                                     : progress->consumed == 0 && progress->produced == 0;
        if (ended) return consumed;
    }
}

/// Ends a stream, and gives what was held back, made in `room`, to `sink(Bytes)`.
/// @ingroup face
template <Stream S, std::invocable<Bytes> Sink>
Result<void> finish(S& stream, Buffer room, Sink&& sink) {
    if (room.empty()) return Failure{StatusSizeError};
    for (;;) {
        const Result<Progress> progress = stream.finish(room);
        if (!progress) return Failure{progress.status()};
        if (progress->produced != 0) sink(Bytes(room.first(progress->produced)));
        if (progress->status == StatusOk) return {};
    }
}

}  // namespace v11
}  // namespace ozrdc

// Views are borrowed from, as spans are.
/// @cond
template <>
inline constexpr bool std::ranges::enable_borrowed_range<ozrdc::Bytes> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<ozrdc::Buffer> = true;
template <>
inline constexpr bool std::ranges::enable_view<ozrdc::Bytes> = true;
template <>
inline constexpr bool std::ranges::enable_view<ozrdc::Buffer> = true;
/// @endcond

#endif  // OZRDC_BYTES_HPP
