// Joins pieces from the bottom up, always the two neighbors that gain most by it.
//
// The cost of a piece is its entropy, which a good code comes close to, and a guess of its header, which has to say the
// length of each symbol in use. Extra bits are the same however the pieces are joined and are left out.
#include "formats/deflate/block_splitter.h"

#include <bit>
#include <numeric>

namespace ozrz::deflate {
namespace {

// Bits of a header: what every one has, and what each symbol in use adds.
constexpr float kHeaderBits = 100;
constexpr float kBitsPerSymbol = 4.0F;

// x * log2(x), with an error below x / 8000; 0 for 0. From the exponent, and a polynomial for the mantissa; without
// branches, so that compilers make vector code of the loops around it.
inline float timesLog2(float x) {
    const auto bits = std::bit_cast<int32_t>(x);
    const auto exponent = static_cast<float>((bits >> 23) - 127);
    const auto m = std::bit_cast<float>((bits & 0x007FFFFF) | 0x3F800000);  // in [1, 2)
    const float log = (((-0.07844068F * m + 0.62603218F) * m - 2.07833517F) * m + 4.02921139F) * m - 2.49835315F;
    return x * (exponent + log);
}

// Sums in lanes, which the compiler makes vectors of; their order is fixed here, and so is the result.
template <std::size_t n>
float entropy(const std::array<uint32_t, n>& frequencies) {
    constexpr std::size_t kLanes = 8;
    std::array<float, kLanes> total{};
    std::array<float, kLanes> sum{};
    std::array<float, kLanes> used{};
    const auto add = [&](std::size_t i, std::size_t lane) {
        const auto f = static_cast<float>(static_cast<int32_t>(frequencies[i]));
        total[lane] += f;
        sum[lane] += timesLog2(f);
        used[lane] += f == 0.0F ? 0.0F : 1.0F;
    };
    std::size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        for (std::size_t lane = 0; lane < kLanes; ++lane) add(i + lane, lane);
    }
    for (std::size_t lane = 0; i < n; ++i, ++lane) add(i, lane);
    const auto all = [](const std::array<float, kLanes>& lanes) {
        return std::accumulate(lanes.begin(), lanes.end(), 0.0F);
    };
    return timesLog2(all(total)) - all(sum) + kBitsPerSymbol * all(used);
}

float cost(const Histogram& histogram) { return kHeaderBits + entropy(histogram.litLen) + entropy(histogram.dist); }

// A piece in the list of those that are left.
struct Link {
    float cost;
    std::size_t next;  // the piece behind it
    float joinedCost;  // of this and the next one together
    float saving;      // by joining them; none is below 0
};

}  // namespace

void joinBlocks(std::vector<Block>& pieces) {
    const std::size_t end = pieces.size();
    if (end < 2) return;
    std::vector<Link> links(end);
    const auto consider = [&](std::size_t i) {
        Link& link = links[i];
        link.saving = -1;
        if (link.next == end) return;
        Histogram joined = pieces[i].histogram;
        joined.add(pieces[link.next].histogram);
        link.joinedCost = cost(joined);
        link.saving = link.cost + links[link.next].cost - link.joinedCost;
    };
    for (std::size_t i = end; i-- > 0;) {
        links[i] = {.cost = cost(pieces[i].histogram), .next = i + 1, .joinedCost = 0, .saving = 0};
        consider(i);
    }
    for (;;) {
        std::size_t best = 0;
        std::size_t beforeBest = end;
        for (std::size_t i = 0, before = end; i != end; before = i, i = links[i].next) {
            if (links[i].saving > links[best].saving) {
                best = i;
                beforeBest = before;
            }
        }
        if (links[best].saving < 0) break;
        Block& left = pieces[best];
        const Block& right = pieces[links[best].next];
        left.histogram.add(right.histogram);
        left.records.count += right.records.count;
        left.source = {left.source.data(), left.source.size() + right.source.size()};
        links[best].cost = links[best].joinedCost;
        links[best].next = links[links[best].next].next;
        consider(best);
        if (beforeBest != end) consider(beforeBest);
    }
    std::size_t count = 0;
    for (std::size_t i = 0; i != end; i = links[i].next) {
        if (count != i) pieces[count] = pieces[i];
        ++count;
    }
    pieces.resize(count);
}

}  // namespace ozrz::deflate
