// Inflate: complete raw Deflate streams (RFC 1951), in one piece or in pieces of any size.
//
// The C functions build decoding tables and decode the symbols of blocks. Here the rest is added: the headers of
// blocks, stored blocks, and the window.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_INFLATE_HPP
#define OZRDC_INFLATE_HPP

#include <ozrdc.h>

#include <array>
#include <cstring>
#include <new>

#include "bytes.hpp"
#include "place.hpp"

namespace ozrdc {
inline namespace v11 {
/// Decoding raw Deflate streams: `decode` in one piece, `Decoder` in pieces of any size.
namespace inflate {

/// The farthest that a match reaches back.
inline constexpr std::size_t windowSize = 32768;

namespace detail {

using namespace v11::detail;

/// Reads a stream up to the end of its last block. Stops wherever source or destination end, and goes on there.
///
/// A byte of the source is taken when a bit of it is needed, not before: what follows the stream stays in the source.
class StreamReader {
  public:
    /// Bytes in front of those that a call decodes: a circular buffer, in which the latest stands before `next`.
    struct History {
        uint8_t* window = nullptr;
        uint32_t size = 0;
        uint32_t next = 0;
    };

    /// Begins a new stream. Nothing else initializes the object: the tables may hold anything.
    void start() noexcept {
        stage_ = Stage::header;
        bits_ = bitCount_ = 0;
        failure_ = StatusOk;
    }
    [[nodiscard]] bool done() const noexcept { return stage_ == Stage::done; }

    /// The status is `StatusOk` at the end of the stream, otherwise it tells what is missing.
    Result<Progress> read(Bytes source, Buffer target, const History& history) noexcept {
        // The library wants addresses where there are no bytes, too.
        const uint8_t noByte = 0;
        uint8_t noRoom = 0;
        Call call{source.empty() ? &noByte : raw(source), source.size(), target.empty() ? &noRoom : raw(target),
                  target.size()};
        state_.pWindow = history.window;
        state_.winSize = history.size;
        Status status = failure_;
        while (status == StatusOk && !done()) status = step(call, history.next, target.size());
        if (status < 0) {
            failure_ = status;
            return Failure{status};
        }
        return Progress{source.size() - call.sourceLeft, target.size() - call.room, status};
    }

  private:
    static constexpr uint32_t kMaxLiterals = 288;
    static constexpr uint32_t kMaxDistances = 30;
    static constexpr uint32_t kLengthSymbols = 19;   // symbols of the code that the code lengths are written in
    static constexpr uint32_t kMaxLengthLength = 7;  // bits of its longest code
    static constexpr Status kNeedSource = StatusSourceExhausted;
    static constexpr Status kNeedRoom = StatusDestinationFull;
    static constexpr Status kDamaged = StatusBadCodeTable;

    enum class Stage : uint8_t {
        header,
        storedSize,
        storedCheck,
        stored,
        counts,
        lengthLengths,
        lengths,
        symbols,
        done
    };

    struct Call {
        const uint8_t* source;
        std::size_t sourceLeft;
        uint8_t* target;
        std::size_t room;
    };

    // Makes n bits available, at most 16.
    bool need(Call& call, uint32_t n) noexcept {
        while (bitCount_ < n) {
            if (call.sourceLeft == 0) return false;
            bits_ |= uint32_t{*call.source++} << bitCount_;
            bitCount_ += 8;
            --call.sourceLeft;
        }
        return true;
    }
    [[nodiscard]] uint32_t peek(uint32_t n) const noexcept { return bits_ & ((uint32_t{1} << n) - 1); }
    uint32_t take(uint32_t n) noexcept {
        const uint32_t value = peek(n);
        bits_ >>= n;
        bitCount_ -= n;
        return value;
    }

    // One step of the stream; `StatusOk` if there may be another one.
    Status step(Call& call, uint32_t windowIndex, std::size_t capacity) noexcept {
        switch (stage_) {
            case Stage::header:
                return need(call, 3) ? readHeader() : kNeedSource;
            case Stage::storedSize:
                if (!need(call, 16)) return kNeedSource;
                storedLeft_ = take(16);
                stage_ = Stage::storedCheck;
                return StatusOk;
            case Stage::storedCheck:
                if (!need(call, 16)) return kNeedSource;
                if ((take(16) ^ storedLeft_) != 0xFFFF) return StatusError;
                stage_ = Stage::stored;
                return StatusOk;
            case Stage::stored:
                return copyStored(call);
            case Stage::counts:
                return need(call, 14) ? readCounts() : kNeedSource;
            case Stage::lengthLengths:
                return readLengthLengths(call);
            case Stage::lengths:
                return readLengths(call);
            case Stage::symbols:
                return decodeSymbols(call, windowIndex, capacity);
            case Stage::done:
                break;
        }
        return StatusOk;
    }

    Status readHeader() noexcept {
        last_ = take(1) != 0;
        switch (take(2)) {
            case 0:
                take(bitCount_ % 8);
                stage_ = Stage::storedSize;
                return StatusOk;
            case 1:
                state_.tableKind = 0;
                return beginSymbols();
            case 2:
                stage_ = Stage::counts;
                return StatusOk;
            default:
                return StatusError;
        }
    }

    void endBlock() noexcept { stage_ = last_ ? Stage::done : Stage::header; }

    Status copyStored(Call& call) noexcept {
        const std::size_t n = std::min({std::size_t{storedLeft_}, call.sourceLeft, call.room});
        std::memcpy(call.target, call.source, n);
        call.source += n;
        call.sourceLeft -= n;
        call.target += n;
        call.room -= n;
        storedLeft_ -= static_cast<uint32_t>(n);
        if (storedLeft_ != 0) return call.room == 0 ? kNeedRoom : kNeedSource;
        endBlock();
        return StatusOk;
    }

    Status readCounts() noexcept {
        literalCount_ = take(5) + 257;
        distanceCount_ = take(5) + 1;
        lengthLengthCount_ = take(4) + 4;
        if (literalCount_ > kMaxLiterals || distanceCount_ > kMaxDistances) return kDamaged;
        lengthLengths_ = {};
        index_ = 0;
        stage_ = Stage::lengthLengths;
        return StatusOk;
    }

    Status readLengthLengths(Call& call) noexcept {
        static constexpr std::array<uint8_t, kLengthSymbols> order{16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                   11, 4,  12, 3, 13, 2, 14, 1, 15};
        for (; index_ < lengthLengthCount_; ++index_) {
            if (!need(call, 3)) return kNeedSource;
            lengthLengths_[order[index_]] = static_cast<uint8_t>(take(3));
        }
        // Codes of one length are consecutive numbers, in the order of their symbols.
        lengthCodes_ = {};
        uint32_t used = 0;  // of the 2^7 codes of 7 bits
        std::size_t next = 0;
        for (uint32_t length = 1; length <= kMaxLengthLength; ++length) {
            for (uint8_t symbol = 0; symbol < kLengthSymbols; ++symbol) {
                if (lengthLengths_[symbol] != length) continue;
                lengthOrder_[next++] = symbol;
                ++lengthCodes_[length];
                used += uint32_t{1} << (kMaxLengthLength - length);
            }
        }
        if (used != uint32_t{1} << kMaxLengthLength) return kDamaged;
        index_ = 0;
        stage_ = Stage::lengths;
        return StatusOk;
    }

    Status readLengths(Call& call) noexcept {
        const uint32_t all = literalCount_ + distanceCount_;
        while (index_ < all) {
            uint32_t symbol = 0;
            const uint32_t bits = lengthSymbol(call, symbol);
            if (bits == 0) return kNeedSource;
            if (symbol < 16) {
                take(bits);
                lengths_[index_++] = static_cast<uint16_t>(symbol);
                continue;
            }
            const uint32_t extra = symbol == 16 ? 2 : symbol == 17 ? 3 : 7;
            if (!need(call, bits + extra)) return kNeedSource;
            take(bits);
            const uint32_t times = take(extra) + (symbol == 18 ? 11 : 3);
            if (times > all - index_ || (symbol == 16 && index_ == 0)) return kDamaged;
            const uint16_t value = symbol == 16 ? lengths_[index_ - 1] : uint16_t{0};
            std::fill_n(lengths_.begin() + index_, times, value);
            index_ += times;
        }
        const Status built = ozrsInflateBuildHuffTable(lengths_.data(), literalCount_, distanceCount_, &state_);
        return built == StatusOk ? beginSymbols() : built;
    }

    // Looks for the next symbol of the code lengths: the bits of its code, which are not taken, or 0 without source.
    uint32_t lengthSymbol(Call& call, uint32_t& symbol) noexcept {
        uint32_t code = 0;
        uint32_t first = 0;
        uint32_t before = 0;
        for (uint32_t length = 1;; ++length) {  // ends, because the code is complete
            if (!need(call, length)) return 0;
            code = code << 1 | (bits_ >> (length - 1) & 1);
            first <<= 1;
            const uint32_t count = lengthCodes_[length];
            if (code - first < count) {
                symbol = lengthOrder_[before + code - first];
                return length;
            }
            first += count;
            before += count;
        }
    }

    Status beginSymbols() noexcept {
        mode_ = 0;
        stage_ = Stage::symbols;
        return StatusOk;
    }

    Status decodeSymbols(Call& call, uint32_t windowIndex, std::size_t capacity) noexcept {
        constexpr std::size_t longest = std::size_t{1} << 30;
        const auto source = static_cast<uint32_t>(std::min(call.sourceLeft, longest));
        const auto room = static_cast<uint32_t>(std::min(call.room, longest));
        const auto decoded = static_cast<uint32_t>(std::min(capacity - call.room, windowSize));
        uint32_t sourceLeft = source;
        uint32_t roomLeft = room;
        const Status status = ozrsInflate_8u(&call.source, &sourceLeft, &bits_, &bitCount_, windowIndex, &call.target,
                                             &roomLeft, decoded, &mode_, &state_);
        call.sourceLeft -= source - sourceLeft;
        call.room -= room - roomLeft;
        if (status != StatusOk) return status;
        if (mode_ == 0) {
            endBlock();
            return StatusOk;
        }
        if (call.room == 0 && mode_ == 2) return kNeedRoom;
        return call.sourceLeft == 0 ? kNeedSource : StatusOk;
    }

    Stage stage_;
    bool last_;
    Status failure_;
    uint32_t bits_;
    uint32_t bitCount_;
    uint32_t mode_;
    uint32_t storedLeft_;
    uint32_t literalCount_;
    uint32_t distanceCount_;
    uint32_t lengthLengthCount_;
    uint32_t index_;
    std::array<uint8_t, kLengthSymbols> lengthLengths_;
    std::array<uint8_t, kLengthSymbols> lengthOrder_;
    std::array<uint8_t, kMaxLengthLength + 1> lengthCodes_;
    std::array<uint16_t, kMaxLiterals + kMaxDistances> lengths_;
    InflateState state_;
};

}  // namespace detail

/// Decodes the first stream in the source as far as it fits, without a window: `consumed` tells where it ends. The
/// status is `StatusOk` if all of it was decoded, `StatusDestinationFull` or `StatusSourceExhausted` if not. Damage is
/// a failure.
inline Result<Progress> decodePart(Bytes source, Buffer target) noexcept {
    detail::StreamReader reader;  // 8 KB of stack
    reader.start();
    return reader.read(source, target, {});
}

/// Decodes one stream; what follows it is ignored. The result is the part of the destination that holds the decoded
/// bytes.
inline Result<Buffer> decode(Bytes source, Buffer target) noexcept {
    const Result<Progress> progress = decodePart(source, target);
    if (!progress) return Failure{progress.status()};
    if (progress->status != StatusOk) return Failure{progress->status};
    return Buffer(target.first(progress->produced));
}

/// Decodes one stream at a time, in pieces of any size. It keeps the last 32768 bytes that were decoded.
class Decoder {
  public:
    Decoder() noexcept = default;

    /// A decoder that is ready for a stream.
    static Result<Decoder> create(Place place = Place::heap()) noexcept {
        auto memory = place.take(sizeof(State));
        if (!memory) return Failure{memory.status()};
        Decoder decoder;
        decoder.memory_ = *std::move(memory);
        static_cast<void>(decoder.reset());
        return decoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static constexpr std::size_t memorySize() noexcept { return Place::sizeFor(sizeof(State)); }

    /// Begins a new stream, which may have been encoded with a dictionary.
    Result<void> reset(Bytes dictionary = {}) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        State& s = *new (state()) State;
        s.reader.start();
        s.filled = s.next = 0;
        s.remember(dictionary);
        return {};
    }

    /// Decodes the next bytes. The status is `StatusOk` at the end of the stream, behind which nothing is consumed;
    /// otherwise it tells what is missing, source or room.
    Result<Progress> update(Bytes source, Buffer target) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        State& s = *state();
        const auto progress = s.reader.read(source, target, {s.window.data(), s.filled, s.next});
        if (progress) s.remember(target.first(progress->produced));
        return progress;
    }

    /// Decodes what is held back because the destination was full. Fails with `StatusSourceExhausted` if the stream has
    /// not come to its end.
    Result<Progress> finish(Buffer target) noexcept {
        const Result<Progress> progress = update({}, target);
        if (progress && progress->status == StatusSourceExhausted) return Failure{StatusSourceExhausted};
        return progress;
    }

    /// Whether the end of the stream was read.
    [[nodiscard]] bool done() const noexcept { return state() != nullptr && state()->reader.done(); }

  private:
    struct State {
        detail::StreamReader reader;
        uint32_t filled;  // bytes of the window that hold something
        uint32_t next;    // where the next one goes
        std::array<uint8_t, windowSize> window;

        void remember(Bytes bytes) noexcept {
            bytes = bytes.last(std::min(bytes.size(), windowSize));
            if (bytes.empty()) return;
            if (next == windowSize) next = 0;
            const std::size_t first = std::min(bytes.size(), windowSize - next);
            std::memcpy(window.data() + next, bytes.data(), first);
            std::memcpy(window.data(), bytes.data() + first, bytes.size() - first);
            filled = static_cast<uint32_t>(std::min(filled + bytes.size(), windowSize));
            next = static_cast<uint32_t>(first < bytes.size() ? bytes.size() - first : next + first);
        }
    };

    [[nodiscard]] State* state() const noexcept { return memory_.as<State>(); }

    detail::Memory memory_;
};

}  // namespace inflate
}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_INFLATE_HPP
