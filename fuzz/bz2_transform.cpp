// The transform of block sorting both ways, and the decoder of blocks, beside the plain models.
//
// Input: what to do (1 byte), a number (2), the data.
//
// - 0: the data, repeated until it has 300 bytes if the number is odd, sorted by the strategy number / 2 % 4.
// - 1: the data taken as a last column, inverted from the row that the number tells.
// - 2: the data taken as symbols of 16 bits: first the size of the dictionary (1 byte) and the capacity (2).

#include <algorithm>
#include <vector>

#include "bz2/reference_transform.h"
#include "fuzz_input.h"
#include "ozrdc.h"

namespace {

using namespace ozrdc::test::bz2;
using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

bool same(std::span<const uint8_t> a, std::span<const uint8_t> b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

void sortBlock(std::span<const uint8_t> data, uint32_t number) {
    // The plain sort takes more than the square of the length.
    Bytes block(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(data.size(), 500)));
    const std::size_t period = block.size();
    while (number % 2 == 1 && block.size() < 300) block.push_back(block[block.size() - period]);
    const uint32_t strategy = number / 2 % 4;
    const auto n = static_cast<uint32_t>(block.size());

    int32_t size = 0;
    require(ozrsBWTFwdGetBufSize_SelectSort_8u(n, &size, strategy) == StatusOk, "there is a size of the scratch");
    ExactBuffer source(block);
    ExactBuffer scratch(static_cast<std::size_t>(size), 0xCD);
    ExactBuffer column(n);
    int32_t index = -1;
    const Status status = ozrsBWTFwd_SelectSort_8u(source.data(), column.data(), n, &index, scratch.data(), strategy);
    if (status == StatusSortBudgetExceeded && strategy == 0 && n >= 100) return;
    require(status == StatusOk, "the block is sorted");
    const Transformed expected = transformPlainly(block);
    require(same(column.span(), expected.lastColumn), "the last column is the model's");
    require(
        std::count(expected.primaryIndexes.begin(), expected.primaryIndexes.end(), static_cast<uint32_t>(index)) == 1,
        "the primary index is one of the model's");
}

void invertColumn(std::span<const uint8_t> data, uint32_t number) {
    const auto len = static_cast<int32_t>(data.size());
    const auto index = static_cast<int32_t>(number % data.size());
    int32_t size = 0;
    require(ozrsBWTInvGetSize_8u(len, &size) == StatusOk, "there is a size of the scratch");
    ExactBuffer source(data);
    ExactBuffer scratch(static_cast<std::size_t>(size), 0xCD);
    ExactBuffer block(data.size());
    require(ozrsBWTInv_8u(source.data(), block.data(), len, index, scratch.data()) == StatusOk, "it is inverted");
    require(same(block.span(), invertPlainly(data, static_cast<uint32_t>(index))), "the block is the model's");
}

void decodeBlock(Input input, uint32_t number) {
    const int32_t sizeDictionary = input.take<uint8_t>();
    const int32_t capacity = input.take<uint16_t>();
    std::vector<uint16_t> symbols;
    while (!input.rest().empty()) symbols.push_back(input.take<uint16_t>());
    Bytes inUse(256);
    for (int32_t i = 0; i < sizeDictionary; ++i) inUse[static_cast<std::size_t>(i * 37 % 256)] = 1;
    const auto index = static_cast<int32_t>(number);

    const DecodedBlock expected = decodeBlockPlainly(symbols, capacity, index, sizeDictionary, inUse);
    ExactBuffer source({reinterpret_cast<const uint8_t*>(symbols.data()), symbols.size() * sizeof(uint16_t)});
    ExactBuffer scratch(4 * static_cast<std::size_t>(capacity), 0xCD);
    ExactBuffer block(static_cast<std::size_t>(capacity));
    int32_t length = capacity;
    const Status status = ozrsDecodeBlock_BZ2_16u8u(reinterpret_cast<const uint16_t*>(source.data()),
                                                    static_cast<int32_t>(symbols.size()), block.data(), &length, index,
                                                    sizeDictionary, inUse.data(), scratch.data());
    require(status == expected.status && length == expected.length, "status and length are the model's");
    require(same(block.span().first(expected.bytes.size()), expected.bytes), "the block is the model's");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto what = input.take<uint8_t>();
    const auto number = input.take<uint16_t>();
    if (input.rest().empty()) return 0;
    switch (what % 3) {
        case 0:
            sortBlock(input.rest(), number);
            break;
        case 1:
            invertColumn(input.rest(), number);
            break;
        default:
            decodeBlock(input, number);
            break;
    }
    return 0;
}
