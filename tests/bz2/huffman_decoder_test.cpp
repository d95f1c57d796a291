// The block-sorting Huffman decoder, against the plain model: descriptions cut anywhere, blocks in pieces, and streams
// that are not valid.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "bz2/reference_huffman.h"
#include "bz2/symbol_samples.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test::bz2 {
namespace {

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }

// Which codes the tables of a random description have.
enum class Codes { Complete, Incomplete, TooMany };

std::vector<uint8_t> randomLengths(Random& random, std::size_t alphaSize, Codes codes, unsigned longest) {
    if (codes == Codes::TooMany) {
        std::vector<uint8_t> lengths(alphaSize);
        const uint64_t least = 1 + random.below(9);
        for (uint8_t& length : lengths) length = static_cast<uint8_t>(random.between(static_cast<int64_t>(least), 20));
        return lengths;
    }
    // Leaves of a tree that grows by splitting one of them.
    std::vector<uint8_t> lengths{1, 1};
    while (lengths.size() < alphaSize + (codes == Codes::Incomplete ? 3 : 0)) {
        uint8_t& leaf = lengths[random.oneIn(3) ? lengths.size() - 1 : random.below(lengths.size())];
        if (leaf >= longest) continue;
        ++leaf;
        lengths.push_back(leaf);
    }
    for (std::size_t i = lengths.size(); i-- > 1;) std::swap(lengths[i], lengths[random.below(i + 1)]);
    lengths.resize(alphaSize);
    return lengths;
}

Description randomDescription(Random& random, std::size_t alphaSize, std::size_t symbols, Codes codes,
                              unsigned longest = 20) {
    Description description;
    const std::size_t tables = 2 + random.below(5);
    for (std::size_t t = 0; t < tables; ++t) {
        description.lengths.push_back(randomLengths(random, alphaSize, codes, longest));
    }
    description.selectors.resize((symbols + 49) / 50);
    for (uint8_t& selector : description.selectors) selector = static_cast<uint8_t>(random.below(tables));
    return description;
}

Symbols randomSymbols(Random& random, std::size_t alphaSize, std::size_t size) {
    Symbols symbols;
    while (symbols.size() + 1 < size) symbols.push_back(static_cast<uint16_t>(random.below(alphaSize - 1)));
    symbols.push_back(static_cast<uint16_t>(alphaSize - 1));
    return symbols;
}

// The first bits as a number.
uint64_t leading(const Bits& bits, unsigned count) {
    uint64_t value = 0;
    for (unsigned i = 0; i < count; ++i) value = 2 * value + (bits[i] == '1' ? 1 : 0);
    return value;
}

// A decoder that is fed from a string of bits.
class Decoder {
  public:
    Decoder(std::size_t alphaSize, const Bits& bits, unsigned pending = 0)
        : code_(static_cast<uint32_t>(leading(bits, pending) << (32 - pending))),
          pending_(narrow(pending)),
          bytes_(packed(bits.substr(pending))) {
        int32_t size = 0;
        EXPECT_EQ(ozrsDecodeHuffGetSize_BZ2_8u16u(32767 * 50, &size), StatusOk);
        state_ = GuardedBuffer(static_cast<std::size_t>(size + 3) / 4 * 4);  // aligned
        EXPECT_EQ(ozrsDecodeHuffInit_BZ2_8u16u(narrow(alphaSize), state()), StatusOk);
    }

    // Gives the call at most `bytes` more of the source.
    Status unpack(std::size_t bytes) {
        const auto [source, size] = piece(bytes);
        const uint8_t* at = source;
        int32_t left = narrow(size);
        const Status status = ozrsUnpackHuffContext_BZ2_8u16u(&code_, &pending_, &at, &left, state());
        consumed(source, at, size, left);
        if (status == StatusSourceExhausted) {
            EXPECT_EQ(left, 0);
        }
        return status;
    }
    Status decode(std::size_t bytes, std::size_t room, Symbols& symbols) {
        const auto [source, size] = piece(bytes);
        const uint8_t* at = source;
        int32_t left = narrow(size);
        const std::span<uint8_t> target = target_.take(2 * room);
        auto* const to = reinterpret_cast<uint16_t*>(target.data());
        int32_t length = narrow(room);
        const Status status = ozrsDecodeHuff_BZ2_8u16u(&code_, &pending_, &at, &left, to, &length, state());
        EXPECT_LE(static_cast<std::size_t>(length), room);
        symbols.insert(symbols.end(), to, to + length);
        consumed(source, at, size, left);
        return status;
    }

    std::size_t left() const { return bytes_.size() - position_; }
    // Bits that have not been used.
    std::size_t unused() const { return 8 * left() + static_cast<std::size_t>(pending_); }
    HuffDecState* state() { return reinterpret_cast<HuffDecState*>(state_.data()); }

  private:
    std::pair<const uint8_t*, std::size_t> piece(std::size_t bytes) {
        const std::size_t size = std::min(bytes, left());
        return {source_.take(std::span<const uint8_t>(bytes_).subspan(position_, size)).data(), size};
    }
    void consumed(const uint8_t* source, const uint8_t* at, std::size_t size, int32_t leftOver) {
        const auto n = static_cast<std::size_t>(at - source);
        EXPECT_EQ(n + static_cast<std::size_t>(leftOver), size);
        EXPECT_GE(pending_, 0);
        EXPECT_LE(pending_, 32);
        if (pending_ < 32) {
            EXPECT_EQ(code_ << pending_, 0U);
        }
        position_ += n;
    }

    uint32_t code_;
    int32_t pending_;
    Bytes bytes_;
    std::size_t position_ = 0;
    GuardedBuffer state_{1};
    GuardedArena source_{Guard::After};
    GuardedArena target_{Guard::After};
};

constexpr std::size_t kAll = 1 << 30;
const Bits kPadding(40, '0');

// Reads description and block with pieces of the sizes given, and compares with the model.
template <typename Piece, typename Room>
void check(const Description& description, const Bits& coded, Piece piece, Room room) {
    const std::size_t alphaSize = description.lengths.front().size();
    const Bits bits = description.bits() + coded;
    Decoder decoder(alphaSize, bits);
    Status status = StatusSourceExhausted;
    while (status == StatusSourceExhausted && decoder.left() > 0) status = decoder.unpack(piece());
    ASSERT_EQ(status, StatusOk);

    // Zeros fill the last byte.
    const std::size_t fill = (8 - bits.size() % 8) % 8;
    const DecodedSymbols expected = decodeSymbols(description, coded + Bits(fill, '0'));
    Symbols symbols;
    for (;;) {
        const std::size_t before = symbols.size();
        const std::size_t capacity = room();
        status = decoder.decode(piece(), capacity, symbols);
        if (status == StatusDestinationFull) {
            ASSERT_EQ(symbols.size() - before, capacity);
        } else if (status != StatusSourceExhausted || (decoder.left() == 0 && symbols.size() - before < capacity)) {
            break;
        }
    }
    ASSERT_EQ(symbols, expected.symbols);
    ASSERT_EQ(coded.size() + fill - decoder.unused(), expected.used);
    switch (expected.stop) {
        case DecodedSymbols::End:
            ASSERT_EQ(status, StatusOk);
            break;
        case DecodedSymbols::OutOfBits:
            ASSERT_EQ(status, StatusSourceExhausted);
            break;
        case DecodedSymbols::NoCode:
        case DecodedSymbols::NoSelector:
            ASSERT_EQ(status, StatusError);
            break;
    }
}

const auto kWhole = [] { return kAll; };
const auto kAmple = [] { return std::size_t{20000}; };

TEST(BlockHuffmanDecoder, SizesOfTheState) {
    const std::pair<int32_t, int32_t> expected[] = {{1, 9365}, {50, 9365}, {51, 9366}, {2147483647, 42959037}};
    for (const auto& [length, size] : expected) {
        int32_t reported = 0;
        EXPECT_EQ(ozrsDecodeHuffGetSize_BZ2_8u16u(length, &reported), StatusOk);
        EXPECT_EQ(reported, size) << length;
    }
}

TEST(BlockHuffmanDecoder, BlocksInOneCall) {
    Random random(51);
    for (const std::size_t size : {1U, 2U, 49U, 50U, 51U, 100U, 101U, 1000U, 4999U, 15000U}) {
        for (const std::size_t alphaSize : {2U, 3U, 5U, 30U, 258U}) {
            for (const unsigned longest : {9U, 12U, 20U}) {
                const Description description = randomDescription(random, alphaSize, size, Codes::Complete, longest);
                const Bits coded = codedSymbols(description, randomSymbols(random, alphaSize, size));
                check(description, coded + kPadding, kWhole, kAmple);
                if (HasFatalFailure()) return;
            }
        }
    }
}

TEST(BlockHuffmanDecoder, BlocksInPieces) {
    Random random(52);
    for (const std::size_t most : {1U, 3U, 20U, 500U, 9000U}) {
        for (const std::size_t alphaSize : {2U, 40U, 258U}) {
            const std::size_t size = most == 9000 ? 30000 : 2000;
            const Description description = randomDescription(random, alphaSize, size, Codes::Complete);
            const Bits coded = codedSymbols(description, randomSymbols(random, alphaSize, size)) + kPadding;
            const auto piece = [&] { return static_cast<std::size_t>(1 + random.below(most)); };
            check(description, coded, piece, kAmple);
            check(description, coded, kWhole, piece);
            check(description, coded, piece, piece);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(BlockHuffmanDecoder, CodesThatAreNotCompleteOrTooMany) {
    Random random(53);
    for (unsigned round = 0; round < 400; ++round) {
        const std::size_t alphaSize = 2 + random.below(257);
        const std::size_t size = round % 4 == 0 ? 20000 : 300;
        const Codes codes = round % 2 == 0 ? Codes::Incomplete : Codes::TooMany;
        const Description description = randomDescription(random, alphaSize, size, codes);
        Bits coded;
        while (coded.size() < 8 * size) coded += numberBits(random.next(), 64);
        check(description, coded, kWhole, kAmple);
        if (HasFatalFailure()) return;
    }
}

TEST(BlockHuffmanDecoder, OnesAreACodeLikeAnyOther) {
    for (const unsigned longest : {1U, 8U, 9U, 12U, 20U}) {
        // One code of each length, two of the longest: the last is all ones.
        std::vector<uint8_t> lengths;
        for (unsigned length = 1; length <= longest; ++length) lengths.push_back(static_cast<uint8_t>(length));
        lengths.push_back(static_cast<uint8_t>(longest));
        std::rotate(lengths.begin(), lengths.begin() + 1, lengths.end());  // the end of the block is "0"
        const Description description{{lengths, lengths}, std::vector<uint8_t>(400, 0)};
        check(description, Bits(200 * longest, '1') + '0' + kPadding, kWhole, kAmple);
        check(description, Bits(15000 * longest, '1') + '0' + kPadding, kWhole, kAmple);
        if (HasFatalFailure()) return;
    }
}

TEST(BlockHuffmanDecoder, AlphabetOfOneSymbol) {
    const Description description{{{1}, {3}}, {0, 1}};
    check(description, Bits("0") + kPadding, kWhole, kAmple);
    check(description, Bits("1") + kPadding, kWhole, kAmple);
}

TEST(BlockHuffmanDecoder, DescriptionCutAnywhere) {
    Random random(54);
    for (const std::size_t alphaSize : {1U, 2U, 9U, 60U}) {
        const Description description =
            randomDescription(random, std::max<std::size_t>(alphaSize, 2), 120, Codes::Complete);
        const Bits all = description.bits();
        const Symbols symbols = randomSymbols(random, std::max<std::size_t>(alphaSize, 2), 120);
        const Bits coded = codedSymbols(description, symbols) + kPadding;
        for (std::size_t pending = 0; pending <= 32 && pending < all.size(); ++pending) {
            for (std::size_t first = 1; first < (all.size() - pending) / 8; first += 1 + first / 16) {
                Decoder decoder(description.lengths.front().size(), all + coded, static_cast<unsigned>(pending));
                ASSERT_EQ(decoder.unpack(first), StatusSourceExhausted);
                ASSERT_EQ(decoder.unpack(kAll), StatusOk);
                const std::size_t fill = (8 - (all.size() + coded.size() - pending) % 8) % 8;
                ASSERT_EQ(decoder.unused(), coded.size() + fill);
                Symbols decoded;
                ASSERT_EQ(decoder.decode(kAll, 1000, decoded), StatusOk);
                decoded.push_back(symbols.back());
                ASSERT_EQ(decoded, symbols);
            }
        }
    }
}

TEST(BlockHuffmanDecoder, DescriptionMayEndWithTheSource) {
    Random random(55);
    unsigned exact = 0;
    for (unsigned round = 0; round < 100; ++round) {
        const Description description = randomDescription(random, 2 + random.below(50), 60, Codes::Complete);
        const Bits bits = description.bits();
        const auto pending = static_cast<unsigned>(bits.size() % 8);
        Decoder decoder(description.lengths.front().size(), bits, pending);
        ASSERT_EQ(decoder.unpack(kAll), StatusOk);
        ASSERT_EQ(decoder.unused(), 0U);
        ++exact;
        Decoder shorter(description.lengths.front().size(), bits.substr(0, bits.size() - 8), pending);
        ASSERT_EQ(shorter.unpack(kAll), StatusSourceExhausted);
    }
    EXPECT_EQ(exact, 100U);
}

Status unpacked(const Bits& bits, std::size_t alphaSize = 3) {
    Decoder decoder(alphaSize, bits);
    return decoder.unpack(kAll);
}

TEST(BlockHuffmanDecoder, InvalidDescriptions) {
    const Bits valid = Description{{{1, 2, 2}, {2, 2, 1}}, {0, 1}}.bits();
    EXPECT_EQ(unpacked(valid), StatusOk);
    for (const unsigned tables : {0U, 1U, 7U}) {
        EXPECT_EQ(unpacked(numberBits(tables, 3) + Bits(200, '0')), StatusBadCodeTable);
        EXPECT_EQ(unpacked(numberBits(tables, 3)), StatusBadCodeTable);
    }
    EXPECT_EQ(unpacked(numberBits(2, 3) + Bits(200, '0')), StatusBadCodeTable);  // no selectors
    for (unsigned tables = 2; tables <= 6; ++tables) {
        const Bits counts = numberBits(tables, 3) + numberBits(1, 15);
        EXPECT_EQ(unpacked(counts + Bits(tables, '1') + "0000000000"), StatusBadCodeTable);
        EXPECT_EQ(unpacked(counts + Bits(tables - 1, '1') + "0" + Bits(300, '0')), StatusBadCodeTable);  // length 0
        const Bits front = counts + "0";
        for (const unsigned length : {0U, 21U, 31U}) {
            EXPECT_EQ(unpacked(front + numberBits(length, 5) + Bits(100, '0')), StatusBadCodeTable);
        }
        EXPECT_EQ(unpacked(front + numberBits(1, 5) + "11" + Bits(100, '0')), StatusBadCodeTable);
        EXPECT_EQ(unpacked(front + numberBits(20, 5) + "10" + Bits(100, '0')), StatusBadCodeTable);
        EXPECT_EQ(unpacked(front + numberBits(20, 5) + "1110" + Bits(4, '0')), StatusSourceExhausted);
    }
}

TEST(BlockHuffmanDecoder, AStateThatWasNeverPrepared) {
    const Bits valid = Description{{{1, 2, 2}, {2, 2, 1}}, {0, 1}}.bits();
    for (const int filler : {0x00, 0xEE, 0xFF}) {
        Decoder decoder(3, valid + Bits(100, '0'));
        std::memset(decoder.state(), filler, 9364);
        EXPECT_EQ(decoder.unpack(kAll), StatusError);
        Symbols none;
        EXPECT_EQ(decoder.decode(kAll, 10, none), StatusError);
        EXPECT_TRUE(none.empty());
    }
}

// The state is not to be used any more, but a caller that does not heed the error must not leave its tables.
TEST(BlockHuffmanDecoder, DescriptionsThatGoOnAfterAnErrorDoNoHarm) {
    const Bits front = numberBits(2, 3) + numberBits(1, 15) + "0" + numberBits(20, 5);
    const Bits tooLong = front + Bits(64, '0').replace(0, 2, "10");
    Decoder decoder(258, tooLong + Bits(1000, '0'));
    ASSERT_EQ(decoder.unpack(kAll), StatusBadCodeTable);
    // All symbols of the first table get the last valid length; that of the second is 0.
    EXPECT_EQ(decoder.unpack(kAll), StatusBadCodeTable);

    Random random(59);
    for (unsigned round = 0; round < 300; ++round) {
        Bits bits = front;
        while (bits.size() < 3000) bits += random.oneIn(2) ? Bits(random.below(40), '0') : "10";
        Decoder other(1 + random.below(258), bits);
        Symbols symbols;
        for (unsigned call = 0; call < 20 && other.left() > 0; ++call) {
            other.unpack(1 + random.below(300));
            other.decode(1 + random.below(300), 1 + random.below(200), symbols);
        }
    }
}

TEST(BlockHuffmanDecoder, NoSymbolsBeforeTheDescription) {
    const Description description{{{1, 2, 2}, {2, 2, 1}}, {0, 1}};
    Decoder decoder(3, description.bits() + Bits(100, '0'));
    Symbols none;
    EXPECT_EQ(decoder.decode(kAll, 10, none), StatusError);
    EXPECT_EQ(decoder.unpack(2), StatusSourceExhausted);
    EXPECT_EQ(decoder.decode(kAll, 10, none), StatusError);
    EXPECT_TRUE(none.empty());
}

TEST(BlockHuffmanDecoder, ABlockOfNothing) {
    const Description description{{{1, 2, 2}, {2, 2, 1}}, {0}};
    Decoder decoder(3, description.bits() + "11" + kPadding);
    ASSERT_EQ(decoder.unpack(kAll), StatusOk);
    Symbols none;
    EXPECT_EQ(decoder.decode(kAll, 10, none), StatusOk);
    EXPECT_TRUE(none.empty());
}

TEST(BlockHuffmanDecoder, SixtySymbolsTenAtATime) {
    Random random(56);
    const Description description = randomDescription(random, 30, 61, Codes::Complete);
    const Symbols symbols = randomSymbols(random, 30, 61);
    Decoder decoder(30, description.bits() + codedSymbols(description, symbols) + kPadding);
    ASSERT_EQ(decoder.unpack(kAll), StatusOk);
    Symbols decoded;
    for (std::size_t n = 10; n <= 60; n += 10) {
        EXPECT_EQ(decoder.decode(kAll, 10, decoded), StatusDestinationFull);
        EXPECT_EQ(decoded, Symbols(symbols.begin(), symbols.begin() + static_cast<std::ptrdiff_t>(n)));
    }
    // Full just before the end of the block: nothing but the end is left.
    EXPECT_EQ(decoder.decode(kAll, 1, decoded), StatusOk);
    EXPECT_EQ(decoded.size(), 60U);
}

TEST(BlockHuffmanDecoder, EndOfBlockIsStoredButNotCounted) {
    const Description description{{{1, 2, 2}, {2, 2, 1}}, {0}};
    const Bytes source = packed(description.bits() + "0" + "11" + kPadding);
    Decoder decoder(3, "");
    uint32_t code = 0;
    int32_t pending = 0;
    const uint8_t* at = source.data();
    auto left = narrow(source.size());
    ASSERT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, &at, &left, decoder.state()), StatusOk);
    uint16_t symbols[3] = {9, 9, 9};
    int32_t length = 3;
    ASSERT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, symbols, &length, decoder.state()), StatusOk);
    EXPECT_EQ(length, 1);
    EXPECT_EQ(symbols[0], 0);
    EXPECT_EQ(symbols[1], 2);
    EXPECT_EQ(symbols[2], 9);
}

TEST(BlockHuffmanDecoder, TwentyBitsAreNeededForASymbol) {
    const Description description{{{1, 2, 2}, {2, 2, 1}}, {0}};
    for (const std::size_t bits : {19U, 20U}) {
        const Bits coded = description.bits() + "11" + Bits(bits - 2, '0');
        Decoder decoder(3, coded, static_cast<unsigned>(coded.size() % 8));
        ASSERT_EQ(decoder.unpack(kAll), StatusOk);
        Symbols none;
        EXPECT_EQ(decoder.decode(kAll, 5, none), bits < 20 ? StatusSourceExhausted : StatusOk);
        EXPECT_EQ(decoder.unused(), bits < 20 ? 19U : 18U);
    }
}

TEST(BlockHuffmanDecoder, PendingBitsGoOnWithoutSource) {
    const Description description{{{1, 2, 2}, {2, 2, 1}}, {0}};
    Decoder decoder(3, description.bits() + kPadding);
    ASSERT_EQ(decoder.unpack(kAll), StatusOk);
    for (const int32_t none : {0, -1}) {
        uint32_t code = 0b00110000u << 24;
        int32_t pending = 32;
        const uint8_t byte = 0;
        const uint8_t* at = &byte;
        int32_t left = none;
        uint16_t symbols[5];
        int32_t length = 5;
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, symbols, &length, decoder.state()), StatusOk);
        EXPECT_EQ(length, 2);
        EXPECT_EQ(pending, 28);
        EXPECT_EQ(left, none);
        EXPECT_EQ(at, &byte);
        length = 5;
        pending = 19;
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, symbols, &length, decoder.state()),
                  StatusSourceExhausted);
        EXPECT_EQ(length, 0);
        EXPECT_EQ(pending, 19);
    }
}

TEST(BlockHuffmanDecoder, BlocksOneAfterTheOther) {
    Random random(57);
    Bits bits;
    std::vector<Symbols> blocks;
    for (unsigned i = 0; i < 5; ++i) {
        const Description description = randomDescription(random, 40, 700, Codes::Complete);
        blocks.push_back(randomSymbols(random, 40, 700));
        bits += description.bits() + codedSymbols(description, blocks.back());
    }
    Decoder decoder(40, bits + kPadding);
    for (const Symbols& block : blocks) {
        ASSERT_EQ(decoder.unpack(kAll), StatusOk);
        Symbols decoded;
        ASSERT_EQ(decoder.decode(kAll, 1000, decoded), StatusOk);
        decoded.push_back(39);
        ASSERT_EQ(decoded, block);
    }
}

TEST(BlockHuffmanDecoder, AnyBytesDoNoHarm) {
    Random random(58);
    for (unsigned round = 0; round < 2000; ++round) {
        Bytes bytes(2 + random.below(400));
        random.fill(bytes);
        bytes[0] = static_cast<uint8_t>((2 + random.below(5)) << 5);
        bytes[1] = static_cast<uint8_t>(random.below(3));
        Decoder decoder(1 + random.below(258), bitsOf(bytes));
        Status status = StatusSourceExhausted;
        while (status == StatusSourceExhausted && decoder.left() > 0) status = decoder.unpack(1 + random.below(300));
        if (status != StatusOk) continue;
        Symbols symbols;
        for (unsigned call = 0; call < 20; ++call)
            decoder.decode(1 + random.below(300), 1 + random.below(200), symbols);
    }
}

TEST(BlockHuffmanDecoder, ArgumentsAreCheckedInOrder) {
    Decoder decoder(3, "");
    HuffDecState* const state = decoder.state();
    int32_t size = 77;
    EXPECT_EQ(ozrsDecodeHuffGetSize_BZ2_8u16u(0, nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeHuffInit_BZ2_8u16u(0, nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeHuffInit_BZ2_8u16u(259, state), StatusSizeError);
    const Bytes source(10, 0x40);
    const uint8_t* at = source.data();
    const uint8_t* none = nullptr;
    uint32_t code = 0x80000000;
    int32_t pending = 1;
    uint16_t target[4] = {7, 7, 7, 7};
    int32_t left = 10;
    for (const int32_t bad : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(ozrsDecodeHuffGetSize_BZ2_8u16u(bad, &size), StatusSizeError);
        EXPECT_EQ(ozrsDecodeHuffInit_BZ2_8u16u(bad, state), StatusSizeError);
        int32_t b = bad;
        EXPECT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(nullptr, &pending, &at, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(&code, nullptr, &at, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, nullptr, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, &none, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, &at, nullptr, state), StatusNullPointer);
        EXPECT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, &at, &b, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, &at, &b, state), StatusSizeError);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(nullptr, &pending, &at, &left, target, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, nullptr, &at, &left, target, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, nullptr, &left, target, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &none, &left, target, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, nullptr, target, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, nullptr, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, target, nullptr, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, target, &b, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, target, &b, state), StatusSizeError);
        EXPECT_EQ(b, bad);
    }
    for (const int32_t bad : {-1, 33}) {
        int32_t count = bad;
        int32_t room = 4;
        EXPECT_EQ(ozrsUnpackHuffContext_BZ2_8u16u(&code, &count, &at, &left, state), StatusSizeError);
        EXPECT_EQ(ozrsDecodeHuff_BZ2_8u16u(&code, &count, &at, &left, target, &room, state), StatusSizeError);
        EXPECT_EQ(count, bad);
        EXPECT_EQ(room, 4);
    }
    EXPECT_EQ(size, 77);
    EXPECT_EQ(at, source.data());
    EXPECT_EQ(left, 10);
    EXPECT_EQ(code, 0x80000000U);
    EXPECT_EQ(pending, 1);
    for (const uint16_t symbol : target) EXPECT_EQ(symbol, 7);
}

}  // namespace
}  // namespace ozrdc::test::bz2
