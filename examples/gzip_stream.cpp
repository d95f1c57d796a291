// Unpacks a gzip file from standard input to standard output, one byte at a time, as bytes may come from a socket: the
// decoder stops and goes on at any bit.
#include <array>
#include <cstdio>
#include <exception>
#include <ozrdc.hpp>
#include <stdexcept>

static void require(bool condition, const char* otherwise) {
    if (!condition) throw std::runtime_error(otherwise);
}

static std::byte next() {
    const int c = std::getchar();
    require(c != EOF, "the data end too early");
    return static_cast<std::byte>(c);
}

// A number of n bytes, the lowest first.
static uint32_t number(int n) {
    uint32_t value = 0;
    for (int i = 0; i < n; ++i) value |= std::to_integer<uint32_t>(next()) << 8 * i;
    return value;
}

static void skipHeader() {  // RFC 1952
    require(number(3) == 0x088B1F, "not a gzip file");
    const uint32_t flags = number(1);
    number(4), number(2);  // time; effort and system
    if ((flags & 4) != 0) {
        for (uint32_t left = number(2); left > 0; --left) next();
    }
    for (const uint32_t text : {8U, 16U}) {
        while ((flags & text) != 0 && next() != std::byte{0}) continue;
    }
    if ((flags & 2) != 0) number(2);
}

int main() try {
    skipHeader();
    auto decoder = ozrdc::inflate::Decoder::create().value();
    ozrdc::Crc32 crc;
    uint32_t size = 0;
    std::array<std::byte, 4096> room;
    while (!decoder.done()) {
        const std::array<std::byte, 1> byte{next()};
        const auto write = [&](ozrdc::Bytes unpacked) {
            crc.update(unpacked);
            size += static_cast<uint32_t>(unpacked.size());
            require(std::fwrite(unpacked.data(), 1, unpacked.size(), stdout) == unpacked.size(), "cannot write");
        };
        ozrdc::update(decoder, byte, room, write).value();
    }
    require(number(4) == crc.value(), "the checksum is wrong");
    require(number(4) == size, "the size is wrong");
} catch (const std::exception& error) {
    std::fprintf(stderr, "gzip_stream: %s\n", error.what());
    return 1;
}
