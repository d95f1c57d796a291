// The stages of decompression, each one call of the library.
//
// Nothing of a block is believed before its CRC has been compared: sizes are those of the largest block there can be.
#include "formats/bzip2/block_decoder.h"

#include <algorithm>
#include <ozrdc/checksum.hpp>

#include "formats/bzip2/randomization.h"
#include "library.h"
#include "text.h"

namespace ozrz::bzip2 {
namespace {

// The content is kept up to this length. Run-length code can stand for fifty times as much: then it is expanded once
// for the CRC and once more for writing.
constexpr std::size_t kContentRoom = 2 * MiB;

// Each symbol stands for a byte at least, but the last, which is the end of the block.
constexpr std::size_t kMaxSymbols = kMaxBlockSize + 1;

// The decoder of symbols wants to see 20 bits even where fewer are left.
constexpr std::size_t kPadding = 3;

constexpr const char* kDecoding = "Huffman decoding";  // for messages

std::string tooLong() { return "it is longer than " + std::to_string(kMaxBlockSize) + " bytes"; }

}  // namespace

template <typename Take>
void DecodedBlock::expand(const Take& take) {
    constexpr const char* kStage = "run-length decoding";
    auto decoder = expect(ozrdc::bz2::RunLengthDecoder::create(), kStage);
    content_.require(kContentRoom);
    const MutableBytes room(content_.data(), kContentRoom);
    // Output begins at the room's beginning whenever it is taken.
    const auto passOn = [&](ozrdc::Bytes made) { take(Bytes(room.first(made.size()))); };
    expect(ozrdc::update(decoder, Bytes(runs.data(), size), room, passOn), kStage);
    expect(ozrdc::finish(decoder, room, passOn), kStage);
}

void DecodedBlock::unpack() {
    ozrdc::Crc32Bz2 computed;
    contentSize_ = 0;
    std::size_t parts = 0;
    expand([&](Bytes part) {
        computed.update(part);
        contentSize_ = part.size();
        ++parts;
    });
    whole_ = parts == 1;
    if (computed.value() != crc) {
        failure = "its CRC is " + hexText(computed.value()) + ", but should be " + hexText(crc);
    }
}

void DecodedBlock::writeTo(Sink& sink) {
    if (whole_) {
        sink.write({content_.data(), contentSize_});
    } else {
        expand([&](Bytes part) { sink.write(part); });
    }
}

BlockDecoder::BlockDecoder()
    : symbols_(kMaxSymbols * sizeof(uint16_t)),
      huffman_(expect(ozrdc::bz2::HuffmanDecoder::create(), kDecoding)),
      sorted_(expect(ozrdc::bz2::BlockDecoder::create(kMaxBlockSize), "undoing the block sort")) {}

std::span<uint16_t> BlockDecoder::allSymbols() { return {reinterpret_cast<uint16_t*>(symbols_.data()), kMaxSymbols}; }

bool BlockDecoder::begin(const Piece& piece, DecodedBlock& block) {
    phase_ = Phase::header;
    block.failure.clear();
    try {
        readHeader(piece);
    } catch (const DataError& error) {
        block.failure = error.what();
        return true;
    }
    return phase_ != Phase::header && resume(piece, block);
}

// The look ahead of the piece has all of it, unless the source ends inside.
void BlockDecoder::readHeader(const Piece& piece) {
    uint64_t position = piece.begin + kMarkBits;
    bool whole = true;
    const auto take = [&](unsigned count) {
        uint64_t value = 0;
        whole = whole && piece.bits(position, count, value);
        position += count;
        return static_cast<uint32_t>(value);
    };
    crc_ = take(kCrcBits);
    randomized_ = take(1) != 0;
    primaryIndex_ = take(kIndexBits);
    const uint32_t groups = take(kValueGroups);
    dictionary_ = 0;
    for (unsigned group = 0; group < kValueGroups; ++group) {
        const bool any = (groups << group & 0x8000) != 0;
        const uint32_t values = any ? take(kValueGroups) : 0;
        for (unsigned i = 0; i < kValueGroups; ++i) {
            const bool used = (values << i & 0x8000) != 0;
            inUse_[group * kValueGroups + i] = used ? 1 : 0;
            dictionary_ += used ? 1 : 0;
        }
    }
    if (!whole) return;
    if (primaryIndex_ >= kMaxBlockSize) throw DataError("its primary index is beyond any block");
    if (dictionary_ == 0) throw DataError("no byte values occur in it");

    expect(huffman_.start(dictionary_ + 2), kDecoding);
    phase_ = Phase::tables;
    count_ = 0;
    nextByte_ = (position + 7) / 8;
    const auto bits = static_cast<unsigned>(8 * nextByte_ - position);
    bits_ = {bits == 0 ? 0 : take(bits) << (32 - bits), static_cast<int32_t>(bits)};
}

bool BlockDecoder::resume(const Piece& piece, DecodedBlock& block) {
    if (phase_ == Phase::header) return false;  // the source ends before the header does
    return decodeMore(piece.bytes().subspan(static_cast<std::size_t>(nextByte_ - piece.firstByte())), block);
}

bool BlockDecoder::decodeMore(Bytes bytes, DecodedBlock& block) {
    Bytes rest = bytes;
    try {
        const bool complete = readTables(rest) && readSymbols(rest);
        nextByte_ += bytes.size() - rest.size();
        if (!complete) return false;
        block.end = 8 * nextByte_ - static_cast<uint64_t>(bits_.count);
        restoreRuns(block);
        block.unpack();
    } catch (const DataError& error) {
        block.failure = error.what();
    }
    return true;
}

// False if the source is used up.
bool BlockDecoder::readTables(Bytes& rest) {
    if (phase_ != Phase::tables) return true;
    if (rest.empty()) return false;
    const auto read = huffman_.readTables(bits_, rest);
    if (read.status() == StatusBadCodeTable) throw DataError("the description of its codes makes no sense");
    rest = rest.subspan(expect(read, kDecoding).consumed);
    if (read->status == StatusSourceExhausted) return false;
    phase_ = Phase::symbols;
    return true;
}

bool BlockDecoder::readSymbols(Bytes& rest) {
    const auto room = allSymbols().subspan(count_);
    if (room.empty()) throw DataError(tooLong());
    const auto read = huffman_.readSymbols(bits_, rest, room);
    if (read.status() == StatusError) throw DataError("a code in it stands for nothing");
    rest = rest.subspan(expect(read, kDecoding).consumed);
    count_ += read->produced;
    if (read->status == StatusDestinationFull) throw DataError(tooLong());
    return read->status == StatusOk;
}

void BlockDecoder::restoreRuns(DecodedBlock& block) {
    if (count_ == 0) throw DataError("it is empty");
    block.runs.require(kMaxBlockSize);
    const auto decoded = sorted_.decode(allSymbols().first(count_), primaryIndex_, inUse_,
                                        MutableBytes(block.runs.data(), kMaxBlockSize));
    if (decoded.status() == StatusSizeError) throw DataError("its primary index is beyond its end");
    // Symbols of these tables always are in the dictionary.
    if (decoded.status() == StatusError) throw DataError(tooLong());
    block.size = expect(decoded, "undoing the block sort").size();
    if (randomized_) undoRandomization({block.runs.data(), block.size});
    block.crc = crc_;
}

bool BlockDecoder::finish(DecodedBlock& block) {
    if (phase_ != Phase::symbols) return false;
    static constexpr std::array<uint8_t, kPadding> kZeros{};
    const uint64_t sourceEnd = 8 * nextByte_;
    return decodeMore(kZeros, block) && block.intact() && block.end <= sourceEnd;
}

}  // namespace ozrz::bzip2
