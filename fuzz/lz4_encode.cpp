// Encodes arbitrary bytes with every LZ4 encoder, compares the blocks with the reference's, and decodes them again.
//
// Input: capacity of the bounded encoder (2 bytes), acceleration (4), repetition (1), the source. A repetition of 240
// and above repeats the source until it needs the wide hash table.

#include <algorithm>
#include <vector>

#include "fuzz_input.h"
#include "lz4/reference_encoder.h"
#include "ozrdc.h"

namespace {

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;
using ozrdc::test::lz4::worstCase;

constexpr std::size_t kHashTableSize = 16384;

std::vector<uint8_t> sourceOf(Input& input) {
    const auto repetition = input.take<uint8_t>();
    std::vector<uint8_t> source(input.rest().begin(), input.rest().end());
    if (source.empty() || repetition < 240) return source;
    // Each copy differs from the one before it in one byte, so that matches end everywhere.
    const std::size_t period = source.size();
    for (std::size_t i = period; source.size() < 66000; ++i) {
        const bool differs = i % (period + repetition) == 0;
        source.push_back(static_cast<uint8_t>(source[i - period] + (differs ? 1 : 0)));
    }
    return source;
}

void requireRoundTrip(std::span<const uint8_t> block, std::span<const uint8_t> source) {
    ExactBuffer exactBlock(block);
    ExactBuffer output(source.size());
    auto consumed = static_cast<int32_t>(block.size());
    auto written = static_cast<int32_t>(source.size());
    const Status status = ozrsDecodeLZ4Dict_8u(exactBlock.data(), &consumed, output.data(), 0, &written, nullptr, 0);
    require(status == StatusOk, "the block decodes");
    require(consumed == static_cast<int64_t>(block.size()), "all of the block is decoded");
    require(written == static_cast<int64_t>(source.size()), "it decodes to all of the source");
    require(std::equal(source.begin(), source.end(), output.data()), "it decodes to the source");
}

// Calls encode(target, &written) with the documented room and checks the block.
template <typename Encode>
void checkBlock(std::span<const uint8_t> source, const std::vector<uint8_t>& expected, Encode encode) {
    ExactBuffer target(static_cast<std::size_t>(worstCase(static_cast<int64_t>(source.size()))));
    int32_t written = 0;
    require(encode(target.data(), &written) == StatusOk, "encoding succeeds");
    const auto block = target.span().first(static_cast<std::size_t>(written));
    require(std::equal(block.begin(), block.end(), expected.begin(), expected.end()), "the block is the reference's");
    requireRoundTrip(block, source);
}

void checkBounded(ExactBuffer& source, std::size_t capacity, uint8_t* table) {
    const auto expected = ozrdc::test::lz4::encodeBounded(source.span(), static_cast<int64_t>(capacity));
    ExactBuffer target(capacity);
    auto consumed = static_cast<int32_t>(source.size());
    auto written = static_cast<int32_t>(capacity);
    const Status status = ozrsEncodeLZ4Safe_8u(source.data(), &consumed, target.data(), &written, table);
    require(status == expected.status, "the status is the reference's");
    require(consumed == expected.consumed, "the count of bytes consumed is the reference's");
    const auto block = target.span().first(static_cast<std::size_t>(written));
    require(std::equal(block.begin(), block.end(), expected.block.begin(), expected.block.end()),
            "the block is the reference's");
    if (consumed > 0) requireRoundTrip(block, source.span().first(static_cast<std::size_t>(consumed)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::size_t capacity = std::size_t{1} + input.take<uint16_t>();
    const int32_t acceleration = std::max(1, input.take<int32_t>());
    const std::vector<uint8_t> bytes = sourceOf(input);
    if (bytes.empty()) return 0;

    ExactBuffer source(bytes);
    ExactBuffer table(kHashTableSize, 0xEE);
    const auto sourceSize = static_cast<int32_t>(source.size());

    checkBlock(bytes, ozrdc::test::lz4::encode(bytes), [&](uint8_t* target, int32_t* written) {
        return ozrsEncodeLZ4_8u(source.data(), sourceSize, target, written, table.data());
    });
    for (const int32_t factor : {acceleration, 1 + acceleration % 64}) {
        checkBlock(bytes, ozrdc::test::lz4::encodeAccelerated(bytes, factor), [&](uint8_t* target, int32_t* written) {
            return ozrsEncodeLZ4Fast_8u(source.data(), sourceSize, target, written, table.data(), factor);
        });
    }
    const auto room = static_cast<std::size_t>(worstCase(sourceSize));
    for (const std::size_t n : {capacity, 1 + capacity % room, room}) checkBounded(source, n, table.data());
    return 0;
}
