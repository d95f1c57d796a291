// Encodes arbitrary bytes as a Deflate stream through the C++ face, in pieces, and decodes it again.
//
// Input: the level (1 byte; 30 and 31 are the single pass with the fixed and with a prepared code), the sizes of
// sources and of destinations (1 byte each), repetition (1), the source. A repetition of 7 modulo 8 repeats the source
// until it is longer than the encoders' buffers.
#include <algorithm>
#include <ozrdc/deflate.hpp>
#include <ozrdc/inflate.hpp>
#include <vector>

#include "fuzz_input.h"

using namespace ozrdc;
using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

namespace {

using Data = std::vector<uint8_t>;

template <Stream S>
Data encoded(S stream, std::span<const uint8_t> source, std::size_t sourceSize, std::size_t roomSize) {
    Data output;
    ExactBuffer room(roomSize);
    const auto collect = [&](Bytes made) {
        const auto* const p = reinterpret_cast<const uint8_t*>(made.data());
        output.insert(output.end(), p, p + made.size());
    };
    while (!source.empty()) {
        ExactBuffer piece(source.first(std::min(sourceSize, source.size())));
        const auto taken = update(stream, piece.span(), room.span(), collect);
        require(taken && *taken == piece.size(), "an encoder takes everything");
        source = source.subspan(piece.size());
    }
    require(finish(stream, room.span(), collect).has_value(), "a stream can be ended");
    return output;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const int32_t level = input.take<uint8_t>() % 32;
    std::size_t sourceSize = input.take<uint8_t>() + std::size_t{1};
    std::size_t roomSize = input.take<uint8_t>() * std::size_t{16} + 1;
    const bool repeated = input.take<uint8_t>() % 8 == 7;
    Data source(input.rest().begin(), input.rest().end());
    if (repeated && !source.empty()) {
        const std::size_t period = source.size();
        for (std::size_t i = period; i < 110000; ++i) {
            source.push_back(static_cast<uint8_t>(source[i - period] + (i % (3 * period + 1) == 0 ? 1 : 0)));
        }
        sourceSize *= 256;
        roomSize += 1000;
    }

    Data stream;
    if (level < 30) {
        stream = encoded(deflate::Encoder::create(level).value(), source, sourceSize, roomSize);
        require(stream.size() <= deflate::encodedBound(source.size()), "the bound holds");
    } else if (level == 30) {
        stream = encoded(deflate::FastEncoder::create().value(), source, sourceSize, roomSize);
        require(stream.size() <= deflate::fastEncodedBound(source.size()), "the bound of the single pass holds");
    } else {
        const auto code = deflate::PreparedCode::fromSample(std::span(source).first(source.size() / 2)).value();
        stream = encoded(deflate::FastEncoder::create(code).value(), source, sourceSize, roomSize);
    }
    ExactBuffer exact(stream);
    ExactBuffer back(source.size());
    const auto progress = inflate::decodePart(exact.span(), back.span());
    require(progress && *progress == Progress{stream.size(), source.size(), StatusOk}, "the stream decodes");
    require(std::ranges::equal(back.span(), source), "to the source");
    return 0;
}
