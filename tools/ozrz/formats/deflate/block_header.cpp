// Writing dynamic block headers.
#include "formats/deflate/block_header.h"

#include <algorithm>

namespace ozrz::deflate {
namespace {

unsigned extraBits(unsigned symbol) {
    return symbol < kRepeatPrevious ? 0 : kRepeatExtraBits[symbol - kRepeatPrevious];
}

// The most repetitions that one symbol stands for.
std::size_t maxRepeats(unsigned symbol) {
    return kRepeatBase[symbol - kRepeatPrevious] + (std::size_t{1} << extraBits(symbol)) - 1;
}

// How many lengths are sent: trailing zeros are not.
std::size_t sentCount(std::span<const uint8_t> lengths, std::size_t minimum) {
    std::size_t count = lengths.size();
    while (count > minimum && lengths[count - 1] == 0) --count;
    return count;
}

}  // namespace

DynamicHeader::DynamicHeader(const BlockCodeLengths& lengths)
    : litLenCount_(sentCount(lengths.litLen, kMinLitLenCount)), distCount_(sentCount(lengths.dist, kMinDistCount)) {
    // Both codes' lengths are one sequence: runs go on from one to the other.
    std::array<uint8_t, kLitLenSymbols + kDistSymbols> all;
    const auto middle = std::copy_n(lengths.litLen.begin(), litLenCount_, all.begin());
    const auto end = std::copy_n(lengths.dist.begin(), distCount_, middle);
    for (auto run = all.begin(); run != end;) {
        const auto next = std::find_if(run, end, [run](uint8_t length) { return length != *run; });
        addRun(*run, static_cast<std::size_t>(next - run));
        run = next;
    }
    makeCodeLengths(frequencies_, kMaxCodeLengthCodeLength, lengths_.data());
    count();
}

void DynamicHeader::addRun(uint8_t length, std::size_t count) {
    if (length == 0) {
        while (count >= kRepeatBase[kRepeatZero - kRepeatPrevious]) {
            const unsigned symbol =
                count >= kRepeatBase[kRepeatZeroLong - kRepeatPrevious] ? kRepeatZeroLong : kRepeatZero;
            const std::size_t repeats = std::min(count, maxRepeats(symbol));
            add(symbol, repeats);
            count -= repeats;
        }
    } else {
        add(length, 0);
        --count;
        while (count >= kRepeatBase[0]) {
            std::size_t repeats = std::min(count, maxRepeats(kRepeatPrevious));
            // A rest too short for a repetition of its own is better shared: 7 as 4 + 3, 8 as 5 + 3 or 4 + 4.
            const std::size_t rest = count - repeats;
            if (rest == 1 || rest == 2) repeats -= kRepeatBase[0] - rest;
            add(kRepeatPrevious, repeats);
            count -= repeats;
        }
    }
    for (; count > 0; --count) add(length, 0);
}

void DynamicHeader::add(unsigned symbol, std::size_t repeats) {
    const std::size_t extra = symbol < kRepeatPrevious ? 0 : repeats - kRepeatBase[symbol - kRepeatPrevious];
    items_[itemCount_++] = {static_cast<uint8_t>(symbol), static_cast<uint8_t>(extra)};
    ++frequencies_[symbol];
}

void DynamicHeader::count() {
    codeLengthCount_ = kCodeLengthSymbols;
    while (codeLengthCount_ > kMinCodeLengthCount && lengths_[kCodeLengthOrder[codeLengthCount_ - 1]] == 0) {
        --codeLengthCount_;
    }
    bits_ = kLitLenCountBits + kDistCountBits + kCodeLengthCountBits +
            kCodeLengthLengthBits * static_cast<unsigned>(codeLengthCount_);
    for (unsigned symbol = 0; symbol < kCodeLengthSymbols; ++symbol) {
        bits_ += frequencies_[symbol] * (lengths_[symbol] + extraBits(symbol));
    }
}

void DynamicHeader::write(BitWriter& out) const {
    out.put(static_cast<uint32_t>(litLenCount_ - kMinLitLenCount), kLitLenCountBits);
    out.put(static_cast<uint32_t>(distCount_ - kMinDistCount), kDistCountBits);
    out.put(static_cast<uint32_t>(codeLengthCount_ - kMinCodeLengthCount), kCodeLengthCountBits);
    for (std::size_t i = 0; i < codeLengthCount_; ++i) out.put(lengths_[kCodeLengthOrder[i]], kCodeLengthLengthBits);
    std::array<DeflateHuffCode, kCodeLengthSymbols> codes;
    assignCodes(lengths_, codes.data());
    for (std::size_t i = 0; i < itemCount_; ++i) {
        const auto [symbol, repeats] = items_[i];
        out.put(codes[symbol].code, codes[symbol].len);
        out.put(repeats, extraBits(symbol));
    }
}

}  // namespace ozrz::deflate
