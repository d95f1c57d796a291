// Prepares the codes of the single-pass encoders: Huffman codes of limited length from frequencies, and the header of a
// dynamic block that describes them.
//
// A code that comes out too long is flattened: the same constant is added to all frequencies, and the code is made
// anew, until it is short enough. Adding a constant keeps the order, so that the symbols are sorted once; a tree over
// sorted leaves is built in linear time, because its inner nodes come into being in the order of their weights.

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/arguments.h"
#include "core/deflate_code.h"
#include "core/entry_points.h"
#include "core/vector_kernels.h"
#include "deflate/bit_writer.h"

namespace ozrdc::deflate {
namespace {

// The largest lengths that the two codes are given. Distance codes of nine bits keep tables of decoders small.
constexpr int32_t kLitLimit = 15;
constexpr int32_t kDistLimit = 9;

// The largest constant that is added to frequencies.
constexpr uint32_t kMaxFlattening = 4095;

// The code-length code of a header.
constexpr unsigned kCodeLengthSymbols = 19;
constexpr int32_t kCodeLengthLimit = 7;

// Its symbols above 15 stand for several lengths. Each has its least number of them, and its extra bits.
struct RunSymbol {
    unsigned symbol;
    unsigned least;
    unsigned extraBits;

    [[nodiscard]] constexpr unsigned most() const noexcept { return least + (1U << extraBits) - 1; }
};
constexpr RunSymbol kRepeatPrevious{16, 3, 2};
constexpr RunSymbol kFewZeros{17, 3, 3};
constexpr RunSymbol kManyZeros{18, 11, 7};

// The order in which a header gives the lengths of the code-length code.
constexpr std::array<uint8_t, kCodeLengthSymbols> kCodeLengthOrder{16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                   11, 4,  12, 3, 13, 2, 14, 1, 15};

// Counts that a header gives less their least value, in so many bits.
struct CountField {
    unsigned least;
    unsigned bits;
};
constexpr CountField kLitCount{257, 5};
constexpr CountField kDistCount{1, 5};
constexpr CountField kCodeLengthCount{4, 4};
constexpr unsigned kCodeLengthBits = 3;
constexpr uint64_t kDynamicBlock = 2 << 1;  // BTYPE above BFINAL, which is 0

// A header is longest if no two lengths are the same in a row, and their codes have the most bits; a run never takes
// more than its lengths one by one would.
constexpr unsigned kMaxHeaderBits = kBlockTypeBits + kLitCount.bits + kDistCount.bits + kCodeLengthCount.bits +
                                    kCodeLengthSymbols * kCodeLengthBits +
                                    (kLitLenSymbols + kDistCodes) * static_cast<unsigned>(kCodeLengthLimit);
static_assert((kMaxHeaderBits + 7) / 8 == OZRDC_DEFLATE_HEADER_SIZE);

// The largest alphabet.
constexpr size_t kMaxSymbols = kLitLenSymbols;

// Depths of the leaves of a Huffman tree over at least two weights in ascending order.
class HuffmanTree {
  public:
    HuffmanTree(const std::array<uint64_t, kMaxSymbols>& weights, size_t count) noexcept {
        // The lightest node that has no parent yet is the next leaf or the next inner node. Of equal ones the leaf is
        // taken, which keeps the tree flat.
        std::array<uint64_t, kMaxSymbols> inner;
        size_t leaf = 0;
        size_t node = 0;
        const size_t inners = count - 1;
        for (size_t made = 0; made < inners; ++made) {
            inner[made] = 0;
            for (int child = 0; child < 2; ++child) {
                if (leaf < count && (node == made || weights[leaf] <= inner[node])) {
                    inner[made] += weights[leaf];
                    depth_[leaf++] = static_cast<uint16_t>(made);
                } else {
                    inner[made] += inner[node];
                    parent_[node++] = static_cast<uint16_t>(made);
                }
            }
        }
        // Now every leaf's depth holds its parent. From the root, the last of the inner nodes, downwards:
        parent_[inners - 1] = 0;
        for (size_t i = inners - 1; i-- > 0;) parent_[i] = static_cast<uint16_t>(parent_[parent_[i]] + 1);
        for (size_t i = 0; i < count; ++i) depth_[i] = static_cast<uint16_t>(parent_[depth_[i]] + 1);
    }

    [[nodiscard]] int32_t depth(size_t leaf) const noexcept { return depth_[leaf]; }

    // The lightest leaf is the deepest.
    [[nodiscard]] int32_t height() const noexcept { return depth_[0]; }

  private:
    std::array<uint16_t, kMaxSymbols> depth_;
    std::array<uint16_t, kMaxSymbols> parent_;
};

// Makes lengths of at most `limit` for `count` symbols, at least two. Returns 1 if some length is still above the
// limit, else 0.
[[gnu::noinline]] int32_t ownGenHuff1(const uint32_t* frequencies, size_t count, int32_t limit,
                                      int32_t* lengths) noexcept {
    // Frequency above symbol, so that sorting moves one word.
    constexpr unsigned kSymbolBits = 16;
    std::array<uint64_t, kMaxSymbols> order;
    for (size_t i = 0; i < count; ++i) order[i] = uint64_t{frequencies[i]} << kSymbolBits | i;
    std::sort(order.begin(), order.begin() + count);

    int32_t height = 0;
    for (uint32_t k = 0; k <= kMaxFlattening; ++k) {
        std::array<uint64_t, kMaxSymbols> weights;
        for (size_t i = 0; i < count; ++i) weights[i] = std::max<uint64_t>((order[i] >> kSymbolBits) + k, 1);
        const HuffmanTree tree(weights, count);
        height = tree.height();
        if (height > limit && k < kMaxFlattening) continue;
        for (size_t i = 0; i < count; ++i) lengths[order[i] & ((1U << kSymbolBits) - 1)] = tree.depth(i);
        break;
    }
    return height > limit ? 1 : 0;
}

// Assigns canonical codes to lengths. In: the lengths; out: each with its code below it, as in a table entry.
void assignCodes(int32_t* entries, int32_t count) noexcept {
    constexpr int32_t kCodeBits = 16;
    int32_t shortest = 0;
    int32_t longest = 0;
    ozrsMinMax_32s(entries, count, &shortest, &longest);
    ozrsLShiftC_32s_I(kCodeBits, entries, count);
    uint32_t code = 0;
    for (int32_t length = std::max(shortest, 1); length <= longest; ++length, code <<= 1) {
        // A code that failed its limit may be longer than an entry holds.
        const auto bits = static_cast<unsigned>(std::min(length, kCodeBits));
        for (int32_t i = 0; i < count; ++i) {
            if (entries[i] == length << kCodeBits) entries[i] |= static_cast<int32_t>(reverseBits(code++, bits));
        }
    }
}

int32_t generate(const uint32_t* frequencies, size_t count, int32_t limit, DeflateHuffCode* codes) noexcept {
    std::array<int32_t, kMaxSymbols> entries;
    const int32_t failed = ownGenHuff1(frequencies, count, limit, entries.data());
    assignCodes(entries.data(), static_cast<int32_t>(count));
    for (size_t i = 0; i < count; ++i) {
        codes[i] = {static_cast<uint16_t>(entries[i] & 0xFFFF), static_cast<uint16_t>(entries[i] >> 16)};
    }
    return failed;
}

// The code lengths of a header as symbols of the code-length code.
class LengthRuns {
  public:
    struct Run {
        uint8_t symbol;
        uint8_t extra;
    };

    LengthRuns(const uint8_t* lengths, size_t count) noexcept {
        for (size_t i = 0; i < count;) {
            const uint8_t length = lengths[i];
            size_t same = 1;
            while (i + same < count && lengths[i + same] == length) ++same;
            i += same;
            if (length == 0) {
                take(same, kManyZeros);
                take(same, kFewZeros);
            } else {
                add(length, 0);
                --same;
                take(same, kRepeatPrevious);
            }
            for (; same > 0; --same) add(length, 0);
        }
    }

    [[nodiscard]] const Run* begin() const noexcept { return runs_.data(); }
    [[nodiscard]] const Run* end() const noexcept { return runs_.data() + count_; }

  private:
    void add(unsigned symbol, size_t extra) noexcept {
        runs_[count_++] = {static_cast<uint8_t>(symbol), static_cast<uint8_t>(extra)};
    }

    // Takes as many runs as there are off `same` lengths.
    void take(size_t& same, const RunSymbol run) noexcept {
        while (same >= run.least) {
            const size_t taken = std::min<size_t>(same, run.most());
            add(run.symbol, taken - run.least);
            same -= taken;
        }
    }

    std::array<Run, kLitLenSymbols + kDistCodes> runs_;
    size_t count_ = 0;
};

constexpr unsigned extraBitsOf(unsigned symbol) noexcept {
    for (const RunSymbol run : {kRepeatPrevious, kFewZeros, kManyZeros}) {
        if (symbol == run.symbol) return run.extraBits;
    }
    return 0;
}

// Makes the code-length code: complete, and only over symbols that occur. Decoders refuse a code of one symbol, so that
// it gets a second one.
std::array<int32_t, kCodeLengthSymbols> codeLengthCode(const LengthRuns& runs) noexcept {
    std::array<uint32_t, kCodeLengthSymbols> occurrences{};
    for (const LengthRuns::Run run : runs) ++occurrences[run.symbol];

    std::array<uint32_t, kCodeLengthSymbols> frequencies;
    std::array<uint8_t, kCodeLengthSymbols> symbols;
    size_t used = 0;
    for (uint8_t symbol = 0; symbol < kCodeLengthSymbols; ++symbol) {
        if (occurrences[symbol] == 0) continue;
        frequencies[used] = occurrences[symbol];
        symbols[used++] = symbol;
    }
    if (used == 1) {
        frequencies[used] = 0;
        symbols[used++] = symbols[0] == 0 ? 1 : 0;
    }
    std::array<int32_t, kCodeLengthSymbols> lengths;
    // So few symbols come within the limit long before flattening ends.
    ownGenHuff1(frequencies.data(), used, kCodeLengthLimit, lengths.data());
    std::array<int32_t, kCodeLengthSymbols> entries{};
    for (size_t i = 0; i < used; ++i) entries[symbols[i]] = lengths[i];
    assignCodes(entries.data(), kCodeLengthSymbols);
    return entries;
}

// How many of `count` lengths are to be sent: up to the last that is not 0, and `least` anyway.
template <class Length>
unsigned lengthsToSend(unsigned count, unsigned least, Length lengthAt) noexcept {
    while (count > least && lengthAt(count - 1) == 0) --count;
    return count;
}

}  // namespace
}  // namespace ozrdc::deflate

using namespace ozrdc;
using namespace ozrdc::deflate;

Status y8_ozrsDeflateLZ77FastestGenHuffTable_8u(const uint32_t* pLitFreqTable, const uint32_t* pDistFreqTable,
                                                DeflateHuffCode* pLitHuffCodes,
                                                DeflateHuffCode* pDistHuffCodes) noexcept {
    if (anyNull(pLitFreqTable, pDistFreqTable, pLitHuffCodes, pDistHuffCodes)) return StatusNullPointer;
    const int32_t litFailed = generate(pLitFreqTable, kLitLenSymbols, kLitLimit, pLitHuffCodes);
    const int32_t distFailed = generate(pDistFreqTable, kDistCodes, kDistLimit, pDistHuffCodes);
    return litFailed != 0 || distFailed != 0 ? StatusCodeLengthLimit : StatusOk;
}

Status y8_ozrsDeflateLZ77FastestGenHeader_8u(const DeflateHuffCode* pLitHuffCodes,
                                             const DeflateHuffCode* pDistHuffCodes, uint8_t* pHeader,
                                             int32_t* pHeaderLen, int32_t* pHeaderLenBits) noexcept {
    if (anyNull(pLitHuffCodes, pDistHuffCodes, pHeader, pHeaderLen, pHeaderLenBits)) return StatusNullPointer;
    const auto tooLong = [](DeflateHuffCode code) { return code.len > kMaxCodeLength; };
    if (std::any_of(pLitHuffCodes, pLitHuffCodes + kLitLenSymbols, tooLong) ||
        std::any_of(pDistHuffCodes, pDistHuffCodes + kDistCodes, tooLong)) {
        return StatusBadCodeTable;
    }

    const unsigned lits =
        lengthsToSend(kLitLenSymbols, kLitCount.least, [&](unsigned i) { return pLitHuffCodes[i].len; });
    const unsigned dists =
        lengthsToSend(kDistCodes, kDistCount.least, [&](unsigned i) { return pDistHuffCodes[i].len; });
    std::array<uint8_t, kLitLenSymbols + kDistCodes> lengths;
    for (unsigned i = 0; i < lits; ++i) lengths[i] = static_cast<uint8_t>(pLitHuffCodes[i].len);
    for (unsigned i = 0; i < dists; ++i) lengths[lits + i] = static_cast<uint8_t>(pDistHuffCodes[i].len);

    const LengthRuns runs(lengths.data(), lits + dists);
    const std::array<int32_t, kCodeLengthSymbols> codes = codeLengthCode(runs);
    const auto lengthOf = [&codes](unsigned symbol) { return static_cast<unsigned>(codes[symbol]) >> 16; };
    const unsigned codeLengths = lengthsToSend(kCodeLengthSymbols, kCodeLengthCount.least,
                                               [&](unsigned i) { return lengthOf(kCodeLengthOrder[i]); });

    BitWriter writer(0, 0, pHeader);
    const auto put = [&writer](uint64_t bits, unsigned count) {
        writer.put({bits, count});
        writer.storeExact();
    };
    put(kDynamicBlock, kBlockTypeBits);
    put(lits - kLitCount.least, kLitCount.bits);
    put(dists - kDistCount.least, kDistCount.bits);
    put(codeLengths - kCodeLengthCount.least, kCodeLengthCount.bits);
    for (unsigned i = 0; i < codeLengths; ++i) put(lengthOf(kCodeLengthOrder[i]), kCodeLengthBits);
    for (const LengthRuns::Run run : runs) {
        put(static_cast<unsigned>(codes[run.symbol]) & 0xFFFF, lengthOf(run.symbol));
        put(run.extra, extraBitsOf(run.symbol));
    }
    const auto bits = static_cast<int32_t>(8 * (writer.dst - pHeader)) + static_cast<int32_t>(writer.count);
    put(0, (8 - writer.count) % 8);  // the last byte
    *pHeaderLen = static_cast<int32_t>(writer.dst - pHeader);
    *pHeaderLenBits = bits;
    return StatusOk;
}
