// The header of a dynamic block: the lengths of its two codes, run-length coded and then coded with a third code.
#pragma once

#include <array>
#include <span>

#include "formats/deflate/bit_writer.h"
#include "formats/deflate/prefix_code.h"
#include "formats/deflate/symbols.h"

namespace ozrz::deflate {

// The lengths of the two codes of a block.
struct BlockCodeLengths {
    std::array<uint8_t, kLitLenSymbols> litLen;
    std::array<uint8_t, kDistSymbols> dist;
};

class DynamicHeader {
  public:
    explicit DynamicHeader(const BlockCodeLengths& lengths);

    // What write() writes: everything behind the block's type.
    unsigned bits() const { return bits_; }
    void write(BitWriter& out) const;

  private:
    struct Item {
        uint8_t symbol;
        uint8_t repeats;  // the value of the extra bits
    };

    void addRun(uint8_t length, std::size_t count);
    void add(unsigned symbol, std::size_t repeats);
    void count();

    std::size_t litLenCount_ = 0;
    std::size_t distCount_ = 0;
    std::size_t codeLengthCount_ = 0;
    std::array<Item, kLitLenSymbols + kDistSymbols> items_;
    std::size_t itemCount_ = 0;
    std::array<uint32_t, kCodeLengthSymbols> frequencies_{};
    std::array<uint8_t, kCodeLengthSymbols> lengths_;
    unsigned bits_ = 0;
};

}  // namespace ozrz::deflate
