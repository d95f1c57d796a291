// Plain models of the LZSS encoder and decoder: one token after the other, bits as single truth values, every byte of
// the stream kept. They say what each call must write, consume and return, wherever source and destination are cut.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <vector>

#include "ozrdc.h"

namespace ozrdc::test::lzss {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

constexpr std::size_t kStateSize = 327744;
constexpr std::size_t kWindow = 32768;

// What a call did.
struct Result {
    Bytes written;
    std::size_t consumed = 0;
    Status status = StatusOk;

    bool operator==(const Result&) const = default;
};

// The 768 values that the encoder's hash is made of.
const std::array<int, 768>& hashValues();
int hashOf(uint8_t first, uint8_t second, uint8_t third);

class ReferenceEncoder {
  public:
    // Begins a new stream.
    void init();

    Result encode(ByteView source, std::size_t capacity);
    Result flush(std::size_t capacity);

  private:
    void put(unsigned value, unsigned count);
    int64_t enter(int64_t position, ByteView source);
    uint8_t byteAt(int64_t position, ByteView source) const;

    Bytes stream_;  // all that was consumed
    // Positions by hash, and by the low bits of a later position; that far back, nothing is reached.
    static constexpr std::size_t kPositions = 32768;
    static constexpr int64_t kNowhere = -32768;
    std::vector<int64_t> head_ = std::vector<int64_t>(kPositions, kNowhere);
    std::vector<int64_t> chain_ = std::vector<int64_t>(kPositions, kNowhere);
    std::deque<bool> pending_;
};

class ReferenceDecoder {
  public:
    // All bytes of the history are `memory` at first.
    explicit ReferenceDecoder(uint8_t memory = 0) : history_(kWindow, memory) {}

    // Begins a new stream.
    void init();

    Result decode(ByteView source, std::size_t capacity);

  private:
    bool pull(std::size_t count, ByteView source, std::size_t& consumed);
    unsigned take(unsigned count);
    void copyMatch(Bytes& output, std::size_t capacity);

    Bytes history_;
    std::deque<bool> pending_;
    std::size_t length_ = 0;
    std::size_t distance_ = 0;
};

// Writes streams token by token.
class TokenWriter {
  public:
    TokenWriter& literal(unsigned byte);
    TokenWriter& literals(ByteView bytes);
    TokenWriter& match(unsigned distance, unsigned length);

    // The stream so far, its last byte filled up with zeros.
    Bytes bytes() const;

  private:
    void put(unsigned value, unsigned count);

    std::vector<bool> bits_;
};

}  // namespace ozrdc::test::lzss
