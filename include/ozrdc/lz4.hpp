// LZ4 blocks: encoders and decoders of single blocks; with a dictionary, linked to the blocks before, at high
// compression.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_LZ4_HPP
#define OZRDC_LZ4_HPP

#include <ozrdc.h>

#include <array>

#include "bytes.hpp"
#include "place.hpp"

namespace ozrdc {
inline namespace v11 {
/// LZ4 blocks: `encode` and `decode`; with a `Dictionary`, linked to the blocks before, at high compression.
namespace lz4 {

/// The most bytes that a block of so many source bytes takes.
[[nodiscard]] constexpr std::size_t encodedBound(std::size_t sourceSize) noexcept {
    return sourceSize + sourceSize / 255 + 16;
}

/// The hash table of the encoders: plain memory, that may stand anywhere and be copied.
struct HashTable {
    /// What an encoder makes of them is its own affair.
    std::array<uint8_t, 16384> bytes;
};

namespace detail {

using namespace v11::detail;

inline constexpr Failure kTooLong{StatusSizeError};

/// The encoders that do not check their room are for destinations of this size, and blocks whose size they can tell.
constexpr bool hasRoomForAnything(std::size_t sourceSize, std::size_t room) noexcept {
    return room >= encodedBound(sourceSize) && fits<int32_t>(encodedBound(sourceSize));
}

/// What an encoder that stops at the end of its room has made of the whole source.
inline Result<Buffer> wholeBlock(Status status, bool whole, Buffer target, int32_t blockSize) noexcept {
    if (status < 0) return Failure{status};
    if (!whole) return Failure{status == StatusOk ? StatusDestinationFull : status};
    return Buffer(target.first(size(blockSize)));
}

}  // namespace detail

/// Encodes all of the source, one byte at least, as one block. The result is the part of the destination that holds it.
///
/// With `encodedBound` bytes of room it cannot fail for lack of room, and is fastest. With less,
/// `StatusDestinationFull` says that the block did not fit.
///
/// An acceleration of 1 is the normal effort; more is faster, compresses less, and needs `encodedBound` bytes of room
/// (`StatusSizeError`). The table is scratch, for callers with little stack; nothing of it is used again.
inline Result<Buffer> encode(Bytes source, Buffer target, int32_t acceleration, HashTable& table) noexcept {
    if (!detail::fits<int32_t>(source.size())) return detail::kTooLong;
    auto sourceSize = static_cast<int32_t>(source.size());
    auto blockSize = detail::clamped<int32_t>(target.size());
    uint8_t* const entries = table.bytes.data();
    if (detail::hasRoomForAnything(source.size(), target.size())) {
        const Status status = ozrsEncodeLZ4Fast_8u(detail::raw(source), sourceSize, detail::raw(target), &blockSize,
                                                   entries, acceleration);
        return detail::wholeBlock(status, true, target, blockSize);
    }
    if (acceleration != 1) return detail::kTooLong;
    const Status status =
        ozrsEncodeLZ4Safe_8u(detail::raw(source), &sourceSize, detail::raw(target), &blockSize, entries);
    return detail::wholeBlock(status, detail::size(sourceSize) == source.size(), target, blockSize);
}
/// The same, with a table on the stack, which takes 16 KB of it.
inline Result<Buffer> encode(Bytes source, Buffer target, int32_t acceleration = 1) noexcept {
    HashTable table;  // the encoder clears it
    return encode(source, target, acceleration, table);
}

/// Encodes as much of the source as fits as one block, and tells how much that was: for blocks of a fixed size.
inline Result<Progress> encodePart(Bytes source, Buffer target) noexcept {
    HashTable table;
    auto consumed = detail::clamped<int32_t>(source.size());
    auto produced = detail::clamped<int32_t>(target.size());
    const Status status =
        ozrsEncodeLZ4Safe_8u(detail::raw(source), &consumed, detail::raw(target), &produced, table.bytes.data());
    if (status < 0) return Failure{status};
    return Progress{detail::size(consumed), detail::size(produced), status};
}

/// Decodes one block. The result is the part of the destination that holds the decoded bytes.
///
/// Fails with `StatusDestinationFull` if they do not fit, with `StatusSourceExhausted` if the block was cut, and with
/// `StatusError` if it is damaged (as far as that shows: blocks have no checksum).
inline Result<Buffer> decode(Bytes block, Buffer target) noexcept {
    if (!detail::fits<int32_t>(block.size())) return detail::kTooLong;
    auto size = detail::clamped<int32_t>(target.size());
    const Status status =
        ozrsDecodeLZ4_8u(detail::raw(block), static_cast<int32_t>(block.size()), detail::raw(target), &size);
    if (status != StatusOk) return Failure{status};
    return Buffer(target.first(detail::size(size)));
}

/// Decodes the beginning of a block: what fits into the destination.
inline Result<Progress> decodePart(Bytes block, Buffer target) noexcept {
    auto consumed = detail::clamped<int32_t>(block.size());
    auto produced = detail::clamped<int32_t>(target.size());
    const Status status =
        ozrsDecodeLZ4Dict_8u(detail::raw(block), &consumed, detail::raw(target), 0, &produced, nullptr, 0);
    if (status < 0) return Failure{status};
    return Progress{detail::size(consumed), detail::size(produced), status};
}

/// Decodes a block that is linked to those before it: `buffer` begins with `history` bytes that were decoded before,
/// and the block is decoded behind them. The result is the part of the buffer that holds the new bytes.
inline Result<Buffer> decodeLinked(Bytes block, Buffer buffer, std::size_t history) noexcept {
    if (!detail::fits<int32_t>(block.size()) || !detail::fits<int32_t>(history) || history > buffer.size()) {
        return detail::kTooLong;
    }
    auto consumed = static_cast<int32_t>(block.size());
    auto produced = detail::clamped<int32_t>(buffer.size() - history);
    const auto historySize = static_cast<int32_t>(history);
    const Status status = ozrsDecodeLZ4Dict_8u(detail::raw(block), &consumed, detail::raw(buffer), historySize,
                                               &produced, history == 0 ? nullptr : detail::raw(buffer), historySize);
    if (status != StatusOk) return Failure{status};
    return Buffer(buffer.subspan(history, detail::size(produced)));
}

/// A dictionary: bytes that the data to come are likely to repeat, ready to be encoded and decoded with. Best for many
/// short records, each of which can be decoded without the others.
///
/// The bytes stay the caller's, and must stay where they are. No more than the last 65535 are used. All functions may
/// be called from any number of threads.
class Dictionary {
  public:
    /// No dictionary: records are encoded as `lz4::encode` does.
    Dictionary() noexcept : Dictionary(Bytes()) {}
    /// Enters the bytes into a hash table, once for all records.
    explicit Dictionary(Bytes bytes) noexcept : bytes_(bytes.last(std::min(bytes.size(), kReach))) {
        ozrsEncodeLZ4DictHashTableInit_8u(table_.bytes.data(), 1);
        if (!bytes_.empty()) ozrsEncodeLZ4LoadDict_8u(table_.bytes.data(), detail::raw(bytes_), size());
    }

    /// The bytes of it that are used.
    [[nodiscard]] Bytes bytes() const noexcept { return bytes_; }

    /// Encodes all of the source as one block, or fails with `StatusDestinationFull`.
    Result<Buffer> encode(Bytes source, Buffer target) const noexcept {
        if (!detail::fits<int32_t>(source.size() + kReach)) return detail::kTooLong;
        HashTable table = table_;
        auto consumed = static_cast<int32_t>(source.size());
        auto blockSize = detail::clamped<int32_t>(target.size());
        const Status status = ozrsEncodeLZ4DictSafe_8u(detail::raw(source), size(), &consumed, detail::raw(target),
                                                       &blockSize, table.bytes.data(), start(), size());
        return detail::wholeBlock(status, detail::size(consumed) == source.size(), target, blockSize);
    }

    /// Decodes one block that was encoded with the same bytes; as `lz4::decode`.
    Result<Buffer> decode(Bytes block, Buffer target) const noexcept {
        if (bytes_.empty()) return lz4::decode(block, target);
        if (!detail::fits<int32_t>(block.size())) return detail::kTooLong;
        if (target.data() == nullptr) return Failure{StatusNullPointer};
        auto consumed = static_cast<int32_t>(block.size());
        auto produced = detail::clamped<int32_t>(target.size());
        // The decoder wants the address where the dictionary would begin if it stood in front of the destination.
        const auto base = reinterpret_cast<std::uintptr_t>(target.data()) - bytes_.size();
        const Status status = ozrsDecodeLZ4Dict_8u(detail::raw(block), &consumed, reinterpret_cast<uint8_t*>(base),
                                                   size(), &produced, start(), size());
        if (status != StatusOk) return Failure{status};
        return Buffer(target.first(detail::size(produced)));
    }

  private:
    static constexpr std::size_t kReach = 65535;

    [[nodiscard]] int32_t size() const noexcept { return static_cast<int32_t>(bytes_.size()); }
    [[nodiscard]] const uint8_t* start() const noexcept { return detail::raw(bytes_); }

    Bytes bytes_;
    HashTable table_;
};

/// Encodes blocks that are linked: each may repeat bytes of those before it, which stand in front of it in one buffer.
/// `decodeLinked` reads them, in the same order.
class LinkedEncoder {
  public:
    /// Ready for the first block of a buffer.
    LinkedEncoder() noexcept { reset(); }

    /// Forgets what was encoded: the next block begins a new buffer.
    void reset() noexcept { ozrsEncodeLZ4DictHashTableInit_8u(table_.bytes.data(), 1); }

    /// Encodes what stands in the buffer from `start` on as one block, or fails with `StatusDestinationFull`. The
    /// buffer must begin where it did for the blocks before.
    Result<Buffer> encode(Bytes buffer, std::size_t start, Buffer target) noexcept {
        if (!detail::fits<int32_t>(buffer.size()) || start > buffer.size()) return detail::kTooLong;
        auto consumed = static_cast<int32_t>(buffer.size() - start);
        auto blockSize = detail::clamped<int32_t>(target.size());
        const Status status =
            ozrsEncodeLZ4DictSafe_8u(detail::raw(Bytes(buffer.subspan(start))), static_cast<int32_t>(start), &consumed,
                                     detail::raw(target), &blockSize, table_.bytes.data(), nullptr, 0);
        return detail::wholeBlock(status, detail::size(consumed) == buffer.size() - start, target, blockSize);
    }

  private:
    HashTable table_;
};

/// Encodes blocks at high compression, for data that are encoded once and decoded often. The decoders are the same.
class HighEncoder {
  public:
    HighEncoder() noexcept = default;

    /// An encoder of blocks; the level is 1 (fastest) to 9 (smallest).
    static Result<HighEncoder> create(int32_t level = 9, Place place = Place::heap()) noexcept {
        uint32_t headSize = 0;
        uint32_t chainSize = 0;
        ozrsEncodeLZ4HCHashTableGetSize_8u(&headSize, &chainSize);
        auto memory = place.take(std::size_t{headSize} + chainSize);
        if (!memory) return Failure{memory.status()};
        HighEncoder encoder;
        encoder.memory_ = *std::move(memory);
        encoder.headSize_ = headSize;
        encoder.level_ = level;
        return encoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept {
        uint32_t headSize = 0;
        uint32_t chainSize = 0;
        ozrsEncodeLZ4HCHashTableGetSize_8u(&headSize, &chainSize);
        return Place::sizeFor(std::size_t{headSize} + chainSize);
    }

    /// Encodes all of the source as one block that stands alone. Fails with `StatusDestinationFull` or
    /// `StatusOutputTruncated` if it does not fit.
    Result<Buffer> encode(Bytes source, Buffer target) noexcept {
        const Result<void> cleared = reset();
        return cleared ? encodeLinked(source, 0, target) : Failure{cleared.status()};
    }

    /// Begins a new buffer of linked blocks.
    Result<void> reset() noexcept {
        Tables tables = this->tables();
        return detail::complete(ozrsEncodeLZ4HCHashTableInit_8u(tables.data()));
    }

    /// Encodes what stands in the buffer from `start` on as one block that may repeat what stands in front of it; as
    /// `LinkedEncoder::encode`.
    Result<Buffer> encodeLinked(Bytes buffer, std::size_t start, Buffer target) noexcept {
        if (!detail::fits<int32_t>(buffer.size()) || start > buffer.size()) return detail::kTooLong;
        Tables tables = this->tables();
        auto consumed = static_cast<int32_t>(buffer.size() - start);
        auto blockSize = detail::clamped<int32_t>(target.size());
        const Status status =
            ozrsEncodeLZ4HC_8u(detail::raw(Bytes(buffer.subspan(start))), static_cast<int32_t>(start), &consumed,
                               detail::raw(target), &blockSize, tables.data(), nullptr, 0, level_);
        return detail::wholeBlock(status, status == StatusOk, target, blockSize);
    }

    /// Encodes all of the source as one block that may repeat bytes of a dictionary; `Dictionary::decode` reads it.
    /// The dictionary, of which no more than the last 65535 bytes are used, is searched anew by every call.
    Result<Buffer> encode(Bytes source, Buffer target, Bytes dictionary) noexcept {
        if (dictionary.empty()) return encode(source, target);
        dictionary = dictionary.last(std::min<std::size_t>(dictionary.size(), 65535));
        if (!detail::fits<int32_t>(source.size() + dictionary.size())) return detail::kTooLong;
        if (const Result<void> cleared = reset(); !cleared) return Failure{cleared.status()};

        // Encoding the dictionary enters its positions; the blocks are thrown away.
        constexpr std::size_t pieceSize = 2048;
        std::array<std::byte, encodedBound(pieceSize)> discarded;
        for (std::size_t end = 0; end < dictionary.size();) {
            const std::size_t start = end;
            end = std::min(start + pieceSize, dictionary.size());
            const Result<Buffer> entered = encodeLinked(dictionary.first(end), start, discarded);
            if (!entered) return entered;
        }
        Tables tables = this->tables();
        auto consumed = static_cast<int32_t>(source.size());
        auto blockSize = detail::clamped<int32_t>(target.size());
        const auto dictionarySize = static_cast<int32_t>(dictionary.size());
        const Status status =
            ozrsEncodeLZ4HCDictLimit_8u(detail::raw(source), dictionarySize, &consumed, detail::raw(target), &blockSize,
                                        tables.data(), detail::raw(dictionary), dictionarySize, level_);
        return detail::wholeBlock(status, status == StatusOk, target, blockSize);
    }

  private:
    using Tables = std::array<uint8_t*, 2>;

    [[nodiscard]] Tables tables() const noexcept {
        uint8_t* const head = memory_.bytes();
        return {head, head == nullptr ? nullptr : head + headSize_};
    }

    detail::Memory memory_;
    std::size_t headSize_ = 0;
    int32_t level_ = 9;
};

}  // namespace lz4
}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_LZ4_HPP
