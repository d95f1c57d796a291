// LZO1X: streams of the published format, one buffer a call, and containers of several streams.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_LZO_HPP
#define OZRDC_LZO_HPP

#include <ozrdc.h>

#include <cstring>

#include "bytes.hpp"
#include "place.hpp"

namespace ozrdc {
inline namespace v11 {
/// LZO1X: streams, and containers of several streams.
namespace lzo {

namespace detail {

using namespace v11::detail;

/// Containers are decoded to the size that they state, whatever the capacity is: whether it is within it. What begins
/// like a container counts as one.
inline bool statesNoMoreThan(std::size_t capacity, Bytes source) noexcept {
    const auto at = [&](std::size_t i) { return std::to_integer<uint32_t>(source[i]); };
    if (source.size() < 7 || at(0) != 0x55 || at(1) < 1 || at(1) > 32 || at(2) != (at(1) ^ 0x55)) return true;
    return (at(3) | at(4) << 8 | at(5) << 16 | at(6) << 24) <= capacity;
}

}  // namespace detail

/// The most bytes that a stream of so many source bytes takes.
[[nodiscard]] constexpr std::size_t encodedBound(std::size_t sourceSize) noexcept {
    return sourceSize + sourceSize / 16 + 67;
}

/// The same for a container of so many parts.
[[nodiscard]] constexpr std::size_t containerBound(std::size_t sourceSize, uint32_t parts) noexcept {
    return sourceSize + sourceSize / 16 + std::size_t{parts} * (67 + 4) + 7;
}

/// Decodes streams, or a container, that may be damaged. The result is the part of the destination that holds the
/// decoded bytes. Fails with `StatusBrokenStream` if the source is malformed or does not fit; a container that states
/// more than the room fails with `StatusDestinationFull`.
inline Result<Buffer> decode(Bytes source, Buffer target) noexcept {
    if (!detail::fits<uint32_t>(source.size())) return Failure{StatusSizeError};
    if (!detail::statesNoMoreThan(target.size(), source)) return Failure{StatusDestinationFull};
    auto size = detail::clamped<uint32_t>(target.size());
    const Status status =
        ozrsDecodeLZOSafe_8u(detail::raw(source), static_cast<uint32_t>(source.size()), detail::raw(target), &size);
    if (status != StatusOk) return Failure{status};
    return Buffer(target.first(size));
}

/// Decodes streams of the program's own, faster: a malformed one can have bytes in front of the destination read, which
/// must be readable, 49151 of them. Nothing is written outside the destination.
inline Result<Buffer> decodeTrusted(Bytes source, Buffer target) noexcept {
    if (!detail::fits<uint32_t>(source.size())) return Failure{StatusSizeError};
    if (!detail::statesNoMoreThan(target.size(), source)) return Failure{StatusDestinationFull};
    auto size = detail::clamped<uint32_t>(target.size());
    const Status status =
        ozrsDecodeLZO_8u(detail::raw(source), static_cast<uint32_t>(source.size()), detail::raw(target), &size);
    if (status != StatusOk) return Failure{status};
    return Buffer(target.first(size));
}

/// How streams are made; the decoders are the same.
enum class Method : uint32_t {
    /// Finds more.
    standard = 1,
    fast = 2  ///< Works in chunks of 49152 bytes, and finds less.
};

/// Encodes any number of buffers, each as a stream of its own.
class Encoder {
  public:
    Encoder() noexcept = default;

    /// An encoder of streams.
    static Result<Encoder> create(Method method = Method::standard, Place place = Place::heap()) noexcept {
        uint32_t size = 0;
        const auto number = static_cast<uint32_t>(method);
        if (const Status status = ozrsEncodeLZOGetSize(number, 0, &size); status != StatusOk) return Failure{status};
        auto memory = place.take(size);
        if (!memory) return Failure{memory.status()};
        Encoder encoder;
        encoder.memory_ = *std::move(memory);
        ozrsEncodeLZOInit_8u(number, 0, encoder.state());
        return encoder;
    }
    /// For containers of 1 to 32 parts, each of which is a stream that can be decoded alone.
    static Result<Encoder> createContainer(uint32_t parts, Place place = Place::heap()) noexcept {
        if (parts < 1 || parts > 32) return Failure{StatusBadArgument};
        Result<Encoder> encoder = create(Method::standard, place);
        if (!encoder) return encoder;
        // No method stands for containers: their mode and the number of parts begin the state.
        constexpr uint32_t containerMode = 1;
        std::memcpy(encoder->memory_.bytes(), &containerMode, sizeof containerMode);
        std::memcpy(encoder->memory_.bytes() + sizeof containerMode, &parts, sizeof parts);
        return encoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept {
        uint32_t size = 0;
        ozrsEncodeLZOGetSize(static_cast<uint32_t>(Method::standard), 0, &size);
        return Place::sizeFor(size);
    }

    /// Encodes all of the source as one stream, or as a container, or fails with `StatusDestinationFull`. An empty
    /// source is encoded as nothing.
    Result<Buffer> encode(Bytes source, Buffer target) noexcept {
        if (!detail::fits<uint32_t>(source.size())) return Failure{StatusSizeError};
        auto size = detail::clamped<uint32_t>(target.size());
        const Status status = ozrsEncodeLZO_8u(detail::raw(source), static_cast<uint32_t>(source.size()),
                                               detail::raw(target), &size, state());
        if (status != StatusOk) return Failure{status};
        return Buffer(target.first(size));
    }

  private:
    [[nodiscard]] LZOState* state() const noexcept { return memory_.as<LZOState>(); }

    detail::Memory memory_;
};

}  // namespace lzo
}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_LZO_HPP
