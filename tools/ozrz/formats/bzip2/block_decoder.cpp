// The stages of decompression, each one call of the library.
//
// Nothing of a block is believed before its CRC has been compared: sizes are those of the largest block there can be.
#include "formats/bzip2/block_decoder.h"

#include <algorithm>

#include "formats/bzip2/library.h"
#include "formats/bzip2/randomization.h"
#include "text.h"

namespace ozrz::bzip2 {
namespace {

// The content is kept up to this length. Run-length code can stand for fifty times as much: then it is expanded once
// for the CRC and once more for writing.
constexpr std::size_t kContentRoom = 2 * MiB;

// Descriptions can have this many selectors, for 50 symbols each, whatever the length of the block.
constexpr int32_t kMaxSelectors = 32767;
constexpr int32_t kSymbolsPerSelector = 50;

// Each symbol stands for a byte at least, but the last, which is the end of the block.
constexpr std::size_t kMaxSymbols = kMaxBlockSize + 1;

// The decoder of symbols wants to see 20 bits even where fewer are left.
constexpr std::size_t kPadding = 3;

std::string tooLong() { return "it is longer than " + std::to_string(kMaxBlockSize) + " bytes"; }

}  // namespace

template <typename Take>
void DecodedBlock::expand(const Take& take) {
    Buffer memory(sizeFrom(ozrsRLEGetSize_BZ2_8u));
    auto* const state = stateIn<RLEState>(memory);
    expectOk(ozrsDecodeRLEStateInit_BZ2_8u(state), "run-length decoding");
    content_.require(kContentRoom);
    const uint8_t* next = runs.data();
    auto left = static_cast<int32_t>(size);
    for (bool more = true; more;) {
        uint8_t* to = content_.data();
        auto room = static_cast<int32_t>(kContentRoom);
        Status status = StatusDestinationFull;
        while (left > 0 && room > 0) {
            status = ozrsDecodeRLEState_BZ2_8u(&next, &left, &to, &room, state);
            if (status != StatusDestinationFull) expectOk(status, "run-length decoding");
        }
        if (room > 0) {
            status = ozrsDecodeRLEStateFlush_BZ2_8u(state, &to, &room);
            if (status != StatusDestinationFull) expectOk(status, "run-length decoding");
            more = status == StatusDestinationFull;
        }
        take(Bytes(content_.data(), to));
    }
}

void DecodedBlock::unpack() {
    uint32_t computed = 0;
    contentSize_ = 0;
    std::size_t parts = 0;
    expand([&](Bytes part) {
        if (part.empty()) return;
        expectOk(ozrsCRC32_BZ2_8u(part.data(), static_cast<int32_t>(part.size()), &computed), "the CRC");
        contentSize_ = part.size();
        ++parts;
    });
    whole_ = parts == 1;
    if (computed != crc) failure = "its CRC is " + hexText(computed) + ", but should be " + hexText(crc);
}

void DecodedBlock::writeTo(Sink& sink) {
    if (whole_) {
        sink.write({content_.data(), contentSize_});
    } else {
        expand([&](Bytes part) { sink.write(part); });
    }
}

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

    tables_.require(sizeFrom(
        [](int32_t* bytes) { return ozrsDecodeHuffGetSize_BZ2_8u16u(kMaxSelectors * kSymbolsPerSelector, bytes); }));
    symbols_.require(kMaxSymbols * sizeof(uint16_t));
    expectOk(ozrsDecodeHuffInit_BZ2_8u16u(dictionary_ + 2, stateIn<HuffDecState>(tables_)), "Huffman decoding");
    phase_ = Phase::tables;
    count_ = 0;
    nextByte_ = (position + 7) / 8;
    const auto bits = static_cast<unsigned>(8 * nextByte_ - position);
    code_ = bits == 0 ? 0 : take(bits) << (32 - bits);
    codeBits_ = static_cast<int32_t>(bits);
}

bool BlockDecoder::resume(const Piece& piece, DecodedBlock& block) {
    if (phase_ == Phase::header) return false;  // the source ends before the header does
    return decodeMore(piece.bytes().subspan(static_cast<std::size_t>(nextByte_ - piece.firstByte())), block);
}

bool BlockDecoder::decodeMore(Bytes bytes, DecodedBlock& block) {
    const uint8_t* next = bytes.data();
    auto left = static_cast<int32_t>(bytes.size());
    try {
        const bool complete = readTables(next, left) && readSymbols(next, left);
        nextByte_ += static_cast<uint64_t>(next - bytes.data());
        if (!complete) return false;
        block.end = 8 * nextByte_ - static_cast<uint64_t>(codeBits_);
        restoreRuns(block);
        block.unpack();
    } catch (const DataError& error) {
        block.failure = error.what();
    }
    return true;
}

// False if the source is used up.
bool BlockDecoder::readTables(const uint8_t*& next, int32_t& left) {
    if (phase_ != Phase::tables) return true;
    if (left == 0) return false;
    const Status status =
        ozrsUnpackHuffContext_BZ2_8u16u(&code_, &codeBits_, &next, &left, stateIn<HuffDecState>(tables_));
    if (status == StatusSourceExhausted) return false;
    if (status == StatusBadCodeTable) throw DataError("the description of its codes makes no sense");
    expectOk(status, "Huffman decoding");
    phase_ = Phase::symbols;
    return true;
}

bool BlockDecoder::readSymbols(const uint8_t*& next, int32_t& left) {
    auto count = static_cast<int32_t>(kMaxSymbols - count_);
    if (count == 0) throw DataError(tooLong());
    const Status status = ozrsDecodeHuff_BZ2_8u16u(&code_, &codeBits_, &next, &left,
                                                   reinterpret_cast<uint16_t*>(symbols_.data()) + count_, &count,
                                                   stateIn<HuffDecState>(tables_));
    count_ += static_cast<std::size_t>(count);
    if (status == StatusSourceExhausted) return false;
    if (status == StatusDestinationFull) throw DataError(tooLong());
    if (status == StatusError) throw DataError("a code in it stands for nothing");
    expectOk(status, "Huffman decoding");
    return true;
}

void BlockDecoder::restoreRuns(DecodedBlock& block) {
    if (count_ == 0) throw DataError("it is empty");
    auto size = static_cast<int32_t>(kMaxBlockSize);
    links_.require(sizeFrom([](int32_t* bytes) { return ozrsDecodeBlockGetSize_BZ2_8u(kMaxBlockSize, bytes); }));
    block.runs.require(kMaxBlockSize);
    const Status status = ozrsDecodeBlock_BZ2_16u8u(
        reinterpret_cast<const uint16_t*>(symbols_.data()), static_cast<int32_t>(count_), block.runs.data(), &size,
        static_cast<int32_t>(primaryIndex_), dictionary_, inUse_.data(), links_.data());
    // Symbols of these tables always are in the dictionary.
    if (status == StatusError) throw DataError(tooLong());
    expectOk(status, "undoing the block sort");
    block.size = static_cast<std::size_t>(size);
    if (primaryIndex_ >= block.size) throw DataError("its primary index is beyond its end");
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
