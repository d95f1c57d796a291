// Deflate: complete raw streams (RFC 1951), and the stages that they are made of.
//
// Ready to use are `encode`, `encodeFast` and the streaming classes `Encoder` and `FastEncoder`. For encoders of one's
// own there are the stages: `MatchFinder` makes records of bytes, `makeCodes` codes of their frequencies, `makeHeader`
// a block header of the codes, and `BitWriter` writes header and records as bits.
//
// Copyright 2025 The ozrdc authors
// SPDX-License-Identifier: Apache-2.0
#ifndef OZRDC_DEFLATE_HPP
#define OZRDC_DEFLATE_HPP

#include <ozrdc.h>

#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <numeric>

#include "bytes.hpp"
#include "place.hpp"

namespace ozrdc {
inline namespace v11 {
/// Raw Deflate streams: `encode` and `encodeFast`, `Encoder` and `FastEncoder`; and the stages that they are made of.
namespace deflate {

/// The farthest that a match reaches back, and one.
inline constexpr std::size_t windowSize = 32768;
/// Literals and lengths that have codes.
inline constexpr std::size_t literalCount = 286;
/// Distances that have codes.
inline constexpr std::size_t distanceCount = 30;
/// The symbol that ends a block.
inline constexpr std::size_t endOfBlock = 256;

namespace detail {

using namespace v11::detail;

inline constexpr int32_t kNoIndex = -32768;  // in hash tables: no position
inline constexpr int32_t kWindow = static_cast<int32_t>(windowSize);
inline constexpr int32_t kLastFlush = 2;  // nothing follows
inline constexpr std::size_t kLongestSource = (std::size_t{1} << 30) - windowSize;

}  // namespace detail

// --- Stages ---------------------------------------------------------------------------------------------------------

/// How often each symbol occurs.
struct Frequencies {
    /// Of literals and lengths.
    std::array<uint32_t, literalCount> literals{};
    /// Of distances.
    std::array<uint32_t, distanceCount> distances{};
};

/// A code for every symbol.
struct Codes {
    /// Of literals and lengths.
    std::array<DeflateHuffCode, literalCount> literals{};
    /// Of distances.
    std::array<DeflateHuffCode, distanceCount> distances{};
};

/// What stands in front of the symbols of a block with codes of its own, the three bits that begin a block included.
struct Header {
    /// The bits, least significant first.
    std::array<uint8_t, OZRDC_DEFLATE_HEADER_SIZE> bytes{};
    /// Their number.
    int32_t bits = 0;
};

/// Makes codes of frequencies; symbols that do not occur get one too. `StatusCodeLengthLimit` if a code comes out too
/// long, which does not happen to samples of up to 2^18 symbols.
inline Result<Codes> makeCodes(const Frequencies& frequencies) noexcept {
    Codes codes;
    const Status status = ozrsDeflateLZ77FastestGenHuffTable_8u(
        frequencies.literals.data(), frequencies.distances.data(), codes.literals.data(), codes.distances.data());
    if (status != StatusOk) return Failure{status};
    return codes;
}

/// Makes the header that describes the codes.
inline Result<Header> makeHeader(const Codes& codes) noexcept {
    Header header;
    int32_t size = 0;
    const Status status = ozrsDeflateLZ77FastestGenHeader_8u(codes.literals.data(), codes.distances.data(),
                                                             header.bytes.data(), &size, &header.bits);
    if (status != StatusOk) return Failure{status};
    return header;
}

/// The code that is fixed in the format.
constexpr Codes fixedCodes() noexcept {
    Codes codes;
    const auto reversed = [](uint32_t code, uint32_t length) {
        uint32_t result = 0;
        for (uint32_t i = 0; i < length; ++i) result |= (code >> i & 1) << (length - 1 - i);
        return DeflateHuffCode{static_cast<uint16_t>(result), static_cast<uint16_t>(length)};
    };
    for (uint32_t i = 0; i < literalCount; ++i) {
        codes.literals[i] = i < 144   ? reversed(0x30 + i, 8)
                            : i < 256 ? reversed(0x190 + (i - 144), 9)
                            : i < 280 ? reversed(i - 256, 7)
                                      : reversed(0xC0 + (i - 280), 8);
    }
    for (uint32_t i = 0; i < distanceCount; ++i) codes.distances[i] = reversed(i, 5);
    return codes;
}

/// Records of a match search, in two arrays of one size: a literal with distance 0, or the length of a match less 3
/// with its distance.
struct Records {
    /// Of each record the literal, or the length less 3.
    std::span<uint8_t> literals;
    /// Of each record 0, or the distance.
    std::span<uint16_t> distances;

    /// The first n records.
    [[nodiscard]] constexpr Records first(std::size_t n) const noexcept {
        return {literals.first(n), distances.first(n)};
    }
};

/// The match search: makes records of a stream's bytes.
class MatchFinder {
  public:
    MatchFinder() noexcept = default;

    /// @param level     0 to 29; see ozrsDeflateLZ77_8u.
    /// @param hashSize  Number of hash values, a power of 2 from 256 to 65536.
    /// @param place     Where the tables go.
    static Result<MatchFinder> create(int32_t level = 6, int32_t hashSize = 32768,
                                      Place place = Place::heap()) noexcept {
        if (level < 0 || level > 29 || hashSize < 256 || hashSize > 65536) return Failure{StatusSizeError};
        auto memory = place.take(stateSize(hashSize));
        if (!memory) return Failure{memory.status()};
        MatchFinder finder;
        finder.memory_ = *std::move(memory);
        finder.level_ = level;
        finder.hashSize_ = hashSize;
        std::uninitialized_fill_n(finder.head() + hashSize, windowSize, detail::kNoIndex);
        finder.reset();
        return finder;
    }
    /// Bytes of memory that `Place::in` needs.
    static constexpr std::size_t memorySize(int32_t hashSize = 32768) noexcept {
        return Place::sizeFor(stateSize(hashSize));
    }

    /// Begins a new stream. If it has a dictionary, that must stand in front of the first bytes to be parsed.
    void reset(Bytes dictionary = {}) noexcept {
        if (head() == nullptr) return;
        std::uninitialized_fill_n(head(), hashSize_, detail::kNoIndex);
        dictionary = dictionary.last(std::min(dictionary.size(), windowSize));
        index_ = static_cast<int32_t>(dictionary.size());
        if (index_ == 0) return;
        ozrsDeflateUpdateHash_8u(detail::raw(dictionary), 0, index_, head(), hashSize_, previous(), detail::kWindow,
                                 level_ % 10 == 0 ? 0 : 1);
    }

    /// Makes records of the bytes of the buffer from `start` on, and counts their symbols. In front of them must stand
    /// the bytes that were parsed before, at least the last 32768 of them, or all if there are fewer.
    ///
    /// `consumed` tells how many bytes the `produced` records stand for: fewer than there are if the records are full,
    /// and, unless `last` says that the stream ends here, up to 261 at the end.
    Result<Progress> find(Bytes buffer, std::size_t start, Records room, Frequencies& counts, bool last) noexcept {
        if (head() == nullptr) return Failure{StatusNullPointer};
        if (start > buffer.size() || room.literals.size() != room.distances.size()) return Failure{StatusSizeError};
        const auto held = static_cast<std::size_t>(std::min(index_, detail::kWindow));
        if (start < held) return Failure{StatusBadArgument};
        const uint8_t* const from = detail::raw(buffer) + start;
        const uint8_t* source = from;
        const std::size_t size = std::min(buffer.size() - start, detail::kLongestSource);
        auto left = static_cast<int32_t>(size);
        auto free = detail::clamped<int32_t>(room.literals.size());
        const auto all = detail::size(free);
        const int32_t flush = last && size == buffer.size() - start ? detail::kLastFlush : 0;
        const Status status = ozrsDeflateLZ77_8u(&source, &left, &index_, from - held, detail::kWindow, head(),
                                                 previous(), hashSize_, counts.literals.data(), counts.distances.data(),
                                                 room.literals.data(), room.distances.data(), &free, level_, flush);
        if (status != StatusOk) return Failure{status};
        return Progress{static_cast<std::size_t>(source - from), all - detail::size(free), StatusOk};
    }

  private:
    static constexpr std::size_t stateSize(int32_t hashSize) noexcept {
        return (detail::size(hashSize) + windowSize) * sizeof(int32_t);
    }
    [[nodiscard]] int32_t* head() const noexcept { return memory_.as<int32_t>(); }
    [[nodiscard]] int32_t* previous() const noexcept { return head() == nullptr ? nullptr : head() + hashSize_; }

    detail::Memory memory_;
    int32_t level_ = 0;
    int32_t hashSize_ = 0;
    int32_t index_ = 0;
};

/// Writes bits into a destination, least significant first. What does not fit is not written at all.
class BitWriter {
  public:
    /// @param target  Where they go.
    /// @param bits    Up to 7 bits that go first, as another writer has left them.
    /// @param count   Their number.
    explicit BitWriter(Buffer target, uint16_t bits = 0, int32_t count = 0) noexcept
        : target_(target), bits_(bits), count_(count) {}

    /// Writes the low `count` bits of a value, at most 16.
    Result<void> put(uint32_t value, int32_t count) noexcept {
        const int32_t all = count_ + count;
        if (room() < detail::size(all / 8)) return Failure{StatusDestinationFull};
        uint32_t bits = bits_ | (value & ((uint32_t{1} << count) - 1)) << count_;
        for (count_ = all; count_ >= 8; count_ -= 8, bits >>= 8) target_[size_++] = static_cast<std::byte>(bits);
        bits_ = static_cast<uint16_t>(bits);
        return {};
    }

    /// Writes a header; `last` if the block is the last of its stream.
    Result<void> put(const Header& header, bool last) noexcept {
        if (room() < detail::size(count_ + header.bits) / 8) return Failure{StatusDestinationFull};
        for (int32_t done = 0; done < header.bits; done += 8) {
            const uint8_t byte = header.bytes[detail::size(done / 8)];
            static_cast<void>(put(done == 0 && last ? byte | 1U : byte, std::min(header.bits - done, 8)));
        }
        return {};
    }

    /// Writes records. Asks for the room that such records take at most: 15 bits a literal, 48 a match.
    Result<void> put(Records records, const Codes& codes) noexcept {
        const std::size_t n = records.literals.size();
        if (!detail::fits<int32_t>(n) || records.distances.size() != n) return Failure{StatusSizeError};
        constexpr std::size_t kLiteralBits = 15;
        constexpr std::size_t kMatchBits = 48;
        if (room() < (detail::size(count_) + n * kMatchBits) / 8) {
            const auto literals =
                static_cast<std::size_t>(std::count(records.distances.begin(), records.distances.end(), uint16_t{0}));
            const std::size_t most = literals * kLiteralBits + (n - literals) * kMatchBits;
            if (room() < (detail::size(count_) + most) / 8) return Failure{StatusDestinationFull};
        }
        if (n == 0) return {};
        int32_t written = 0;
        const Status status = ozrsDeflateHuff_8u(
            records.literals.data(), records.distances.data(), static_cast<int32_t>(n), &bits_, &count_,
            codes.literals.data(), codes.distances.data(), detail::raw(Buffer(target_.subspan(size_))), &written);
        if (status != StatusOk) return Failure{status};
        size_ += detail::size(written);
        return {};
    }

    /// Writes the code of a symbol: of `endOfBlock`, for instance.
    Result<void> put(DeflateHuffCode code) noexcept { return put(code.code, code.len); }

    /// Writes whole bytes, behind `align`.
    Result<void> put(Bytes bytes) noexcept {
        if (count_ != 0) return Failure{StatusContextMismatch};
        if (room() < bytes.size()) return Failure{StatusDestinationFull};
        if (!bytes.empty()) std::memcpy(target_.data() + size_, bytes.data(), bytes.size());
        size_ += bytes.size();
        return {};
    }

    /// Fills the last byte up with zeros.
    Result<void> align() noexcept { return count_ == 0 ? Result<void>() : put(0, 8 - count_); }

    /// Whole bytes that were written, and the bits that do not fill one.
    [[nodiscard]] Buffer written() const noexcept { return target_.first(size_); }
    /// The bits that do not fill a byte.
    [[nodiscard]] uint16_t bits() const noexcept { return bits_; }
    /// Their number, 0 to 7.
    [[nodiscard]] int32_t bitCount() const noexcept { return count_; }

  private:
    [[nodiscard]] std::size_t room() const noexcept { return target_.size() - size_; }

    Buffer target_;
    std::size_t size_ = 0;
    uint16_t bits_;
    int32_t count_;
};

// --- Streams --------------------------------------------------------------------------------------------------------

/// The most bytes that `Encoder` and `encode` make of so many source bytes.
[[nodiscard]] constexpr std::size_t encodedBound(std::size_t sourceSize) noexcept {
    return sourceSize + sourceSize / 1024 + 64;
}

/// The most bytes that `FastEncoder` without a prepared code and `encodeFast` make of so many source bytes.
[[nodiscard]] constexpr std::size_t fastEncodedBound(std::size_t sourceSize) noexcept {
    return sourceSize + sourceSize / 8 + 16;
}

namespace detail {

/// The window and the bytes behind it that wait to be encoded, in one buffer.
class Input {
  public:
    void clear(Bytes dictionary) noexcept {
        dictionary = dictionary.last(std::min(dictionary.size(), windowSize));
        if (!dictionary.empty()) std::memcpy(bytes_.data(), dictionary.data(), dictionary.size());
        start_ = end_ = dictionary.size();
    }
    /// Takes what there is room for.
    std::size_t fill(Bytes source) noexcept {
        const std::size_t n = std::min(source.size(), bytes_.size() - end_);
        if (n != 0) std::memcpy(bytes_.data() + end_, source.data(), n);
        end_ += n;
        return n;
    }
    /// The first bytes that wait are encoded. Makes room if there is none.
    void advance(std::size_t n) noexcept {
        start_ += n;
        if (end_ < bytes_.size() || start_ <= windowSize) return;
        const std::size_t dropped = start_ - windowSize;
        std::memmove(bytes_.data(), bytes_.data() + dropped, end_ - dropped);
        start_ -= dropped;
        end_ -= dropped;
    }

    [[nodiscard]] bool full() const noexcept { return end_ == bytes_.size(); }
    [[nodiscard]] Bytes buffer() const noexcept { return Bytes(std::span(bytes_).first(end_)); }
    [[nodiscard]] std::size_t start() const noexcept { return start_; }
    [[nodiscard]] Bytes waiting() const noexcept { return buffer().subspan(start_); }

    static constexpr std::size_t kSize = windowSize + (std::size_t{1} << 16);

  private:
    std::size_t start_;
    std::size_t end_;
    std::array<std::byte, kSize> bytes_;
};

/// Bits of a block's symbols.
constexpr std::size_t bitsOf(const Frequencies& counts, const Codes& codes) noexcept {
    std::size_t bits = 0;
    for (std::size_t i = 0; i < literalCount; ++i) {
        // Lengths of 257 + 8 and above have 1 to 5 extra bits, four codes each, but for the longest.
        const std::size_t extra = i < 265 || i == 285 ? 0 : (i - 261) / 4;
        bits += counts.literals[i] * (codes.literals[i].len + extra);
    }
    for (std::size_t i = 0; i < distanceCount; ++i) {
        const std::size_t extra = i < 4 ? 0 : i / 2 - 1;
        bits += counts.distances[i] * (codes.distances[i].len + extra);
    }
    return bits;
}

}  // namespace detail

/// Encodes one stream at a time, in pieces of any size, at levels 0 to 29 (see ozrsDeflateLZ77_8u; 1 to 9 mean what
/// they usually do). Each block has a code of its own, the fixed one, or none, whichever is shortest.
class Encoder {
  public:
    Encoder() noexcept = default;

    /// An encoder that is ready for a stream. `StatusSizeError` for a level above 29.
    static Result<Encoder> create(int32_t level = 6, Place place = Place::heap()) noexcept {
        auto memory = place.take(sizeof(State));
        if (!memory) return Failure{memory.status()};
        State& state = *new (memory->bytes()) State;
        auto finder = MatchFinder::create(level, State::kHashSize, Place::in(state.finderMemory));
        if (!finder) return Failure{finder.status()};
        Encoder encoder;
        encoder.memory_ = *std::move(memory);
        encoder.finder_ = *std::move(finder);
        static_cast<void>(encoder.reset());
        return encoder;
    }
    /// Bytes of memory that `Place::in` needs.
    static constexpr std::size_t memorySize() noexcept { return Place::sizeFor(sizeof(State)); }

    /// Begins a new stream; with a dictionary, if there is one, which the decoder needs too.
    Result<void> reset(Bytes dictionary = {}) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        State& s = *state();
        s.input.clear(dictionary);
        finder_.reset(s.input.buffer());
        s.output = {};
        s.bits = 0;
        s.bitCount = 0;
        s.ended = false;
        return {};
    }

    /// Takes the next bytes of the stream, and writes what is ready. What is held back comes with later calls.
    Result<Progress> update(Bytes source, Buffer target) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        State& s = *state();
        if (s.ended) return Failure{StatusContextMismatch};
        Progress progress;
        for (;;) {
            progress.produced += s.drain(target.subspan(progress.produced));
            if (!s.output.empty()) break;
            if (s.input.full()) {
                if (const Result<void> made = makeBlock(false); !made) return Failure{made.status()};
            } else if (progress.consumed < source.size()) {
                progress.consumed += s.input.fill(source.subspan(progress.consumed));
            } else {
                return progress;
            }
        }
        progress.status = StatusDestinationFull;
        return progress;
    }

    /// Ends the stream: call again, with more room, while the status is `StatusDestinationFull`.
    Result<Progress> finish(Buffer target) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        State& s = *state();
        Progress progress;
        for (;;) {
            progress.produced += s.drain(target.subspan(progress.produced));
            if (!s.output.empty()) break;
            if (s.ended) return progress;
            if (const Result<void> made = makeBlock(true); !made) return Failure{made.status()};
        }
        progress.status = StatusDestinationFull;
        return progress;
    }

  private:
    struct State {
        static constexpr int32_t kHashSize = 32768;
        static constexpr std::size_t kRecords = 16384;
        // Every record as a match with the longest codes; or the whole input in stored blocks.
        static constexpr std::size_t kOutputSize = std::max(kRecords * 6, detail::Input::kSize) + 512;

        alignas(detail::kStateAlignment) std::array<std::byte, MatchFinder::memorySize(kHashSize)> finderMemory;
        detail::Input input;
        std::array<uint8_t, kRecords> literals;
        std::array<uint16_t, kRecords> distances;
        std::array<std::byte, kOutputSize> outputMemory;
        Bytes output;  // of that, what the caller has not got yet
        uint16_t bits;
        int32_t bitCount;
        bool ended;

        std::size_t drain(Buffer target) noexcept {
            const std::size_t n = std::min(output.size(), target.size());
            if (n != 0) std::memcpy(target.data(), output.data(), n);
            output = output.subspan(n);
            return n;
        }
    };

    // Encodes what waits, or as much of it as there are records for, as one block.
    Result<void> makeBlock(bool last) noexcept {
        State& s = *state();
        Frequencies counts;
        const Result<Progress> found =
            finder_.find(s.input.buffer(), s.input.start(), Records{s.literals, s.distances}, counts, last);
        if (!found) return Failure{found.status()};
        const Bytes bytes = s.input.waiting().first(found->consumed);
        const bool lastBlock = last && bytes.size() == s.input.waiting().size();
        counts.literals[endOfBlock] = 1;

        static constexpr Codes fixed = fixedCodes();
        const Result<Codes> codes = makeCodes(counts);
        if (!codes) return Failure{codes.status()};
        const Result<Header> header = makeHeader(*codes);
        if (!header) return Failure{header.status()};
        const std::size_t storedPieces = bytes.size() / kLongestStored + 1;
        const std::size_t storedBits = 8 * (bytes.size() + 5 * storedPieces);
        const std::size_t fixedBits = 3 + detail::bitsOf(counts, fixed);
        const std::size_t ownBits = detail::size(header->bits) + detail::bitsOf(counts, *codes);

        BitWriter writer(s.outputMemory, s.bits, s.bitCount);
        const Records records = Records{s.literals, s.distances}.first(found->produced);
        Status status = StatusOk;
        const auto put = [&](Result<void> result) { status = status == StatusOk ? result.status() : status; };
        if (storedBits <= std::min(fixedBits, ownBits)) {
            put(store(writer, bytes, lastBlock));
        } else {
            const bool own = ownBits < fixedBits;
            put(own ? writer.put(*header, lastBlock) : writer.put((lastBlock ? 1U : 0U) | 1U << 1, 3));
            put(writer.put(records, own ? *codes : fixed));
            put(writer.put((own ? *codes : fixed).literals[endOfBlock]));
        }
        if (lastBlock) put(writer.align());
        if (status != StatusOk) return Failure{status};
        s.output = writer.written();
        s.bits = writer.bits();
        s.bitCount = writer.bitCount();
        s.ended = lastBlock;
        s.input.advance(bytes.size());
        return {};
    }

    static constexpr std::size_t kLongestStored = 65535;

    static Result<void> store(BitWriter& writer, Bytes bytes, bool last) noexcept {
        Status status = StatusOk;
        const auto put = [&](Result<void> result) { status = status == StatusOk ? result.status() : status; };
        do {
            const Bytes piece = bytes.first(std::min(bytes.size(), kLongestStored));
            bytes = bytes.subspan(piece.size());
            const auto size = static_cast<uint32_t>(piece.size());
            put(writer.put(last && bytes.empty() ? 1 : 0, 3));
            put(writer.align());
            put(writer.put(size, 16));
            put(writer.put(size ^ 0xFFFF, 16));
            put(writer.put(piece));
        } while (!bytes.empty());
        return detail::complete(status);
    }

    [[nodiscard]] State* state() const noexcept { return memory_.as<State>(); }

    detail::Memory memory_;
    MatchFinder finder_;
};

/// A code that was prepared from a sample, for `FastEncoder`: better than the fixed one for data that are like it. It
/// has a code for everything.
struct PreparedCode {
    /// Of all symbols.
    Codes codes;
    /// That describes them.
    Header header;

    /// Of the symbols that the bytes of a sample become; of no bytes, every symbol is equally likely.
    static Result<PreparedCode> fromSample(Bytes sample) noexcept {
        std::array<int32_t, 8192> hashTable;
        hashTable.fill(detail::kNoIndex);
        Frequencies counts;
        const uint8_t* source = detail::raw(sample);
        auto left = static_cast<int32_t>(std::min(sample.size(), detail::kLongestSource));
        int32_t index = 0;
        if (left != 0) {
            const Status status =
                ozrsDeflateLZ77FastestGetStat_8u(&source, &left, &index, source, detail::kWindow, hashTable.data(),
                                                 static_cast<int32_t>(hashTable.size()), counts.literals.data(),
                                                 counts.distances.data(), detail::kLastFlush);
            if (status != StatusOk) return Failure{status};
        }
        counts.literals[endOfBlock] = 1;
        const Result<Codes> codes = makeCodes(counts);
        if (!codes) return Failure{codes.status()};
        const Result<Header> header = makeHeader(*codes);
        if (!header) return Failure{header.status()};
        return PreparedCode{*codes, *header};
    }
};

/// Encodes one stream at a time, in pieces of any size, in a single pass: several times as fast as `Encoder`, and less
/// small. Each stream is one block, with the fixed code or a prepared one.
class FastEncoder {
  public:
    FastEncoder() noexcept = default;

    /// An encoder with the fixed code.
    static Result<FastEncoder> create(Place place = Place::heap()) noexcept { return create(nullptr, place); }
    /// An encoder with a prepared code, which is copied.
    static Result<FastEncoder> create(const PreparedCode& code, Place place = Place::heap()) noexcept {
        return create(&code, place);
    }
    /// Bytes of memory that `Place::in` needs.
    static constexpr std::size_t memorySize() noexcept { return Place::sizeFor(sizeof(State)); }

    /// Begins a new stream.
    Result<void> reset() noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        State& s = *state();
        s.input.clear({});
        s.hashTable.fill(detail::kNoIndex);
        s.index = 0;
        s.bits = s.prepared ? 1 | 2 << 1 : 1 | 1 << 1;  // the last block, with a code of its own or the fixed one
        s.bitCount = 3;
        s.blockDone = false;
        s.output = {};
        return {};
    }

    /// Takes the next bytes of the stream, and writes what is ready. What is held back comes with later calls.
    Result<Progress> update(Bytes source, Buffer target) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        State& s = *state();
        if (s.blockDone) return Failure{StatusContextMismatch};
        Progress progress;
        for (;;) {
            progress.consumed += s.input.fill(source.subspan(progress.consumed));
            if (!s.input.full() && s.output.empty()) return progress;
            progress.status = encode(target, progress.produced, false);
            if (progress.status < 0) return Failure{progress.status};
            if (progress.status != StatusOk) return progress;
        }
    }

    /// Ends the stream: call again, with more room, while the status is `StatusDestinationFull`.
    Result<Progress> finish(Buffer target) noexcept {
        if (state() == nullptr) return Failure{StatusNullPointer};
        Progress progress;
        while (progress.status == StatusOk && !(state()->blockDone && state()->output.empty())) {
            progress.status = encode(target, progress.produced, true);
        }
        if (progress.status < 0) return Failure{progress.status};
        return progress;
    }

  private:
    // Room for the header, which is the longest that is written at once, and the bits in front of it.
    static constexpr std::size_t kSpillSize = 512;
    static_assert(kSpillSize >= OZRDC_DEFLATE_HEADER_SIZE + 16);

    struct State {
        detail::Input input;
        std::array<int32_t, 8192> hashTable;
        int32_t index;
        uint16_t bits;
        int32_t bitCount;
        bool prepared;
        bool blockDone;
        PreparedCode code;
        // What is encoded here has not got room for a header or a symbol in the caller's destination.
        std::array<std::byte, kSpillSize> spill;
        Bytes output;  // of that, what the caller has not got yet
    };

    static Result<FastEncoder> create(const PreparedCode* code, Place place) noexcept {
        auto memory = place.take(sizeof(State));
        if (!memory) return Failure{memory.status()};
        FastEncoder encoder;
        encoder.memory_ = *std::move(memory);
        State& s = *new (encoder.memory_.bytes()) State;
        s.prepared = code != nullptr;
        if (code != nullptr) s.code = *code;
        static_cast<void>(encoder.reset());
        return encoder;
    }

    // Encodes what waits, or as much of it as there is room for. `StatusOk` if all of that is with the caller.
    Status encode(Buffer target, std::size_t& produced, bool last) noexcept {
        State& s = *state();
        if (s.output.empty()) {
            const Buffer room = target.subspan(produced);
            const bool direct = room.size() >= kSpillSize;
            std::size_t made = 0;
            const Status status = encodeInto(direct ? room : Buffer(s.spill), made, last);
            if (status < 0) return status;
            if (direct) {
                produced += made;
                return status;
            }
            s.output = Bytes(std::span(s.spill).first(made));
        }
        const std::size_t n = std::min(s.output.size(), target.size() - produced);
        if (n != 0) std::memcpy(target.data() + produced, s.output.data(), n);
        produced += n;
        s.output = s.output.subspan(n);
        return s.output.empty() ? StatusOk : StatusDestinationFull;
    }

    // The same into a destination with room for any header or symbol, of which it tells how much was used.
    Status encodeInto(Buffer target, std::size_t& used, bool last) noexcept {
        State& s = *state();
        if (s.blockDone) return StatusOk;
        const Bytes waiting = s.input.waiting();
        const uint8_t* const from = detail::raw(waiting);
        const uint8_t* source = from;
        auto left = static_cast<int32_t>(waiting.size());
        const auto room = detail::clamped<int32_t>(target.size() - 1);  // a byte is kept for the last bits
        int32_t written = 0;
        const Codes& codes = s.code.codes;
        const Status status = ozrsDeflateLZ77FastestPrecompHeader_8u(
            &source, &left, &s.index, from - std::min(s.index, detail::kWindow), detail::kWindow, s.hashTable.data(),
            static_cast<int32_t>(s.hashTable.size()), &s.bits, &s.bitCount, detail::raw(target), room, &written,
            s.prepared ? codes.literals.data() : nullptr, s.prepared ? codes.distances.data() : nullptr,
            s.prepared ? s.code.header.bytes.data() : nullptr, s.code.header.bits, last ? detail::kLastFlush : 0);
        if (status < 0) return status;
        s.input.advance(static_cast<std::size_t>(source - from));
        used = detail::size(written);
        s.blockDone = last && status == StatusOk;
        if (s.blockDone && s.bitCount > 0) target[used++] = static_cast<std::byte>(s.bits);
        return status;
    }

    [[nodiscard]] State* state() const noexcept { return memory_.as<State>(); }

    detail::Memory memory_;
};

/// Encodes all of the source as one stream. The result is the part of the destination that holds it; fails with
/// `StatusDestinationFull` if it does not fit. Allocates 600 KB for the time of the call.
inline Result<Buffer> encode(Bytes source, Buffer target, int32_t level = 6) noexcept {
    Result<Encoder> encoder = Encoder::create(level);
    if (!encoder) return Failure{encoder.status()};
    const Result<Progress> body = encoder->update(source, target);
    if (!body) return Failure{body.status()};
    if (body->consumed < source.size()) return Failure{StatusDestinationFull};
    const Result<Progress> end = encoder->finish(target.subspan(body->produced));
    if (!end) return Failure{end.status()};
    if (end->status != StatusOk) return Failure{end->status};
    return Buffer(target.first(body->produced + end->produced));
}

/// Encodes all of the source as one block with the fixed code, in a single pass and without a copy: fastest.
inline Result<Buffer> encodeFast(Bytes source, Buffer target) noexcept {
    if (source.size() > detail::kLongestSource) return Failure{StatusSizeError};
    std::array<int32_t, 8192> hashTable;  // 32 KB of stack
    hashTable.fill(detail::kNoIndex);
    const uint8_t noByte = 0;
    const uint8_t* from = source.empty() ? &noByte : detail::raw(source);
    auto left = static_cast<int32_t>(source.size());
    int32_t index = 0;
    uint16_t bits = 1 | 1 << 1;
    int32_t bitCount = 3;
    int32_t written = 0;
    if (target.empty()) return Failure{StatusDestinationFull};
    const Status status = ozrsDeflateLZ77Fastest_8u(
        &from, &left, &index, from, detail::kWindow, hashTable.data(), static_cast<int32_t>(hashTable.size()), &bits,
        &bitCount, detail::raw(target), detail::clamped<int32_t>(target.size()), &written, detail::kLastFlush);
    if (status != StatusOk) return Failure{status};
    auto size = detail::size(written);
    if (bitCount > 0) {
        if (size == target.size()) return Failure{StatusDestinationFull};
        target[size++] = static_cast<std::byte>(bits);
    }
    return Buffer(target.first(size));
}

}  // namespace deflate
}  // namespace v11
}  // namespace ozrdc

#endif  // OZRDC_DEFLATE_HPP
