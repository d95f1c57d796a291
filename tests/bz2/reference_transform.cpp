// See the header.
#include "bz2/reference_transform.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>

namespace ozrdc::test::bz2 {
namespace {

// Below 0, 0 or above 0, as rotation a is less than, equal to or greater than rotation b.
int compareRotations(std::span<const uint8_t> block, std::size_t a, std::size_t b) {
    for (std::size_t i = 0; i < block.size(); ++i) {
        const int difference = block[(a + i) % block.size()] - block[(b + i) % block.size()];
        if (difference != 0) return difference;
    }
    return 0;
}

}  // namespace

Transformed transformPlainly(std::span<const uint8_t> block) {
    std::vector<std::size_t> order(block.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t a, std::size_t b) { return compareRotations(block, a, b) < 0; });
    Transformed result;
    for (std::size_t row = 0; row < order.size(); ++row) {
        result.lastColumn.push_back(block[(order[row] + block.size() - 1) % block.size()]);
        if (compareRotations(block, order[row], 0) == 0) result.primaryIndexes.push_back(static_cast<uint32_t>(row));
    }
    return result;
}

Bytes invertPlainly(std::span<const uint8_t> lastColumn, uint32_t index) {
    // The rows by their last byte: the row that follows row k is the k-th of them.
    std::array<std::vector<uint32_t>, 256> rowsOf;
    for (std::size_t row = 0; row < lastColumn.size(); ++row)
        rowsOf[lastColumn[row]].push_back(static_cast<uint32_t>(row));
    std::vector<uint32_t> next;
    for (const std::vector<uint32_t>& rows : rowsOf) next.insert(next.end(), rows.begin(), rows.end());
    Bytes block;
    uint32_t row = index;
    for (std::size_t i = 0; i < lastColumn.size(); ++i) {
        row = next[row];
        block.push_back(lastColumn[row]);
    }
    return block;
}

bool isPrimitive(std::span<const uint8_t> block) {
    const std::size_t n = block.size();
    for (std::size_t period = 1; period < n; ++period) {
        if (n % period != 0) continue;
        if (std::equal(block.begin() + static_cast<std::ptrdiff_t>(period), block.end(), block.begin())) return false;
    }
    return true;
}

DecodedBlock decodeBlockPlainly(std::span<const uint16_t> symbols, int32_t capacity, int32_t index,
                                int32_t sizeDictionary, std::span<const uint8_t> inUse) {
    if (symbols.empty() || capacity > 16777215 || index < 0 || index >= capacity)
        return {StatusSizeError, capacity, {}};
    if (sizeDictionary < 0 || sizeDictionary > 256) return {StatusSizeError, capacity, {}};

    Bytes list;
    for (int value = 0; value < 256; ++value) {
        if (inUse[static_cast<std::size_t>(value)] != 0) list.push_back(static_cast<uint8_t>(value));
    }
    if (list.size() != static_cast<std::size_t>(sizeDictionary)) return {StatusOk, capacity, {}};

    Bytes column;
    const auto length = [&] { return static_cast<int32_t>(column.size()); };
    for (std::size_t i = 0; i < symbols.size();) {
        if (symbols[i] < 2) {
            double run = 0;
            for (double weight = 1; i < symbols.size() && symbols[i] < 2; weight *= 2)
                run += (symbols[i++] + 1) * weight;
            if (list.empty() || length() + run > capacity) return {StatusError, length(), {}};
            column.insert(column.end(), static_cast<std::size_t>(run), list.front());
        } else {
            const std::size_t entry = symbols[i++] - std::size_t{1};
            if (entry >= list.size() || length() == capacity) return {StatusError, length(), {}};
            column.push_back(list[entry]);
            std::rotate(list.begin(), list.begin() + static_cast<std::ptrdiff_t>(entry),
                        list.begin() + static_cast<std::ptrdiff_t>(entry) + 1);
        }
    }
    if (index >= length()) return {StatusOk, length(), Bytes(column.size())};
    return {StatusOk, length(), invertPlainly(column, static_cast<uint32_t>(index))};
}

}  // namespace ozrdc::test::bz2
