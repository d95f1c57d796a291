// Every stage of the block-sorting pipeline but the transform, beside the plain models.
//
// Input: which stage (1 byte), most bytes of a source in one call (2), most room of a destination (2), the data.

#include <algorithm>
#include <vector>

#include "bz2/reference_huffman.h"
#include "bz2/reference_stages.h"
#include "fuzz_input.h"
#include "ozrdc.h"

namespace {

using namespace ozrdc::test::bz2;
using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }
std::size_t wide(int32_t n) { return static_cast<std::size_t>(n); }

bool same(std::span<const uint8_t> a, std::span<const uint8_t> b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end());
}

// Sizes of the calls.
struct Pieces {
    std::size_t source;
    std::size_t room;
};

ExactBuffer symbolBuffer(const Symbols& symbols) {
    ExactBuffer buffer(2 * symbols.size());
    if (!symbols.empty()) std::memcpy(buffer.data(), symbols.data(), buffer.size());
    return buffer;
}
uint16_t* symbolsOf(ExactBuffer& buffer) { return reinterpret_cast<uint16_t*>(buffer.data()); }

void encodeRuns(std::span<const uint8_t> data, Pieces pieces) {
    ExactBuffer memory(264);
    auto* const state = reinterpret_cast<RLEState*>(memory.data());
    ozrsEncodeRLEInit_BZ2_8u(state);
    RunLengthEncoder model;
    while (!data.empty()) {
        ExactBuffer source(data.first(std::min(data.size(), pieces.source)));
        std::span<const uint8_t> rest = source.span();
        const Bytes expected = model.encode(rest, pieces.room);
        ExactBuffer target(pieces.room);
        const uint8_t* at = source.data();
        int32_t left = narrow(source.size());
        int32_t length = narrow(pieces.room);
        const Status status = ozrsEncodeRLE_BZ2_8u(&at, &left, target.data(), &length, state);
        require(same(target.span().first(wide(length)), expected), "the run-length code is the model's");
        require(wide(left) == rest.size(), "as much of the source is left as the model leaves");
        require(status == (left > 0 ? StatusDestinationFull : StatusOk), "the status tells whether source is left");
        data = data.subspan(source.size() - rest.size());
    }
    ExactBuffer last(1);
    int32_t length = 1;
    ozrsEncodeRLEFlush_BZ2_8u(last.data(), &length, state);
    require(same(last.span().first(wide(length)), model.flush()), "the last count is the model's");
    ExactBuffer inUse(256);
    ozrsRLEGetInUseTable_8u(inUse.data(), state);
    require(same(inUse.span(), model.inUse), "the values in use are the model's");
}

void decodeRuns(std::span<const uint8_t> data, Pieces pieces) {
    ExactBuffer memory(264);
    auto* const state = reinterpret_cast<RLEState*>(memory.data());
    ozrsDecodeRLEStateInit_BZ2_8u(state);
    RunLengthDecoder model;
    while (!data.empty()) {
        ExactBuffer source(data);
        std::span<const uint8_t> rest = source.span();
        Status expectedStatus = StatusOk;
        const Bytes expected = model.decode(rest, pieces.room, expectedStatus);
        ExactBuffer target(pieces.room);
        const uint8_t* at = source.data();
        int32_t left = narrow(source.size());
        uint8_t* to = target.data();
        int32_t room = narrow(pieces.room);
        const Status status = ozrsDecodeRLEState_BZ2_8u(&at, &left, &to, &room, state);
        require(status == expectedStatus && wide(left) == rest.size(), "decoding ends where the model's does");
        require(same(target.span().first(pieces.room - wide(room)), expected), "the bytes are the model's");
        data = data.subspan(source.size() - rest.size());
    }
}

void moveToFront(std::span<const uint8_t> data, Pieces pieces) {
    ExactBuffer forward(256);
    ExactBuffer inverse(256);
    auto* const encoder = reinterpret_cast<MTFState*>(forward.data());
    auto* const decoder = reinterpret_cast<MTFState*>(inverse.data());
    ozrsMTFInit_8u(encoder);
    ozrsMTFInit_8u(decoder);
    MoveToFront model;
    while (!data.empty()) {
        ExactBuffer source(data.first(std::min(data.size(), pieces.source)));
        Bytes expected;
        for (const uint8_t byte : source.span()) expected.push_back(model.encode(byte));
        ExactBuffer ranks(source.size());
        ozrsMTFFwd_8u(source.data(), ranks.data(), narrow(source.size()), encoder);
        require(same(ranks.span(), expected), "the ranks are the model's");
        require(same(forward.span(), model.ranks()), "the encoder's state is the model's");
        ozrsMTFInv_8u(ranks.data(), ranks.data(), narrow(source.size()), decoder);
        require(same(ranks.span(), source.span()), "the ranks decode to the bytes");
        require(same(inverse.span(), model.list), "the decoder's state is the model's");
        data = data.subspan(source.size());
    }
}

void encodeZeros(std::span<const uint8_t> data, Pieces pieces) {
    ExactBuffer source(data);
    std::span<const uint8_t> rest = source.span();
    std::vector<uint32_t> expectedCounts(257);
    const Symbols expected = encodeZeroRuns(rest, pieces.room, expectedCounts);
    ExactBuffer target(2 * pieces.room);
    std::vector<uint32_t> counts(257);
    const uint8_t* at = source.data();
    int32_t left = narrow(source.size());
    int32_t length = narrow(pieces.room);
    ozrsEncodeZ1Z2_BZ2_8u16u(&at, &left, symbolsOf(target), &length, counts.data());
    require(std::equal(expected.begin(), expected.end(), symbolsOf(target), symbolsOf(target) + length),
            "the symbols are the model's");
    require(wide(left) == rest.size() && counts == expectedCounts, "the counts are the model's");
}

void decodeZeros(std::span<const uint8_t> data, Pieces pieces) {
    Symbols symbols;
    for (std::size_t i = 0; i + 1 < data.size(); i += 2) {
        const bool digit = data[i] % 4 != 0;
        symbols.push_back(static_cast<uint16_t>(digit ? data[i] % 2 : data[i + 1] << 8 | data[i]));
    }
    if (symbols.empty()) return;
    std::span<const uint16_t> rest = symbols;
    Status expectedStatus = StatusOk;
    const Bytes expected = decodeZeroRuns(rest, pieces.room, expectedStatus);
    ExactBuffer source = symbolBuffer(symbols);
    ExactBuffer target(pieces.room);
    const uint16_t* at = symbolsOf(source);
    int32_t left = narrow(symbols.size());
    int32_t length = narrow(pieces.room);
    const Status status = ozrsDecodeZ1Z2_BZ2_16u8u(&at, &left, target.data(), &length);
    require(status == expectedStatus && wide(left) == rest.size(), "decoding ends where the model's does");
    require(same(target.span().first(wide(length)), expected), "the ranks are the model's");
}

// The data as symbols of an alphabet that it chooses, there and back.
void encodeSymbols(std::span<const uint8_t> data, Pieces pieces) {
    const std::size_t alphaSize = 2 + pieces.source % 257;
    Symbols symbols;
    for (const uint8_t byte : data) symbols.push_back(static_cast<uint16_t>(byte % (alphaSize - 1)));
    symbols.push_back(static_cast<uint16_t>(alphaSize - 1));
    std::vector<uint32_t> frequencies(alphaSize);
    for (const uint16_t symbol : symbols) ++frequencies[symbol];
    int32_t size = 0;
    ozrsEncodeHuffGetSize_BZ2_16u8u(narrow(symbols.size()), &size);
    ExactBuffer memory(wide(size));
    auto* const state = reinterpret_cast<HuffEncState*>(memory.data());
    ExactBuffer source = symbolBuffer(symbols);
    ozrsEncodeHuffInit_BZ2_16u8u(narrow(alphaSize), frequencies.data(), symbolsOf(source), narrow(symbols.size()),
                                 state);
    ExactBuffer target(40000 + 3 * symbols.size());
    uint32_t code = 0;
    int32_t pending = 0;
    int32_t described = narrow(target.size());
    require(ozrsPackHuffContext_BZ2_16u8u(&code, &pending, target.data(), &described, state) == StatusOk, "it fits");
    const uint16_t* at = symbolsOf(source);
    int32_t left = narrow(symbols.size());
    int32_t written = narrow(target.size()) - described;
    require(
        ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &left, target.data() + described, &written, state) == StatusOk,
        "it fits");
    Bits bits = bitsOf(target.span().first(wide(described + written)));
    bits += numberBits(code, 32).substr(0, wide(pending)) + Bits(20, '0');
    std::size_t position = 0;
    const auto description = Description::read(bits, position, alphaSize);
    require(description.has_value(), "the description is valid");
    const DecodedSymbols decoded = decodeSymbols(*description, bits.substr(position));
    require(decoded.stop == DecodedSymbols::End && decoded.used + position + 20 == bits.size(), "the block ends");
    require(std::equal(decoded.symbols.begin(), decoded.symbols.end(), symbols.begin(), symbols.end() - 1),
            "the stream decodes to the symbols");

    // With too little room: what is written is the beginning of it.
    ExactBuffer little(pieces.room);
    code = 0;
    pending = 0;
    written = narrow(pieces.room);
    ozrsPackHuffContext_BZ2_16u8u(&code, &pending, little.data(), &written, state);
    require(same(little.span().first(wide(written)), target.span().first(wide(written))), "a beginning is written");
}

// The data as a description and symbols, in pieces; what comes out does not depend on them.
void decodeStream(std::span<const uint8_t> data, Pieces pieces) {
    const std::size_t alphaSize = 1 + data[0];
    const Bits bits = bitsOf(data.subspan(1));
    std::size_t position = 0;
    const auto description = Description::read(bits, position, alphaSize);

    int32_t size = 0;
    ozrsDecodeHuffGetSize_BZ2_8u16u(32767 * 50, &size);
    ExactBuffer memory(wide(size));
    auto* const state = reinterpret_cast<HuffDecState*>(memory.data());
    ozrsDecodeHuffInit_BZ2_8u16u(narrow(alphaSize), state);
    uint32_t code = 0;
    int32_t pending = 0;
    data = data.subspan(1);
    const auto call = [&](auto function) {
        ExactBuffer source(data.first(std::min(data.size(), pieces.source)));
        const uint8_t* at = source.data();
        int32_t left = narrow(source.size());
        const Status status = function(&at, &left);
        require(pending >= 0 && pending <= 32, "at most 32 bits are pending");
        data = data.subspan(source.size() - wide(left));
        return status;
    };
    Status status = StatusSourceExhausted;
    while (status == StatusSourceExhausted && !data.empty()) {
        status = call([&](const uint8_t** at, int32_t* left) {
            return ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, at, left, state);
        });
    }
    require((status == StatusOk) == description.has_value(), "the description is valid if the model finds it so");
    if (!description) {
        // A caller that goes on all the same gets nothing of use, but the calls keep to their buffers.
        for (unsigned round = 0; round < 20 && !data.empty(); ++round) {
            ExactBuffer target(2 * pieces.room);
            call([&](const uint8_t** at, int32_t* left) {
                int32_t length = narrow(pieces.room);
                ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, at, left, state);
                return ozrsDecodeHuff_BZ2_8u16u(&code, &pending, at, left, symbolsOf(target), &length, state);
            });
        }
        return;
    }
    const DecodedSymbols expected = decodeSymbols(*description, bits.substr(position));
    Symbols symbols;
    for (;;) {
        ExactBuffer target(2 * pieces.room);
        int32_t length = narrow(pieces.room);
        status = call([&](const uint8_t** at, int32_t* left) {
            return ozrsDecodeHuff_BZ2_8u16u(&code, &pending, at, left, symbolsOf(target), &length, state);
        });
        symbols.insert(symbols.end(), symbolsOf(target), symbolsOf(target) + length);
        const bool more = status == StatusDestinationFull || wide(length) == pieces.room || !data.empty();
        if (status < 0 || status == StatusOk || !more) break;
    }
    require(symbols == expected.symbols, "the symbols are the model's");
    require((status == StatusOk) == (expected.stop == DecodedSymbols::End),
            "the end is found where the model finds it");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto stage = input.take<uint8_t>();
    const Pieces pieces{std::size_t{1} + input.take<uint16_t>(), std::size_t{1} + input.take<uint16_t>()};
    if (input.rest().empty()) return 0;
    constexpr void (*kStages[])(std::span<const uint8_t>, Pieces) = {
        encodeRuns, decodeRuns, moveToFront, encodeZeros, decodeZeros, encodeSymbols, decodeStream};
    kStages[stage % std::size(kStages)](input.rest(), pieces);
    return 0;
}
