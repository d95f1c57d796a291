// Encodes arbitrary floats with arbitrary parameters to a buffer of any size, compares every status, size and byte with
// the reference encoder, and decodes what has been written.
//
// Input: the parameters (see zfp_parameters.h), room for the stream (2 bytes), the floats, 64 a block; a last block
// that is not whole is filled with zeros.

#include <algorithm>
#include <cstring>

#include "fuzz_input.h"
#include "ozrdc.h"
#include "zfp/reference_codec.h"
#include "zfp_parameters.h"

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;
using namespace ozrdc::test::zfp;

namespace {

void compare(Status status, const Progress& expected, const ZfpState* state, ExactBuffer& stream,
             const ReferenceEncoder& reference) {
    require(status == expected.status, "the status is the reference's");
    uint64_t bits = 0;
    require(ozrsEncodeZfpGetCompressedBitSize_32f(state, &bits) == StatusOk, "the state is asked");
    require(bits == 8 * expected.bytes + expected.bits, "the stream has as many bits as the reference's");
    require(std::equal(reference.stored().begin(), reference.stored().end(), stream.data()),
            "the stream is the reference's");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    constexpr unsigned kMostBlocks = 20;
    Input input(data, size);
    const Parameters parameters = ozrdc::fuzz::takeZfpParameters(input);
    const std::size_t room = 1 + input.take<uint16_t>() % 8000;

    ExactBuffer stream(room);
    ExactBuffer memory(576);
    auto* const state = reinterpret_cast<ZfpState*>(memory.data());
    require(ozrsEncodeZfpInitLong_32f(stream.data(), stream.size(), state) == StatusOk, "a state begins");
    require(ozrsEncodeZfpSet_32f(parameters.minBits, parameters.maxBits, parameters.maxPrec, parameters.minExp,
                                 state) == StatusOk,
            "any parameters are taken");
    ReferenceEncoder reference(room);
    reference.parameters = parameters;
    unsigned blocks = 0;
    for (; blocks < kMostBlocks && !input.rest().empty(); ++blocks) {
        const auto values = input.take<Values>();
        ExactBuffer block({reinterpret_cast<const uint8_t*>(values.data()), sizeof values});
        const Status status = ozrsEncodeZfp444_32f(reinterpret_cast<const float*>(block.data()), 16, 64, state);
        compare(status, reference.encode(values), state, stream, reference);
        if (status != StatusOk) break;
    }
    const Status status = ozrsEncodeZfpFlush_32f(state);
    compare(status, reference.flush(), state, stream, reference);

    uint64_t written = 0;
    require(ozrsEncodeZfpGetCompressedSizeLong_32f(state, &written) == StatusOk, "the state is asked");
    if (status != StatusOk || written == 0) return 0;
    ExactBuffer copy(stream.span().first(written));
    require(ozrsDecodeZfpInitLong_32f(copy.data(), copy.size(), state) == StatusOk, "a state begins");
    require(ozrsDecodeZfpSet_32f(parameters.minBits, parameters.maxBits, parameters.maxPrec, parameters.minExp,
                                 state) == StatusOk,
            "any parameters are taken");
    for (unsigned n = 0; n < blocks; ++n) {
        Values values;
        require(ozrsDecodeZfp444_32f(state, values.data(), 16, 64) == StatusOk, "every block is read");
    }
    uint64_t fetched = 0;
    require(ozrsDecodeZfpGetDecompressedSizeLong_32f(state, &fetched) == StatusOk && fetched == written,
            "the stream is read to its end");
    return 0;
}
