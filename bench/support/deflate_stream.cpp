// See the header.
#include "support/deflate_stream.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ozrdc::bench {
namespace {

constexpr unsigned kCodeLengthSymbols = 19;
constexpr unsigned kCodeLengthBits = 7;
constexpr std::array<uint8_t, kCodeLengthSymbols> kCodeLengthOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                                      11, 4,  12, 3, 13, 2, 14, 1, 15};
constexpr uint32_t kMaxLengths = 288 + 32;

// The symbols of the code of code lengths, by its next bits: symbol << 3 | bits. 0 where no code leads.
using CodeLengthTable = std::array<uint8_t, 1U << kCodeLengthBits>;

CodeLengthTable tableOf(const std::array<uint8_t, kCodeLengthSymbols>& lengths) {
    CodeLengthTable table{};
    unsigned code = 0;
    for (unsigned length = 1; length <= kCodeLengthBits; ++length, code <<= 1) {
        for (unsigned symbol = 0; symbol < kCodeLengthSymbols; ++symbol) {
            if (lengths[symbol] != length) continue;
            unsigned reversed = 0;
            for (unsigned bit = 0; bit < length; ++bit) reversed |= (code >> bit & 1) << (length - 1 - bit);
            for (size_t i = reversed; i < table.size(); i += size_t{1} << length) {
                table[i] = static_cast<uint8_t>(symbol << 3 | length);
            }
            ++code;
        }
    }
    return table;
}

}  // namespace

bool DeflateStream::nextPiece() {
    left_ = static_cast<uint32_t>(std::min<size_t>(piece_, static_cast<size_t>(end_ - next_)));
    return left_ > 0;
}

// Makes `count` bits available, if the source has them.
void DeflateStream::pull(unsigned count) {
    while (codeBits_ < count && (left_ > 0 || nextPiece())) {
        code_ |= uint32_t{*next_++} << codeBits_;
        --left_;
        codeBits_ += 8;
    }
}

uint32_t DeflateStream::take(unsigned count) {
    pull(count);
    const uint32_t bits = code_ & ((1U << count) - 1);
    code_ >>= count;
    codeBits_ -= std::min(codeBits_, count);
    return bits;
}

bool DeflateStream::readDynamicHeader() {
    const uint32_t litLenCount = take(5) + 257;
    const uint32_t distCount = take(5) + 1;
    const uint32_t codeLengthCount = take(4) + 4;
    std::array<uint8_t, kCodeLengthSymbols> codeLengths{};
    for (uint32_t i = 0; i < codeLengthCount; ++i) codeLengths[kCodeLengthOrder[i]] = static_cast<uint8_t>(take(3));
    const CodeLengthTable table = tableOf(codeLengths);

    std::array<uint16_t, kMaxLengths> lengths;
    const uint32_t count = litLenCount + distCount;
    for (uint32_t i = 0; i < count;) {
        pull(kCodeLengthBits);
        const unsigned entry = table[code_ & (table.size() - 1)];
        if (entry == 0) return false;
        take(entry & 7);
        const unsigned symbol = entry >> 3;
        if (symbol < 16) {
            lengths[i++] = static_cast<uint16_t>(symbol);
            continue;
        }
        const uint32_t repeats = symbol == 16 ? 3 + take(2) : symbol == 17 ? 3 + take(3) : 11 + take(7);
        if ((symbol == 16 && i == 0) || repeats > count - i) return false;
        std::fill_n(&lengths[i], repeats, symbol == 16 ? lengths[i - 1] : uint16_t{0});
        i += repeats;
    }
    return ozrsInflateBuildHuffTable(lengths.data(), litLenCount, distCount, &state_) == StatusOk;
}

bool DeflateStream::beginBlock() {
    lastBlock_ = take(1) != 0;
    const uint32_t type = take(2);
    mode_ = 0;
    stored_ = type == 0;
    inBlock_ = true;
    if (type == 0) {
        take(codeBits_ % 8);
        storedLeft_ = take(16);
        take(16);
        return true;
    }
    if (type == 1) {
        state_.tableKind = 0;
        return true;
    }
    return type == 2 && readDynamicHeader();
}

DeflateStream::Result DeflateStream::copyStored(DeflateSink& sink) {
    while (storedLeft_ > 0) {
        if (sink.room == 0) return Result::kMoreRoom;
        uint32_t n = 1;
        if (codeBits_ > 0) {
            *sink.next = static_cast<uint8_t>(take(8));
        } else if (left_ > 0 || nextPiece()) {
            n = std::min({storedLeft_, sink.room, left_});
            std::memcpy(sink.next, next_, n);
            next_ += n;
            left_ -= n;
        } else {
            return Result::kBroken;
        }
        sink.next += n;
        sink.room -= n;
        sink.history += n;
        storedLeft_ -= n;
    }
    return Result::kEnd;
}

DeflateStream::Result DeflateStream::decode(DeflateSink& sink) {
    for (;;) {
        if (!inBlock_ && !beginBlock()) return Result::kBroken;
        if (stored_) {
            if (const Result result = copyStored(sink); result != Result::kEnd) return result;
        } else {
            for (;;) {
                const uint32_t room = sink.room;
                if (ozrsInflate_8u(&next_, &left_, &code_, &codeBits_, sink.windowIndex, &sink.next, &sink.room,
                                   sink.history, &mode_, &state_) != StatusOk) {
                    return Result::kBroken;
                }
                sink.history += room - sink.room;
                if (mode_ == 0) break;
                if (sink.room == 0) return Result::kMoreRoom;
                if (left_ == 0 && !nextPiece()) return Result::kBroken;
            }
        }
        inBlock_ = false;
        if (lastBlock_) return Result::kEnd;
    }
}

}  // namespace ozrdc::bench
