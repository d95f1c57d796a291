// Damaged bzip2 files: what is said of them, and what --recover makes of them.
#include <algorithm>

#include "bzip2_builder.h"
#include "in_process.h"
#include "support/random.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ozrdc::test::bz2::numberBits;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

std::string encode(const std::string& contents, int level = 9) {
    return encodeWith("bzip2", contents, {.level = level});
}

// Decodes with one thread and with several, which must agree.
Decoded decode(const std::string& file, bool recover = false) {
    Decoded one = decodeWith("bzip2", file, {.threads = 1, .recover = recover});
    const Decoded several = decodeWith("bzip2", file, {.threads = 3, .recover = recover});
    EXPECT_TRUE(one.contents == several.contents);
    EXPECT_EQ(one.error, several.error);
    EXPECT_EQ(one.warnings, several.warnings);
    return one;
}

Symbols someSymbols(std::size_t count = 200) {
    Symbols symbols;
    for (std::size_t i = 0; i < count; ++i) symbols.push_back(static_cast<uint16_t>(2 + i * i % 250));
    return symbols;
}

// Where the blocks of a file begin, in bits.
std::vector<std::size_t> blockStarts(const std::string& file) {
    const Bits bits = bitsOfBytes(file);
    std::vector<std::size_t> starts;
    for (std::size_t at = 0; (at = bits.find(kBlockMarkBits, at)) != Bits::npos; ++at) starts.push_back(at);
    return starts;
}

void flip(std::string& file, std::size_t bit) { file[bit / 8] = static_cast<char>(file[bit / 8] ^ (0x80 >> bit % 8)); }

TEST(Bzip2Damage, EveryTruncationIsAnError) {
    const std::string contents = sample("text", 300) + sample("random", 100);
    const std::string whole = encode(contents) + encode("hello");
    const std::size_t first = encode(contents).size();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        const Decoded decoded = decode(whole.substr(0, size));
        if (size >= first && size < first + 4) {
            EXPECT_EQ(decoded.contents, contents);
            EXPECT_THAT(decoded.warnings, SizeIs(size == first ? 0 : 1));
            continue;
        }
        EXPECT_THAT(decoded.error, size == 0  ? StartsWith("the file is empty")
                                   : size < 4 ? StartsWith("not a bzip2 file")
                                              : StartsWith("truncated: "));
        EXPECT_TRUE(decoded.contents.empty() || decoded.contents == contents || decoded.contents == contents + "hello");
    }
}

TEST(Bzip2Damage, EveryFlippedBitIsAnErrorOrHarmless) {
    const std::string contents = sample("text", 200) + std::string(300, 'x') + sample("random", 40);
    const std::string whole = encode(contents, 1);
    std::size_t harmless = 0;
    for (std::size_t bit = 0; bit < 8 * whole.size(); ++bit) {
        std::string damaged = whole;
        flip(damaged, bit);
        const Decoded decoded = decodeWith("bzip2", damaged);
        if (!decoded.error.empty()) continue;
        ASSERT_EQ(decoded.contents, contents) << bit;
        ++harmless;
    }
    // The level, padding, an unused selector.
    EXPECT_LT(harmless, 30U);
}

TEST(Bzip2Damage, MessagesSayWhatIsWrong) {
    const HandMadeBlock good = makeBlock(someSymbols());
    const auto errorOf = [&](const Bits& block) {
        const std::string file = "BZh1" + bytesOfBits(good.bits + block + Bits(400, '0'));
        const Decoded decoded = decode(file);
        EXPECT_EQ(decoded.contents, good.content);
        return decoded.error;
    };
    const std::string start = "block 2 at byte " + std::to_string(4 + good.bits.size() / 8) + " is damaged: ";
    EXPECT_EQ(errorOf(Bits(48, '1')), start + "it does not begin with the mark of a block");
    EXPECT_EQ(errorOf(blockHeader(0, false, 900'000, 10)), start + "its primary index is beyond any block");
    EXPECT_EQ(errorOf(blockHeader(0, false, 0, 0)), start + "no byte values occur in it");
    const Bits header = blockHeader(0, false, 0, 254);
    for (const unsigned tables : {0U, 1U, 7U}) {
        EXPECT_EQ(errorOf(header + numberBits(tables, 3)), start + "the description of its codes makes no sense");
    }
    EXPECT_EQ(errorOf(header + numberBits(2, 3) + numberBits(0, 15)),
              start + "the description of its codes makes no sense");
    EXPECT_EQ(errorOf(header + numberBits(2, 3) + numberBits(1, 15) + "110"),
              start + "the description of its codes makes no sense");
    EXPECT_EQ(errorOf(makeBlock(someSymbols(), {.primaryIndex = 200}).bits),
              start + "its primary index is beyond its end");
    EXPECT_EQ(errorOf(makeBlock({}).bits), start + "it is empty");

    // Codes of 8 bits for 254 symbols: two stand for nothing.
    Bits block = makeBlock(someSymbols(), {.values = 252}).bits;
    block.replace(block.size() - 8, 8, "11111111");
    EXPECT_EQ(errorOf(block), start + "a code in it stands for nothing");

    block = good.bits;
    block[48] = block[48] == '0' ? '1' : '0';
    EXPECT_THAT(errorOf(block), StartsWith(start + "its CRC is 0x"));
    // Too few selectors.
    block = makeBlock(someSymbols(), {.description = numberBits(2, 3) + numberBits(3, 15) + "000" + "01000" +
                                                     Bits(256, '0') + "01000" + Bits(256, '0')})
                .bits;
    EXPECT_EQ(errorOf(block), start + "a code in it stands for nothing");
}

TEST(Bzip2Damage, TooLongBlocksAreErrors) {
    const auto longBlock = [](std::size_t size) {
        Symbols symbols(size);
        for (std::size_t i = 0; i < size; ++i) symbols[i] = static_cast<uint16_t>(2 + i % 3);
        return symbols;
    };
    const HandMadeBlock just = makeBlock(longBlock(100'000));
    EXPECT_EQ(decode(makeStream(1, {just})).contents, just.content);
    const HandMadeBlock beyond = makeBlock(longBlock(100'001));
    EXPECT_EQ(decode(makeStream(1, {beyond})).error,
              "block 1 at byte 4 is damaged: it is longer than the 100000 bytes of its stream's level");
    EXPECT_EQ(decode(makeStream(2, {beyond})).contents, beyond.content);
    const HandMadeBlock longest = makeBlock(longBlock(900'000));
    EXPECT_TRUE(decode(makeStream(9, {longest})).contents == longest.content);
    // One symbol too many, and runs whose numbers are beyond everything.
    for (Symbols symbols : {longBlock(900'001), longBlock(1'000'000), Symbols(40, 1), Symbols(2000, 0)}) {
        HandMadeBlock block = makeBlock(symbols);
        EXPECT_EQ(decode(makeStream(9, {block})).error, "block 1 at byte 4 is damaged: it is longer than 900000 bytes");
    }
}

TEST(Bzip2Damage, BlocksAndStreamsAreNamed) {
    const std::string contents = sample("random", 450'000);
    const std::string whole = encode(contents, 1);
    const std::vector<std::size_t> starts = blockStarts(whole);
    ASSERT_THAT(starts, SizeIs(5));
    for (std::size_t block = 0; block < starts.size(); ++block) {
        std::string damaged = whole;
        flip(damaged, starts[block] + 400'000);
        const std::string name =
            "block " + std::to_string(block + 1) + " at byte " + std::to_string(starts[block] / 8) + " is damaged: ";
        Decoded decoded = decode(damaged);
        EXPECT_THAT(decoded.error, StartsWith(name));
        EXPECT_TRUE(decoded.contents == contents.substr(0, decoded.contents.size()));
        EXPECT_EQ(decoded.contents.size() / 99'000, block);
        const std::string first = encode("hello");
        decoded = decode(first + damaged);
        EXPECT_THAT(decoded.error, StartsWith("stream 2, block " + std::to_string(block + 1) + " at byte " +
                                              std::to_string(first.size() + starts[block] / 8)));
    }
}

TEST(Bzip2Damage, TheCrcOfTheStreamIsChecked) {
    HandMadeBlock block = makeBlock(someSymbols());
    const std::string good = makeStream(9, {block});
    block.crc ^= 0x100;
    const Decoded decoded = decode(good + makeStream(9, {block}));
    EXPECT_THAT(decoded.error, StartsWith("stream 2 is damaged: the CRC of its blocks is 0x"));
    EXPECT_EQ(decoded.contents, block.content + block.content);
}

TEST(Bzip2Damage, ALostBlockIsNoticed) {
    const std::string whole = encode(sample("random", 250'000), 1);
    const std::vector<std::size_t> starts = blockStarts(whole);
    Bits bits = bitsOfBytes(whole);
    bits.erase(starts[1], starts[2] - starts[1]);
    EXPECT_THAT(decode(bytesOfBits(bits)).error, StartsWith("stream 1 is damaged: the CRC of its blocks is 0x"));
}

TEST(Bzip2Damage, RandomDamageIsSurvived) {
    ozrdc::test::Random random(1);
    const std::string whole = encode(sample("mixed", 230'000), 1) + encode(sample("text", 50'000), 1);
    for (int i = 0; i < 60; ++i) {
        std::string damaged = whole;
        for (uint64_t n = 1 + random.below(4); n > 0; --n) {
            const std::size_t at = random.below(damaged.size());
            switch (random.below(4)) {
                case 0:
                    flip(damaged, 8 * at);
                    break;
                case 1:
                    damaged.erase(at, 1 + random.below(100));
                    break;
                case 2:
                    damaged.insert(at, sample("random", 1 + random.below(100), random.next()));
                    break;
                default:
                    damaged.replace(at, 100, 100, '\0');
            }
        }
        EXPECT_NE(decode(damaged).error, "");
        const Decoded recovered = decode(damaged, true);
        EXPECT_NE(recovered.error, "");
        EXPECT_THAT(recovered.warnings, ::testing::Not(IsEmpty()));
    }
}

// --- Recovery -------------------------------------------------------------------------------------------------------

class Bzip2Recovery : public Workspace {
  protected:
    void SetUp() override {
        whole_ = encode(contents_, 1);
        starts_ = blockStarts(whole_);
        ASSERT_THAT(starts_, SizeIs(5));
        for (const std::size_t size : {std::size_t{0}, kBlock, 2 * kBlock, 3 * kBlock, 4 * kBlock}) {
            parts_.push_back(contents_.substr(size, kBlock));
        }
    }

    // The content without the given blocks.
    std::string without(std::vector<std::size_t> lost) const {
        std::string rest;
        for (std::size_t i = 0; i < parts_.size(); ++i) {
            if (std::find(lost.begin(), lost.end(), i) == lost.end()) rest += parts_[i];
        }
        return rest;
    }

    // Bytes that have neither runs nor the same number of any: blocks are 99981 bytes, less the one for a count.
    static constexpr std::size_t kBlock = 99'980;
    std::string contents_ = [] {
        std::string text(4 * kBlock + 30'000, '\0');
        ozrdc::test::Random random(3);
        for (std::size_t i = 0; i < text.size(); ++i) text[i] = static_cast<char>(2 * random.below(120) + i % 2);
        return text;
    }();
    std::string whole_;
    std::vector<std::size_t> starts_;
    std::vector<std::string> parts_;
};

TEST_F(Bzip2Recovery, IntactFilesAreJustDecompressed) {
    for (const std::string& file : {whole_, whole_ + encode(""), whole_ + whole_, encode("")}) {
        const Decoded recovered = decode(file, true);
        EXPECT_EQ(recovered.error, "");
        EXPECT_TRUE(recovered.warnings.empty());
        EXPECT_TRUE(recovered.contents == decode(file).contents);
    }
}

TEST_F(Bzip2Recovery, EveryBlockButTheDamagedOneIsWritten) {
    for (std::size_t block = 0; block < starts_.size(); ++block) {
        // In its mark, its CRC, its tables, its symbols.
        for (const std::size_t bit : {std::size_t{5}, std::size_t{50}, std::size_t{400}, std::size_t{20'000}}) {
            SCOPED_TRACE(std::to_string(block) + " " + std::to_string(bit));
            std::string damaged = whole_;
            flip(damaged, starts_[block] + bit);
            const Decoded recovered = decode(damaged, true);
            EXPECT_TRUE(recovered.contents == without({block}));
            EXPECT_EQ(recovered.error, "damaged in 1 place; 4 blocks are intact");
            EXPECT_THAT(recovered.warnings,
                        ElementsAre(StartsWith("block " + std::to_string(block + 1) + " at byte " +
                                               std::to_string(starts_[block] / 8) + " is damaged: ")));
        }
    }
}

TEST_F(Bzip2Recovery, SeveralDamagedBlocksAreLeftOut) {
    std::string damaged = whole_;
    flip(damaged, starts_[1] + 20'000);
    flip(damaged, starts_[3] + 20'000);
    EXPECT_TRUE(decode(damaged, true).contents == without({1, 3}));
    flip(damaged, starts_[2] + 20'000);
    EXPECT_TRUE(decode(damaged, true).contents == without({1, 2, 3}));
}

TEST_F(Bzip2Recovery, LostAndAddedBitsLoseOneBlock) {
    for (std::size_t block = 0; block < starts_.size(); ++block) {
        Bits bits = bitsOfBytes(whole_);
        bits.erase(starts_[block] + 50'000, 1003);
        EXPECT_TRUE(decode(bytesOfBits(bits), true).contents == without({block})) << block;
        bits = bitsOfBytes(whole_);
        bits.insert(starts_[block] + 50'000, Bits(1'000'001, '1'));
        EXPECT_TRUE(decode(bytesOfBits(bits), true).contents == without({block})) << block;
    }
}

TEST_F(Bzip2Recovery, WithoutItsHeaderAFileIsRecovered) {
    std::string damaged = whole_;
    damaged[0] = 'x';
    EXPECT_TRUE(decode(damaged, true).contents == contents_);
    EXPECT_TRUE(decode(whole_.substr(4), true).contents == contents_);
    EXPECT_TRUE(decode(whole_.substr(starts_[1] / 8 + 100), true).contents == without({0, 1}));
}

TEST_F(Bzip2Recovery, TruncatedFilesGiveTheBlocksInFrontOfTheEnd) {
    for (std::size_t block = 0; block < starts_.size(); ++block) {
        EXPECT_TRUE(decode(whole_.substr(0, starts_[block] / 8 + 300), true).contents ==
                    contents_.substr(0, block * kBlock));
        // Nothing at all behind the last bit of a block.
        EXPECT_TRUE(decode(whole_.substr(0, (starts_[block] + 7) / 8), true).contents ==
                    contents_.substr(0, block * kBlock));
    }
}

TEST_F(Bzip2Recovery, StreamsBehindTheDamageAreWritten) {
    std::string damaged = whole_;
    flip(damaged, starts_[4] + 20'000);
    const Decoded recovered = decode(damaged + whole_ + "garbage" + whole_, true);
    EXPECT_TRUE(recovered.contents == without({4}) + contents_ + contents_);
    EXPECT_THAT(recovered.warnings, SizeIs(2));
}

TEST_F(Bzip2Recovery, ADamagedBlockThatRunsOnIsGivenUpAtAnIntactOne) {
    // Without the symbol of its end the block has no end before the next one.
    HandMadeBlock block = makeBlock(someSymbols(100'000), {.unusedSelectors = 3000});
    block.bits.resize(block.bits.size() - 8);
    const HandMadeBlock good = makeBlock(someSymbols());
    const Decoded recovered = decode(makeStream(9, {good, block, good}), true);
    EXPECT_EQ(recovered.contents, good.content + good.content);
    EXPECT_THAT(recovered.warnings, ElementsAre(HasSubstr("block 2 at byte ")));
}

TEST_F(Bzip2Recovery, ManyLossesAreCounted) {
    std::string file = "BZh9";
    for (int i = 0; i < 500; ++i) file += bytesOfBits(kBlockMarkBits + blockHeader(1, false, 0, 0).substr(48));
    const Decoded recovered = decode(file, true);
    EXPECT_EQ(recovered.error, "damaged in 500 places; 0 blocks are intact");
    EXPECT_THAT(recovered.warnings, SizeIs(100));
}

TEST_F(Bzip2Recovery, TheCommandKeepsWhatIsIntactAndTheSource) {
    std::string damaged = whole_;
    flip(damaged, starts_[2] + 20'000);
    write("a.bz2", damaged);
    Result result = ozrz({"-d", "a.bz2"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, StartsWith("ozrz: a.bz2: block 3 at byte "));
    EXPECT_THAT(names(), ElementsAre("a.bz2"));
    result = ozrz({"-t", "a.bz2"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, StartsWith("ozrz: a.bz2: block 3 at byte "));

    for (const char* threads : {"-T1", "-T4"}) {
        result = ozrz({"--recover", threads, "-f", "--rm", "a.bz2"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, AllOf(StartsWith("ozrz: a.bz2: block 3 at byte "),
                                      HasSubstr("ozrz: a.bz2: damaged in 1 place; 4 blocks are intact; 329940 bytes "
                                                "are kept")));
        EXPECT_TRUE(read("a") == without({2}));
        EXPECT_THAT(names(), ElementsAre("a", "a.bz2"));
    }
    result = ozrz({"-t", "--recover", "a.bz2"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("4 blocks are intact"));
    result = ozrz({"-dc", "--recover"}, damaged);
    EXPECT_TRUE(result.out == without({2}));
}

TEST_F(Bzip2Recovery, IsForDecompressingFormatsThatCan) {
    write("a.gz", encodeWith("gzip", "hello", {}));
    EXPECT_THAT(ozrz({"--recover", "a.gz"}).err, HasSubstr("the format gzip has no --recover"));
    EXPECT_THAT(ozrz({"--recover", "-F", "lz4", "a.gz"}).err, HasSubstr("the format lz4 has no --recover"));
    EXPECT_THAT(ozrz({"-z", "--recover", "a.gz"}).err, HasSubstr("--recover is for decompressing"));
    write("b.bz2", sample("random", 1000));
    EXPECT_EQ(ozrz({"--recover", "b.bz2"}).exitCode, 1);
    EXPECT_THAT(names(), ElementsAre("a.gz", "b.bz2"));
}

}  // namespace
}  // namespace ozrz::test
