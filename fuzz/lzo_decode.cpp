// Decodes arbitrary bytes with both LZO1X decoders and compares status, count and output with the reference decoder.
//
// Input: capacity (2 bytes), the source. A source that is taken for a container and states a large total is left out.

#include <algorithm>
#include <vector>

#include "fuzz_input.h"
#include "lzo/reference_decoder.h"
#include "ozrdc.h"

namespace {

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;
using ozrdc::test::lzo::containerTotal;
using ozrdc::test::lzo::Decoded;

constexpr uint64_t kLargestTotal = 1 << 20;

void checkSafe(ExactBuffer& source, uint32_t capacity, std::size_t room, const Decoded& expected) {
    ExactBuffer output(room, 0xEE);
    uint32_t written = capacity;
    const Status status =
        ozrsDecodeLZOSafe_8u(source.data(), static_cast<uint32_t>(source.size()), output.data(), &written);
    require(status == expected.status, "the status is the reference's");
    if (status != StatusOk) {
        require(written == capacity, "a failure leaves the capacity alone");
        return;
    }
    require(written == expected.written, "the count of bytes written is the reference's");
    for (const auto& slice : expected.slices) {
        require(std::equal(slice.bytes.begin(), slice.bytes.end(), output.data() + slice.offset),
                "the output is the reference's");
    }
}

// The trusting decoder may look in front of the output, as far as any distance reaches, and nowhere else.
void checkTrusting(ExactBuffer& source, uint32_t capacity, std::size_t room, const Decoded& expected) {
    constexpr std::size_t kReach = 49151;
    ExactBuffer memory(kReach + room, 0xEE);
    uint8_t* const output = memory.data() + kReach;
    uint32_t written = capacity;
    const Status status = ozrsDecodeLZO_8u(source.data(), static_cast<uint32_t>(source.size()), output, &written);
    require(std::all_of(memory.data(), output, [](uint8_t b) { return b == 0xEE; }), "nothing in front is written to");
    if (expected.isContainer || expected.status == StatusOk) {
        require(status == expected.status, "the status is the reference's");
        if (status == StatusOk) require(written == expected.written, "the count is the reference's");
    } else {
        require(status == StatusOk, "a stream never fails");
        require(written <= capacity, "the count is at most the capacity");
    }
    if (expected.status == StatusOk) {
        for (const auto& slice : expected.slices) {
            require(std::equal(slice.bytes.begin(), slice.bytes.end(), output + slice.offset),
                    "the output is the reference's");
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const uint32_t capacity = input.take<uint16_t>();
    ExactBuffer source(input.rest());
    const auto total = containerTotal(source.span());
    if (total.value_or(0) > kLargestTotal) return 0;
    const auto room = static_cast<std::size_t>(total.value_or(capacity));
    const Decoded expected = ozrdc::test::lzo::decode(source.span(), capacity);
    checkSafe(source, capacity, room, expected);
    checkTrusting(source, capacity, room, expected);
    return 0;
}
