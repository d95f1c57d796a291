// See the header.
#include "bz2/reference_huffman.h"

#include <algorithm>

namespace ozrdc::test::bz2 {

Bits numberBits(uint64_t value, unsigned count) {
    Bits bits;
    for (unsigned i = count; i-- > 0;) bits += (value >> i & 1) != 0 ? '1' : '0';
    return bits;
}

Bits bitsOf(std::span<const uint8_t> bytes) {
    Bits bits;
    for (const uint8_t byte : bytes) bits += numberBits(byte, 8);
    return bits;
}

Bytes packed(const Bits& bits) {
    Bytes bytes((bits.size() + 7) / 8);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        if (bits[i] == '1') bytes[i / 8] = static_cast<uint8_t>(bytes[i / 8] | 0x80U >> i % 8);
    }
    return bytes;
}

Bits Description::bits() const {
    Bits bits = numberBits(lengths.size(), 3) + numberBits(selectors.size(), 15);
    MoveToFront moveToFront;
    for (const uint8_t selector : selectors) bits += Bits(moveToFront.encode(selector), '1') + '0';
    for (const auto& table : lengths) {
        int current = table.front();
        bits += numberBits(static_cast<uint64_t>(current), 5);
        for (const uint8_t length : table) {
            for (; current < length; ++current) bits += "10";
            for (; current > length; --current) bits += "11";
            bits += '0';
        }
    }
    return bits;
}

std::optional<Description> Description::read(const Bits& bits, std::size_t& position, std::size_t alphaSize) {
    bool exhausted = false;
    const auto take = [&] {
        if (position == bits.size()) {
            exhausted = true;
            return 0U;
        }
        return bits[position++] == '1' ? 1U : 0U;
    };
    const auto number = [&](unsigned count) {
        unsigned value = 0;
        while (count-- > 0) value = 2 * value + take();
        return value;
    };
    Description result;
    const unsigned tables = number(3);
    if (tables < 2 || tables > 6) return std::nullopt;
    result.selectors.resize(number(15));
    if (result.selectors.empty()) return std::nullopt;
    MoveToFront moveToFront;
    for (uint8_t& selector : result.selectors) {
        uint8_t rank = 0;
        while (take() == 1) ++rank;
        if (exhausted || rank >= tables) return std::nullopt;
        selector = moveToFront.decode(rank);
    }
    for (unsigned t = 0; t < tables; ++t) {
        auto& table = result.lengths.emplace_back();
        unsigned current = number(5);
        while (table.size() < alphaSize) {
            if (exhausted || current < 1 || current > 20) return std::nullopt;
            if (take() == 0) {
                table.push_back(static_cast<uint8_t>(current));
            } else {
                current += take() == 0 ? 1U : ~0U;
            }
        }
    }
    if (exhausted) return std::nullopt;
    return result;
}

std::vector<Bits> canonicalCodes(const std::vector<uint8_t>& lengths) {
    std::vector<Bits> codes(lengths.size());
    uint64_t next = 0;  // in units of 2^-20
    for (unsigned length = 1; length <= 20; ++length) {
        for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
            if (lengths[symbol] != length || next >= 1U << 20) continue;
            codes[symbol] = numberBits(next >> (20 - length), length);
            next += 1U << (20 - length);
        }
    }
    return codes;
}

Bits codedSymbols(const Description& description, const Symbols& symbols) {
    std::vector<std::vector<Bits>> codes;
    for (const auto& table : description.lengths) codes.push_back(canonicalCodes(table));
    Bits bits;
    for (std::size_t i = 0; i < symbols.size(); ++i) bits += codes[description.selectors[i / 50]][symbols[i]];
    return bits;
}

DecodedSymbols decodeSymbols(const Description& description, const Bits& bits) {
    std::vector<std::map<Bits, uint16_t>> symbolOf;
    for (const auto& table : description.lengths) {
        auto& map = symbolOf.emplace_back();
        const auto codes = canonicalCodes(table);
        for (std::size_t symbol = 0; symbol < codes.size(); ++symbol) {
            if (!codes[symbol].empty()) map[codes[symbol]] = static_cast<uint16_t>(symbol);
        }
    }
    const std::size_t endOfBlock = description.lengths.front().size() - 1;
    DecodedSymbols block{{}, 0, DecodedSymbols::OutOfBits};
    for (;;) {
        const std::size_t group = block.symbols.size() / 50;
        if (group == description.selectors.size()) {
            block.stop = DecodedSymbols::NoSelector;
            return block;
        }
        if (bits.size() - block.used < 20) return block;
        const auto& map = symbolOf[description.selectors[group]];
        bool found = false;
        for (std::size_t length = 1; length <= 20 && !found; ++length) {
            const auto entry = map.find(bits.substr(block.used, length));
            if (entry == map.end()) continue;
            found = true;
            block.used += length;
            if (entry->second == endOfBlock) {
                block.stop = DecodedSymbols::End;
                return block;
            }
            block.symbols.push_back(entry->second);
        }
        if (!found) {
            block.stop = DecodedSymbols::NoCode;
            return block;
        }
    }
}

Description refinedTables(const Symbols& symbols, const std::vector<uint32_t>& frequencies,
                          const LengthsOf& lengthsOf) {
    const std::size_t alphaSize = frequencies.size();
    const std::size_t size = symbols.size();
    const std::size_t tables = size < 200 ? 2 : size < 600 ? 3 : size < 1200 ? 4 : size <= 2399 ? 5 : 6;
    Description result{std::vector(tables, std::vector<uint8_t>(alphaSize, 15)), {}};

    auto remaining = static_cast<int64_t>(size);
    auto partsLeft = static_cast<int64_t>(tables);
    int64_t sum = 0;
    for (std::size_t symbol = 0; symbol < alphaSize; ++symbol) {
        auto& own = result.lengths[static_cast<std::size_t>(partsLeft) - 1];
        own[symbol] = 0;
        sum += frequencies[symbol];
        if (sum < remaining / partsLeft) continue;
        if (partsLeft == 1) break;
        const auto part = static_cast<int64_t>(tables) - partsLeft + 1;
        if (part % 2 == 0 && sum != frequencies[symbol]) {
            own[symbol] = 15;
            sum -= frequencies[symbol--];
        }
        remaining -= sum;
        --partsLeft;
        sum = 0;
    }

    for (int pass = 0; pass < 4; ++pass) {
        std::vector counts(tables, std::vector<uint32_t>(alphaSize));
        result.selectors.clear();
        for (std::size_t begin = 0; begin < size; begin += 50) {
            const std::size_t end = std::min(begin + 50, size);
            std::vector<unsigned> costs(tables);
            for (std::size_t t = 0; t < tables; ++t) {
                for (std::size_t i = begin; i < end; ++i) costs[t] += result.lengths[t][symbols[i]];
            }
            const auto least = std::min_element(costs.begin(), costs.end()) - costs.begin();
            result.selectors.push_back(static_cast<uint8_t>(least));
            for (std::size_t i = begin; i < end; ++i) ++counts[static_cast<std::size_t>(least)][symbols[i]];
        }
        for (std::size_t t = 0; t < tables; ++t) result.lengths[t] = lengthsOf(counts[t]);
    }
    return result;
}

uint64_t optimalCost(const std::vector<uint32_t>& counts, unsigned limit) {
    std::vector<uint64_t> leaves;
    for (const uint32_t count : counts) leaves.push_back(std::max(count, 1U));
    if (leaves.size() == 1) return leaves.front();
    std::sort(leaves.begin(), leaves.end());
    // Of n leaves at `limit` levels, pairs rise: the sum of the first 2n - 2 items of the top level is the cost.
    std::vector<uint64_t> items;
    for (unsigned level = 0; level < limit; ++level) {
        std::vector<uint64_t> merged = leaves;
        for (std::size_t i = 0; i + 1 < items.size(); i += 2) merged.push_back(items[i] + items[i + 1]);
        std::sort(merged.begin(), merged.end());
        items = merged;
    }
    uint64_t cost = 0;
    for (std::size_t i = 0; i < 2 * leaves.size() - 2; ++i) cost += items[i];
    return cost;
}

}  // namespace ozrdc::test::bz2
