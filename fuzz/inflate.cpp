// Decodes arbitrary bytes as a raw Deflate stream, cut into calls in arbitrary places, with the history anywhere, and
// compares every call with a plain account of what it must do.
//
// Input: how source and destination are cut and where the history stands (4 bytes each, seeds), the most bytes that a
// call is given of either (1 byte each, powers of two), the reach of the history (2 bytes), flags (1), the stream. With
// flag 1 the stream is one block without a header, with codes that the seeds choose, or the fixed one with flag 4.

#include <algorithm>
#include <cstdio>

#include "fuzz_input.h"
#include "inflate/checked_decoder.h"
#include "inflate/random_blocks.h"
#include "support/sample_data.h"

namespace {

using namespace ozrdc::test;
using namespace ozrdc::test::inflate;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

struct Cuts {
    Random source;
    Random placement;
    uint64_t mostSource;
    uint64_t mostRoom;
    std::size_t reach;
};

void requireThat(const ::testing::AssertionResult& result) { require(result, result.message()); }

// Decodes the block that begins at the decoder's position; false if it does not end.
bool decodeBlock(CheckedDecoder& decoder, const BlockCodes& codes, Tables tables, std::size_t streamSize, Cuts& cuts) {
    if (tables == Tables::Built) {
        const Verdict expected = verdict(codes);
        if (expected.status != StatusOk) {
            InflateState state{};
            const Status status =
                ozrsInflateBuildHuffTable(codes.joined().data(), static_cast<uint32_t>(codes.literals.size()),
                                          static_cast<uint32_t>(codes.distances.size()), &state);
            require(status == expected.status, "codes are refused that have to be");
            return false;
        }
    }
    requireThat(decoder.beginBlock(codes, tables));
    std::size_t given = 0;
    for (int calls = 0; !decoder.blockEnded(); ++calls) {
        const bool all = given >= streamSize;
        given += cuts.source.below(cuts.mostSource + 1);
        if (calls > 2000) given = streamSize;
        const std::size_t room = all || calls > 2000 ? decoder.bytesLeft() : cuts.source.below(cuts.mostRoom + 1);
        requireThat(decoder.call(given, room, randomPlacement(cuts.placement, cuts.reach, cuts.reach),
                                 static_cast<unsigned>(cuts.source.below(5))));
        if (decoder.failed() || all) break;
    }
    return decoder.blockEnded();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    Cuts cuts{Random(input.take<uint32_t>()), Random(input.take<uint32_t>()), uint64_t{1} << input.take<uint8_t>() % 16,
              uint64_t{1} << input.take<uint8_t>() % 16, std::size_t{1} + input.take<uint16_t>() % 32768};
    const auto flags = input.take<uint8_t>();
    const std::vector<uint8_t> stream(input.rest().begin(), input.rest().end());
    if (stream.empty()) return 0;

    static const std::vector<uint8_t> history = periodicSample(32768, 32749, 1);
    CheckedDecoder decoder(stream, history, (flags & 2) != 0 ? Guard::After : Guard::Before);
    if ((flags & 1) != 0) {
        const bool fixed = (flags & 4) != 0;
        decodeBlock(decoder, fixed ? deflate::fixedCodes() : randomCodes(cuts.placement),
                    fixed ? Tables::Fixed : Tables::Built, stream.size(), cuts);
        return 0;
    }
    for (bool last = false; !last && decoder.outputSize() < 1000000;) {
        deflate::BitReader reader(stream, decoder.position());
        const auto header = deflate::readHeader(reader);
        if (!header) break;
        last = header->last;
        if (header->type == 0) {
            const std::size_t begin = reader.position() / 8;
            if (header->storedSize > stream.size() - begin) break;
            decoder.append(deflate::ByteView(stream).subspan(begin, header->storedSize));
            decoder.moveTo(reader.position() + 8 * header->storedSize);
            continue;
        }
        decoder.moveTo(reader.position());
        const Tables tables = header->type == 1 ? Tables::Fixed : Tables::Built;
        if (!decodeBlock(decoder, header->codes, tables, stream.size(), cuts)) break;
    }
    return 0;
}
