// The stages of compression, each one call of the library.
#include "formats/bzip2/block_encoder.h"

#include "formats/bzip2/bit_joiner.h"
#include "formats/bzip2/bit_writer.h"
#include "formats/bzip2/layout.h"
#include "formats/bzip2/library.h"

namespace ozrz::bzip2 {
namespace {

constexpr std::size_t kMaxAlphabet = 258;

// Codes have at most 17 bits, and 50 symbols share a selector of at most 6: less than 3 bytes a symbol. The rest has
// room for the header, and for 6 tables of code lengths, which take up to 35 bits each.
constexpr std::size_t encodedBound(std::size_t symbols) { return 3 * symbols + 16 * KiB; }

void putHeader(BitWriter& out, const RunBlock& block, int32_t primaryIndex) {
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

std::size_t BlockEncoder::encode(const RunBlock& block, Buffer& into) {
    const auto size = static_cast<int32_t>(block.size);

    sorter_.require(sizeFrom([&](int32_t* bytes) { return ozrsBWTFwdGetSize_8u(size, bytes); }));
    column_.require(block.size);
    uint8_t* const column = column_.data();
    int32_t primaryIndex = 0;
    expectOk(ozrsBWTFwd_8u(block.bytes.data(), column, size, &primaryIndex, sorter_.data()), "the block sort");

    int32_t dictionary = 0;
    expectOk(ozrsReduceDictionary_8u_I(block.inUse.data(), column, size, &dictionary), "the dictionary");
    std::array<uint8_t, 256> list;
    auto* const listState = reinterpret_cast<MTFState*>(list.data());
    expectOk(ozrsMTFInit_8u(listState), "move-to-front");
    expectOk(ozrsMTFFwd_8u(column, column, size, listState), "move-to-front");

    symbols_.require((block.size + 1) * sizeof(uint16_t));
    auto* const symbols = reinterpret_cast<uint16_t*>(symbols_.data());
    std::array<uint32_t, kMaxAlphabet> frequencies{};
    const uint8_t* ranks = column;
    int32_t left = size;
    int32_t count = size;
    expectOk(ozrsEncodeZ1Z2_BZ2_8u16u(&ranks, &left, symbols, &count, frequencies.data()), "coding zero runs");
    const auto endOfBlock = static_cast<uint16_t>(dictionary + 1);
    symbols[count++] = endOfBlock;
    frequencies[endOfBlock] = 1;

    tables_.require(sizeFrom([&](int32_t* bytes) { return ozrsEncodeHuffGetSize_BZ2_16u8u(count, bytes); }));
    auto* const tables = stateIn<HuffEncState>(tables_);
    expectOk(ozrsEncodeHuffInit_BZ2_16u8u(dictionary + 2, frequencies.data(), symbols, count, tables),
             "Huffman coding");

    const std::size_t bound = encodedBound(static_cast<std::size_t>(count));
    into.require(bound + BitJoiner::kSlack);
    BitWriter out({into.data(), bound});
    putHeader(out, block, primaryIndex);
    out.lend([&](uint32_t* code, int32_t* codeBits, uint8_t* memory, int32_t* room) {
        expectOk(ozrsPackHuffContext_BZ2_16u8u(code, codeBits, memory, room, tables), "Huffman coding");
    });
    out.lend([&](uint32_t* code, int32_t* codeBits, uint8_t* memory, int32_t* room) {
        const uint16_t* next = symbols;
        expectOk(ozrsEncodeHuff_BZ2_16u8u(code, codeBits, &next, &count, memory, room, tables), "Huffman coding");
    });
    return out.finish();
}

}  // namespace ozrz::bzip2
