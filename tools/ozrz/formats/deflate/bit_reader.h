// Reads bits, least significant first, and bytes from a source: what stands between compressed blocks.
#pragma once

#include <string>
#include <string_view>

#include "formats/deflate/read_ahead.h"

namespace ozrz::deflate {

// Shares its bit buffer with the library's decoder, which takes over wherever the reader stands, and the reader after
// it.
class BitReader {
  public:
    explicit BitReader(ReadAhead& input) : input_(input) {}

    // Whether `count` more bits, at most 24, are there.
    bool have(unsigned count);

    // The next bits, which must be there: have() has said so, or take() throws DataError.
    uint32_t peek(unsigned count) const { return code_ & ((1U << count) - 1); }
    void drop(unsigned count) {
        code_ >>= count;
        codeBits_ -= count;
    }
    uint32_t take(unsigned count);

    // Passes over what is left of the current byte.
    void align() { drop(codeBits_ & 7U); }

    // At the beginning of a byte.
    uint8_t takeByte() { return static_cast<uint8_t>(take(8)); }
    template <typename Word>
    Word takeLittleEndian() {
        Word value = 0;
        for (unsigned i = 0; i < sizeof(Word); ++i) value = static_cast<Word>(value | Word{takeByte()} << (8 * i));
        return value;
    }

    // Copies bytes, at least one unless `into` is empty or the source has ended; returns how many.
    std::size_t read(MutableBytes into);

    // Bytes taken so far; a byte that is taken in part counts.
    uint64_t position() const { return pieceEnd_ - left_ - codeBits_ / 8; }

    // What is being read, for the message of its end: "truncated: the data end inside ...".
    void setPlace(std::string_view place) { place_ = place; }
    [[noreturn]] void failTruncated() const;

    // Calls the library's decoder with the source and the bit buffer, all of which it updates.
    template <typename Decoder>
    auto lend(const Decoder& decoder) {
        return decoder(&next_, &left_, &code_, &codeBits_);
    }

    // Makes more of the source available to it; false at the end.
    bool refill();

  private:
    ReadAhead& input_;
    const uint8_t* next_ = reinterpret_cast<const uint8_t*>("");  // never null, even before the first piece
    uint32_t left_ = 0;
    uint32_t code_ = 0;
    uint32_t codeBits_ = 0;
    uint64_t pieceEnd_ = 0;  // in the source
    std::string_view place_ = "the data";
};

}  // namespace ozrz::deflate
