// Decodes arbitrary bytes as an LZSS stream, cut into calls in arbitrary places, and compares every call with the
// model.
//
// Input: the sizes of sources and of destinations (4 bytes each, see `Sizes`), what the state holds before (1), the
// stream.

#include <algorithm>

#include "fuzz_input.h"
#include "lzss/reference_lzss.h"
#include "lzss_sizes.h"
#include "ozrdc.h"

using namespace ozrdc::fuzz;
using namespace ozrdc::test::lzss;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    Sizes sourceSizes(input);
    Sizes capacities(input);
    const auto memory = input.take<uint8_t>();
    ByteView rest = input.rest();

    ExactBuffer stateBytes(kStateSize, memory);
    auto* const state = reinterpret_cast<LZSSState*>(stateBytes.data());
    require(ozrsDecodeLZSSInit_8u(state) == StatusOk, "a state is prepared");
    ReferenceDecoder model(memory);
    Status status = StatusDestinationFull;
    // A stream may be a thousand times as long as its source; the beginning is enough.
    for (int calls = 0; calls < 200 && (status == StatusDestinationFull || !rest.empty()); ++calls) {
        ExactBuffer source(rest.first(std::min(rest.size(), sourceSizes.next())));
        ExactBuffer target(capacities.next());
        const Result expected = model.decode(source.span(), target.size());
        const uint8_t* from = source.data();
        auto left = static_cast<int32_t>(source.size());
        uint8_t* to = target.data();
        auto room = static_cast<int32_t>(target.size());
        status = ozrsDecodeLZSS_8u(&from, &left, &to, &room, state);
        const auto consumed = static_cast<std::size_t>(from - source.data());
        const auto written = static_cast<std::size_t>(to - target.data());
        require(status == expected.status, "the status is the model's");
        require(consumed == expected.consumed && consumed + static_cast<std::size_t>(left) == source.size(),
                "as much is taken as the model takes");
        require(written == expected.written.size() && written + static_cast<std::size_t>(room) == target.size(),
                "as much is written as the model writes");
        require(std::equal(expected.written.begin(), expected.written.end(), target.data()),
                "the bytes are the model's");
        rest = rest.subspan(consumed);
    }
    return 0;
}
