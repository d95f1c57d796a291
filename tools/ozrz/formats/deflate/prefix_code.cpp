// Huffman's algorithm, and the package-merge algorithm where a limit stands in its way.
//
// Huffman's lengths are the best of all, so where none passes the limit they are the answer; they take one sort and
// three linear passes. Only otherwise, which is rare with 15 bits, the coin collector's problem is solved: every symbol
// is a coin of its frequency in each of the denominations 1/2, 1/4 ... 2^-limit, and the cheapest coins that add up to
// n - 1 are looked for; a symbol's length is the number of its coins among them.
#include "formats/deflate/prefix_code.h"

#include <algorithm>
#include <array>

#include "formats/deflate/symbols.h"

namespace ozrz::deflate {
namespace {

constexpr std::size_t kMaxSymbols = kFixedLitLenSymbols;

// The symbols in use, the rarest first.
struct SortedSymbols {
    std::array<uint32_t, kMaxSymbols> weights;
    std::array<uint16_t, kMaxSymbols> symbols;
    std::size_t count = 0;
};

SortedSymbols sortUsed(std::span<const uint32_t> frequencies) {
    // One key holds both, so that equal frequencies are in the order of their symbols and swaps are single moves.
    constexpr unsigned kSymbolBits = 9;
    static_assert(kMaxSymbols <= 1U << kSymbolBits);
    std::array<uint64_t, kMaxSymbols> keys;
    SortedSymbols sorted;
    for (std::size_t symbol = 0; symbol < frequencies.size(); ++symbol) {
        if (frequencies[symbol] != 0) keys[sorted.count++] = uint64_t{frequencies[symbol]} << kSymbolBits | symbol;
    }
    std::sort(keys.begin(), keys.begin() + static_cast<std::ptrdiff_t>(sorted.count));
    for (std::size_t i = 0; i < sorted.count; ++i) {
        sorted.weights[i] = static_cast<uint32_t>(keys[i] >> kSymbolBits);
        sorted.symbols[i] = static_cast<uint16_t>(keys[i] & ((1U << kSymbolBits) - 1));
    }
    return sorted;
}

// From at least two weights in rising order to lengths in falling order, in one array (Moffat and Katajainen).
void huffmanLengths(uint32_t* a, std::size_t n) {
    // Merges. What a[] holds: weights of leaves not taken yet, weights of inner nodes not taken yet, and for inner
    // nodes that are taken the index of their parent.
    std::size_t leaf = 0;
    std::size_t inner = 0;
    for (std::size_t node = 0; node + 1 < n; ++node) {
        uint32_t weight = 0;
        for (int child = 0; child < 2; ++child) {
            if (leaf >= n || (inner < node && a[inner] < a[leaf])) {
                weight += a[inner];
                a[inner++] = static_cast<uint32_t>(node);
            } else {
                weight += a[leaf++];
            }
        }
        a[node] = weight;
    }
    // Depths of the inner nodes, from the root down.
    a[n - 2] = 0;
    for (std::size_t node = n - 2; node-- > 0;) a[node] = a[a[node]] + 1;
    // Depths of the leaves: at each depth, the places that no inner node takes.
    std::size_t places = 1;
    uint32_t depth = 0;
    std::size_t node = n - 1;
    std::size_t next = n;
    while (places > 0) {
        std::size_t used = 0;
        while (node > 0 && a[node - 1] == depth) {
            ++used;
            --node;
        }
        for (; places > used; --places) a[--next] = depth;
        places = 2 * used;
        ++depth;
    }
}

// The same within a limit. The list of each denomination holds its coins and the pairs made of the smaller one's list,
// in the order of their weights; what counts later is only which of its items are coins.
void packageMerge(const uint32_t* weights, std::size_t n, unsigned limit, uint32_t* lengths) {
    std::array<std::array<bool, 2 * kMaxSymbols>, kMaxCodeLength> isCoin;
    std::array<uint64_t, 2 * kMaxSymbols> list;
    std::array<uint64_t, kMaxSymbols> pairs;
    std::size_t listSize = 0;
    for (unsigned denomination = 0; denomination < limit; ++denomination) {  // the smallest first
        const std::size_t pairCount = listSize / 2;
        for (std::size_t i = 0; i < pairCount; ++i) pairs[i] = list[2 * i] + list[2 * i + 1];
        std::size_t coin = 0;
        std::size_t pair = 0;
        for (listSize = 0; coin < n || pair < pairCount; ++listSize) {
            const bool takeCoin = pair == pairCount || (coin < n && weights[coin] <= pairs[pair]);
            isCoin[denomination][listSize] = takeCoin;
            list[listSize] = takeCoin ? weights[coin++] : pairs[pair++];
        }
    }
    std::fill_n(lengths, n, 0U);
    std::size_t taken = 2 * n - 2;
    for (unsigned denomination = limit; denomination-- > 0;) {
        const auto& coins = isCoin[denomination];
        const auto count = static_cast<std::size_t>(
            std::count(coins.begin(), coins.begin() + static_cast<std::ptrdiff_t>(taken), true));
        for (std::size_t i = 0; i < count; ++i) ++lengths[i];
        taken = 2 * (taken - count);
    }
}

constexpr uint32_t reverseBits(uint32_t bits, unsigned count) {
    uint32_t reversed = 0;
    for (unsigned i = 0; i < count; ++i) reversed |= (bits >> i & 1U) << (count - 1 - i);
    return reversed;
}

}  // namespace

void makeCodeLengths(std::span<const uint32_t> frequencies, unsigned limit, uint8_t* lengths) {
    std::fill_n(lengths, frequencies.size(), uint8_t{0});
    const SortedSymbols sorted = sortUsed(frequencies);
    const std::size_t n = sorted.count;
    if (n == 0) return;
    std::array<uint32_t, kMaxSymbols> byRank;
    if (n == 1) {
        byRank[0] = 1;
    } else {
        std::copy_n(sorted.weights.begin(), n, byRank.begin());
        huffmanLengths(byRank.data(), n);
        if (byRank[0] > limit) packageMerge(sorted.weights.data(), n, limit, byRank.data());
    }
    for (std::size_t i = 0; i < n; ++i) lengths[sorted.symbols[i]] = static_cast<uint8_t>(byRank[i]);
}

void assignCodes(std::span<const uint8_t> lengths, DeflateHuffCode* codes) {
    std::array<uint32_t, kMaxCodeLength + 1> counts{};
    for (const uint8_t length : lengths) ++counts[length];
    // Codes of a length are consecutive and follow those of the shorter lengths.
    std::array<uint32_t, kMaxCodeLength + 1> next{};
    for (std::size_t length = 2; length <= kMaxCodeLength; ++length) {
        next[length] = (next[length - 1] + counts[length - 1]) << 1;
    }
    for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        const unsigned length = lengths[symbol];
        codes[symbol] = {0, static_cast<uint16_t>(length)};
        if (length != 0) codes[symbol].code = static_cast<uint16_t>(reverseBits(next[length]++, length));
    }
}

}  // namespace ozrz::deflate
