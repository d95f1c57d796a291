// The address space that a source and the history before it share, as the reference encoders see it: one byte at a
// time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ozrdc::test::lz4 {

// What a block's matches may reach besides its source. Positions count in one address space in which `srcIdx` is the
// first byte of the source and `history`, of any length, ends there.
struct EncoderHistory {
    int64_t srcIdx = 0;
    std::span<const uint8_t> history{};
    bool separate = false;  // it does not lie in front of the source, but in a buffer of its own
};

// CRC-32C of one byte, bit by bit: polynomial 0x1EDC6F41, reflected.
constexpr std::array<uint32_t, 256> makeCrcTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t crc = i;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? (crc >> 1) ^ 0x82F63B78 : crc >> 1;
        table[i] = crc;
    }
    return table;
}
inline constexpr std::array<uint32_t, 256> kCrcTable = makeCrcTable();

// The bytes of all positions.
class Space {
    static constexpr int64_t kRest = 8;  // a match may not begin in a separate dictionary's last seven bytes

  public:
    Space(std::span<const uint8_t> source, const EncoderHistory& history) : source_(source), history_(history) {}

    int64_t begin() const { return history_.srcIdx; }
    int64_t end() const { return history_.srcIdx + std::ssize(source_); }

    uint8_t byte(int64_t position) const {
        const int64_t index = position - history_.srcIdx;
        return index >= 0 ? source_[static_cast<std::size_t>(index)]
                          : history_.history[static_cast<std::size_t>(std::ssize(history_.history) + index)];
    }

    // Whether a match may begin at a candidate.
    bool mayBegin(int64_t candidate) const {
        const int64_t back = history_.srcIdx - candidate;
        return !history_.separate || back <= 0 || (back <= std::ssize(history_.history) && back >= kRest);
    }

    // Whether the byte that `length` bytes of a match from the candidate end at still belongs to it.
    bool mayContinue(int64_t candidate, int64_t length) const {
        return !history_.separate || candidate >= history_.srcIdx || candidate + length < history_.srcIdx;
    }

    // Whether the byte `length + 1` bytes before the candidate of a match may belong to it.
    bool mayPrecede(int64_t candidate, int64_t length) const {
        const int64_t start = candidate - length;
        if (history_.separate && candidate >= history_.srcIdx) return start > history_.srcIdx;
        return start > history_.srcIdx - std::ssize(history_.history);
    }

    // The CRC-32C register after the four bytes from `position`; started from 0, and from the fifth byte.
    uint32_t hash(int64_t position) const { return hash(position, 0); }
    uint32_t seededHash(int64_t position) const { return hash(position, byte(position + 4)); }

  private:
    uint32_t hash(int64_t position, uint32_t crc) const {
        for (int64_t i = 0; i < 4; ++i) crc = (crc >> 8) ^ kCrcTable[(crc ^ byte(position + i)) & 0xFF];
        return crc;
    }

    std::span<const uint8_t> source_;
    EncoderHistory history_;
};

}  // namespace ozrdc::test::lz4
