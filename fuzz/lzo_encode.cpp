// Encodes arbitrary bytes in every mode of the LZO1X encoder, compares what is written with the reference's, and
// decodes it again.
//
// Input: capacity (2 bytes), number of parts (1), repetition (1), the source. A repetition of 250 and above repeats the
// source until it is longer than a chunk and than any distance.

#include <algorithm>
#include <cstring>
#include <vector>

#include "fuzz_input.h"
#include "lzo/reference_decoder.h"
#include "lzo/reference_encoder.h"
#include "ozrdc.h"

namespace {

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;
using ozrdc::test::lzo::Encoded;

constexpr uint32_t kStateSize = 131104;

std::vector<uint8_t> sourceOf(Input& input) {
    const auto repetition = input.take<uint8_t>();
    std::vector<uint8_t> source(input.rest().begin(), input.rest().end());
    if (source.empty() || repetition < 250) return source;
    // Each copy differs from the one before it in one byte, so that matches end everywhere.
    const std::size_t period = source.size();
    for (std::size_t i = period; source.size() < 60000; ++i) {
        const bool differs = i % (period + repetition) == 0;
        source.push_back(static_cast<uint8_t>(source[i - period] + (differs ? 1 : 0)));
    }
    return source;
}

void check(ExactBuffer& source, uint32_t mode, uint32_t parts, std::size_t capacity, const Encoded& expected) {
    ExactBuffer state(kStateSize, 0xEE);
    std::memcpy(state.data(), &mode, sizeof mode);
    std::memcpy(state.data() + 4, &parts, sizeof parts);
    ExactBuffer target(capacity);
    auto written = static_cast<uint32_t>(capacity);
    const Status status = ozrsEncodeLZO_8u(source.data(), static_cast<uint32_t>(source.size()), target.data(), &written,
                                           reinterpret_cast<LZOState*>(state.data()));
    require(status == expected.status, "the status is the reference's");
    require(written == expected.bytes.size(), "the count of bytes written is the reference's");
    const auto stream = target.span().first(written);
    if (status != StatusOk) return;
    require(std::equal(stream.begin(), stream.end(), expected.bytes.begin()), "the stream is the reference's");

    ExactBuffer exactStream(stream);
    for (const auto decoder : {ozrsDecodeLZOSafe_8u, ozrsDecodeLZO_8u}) {
        ExactBuffer output(source.size());
        auto size = static_cast<uint32_t>(source.size());
        require(decoder(exactStream.data(), written, output.data(), &size) == StatusOk, "the stream decodes");
        require(size == source.size(), "it decodes to all of the source");
        require(std::equal(source.data(), source.data() + size, output.data()), "it decodes to the source");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::size_t capacity = input.take<uint16_t>();
    // Few parts mostly: each of them clears a dictionary.
    const auto choice = input.take<uint8_t>();
    const uint32_t parts = 1 + (choice < 240 ? choice % 4U : choice % 32U);
    const std::vector<uint8_t> bytes = sourceOf(input);
    if (bytes.empty()) return 0;

    ExactBuffer source(bytes);
    const std::size_t room = ozrdc::test::lzo::roomFor(bytes.size()) + 80 * parts;
    for (const std::size_t n : {capacity % room, room}) {
        check(source, 0, 0, n, ozrdc::test::lzo::encodeStandard(bytes, n));
        check(source, 2, 0, n, ozrdc::test::lzo::encodeFast(bytes, n));
    }
    const std::size_t n = capacity % 2 == 0 ? room : capacity;
    check(source, 1, parts, n, ozrdc::test::lzo::encodeContainer(bytes, n, parts));
    return 0;
}
