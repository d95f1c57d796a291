// Choosing among dynamic, fixed and stored blocks by their exact sizes.
#include "formats/deflate/block_writer.h"

#include <algorithm>

#include "error.h"
#include "formats/deflate/block_header.h"
#include "formats/deflate/prefix_code.h"

namespace ozrz::deflate {
namespace {

constexpr unsigned kStoredFieldsBits = 8 * kStoredFieldsSize;

struct FixedCodes {
    BlockCodeLengths lengths;
    std::array<DeflateHuffCode, kFixedLitLenSymbols> litLen;
    std::array<DeflateHuffCode, kDistSymbols> dist;
};

const FixedCodes& fixedCodes() {
    static const FixedCodes codes = [] {
        FixedCodes all;
        std::array<uint8_t, kFixedLitLenSymbols> litLen;
        for (std::size_t symbol = 0; symbol < litLen.size(); ++symbol) {
            litLen[symbol] = static_cast<uint8_t>(fixedLitLenCodeLength(symbol));
        }
        std::copy_n(litLen.begin(), kLitLenSymbols, all.lengths.litLen.begin());
        all.lengths.dist.fill(kFixedDistCodeLength);
        assignCodes(litLen, all.litLen.data());
        assignCodes(all.lengths.dist, all.dist.data());
        return all;
    }();
    return codes;
}

// With the end of the block counted.
BlockCodeLengths dynamicLengths(const Histogram& histogram) {
    BlockCodeLengths lengths;
    makeCodeLengths(histogram.litLen, kMaxCodeLength, lengths.litLen.data());
    makeCodeLengths(histogram.dist, kMaxCodeLength, lengths.dist.data());
    // A distance code of fewer than two codes is allowed, but not all decoders take it.
    const auto used =
        std::count_if(lengths.dist.begin(), lengths.dist.end(), [](uint8_t length) { return length != 0; });
    if (used < 2) {
        if (used == 0) lengths.dist[0] = 1;
        lengths.dist[lengths.dist[0] == 0 ? 0 : 1] = 1;
    }
    return lengths;
}

uint64_t extraBits(const Histogram& histogram) {
    uint64_t bits = 0;
    for (std::size_t symbol = kFirstLengthSymbol; symbol < kLitLenSymbols; ++symbol) {
        bits += uint64_t{histogram.litLen[symbol]} * lengthExtraBits(symbol - kFirstLengthSymbol);
    }
    for (std::size_t symbol = 0; symbol < kDistSymbols; ++symbol) {
        bits += uint64_t{histogram.dist[symbol]} * distExtraBits(symbol);
    }
    return bits;
}

uint64_t codeBits(const Histogram& histogram, const BlockCodeLengths& lengths) {
    uint64_t bits = 0;
    for (std::size_t symbol = 0; symbol < kLitLenSymbols; ++symbol) {
        bits += uint64_t{histogram.litLen[symbol]} * lengths.litLen[symbol];
    }
    for (std::size_t symbol = 0; symbol < kDistSymbols; ++symbol) {
        bits += uint64_t{histogram.dist[symbol]} * lengths.dist[symbol];
    }
    return bits;
}

void writeType(BitWriter& out, BlockType type, bool last) {
    out.put(static_cast<uint32_t>(type) << 1 | (last ? 1 : 0), kBlockHeaderBits);
}

void writeRecords(BitWriter& out, const Records& records, const DeflateHuffCode* litLen, const DeflateHuffCode* dist) {
    out.lend([&](uint8_t* memory, int32_t* position, uint16_t* code, int32_t* codeBits) {
        const Status status =
            ozrsDeflateHuff_8u(records.lengths, records.distances, static_cast<int32_t>(records.count), code, codeBits,
                               litLen, dist, memory, position);
        if (status != StatusOk) throw Error("the Huffman encoder failed with status " + std::to_string(status));
    });
    out.put(litLen[kEndOfBlock].code, litLen[kEndOfBlock].len);
}

}  // namespace

void writeBlock(BitWriter& out, const Block& block, bool last) {
    Histogram histogram = block.histogram;
    ++histogram.litLen[kEndOfBlock];
    const BlockCodeLengths lengths = dynamicLengths(histogram);
    const DynamicHeader header(lengths);
    const FixedCodes& fixed = fixedCodes();

    const uint64_t sharedBits = kBlockHeaderBits + extraBits(histogram);
    const uint64_t dynamicBits = sharedBits + header.bits() + codeBits(histogram, lengths);
    const uint64_t fixedBits = sharedBits + codeBits(histogram, fixed.lengths);
    if (storedBits(out, block.source.size()) < std::min(dynamicBits, fixedBits)) {
        writeStored(out, block.source, last);
    } else if (fixedBits <= dynamicBits) {
        writeType(out, BlockType::fixed, last);
        writeRecords(out, block.records, fixed.litLen.data(), fixed.dist.data());
    } else {
        std::array<DeflateHuffCode, kLitLenSymbols> litLen;
        std::array<DeflateHuffCode, kDistSymbols> dist;
        assignCodes(lengths.litLen, litLen.data());
        assignCodes(lengths.dist, dist.data());
        writeType(out, BlockType::dynamic, last);
        header.write(out);
        writeRecords(out, block.records, litLen.data(), dist.data());
    }
}

void writeStored(BitWriter& out, Bytes bytes, bool last) {
    do {
        const Bytes part = bytes.first(std::min(bytes.size(), kMaxStoredSize));
        bytes = bytes.subspan(part.size());
        writeType(out, BlockType::stored, last && bytes.empty());
        out.align();
        const auto size = static_cast<uint32_t>(part.size());
        out.put(size | (~size & 0xFFFFU) << 16, kStoredFieldsBits);
        out.putBytes(part);
    } while (!bytes.empty());
}

void writeEmptyBlock(BitWriter& out, bool last) {
    const DeflateHuffCode end = fixedCodes().litLen[kEndOfBlock];
    writeType(out, BlockType::fixed, last);
    out.put(end.code, end.len);
}

uint64_t storedBits(const BitWriter& out, std::size_t size) {
    const uint64_t blocks = size == 0 ? 1 : (size + kMaxStoredSize - 1) / kMaxStoredSize;
    // Behind the first block's header the byte is filled up; those that follow begin on a byte.
    const uint64_t first = (out.bits() + kBlockHeaderBits + 7) / 8 * 8 - out.bits();
    return first + (blocks - 1) * 8 + blocks * kStoredFieldsBits + 8 * uint64_t{size};
}

}  // namespace ozrz::deflate
