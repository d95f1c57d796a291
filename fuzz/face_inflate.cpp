// Decodes arbitrary bytes as a Deflate stream through the C++ face, in one piece and in pieces, and has zlib judge the
// result.
//
// Input: the sizes of sources and of destinations (1 byte each), the stream.
#include <zlib.h>

#include <algorithm>
#include <ozrdc/inflate.hpp>
#include <vector>

#include "fuzz_input.h"

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

namespace {

constexpr std::size_t kCapacity = 100000;

struct Judgment {
    bool whole;
    std::size_t consumed;
    std::vector<uint8_t> bytes;
};

Judgment judge(std::span<const uint8_t> stream) {
    Judgment judgment{false, 0, std::vector<uint8_t>(kCapacity)};
    z_stream z{};
    require(inflateInit2(&z, -15) == Z_OK, "zlib is there");
    z.next_in = const_cast<uint8_t*>(stream.data());
    z.avail_in = static_cast<uInt>(stream.size());
    z.next_out = judgment.bytes.data();
    z.avail_out = kCapacity;
    judgment.whole = inflate(&z, Z_FINISH) == Z_STREAM_END;
    judgment.consumed = z.total_in;
    judgment.bytes.resize(z.total_out);
    inflateEnd(&z);
    return judgment;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const std::size_t sourceSize = input.take<uint8_t>() + std::size_t{1};
    const std::size_t roomSize = input.take<uint8_t>() * std::size_t{16} + 1;
    ExactBuffer stream(input.rest());
    const Judgment judgment = judge(stream.span());

    ExactBuffer target(kCapacity);
    const auto whole = ozrdc::inflate::decodePart(stream.span(), target.span());
    const bool ended = whole && whole->status == StatusOk;
    if (judgment.whole) {
        require(ended, "a stream that zlib takes is decoded");
        require(whole->consumed == judgment.consumed, "it ends where it ends");
        require(std::ranges::equal(target.span().first(whole->produced), judgment.bytes), "to the same bytes");
    }

    auto decoder = ozrdc::inflate::Decoder::create().value();
    std::vector<uint8_t> output;
    std::size_t consumed = 0;
    Status status = StatusOk;
    ExactBuffer room(roomSize);
    while (!decoder.done() && output.size() < kCapacity) {
        ExactBuffer piece(stream.span().subspan(consumed, std::min(sourceSize, stream.size() - consumed)));
        const auto progress = decoder.update(piece.span(), room.span());
        status = progress.status();
        if (!progress) break;
        consumed += progress->consumed;
        const auto made = room.span().first(progress->produced);
        output.insert(output.end(), made.begin(), made.end());
        if (progress->consumed == 0 && progress->produced == 0 && !decoder.done()) break;  // the source is used up
    }
    if (ended) {
        require(decoder.done() && consumed == whole->consumed, "in pieces it ends at the same place");
        require(std::ranges::equal(target.span().first(whole->produced), output), "with the same bytes");
    } else if (!whole) {
        require(status == whole.status() || output.size() >= kCapacity, "in pieces it fails in the same way");
    }
    return 0;
}
