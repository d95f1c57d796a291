// ZFP: lossy compression of blocks of 4 x 4 x 4 floats.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_ZFP_HPP
#define OZRDC_ZFP_HPP

#include <ozrdc.h>

#include "bytes.hpp"
#include "place.hpp"

namespace ozrdc {
inline namespace v11 {
/// ZFP: `Encoder` and `Decoder` of blocks of 4 x 4 x 4 floats.
namespace zfp {

/// What is kept of each block. The stream does not say: the decoder must be given the parameters of the encoder.
struct Parameters {
    uint32_t minBits = 0;     ///< A block takes at least so many bits; zeros fill it up.
    uint32_t maxBits = 4171;  ///< A block takes at most so many bits.
    uint32_t maxPrec = 64;    ///< At most so many bit planes are coded.
    int32_t minExp = -10740;  ///< No bit plane is coded whose weight is below 2 to this power.

    /// Whether all four are equal.
    friend constexpr bool operator==(const Parameters&, const Parameters&) = default;
};

/// All that a block of floats has.
inline constexpr Parameters kEverything{};

/// Every block takes 64 times so many bits: it can be found, decoded and rewritten alone.
[[nodiscard]] constexpr Parameters fixedRate(uint32_t bitsPerValue) noexcept {
    return {.minBits = 64 * bitsPerValue, .maxBits = 64 * bitsPerValue};
}
/// So many bit planes of every block.
[[nodiscard]] constexpr Parameters fixedPrecision(uint32_t bitPlanes) noexcept { return {.maxPrec = bitPlanes}; }

/// Where the 64 floats of a block stand in a volume: the distances in bytes of rows and of planes. Floats of a row are
/// neighbors.
struct Steps {
    /// Between rows.
    int32_t row = 4 * sizeof(float);
    /// Between planes.
    int32_t plane = 16 * sizeof(float);
};

namespace detail {

using namespace v11::detail;

}  // namespace detail

/// Writes a stream, block by block, into one destination, which must stay where it is.
class Encoder {
  public:
    Encoder() noexcept = default;

    /// Begins a stream.
    static Result<Encoder> create(Buffer target, const Parameters& parameters = kEverything,
                                  Place place = Place::heap()) noexcept {
        auto memory = place.take(stateSize());
        if (!memory) return Failure{memory.status()};
        Encoder encoder;
        encoder.memory_ = *std::move(memory);
        encoder.target_ = target;
        const Status status = ozrsEncodeZfpInitLong_32f(detail::raw(target), target.size(), encoder.state());
        if (status != StatusOk) return Failure{status};
        if (const auto set = encoder.set(parameters); !set) return Failure{set.status()};
        return encoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept { return Place::sizeFor(stateSize()); }

    /// Changes the parameters for the blocks to come.
    Result<void> set(const Parameters& p) noexcept {
        return detail::complete(ozrsEncodeZfpSet_32f(p.minBits, p.maxBits, p.maxPrec, p.minExp, state()));
    }
    /// Sets the largest error that is allowed in the blocks to come; not above 0 leaves nothing out.
    Result<void> setTolerance(double tolerance) noexcept {
        return detail::complete(ozrsEncodeZfpSetAccuracy_32f(tolerance, state()));
    }

    /// Encodes the block whose first float is there. `StatusStreamEnd`: the destination is full, and the stream cannot
    /// be continued.
    Result<void> encode(const float* block, Steps steps = {}) noexcept {
        return detail::complete(ozrsEncodeZfp444_32f(block, steps.row, steps.plane, state()));
    }

    /// Ends the stream. The result is the part of the destination that holds it.
    Result<Buffer> finish() noexcept {
        const Status status = ozrsEncodeZfpFlush_32f(state());
        if (status != StatusOk) return Failure{status};
        uint64_t size = 0;
        ozrsEncodeZfpGetCompressedSizeLong_32f(state(), &size);
        return Buffer(target_.first(size));
    }

    /// Bits of the stream so far: the place where the next block begins.
    [[nodiscard]] Result<uint64_t> bits() const noexcept {
        uint64_t count = 0;
        const Status status = ozrsEncodeZfpGetCompressedBitSize_32f(state(), &count);
        if (status != StatusOk) return Failure{status};
        return count;
    }

  private:
    static std::size_t stateSize() noexcept {
        int32_t size = 0;
        ozrsEncodeZfpGetStateSize_32f(&size);
        return detail::size(size);
    }
    [[nodiscard]] ZfpState* state() const noexcept { return memory_.as<ZfpState>(); }

    detail::Memory memory_;
    Buffer target_;
};

/// Reads a stream, block by block, from one source, which must stay where it is. A stream of fixed rate whose blocks
/// are whole 64-bit words may be entered at any block: let the source begin there.
class Decoder {
  public:
    Decoder() noexcept = default;

    /// Begins to read a stream.
    static Result<Decoder> create(Bytes source, const Parameters& parameters = kEverything,
                                  Place place = Place::heap()) noexcept {
        auto memory = place.take(stateSize());
        if (!memory) return Failure{memory.status()};
        Decoder decoder;
        decoder.memory_ = *std::move(memory);
        if (const auto ready = decoder.restart(source, parameters); !ready) return Failure{ready.status()};
        return decoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept { return Place::sizeFor(stateSize()); }

    /// Begins to read another source, or the same at another block.
    Result<void> restart(Bytes source, const Parameters& parameters = kEverything) noexcept {
        const Status status = ozrsDecodeZfpInitLong_32f(detail::raw(source), source.size(), state());
        return status == StatusOk ? set(parameters) : Failure{status};
    }

    /// Changes the parameters for the blocks to come, where the encoder did.
    Result<void> set(const Parameters& p) noexcept {
        return detail::complete(ozrsDecodeZfpSet_32f(p.minBits, p.maxBits, p.maxPrec, p.minExp, state()));
    }
    /// Sets the tolerance for the blocks to come that the encoder was given.
    Result<void> setTolerance(double tolerance) noexcept {
        return detail::complete(ozrsDecodeZfpSetAccuracy_32f(tolerance, state()));
    }

    /// Decodes the next block to there. `StatusStreamEnd`: the source ends inside it.
    Result<void> decode(float* block, Steps steps = {}) noexcept {
        return detail::complete(ozrsDecodeZfp444_32f(state(), block, steps.row, steps.plane));
    }

    /// Bytes of the source that were fetched.
    [[nodiscard]] Result<uint64_t> consumed() const noexcept {
        uint64_t size = 0;
        const Status status = ozrsDecodeZfpGetDecompressedSizeLong_32f(state(), &size);
        if (status != StatusOk) return Failure{status};
        return size;
    }

  private:
    static std::size_t stateSize() noexcept {
        int32_t size = 0;
        ozrsDecodeZfpGetStateSize_32f(&size);
        return detail::size(size);
    }
    [[nodiscard]] ZfpState* state() const noexcept { return memory_.as<ZfpState>(); }

    detail::Memory memory_;
};

}  // namespace zfp
}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_ZFP_HPP
