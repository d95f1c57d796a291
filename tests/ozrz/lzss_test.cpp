// .lzss files: what is written and what is read, taken apart and put together here after docs/formats.md, with the
// models of the LZSS stream's tests; damaged ones; and the command.
#include <algorithm>

#include "in_process.h"
#include "lzss/reference_lzss.h"
#include "support/random.h"
#include "support/sample_data.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ozrdc::test::Random;
using ozrdc::test::lzss::ReferenceDecoder;
using ozrdc::test::lzss::ReferenceEncoder;
using ozrdc::test::lzss::TokenWriter;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// --- The format, bit by bit -----------------------------------------------------------------------------------------

uint32_t crc32cOf(const std::string& text) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char c : text) {
        crc ^= static_cast<uint8_t>(c);
        for (int i = 0; i < 8; ++i) crc = crc >> 1 ^ (crc & 1) * 0x82F63B78;
    }
    return ~crc;
}

std::string number(uint64_t value, unsigned bytes) {
    std::string text;
    for (; bytes > 0; --bytes, value >>= 8) text += static_cast<char>(value);
    return text;
}

uint32_t numberAt(const std::string& text, std::size_t at) {
    uint32_t value = 0;
    for (std::size_t i = 4; i > 0; --i) value = value << 8 | static_cast<uint8_t>(text.at(at + i - 1));
    return value;
}

std::string textOf(const std::vector<uint8_t>& bytes) { return {bytes.begin(), bytes.end()}; }

std::string header(unsigned blockSizeLog = 20, unsigned version = 1, unsigned flags = 0) {
    const std::string fields = "\x89LSS" + number(version, 1) + number(flags, 1) + number(blockSizeLog, 1);
    return fields + number(crc32cOf(fields), 1);
}

std::string blockHeader(const std::string& contents, std::size_t dataSize) {
    return number(contents.size(), 4) + number(dataSize, 4) + number(crc32cOf(contents), 4);
}

std::string streamOf(const std::string& contents) {
    ReferenceEncoder encoder;
    std::string stream = textOf(encoder.encode(bytesOf(contents), 2 * contents.size() + 8).written);
    return stream + textOf(encoder.flush(8).written);
}

// A block's header and data.
std::string block(const std::string& contents) {
    const std::string stream = streamOf(contents);
    const std::string& data = stream.size() < contents.size() ? stream : contents;
    return blockHeader(contents, data.size()) + data;
}

std::string member(const std::vector<std::string>& blocks, unsigned blockSizeLog = 20) {
    std::string file = header(blockSizeLog);
    std::string headers;
    for (const std::string& b : blocks) {
        file += b;
        headers += b.substr(0, 12);
    }
    return file + number(0, 4) + number(crc32cOf(headers), 4);
}

// --- Both ways ------------------------------------------------------------------------------------------------------

std::string encode(const std::string& contents, unsigned threads = 1) {
    return encodeWith("lzss", contents, {.threads = threads});
}

// Decodes with one thread and with several, which must agree.
Decoded decode(const std::string& file, bool recover = false) {
    Decoded one = decodeWith("lzss", file, {.threads = 1, .recover = recover});
    const Decoded several = decodeWith("lzss", file, {.threads = 3, .recover = recover});
    EXPECT_TRUE(one.contents == several.contents);
    EXPECT_EQ(one.error, several.error);
    EXPECT_EQ(one.warnings, several.warnings);
    return one;
}

void expectContents(const std::string& contents, const std::string& file) {
    const Decoded decoded = decode(file);
    EXPECT_EQ(decoded.error, "");
    EXPECT_THAT(decoded.warnings, IsEmpty());
    EXPECT_TRUE(decoded.contents == contents);
}

std::string errorOf(const std::string& file) { return decode(file).error; }

TEST(Lzss, WritesTheFormat) {
    EXPECT_EQ(encode(""), member({}));
    EXPECT_EQ(encode("").size(), 16U);
    const std::string text = sample("text", 100'000);
    EXPECT_TRUE(encode(text) == member({block(text)}));
    const std::string noise = sample("random", 5000);
    EXPECT_TRUE(encode(noise) == header() + blockHeader(noise, noise.size()) + noise + number(0, 4) +
                                     number(crc32cOf(blockHeader(noise, noise.size())), 4));
}

TEST(Lzss, BlocksAreOfOneMebibyte) {
    const std::string contents = sample("mixed", (2 << 20) + 12345);
    const std::string file = encode(contents);
    std::size_t at = 8;
    std::string restored;
    for (const std::size_t size : {std::size_t{1} << 20, std::size_t{1} << 20, std::size_t{12345}}) {
        ASSERT_EQ(numberAt(file, at), size);
        const std::string data = file.substr(at + 12, numberAt(file, at + 4));
        const std::string part =
            data.size() == size ? data : textOf(ReferenceDecoder().decode(bytesOf(data), size).written);
        ASSERT_EQ(numberAt(file, at + 8), crc32cOf(part));
        restored += part;
        at += 12 + data.size();
    }
    EXPECT_TRUE(restored == contents);
    EXPECT_EQ(numberAt(file, at), 0U);
    EXPECT_EQ(file.size(), at + 8);
}

TEST(Lzss, RestoresEveryKindOfData) {
    for (const ozrdc::test::SampleKind& kind : ozrdc::test::sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const std::string contents = sample(kind.name, 300'000);
        expectContents(contents, encode(contents));
    }
}

TEST(Lzss, RestoresSizesAroundBlocks) {
    const std::string contents = sample("text", (2 << 20) + 1);
    for (const std::size_t size : {0U, 1U, 2U, 3U, 100U, (1U << 20) - 1, 1U << 20, (1U << 20) + 1, 2U << 20}) {
        SCOPED_TRACE(size);
        expectContents(contents.substr(0, size), encode(contents.substr(0, size)));
    }
}

TEST(Lzss, BytesDoNotDependOnThreads) {
    const std::string contents = sample("mixed", 5 << 20);
    const std::string one = encode(contents, 1);
    for (const unsigned threads : {2U, 3U, 8U}) EXPECT_TRUE(encode(contents, threads) == one);
}

TEST(Lzss, DataThatDoNotShrinkGrowByHeadersOnly) {
    const std::string contents = sample("random", 2 << 20);
    EXPECT_EQ(encode(contents).size(), contents.size() + 8 + 2 * 12 + 8);
}

TEST(Lzss, EveryBlockSizeIsRead) {
    for (unsigned log = 10; log <= 26; ++log) {
        const std::size_t size = std::min<std::size_t>(std::size_t{1} << log, 100'000);
        const std::string contents = sample("text", 2 * size, log);
        expectContents(contents, member({block(contents.substr(0, size)), block(contents.substr(size))}, log));
    }
}

TEST(Lzss, BlocksOfAnySizesAreRead) {
    Random random(1);
    const std::string contents = sample("mixed", 300'000);
    std::vector<std::string> blocks;
    for (std::size_t at = 0; at < contents.size();) {
        const std::size_t size = 1 + random.below(random.oneIn(4) ? 30'000 : 300);
        blocks.push_back(block(contents.substr(at, size)));
        at += size;
    }
    expectContents(contents, member(blocks));
}

TEST(Lzss, MembersFollowEachOther) {
    expectContents("one two three", encode("one ") + encode("") + member({block("two ")}, 10) + encode("three"));
}

TEST(Lzss, BytesBehindTheEndAreWarnedOf) {
    const Decoded decoded = decode(encode("hello") + "more");
    EXPECT_EQ(decoded.contents, "hello");
    EXPECT_EQ(decoded.error, "");
    EXPECT_THAT(decoded.warnings, ElementsAre("trailing garbage ignored: the bytes from " +
                                              std::to_string(encode("hello").size()) + " on are no LZSS member"));
}

TEST(Lzss, BlocksDoNotDependOnEachOther) {
    // A distance in front of a block finds zeros, whatever was decoded before, and on whichever thread.
    const std::string text = sample("text", 50'000);
    const std::string odd = std::string(10, '\0') + "a";
    const std::string data = textOf(TokenWriter().match(30'000, 10).literal('a').bytes());
    const std::string oddBlock = blockHeader(odd, data.size()) + data;
    std::vector<std::string> blocks;
    std::string contents;
    for (int i = 0; i < 20; ++i) {
        blocks.insert(blocks.end(), {block(text), oddBlock});
        contents += text + odd;
    }
    expectContents(contents, member(blocks));
}

// --- Damage ---------------------------------------------------------------------------------------------------------

std::string twoBlocks() {
    return member({block(sample("text", 120) + std::string(300, 'x')), block(sample("random", 40))});
}

TEST(LzssDamage, EveryTruncationIsAnError) {
    const std::string whole = twoBlocks();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_THAT(errorOf(whole.substr(0, size)), StartsWith(size == 0  ? "the file is empty"
                                                               : size < 4 ? "not an LZSS file"
                                                                          : "truncated: the data end "))
            << size;
    }
}

TEST(LzssDamage, EveryValueOfEveryByteIsAnErrorOrHarmless) {
    const std::string whole = twoBlocks();
    const std::string contents = decode(whole).contents;
    std::size_t harmless = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (unsigned value = 0; value < 256; ++value) {
            std::string damaged = whole;
            damaged[i] = static_cast<char>(value);
            const Decoded decoded = decodeWith("lzss", damaged);
            if (!decoded.error.empty()) continue;
            ASSERT_EQ(decoded.contents, contents) << i << ' ' << value;
            ++harmless;
        }
    }
    // The unchanged file, once for each byte, and few others: the bits that fill a stream up, and some distances.
    EXPECT_GE(harmless, whole.size());
    EXPECT_LE(harmless, 3 * whole.size());
}

TEST(LzssDamage, MessagesSayWhatIsWrong) {
    EXPECT_EQ(errorOf(header(20, 2)), "an LZSS header has the unknown version 2");
    EXPECT_EQ(errorOf(header(20, 1, 4)), "an LZSS header has the unknown flags 4");
    EXPECT_EQ(errorOf(header(9)), "an LZSS header names the block size 2^9, which cannot be");
    EXPECT_EQ(errorOf(header(27)), "an LZSS header names the block size 2^27, which cannot be");
    std::string damaged = header();
    damaged[7] = static_cast<char>(damaged[7] ^ 1);
    EXPECT_EQ(errorOf(damaged), "an LZSS header is damaged");

    const std::string text = sample("text", 2000);
    const std::string data = streamOf(text);
    const std::string good = block(text);
    const auto second = [&](const std::string& bad) { return member({good, bad}, 11); };
    const std::string name = "block 2 at byte " + std::to_string(8 + good.size());
    EXPECT_EQ(errorOf(second(number(2049, 4) + number(10, 4) + number(0, 4))),
              name + " is damaged: its size 2049 is above the maximum of 2048");
    EXPECT_EQ(errorOf(second(number(100, 4) + number(0, 4) + number(0, 4))),
              name + " is damaged: it has 0 bytes of data for 100 bytes");
    EXPECT_EQ(errorOf(second(number(100, 4) + number(101, 4) + number(0, 4))),
              name + " is damaged: it has 101 bytes of data for 100 bytes");
    EXPECT_EQ(errorOf(second(blockHeader(text, data.size() - 5) + data.substr(5))).substr(0, name.size() + 13),
              name + " is damaged: ");
    const std::string little = textOf(TokenWriter().literal('a').match(1, 9).bytes());
    EXPECT_EQ(errorOf(second(blockHeader(std::string(11, 'a'), little.size()) + little)),
              name + " is damaged: its data end behind 10 of 11 bytes");
    EXPECT_EQ(errorOf(second(blockHeader(std::string(10, 'a'), little.size() + 2) + little + "zz")),
              name + " is damaged: it has 2 bytes behind its end");
    EXPECT_THAT(errorOf(second(blockHeader(std::string(10, 'b'), little.size()) + little)),
                StartsWith(name + " is damaged: its checksum is 0x"));
    EXPECT_THAT(errorOf(encode("a") + second(blockHeader("c", 1) + "d")),
                StartsWith("member 2, block 2 at byte " + std::to_string(8 + good.size() + encode("a").size()) +
                           " is damaged: its checksum is 0x"));
}

TEST(LzssDamage, LostAndExchangedBlocksAreNoticed) {
    const std::vector<std::string> blocks{block("one"), block("two"), block("three")};
    const std::string whole = member(blocks);
    const std::string end = whole.substr(whole.size() - 8);
    for (const auto& file : {header() + blocks[0] + blocks[2] + end, header() + blocks[1] + blocks[0] + blocks[2] + end,
                             header() + blocks[0] + blocks[0] + blocks[1] + blocks[2] + end, header() + end}) {
        EXPECT_THAT(errorOf(file), StartsWith("the blocks are not those that were written: the checksum of their "
                                              "headers is 0x"));
    }
}

TEST(LzssDamage, DamagedBlocksAreLeftOutOnRequest) {
    std::string file = member({block("first "), block("second "), block("third "), block("fourth ")});
    const std::size_t third = 8 + 2 * 12 + 6 + 7;
    file[third + 12] = 'T';
    const Decoded strict = decode(file);
    EXPECT_EQ(strict.contents, "first second ");
    EXPECT_THAT(strict.error, StartsWith("block 3 at byte " + std::to_string(third) + " is damaged: "));
    const Decoded recovered = decode(file, true);
    EXPECT_EQ(recovered.contents, "first second fourth ");
    EXPECT_EQ(recovered.error, "1 block is damaged; 3 blocks are intact");
    EXPECT_THAT(recovered.warnings,
                ElementsAre(StartsWith("block 3 at byte " + std::to_string(third) + " is damaged: its checksum")));
    expectContents("first second third fourth ",
                   member({block("first "), block("second "), block("third "), block("fourth ")}));
}

TEST(LzssDamage, RandomDamageIsSurvived) {
    Random random(2);
    const std::string whole = member({block(sample("mixed", 9000)), block(sample("text", 7000)), block("!")}, 14);
    for (int round = 0; round < 1000; ++round) {
        std::string damaged = whole;
        for (uint64_t n = 1 + random.below(5); n > 0; --n) {
            damaged[random.below(damaged.size())] = static_cast<char>(random.byte());
        }
        if (random.oneIn(3)) damaged.erase(random.below(damaged.size()), 1 + random.below(100));
        for (const bool recover : {false, true}) decodeWith("lzss", damaged, {.recover = recover});
    }
}

// --- The command ----------------------------------------------------------------------------------------------------

class LzssCommand : public Workspace {};

TEST_F(LzssCommand, FilesAreKnownBySuffixAndByContent) {
    const std::string contents = sample("text", 3 << 20);
    write("a", contents);
    ASSERT_EQ(ozrz({"-F", "lzss", "a"}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre("a", "a.lzss"));
    EXPECT_TRUE(ozrz({"-dc", "a.lzss"}).out == contents);
    EXPECT_TRUE(ozrz({"-dc"}, read("a.lzss")).out == contents);
    ASSERT_EQ(ozrz({"-d", "-f", "a.lzss"}).exitCode, 0);
    EXPECT_TRUE(read("a") == contents);
    // The output's name chooses the format, too.
    ASSERT_EQ(ozrz({"-o", "b.lzss", "a"}).exitCode, 0);
    EXPECT_TRUE(read("b.lzss") == read("a.lzss"));
}

TEST_F(LzssCommand, ListsWithoutDecoding) {
    const std::string data = textOf(TokenWriter().literal('a').match(1, 9).bytes());
    const std::string damaged = member({blockHeader(std::string(10, 'b'), data.size()) + data});
    write("a.lzss", encode(sample("text", 1'500'000)) + damaged);
    EXPECT_EQ(ozrz({"-t", "a.lzss"}).exitCode, 1);
    const Result result = ozrz({"-lv", "a.lzss"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, ContainsRegex("lzss +[0-9]+ +1500010 +[0-9.]+ +crc32c +a.lzss\n"));
    EXPECT_THAT(result.out, HasSubstr("3 blocks in 2 members"));
}

TEST_F(LzssCommand, DamageIsReportedAndNothingMadeOfIt) {
    std::string file = encode(sample("text", 100'000));
    file[5000] = static_cast<char>(file[5000] ^ 1);
    write("a.lzss", file);
    for (const char* mode : {"-t", "-d"}) {
        const Result result = ozrz({mode, "a.lzss"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, StartsWith("ozrz: a.lzss: block 1 at byte 8 is damaged: "));
        EXPECT_THAT(names(), ElementsAre("a.lzss"));
    }
    write("b.lzss", file.substr(0, 4000));
    EXPECT_THAT(ozrz({"-d", "b.lzss"}).err, HasSubstr("b.lzss: truncated: the data end inside block 1 at byte 8"));
    EXPECT_THAT(names(), ElementsAre("a.lzss", "b.lzss"));
}

TEST_F(LzssCommand, HasNeitherLevelsNorDictionaries) {
    write("a", "hello");
    write("d", "dictionary");
    EXPECT_EQ(ozrz({"-F", "lzss", "-9", "a"}).exitCode, 1);
    EXPECT_THAT(ozrz({"-F", "lzss", "-D", "d", "a"}).err, HasSubstr("lzss files know no dictionaries"));
}

}  // namespace
}  // namespace ozrz::test
