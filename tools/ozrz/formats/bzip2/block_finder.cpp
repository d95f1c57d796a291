// Finding block marks at any bit.
//
// Wherever a mark begins, its 48 bits fill at least five whole bytes. So one of its first four whole bytes stands at a
// multiple of four, counted from anywhere, and so does the pair of bytes that begins there. Of the 65536 pairs 32 occur
// in a mark in this way: looking at every fourth pair tells where to look closer.
#include "formats/bzip2/block_finder.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "formats/bzip2/layout.h"

namespace ozrz::bzip2 {
namespace {

constexpr std::size_t kStep = 4;
constexpr std::size_t kWindowSize = 128 * KiB;

// Longer than what blocks usually take. Those that are still longer come in several pieces.
constexpr std::size_t kMaxPieceSize = 1 * MiB;

static_assert(8 * BlockFinder::kLookAhead >= 7 + kMaxBlockHeaderBits);
static_assert(BlockFinder::kLookAhead >= kFinderSlack);

using PairSet = std::array<uint64_t, 65536 / 64>;

// The pairs of bytes 1 to 4 behind the byte in which a mark begins, and of the byte behind each.
constexpr PairSet kMarkPairs = [] {
    PairSet pairs{};
    for (unsigned byte = 1; byte <= kStep; ++byte) {
        for (unsigned bit = 0; bit < 8; ++bit) {
            const unsigned inMark = 8 * byte - bit;
            const auto pair = static_cast<uint16_t>(kBlockMark >> (kMarkBits - inMark - 16));
            pairs[pair / 64] |= uint64_t{1} << pair % 64;
        }
    }
    return pairs;
}();

bool mayBeInMark(const uint8_t* pair) {
    const auto number = loadBigEndian<uint16_t>(pair);
    return (kMarkPairs[number / 64] >> number % 64 & 1) != 0;
}

}  // namespace

std::size_t findBlockMark(const uint8_t* bytes, std::size_t from, std::size_t end) {
    for (std::size_t first = from / 8; first < end; first += kStep) {
        if (!mayBeInMark(bytes + first + kStep)) continue;
        for (std::size_t i = first; i < std::min(first + kStep, end); ++i) {
            const auto word = loadBigEndian<uint64_t>(bytes + i);
            for (unsigned bit = 0; bit < 8; ++bit) {
                const std::size_t position = 8 * i + bit;
                if (word << bit >> (64 - kMarkBits) == kBlockMark && position >= from) return position;
            }
        }
    }
    return kNoMark;
}

bool Piece::bits(uint64_t position, unsigned count, uint64_t& value) const {
    const auto at = static_cast<std::size_t>(position - 8 * firstByte());
    if (at + count > 8 * size) return false;
    std::array<uint8_t, 8> word{};
    std::memcpy(word.data(), memory.data() + at / 8, std::min(word.size(), size - at / 8));
    value = loadBigEndian<uint64_t>(word.data()) << at % 8 >> (64 - count);
    return true;
}

BlockFinder::BlockFinder(Source& source) : source_(source), window_(kLookAhead + kWindowSize + kFinderSlack) {}

// Moves the window on. Bytes from `keepFrom` on, at most `kLookAhead`, stay in it.
bool BlockFinder::refill(uint64_t keepFrom) {
    if (ended_) return false;
    const auto kept = static_cast<std::size_t>(windowEnd_ - keepFrom);
    std::memmove(window_.data(), window_.data() + (keepFrom - windowBegin_), kept);
    const std::size_t count = source_.read({window_.data() + kept, kWindowSize});
    windowBegin_ = keepFrom;
    windowEnd_ += count;
    ended_ = count < kWindowSize;
    if (ended_) std::memset(window_.data() + kept + count, 0, kFinderSlack);
    return true;
}

bool BlockFinder::next(Piece& piece) {
    piece.begin = begin_;
    piece.atMark = atMark_;
    piece.size = 0;
    piece.memory.require(kMaxPieceSize + kWindowSize + kLookAhead);
    const auto append = [&](uint64_t from, uint64_t to) {
        std::memcpy(piece.memory.data() + piece.size, window_.data() + (from - windowBegin_), to - from);
        piece.size += static_cast<std::size_t>(to - from);
    };

    uint64_t at = begin_ / 8;
    uint64_t from = begin_ + (atMark_ ? 1 : 0);
    for (;;) {
        // What is looked at has the look ahead behind it.
        const uint64_t limit = ended_ ? windowEnd_ : windowEnd_ - std::min<uint64_t>(windowEnd_, kLookAhead);
        if (at >= limit) {
            if (refill(at)) continue;
            break;
        }
        const std::size_t mark =
            findBlockMark(window_.data(), static_cast<std::size_t>(from - 8 * windowBegin_), limit - windowBegin_);
        if (mark != kNoMark) {
            begin_ = 8 * windowBegin_ + mark;
            atMark_ = true;
            append(at, std::min(windowEnd_, begin_ / 8 + kLookAhead));
            piece.end = begin_;
            return true;
        }
        append(at, limit);
        at = limit;
        from = std::max(from, 8 * at);
        if (piece.size >= kMaxPieceSize) break;
    }
    atMark_ = false;
    if (8 * at <= begin_) return false;
    begin_ = piece.end = 8 * at;
    append(at, std::min(windowEnd_, at + kLookAhead));
    return true;
}

}  // namespace ozrz::bzip2
