// See the header.
#include "bzip2_builder.h"

#include <bzlib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <stdexcept>

#include "bz2/reference_transform.h"

namespace ozrz::test {
namespace {

using ozrdc::test::bz2::numberBits;

std::string expandRuns(const std::vector<uint8_t>& code) {
    std::string content;
    std::size_t run = 0;
    for (const uint8_t byte : code) {
        if (run == 4) {
            content.append(byte, content.back());
            run = 0;
            continue;
        }
        run = run > 0 && static_cast<uint8_t>(content.back()) == byte ? run + 1 : 1;
        content += static_cast<char>(byte);
    }
    return content;
}

// A description whose codes all have the same length.
Bits evenDescription(std::size_t alphaSize, std::size_t selectors) {
    const auto length = static_cast<uint8_t>(std::bit_width(alphaSize - 1));
    ozrdc::test::bz2::Description description;
    description.lengths.assign(2, std::vector<uint8_t>(alphaSize, length));
    description.selectors.assign(selectors, 0);
    return description.bits();
}

}  // namespace

uint32_t bzip2Crc(const std::string& content) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char c : content) {
        crc ^= static_cast<uint32_t>(static_cast<uint8_t>(c)) << 24;
        for (int i = 0; i < 8; ++i) crc = (crc & 0x80000000) != 0 ? crc << 1 ^ 0x04C11DB7 : crc << 1;
    }
    return ~crc;
}

uint32_t bzip2StreamCrc(const std::vector<uint32_t>& blockCrcs) {
    uint32_t crc = 0;
    for (const uint32_t block : blockCrcs) crc = (crc << 1 | crc >> 31) ^ block;
    return crc;
}

Bits blockHeader(uint32_t crc, bool randomized, uint32_t primaryIndex, unsigned values) {
    Bits bits = kBlockMarkBits + numberBits(crc, 32) + (randomized ? '1' : '0') + numberBits(primaryIndex, 24);
    for (unsigned group = 0; group < 16; ++group) bits += 16 * group < values ? '1' : '0';
    for (unsigned value = 0; value < (values + 15) / 16 * 16; ++value) bits += value < values ? '1' : '0';
    return bits;
}

HandMadeBlock makeBlock(const Symbols& symbols, const BlockOptions& options) {
    std::array<uint8_t, 256> inUse{};
    std::fill_n(inUse.begin(), options.values, uint8_t{1});
    const ozrdc::test::bz2::DecodedBlock decoded = ozrdc::test::bz2::decodeBlockPlainly(
        symbols, 900000, static_cast<int32_t>(options.primaryIndex), static_cast<int32_t>(options.values), inUse);
    HandMadeBlock block;
    block.content = expandRuns(decoded.bytes);
    block.crc = bzip2Crc(block.content);
    const std::size_t alphaSize = options.values + 2;
    const auto length = static_cast<unsigned>(std::bit_width(alphaSize - 1));
    block.bits =
        blockHeader(block.crc, options.randomized, options.primaryIndex, options.values) +
        options.description.value_or(evenDescription(alphaSize, (symbols.size() + 50) / 50 + options.unusedSelectors));
    for (const uint16_t symbol : symbols) block.bits += numberBits(symbol, length);
    block.bits += numberBits(alphaSize - 1, length);
    return block;
}

std::string bytesOfBits(const Bits& bits) {
    const std::vector<uint8_t> bytes = ozrdc::test::bz2::packed(bits);
    return {bytes.begin(), bytes.end()};
}

Bits bitsOfBytes(const std::string& bytes) {
    return ozrdc::test::bz2::bitsOf({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
}

std::string makeStream(int level, const std::vector<HandMadeBlock>& blocks) {
    Bits bits;
    std::vector<uint32_t> crcs;
    for (const HandMadeBlock& block : blocks) {
        bits += block.bits;
        crcs.push_back(block.crc);
    }
    return "BZh" + std::to_string(level) + bytesOfBits(bits + kEndMarkBits + numberBits(bzip2StreamCrc(crcs), 32));
}

std::string libbz2Compress(const std::string& contents, int level, int workFactor) {
    std::string file(contents.size() + contents.size() / 50 + 700, '\0');
    auto size = static_cast<unsigned>(file.size());
    std::string source = contents;  // libbz2 wants to be able to write to it
    if (BZ2_bzBuffToBuffCompress(file.data(), &size, source.data(), static_cast<unsigned>(source.size()), level, 0,
                                 workFactor) != BZ_OK) {
        throw std::runtime_error("libbz2 did not compress");
    }
    file.resize(size);
    return file;
}

std::optional<std::string> libbz2Decompress(const std::string& file) {
    std::string contents;
    std::string source = file;
    std::vector<char> piece(1 << 20);
    bz_stream stream{};
    stream.next_in = source.data();
    stream.avail_in = static_cast<unsigned>(source.size());
    do {
        if (BZ2_bzDecompressInit(&stream, 0, 0) != BZ_OK) throw std::runtime_error("libbz2 did not begin");
        int status = BZ_OK;
        do {
            stream.next_out = piece.data();
            stream.avail_out = static_cast<unsigned>(piece.size());
            status = BZ2_bzDecompress(&stream);
            contents.append(piece.data(), piece.size() - stream.avail_out);
            // All is there from the beginning: what does not go on now is truncated.
        } while (status == BZ_OK && (stream.avail_in != 0 || stream.avail_out == 0));
        BZ2_bzDecompressEnd(&stream);
        if (status != BZ_STREAM_END) return std::nullopt;
    } while (stream.avail_in != 0);
    return contents;
}

}  // namespace ozrz::test
