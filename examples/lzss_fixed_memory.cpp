// Packs and unpacks files in memory that is set aside when the program is built, as on a device without a heap: one
// arena holds the state of whichever direction is used.
//
// An LZSS stream tells neither where it ends nor whether it is intact. So size and CRC-32C of the plain bytes are
// written in front of it, and compared behind it.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <ozrdc.hpp>
#include <stdexcept>
#include <string_view>

namespace lzss = ozrdc::lzss;

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

// lzss::Encoder::memorySize() tells how much it has to be, for the decoder too. In less, `create` would fail.
static std::array<std::byte, 327807> arena;
static std::array<std::byte, 4096> piece, room;

struct Header {  // as this machine has it in memory: for files that stay with it
    uint64_t size = 0;
    uint32_t crc = 0;
    uint32_t unused = 0;
};

static void require(bool condition, const char* otherwise) {
    if (!condition) throw std::runtime_error(otherwise);
}

static ozrdc::Bytes read(const File& in) {
    const std::size_t n = std::fread(piece.data(), 1, piece.size(), in.get());
    require(std::ferror(in.get()) == 0, "cannot read");
    return std::span(piece).first(n);
}

static void write(const File& out, ozrdc::Bytes bytes) {
    require(std::fwrite(bytes.data(), 1, bytes.size(), out.get()) == bytes.size(), "cannot write");
}

static void pack(const File& in, const File& out) {
    Header header;
    ozrdc::Crc32c crc;
    for (ozrdc::Bytes bytes = read(in); !bytes.empty(); bytes = read(in)) {
        header.size += bytes.size();
        header.crc = crc.update(bytes).value();
    }
    std::rewind(in.get());
    write(out, std::as_bytes(std::span(&header, 1)));

    auto encoder = lzss::Encoder::create(ozrdc::Place::in(arena)).value();
    const auto store = [&](ozrdc::Bytes packed) { write(out, packed); };
    for (ozrdc::Bytes bytes = read(in); !bytes.empty(); bytes = read(in)) {
        ozrdc::update(encoder, bytes, room, store).value();
    }
    ozrdc::finish(encoder, room, store).value();
}

static void unpack(const File& in, const File& out) {
    Header header;
    require(std::fread(&header, sizeof header, 1, in.get()) == 1, "the file is no packed one");
    auto decoder = lzss::Decoder::create(ozrdc::Place::in(arena)).value();
    ozrdc::Crc32c crc;
    uint64_t left = header.size;
    const auto store = [&](ozrdc::Bytes plain) {
        require(plain.size() <= left, "the file goes on behind its end");
        left -= plain.size();
        crc.update(plain);
        write(out, plain);
    };
    for (ozrdc::Bytes bytes = read(in); !bytes.empty(); bytes = read(in)) {
        ozrdc::update(decoder, bytes, room, store).value();
    }
    ozrdc::finish(decoder, room, store).value();
    require(left == 0, "the file is cut");
    require(crc.value() == header.crc, "the file is damaged");
}

int main(int argc, char** argv) try {
    const std::string_view command = argc == 4 ? argv[1] : "";
    if (command != "pack" && command != "unpack") {
        std::fputs("usage: lzss_fixed_memory pack|unpack SOURCE TARGET\n", stderr);
        return 2;
    }
    const File in(std::fopen(argv[2], "rb"), &std::fclose);
    require(in != nullptr, "cannot open the source");
    File out(std::fopen(argv[3], "wb"), &std::fclose);
    require(out != nullptr, "cannot open the target");
    command == "pack" ? pack(in, out) : unpack(in, out);
    require(std::fclose(out.release()) == 0, "cannot write");
} catch (const std::exception& error) {
    std::fprintf(stderr, "lzss_fixed_memory: %s\n", error.what());
    return 1;
}
