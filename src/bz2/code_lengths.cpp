// Lengths of an optimal prefix code of at most 17 bits.
//
// The symbols are sorted by count once. A Huffman tree is then built with two queues, in linear time: the leaves, and
// the inner nodes, which come into being in ascending order. Only if the tree is too deep, which takes counts that grow
// like Fibonacci's numbers, are the lengths found by package-merge.

#include "bz2/code_lengths.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace ozrdc::bz2 {
namespace {

constexpr size_t kMaxNodes = 2 * size_t{kMaxAlphabet};
constexpr unsigned kSymbolBits = 9;
static_assert(kMaxAlphabet <= 1 << kSymbolBits);

// Counts in ascending order, each with its symbol in the low bits.
using Leaves = std::array<uint64_t, kMaxAlphabet>;

uint64_t weightOf(uint64_t leaf) noexcept { return leaf >> kSymbolBits; }
size_t symbolOf(uint64_t leaf) noexcept { return leaf & ((1U << kSymbolBits) - 1); }

// Huffman's algorithm. Gives the depth of every leaf, deepest first; returns the greatest.
unsigned huffmanDepths(const Leaves& leaves, size_t n, std::array<uint8_t, kMaxNodes>& depths) noexcept {
    // Leaves are the nodes 0 to n - 1, inner nodes follow; the root is the last.
    std::array<uint64_t, kMaxAlphabet> inner;
    std::array<uint16_t, kMaxNodes> parent;
    size_t leaf = 0;
    size_t node = 0;
    for (size_t made = 0; made + 1 < n; ++made) {
        uint64_t weight = 0;
        for (unsigned child = 0; child < 2; ++child) {
            // Of equal weights the leaf goes first: this keeps the tree shallow.
            if (leaf < n && (node == made || weightOf(leaves[leaf]) <= inner[node])) {
                weight += weightOf(leaves[leaf]);
                parent[leaf++] = static_cast<uint16_t>(n + made);
            } else {
                weight += inner[node];
                parent[n + node++] = static_cast<uint16_t>(n + made);
            }
        }
        inner[made] = weight;
    }
    const size_t root = 2 * n - 2;
    depths[root] = 0;
    unsigned deepest = 0;
    for (size_t i = root; i-- > 0;) {
        depths[i] = static_cast<uint8_t>(std::min(depths[parent[i]] + 1, 255));
        deepest = std::max<unsigned>(deepest, depths[i]);
    }
    return deepest;
}

// Package-merge. Gives the length of every leaf, the longest first.
//
// On each level the list of the leaves is merged with the pairs of the list one level below. The code takes the first
// 2n - 2 of the topmost list; a pair that is taken takes its two members on the level below. As leaves are taken in
// ascending order, it is enough to know of each item whether it is a leaf: a leaf is one bit longer on every level on
// which it is taken.
void packageMerge(const Leaves& leaves, size_t n, std::array<uint8_t, kMaxNodes>& lengths) noexcept {
    std::array<std::array<bool, kMaxNodes>, kMaxEncodedLength> isLeaf;
    std::array<uint64_t, kMaxNodes> below{};
    std::array<uint64_t, kMaxNodes> items{};
    size_t size = 0;
    for (auto& flags : isLeaf) {
        const size_t pairs = size / 2;
        std::swap(below, items);
        size = n + pairs;
        size_t leaf = 0;
        size_t pair = 0;
        for (size_t i = 0; i < size; ++i) {
            const uint64_t packed = pair < pairs ? below[2 * pair] + below[2 * pair + 1] : UINT64_MAX;
            flags[i] = leaf < n && weightOf(leaves[leaf]) <= packed;
            if (flags[i]) {
                items[i] = weightOf(leaves[leaf++]);
            } else {
                items[i] = packed;
                ++pair;
            }
        }
    }
    std::fill_n(lengths.begin(), n, uint8_t{0});
    size_t taken = 2 * n - 2;
    for (size_t level = kMaxEncodedLength; level-- > 0;) {
        const auto& flags = isLeaf[level];
        const auto leavesTaken =
            static_cast<size_t>(std::count(flags.begin(), flags.begin() + static_cast<ptrdiff_t>(taken), true));
        for (size_t i = 0; i < leavesTaken; ++i) ++lengths[i];
        taken = 2 * (taken - leavesTaken);
    }
}

}  // namespace

void makeCodeLengths(const uint32_t* counts, int32_t alphaSize, uint8_t* lengths) noexcept {
    const auto n = static_cast<size_t>(alphaSize);
    if (n < 2) {
        lengths[0] = 1;
        return;
    }
    Leaves leaves;
    for (size_t symbol = 0; symbol < n; ++symbol) {
        leaves[symbol] = uint64_t{std::max(counts[symbol], 1U)} << kSymbolBits | symbol;
    }
    std::sort(leaves.begin(), leaves.begin() + alphaSize);
    std::array<uint8_t, kMaxNodes> sorted;
    if (huffmanDepths(leaves, n, sorted) > kMaxEncodedLength) packageMerge(leaves, n, sorted);
    for (size_t i = 0; i < n; ++i) lengths[symbolOf(leaves[i])] = sorted[i];
}

}  // namespace ozrdc::bz2
