// The block-sorting Huffman encoder: its streams are read by the plain model, its codes are as good as codes can be,
// and accumulators and destinations of every size give the same bits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>

#include "bz2/code_lengths.h"
#include "bz2/reference_huffman.h"
#include "bz2/symbol_samples.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test::bz2 {
namespace {

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }

// What a call has written: bytes, then pending bits.
struct Output {
    Bytes bytes;
    uint32_t code = 0;
    int32_t pending = 0;
    Status status = StatusOk;

    Bits bits() const { return bitsOf(bytes) + numberBits(code, 32).substr(0, static_cast<std::size_t>(pending)); }
};

class Encoder {
  public:
    explicit Encoder(const SymbolSample& sample) : symbols_(sample.symbols), state_(stateSize(sample)) {
        GuardedBuffer symbols(2 * symbols_.size());
        std::memcpy(symbols.data(), symbols_.data(), symbols.size());
        EXPECT_EQ(ozrsEncodeHuffInit_BZ2_16u8u(narrow(sample.alphaSize), sample.frequencies.data(),
                                               reinterpret_cast<const uint16_t*>(symbols.data()),
                                               narrow(symbols_.size()), state()),
                  StatusOk);
        EXPECT_TRUE(state_.slackIntact());
    }

    Output pack(std::size_t capacity, uint32_t code = 0, int32_t pending = 0) {
        Output output{{}, code, pending, StatusOk};
        GuardedBuffer target(capacity);
        int32_t length = narrow(capacity);
        output.status = ozrsPackHuffContext_BZ2_16u8u(&output.code, &output.pending, target.data(), &length, state());
        output.bytes.assign(target.data(), target.data() + length);
        return output;
    }
    Output encode(std::size_t capacity, uint32_t code = 0, int32_t pending = 0) {
        Output output{{}, code, pending, StatusOk};
        GuardedBuffer target(capacity);
        GuardedBuffer symbols(2 * symbols_.size());
        std::memcpy(symbols.data(), symbols_.data(), symbols.size());
        int32_t length = narrow(capacity);
        const auto* at = reinterpret_cast<const uint16_t*>(symbols.data());
        int32_t left = narrow(symbols_.size());
        output.status =
            ozrsEncodeHuff_BZ2_16u8u(&output.code, &output.pending, &at, &left, target.data(), &length, state());
        EXPECT_EQ(left, 0);
        EXPECT_EQ(at, reinterpret_cast<const uint16_t*>(symbols.data()) + symbols_.size());
        output.bytes.assign(target.data(), target.data() + length);
        return output;
    }

    HuffEncState* state() { return reinterpret_cast<HuffEncState*>(state_.data()); }

  private:
    static std::size_t stateSize(const SymbolSample& sample) {
        int32_t size = 0;
        EXPECT_EQ(ozrsEncodeHuffGetSize_BZ2_16u8u(narrow(sample.symbols.size()), &size), StatusOk);
        return static_cast<std::size_t>(size + 3) / 4 * 4;  // aligned
    }

    Symbols symbols_;
    GuardedBuffer state_;
};

std::vector<SymbolSample> samples() {
    std::vector<SymbolSample> all;
    uint64_t seed = 20;
    for (const std::size_t size : {1U, 2U, 49U, 50U, 51U, 199U, 200U, 599U, 600U, 1199U, 1200U, 2399U, 2400U, 9000U}) {
        for (const std::size_t alphaSize : {2U, 3U, 10U, 258U}) {
            for (const unsigned skew : {0U, 2U, 6U}) all.push_back(symbolSample(size, alphaSize, skew, ++seed));
        }
    }
    return all;
}

// The description, checked; its bits are what the call writes.
Description described(Encoder& encoder, const SymbolSample& sample) {
    const Output output = encoder.pack(40000);
    EXPECT_EQ(output.status, StatusOk);
    EXPECT_LT(output.pending, 8);
    const Bits bits = output.bits();
    std::size_t position = 0;
    const auto description = Description::read(bits, position, sample.alphaSize);
    EXPECT_TRUE(description.has_value());
    if (!description) return {};
    EXPECT_EQ(position, bits.size());
    EXPECT_EQ(description->bits(), bits);
    return *description;
}

TEST(BlockHuffmanEncoder, NumberOfTablesDependsOnTheNumberOfSymbols) {
    const std::pair<std::size_t, std::size_t> expected[] = {{1, 2},    {199, 2},  {200, 3},  {599, 3},  {600, 4},
                                                            {1199, 4}, {1200, 5}, {2399, 5}, {2400, 6}, {9000, 6}};
    for (const auto& [size, tables] : expected) {
        const SymbolSample sample = symbolSample(size, 50, 2, size);
        Encoder encoder(sample);
        const Description description = described(encoder, sample);
        EXPECT_EQ(description.lengths.size(), tables) << size;
        EXPECT_EQ(description.selectors.size(), (size + 49) / 50);
    }
}

TEST(BlockHuffmanEncoder, SizesOfTheState) {
    const std::pair<int32_t, int32_t> expected[] = {{1, 7782}, {50, 7782}, {51, 7784}, {2147483647, 85907126}};
    for (const auto& [length, size] : expected) {
        int32_t reported = 0;
        EXPECT_EQ(ozrsEncodeHuffGetSize_BZ2_16u8u(length, &reported), StatusOk);
        EXPECT_EQ(reported, size) << length;
    }
}

TEST(BlockHuffmanEncoder, StreamsDecodeToTheSymbols) {
    for (const SymbolSample& sample : samples()) {
        Encoder encoder(sample);
        const Description description = described(encoder, sample);
        const Output output = encoder.encode(40000);
        ASSERT_EQ(output.status, StatusOk);
        ASSERT_EQ(output.bits(), codedSymbols(description, sample.symbols));
        const DecodedSymbols block = decodeSymbols(description, output.bits() + Bits(20, '1'));
        ASSERT_EQ(block.stop, DecodedSymbols::End);
        ASSERT_EQ(block.symbols, Symbols(sample.symbols.begin(), sample.symbols.end() - 1));
        ASSERT_EQ(block.used, output.bits().size());
    }
}

TEST(BlockHuffmanEncoder, CodesAreOptimalForTheGroupsOfTheirTable) {
    for (const SymbolSample& sample : samples()) {
        Encoder encoder(sample);
        const Description description = described(encoder, sample);
        for (std::size_t t = 0; t < description.lengths.size(); ++t) {
            std::vector<uint32_t> counts(sample.alphaSize);
            for (std::size_t i = 0; i < sample.symbols.size(); ++i) {
                if (description.selectors[i / 50] == t) ++counts[sample.symbols[i]];
            }
            uint64_t cost = 0;
            for (std::size_t s = 0; s < sample.alphaSize; ++s) {
                cost += uint64_t{std::max(counts[s], 1U)} * description.lengths[t][s];
            }
            ASSERT_EQ(cost, optimalCost(counts, 17));
        }
    }
}

// Counts like Fibonacci's numbers make the deepest trees.
TEST(BlockHuffmanEncoder, CodesAreLimitedTo17BitsAtTheLeastCost) {
    Random random(31);
    for (const std::size_t alphaSize : {1U, 2U, 17U, 18U, 19U, 20U, 25U, 40U, 258U}) {
        std::vector<uint32_t> counts(alphaSize);
        uint32_t low = 0;
        uint32_t high = 1;
        for (std::size_t s = 0; s < std::min<std::size_t>(alphaSize, 40); ++s) {
            counts[s] = low;
            high += low;
            low = high - low;
        }
        for (unsigned round = 0; round < 20; ++round) {
            std::vector<uint8_t> lengths(alphaSize);
            ozrdc::bz2::makeCodeLengths(counts.data(), narrow(alphaSize), lengths.data());
            uint64_t cost = 0;
            uint64_t space = 0;
            for (std::size_t s = 0; s < alphaSize; ++s) {
                ASSERT_GE(lengths[s], 1);
                ASSERT_LE(lengths[s], 17);
                cost += uint64_t{std::max(counts[s], 1U)} * lengths[s];
                space += uint64_t{1} << (17 - lengths[s]);
            }
            EXPECT_EQ(cost, optimalCost(counts, 17));
            if (alphaSize > 1) {
                EXPECT_EQ(space, uint64_t{1} << 17);
            }
            for (std::size_t i = alphaSize; i-- > 1;) std::swap(counts[i], counts[random.below(i + 1)]);
            counts[random.below(alphaSize)] += static_cast<uint32_t>(random.below(1000));
        }
    }
}

void expectRefinedTables(const SymbolSample& sample) {
    Encoder encoder(sample);
    const Description description = described(encoder, sample);
    const Description expected =
        refinedTables(sample.symbols, sample.frequencies, [](const std::vector<uint32_t>& counts) {
            std::vector<uint8_t> lengths(counts.size());
            ozrdc::bz2::makeCodeLengths(counts.data(), narrow(counts.size()), lengths.data());
            return lengths;
        });
    ASSERT_EQ(description.selectors, expected.selectors);
    ASSERT_EQ(description.lengths, expected.lengths);
}

TEST(BlockHuffmanEncoder, TablesAreThoseOfTheRefinement) {
    for (const SymbolSample& sample : samples()) {
        expectRefinedTables(sample);
        if (HasFatalFailure()) return;
    }
}

// Frequencies direct the first division only, and need not be those of the symbols.
TEST(BlockHuffmanEncoder, TablesAreThoseOfTheRefinementWhateverTheFrequenciesSay) {
    Random random(44);
    for (unsigned round = 0; round < 400; ++round) {
        SymbolSample sample = symbolSample(1 + random.below(3000), 2 + random.below(257), round % 5, 4000 + round);
        const uint64_t bound = uint64_t{1} << random.below(33);
        for (uint32_t& count : sample.frequencies) {
            count = random.oneIn(3) ? 0 : static_cast<uint32_t>(random.below(bound));
        }
        expectRefinedTables(sample);
        if (HasFatalFailure()) return;
    }
}

// Of the model, which what the encoder writes is compared with.
TEST(BlockHuffmanEncoder, SelectorsAreWrittenAsTheirRanks) {
    const Description description{{{1, 1}, {1, 1}}, {0, 0, 1, 0}};
    EXPECT_EQ(description.bits().substr(18, 6), "001010");
}

TEST(BlockHuffmanEncoder, AlphabetOfOneSymbol) {
    const SymbolSample sample{1, Symbols(120, 0), {120}};
    Encoder encoder(sample);
    const Description description = described(encoder, sample);
    for (const auto& table : description.lengths) EXPECT_EQ(table, std::vector<uint8_t>{1});
    EXPECT_EQ(encoder.encode(100).bits(), Bits(120, '0'));
}

TEST(BlockHuffmanEncoder, DescriptionMayBeWrittenAgain) {
    const SymbolSample sample = symbolSample(9000, 258, 3, 41);
    Encoder encoder(sample);
    const Bits first = encoder.pack(40000).bits();
    encoder.encode(40000);
    EXPECT_EQ(encoder.pack(40000).bits(), first);
}

// Whatever the room and whatever is pending, the same bits come out; those beyond the room and 32 pending are lost.
void checkOutput(const Output& output, const Bits& expected, std::size_t capacity) {
    const std::size_t written = std::min(capacity, expected.size() / 8);
    const std::size_t pending = expected.size() - 8 * written;
    ASSERT_EQ(output.bytes, packed(expected.substr(0, 8 * written)));
    ASSERT_EQ(static_cast<std::size_t>(output.pending), pending);
    ASSERT_EQ(output.status, pending > 32 ? StatusDestinationFull : StatusOk);
    const Bits rest = (expected.substr(8 * written) + Bits(32, '0')).substr(0, 32);
    ASSERT_EQ(numberBits(output.code, 32), rest);
}

TEST(BlockHuffmanEncoder, AnyRoomAndAnyPendingBits) {
    Random random(42);
    for (const std::size_t size : {1U, 30U, 260U, 3000U}) {
        const SymbolSample sample = symbolSample(size, 60, 3, size);
        Encoder encoder(sample);
        const Bits description = encoder.pack(40000).bits();
        const Bits symbols = encoder.encode(40000).bits();
        for (int32_t pending = 0; pending <= 32; ++pending) {
            const auto code = static_cast<uint32_t>(random.next());
            const Bits front = numberBits(code, 32).substr(0, static_cast<std::size_t>(pending));
            for (const Bits& bits : {description, symbols}) {
                const bool packing = &bits == &description || bits == description;
                const std::size_t exact = (bits.size() + front.size()) / 8;
                for (const std::size_t capacity :
                     {std::size_t{1}, std::size_t{2}, exact / 2, exact - 5, exact - 4, exact - 3, exact - 1, exact,
                      exact + 1, exact + 115, exact + 300, std::size_t{random.below(exact + 9)}}) {
                    if (capacity < 1 || capacity > 100000) continue;
                    const Output output =
                        packing ? encoder.pack(capacity, code, pending) : encoder.encode(capacity, code, pending);
                    checkOutput(output, front + bits, capacity);
                    if (HasFatalFailure()) return;
                }
            }
        }
    }
}

TEST(BlockHuffmanEncoder, NoSymbolsFlushWhatIsPending) {
    const SymbolSample sample = symbolSample(100, 20, 2, 5);
    Encoder encoder(sample);
    const uint16_t* at = sample.symbols.data();
    for (const int32_t none : {0, -1}) {
        int32_t left = none;
        uint32_t code = 0xABCDEF12;
        int32_t pending = 30;
        uint8_t target[9];
        int32_t length = 9;
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &left, target, &length, encoder.state()), StatusOk);
        EXPECT_EQ(length, 3);
        EXPECT_EQ(pending, 6);
        EXPECT_EQ(code, 0x10000000U);
        EXPECT_EQ(left, none);
        EXPECT_EQ(at, sample.symbols.data());
    }
}

TEST(BlockHuffmanEncoder, SymbolsWithoutAGroupAreLeft) {
    const SymbolSample sample = symbolSample(120, 20, 2, 5);
    Encoder encoder(sample);
    const Symbols more(200, 3);
    const uint16_t* at = more.data();
    int32_t left = 200;
    uint32_t code = 0;
    int32_t pending = 0;
    Bytes target(1000);
    int32_t length = 1000;
    EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &left, target.data(), &length, encoder.state()), StatusOk);
    EXPECT_EQ(left, 50);
    EXPECT_EQ(at, more.data() + 150);
}

TEST(BlockHuffmanEncoder, StrangeInputDoesNoHarm) {
    Random random(43);
    for (unsigned round = 0; round < 60; ++round) {
        SymbolSample sample{1 + random.below(258), Symbols(1 + random.below(4000)), {}};
        sample.frequencies.resize(sample.alphaSize);
        const uint64_t bound = round % 2 == 0 ? 65536 : 600;
        for (uint16_t& symbol : sample.symbols) symbol = static_cast<uint16_t>(random.below(bound));
        const uint64_t frequency = round % 3 == 0 ? 0xFFFFFFFF : 3;
        for (uint32_t& count : sample.frequencies) count = static_cast<uint32_t>(random.below(frequency));
        Encoder encoder(sample);
        described(encoder, sample);
        encoder.encode(1 + random.below(20000));
    }
}

TEST(BlockHuffmanEncoder, ArgumentsAreCheckedInOrder) {
    const SymbolSample sample = symbolSample(100, 20, 2, 5);
    Encoder encoder(sample);
    HuffEncState* const state = encoder.state();
    const uint32_t* const frequencies = sample.frequencies.data();
    const uint16_t* at = sample.symbols.data();
    const uint16_t* none = nullptr;
    int32_t size = 77;
    EXPECT_EQ(ozrsEncodeHuffGetSize_BZ2_16u8u(0, nullptr), StatusNullPointer);
    uint32_t code = 0x80000000;
    int32_t pending = 1;
    int32_t left = 100;
    Bytes target(100, 0xCC);
    uint8_t* const to = target.data();
    for (const int32_t bad : {0, -1, -2147483647 - 1}) {
        EXPECT_EQ(ozrsEncodeHuffGetSize_BZ2_16u8u(bad, &size), StatusSizeError);
        EXPECT_EQ(ozrsEncodeHuffInit_BZ2_16u8u(bad, nullptr, at, bad, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuffInit_BZ2_16u8u(bad, frequencies, nullptr, bad, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuffInit_BZ2_16u8u(bad, frequencies, at, bad, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuffInit_BZ2_16u8u(bad, frequencies, at, 100, state), StatusSizeError);
        EXPECT_EQ(ozrsEncodeHuffInit_BZ2_16u8u(20, frequencies, at, bad, state), StatusSizeError);
        int32_t b = bad;
        EXPECT_EQ(ozrsPackHuffContext_BZ2_16u8u(nullptr, &pending, to, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsPackHuffContext_BZ2_16u8u(&code, nullptr, to, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsPackHuffContext_BZ2_16u8u(&code, &pending, nullptr, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsPackHuffContext_BZ2_16u8u(&code, &pending, to, nullptr, state), StatusNullPointer);
        EXPECT_EQ(ozrsPackHuffContext_BZ2_16u8u(&code, &pending, to, &b, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsPackHuffContext_BZ2_16u8u(&code, &pending, to, &b, state), StatusSizeError);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(nullptr, &pending, &at, &left, to, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, nullptr, &at, &left, to, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, nullptr, &left, to, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, nullptr, to, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &none, &left, to, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &left, nullptr, &b, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &left, to, nullptr, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &left, to, &b, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &left, to, &b, state), StatusSizeError);
        EXPECT_EQ(b, bad);
    }
    EXPECT_EQ(ozrsEncodeHuffInit_BZ2_16u8u(259, frequencies, at, 100, state), StatusSizeError);
    for (const int32_t bad : {-1, 33}) {
        int32_t length = 100;
        int32_t count = bad;
        EXPECT_EQ(ozrsPackHuffContext_BZ2_16u8u(&code, &count, to, &length, state), StatusSizeError);
        EXPECT_EQ(ozrsEncodeHuff_BZ2_16u8u(&code, &count, &at, &left, to, &length, state), StatusSizeError);
        EXPECT_EQ(length, 100);
        EXPECT_EQ(count, bad);
    }
    EXPECT_EQ(size, 77);
    EXPECT_EQ(code, 0x80000000U);
    EXPECT_EQ(pending, 1);
    EXPECT_EQ(left, 100);
    EXPECT_EQ(at, sample.symbols.data());
    EXPECT_EQ(target, Bytes(100, 0xCC));
}

}  // namespace
}  // namespace ozrdc::test::bz2
