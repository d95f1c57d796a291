// See the header. A code grows from a single leaf at the root by splitting leaves, which keeps it complete.
#include "inflate/random_blocks.h"

#include <algorithm>
#include <numeric>

namespace ozrdc::test::inflate {

using deflate::BlockCodes;
using deflate::Lengths;

Lengths randomCode(Random& random, std::size_t symbols, std::size_t used, unsigned most, bool deep,
                   std::span<const unsigned> always) {
    std::vector<uint16_t> leaves{0};
    std::vector<std::size_t> open{0};  // leaves that may be split
    while (leaves.size() < used && !open.empty()) {
        // A deep code is one whose youngest leaf is often split again.
        const std::size_t i = deep && !random.oneIn(3) ? open.size() - 1 : random.below(open.size());
        const std::size_t leaf = open[i];
        open.erase(open.begin() + static_cast<std::ptrdiff_t>(i));
        const auto depth = static_cast<uint16_t>(leaves[leaf] + 1);
        leaves[leaf] = depth;
        leaves.push_back(depth);
        if (depth < most) {
            open.push_back(leaf);
            open.push_back(leaves.size() - 1);
        }
    }
    std::vector<unsigned> order(symbols);
    std::iota(order.begin(), order.end(), 0U);
    for (std::size_t i = symbols - 1; i > 0; --i) std::swap(order[i], order[random.below(i + 1)]);
    for (const unsigned symbol : always) {
        std::iter_swap(std::find(order.begin(), order.end(), symbol),
                       order.begin() + static_cast<std::ptrdiff_t>(random.below(leaves.size())));
    }
    // Swapping the second one in may have pushed the first one out.
    for (std::size_t i = 0; i < always.size(); ++i) {
        const auto at = std::find(order.begin(), order.end(), always[i]);
        if (static_cast<std::size_t>(at - order.begin()) >= leaves.size()) {
            std::iter_swap(at, order.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }
    Lengths lengths(symbols);
    for (std::size_t i = 0; i < leaves.size(); ++i) lengths[order[i]] = leaves[i];
    return lengths;
}

BlockCodes randomCodes(Random& random, unsigned mostLiteral, unsigned mostDistance) {
    static constexpr unsigned endOfBlock[] = {deflate::kEndOfBlock};
    const std::size_t symbols = 257 + random.below(30);
    const std::size_t used = 2 + random.below(random.oneIn(2) ? symbols - 1 : 30);
    const std::size_t distances = 2 + random.below(29);
    BlockCodes codes;
    codes.literals = randomCode(random, symbols, used, mostLiteral, random.oneIn(2), endOfBlock);
    codes.distances = randomCode(random, distances, 2 + random.below(distances - 1), mostDistance, random.oneIn(2));
    return codes;
}

BlockCodes randomCodes(Random& random) {
    BlockCodes codes;
    switch (random.below(8)) {
        case 0:
            return deflate::fixedCodes();
        case 1:
            codes = randomCodes(random, 11, 10);
            break;
        case 2:
            codes = randomCodes(random, 9, 6);
            break;
        case 3:
            codes = randomCodes(random, 12, 11);
            break;
        default:
            codes = randomCodes(random, 15, 15);
            break;
    }
    if (random.oneIn(6)) {  // a distance code of one symbol, or none
        codes.distances.assign(1 + random.below(30), 0);
        if (!random.oneIn(3)) codes.distances[random.below(codes.distances.size())] = 1;
    }
    return codes;
}

void writeRandomSymbols(deflate::BitWriter& writer, const BlockCodes& codes, Random& random, std::size_t bytes,
                        std::size_t history) {
    std::vector<unsigned> literals;
    std::vector<unsigned> lengths;
    std::vector<unsigned> distances;
    for (unsigned symbol = 0; symbol < codes.literals.size() && symbol < 286; ++symbol) {
        if (codes.literals[symbol] == 0) continue;
        if (symbol < deflate::kEndOfBlock) literals.push_back(symbol);
        if (symbol > deflate::kEndOfBlock) lengths.push_back(symbol - deflate::kFirstLength);
    }
    for (unsigned symbol = 0; symbol < codes.distances.size(); ++symbol) {
        if (codes.distances[symbol] > 0) distances.push_back(symbol);
    }
    deflate::SymbolWriter symbols(writer, codes);
    std::size_t written = 0;
    const auto matchWritten = [&] {
        if (lengths.empty() || distances.empty()) return false;
        const unsigned l = lengths[random.below(lengths.size())];
        const unsigned d = distances[random.below(distances.size())];
        unsigned length = deflate::kLengthCodes[l].first;
        if (l < 28) length += static_cast<unsigned>(random.below(1ULL << deflate::kLengthCodes[l].extraBits));
        if (l == 27 && length == 258) length = 257;  // has a code of its own
        const unsigned distance = deflate::kDistanceCodes[d].first +
                                  static_cast<unsigned>(random.below(1ULL << deflate::kDistanceCodes[d].extraBits));
        if (distance > history + written) return false;
        symbols.match(length, distance);
        written += length;
        return true;
    };
    for (std::size_t tries = 0; written < bytes && tries < 4 * bytes + 100; ++tries) {
        if (random.oneIn(3) && matchWritten()) continue;
        if (!literals.empty()) {
            symbols.literal(static_cast<uint8_t>(literals[random.below(literals.size())]));
            ++written;
        } else {
            matchWritten();
        }
    }
}

}  // namespace ozrdc::test::inflate
