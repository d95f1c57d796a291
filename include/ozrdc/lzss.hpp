// LZSS: a streaming codec with a bit stream of its own, without header, end mark or check.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_LZSS_HPP
#define OZRDC_LZSS_HPP

#include <ozrdc.h>

#include <cstring>

#include "bytes.hpp"
#include "place.hpp"

namespace ozrdc {
inline namespace v11 {
/// LZSS: `Encoder` and `Decoder` of streams in pieces of any size.
namespace lzss {

/// The most bytes that a stream of so many source bytes takes.
[[nodiscard]] constexpr std::size_t encodedBound(std::size_t sourceSize) noexcept {
    return sourceSize + (sourceSize + 7) / 8;
}

namespace detail {

using namespace v11::detail;

inline std::size_t stateSize() noexcept {
    int32_t size = 0;
    ozrsLZSSGetSize_8u(&size);
    return v11::detail::size(size);
}

// The direction-independent part of both classes.
using Step = Status(const uint8_t**, int32_t*, uint8_t**, int32_t*, LZSSState*) noexcept;

inline Result<Progress> run(Step& step, Bytes source, Buffer target, LZSSState* state) noexcept {
    const uint8_t* from = raw(source);
    uint8_t* to = raw(target);
    auto sourceLeft = clamped<int32_t>(source.size());
    auto room = clamped<int32_t>(target.size());
    const Progress whole{size(sourceLeft), size(room)};
    const Status status = step(&from, &sourceLeft, &to, &room, state);
    if (status < 0) return Failure{status};
    return Progress{whole.consumed - size(sourceLeft), whole.produced - size(room), status};
}

}  // namespace detail

/// Encodes one stream at a time.
class Encoder {
  public:
    Encoder() noexcept = default;

    /// An encoder that is ready for a stream.
    static Result<Encoder> create(Place place = Place::heap()) noexcept {
        auto memory = place.take(detail::stateSize());
        if (!memory) return Failure{memory.status()};
        Encoder encoder;
        encoder.memory_ = *std::move(memory);
        if (const auto ready = encoder.reset(); !ready) return Failure{ready.status()};
        return encoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept { return Place::sizeFor(detail::stateSize()); }

    /// Begins a new stream.
    Result<void> reset() noexcept {
        finished_ = false;
        return detail::complete(ozrsEncodeLZSSInit_8u(state()));
    }

    /// Encodes the next bytes. Give it some hundred bytes at least: how they are cut into calls does not change what
    /// they decode to, but a few bytes a call are hardly compressed.
    Result<Progress> update(Bytes source, Buffer target) noexcept {
        if (source.empty()) return state() == nullptr ? Result<Progress>(Failure{StatusNullPointer}) : Progress{};
        return detail::run(ozrsEncodeLZSS_8u, source, target, state());
    }

    /// Ends the stream: call again, with more room, while the status is `StatusDestinationFull`.
    Result<Progress> finish(Buffer target) noexcept {
        if (finished_) return Progress{};
        uint8_t* to = detail::raw(target);
        const auto room = detail::clamped<int32_t>(target.size());
        int32_t left = room;
        const Status status = ozrsEncodeLZSSFlush_8u(&to, &left, state());
        if (status < 0) return Failure{status};
        finished_ = status == StatusOk;
        return Progress{0, detail::size(room - left), status};
    }

  private:
    [[nodiscard]] LZSSState* state() const noexcept { return memory_.as<LZSSState>(); }

    detail::Memory memory_;
    bool finished_ = false;
};

/// Decodes one stream at a time. Every sequence of bytes is a valid stream: whether the result is the right one, a
/// checksum has to tell.
class Decoder {
  public:
    Decoder() noexcept = default;

    /// The memory is cleared: a stream can ask for bytes in front of its beginning, and must not get at secrets there.
    static Result<Decoder> create(Place place = Place::heap()) noexcept {
        auto memory = place.take(detail::stateSize());
        if (!memory) return Failure{memory.status()};
        Decoder decoder;
        decoder.memory_ = *std::move(memory);
        if (const auto ready = decoder.reset(); !ready) return Failure{ready.status()};
        return decoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept { return Place::sizeFor(detail::stateSize()); }

    /// Begins a new stream, and clears what was decoded before.
    Result<void> reset() noexcept {
        if (state() != nullptr) std::memset(memory_.bytes(), 0, detail::stateSize());
        return detail::complete(ozrsDecodeLZSSInit_8u(state()));
    }

    /// Decodes the next bytes.
    Result<Progress> update(Bytes source, Buffer target) noexcept {
        const std::byte noByte{};  // an address for no bytes, which the C function wants
        if (source.data() == nullptr) source = Bytes(std::span(&noByte, 0));
        return detail::run(ozrsDecodeLZSS_8u, source, target, state());
    }

    /// Decodes what is held back because the destination was full.
    Result<Progress> finish(Buffer target) noexcept {
        const Result<Progress> progress = update({}, target);
        if (!progress || progress->produced < target.size()) return progress;
        return Progress{0, progress->produced, StatusDestinationFull};
    }

  private:
    [[nodiscard]] LZSSState* state() const noexcept { return memory_.as<LZSSState>(); }

    detail::Memory memory_;
};

}  // namespace lzss
}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_LZSS_HPP
