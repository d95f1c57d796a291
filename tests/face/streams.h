// Running streams of the face in pieces of given sizes.
#pragma once

#include <gtest/gtest.h>

#include <ozrdc.hpp>
#include <span>
#include <vector>

namespace ozrdc::test {

using Data = std::vector<uint8_t>;

struct Pieces {
    std::size_t source;
    std::size_t room;
};

// Sizes that cut everything everywhere, and some that cut little.
inline constexpr std::array<Pieces, 5> kPieces{{{1, 1}, {1, 5000}, {5000, 1}, {4093, 777}, {1 << 20, 1 << 20}}};

// The output of a stream that is given all of the source and ended, or the status of what failed.
template <Stream S>
Result<Data> run(S& stream, std::span<const uint8_t> source, Pieces pieces) {
    Data output;
    Data room(pieces.room);
    const auto collect = [&](Bytes made) {
        const auto* const p = reinterpret_cast<const uint8_t*>(made.data());
        output.insert(output.end(), p, p + made.size());
    };
    while (!source.empty()) {
        const auto piece = source.first(std::min(pieces.source, source.size()));
        const auto consumed = update(stream, piece, room, collect);
        if (!consumed) return Failure{consumed.status()};
        EXPECT_LE(*consumed, piece.size());
        if (*consumed < piece.size()) break;  // the stream has ended
        source = source.subspan(*consumed);
    }
    const auto finished = finish(stream, room, collect);
    if (!finished) return Failure{finished.status()};
    return output;
}

inline Data copy(Bytes bytes) {
    const auto* const p = reinterpret_cast<const uint8_t*>(bytes.data());
    return {p, p + bytes.size()};
}

}  // namespace ozrdc::test
