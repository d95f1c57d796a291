// bzip2 files: what is written, what is read, odd ones included; libbz2 judges both.
#include <algorithm>
#include <array>

#include "bytes.h"
#include "bzip2_builder.h"
#include "formats/bzip2/block_finder.h"
#include "formats/bzip2/randomization.h"
#include "in_process.h"
#include "support/random.h"
#include "support/sample_data.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ozrdc::test::Random;
using ozrdc::test::bz2::numberBits;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string encode(const std::string& contents, int level = 9, unsigned threads = 1) {
    return encodeWith("bzip2", contents, {.level = level, .threads = threads});
}

// Decodes with one thread and with several, which must agree.
Decoded decode(const std::string& file) {
    Decoded one = decodeWith("bzip2", file, {.threads = 1});
    const Decoded several = decodeWith("bzip2", file, {.threads = 3});
    EXPECT_TRUE(one.contents == several.contents);
    EXPECT_EQ(one.error, several.error);
    EXPECT_EQ(one.warnings, several.warnings);
    return one;
}

void expectContents(const std::string& contents, const std::string& file) {
    const Decoded decoded = decode(file);
    ASSERT_EQ(decoded.error, "");
    ASSERT_TRUE(decoded.warnings.empty());
    ASSERT_TRUE(decoded.contents == contents);
}

// It is read here and by libbz2.
void expectValid(const std::string& contents, const std::string& file) {
    expectContents(contents, file);
    const auto judged = libbz2Decompress(file);
    ASSERT_TRUE(judged && *judged == contents);
}

std::string randomText(std::size_t size, unsigned values, uint64_t stream) {
    Random random(stream);
    std::string text(size, '\0');
    for (char& c : text) c = static_cast<char>(random.below(values));
    return text;
}

// Bytes with runs of all lengths, short ones most of all.
std::string runs(std::size_t size, uint64_t stream) {
    Random random(stream);
    std::string text;
    while (text.size() < size) {
        const std::size_t longest = random.oneIn(8) ? 1000 : 10;
        text.append(1 + random.below(longest), static_cast<char>(random.below(3)));
    }
    text.resize(size);
    return text;
}

TEST(Bzip2, RestoresEveryKindOfDataAtEveryLevel) {
    for (const ozrdc::test::SampleKind& kind : ozrdc::test::sampleKinds()) {
        const std::string contents = sample(kind.name, 250'000);
        for (const int level : {1, 2, 9}) {
            SCOPED_TRACE(std::string(kind.name) + " -" + std::to_string(level));
            expectValid(contents, encode(contents, level));
        }
    }
}

TEST(Bzip2, LevelsTellBlockSizes) {
    const std::string contents = randomText(950'000, 40, 1);
    for (int level = 1; level <= 9; ++level) {
        SCOPED_TRACE(level);
        const std::string file = encode(contents, level);
        EXPECT_EQ(file.substr(0, 4), "BZh" + std::to_string(level));
        expectValid(contents, file);
        const Bits bits = bitsOfBytes(file);
        std::size_t blocks = 0;
        for (std::size_t at = 0; (at = bits.find(kBlockMarkBits, at)) != Bits::npos; ++at) ++blocks;
        const std::size_t blockSize = 100'000 * static_cast<std::size_t>(level) - 20;
        EXPECT_EQ(blocks, (contents.size() + blockSize - 1) / blockSize);
    }
}

TEST(Bzip2, EmptyFilesAreAStreamWithoutBlocks) {
    const std::string nothing = "BZh9" + bytesOfBits(kEndMarkBits + numberBits(0, 32));
    EXPECT_EQ(encode(""), nothing);
    expectValid("", nothing);
    expectValid("", nothing + nothing + nothing);
}

TEST(Bzip2, RestoresShortContents) {
    for (std::size_t size = 1; size <= 300; ++size) {
        SCOPED_TRACE(size);
        expectValid(std::string(size, 'a'), encode(std::string(size, 'a'), 1));
        const std::string text = runs(size, size);
        expectValid(text, encode(text, 1));
    }
    for (unsigned value = 0; value < 256; ++value) {
        const std::string one(1, static_cast<char>(value));
        expectValid(one, encode(one));
    }
}

TEST(Bzip2, RestoresSizesAroundTheEndOfABlock) {
    const std::string text = randomText(200'100, 200, 2);
    for (std::size_t size = 99'970; size <= 100'005; ++size)
        expectValid(text.substr(0, size), encode(text.substr(0, size), 1));
    // A run that lies across it, at all places.
    for (std::size_t before = 99'960; before <= 99'990; ++before) {
        for (const std::size_t run : {std::size_t{3}, std::size_t{4}, std::size_t{5}, std::size_t{258},
                                      std::size_t{259}, std::size_t{260}, std::size_t{600}}) {
            std::string contents = text.substr(0, before) + std::string(run, '\xFF') + text.substr(before, 50);
            SCOPED_TRACE(std::to_string(before) + " " + std::to_string(run));
            const std::string file = encode(contents, 1);
            const auto judged = libbz2Decompress(file);
            ASSERT_TRUE(judged && *judged == contents);
            const Decoded decoded = decodeWith("bzip2", file);
            ASSERT_TRUE(decoded.error.empty() && decoded.contents == contents);
        }
    }
}

TEST(Bzip2, ReadsWhatLibbz2Writes) {
    for (const ozrdc::test::SampleKind& kind : ozrdc::test::sampleKinds()) {
        const std::string contents = sample(kind.name, 350'000);
        for (const int level : {1, 3, 9}) {
            SCOPED_TRACE(std::string(kind.name) + " -" + std::to_string(level));
            expectContents(contents, libbz2Compress(contents, level));
        }
        expectContents(contents, libbz2Compress(contents, 9, 1));
    }
}

TEST(Bzip2, ContentsThatAreLongerThanTheirBlocksAreRestored) {
    // More than is kept of one block, ending in the midst of runs and between them.
    for (const std::size_t size : {std::size_t{2} * 1024 * 1024 - 1, std::size_t{2} * 1024 * 1024,
                                   std::size_t{2} * 1024 * 1024 + 1, std::size_t{7'000'003}}) {
        SCOPED_TRACE(size);
        const std::string constant(size, 'x');
        expectValid(constant, encode(constant));
        expectContents(constant, libbz2Compress(constant, 9));
    }
    for (uint64_t stream = 1; stream <= 4; ++stream) {
        const std::string contents = runs(6'000'000, stream);
        expectValid(contents, encode(contents));
        expectContents(contents, libbz2Compress(contents, 9));
    }
}

TEST(Bzip2, BytesDoNotDependOnThreads) {
    for (const char* kind : {"mixed", "random"}) {
        const std::string contents = sample(kind, 1'050'000) + runs(400'000, 3);
        const std::string one = encode(contents, 1, 1);
        for (const unsigned threads : {2U, 3U, 8U}) EXPECT_TRUE(encode(contents, 1, threads) == one);
        expectValid(contents, one);
    }
}

TEST(Bzip2, FilesAreHardlyLargerThanLibbz2s) {
    std::size_t ours = 0;
    std::size_t theirs = 0;
    for (const auto& file : ozrdc::test::corpusFiles(1'000'000)) {
        const std::string contents(file.bytes.begin(), file.bytes.end());
        ours += encode(contents).size();
        theirs += libbz2Compress(contents, 9).size();
    }
    if (theirs == 0) GTEST_SKIP() << "there is no corpus";
    EXPECT_LE(static_cast<double>(ours), 1.005 * static_cast<double>(theirs));
}

TEST(Bzip2, StreamsAreOneFile) {
    const std::string a = sample("text", 250'000);
    const std::string b = sample("random", 150'000);
    expectValid(a + b + a, encode(a, 1) + encode("", 5) + encode(b, 9) + libbz2Compress(a, 2));
    std::string contents;
    std::string file;
    for (std::size_t i = 0; i < 2000; ++i) {
        const std::string part(i % 40, static_cast<char>('a' + i % 26));
        contents += part;
        file +=
            i % 2 == 0 ? encode(part, 1 + static_cast<int>(i % 9)) : libbz2Compress(part, 1 + static_cast<int>(i % 9));
    }
    expectValid(contents, file);
}

TEST(Bzip2, GarbageBehindTheLastStreamIsAWarning) {
    const std::string file = encode("hello");
    for (const std::string& garbage :
         {std::string("x"), std::string("BZ"), std::string("BZh"), std::string("BZh0"), std::string("bzh9 and more"),
          std::string(100'000, '\0'), bytesOfBits(kBlockMarkBits + kBlockMarkBits) + sample("random", 300'000)}) {
        const Decoded decoded = decode(file + garbage);
        EXPECT_EQ(decoded.error, "");
        EXPECT_EQ(decoded.contents, "hello");
        EXPECT_THAT(decoded.warnings, ElementsAre(StartsWith("trailing garbage ignored: the bytes from " +
                                                             std::to_string(file.size()) + " on")));
    }
}

// --- Randomized blocks ----------------------------------------------------------------------------------------------

TEST(Bzip2, RandomizedBlocksAreRead) {
    // As long as the numbers last, twice over. No four equal bytes follow each other before or after the changes.
    std::string contents(700'000, '\0');
    Random random(7);
    for (std::size_t i = 0; i < contents.size(); ++i)
        contents[i] = static_cast<char>(4 * (i % 2) + 2 * random.below(2));
    std::string changed = contents;
    bzip2::undoRandomization({reinterpret_cast<uint8_t*>(changed.data()), changed.size()});
    EXPECT_NE(changed, contents);

    // libbz2 makes an ordinary block of the changed bytes; flag and CRCs are then those of a randomized one.
    Bits bits = bitsOfBytes(libbz2Compress(changed, 9));
    const std::size_t crcAt = 32 + 48;
    const std::size_t flagAt = crcAt + 32;
    const Bits crc = numberBits(bzip2Crc(contents), 32);
    bits.replace(crcAt, 32, crc);
    bits[flagAt] = '1';
    bits.replace(bits.rfind(kEndMarkBits) + 48, 32, crc);
    expectValid(contents, bytesOfBits(bits));
    bits[flagAt] = '0';
    EXPECT_THAT(decode(bytesOfBits(bits)).error, HasSubstr("block 1 at byte 4 is damaged: its CRC is 0x"));
}

TEST(Bzip2, ShortRandomizedBlocksAreRead) {
    for (const std::size_t size :
         {std::size_t{1}, std::size_t{617}, std::size_t{618}, std::size_t{619}, std::size_t{1337}, std::size_t{1338}}) {
        std::string contents;
        for (std::size_t i = 0; i < size; ++i) contents += static_cast<char>(4 * (i % 2));
        std::string changed = contents;
        if (size >= 618) changed[617] = static_cast<char>(changed[617] ^ 1);
        if (size >= 1338) changed[1337] = static_cast<char>(changed[1337] ^ 1);
        Bits bits = bitsOfBytes(libbz2Compress(changed, 9));
        const Bits crc = numberBits(bzip2Crc(contents), 32);
        bits.replace(32 + 48, 32, crc);
        bits[32 + 48 + 32] = '1';
        bits.replace(bits.rfind(kEndMarkBits) + 48, 32, crc);
        SCOPED_TRACE(size);
        expectValid(contents, bytesOfBits(bits));
    }
}

// --- Marks where no block begins ------------------------------------------------------------------------------------

// Symbols whose codes spell bytes, none of which may be the end of the block.
Symbols symbolsSpelling(const std::string& bytes) {
    Symbols symbols;
    for (const char c : bytes) symbols.push_back(static_cast<uint8_t>(c));
    return symbols;
}

Symbols randomSymbols(std::size_t count, uint64_t stream) {
    Random random(stream);
    Symbols symbols(count);
    for (uint16_t& symbol : symbols) symbol = static_cast<uint16_t>(2 + random.below(253));
    return symbols;
}

const std::string kMarkBytes("\x31\x41\x59\x26\x53\x59", 6);

TEST(Bzip2, MarksInsideBlocksBeginNoBlocks) {
    for (unsigned shift = 0; shift < 8; ++shift) {
        for (const std::size_t place : {std::size_t{0}, std::size_t{49}, std::size_t{700}, std::size_t{2000}}) {
            SCOPED_TRACE(std::to_string(shift) + " " + std::to_string(place));
            Symbols symbols = randomSymbols(2000, place + shift);
            const Symbols mark = symbolsSpelling(kMarkBytes);
            symbols.insert(symbols.begin() + static_cast<std::ptrdiff_t>(place), mark.begin(), mark.end());
            const HandMadeBlock block = makeBlock(symbols, {.unusedSelectors = shift});
            ASSERT_NE(block.bits.find(kBlockMarkBits, 1), Bits::npos);
            const HandMadeBlock other = makeBlock(randomSymbols(500, 3));
            expectValid(other.content + block.content + other.content, makeStream(1, {other, block, other}));
        }
    }
}

TEST(Bzip2, BlocksFullOfMarksAreRead) {
    Symbols symbols = randomSymbols(1000, 1);
    for (int i = 0; i < 10'000; ++i) {
        for (const uint16_t symbol : symbolsSpelling(kMarkBytes)) symbols.push_back(symbol);
    }
    const HandMadeBlock block = makeBlock(symbols);
    expectValid(block.content + block.content, makeStream(9, {block, block}));
}

TEST(Bzip2, WholeBlocksInsideBlocksAreNoBlocks) {
    // One whose bytes can all be spelled.
    for (uint64_t stream = 1;; ++stream) {
        ASSERT_LT(stream, 1000U);
        const HandMadeBlock inner = makeBlock(symbolsSpelling(randomText(40, 10, stream)), {.values = 10});
        const std::string bytes = bytesOfBits(inner.bits);
        if (bytes.find('\xFF') != std::string::npos) continue;
        Symbols symbols = randomSymbols(100, stream);
        for (const uint16_t symbol : symbolsSpelling(bytes)) symbols.push_back(symbol);
        const Symbols end = randomSymbols(100, stream + 1);
        symbols.insert(symbols.end(), end.begin(), end.end());
        const HandMadeBlock outer = makeBlock(symbols);
        expectValid(outer.content + inner.content + outer.content, makeStream(1, {outer, inner, outer}));
        return;
    }
}

TEST(Bzip2, BlocksThatAreLongInTheFileAreRead) {
    // Codes of 9 bits, 20 of them for the tables' lengths going up and down: more than is read at once.
    Symbols symbols = randomSymbols(899'000, 5);
    const HandMadeBlock plain = makeBlock(symbols);
    ASSERT_GT(plain.content.size(), 880'000U);
    const std::size_t alphaSize = 256;
    Bits description = numberBits(2, 3) + numberBits(18'000, 15) + Bits(18'000, '0');
    for (int table = 0; table < 2; ++table) {
        description += numberBits(8, 5);
        for (int i = 0; i < 3'000'000; ++i) description += "1011";
        description += Bits(alphaSize, '0');
    }
    const HandMadeBlock block = makeBlock(symbols, {.description = description});
    expectValid(plain.content + block.content, makeStream(9, {plain, block}));
}

TEST(Bzip2, AllSelectorsThatADescriptionCanHaveAreRead) {
    const HandMadeBlock block = makeBlock(randomSymbols(100, 1), {.unusedSelectors = 32'767 - 3});
    expectContents(block.content, makeStream(9, {block}));
}

// --- The finder of marks --------------------------------------------------------------------------------------------

TEST(Bzip2Finder, FindsMarksAtEveryBit) {
    Random random(1);
    for (std::size_t at = 0; at < 200; ++at) {
        Bits bits;
        while (bits.size() < 400) bits += random.oneIn(2) ? '1' : '0';
        bits.replace(at, 48, kBlockMarkBits);
        const std::string bytes = bytesOfBits(bits);
        const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
        for (const std::size_t from : {std::size_t{0}, at / 2, at}) {
            EXPECT_EQ(bzip2::findBlockMark(data, from, 30), at) << from;
        }
        EXPECT_EQ(bzip2::findBlockMark(data, at + 1, 30), bzip2::kNoMark);
        EXPECT_EQ(bzip2::findBlockMark(data, 0, at / 8), bzip2::kNoMark);
    }
}

TEST(Bzip2Finder, PiecesAreTheWholeSourceCutAtMarks) {
    Random random(2);
    for (int repetition = 0; repetition < 30; ++repetition) {
        // Marks near the ends of what is read at once, and anywhere.
        std::string bytes = sample("random", random.below(400'000), static_cast<uint64_t>(repetition));
        std::vector<std::size_t> marks;
        Bits mark = kBlockMarkBits;
        for (std::size_t at = random.below(100); at + 60 < 8 * bytes.size();) {
            marks.push_back(at);
            for (std::size_t i = 0; i < 48; ++i) {
                char& byte = bytes[(at + i) / 8];
                const int one = 0x80 >> (at + i) % 8;
                byte = static_cast<char>(mark[i] == '1' ? byte | one : byte & ~one);
            }
            at += random.oneIn(3) ? 48 + random.below(40) : random.below(900'000) + 48;
        }
        MemorySource source(bytesOf(bytes));
        bzip2::BlockFinder finder(source);
        bzip2::Piece piece;
        uint64_t position = 0;
        std::vector<std::size_t> found;
        while (finder.next(piece)) {
            ASSERT_EQ(piece.begin, position);
            ASSERT_GT(piece.end, piece.begin);
            position = piece.end;
            if (piece.atMark) found.push_back(piece.begin);
            const std::size_t size =
                std::min<std::size_t>(bytes.size(), piece.end / 8 + bzip2::BlockFinder::kLookAhead) - piece.begin / 8;
            ASSERT_EQ(piece.size, size);
            ASSERT_TRUE(std::equal(piece.bytes().begin(), piece.bytes().end(),
                                   bytesOf(bytes).begin() + static_cast<std::ptrdiff_t>(piece.begin / 8)));
        }
        EXPECT_EQ(position, 8 * bytes.size());
        EXPECT_EQ(found, marks);
    }
}

// --- The command ----------------------------------------------------------------------------------------------------

class Bzip2Files : public Workspace {};

TEST_F(Bzip2Files, SuffixesAreTakenOffAndPutOn) {
    write("a", "hello");
    ASSERT_EQ(ozrz({"-F", "bzip2", "--rm", "a"}).exitCode, 0);
    EXPECT_THAT(names(), ElementsAre("a.bz2"));
    std::filesystem::rename(path("a.bz2"), path("b.tbz2"));
    ASSERT_EQ(ozrz({"-d", "b.tbz2"}).exitCode, 0);
    EXPECT_EQ(read("b.tar"), "hello");
    ASSERT_EQ(ozrz({"-o", "c.bz2", "b.tar"}).exitCode, 0);
    EXPECT_EQ(libbz2Decompress(read("c.bz2")), "hello");
}

TEST_F(Bzip2Files, ListTellsBlocksAndStreams) {
    write("a.bz2", encode(sample("random", 250'000), 1) + encode("hello", 9));
    const Result result = ozrz({"-lv", "a.bz2"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, ContainsRegex("bzip2 +[0-9]+ +250005 +[0-9.]+ +crc32 +a.bz2\n"));
    EXPECT_THAT(result.out, HasSubstr("4 blocks, level 1 in the first of 2 streams"));
}

TEST_F(Bzip2Files, DictionariesAreRefused) {
    write("d", "dictionary");
    const Result result = ozrz({"-F", "bzip2", "-D", "d", "-c"}, std::string("hello"));
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("bzip2 knows no dictionaries"));
}

TEST_F(Bzip2Files, MemoryIsBoundedByThreads) {
    // Blocks stand for 46 MB each, and with sixteen threads eighteen of them are under way: 800 MB.
    write("a", "");
    std::filesystem::resize_file(path("a"), 1'000'000'000);
    Result result = ozrz({"-T2", "-F", "bzip2", "a"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_LT(result.maxResidentKilobytes, 400'000);
    result = ozrz({"-T16", "-t", "a.bz2"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_LT(result.maxResidentKilobytes, 400'000);
}

}  // namespace
}  // namespace ozrz::test
