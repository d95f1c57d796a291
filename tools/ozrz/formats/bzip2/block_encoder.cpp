// The stages of compression, each one call of the library.
#include "formats/bzip2/block_encoder.h"

#include "formats/bzip2/bit_joiner.h"
#include "formats/bzip2/bit_writer.h"
#include "formats/bzip2/layout.h"
#include "library.h"

namespace ozrz::bzip2 {
namespace {

namespace bz2 = ozrdc::bz2;

constexpr const char* kCoding = "Huffman coding";  // for messages

// Codes have at most 17 bits, and 50 symbols share a selector of at most 6: less than 3 bytes a symbol. The rest has
// room for the header, and for 6 tables of code lengths, which take up to 35 bits each.
constexpr std::size_t encodedBound(std::size_t symbols) { return 3 * symbols + 16 * KiB; }

void putHeader(BitWriter& out, const RunBlock& block, std::size_t primaryIndex) {
    out.putMark(kBlockMark);
    out.put(block.crc, kCrcBits);
    out.put(0, 1);  // not randomized
    out.put(static_cast<uint32_t>(primaryIndex), kIndexBits);
    uint32_t groups = 0;
    std::array<uint32_t, kValueGroups> values{};
    for (std::size_t i = 0; i < block.inUse.size(); ++i) {
        uint32_t& group = values[i / kValueGroups];
        group = group << 1 | block.inUse[i];
    }
    for (const uint32_t group : values) groups = groups << 1 | (group != 0 ? 1U : 0U);
    out.put(groups, kValueGroups);
    for (const uint32_t group : values) {
        if (group != 0) out.put(group, kValueGroups);
    }
}

}  // namespace

BlockEncoder::BlockEncoder()
    : sorter_(expect(bz2::ForwardTransform::create(kMaxBlockSize), "preparing the block sort")),
      column_(kMaxBlockSize),
      symbols_((kMaxBlockSize + 1) * sizeof(uint16_t)) {}

std::size_t BlockEncoder::encode(const RunBlock& block, Buffer& into) {
    const Bytes content(block.bytes.data(), block.size);
    const MutableBytes column(column_.data(), block.size);
    const std::size_t primaryIndex = expect(sorter_.transform(content, column), "the block sort");

    const std::size_t dictionary = expect(bz2::reduceDictionary(block.inUse, column), "the dictionary");
    expect(bz2::MoveToFront().encode(column), "move-to-front");

    bz2::SymbolCounts counts{};
    const std::span<uint16_t> room(reinterpret_cast<uint16_t*>(symbols_.data()), block.size + 1);
    std::size_t count = expect(bz2::encodeZeroRuns(column, room, counts), "coding zero runs").size();
    const std::size_t endOfBlock = dictionary + 1;
    room[count++] = static_cast<uint16_t>(endOfBlock);
    counts[endOfBlock] = 1;
    const auto symbols = room.first(count);

    tables_.require(expect(bz2::HuffmanEncoder::memorySize(symbols.size()), kCoding));
    const auto tables = expect(
        bz2::HuffmanEncoder::create(dictionary + 2, counts, symbols, ozrdc::Place::in(tables_.bytes())), kCoding);
    const std::size_t bound = encodedBound(symbols.size());
    into.require(bound + BitJoiner::kSlack);
    BitWriter out({into.data(), bound});
    putHeader(out, block, primaryIndex);
    out.lend([&](bz2::PendingBits& bits, MutableBytes memory) {
        return expect(tables.writeTables(bits, memory), kCoding).size();
    });
    out.lend([&](bz2::PendingBits& bits, MutableBytes memory) {
        return expect(tables.writeSymbols(bits, symbols, memory), kCoding).size();
    });
    return out.finish();
}

}  // namespace ozrz::bzip2
