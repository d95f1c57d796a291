// Decodes arbitrary bytes as a ZFP stream with arbitrary parameters, and compares every block, status and size with the
// reference decoder.
//
// Input: the parameters (see zfp_parameters.h), the stream.

#include <bit>
#include <cmath>
#include <cstring>

#include "fuzz_input.h"
#include "ozrdc.h"
#include "zfp/reference_codec.h"
#include "zfp_parameters.h"

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;
using namespace ozrdc::test::zfp;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    constexpr unsigned kMostBlocks = 40;
    Input input(data, size);
    const Parameters parameters = ozrdc::fuzz::takeZfpParameters(input);
    if (input.rest().empty()) return 0;

    ExactBuffer stream(input.rest());
    ExactBuffer memory(576);
    auto* const state = reinterpret_cast<ZfpState*>(memory.data());
    require(ozrsDecodeZfpInitLong_32f(stream.data(), stream.size(), state) == StatusOk, "a state begins");
    require(ozrsDecodeZfpSet_32f(parameters.minBits, parameters.maxBits, parameters.maxPrec, parameters.minExp,
                                 state) == StatusOk,
            "any parameters are taken");
    ReferenceDecoder reference(stream.span());
    reference.parameters = parameters;
    for (unsigned n = 0; n < kMostBlocks; ++n) {
        ExactBuffer block(sizeof(Values), 0xEE);
        const Status status = ozrsDecodeZfp444_32f(state, reinterpret_cast<float*>(block.data()), 16, 64);
        Values expected;
        const Progress progress = reference.decode(expected);
        require(status == progress.status, "the status is the reference's");
        uint64_t fetched = 0;
        require(ozrsDecodeZfpGetDecompressedSizeLong_32f(state, &fetched) == StatusOk && fetched == progress.bytes,
                "as much has been fetched as the reference has");
        if (status != StatusOk) break;
        Values values;
        std::memcpy(values.data(), block.data(), sizeof values);
        for (std::size_t i = 0; i < values.size(); ++i) {
            require(std::bit_cast<uint32_t>(values[i]) == std::bit_cast<uint32_t>(expected[i]),
                    "the values are the reference's");
        }
    }
    return 0;
}
