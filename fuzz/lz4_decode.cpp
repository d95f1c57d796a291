// Decodes arbitrary bytes as an LZ4 block, in the three modes, and compares status, counts and output with the
// reference decoder.
//
// Input: mode (1 byte), capacity (2 bytes), size of the history (2), index of the output in separate mode (2), the
// block.

#include <algorithm>
#include <vector>

#include "fuzz_input.h"
#include "lz4/reference_decoder.h"
#include "ozrdc.h"

namespace {

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;
using ozrdc::test::lz4::decode;
using ozrdc::test::lz4::Decoded;
using ozrdc::test::lz4::History;

std::vector<uint8_t> historyBytes(std::size_t size, uint8_t salt) {
    std::vector<uint8_t> bytes(size);
    uint32_t state = 12345U + salt;
    for (uint8_t& b : bytes) {
        state = state * 1664525U + 1013904223U;
        b = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

void compare(const Decoded& expected, Status status, int32_t consumed, int32_t written, std::size_t blockSize,
             std::span<const uint8_t> output) {
    require(status == expected.status, "the status is the reference's");
    if (status < 0) {
        require(consumed == static_cast<int64_t>(blockSize), "an error leaves the source length alone");
        require(written == static_cast<int64_t>(output.size()), "an error leaves the capacity alone");
    } else {
        require(consumed == expected.consumed, "the count of bytes consumed is the reference's");
        require(written == expected.written, "the count of bytes written is the reference's");
    }
    require(!expected.firstDifference(output), "the output is the reference's");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto mode = static_cast<History::Mode>(input.take<uint8_t>() % 3);
    const std::size_t capacity = 1 + input.take<uint16_t>() % 20000;
    const std::size_t historySize = 1 + input.take<uint16_t>() % 5000;
    const std::size_t index = input.take<uint16_t>() % (2 * historySize);
    if (input.rest().empty()) return 0;

    ExactBuffer block(input.rest());
    const std::vector<uint8_t> dictionary = historyBytes(historySize, 1);
    auto consumed = static_cast<int32_t>(block.size());
    auto written = static_cast<int32_t>(capacity);
    const auto dictionarySize = static_cast<int32_t>(historySize);

    switch (mode) {
        case History::Mode::None: {
            const Decoded expected = decode(block.span(), written);
            ExactBuffer output(capacity, 0xEE);
            const Status status = ozrsDecodeLZ4Dict_8u(block.data(), &consumed, output.data(), 0, &written, nullptr, 0);
            compare(expected, status, consumed, written, block.size(), output.span());
            auto writtenAgain = static_cast<int32_t>(capacity);
            require(ozrsDecodeLZ4_8u(block.data(), static_cast<int32_t>(block.size()), output.data(), &writtenAgain) ==
                            status &&
                        writtenAgain == written,
                    "both entries agree");
            break;
        }
        case History::Mode::Prefix: {
            const Decoded expected = decode(block.span(), written, {mode, dictionary});
            ExactBuffer memory(historySize + capacity, 0xEE);
            std::copy(dictionary.begin(), dictionary.end(), memory.data());
            const Status status = ozrsDecodeLZ4Dict_8u(block.data(), &consumed, memory.data(), dictionarySize, &written,
                                                       memory.data(), dictionarySize);
            compare(expected, status, consumed, written, block.size(), memory.span().subspan(historySize));
            require(std::equal(dictionary.begin(), dictionary.end(), memory.data()), "the prefix is left alone");
            break;
        }
        case History::Mode::Separate: {
            const std::vector<uint8_t> front = historyBytes(index, 2);
            const Decoded expected = decode(block.span(), written, {mode, dictionary, front});
            ExactBuffer separate(dictionary);
            // What the dictionary hides of the destination must not be read. If that is all that precedes the output,
            // it does not even exist.
            const std::size_t before = index <= historySize ? 0 : index;
            ExactBuffer memory(before + capacity, 0xEE);
            std::copy_n(front.begin(), before, memory.data());
            uint8_t* const output = memory.data() + before;
            const Status status =
                ozrsDecodeLZ4Dict_8u(block.data(), &consumed, output - index, static_cast<int32_t>(index), &written,
                                     separate.data(), dictionarySize);
            compare(expected, status, consumed, written, block.size(), memory.span().subspan(before));
            require(std::equal(memory.data(), output, front.begin()), "what precedes the output is left alone");
            break;
        }
    }
    return 0;
}
