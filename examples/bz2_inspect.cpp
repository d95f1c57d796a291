// Shows the blocks of a .bz2 file: where each begins, what its header tells, what it decodes to, and whether its
// checksum is right.
#include <array>
#include <bitset>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <ozrdc.hpp>
#include <stdexcept>
#include <vector>

namespace bz2 = ozrdc::bz2;

// The bits of a file: headers are read here, and the library goes on where they end.
struct BitSource {
    ozrdc::Bytes file, rest = file;
    bz2::PendingBits pending;

    uint32_t take(int32_t n) {
        const auto bits = pending.take(rest, n);
        if (!bits) throw std::runtime_error("the file is cut");
        return *bits;
    }
    uint64_t take(int32_t first, int32_t second) {
        const uint64_t high = take(first);
        return high << second | take(second);
    }
    std::size_t position() const { return 8 * (file.size() - rest.size()) - static_cast<std::size_t>(pending.count); }
};

constexpr uint64_t kBlockBegins = 0x314159265359;
constexpr uint64_t kStreamEnds = 0x177245385090;

static void showBlock(BitSource& in, std::size_t position, std::size_t maxSize) {
    const auto crc = static_cast<uint32_t>(in.take(16, 16));
    if (in.take(1) != 0) throw std::runtime_error("a block of the oldest, randomized kind");
    const uint32_t primary = in.take(24);
    // A map of the values in use: sixteen bits tell which rows of sixteen there are.
    bz2::InUse inUse{};
    const uint32_t rows = in.take(16);
    for (uint32_t row = 0; row < 16; ++row) {
        const uint32_t map = (rows >> (15 - row) & 1) != 0 ? in.take(16) : 0;
        for (uint32_t i = 0; i < 16; ++i) inUse[16 * row + i] = map >> (15 - i) & 1;
    }
    const auto values = static_cast<std::size_t>(std::count(inUse.begin(), inUse.end(), 1));

    auto huffman = bz2::HuffmanDecoder::create().value();
    huffman.start(values + 2).value();
    const auto tables = huffman.readTables(in.pending, in.rest).value();
    in.rest = in.rest.subspan(tables.consumed);
    std::vector<uint16_t> symbols(maxSize + 1);
    const auto read = huffman.readSymbols(in.pending, in.rest, symbols).value();
    if (read.status != StatusOk) throw std::runtime_error("a block has no end");
    in.rest = in.rest.subspan(read.consumed);
    symbols.resize(read.produced);

    std::vector<std::byte> block(maxSize);
    auto decoder = bz2::BlockDecoder::create(maxSize).value();
    const ozrdc::Buffer coded = decoder.decode(symbols, primary, inUse, block).value();
    auto runs = bz2::RunLengthDecoder::create().value();
    ozrdc::Crc32Bz2 check;
    std::size_t size = 0;
    std::array<std::byte, 65536> room;
    const auto count = [&](ozrdc::Bytes bytes) { check.update(bytes), size += bytes.size(); };
    ozrdc::update(runs, coded, room, count).value();
    ozrdc::finish(runs, room, count).value();
    std::printf("bit %10zu  %8zu bits  %3zu values  row %6u  %6zu symbols  %6zu sorted  %8zu bytes  crc %08x %s\n",
                position, in.position() - position, values, primary, symbols.size(), coded.size(), size, crc,
                crc == check.value() ? "right" : "WRONG");
}

int main(int argc, char** argv) try {
    std::ifstream stream(argc == 2 ? argv[1] : throw std::runtime_error("usage: bz2_inspect FILE"), std::ios::binary);
    const std::vector<char> file{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    BitSource in{.file = file, .pending = {}};
    while (!in.rest.empty()) {  // one stream behind the other
        if (in.take(24) != 0x425A68) throw std::runtime_error("not a bzip2 stream");
        const uint32_t level = in.take(8) - '0';
        if (level < 1 || level > 9) throw std::runtime_error("a stream of no known level");
        std::printf("stream of level %u\n", level);
        for (;;) {
            const std::size_t position = in.position();
            const uint64_t magic = in.take(24, 24);
            if (magic == kStreamEnds) break;
            if (magic != kBlockBegins) throw std::runtime_error("neither a block nor the end of the stream");
            showBlock(in, position, level * 100000);
        }
        std::printf("end, crc of all blocks %08x\n", static_cast<uint32_t>(in.take(16, 16)));
        in.take(in.pending.count % 8);  // streams begin at whole bytes
    }
} catch (const std::exception& error) {
    std::fprintf(stderr, "bz2_inspect: %s\n", error.what());
    return 1;
}
