// Unpacks a gzip file from standard input to standard output, one byte at a time, as bytes may come from a socket: the
// decoder stops and goes on at any bit.
#include <ozrdc.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

static void require(bool condition, const char* otherwise) {
    if (!condition) throw std::runtime_error(otherwise);
}

// Bits from the stream, least significant first. Those that the decoder has taken and not used stay here.
struct Input {
    uint32_t bits = 0;
    uint32_t count = 0;

    static uint8_t byte() {
        const int c = std::getchar();
        require(c != EOF, "the data end too early");
        return static_cast<uint8_t>(c);
    }
    uint32_t take(uint32_t n) {
        for (; count < n; count += 8) bits |= uint32_t{byte()} << count;
        const uint32_t value = bits & ((1U << n) - 1);
        bits >>= n;
        count -= n;
        return value;
    }
};

// Unpacked bytes: the last 32 KB are the history that matches reach into, in front of the room for new ones.
struct Output {
    std::vector<uint8_t> buffer = std::vector<uint8_t>(std::size_t{1} << 16);
    uint8_t* next = buffer.data();
    uint32_t crc = 0, size = 0;

    uint32_t used() const { return static_cast<uint32_t>(next - buffer.data()); }
    uint32_t room() const { return static_cast<uint32_t>(buffer.size()) - used(); }
    void produced(const uint8_t* from) {  // the bytes from there up to `next`
        const auto n = static_cast<uint32_t>(next - from);
        ozrsCRC32_8u(from, static_cast<int32_t>(n), &crc);
        require(std::fwrite(from, 1, n, stdout) == n, "cannot write");
        size += n;
        if (room() > 0) return;
        constexpr std::size_t history = 1 << 15;
        std::memmove(buffer.data(), next - history, history);
        next = buffer.data() + history;
    }
};

static void stored(Input& in, Output& out) {
    in.take(in.count % 8);
    const uint32_t size = in.take(16);
    require((in.take(16) ^ size) == 0xFFFF, "a stored block is damaged");
    for (uint32_t i = 0; i < size; ++i) {
        *out.next++ = static_cast<uint8_t>(in.take(8));
        out.produced(out.next - 1);
    }
}

// The code lengths of a dynamic block are themselves coded (RFC 1951, 3.2.7).
static void readCodes(Input& in, InflateState& state) {
    const uint32_t literals = in.take(5) + 257, distances = in.take(5) + 1, sent = in.take(4) + 4;
    constexpr std::array<uint8_t, 19> order{16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    std::array<uint32_t, 19> bits{};
    for (uint32_t i = 0; i < sent; ++i) bits.at(order.at(i)) = in.take(3);
    const auto symbol = [&]() -> uint16_t {  // codes of one length are consecutive numbers, in the order of symbols
        for (uint32_t length = 1, code = 0, first = 0; length <= 7; ++length, first <<= 1) {
            code = code << 1 | in.take(1);
            for (uint16_t s = 0; s < 19; ++s) {
                if (bits.at(s) == length && first++ == code) return s;
            }
        }
        throw std::runtime_error("a block's header is damaged");
    };
    std::array<uint16_t, 320 + 138> lengths{};  // with room for a repetition that runs over the end
    uint32_t i = 0;
    while (i < literals + distances) {
        const uint16_t s = symbol();
        require(s != 16 || i > 0, "a block's header is damaged");
        const uint16_t value = s < 16 ? s : s == 16 ? lengths.at(i - 1) : uint16_t{0};
        const uint32_t times = s < 16 ? 1 : s == 16 ? 3 + in.take(2) : s == 17 ? 3 + in.take(3) : 11 + in.take(7);
        for (const uint32_t end = i + times; i < end; ++i) lengths.at(i) = value;
    }
    require(
        i == literals + distances && ozrsInflateBuildHuffTable(lengths.data(), literals, distances, &state) == StatusOk,
        "a block's codes are damaged");
}

static void compressed(Input& in, Output& out, InflateState& state) {
    uint32_t mode = 0, given = 0;
    uint8_t byte = 0;
    do {
        const uint8_t* src = &byte;
        uint8_t* const from = out.next;
        uint32_t room = out.room();
        const Status status =
            ozrsInflate_8u(&src, &given, &in.bits, &in.count, 0, &out.next, &room, out.used(), &mode, &state);
        require(status == StatusOk, "a block is damaged");
        out.produced(from);
        if (mode != 0 && given == 0 && room > 0) given = 1, byte = Input::byte();
    } while (mode != 0);
    if (given != 0) in.bits |= uint32_t{byte} << in.count, in.count += 8;  // not a bit of it was needed
}

int main() try {
    Input in;
    Output out;
    static InflateState state{};
    require(in.take(16) == 0x8B1F && in.take(8) == 8, "not a gzip file");
    const uint32_t flags = in.take(8);
    for (int i = 0; i < 6; ++i) in.take(8);  // time, effort, system
    for (uint32_t n = (flags & 4) != 0 ? in.take(16) : 0; n > 0; --n) in.take(8);
    for (const uint32_t text : {8U, 16U}) {
        while ((flags & text) != 0 && in.take(8) != 0) continue;
    }
    if ((flags & 2) != 0) in.take(16);
    for (bool last = false; !last;) {
        last = in.take(1) != 0;
        const uint32_t type = in.take(2);
        require(type != 3, "a block of no known type");
        state.tableKind = 0;
        if (type == 2) readCodes(in, state);
        type == 0 ? stored(in, out) : compressed(in, out, state);
    }
    in.take(in.count % 8);
    require(in.take(16) == (out.crc & 0xFFFF) && in.take(16) == out.crc >> 16, "the checksum is wrong");
    require(in.take(16) == (out.size & 0xFFFF) && in.take(16) == out.size >> 16, "the size is wrong");
} catch (const std::exception& error) {
    std::fprintf(stderr, "gzip_stream: %s\n", error.what());
    return 1;
}
