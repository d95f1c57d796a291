// Checksums: one function for bytes in one piece, one class for bytes that come in several.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_CHECKSUM_HPP
#define OZRDC_CHECKSUM_HPP

#include <ozrdc.h>

#include "bytes.hpp"

namespace ozrdc {
inline namespace v11 {

/// A running checksum: bytes in pieces of any size give the same value as in one. Copies go on independently.
///
/// @tparam function  The C function.
/// @tparam start     The register of no bytes.
/// @tparam inverted  What the register is XORed with to get the value.
/// @ingroup checksums
template <auto& function, uint32_t start, uint32_t inverted>
class RunningChecksum {
  public:
    /// The checksum of no bytes.
    constexpr RunningChecksum() noexcept = default;
    /// Goes on behind bytes of that value.
    constexpr explicit RunningChecksum(uint32_t value) noexcept : register_(value ^ inverted) {}

    /// Goes on with more bytes; of none, nothing changes.
    RunningChecksum& update(Bytes bytes) noexcept {
        // Pieces that every length type can express, and no empty one, which the functions take for a mistake.
        constexpr std::size_t longest = std::size_t{1} << 30;
        while (!bytes.empty()) {
            const Bytes piece = bytes.first(std::min(bytes.size(), longest));
            apply(function, piece);
            bytes = bytes.subspan(piece.size());
        }
        return *this;
    }
    /// The checksum of all bytes so far.
    [[nodiscard]] constexpr uint32_t value() const noexcept { return register_ ^ inverted; }

  private:
    template <typename Length>
    void apply(Status (&checksum)(const uint8_t*, Length, uint32_t*) noexcept, Bytes piece) noexcept {
        checksum(detail::raw(piece), static_cast<Length>(piece.size()), &register_);
    }

    uint32_t register_ = start;
};

/// CRC-32 of zlib, gzip and Ethernet.
/// @ingroup checksums
using Crc32 = RunningChecksum<ozrsCRC32_8u, 0, 0>;
/// CRC-32 of bzip2.
/// @ingroup checksums
using Crc32Bz2 = RunningChecksum<ozrsCRC32_BZ2_8u, 0, 0>;
/// CRC-32C (Castagnoli), with the inversions of its standard form.
/// @ingroup checksums
using Crc32c = RunningChecksum<ozrsCRC32C_8u, 0xFFFFFFFF, 0xFFFFFFFF>;
/// Adler-32 of zlib streams.
/// @ingroup checksums
using Adler32 = RunningChecksum<ozrsAdler32_8u, 1, 0>;

/// CRC-32 of zlib, gzip and Ethernet, of bytes in one piece.
/// @ingroup checksums
[[nodiscard]] inline uint32_t crc32(Bytes bytes) noexcept { return Crc32().update(bytes).value(); }
/// CRC-32 of bzip2, of bytes in one piece.
/// @ingroup checksums
[[nodiscard]] inline uint32_t crc32Bz2(Bytes bytes) noexcept { return Crc32Bz2().update(bytes).value(); }
/// CRC-32C (Castagnoli), in its standard form, of bytes in one piece.
/// @ingroup checksums
[[nodiscard]] inline uint32_t crc32c(Bytes bytes) noexcept { return Crc32c().update(bytes).value(); }
/// Adler-32 of zlib streams, of bytes in one piece.
/// @ingroup checksums
[[nodiscard]] inline uint32_t adler32(Bytes bytes) noexcept { return Adler32().update(bytes).value(); }

}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_CHECKSUM_HPP
