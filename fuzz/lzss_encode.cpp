// Encodes arbitrary bytes as an LZSS stream, cut into calls in arbitrary places, compares every call with the model,
// and decodes the stream again.
//
// Input: the sizes of sources and of destinations (4 bytes each, see `Sizes`), repetition (1), the source. A repetition
// of 240 and above repeats the source until it is twice as long as the window.

#include <algorithm>
#include <vector>

#include "fuzz_input.h"
#include "lzss/reference_lzss.h"
#include "lzss_sizes.h"
#include "ozrdc.h"

using namespace ozrdc::fuzz;
using namespace ozrdc::test::lzss;

namespace {

Bytes sourceOf(Input& input) {
    const auto repetition = input.take<uint8_t>();
    Bytes source(input.rest().begin(), input.rest().end());
    if (source.empty() || repetition < 240) return source;
    // Each copy differs from the one before it in one byte, so that matches end everywhere.
    const std::size_t period = source.size();
    for (std::size_t i = period; source.size() < 70000; ++i) {
        const bool differs = i % (period + repetition) == 0;
        source.push_back(static_cast<uint8_t>(source[i - period] + (differs ? 1 : 0)));
    }
    return source;
}

void requireSame(const Result& expected, Status status, std::size_t consumed, std::span<const uint8_t> written) {
    require(status == expected.status, "the status is the model's");
    require(consumed == expected.consumed, "as much is consumed as the model consumes");
    require(std::equal(written.begin(), written.end(), expected.written.begin(), expected.written.end()),
            "the bytes are the model's");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    Sizes sourceSizes(input);
    Sizes capacities(input);
    const Bytes plain = sourceOf(input);

    ExactBuffer stateBytes(kStateSize, 0xCD);
    auto* const state = reinterpret_cast<LZSSState*>(stateBytes.data());
    require(ozrsEncodeLZSSInit_8u(state) == StatusOk, "a state is prepared");
    ReferenceEncoder model;
    Bytes stream;
    ByteView rest = plain;
    for (int calls = 0; !rest.empty(); ++calls) {
        if (calls == 400) return 0;
        ExactBuffer source(rest.first(std::min(rest.size(), sourceSizes.next())));
        ExactBuffer target(capacities.next());
        const uint8_t* from = source.data();
        auto left = static_cast<int32_t>(source.size());
        uint8_t* to = target.data();
        auto room = static_cast<int32_t>(target.size());
        const Status status = ozrsEncodeLZSS_8u(&from, &left, &to, &room, state);
        const auto consumed = static_cast<std::size_t>(from - source.data());
        const auto written = target.span().first(static_cast<std::size_t>(to - target.data()));
        requireSame(model.encode(source.span(), target.size()), status, consumed, written);
        stream.insert(stream.end(), written.begin(), written.end());
        rest = rest.subspan(consumed);
    }
    for (Status status = StatusDestinationFull; status == StatusDestinationFull;) {
        ExactBuffer target(capacities.next());
        uint8_t* to = target.data();
        auto room = static_cast<int32_t>(target.size());
        status = ozrsEncodeLZSSFlush_8u(&to, &room, state);
        const auto written = target.span().first(static_cast<std::size_t>(to - target.data()));
        requireSame(model.flush(target.size()), status, 0, written);
        stream.insert(stream.end(), written.begin(), written.end());
    }

    require(ozrsDecodeLZSSInit_8u(state) == StatusOk, "the state is prepared again");
    ExactBuffer source(stream);
    ExactBuffer target(plain.size() + 1);
    const uint8_t* from = source.data();
    auto left = static_cast<int32_t>(source.size());
    uint8_t* to = target.data();
    auto room = static_cast<int32_t>(target.size());
    require(ozrsDecodeLZSS_8u(&from, &left, &to, &room, state) == StatusOk, "the stream is decoded");
    require(left == 0 && room == 1, "all of it is decoded, to all of the source");
    require(std::equal(plain.begin(), plain.end(), target.data()), "it decodes to the source");
    return 0;
}
