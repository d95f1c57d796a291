// The decoder of blocks, against the plain model: on symbols that make sense, and on all others.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <limits>

#include "bz2/reference_transform.h"
#include "support/guarded_buffer.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::bz2 {
namespace {

using Symbols = std::vector<uint16_t>;
using View = std::span<const uint8_t>;

constexpr int32_t kMaxCapacity = 16777215;

Bytes inUseTable(std::span<const uint8_t> bytes) {
    Bytes table(256);
    for (const uint8_t byte : bytes) table[byte] = 1;
    return table;
}

int32_t countOf(const Bytes& inUse) { return static_cast<int32_t>(256 - std::count(inUse.begin(), inUse.end(), 0)); }

// A block as bytes, move-to-front codes with zero runs, at the row that the transform gives.
struct Encoded {
    Symbols symbols;
    int32_t index;
    Bytes inUse;
};

void putRun(Symbols& symbols, uint64_t run) {
    for (; run > 0; run = (run - 1) / 2) symbols.push_back(run % 2 == 1 ? 0 : 1);
}

Encoded encode(View block) {
    const auto len = static_cast<int32_t>(block.size());
    int32_t size = 0;
    EXPECT_EQ(ozrsBWTFwdGetSize_8u(len, &size), StatusOk);
    Bytes scratch(static_cast<std::size_t>(size));
    Bytes column(block.size());
    Encoded result{{}, -1, inUseTable(block)};
    EXPECT_EQ(ozrsBWTFwd_8u(block.data(), column.data(), len, &result.index, scratch.data()), StatusOk);
    Bytes list;
    for (unsigned value = 0; value < 256; ++value) {
        if (result.inUse[value] != 0) list.push_back(static_cast<uint8_t>(value));
    }
    uint64_t run = 0;
    for (const uint8_t byte : column) {
        const auto at = std::find(list.begin(), list.end(), byte);
        if (at == list.begin()) {
            ++run;
            continue;
        }
        putRun(result.symbols, run);
        run = 0;
        result.symbols.push_back(static_cast<uint16_t>(at - list.begin() + 1));
        std::rotate(list.begin(), at, at + 1);
    }
    putRun(result.symbols, run);
    return result;
}

// Calls with buffers of the exact sizes between inaccessible pages, and compares with the model.
class Decoder {
  public:
    explicit Decoder(Guard guard = Guard::After)
        : source_(guard), target_(guard), scratch_(guard), inUse_(256, guard) {}

    DecodedBlock operator()(const Symbols& symbols, int32_t capacity, int32_t index, int32_t sizeDictionary,
                            const Bytes& inUse) {
        const View bytes(reinterpret_cast<const uint8_t*>(symbols.data()), symbols.size() * sizeof(uint16_t));
        const View source = source_.take(bytes);
        const auto room = static_cast<std::size_t>(std::clamp(capacity, 0, kMaxCapacity));
        const std::span<uint8_t> target = target_.take(room);
        std::fill(target.begin(), target.end(), uint8_t{0x5A});
        const std::span<uint8_t> scratch = scratch_.take(4 * room);
        Random(821).fill(scratch);
        std::copy(inUse.begin(), inUse.end(), inUse_.begin());
        int32_t length = capacity;
        const Status status = ozrsDecodeBlock_BZ2_16u8u(reinterpret_cast<const uint16_t*>(source.data()),
                                                        static_cast<int32_t>(symbols.size()), target.data(), &length,
                                                        index, sizeDictionary, inUse_.data(), scratch.data());
        const DecodedBlock expected = decodeBlockPlainly(symbols, capacity, index, sizeDictionary, inUse);
        EXPECT_EQ(status, expected.status);
        EXPECT_EQ(length, expected.length);
        EXPECT_TRUE(std::equal(expected.bytes.begin(), expected.bytes.end(), target.begin()));
        if (status == StatusOk) {
            EXPECT_TRUE(std::all_of(target.begin() + static_cast<std::ptrdiff_t>(expected.bytes.size()), target.end(),
                                    [](uint8_t byte) { return byte == 0x5A; }))
                << "written behind the block";
        }
        return {status, length, Bytes(target.begin(), target.end())};
    }

  private:
    GuardedArena source_;
    GuardedArena target_;
    GuardedArena scratch_;
    GuardedBuffer inUse_;
};

TEST(BlockDecoder, RunOfTwoDigits) {
    Decoder decode;
    const DecodedBlock block = decode({1, 0}, 10, 0, 1, inUseTable(Bytes{'q'}));
    EXPECT_EQ(block.status, StatusOk);
    EXPECT_EQ(block.length, 4);
    EXPECT_EQ(Bytes(block.bytes.begin(), block.bytes.begin() + 4), Bytes(4, 'q'));
}

TEST(BlockDecoder, RestoresBlocks) {
    Decoder after(Guard::After);
    Decoder before(Guard::Before);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(300000, 1);
        for (const std::size_t size :
             std::to_array<std::size_t>({1, 2, 3, 16, 17, 100, 1000, 5000, 262143, 262144, 300000})) {
            const View block = View(sample).first(size);
            const Encoded e = encode(block);
            Decoder& decode = size % 2 == 0 ? after : before;
            for (const std::size_t capacity : {size, size + 1, size + 100}) {
                const DecodedBlock result =
                    decode(e.symbols, static_cast<int32_t>(capacity), e.index, countOf(e.inUse), e.inUse);
                ASSERT_EQ(result.status, StatusOk);
                ASSERT_TRUE(std::equal(block.begin(), block.end(), result.bytes.begin()));
            }
        }
    }
}

TEST(BlockDecoder, RestoresRealFiles) {
    Decoder decode;
    for (const CorpusFile& file : corpusFiles(900000)) {
        SCOPED_TRACE(file.name);
        const Encoded e = encode(file.bytes);
        const DecodedBlock result = decode(e.symbols, 900000, e.index, countOf(e.inUse), e.inUse);
        ASSERT_EQ(result.length, static_cast<int32_t>(file.bytes.size()));
        ASSERT_TRUE(std::equal(file.bytes.begin(), file.bytes.end(), result.bytes.begin()));
    }
}

TEST(BlockDecoder, RandomSymbolsGiveWhatTheModelGives) {
    Random random(822);
    Decoder after(Guard::After);
    Decoder before(Guard::Before);
    for (int round = 0; round < 20000; ++round) {
        const auto dictionary = static_cast<int32_t>(random.oneIn(3) ? random.below(257) : random.below(20));
        Bytes inUse(256);
        while (countOf(inUse) < dictionary) inUse[random.below(256)] = random.oneIn(9) ? random.byte() : 1;
        Symbols symbols(1 + random.below(200));
        const uint64_t digits = 1 + random.below(20);
        for (uint16_t& symbol : symbols) {
            symbol = static_cast<uint16_t>(
                random.oneIn(1 + digits) ? random.below(2) : 2 + random.below(1 + static_cast<uint64_t>(dictionary)));
            if (random.oneIn(3000)) symbol = static_cast<uint16_t>(random.next());
        }
        const auto capacity = static_cast<int32_t>(1 + random.below(random.oneIn(2) ? 100 : 3000));
        const auto index = static_cast<int32_t>(random.below(static_cast<uint64_t>(capacity)));
        (random.oneIn(2) ? after : before)(symbols, capacity, index, dictionary, inUse);
        if (HasFailure()) return;
    }
}

TEST(BlockDecoder, EveryDepthOfTheListIsTaken) {
    Bytes inUse(256, 1);
    Symbols symbols;
    for (uint16_t depth = 1; depth < 256; ++depth) {
        for (const uint16_t back : std::to_array<uint16_t>({1, 15, 16, 17, 255})) {
            symbols.push_back(static_cast<uint16_t>(depth + 1));
            symbols.push_back(static_cast<uint16_t>(back + 1));
        }
    }
    Decoder decode;
    EXPECT_EQ(decode(symbols, 3000, 77, 256, inUse).status, StatusOk);
}

TEST(BlockDecoder, RunsAreBoundedByTheCapacity) {
    Decoder decode;
    const Bytes inUse = inUseTable(Bytes{'a', 'b'});
    // Three literals, then runs of every length around the room.
    for (int32_t room = 1; room < 70; ++room) {
        for (int32_t run = std::max(1, room - 2); run <= room + 2; ++run) {
            Symbols symbols{2, 2, 2};
            putRun(symbols, static_cast<uint64_t>(run));
            const DecodedBlock block = decode(symbols, 3 + room, 0, 2, inUse);
            EXPECT_EQ(block.status, run <= room ? StatusOk : StatusError);
            EXPECT_EQ(block.length, run <= room ? 3 + run : 3);
        }
    }
}

TEST(BlockDecoder, LiteralsAreBoundedByTheCapacity) {
    Decoder decode;
    const Bytes inUse = inUseTable(Bytes{'a', 'b', 'c'});
    for (int32_t capacity = 1; capacity < 20; ++capacity) {
        EXPECT_EQ(decode(Symbols(static_cast<std::size_t>(capacity), 3), capacity, 0, 3, inUse).status, StatusOk);
        const DecodedBlock full = decode(Symbols(static_cast<std::size_t>(capacity) + 1, 3), capacity, 0, 3, inUse);
        EXPECT_EQ(full.status, StatusError);
        EXPECT_EQ(full.length, capacity);
    }
}

TEST(BlockDecoder, StretchesOfDigitsMayBeOfAnyLength) {
    Decoder decode;
    const Bytes inUse = inUseTable(Bytes{'a', 'b'});
    for (const std::size_t digits : std::to_array<std::size_t>({24, 31, 32, 33, 63, 64, 65, 1000, 100000})) {
        for (const uint16_t digit : std::to_array<uint16_t>({0, 1})) {
            Symbols symbols{2};
            symbols.resize(1 + digits, digit);
            const DecodedBlock block = decode(symbols, 1000000, 0, 2, inUse);
            EXPECT_EQ(block.status, StatusError);
            EXPECT_EQ(block.length, 1);
        }
    }
}

TEST(BlockDecoder, SymbolsBeyondTheDictionaryAreErrors) {
    Decoder decode;
    const Bytes inUse = inUseTable(Bytes{'a', 'b', 'c'});
    for (const uint16_t symbol : std::to_array<uint16_t>({4, 5, 16, 17, 256, 257, 258, 32768, 65535})) {
        const DecodedBlock block = decode({3, 0, symbol, 2}, 10, 0, 3, inUse);
        EXPECT_EQ(block.status, StatusError);
        EXPECT_EQ(block.length, 2);
    }
    EXPECT_EQ(decode({0}, 10, 0, 0, Bytes(256)).status, StatusError) << "a dictionary without bytes";
}

TEST(BlockDecoder, RowsBehindTheBlockGiveZeros) {
    Decoder decode;
    const Bytes inUse = inUseTable(Bytes{'a', 'b'});
    for (const int32_t index : {3, 4, 99999}) {
        const DecodedBlock block = decode({2, 0, 2}, 100000, index, 2, inUse);
        EXPECT_EQ(block.status, StatusOk);
        EXPECT_EQ(block.length, 3);
    }
}

TEST(BlockDecoder, WrongSizeOfTheDictionarySucceedsWithoutAResult) {
    Decoder decode;
    const Bytes inUse = inUseTable(Bytes{'a', 'b'});
    for (const int32_t size : {0, 1, 3, 256}) {
        const DecodedBlock block = decode({2, 2}, 10, 0, size, inUse);
        EXPECT_EQ(block.status, StatusOk);
        EXPECT_EQ(block.length, 10);
        EXPECT_EQ(block.bytes, Bytes(10, 0x5A));
    }
}

TEST(BlockDecoder, LargestCapacity) {
    Decoder decode;
    Symbols symbols;
    putRun(symbols, kMaxCapacity);
    EXPECT_EQ(decode(symbols, kMaxCapacity, kMaxCapacity - 1, 1, inUseTable(Bytes{9})).length, kMaxCapacity);
}

TEST(BlockDecoderArguments, ScratchIsFourBytesForEach) {
    int32_t size = 4711;
    EXPECT_EQ(ozrsDecodeBlockGetSize_BZ2_8u(kMaxCapacity + 1, nullptr), StatusNullPointer);
    for (const uint32_t capacity : {16777216U, 0x80000000U, std::numeric_limits<uint32_t>::max()}) {
        EXPECT_EQ(ozrsDecodeBlockGetSize_BZ2_8u(capacity, &size), StatusSizeError);
    }
    EXPECT_EQ(size, 4711);
    for (const uint32_t capacity : {0U, 1U, 900000U, 16777215U}) {
        EXPECT_EQ(ozrsDecodeBlockGetSize_BZ2_8u(capacity, &size), StatusOk);
        EXPECT_EQ(size, static_cast<int32_t>(4 * capacity));
    }
}

TEST(BlockDecoderArguments, NullPointersAreRefusedFirst) {
    const Symbols symbols{2, 2};
    const Bytes inUse = inUseTable(Bytes{'a', 'b'});
    Bytes target(10);
    Bytes scratch(40);
    for (const int32_t srcLen : {0, 2}) {
        for (int missing = 0; missing < 5; ++missing) {
            int32_t length = 10;
            EXPECT_EQ(ozrsDecodeBlock_BZ2_16u8u(
                          missing == 0 ? nullptr : symbols.data(), srcLen, missing == 1 ? nullptr : target.data(),
                          missing == 2 ? nullptr : &length, -1, 300, missing == 3 ? nullptr : inUse.data(),
                          missing == 4 ? nullptr : scratch.data()),
                      StatusNullPointer);
            EXPECT_EQ(length, 10);
        }
    }
    EXPECT_EQ(target, Bytes(10));
}

TEST(BlockDecoderArguments, NumbersOutsideTheirRangeAreRefused) {
    struct Case {
        int32_t srcLen, capacity, index, sizeDictionary;
    };
    constexpr int32_t kLeast = std::numeric_limits<int32_t>::min();
    const Symbols symbols{2, 2};
    const Bytes inUse = inUseTable(Bytes{'a', 'b'});
    Bytes target(10);
    Bytes scratch(40);
    for (const Case& wrong : {Case{0, 10, 0, 2}, Case{-1, 10, 0, 2}, Case{kLeast, 10, 0, 2}, Case{2, 16777216, 0, 2},
                              Case{2, 10, -1, 2}, Case{2, 10, 10, 2}, Case{2, 0, 0, 2}, Case{2, -5, 0, 2},
                              Case{2, kLeast, kLeast, 2}, Case{2, 10, 0, 257}, Case{2, 10, 0, -1}}) {
        int32_t length = wrong.capacity;
        EXPECT_EQ(ozrsDecodeBlock_BZ2_16u8u(symbols.data(), wrong.srcLen, target.data(), &length, wrong.index,
                                            wrong.sizeDictionary, inUse.data(), scratch.data()),
                  StatusSizeError);
        EXPECT_EQ(length, wrong.capacity);
    }
    EXPECT_EQ(target, Bytes(10));
}

}  // namespace
}  // namespace ozrdc::test::bz2
