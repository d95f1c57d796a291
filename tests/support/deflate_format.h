// The Deflate format (RFC 1951), a second time and as plainly as possible: one bit after another, one symbol after
// another. Streams are taken apart into symbols with the place of every bit, so that a test can tell what a decoder
// must have done when it stops anywhere; and streams are put together from symbols of the test's choice.
//
// Positions in streams are counted in bits: bit n is bit n % 8 (the lowest is 0) of byte n / 8.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ozrdc::test::deflate {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

// --- Bits -----------------------------------------------------------------------------------------------------------

class BitWriter {
  public:
    // The low `count` bits, the lowest first.
    void put(uint64_t bits, unsigned count);

    std::size_t size() const { return size_; }     // in bits
    const Bytes& bytes() const { return bytes_; }  // the last one filled up with zeros
    void alignToByte() { size_ = 8 * bytes_.size(); }

  private:
    Bytes bytes_;
    std::size_t size_ = 0;
};

class BitReader {
  public:
    explicit BitReader(ByteView bytes, std::size_t position = 0) : bytes_(bytes), position_(position) {}

    // The next `count` bits, the first one lowest; nothing if the stream ends before.
    std::optional<uint32_t> take(unsigned count);

    void alignToByte() { position_ = (position_ + 7) / 8 * 8; }
    std::size_t position() const { return position_; }
    void moveTo(std::size_t position) { position_ = position; }
    ByteView bytes() const { return bytes_; }

  private:
    ByteView bytes_;
    std::size_t position_;
};

// `count` bits of a stream from a position on, the first one lowest; zeros behind its end.
uint64_t bitsAt(ByteView bytes, std::size_t position, unsigned count);

// --- Codes ----------------------------------------------------------------------------------------------------------

constexpr unsigned kMaxCodeLength = 15;
constexpr unsigned kEndOfBlock = 256;
constexpr unsigned kFirstLength = 257;

using Lengths = std::vector<uint16_t>;

// A code as it is sent: its first bit is the lowest.
struct Code {
    uint16_t bits = 0;
    uint16_t length = 0;  // 0: the symbol has none
};

// The canonical codes of these lengths.
std::vector<Code> canonicalCodes(std::span<const uint16_t> lengths);

// What a code with these lengths is: the sum of 2^-length, in units of 2^-15, compared with 1.
enum class Completeness { Empty, Incomplete, Complete, Oversubscribed };
Completeness completeness(std::span<const uint16_t> lengths);

unsigned longest(std::span<const uint16_t> lengths);

// The two codes of a block.
struct BlockCodes {
    Lengths literals;  // literals, end of block, lengths
    Lengths distances;

    Lengths joined() const;  // one behind the other
};

// 288 and 30 lengths.
BlockCodes fixedCodes();

// Codes (0 to 28, 0 to 29) with their extra bits.
struct CodeRange {
    uint16_t first;  // shortest length or distance
    uint8_t extraBits;
};
extern const std::array<CodeRange, 29> kLengthCodes;
extern const std::array<CodeRange, 30> kDistanceCodes;
unsigned lengthCode(unsigned length);      // of a match length from 3 to 258
unsigned distanceCode(unsigned distance);  // of a distance from 1 to 32768

// --- Blocks ---------------------------------------------------------------------------------------------------------

struct BlockHeader {
    bool last = false;
    unsigned type = 0;           // 0 stored, 1 fixed, 2 dynamic
    std::size_t storedSize = 0;  // of a stored block
    BlockCodes codes;            // of the others
};

// Reads a block's header, up to the first symbol or the first stored byte; nothing if it is cut short or not valid.
std::optional<BlockHeader> readHeader(BitReader& reader);

// Writes the header of a dynamic block, without any run-length coding.
void writeDynamicHeader(BitWriter& writer, const BlockCodes& codes, bool last);

// --- Symbols --------------------------------------------------------------------------------------------------------

struct Symbol {
    enum class Kind {
        Literal,
        Match,
        EndOfBlock,
        Invalid,  // no literal/length code begins so, or it is a symbol without meaning
        InvalidDistance,
        Incomplete  // the stream ends inside
    };
    Kind kind = Kind::Incomplete;
    uint8_t literal = 0;
    unsigned length = 0;
    unsigned distance = 0;

    // Where it begins, where the literal/length code ends, and where all of it ends. An invalid symbol ends when as
    // many bits as the longest code has were seen; that it is invalid was `certain` from some bit on. Of an incomplete
    // symbol only the beginning counts (and the end of its first code, if that is there).
    std::size_t begin = 0;
    std::size_t codeEnd = SIZE_MAX;
    std::size_t certain = SIZE_MAX;
    std::size_t end = SIZE_MAX;
};

// How symbols 286 and 287 are read: as invalid, or as the literal 0.
enum class UnusedSymbols { Invalid, LiteralZero };

// The symbols of one block from a position on. The last one is the end of the block, an invalid or an incomplete one.
std::vector<Symbol> readSymbols(ByteView stream, std::size_t position, const BlockCodes& codes, UnusedSymbols unused);

// Appends what the symbols decode to, as far as they are valid and reach back no further than `output` does. True if
// the end of the block was reached.
bool execute(std::span<const Symbol> symbols, Bytes& output);

// The whole stream, decoded; nothing if it is not valid. `end` is told where the last block ended.
std::optional<Bytes> inflateStream(ByteView stream, ByteView history = {}, std::size_t* end = nullptr);

// Writes symbols with given codes.
class SymbolWriter {
  public:
    SymbolWriter(BitWriter& writer, const BlockCodes& codes);

    bool canWriteLiteral(unsigned symbol) const;
    bool canWriteMatch(unsigned length, unsigned distance) const;
    void literal(uint8_t byte);
    void match(unsigned length, unsigned distance);
    void endOfBlock();

  private:
    void code(const Code& code) { writer_->put(code.bits, code.length); }

    BitWriter* writer_;
    std::vector<Code> literals_;
    std::vector<Code> distances_;
};

}  // namespace ozrdc::test::deflate
