// See the header.
#include "lzo/reference_encoder.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ozrdc::test::lzo {
namespace {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

// What each byte makes of the CRC-32C, bit by bit.
const std::array<uint32_t, 256> kCrcOfByte = [] {
    std::array<uint32_t, 256> table{};
    for (uint32_t byte = 0; byte < 256; ++byte) {
        uint32_t crc = byte;
        for (int bit = 0; bit < 8; ++bit) crc = crc % 2 != 0 ? crc / 2 ^ 0x82F63B78 : crc / 2;
        table[byte] = crc;
    }
    return table;
}();

// The CRC-32C of four bytes, from 0 and without inversion.
uint32_t hash(ByteView source, std::size_t at) {
    uint32_t crc = 0;
    for (std::size_t i = 0; i < 4; ++i) crc = crc >> 8 ^ kCrcOfByte[(crc ^ source[at + i]) % 256];
    return crc;
}

bool sameFour(ByteView source, std::size_t a, std::size_t b) {
    return std::equal(source.begin() + static_cast<std::ptrdiff_t>(a),
                      source.begin() + static_cast<std::ptrdiff_t>(a + 4),
                      source.begin() + static_cast<std::ptrdiff_t>(b));
}

std::size_t matchLength(ByteView source, std::size_t candidate, std::size_t at, std::size_t end) {
    std::size_t n = 0;
    while (at + n < end && source[candidate + n] == source[at + n]) ++n;
    return n;
}

// A stream that grows by instructions; those that would not fit are refused.
class Stream {
  public:
    explicit Stream(uint64_t capacity) : capacity_(capacity) {}

    const Bytes& bytes() const { return bytes_; }
    uint64_t room() const { return capacity_ - bytes_.size(); }

    bool literalsAndMatch(ByteView literals, std::size_t distance, std::size_t length) {
        Bytes more = run(literals);
        const Bytes match = matchInstruction(distance, length);
        more.insert(more.end(), match.begin(), match.end());
        return append(more, literals.size());
    }

    bool lastRun(ByteView literals) { return literals.empty() || append(run(literals), literals.size()); }

    bool endMarker() { return append({0x11, 0, 0}, 0); }

  private:
    static void extension(Bytes& bytes, std::size_t rest) {
        for (; rest > 255; rest -= 255) bytes.push_back(0);
        bytes.push_back(static_cast<uint8_t>(rest));
    }

    static Bytes matchInstruction(std::size_t distance, std::size_t length) {
        Bytes bytes;
        if (distance <= 2048 && length <= 8) {
            bytes.push_back(static_cast<uint8_t>((length - 1) * 32 + (distance - 1) % 8 * 4));
            bytes.push_back(static_cast<uint8_t>((distance - 1) / 8));
            return bytes;
        }
        const bool middle = distance <= 16384;
        const std::size_t field = middle ? distance - 1 : (distance - 16384) % 16384;
        const std::size_t first = middle ? 32 : (distance < 32768 ? 16 : 24);
        const std::size_t largest = middle ? 33 : 9;
        if (length <= largest) {
            bytes.push_back(static_cast<uint8_t>(first + length - 2));
        } else {
            bytes.push_back(static_cast<uint8_t>(first));
            extension(bytes, length - largest);
        }
        bytes.push_back(static_cast<uint8_t>(field % 64 * 4));
        bytes.push_back(static_cast<uint8_t>(field / 64));
        return bytes;
    }

    // Literals with what stands in front of them. Up to three behind a match need nothing.
    Bytes run(ByteView literals) const {
        Bytes bytes;
        const std::size_t n = literals.size();
        // The decoder would take such a stream for a container.
        const bool mistakable = n == 68 && literals[0] >= 1 && literals[0] <= 32 && literals[1] == (literals[0] ^ 0x55);
        if (bytes_.empty() && n <= 238 && !mistakable) {
            bytes.push_back(static_cast<uint8_t>(n + 17));
        } else if (n > 18) {
            bytes.push_back(0);
            extension(bytes, n - 18);
        } else if (n > 3) {
            bytes.push_back(static_cast<uint8_t>(n - 3));
        }
        bytes.insert(bytes.end(), literals.begin(), literals.end());
        return bytes;
    }

    // Appends, if there is room, an instruction that begins with so many literals.
    bool append(const Bytes& more, std::size_t literals) {
        if (more.size() > room()) return false;
        // The number of up to three literals stands in the match before them.
        if (!bytes_.empty() && literals <= 3) bytes_[bytes_.size() - 2] |= static_cast<uint8_t>(literals);
        bytes_.insert(bytes_.end(), more.begin(), more.end());
        return true;
    }

    Bytes bytes_;
    uint64_t capacity_;
};

// As many of the literals from `anchor` on as fit. False if something was cut.
bool lastRun(ByteView source, std::size_t anchor, Stream& stream) {
    for (std::size_t count = source.size() - anchor;; --count) {
        if (stream.lastRun(source.subspan(anchor, count))) return anchor + count == source.size();
        if (count > stream.room()) count = stream.room() + 1;
    }
}

// Everything but the end marker. False if something was cut.
bool standardBody(ByteView source, Stream& stream) {
    const std::size_t n = source.size();
    std::size_t anchor = 0;
    if (n < 14) return lastRun(source, anchor, stream);
    std::vector<uint32_t> slots(32768, 0);
    for (std::size_t p = 4; p < n - 13;) {
        uint32_t& slot = slots[hash(source, p) & 0x7FFF];
        const std::size_t candidate = slot;
        slot = static_cast<uint32_t>(p);
        if (candidate == 0 || p - candidate > 0xBFFF || !sameFour(source, candidate, p)) {
            ++p;
            continue;
        }
        const std::size_t length = matchLength(source, candidate, p, n);
        if (!stream.literalsAndMatch(source.subspan(anchor, p - anchor), p - candidate, length)) break;
        p += length;
        anchor = p;
    }
    return lastRun(source, anchor, stream);
}

}  // namespace

Encoded encodeStandard(ByteView source, uint64_t capacity) {
    Stream stream(capacity);
    const bool whole = source.empty() || (standardBody(source, stream) && stream.endMarker());
    return {whole ? StatusOk : StatusDestinationFull, stream.bytes()};
}

Encoded encodeFast(ByteView source, uint64_t capacity) {
    const std::size_t n = source.size();
    Stream stream(capacity);
    if (n == 0) return {StatusOk, {}};
    const auto full = [&] { return Encoded{StatusDestinationFull, stream.bytes()}; };
    std::size_t anchor = 0;
    std::size_t misses = 0;
    for (std::size_t begin = 0; begin < n; begin += 49152) {
        const std::size_t size = std::min<std::size_t>(49152, n - begin);
        if (size + size / 128 + 4 > stream.room()) return full();
        std::vector<uint32_t> slots(16384, 0);
        for (std::size_t p = 4; p + 20 < size;) {
            uint32_t& slot = slots[hash(source, begin + p) & 0x3FFF];
            const std::size_t candidate = slot;
            slot = static_cast<uint32_t>(p);
            if (!sameFour(source, begin + candidate, begin + p)) {
                ++misses;
                p += 1 + misses / 32;
                continue;
            }
            misses = 0;
            const std::size_t at = begin + p;
            const std::size_t length = matchLength(source, begin + candidate, at, begin + size);
            if (!stream.literalsAndMatch(source.subspan(anchor, at - anchor), p - candidate, length)) return full();
            p += length;
            anchor = begin + p;
        }
    }
    if (!stream.lastRun(source.subspan(anchor)) || !stream.endMarker()) return full();
    return {StatusOk, stream.bytes()};
}

Encoded encodeContainer(ByteView source, uint64_t capacity, uint32_t parts) {
    if (source.empty()) return {StatusOk, {}};
    const std::size_t header = 7 + 4 * (std::size_t{parts} - 1);
    if (capacity < header) return {StatusDestinationFull, {}};
    Bytes bytes(header);
    const auto setNumber = [&](std::size_t at, std::size_t value) {
        for (std::size_t i = 0; i < 4; ++i) bytes[at + i] = static_cast<uint8_t>(value >> 8 * i);
    };
    bytes[0] = 0x55;
    bytes[1] = static_cast<uint8_t>(parts);
    bytes[2] = static_cast<uint8_t>(parts ^ 0x55);
    setNumber(3, source.size());
    const std::size_t share = source.size() / parts;
    for (std::size_t k = 0; k < parts; ++k) {
        const bool last = k + 1 == parts;
        const ByteView slice = last ? source.subspan(k * share) : source.subspan(k * share, share);
        Stream stream(capacity - bytes.size());
        const bool whole = standardBody(slice, stream) && stream.endMarker();
        bytes.insert(bytes.end(), stream.bytes().begin(), stream.bytes().end());
        if (!whole) return {StatusDestinationFull, bytes};
        if (!last) setNumber(7 + 4 * k, stream.bytes().size());
    }
    return {StatusOk, bytes};
}

}  // namespace ozrdc::test::lzo
