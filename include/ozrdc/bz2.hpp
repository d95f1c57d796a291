// Block sorting: the stages of a bzip2 compressor and decompressor, each on its own.
//
// A block is compressed by `RunLengthEncoder`, `ForwardTransform`, `reduceDictionary`, `MoveToFront`, `encodeZeroRuns`
// and `HuffmanEncoder`, and decompressed by `HuffmanDecoder`, `BlockDecoder` (or its stages `decodeZeroRuns`,
// `MoveToFront`, `expandDictionary` and `InverseTransform`) and `RunLengthDecoder`. Stream and block headers are the
// caller's, who writes and reads them through the same `PendingBits`; `Crc32Bz2` computes the checksums.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_BZ2_HPP
#define OZRDC_BZ2_HPP

#include <ozrdc.h>

#include <array>
#include <optional>

#include "bytes.hpp"
#include "place.hpp"

namespace ozrdc {
inline namespace v11 {
/// The stages of bzip2, each on its own: see the classes in the order of `RunLengthEncoder`, `ForwardTransform`,
/// `MoveToFront`, `HuffmanEncoder`.
namespace bz2 {

/// For every byte value, 1 if it occurs in a block and 0 if not.
using InUse = std::array<uint8_t, 256>;

/// How often each symbol of a block occurs, the end of the block included.
using SymbolCounts = std::array<uint32_t, 258>;

namespace detail {

using namespace v11::detail;

inline std::size_t runLengthStateSize() noexcept {
    int32_t size = 0;
    ozrsRLEGetSize_BZ2_8u(&size);
    return v11::detail::size(size);
}

}  // namespace detail

// --- Bits -----------------------------------------------------------------------------------------------------------

/// Bits between calls, most significant first: those of a stream that do not fill a byte yet, or that were read and not
/// used. The Huffman stages work on it, and the caller writes and reads headers with it.
struct PendingBits {
    uint32_t word = 0;  ///< Left-aligned: bit 31 is the first.
    int32_t count = 0;  ///< 0 to 32.

    /// Reads `n` bits, at most 24: takes bytes off the front of the source as it needs them. Nothing if it ends too
    /// early; the bytes then are pending.
    std::optional<uint32_t> take(Bytes& source, int32_t n) noexcept {
        while (count < n) {
            if (source.empty()) return std::nullopt;
            word |= std::to_integer<uint32_t>(source.front()) << (24 - count);
            count += 8;
            source = source.subspan(1);
        }
        const uint32_t value = n == 0 ? 0 : word >> (32 - n);
        word <<= n;
        count -= n;
        return value;
    }

    /// Appends the low `n` bits of a value, at most 16, and moves whole bytes to the front of the destination, which
    /// shrinks by them. `StatusDestinationFull` if there is no room for them.
    Result<void> put(uint32_t value, int32_t n, Buffer& target) noexcept {
        if (const Result<void> moved = flush(target); !moved) return moved;
        if (n != 0) word |= (value & ((uint32_t{1} << n) - 1)) << (32 - count - n);
        count += n;
        return flush(target);
    }

    /// Moves whole bytes to the destination.
    Result<void> flush(Buffer& target) noexcept {
        for (; count >= 8; count -= 8, word <<= 8) {
            if (target.empty()) return Failure{StatusDestinationFull};
            target.front() = static_cast<std::byte>(word >> 24);
            target = target.subspan(1);
        }
        return {};
    }
};

// --- Run lengths ----------------------------------------------------------------------------------------------------

/// The run-length code that comes first: four equal bytes are followed by the number of further ones. One block at a
/// time.
class RunLengthEncoder {
  public:
    RunLengthEncoder() noexcept = default;

    /// An encoder that is ready for a block.
    static Result<RunLengthEncoder> create(Place place = Place::heap()) noexcept {
        auto memory = place.take(detail::runLengthStateSize());
        if (!memory) return Failure{memory.status()};
        RunLengthEncoder encoder;
        encoder.memory_ = *std::move(memory);
        static_cast<void>(encoder.reset());
        return encoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept { return Place::sizeFor(detail::runLengthStateSize()); }

    /// Begins a new block.
    Result<void> reset() noexcept {
        finished_ = false;
        return detail::complete(ozrsEncodeRLEInit_BZ2_8u(state()));
    }

    /// Encodes the next bytes. A run that reaches their end stays open.
    Result<Progress> update(Bytes source, Buffer target) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        if (source.empty()) return Progress{};
        if (target.empty()) return Progress{0, 0, StatusDestinationFull};
        const uint8_t* from = detail::raw(source);
        auto left = detail::clamped<int32_t>(source.size());
        auto produced = detail::clamped<int32_t>(target.size());
        const Status status = ozrsEncodeRLE_BZ2_8u(&from, &left, detail::raw(target), &produced, state());
        if (status < 0) return Failure{status};
        return Progress{static_cast<std::size_t>(from - detail::raw(source)), detail::size(produced), status};
    }

    /// Ends the block: writes one byte at most.
    Result<Progress> finish(Buffer target) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        if (finished_) return Progress{};
        if (target.empty()) return Progress{0, 0, StatusDestinationFull};
        int32_t produced = 1;
        const Status status = ozrsEncodeRLEFlush_BZ2_8u(detail::raw(target), &produced, state());
        if (status != StatusOk) return Failure{status};
        finished_ = true;
        return Progress{0, detail::size(produced), StatusOk};
    }

    /// Which byte values were written.
    [[nodiscard]] Result<InUse> inUse() const noexcept {
        InUse table{};
        const Status status = ozrsRLEGetInUseTable_8u(table.data(), state());
        if (status != StatusOk) return Failure{status};
        return table;
    }

  private:
    [[nodiscard]] RLEState* state() const noexcept { return memory_.as<RLEState>(); }

    detail::Memory memory_;
    bool finished_ = false;
};

/// Decodes the run-length code of one block at a time. The code has to be given in one piece, or rather: what `update`
/// leaves of it must come first in the next call, and only the last call may end inside a group.
class RunLengthDecoder {
  public:
    RunLengthDecoder() noexcept = default;

    /// A decoder that is ready for a block.
    static Result<RunLengthDecoder> create(Place place = Place::heap()) noexcept {
        auto memory = place.take(detail::runLengthStateSize());
        if (!memory) return Failure{memory.status()};
        RunLengthDecoder decoder;
        decoder.memory_ = *std::move(memory);
        static_cast<void>(decoder.reset());
        return decoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept { return Place::sizeFor(detail::runLengthStateSize()); }

    /// Begins a new block.
    Result<void> reset() noexcept { return detail::complete(ozrsDecodeRLEStateInit_BZ2_8u(state())); }

    /// Decodes the next bytes.
    Result<Progress> update(Bytes source, Buffer target) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        if (source.empty()) return finish(target);
        if (target.empty()) return Progress{0, 0, StatusDestinationFull};
        const uint8_t* from = detail::raw(source);
        uint8_t* to = detail::raw(target);
        auto left = detail::clamped<int32_t>(source.size());
        auto room = detail::clamped<int32_t>(target.size());
        const Status status = ozrsDecodeRLEState_BZ2_8u(&from, &left, &to, &room, state());
        if (status < 0) return Failure{status};
        return Progress{static_cast<std::size_t>(from - detail::raw(source)),
                        static_cast<std::size_t>(to - detail::raw(target)), status};
    }

    /// Writes what is held back because the destination was full.
    Result<Progress> finish(Buffer target) noexcept {
        uint8_t noRoom = 0;
        uint8_t* const start = target.empty() ? &noRoom : detail::raw(target);
        uint8_t* to = start;
        auto room = detail::clamped<int32_t>(target.size());
        const Status status = ozrsDecodeRLEStateFlush_BZ2_8u(state(), &to, &room);
        if (status < 0) return Failure{status};
        return Progress{0, static_cast<std::size_t>(to - start), status};
    }

  private:
    [[nodiscard]] RLEState* state() const noexcept { return memory_.as<RLEState>(); }

    detail::Memory memory_;
};

// --- The transform --------------------------------------------------------------------------------------------------

/// How rotations are sorted; the result is the same.
enum class SortStrategy : uint32_t {
    comparing = 0,         ///< Gives up repetitive blocks with `StatusSortBudgetExceeded`.
    comparingForLong = 1,  ///< Without a budget.
    doubling = 2,          ///< Slow on ordinary data; little scratch for short blocks.
    automatic = 3          ///< Fast on ordinary data, with a bound for every block.
};

/// Sorts the rotations of blocks: owns the scratch that this takes, for blocks of up to a size.
class ForwardTransform {
  public:
    ForwardTransform() noexcept = default;

    /// Scratch for blocks of up to that size; `StatusSizeError` if there are none so long.
    static Result<ForwardTransform> create(std::size_t maxBlockSize, SortStrategy strategy = SortStrategy::automatic,
                                           Place place = Place::heap()) noexcept {
        const Result<std::size_t> size = scratchSize(maxBlockSize, strategy);
        if (!size) return Failure{size.status()};
        auto memory = place.take(*size);
        if (!memory) return Failure{memory.status()};
        ForwardTransform transform;
        transform.memory_ = *std::move(memory);
        transform.maxBlockSize_ = maxBlockSize;
        transform.strategy_ = strategy;
        return transform;
    }
    /// Bytes of memory that `Place::in` needs. Fails as `create` does.
    static Result<std::size_t> memorySize(std::size_t maxBlockSize,
                                          SortStrategy strategy = SortStrategy::automatic) noexcept {
        const Result<std::size_t> size = scratchSize(maxBlockSize, strategy);
        if (!size) return size;
        return Place::sizeFor(*size);
    }

    /// Writes the last column of the sorted rotations, as long as the block. The result is the primary index: the row
    /// in which the block itself stands.
    Result<std::size_t> transform(Bytes block, Buffer target) noexcept {
        if (memory_.bytes() == nullptr) return Failure{StatusNullPointer};
        if (block.size() > maxBlockSize_) return Failure{StatusSizeError};
        if (target.size() < block.size()) return Failure{StatusDestinationFull};
        int32_t primary = 0;
        const Status status =
            ozrsBWTFwd_SelectSort_8u(detail::raw(block), detail::raw(target), static_cast<uint32_t>(block.size()),
                                     &primary, memory_.bytes(), static_cast<uint32_t>(strategy_));
        if (status != StatusOk) return Failure{status};
        return detail::size(primary);
    }

  private:
    static Result<std::size_t> scratchSize(std::size_t maxBlockSize, SortStrategy strategy) noexcept {
        constexpr std::size_t kLongest = 357826527;  // above it, sizes are not meaningful
        constexpr std::size_t kLongestDoubled = 119304642;
        if (strategy > SortStrategy::automatic) return Failure{StatusBadArgument};
        if (maxBlockSize > (strategy >= SortStrategy::doubling ? kLongestDoubled : kLongest)) {
            return Failure{StatusSizeError};
        }
        int32_t size = 0;
        const Status status = ozrsBWTFwdGetBufSize_SelectSort_8u(static_cast<uint32_t>(maxBlockSize), &size,
                                                                 static_cast<uint32_t>(strategy));
        if (status != StatusOk) return Failure{status};
        return detail::size(size);
    }

    detail::Memory memory_;
    std::size_t maxBlockSize_ = 0;
    SortStrategy strategy_ = SortStrategy::automatic;
};

/// Makes blocks of up to a size again from their last columns.
class InverseTransform {
  public:
    InverseTransform() noexcept = default;

    /// Scratch for blocks of up to that size; `StatusSizeError` if there are none so long.
    static Result<InverseTransform> create(std::size_t maxBlockSize, Place place = Place::heap()) noexcept {
        const Result<std::size_t> size = scratchSize(maxBlockSize);
        if (!size) return Failure{size.status()};
        auto memory = place.take(*size);
        if (!memory) return Failure{memory.status()};
        InverseTransform transform;
        transform.memory_ = *std::move(memory);
        transform.maxBlockSize_ = maxBlockSize;
        return transform;
    }
    /// Bytes of memory that `Place::in` needs. Fails as `create` does.
    static Result<std::size_t> memorySize(std::size_t maxBlockSize) noexcept {
        const Result<std::size_t> size = scratchSize(maxBlockSize);
        if (!size) return size;
        return Place::sizeFor(*size);
    }

    /// Any column and index below its size may be given.
    Result<Buffer> transform(Bytes column, std::size_t primaryIndex, Buffer target) noexcept {
        if (memory_.bytes() == nullptr) return Failure{StatusNullPointer};
        if (column.size() > maxBlockSize_ || primaryIndex >= column.size()) return Failure{StatusSizeError};
        if (target.size() < column.size()) return Failure{StatusDestinationFull};
        const Status status =
            ozrsBWTInv_8u(detail::raw(column), detail::raw(target), static_cast<int32_t>(column.size()),
                          static_cast<int32_t>(primaryIndex), memory_.bytes());
        if (status != StatusOk) return Failure{status};
        return Buffer(target.first(column.size()));
    }

  private:
    static Result<std::size_t> scratchSize(std::size_t maxBlockSize) noexcept {
        constexpr std::size_t kLongest = 536870655;
        if (maxBlockSize > kLongest) return Failure{StatusSizeError};
        int32_t size = 0;
        const Status status = ozrsBWTInvGetSize_8u(static_cast<int32_t>(maxBlockSize), &size);
        if (status != StatusOk) return Failure{status};
        return detail::size(size);
    }

    detail::Memory memory_;
    std::size_t maxBlockSize_ = 0;
};

// --- Dictionary and move-to-front -----------------------------------------------------------------------------------

/// Renames the bytes of a block to 0, 1, 2, ... in ascending order of the values in use. The result is their number.
inline Result<std::size_t> reduceDictionary(const InUse& inUse, Buffer block) noexcept {
    if (!detail::fits<int32_t>(block.size())) return Failure{StatusSizeError};
    int32_t size = 0;
    const Status status =
        ozrsReduceDictionary_8u_I(inUse.data(), detail::raw(block), static_cast<int32_t>(block.size()), &size);
    if (status != StatusOk) return Failure{status};
    return detail::size(size);
}

/// Gives the bytes of a block their old values back.
inline Result<void> expandDictionary(const InUse& inUse, Buffer block, std::size_t dictionarySize) noexcept {
    if (!detail::fits<int32_t>(block.size()) || dictionarySize > 256) return Failure{StatusSizeError};
    return detail::complete(ozrsExpandDictionary_8u_I(
        inUse.data(), detail::raw(block), static_cast<int32_t>(block.size()), static_cast<int32_t>(dictionarySize)));
}

/// Move-to-front coding of one sequence, in pieces of any size, in one direction. A plain object; copies go on
/// independently.
class MoveToFront {
  public:
    MoveToFront() noexcept { ozrsMTFInit_8u(state()); }

    /// Replaces bytes by their ranks, in place.
    Result<void> encode(Buffer bytes) noexcept { return apply(ozrsMTFFwd_8u, bytes); }
    /// Replaces ranks by their bytes, in place.
    Result<void> decode(Buffer ranks) noexcept { return apply(ozrsMTFInv_8u, ranks); }

  private:
    Result<void> apply(Status (&code)(const uint8_t*, uint8_t*, int32_t, MTFState*) noexcept, Buffer bytes) noexcept {
        if (!detail::fits<int32_t>(bytes.size())) return Failure{StatusSizeError};
        if (bytes.empty()) return {};
        uint8_t* const p = detail::raw(bytes);
        return detail::complete(code(p, p, static_cast<int32_t>(bytes.size()), state()));
    }
    [[nodiscard]] MTFState* state() noexcept { return reinterpret_cast<MTFState*>(table_.data()); }

    std::array<uint8_t, 256> table_;
};

// --- Zero runs ------------------------------------------------------------------------------------------------------

/// Codes the ranks of a whole block as symbols, runs of zeros as numbers, and counts them. There are never more symbols
/// than ranks; the one that ends the block is the caller's to append and to count.
inline Result<std::span<uint16_t>> encodeZeroRuns(Bytes ranks, std::span<uint16_t> symbols,
                                                  SymbolCounts& counts) noexcept {
    if (!detail::fits<int32_t>(ranks.size())) return Failure{StatusSizeError};
    const uint8_t* from = detail::raw(ranks);
    auto left = static_cast<int32_t>(ranks.size());
    auto size = detail::clamped<int32_t>(symbols.size());
    const Status status = ozrsEncodeZ1Z2_BZ2_8u16u(&from, &left, symbols.data(), &size, counts.data());
    if (status != StatusOk) return Failure{status};
    return symbols.first(detail::size(size));
}

/// Decodes the symbols of a whole block, without the one that ends it, to ranks.
inline Result<Buffer> decodeZeroRuns(std::span<const uint16_t> symbols, Buffer ranks) noexcept {
    if (!detail::fits<int32_t>(symbols.size())) return Failure{StatusSizeError};
    const uint16_t* from = symbols.data();
    auto left = static_cast<int32_t>(symbols.size());
    auto size = detail::clamped<int32_t>(ranks.size());
    const Status status = ozrsDecodeZ1Z2_BZ2_16u8u(&from, &left, detail::raw(ranks), &size);
    if (status != StatusOk) return Failure{status};
    return Buffer(ranks.first(detail::size(size)));
}

// --- Huffman codes --------------------------------------------------------------------------------------------------

/// The code tables of one block, made of its symbols.
class HuffmanEncoder {
  public:
    HuffmanEncoder() noexcept = default;

    /// @param alphabetSize  1 to 258: the size of the dictionary and 2, the last symbol being the end of the block.
    /// @param counts        How often each symbol occurs, the end of the block included.
    /// @param symbols       All symbols, the end of the block included.
    /// @param place         Where the tables go.
    static Result<HuffmanEncoder> create(std::size_t alphabetSize, const SymbolCounts& counts,
                                         std::span<const uint16_t> symbols, Place place = Place::heap()) noexcept {
        const Result<std::size_t> size = stateSize(symbols.size());
        if (!size) return Failure{size.status()};
        if (!detail::fits<int32_t>(alphabetSize)) return Failure{StatusSizeError};
        auto memory = place.take(*size);
        if (!memory) return Failure{memory.status()};
        HuffmanEncoder encoder;
        encoder.memory_ = *std::move(memory);
        const Status status =
            ozrsEncodeHuffInit_BZ2_16u8u(static_cast<int32_t>(alphabetSize), counts.data(), symbols.data(),
                                         static_cast<int32_t>(symbols.size()), encoder.state());
        if (status != StatusOk) return Failure{status};
        return encoder;
    }
    /// Bytes of memory that `Place::in` needs for a block of so many symbols, its end included.
    static Result<std::size_t> memorySize(std::size_t symbolCount) noexcept {
        const Result<std::size_t> size = stateSize(symbolCount);
        if (!size) return size;
        return Place::sizeFor(*size);
    }

    /// Writes the description of the tables behind the pending bits; the result is the part of the destination that was
    /// written. If it does not fit, bits are lost.
    Result<Buffer> writeTables(PendingBits& bits, Buffer target) const noexcept {
        auto size = detail::clamped<int32_t>(target.size());
        const Status status =
            ozrsPackHuffContext_BZ2_16u8u(&bits.word, &bits.count, detail::raw(target), &size, state());
        if (status != StatusOk) return Failure{status};
        return Buffer(target.first(detail::size(size)));
    }

    /// Writes the symbols of the block, all of them, likewise.
    Result<Buffer> writeSymbols(PendingBits& bits, std::span<const uint16_t> symbols, Buffer target) const noexcept {
        if (!detail::fits<int32_t>(symbols.size())) return Failure{StatusSizeError};
        const uint16_t* from = symbols.data();
        auto left = static_cast<int32_t>(symbols.size());
        auto size = detail::clamped<int32_t>(target.size());
        const Status status =
            ozrsEncodeHuff_BZ2_16u8u(&bits.word, &bits.count, &from, &left, detail::raw(target), &size, state());
        if (status != StatusOk) return Failure{status};
        return Buffer(target.first(detail::size(size)));
    }

  private:
    static Result<std::size_t> stateSize(std::size_t symbolCount) noexcept {
        if (!detail::fits<int32_t>(symbolCount)) return Failure{StatusSizeError};
        int32_t size = 0;
        const Status status = ozrsEncodeHuffGetSize_BZ2_16u8u(static_cast<int32_t>(symbolCount), &size);
        if (status != StatusOk) return Failure{status};
        return detail::size(size);
    }
    [[nodiscard]] HuffEncState* state() const noexcept { return memory_.as<HuffEncState>(); }

    detail::Memory memory_;
};

/// Reads the tables and symbols of blocks, one after the other, in pieces of any size. Made for the longest description
/// that the format allows, so that hostile ones do no harm.
class HuffmanDecoder {
  public:
    HuffmanDecoder() noexcept = default;

    /// A decoder for any number of blocks.
    static Result<HuffmanDecoder> create(Place place = Place::heap()) noexcept {
        auto memory = place.take(stateSize());
        if (!memory) return Failure{memory.status()};
        HuffmanDecoder decoder;
        decoder.memory_ = *std::move(memory);
        return decoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static std::size_t memorySize() noexcept { return Place::sizeFor(stateSize()); }

    /// Begins a block.
    Result<void> start(std::size_t alphabetSize) noexcept {
        if (!detail::fits<int32_t>(alphabetSize)) return Failure{StatusSizeError};
        return detail::complete(ozrsDecodeHuffInit_BZ2_8u16u(static_cast<int32_t>(alphabetSize), state()));
    }

    /// Reads the description of the tables. `StatusSourceExhausted` asks for more source.
    Result<Progress> readTables(PendingBits& bits, Bytes source) noexcept {
        const uint8_t* from = detail::raw(source);
        auto left = detail::clamped<int32_t>(source.size());
        const Status status = ozrsUnpackHuffContext_BZ2_8u16u(&bits.word, &bits.count, &from, &left, state());
        if (status < 0) return Failure{status};
        return Progress{static_cast<std::size_t>(from - detail::raw(source)), 0, status};
    }

    /// Reads symbols up to the end of the block, whose symbol is not counted. `StatusSourceExhausted` asks for more
    /// source, `StatusDestinationFull` for more room.
    Result<Progress> readSymbols(PendingBits& bits, Bytes source, std::span<uint16_t> symbols) noexcept {
        const uint8_t noByte = 0;
        const uint8_t* const start = source.empty() ? &noByte : detail::raw(source);
        const uint8_t* from = start;
        auto left = detail::clamped<int32_t>(source.size());
        auto produced = detail::clamped<int32_t>(symbols.size());
        const Status status =
            ozrsDecodeHuff_BZ2_8u16u(&bits.word, &bits.count, &from, &left, symbols.data(), &produced, state());
        if (status < 0) return Failure{status};
        return Progress{static_cast<std::size_t>(from - start), detail::size(produced), status};
    }

  private:
    static std::size_t stateSize() noexcept {
        constexpr int32_t kMostSymbols = 1638350;  // of the most selectors that a description can have
        int32_t size = 0;
        ozrsDecodeHuffGetSize_BZ2_8u16u(kMostSymbols, &size);
        return detail::size(size);
    }
    [[nodiscard]] HuffDecState* state() const noexcept { return memory_.as<HuffDecState>(); }

    detail::Memory memory_;
};

/// Decodes the symbols of blocks in one go: zero runs, move-to-front, dictionary and transform. The result still is in
/// run-length code.
class BlockDecoder {
  public:
    BlockDecoder() noexcept = default;

    /// Scratch for blocks of up to that size, at most 16777215; those of bzip2 have up to 900000 bytes.
    static Result<BlockDecoder> create(std::size_t maxBlockSize, Place place = Place::heap()) noexcept {
        const Result<std::size_t> size = scratchSize(maxBlockSize);
        if (!size) return Failure{size.status()};
        auto memory = place.take(*size);
        if (!memory) return Failure{memory.status()};
        BlockDecoder decoder;
        decoder.memory_ = *std::move(memory);
        decoder.maxBlockSize_ = maxBlockSize;
        return decoder;
    }
    /// Bytes of memory that `Place::in` needs. Fails as `create` does.
    static Result<std::size_t> memorySize(std::size_t maxBlockSize) noexcept {
        const Result<std::size_t> size = scratchSize(maxBlockSize);
        if (!size) return size;
        return Place::sizeFor(*size);
    }

    /// Fails with `StatusError` if the block is damaged or longer than the room, and with `StatusSizeError` if the
    /// primary index is not below its length.
    Result<Buffer> decode(std::span<const uint16_t> symbols, std::size_t primaryIndex, const InUse& inUse,
                          Buffer target) noexcept {
        if (memory_.bytes() == nullptr) return Failure{StatusNullPointer};
        if (!detail::fits<int32_t>(symbols.size()) || !detail::fits<int32_t>(primaryIndex)) {
            return Failure{StatusSizeError};
        }
        const auto used =
            static_cast<int32_t>(std::count_if(inUse.begin(), inUse.end(), [](uint8_t n) { return n != 0; }));
        auto size = static_cast<int32_t>(std::min(target.size(), maxBlockSize_));
        const Status status =
            ozrsDecodeBlock_BZ2_16u8u(symbols.data(), static_cast<int32_t>(symbols.size()), detail::raw(target), &size,
                                      static_cast<int32_t>(primaryIndex), used, inUse.data(), memory_.bytes());
        if (status != StatusOk) return Failure{status};
        if (primaryIndex >= detail::size(size)) return Failure{StatusSizeError};
        return Buffer(target.first(detail::size(size)));
    }

  private:
    static Result<std::size_t> scratchSize(std::size_t maxBlockSize) noexcept {
        if (!detail::fits<uint32_t>(maxBlockSize) || maxBlockSize == 0) return Failure{StatusSizeError};
        int32_t size = 0;
        const Status status = ozrsDecodeBlockGetSize_BZ2_8u(static_cast<uint32_t>(maxBlockSize), &size);
        if (status != StatusOk) return Failure{status};
        return detail::size(size);
    }

    detail::Memory memory_;
    std::size_t maxBlockSize_ = 0;
};

}  // namespace bz2
}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_BZ2_HPP
