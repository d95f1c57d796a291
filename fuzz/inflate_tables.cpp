// Makes decoding tables from arbitrary code lengths, compares the verdict with the rules, and decodes the rest of the
// input with those that are accepted.
//
// Input: number of literal/length and of distance lengths (2 bytes, 1 byte), flags (1), the lengths (1 byte each; with
// the lowest flag completed to a whole code, as far as that is possible), the bits to decode.

#include <algorithm>

#include "fuzz_input.h"
#include "inflate/checked_decoder.h"
#include "support/sample_data.h"

namespace {

using namespace ozrdc::test;
using namespace ozrdc::test::inflate;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

// Adds codes, from the longest length on, until the code is complete; takes codes away while there are too many.
void complete(deflate::Lengths& lengths) {
    constexpr int64_t whole = int64_t{1} << deflate::kMaxCodeLength;
    int64_t left = whole;
    for (uint16_t& n : lengths) {
        if (n == 0) continue;
        if (whole >> n > left) n = 0;
        if (n != 0) left -= whole >> n;
    }
    for (uint16_t& n : lengths) {
        if (n != 0 || left == 0) continue;
        // The largest power of two that is left, so that few symbols suffice.
        uint16_t length = 1;
        while (whole >> length > left) ++length;
        n = length;
        left -= whole >> length;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    BlockCodes codes;
    codes.literals.resize(input.take<uint16_t>() % 300);
    codes.distances.resize(input.take<uint8_t>() % 33);
    const auto flags = input.take<uint8_t>();
    for (deflate::Lengths* const lengths : {&codes.literals, &codes.distances}) {
        for (uint16_t& n : *lengths) n = input.take<uint8_t>() % 16;
        if ((flags & 1) != 0) complete(*lengths);
    }
    const std::vector<uint8_t> stream(input.rest().begin(), input.rest().end());

    const bool tooMany = codes.literals.size() > 288 || codes.distances.size() > 30;
    const Verdict expected = tooMany ? Verdict{StatusSizeError, 0} : verdict(codes);
    const deflate::Lengths joined = codes.joined();
    ozrdc::fuzz::ExactBuffer lengths(2 * joined.size());
    std::copy(joined.begin(), joined.end(), reinterpret_cast<uint16_t*>(lengths.data()));
    InflateState state{};
    constexpr uint32_t untouched = 0xB7B7B7B7;
    state.tableKind = state.maxLitLen = state.maxDistLen = untouched;
    const Status status = ozrsInflateBuildHuffTable(reinterpret_cast<const uint16_t*>(lengths.data()),
                                                    static_cast<uint32_t>(codes.literals.size()),
                                                    static_cast<uint32_t>(codes.distances.size()), &state);
    require(status == expected.status, "the status is the one that the rules give");
    require(state.tableKind == (expected.kind == 0 ? untouched : expected.kind), "the kind is the one of the rules");
    require(state.maxLitLen == (expected.kind == 2 ? deflate::longest(codes.literals) : untouched), "maxLitLen");
    require(state.maxDistLen == (expected.kind == 2 ? deflate::longest(codes.distances) : untouched), "maxDistLen");
    if (status != StatusOk || stream.empty()) return 0;

    static const std::vector<uint8_t> history = periodicSample(32768, 32749, 1);
    CheckedDecoder decoder(stream, history, (flags & 2) != 0 ? Guard::After : Guard::Before);
    const auto begun = decoder.beginBlock(codes, Tables::Built);
    require(begun, begun.message());
    const std::size_t room = (flags & 4) != 0 ? decoder.bytesLeft() : decoder.bytesLeft() + 1000;
    const auto decoded = decoder.call(stream.size(), room, {(flags & 8) != 0 ? history.size() : 0, 32768, 1000});
    require(decoded, decoded.message());
    return 0;
}
