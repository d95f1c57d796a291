// The code lengths of a dynamic block: a code for code lengths, and the lengths in it.
#include "formats/deflate/block_header_reader.h"

#include <algorithm>
#include <array>

namespace ozrz::deflate {
namespace {

constexpr std::size_t kMaxLengths = kLitLenSymbols + kDistSymbols;

// What the next bits mean in the code of code lengths.
struct CodeLengthEntry {
    uint8_t symbol;
    uint8_t length;
};
using CodeLengthTable = std::array<CodeLengthEntry, 1U << kMaxCodeLengthCodeLength>;

CodeLengthTable readCodeLengthCode(BitReader& in, std::size_t count) {
    std::array<uint8_t, kCodeLengthSymbols> lengths{};
    for (std::size_t i = 0; i < count; ++i) {
        lengths[kCodeLengthOrder[i]] = static_cast<uint8_t>(in.take(kCodeLengthLengthBits));
    }
    // Codes in canonical order follow each other in the table when its index is read most significant bit first; the
    // entry's place is that index reversed. The next one is found by adding with the carry going down.
    CodeLengthTable table;
    unsigned place = 0;
    unsigned filled = 0;
    for (unsigned length = 1; length <= kMaxCodeLengthCodeLength; ++length) {
        for (unsigned symbol = 0; symbol < kCodeLengthSymbols; ++symbol) {
            if (lengths[symbol] != length) continue;
            filled += static_cast<unsigned>(table.size()) >> length;
            if (filled > table.size()) throw BadBlock("the code of its code lengths has too many codes");
            for (std::size_t i = place; i < table.size(); i += std::size_t{1} << length) {
                table[i] = {static_cast<uint8_t>(symbol), static_cast<uint8_t>(length)};
            }
            unsigned bit = 1U << (length - 1);
            while ((place & bit) != 0) {
                place ^= bit;
                bit >>= 1;
            }
            place |= bit;
        }
    }
    if (filled != table.size()) throw BadBlock("the code of its code lengths is incomplete");
    return table;
}

void readLengths(BitReader& in, const CodeLengthTable& table, uint16_t* lengths, std::size_t count) {
    for (std::size_t i = 0; i < count;) {
        // Near the end of the source there may be fewer bits than the longest code has.
        in.have(kMaxCodeLengthCodeLength);
        const CodeLengthEntry entry = table[in.peek(kMaxCodeLengthCodeLength)];
        in.take(entry.length);
        if (entry.symbol < kRepeatPrevious) {
            lengths[i++] = entry.symbol;
            continue;
        }
        const std::size_t kind = entry.symbol - kRepeatPrevious;
        const std::size_t repeats = kRepeatBase[kind] + in.take(kRepeatExtraBits[kind]);
        if (entry.symbol == kRepeatPrevious && i == 0) throw BadBlock("it repeats a code length that is not there");
        if (repeats > count - i) throw BadBlock("it has too many code lengths");
        std::fill_n(lengths + i, repeats, entry.symbol == kRepeatPrevious ? lengths[i - 1] : uint16_t{0});
        i += repeats;
    }
}

}  // namespace

void readDynamicHeader(BitReader& in, InflateState& state) {
    const std::size_t litLenCount = kMinLitLenCount + in.take(kLitLenCountBits);
    const std::size_t distCount = kMinDistCount + in.take(kDistCountBits);
    const std::size_t codeLengthCount = kMinCodeLengthCount + in.take(kCodeLengthCountBits);
    if (litLenCount > kLitLenSymbols || distCount > kDistSymbols) throw BadBlock("it has too many codes");
    const CodeLengthTable table = readCodeLengthCode(in, codeLengthCount);
    std::array<uint16_t, kMaxLengths> lengths;
    readLengths(in, table, lengths.data(), litLenCount + distCount);
    if (lengths[kEndOfBlock] == 0) throw BadBlock("it has no code for its end");
    const Status status = ozrsInflateBuildHuffTable(lengths.data(), static_cast<uint32_t>(litLenCount),
                                                    static_cast<uint32_t>(distCount), &state);
    if (status != StatusOk) throw BadBlock("its code lengths make no code");
}

}  // namespace ozrz::deflate
