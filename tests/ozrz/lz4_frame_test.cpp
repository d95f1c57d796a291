// LZ4 frames built by hand: what the format allows is read, what it forbids is refused with a message that says so.
#include "frame_builder.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::HasSubstr;

class Lz4Frame : public Workspace {
  protected:
    void expectContents(const std::string& file, const std::string& contents) const {
        for (const char* threads : {"-T1", "-T3"}) {
            const Result result = ozrz({threads, "-dc"}, file);
            EXPECT_EQ(result.exitCode, 0) << result.err;
            EXPECT_EQ(result.out, contents);
            EXPECT_EQ(result.err, "");
        }
    }

    void expectError(const std::string& file, const std::string& message) const {
        for (const char* threads : {"-T1", "-T3"}) {
            const Result result = ozrz({threads, "-t"}, file);
            EXPECT_EQ(result.exitCode, 1) << message;
            EXPECT_THAT(result.err, HasSubstr("ozrz: standard input: "));
            EXPECT_THAT(result.err, HasSubstr(message));
        }
    }
};

// A block of four literals, a match of five bytes at distance 4, and five last literals: "abcdabcdaVWXYZ".
const std::string kBlock(
    "\x41"
    "abcd"
    "\x04\x00"
    "\x50"
    "VWXYZ",
    13);
const std::string kBlockContents = "abcdabcdaVWXYZ";

TEST_F(Lz4Frame, ReadsStoredAndCompressedBlocks) {
    expectContents(storedFrame("hello"), "hello");
    expectContents(plainFrame(dataBlock(kBlock)), kBlockContents);
    expectContents(plainFrame(dataBlock(kBlock) + storedBlock("-") + dataBlock(kBlock)),
                   kBlockContents + "-" + kBlockContents);
}

TEST_F(Lz4Frame, ReadsEmptyFramesAndEmptyBlocks) {
    expectContents(storedFrame(""), "");
    expectContents(plainFrame(""), "");
    expectContents(plainFrame(dataBlock(std::string(1, '\0'))), "");
    expectContents(plainFrame(storedBlock("") + storedBlock("x")), "x");
}

TEST_F(Lz4Frame, ReadsConcatenatedAndSkippableFrames) {
    const std::string all = skippableFrame("first", 0) + storedFrame("one ") + skippableFrame("", 15) +
                            skippableFrame(std::string(100'000, 's'), 7) + plainFrame(dataBlock(kBlock)) +
                            storedFrame("") + storedFrame(" three") + skippableFrame("last", 3);
    expectContents(all, "one " + kBlockContents + " three");
    expectContents(skippableFrame("alone"), "");
}

TEST_F(Lz4Frame, ReadsLegacyFrames) {
    const std::string legacy = littleEndian(0x184C2102, 4) + dataBlock(kBlock);
    expectContents(legacy, kBlockContents);
    expectContents(legacy + dataBlock(kBlock), kBlockContents + kBlockContents);
    expectContents(legacy + legacy, kBlockContents + kBlockContents);
    expectContents(legacy + storedFrame("modern") + legacy, kBlockContents + "modern" + kBlockContents);
    expectContents(littleEndian(0x184C2102, 4), "");
    const Result garbage = ozrz({"-dc"}, legacy + "garbage!");
    EXPECT_EQ(garbage.exitCode, 2);
    EXPECT_EQ(garbage.out, kBlockContents);
    EXPECT_THAT(garbage.err, HasSubstr("trailing garbage ignored"));
}

TEST_F(Lz4Frame, ReadsLinkedBlocks) {
    const std::string header = frameHeader(0x40, 0x40);
    // Seven literals; then nothing but a match at distance 7 and the five last literals.
    const std::string second("\x03\x07\x00\x50VWXYZ", 9);
    expectContents(header + storedBlock("history") + dataBlock(second) + frameEnd(), "historyhistoryVWXYZ");
    expectError(plainFrame(storedBlock("history") + dataBlock(second)),
                "block 2 at byte 18 is damaged: a match reaches before the start of the data");
    // The history reaches over block bounds, stored and compressed, and through the sliding of the window.
    const std::string filler = sample("random", 65536 - 7);
    std::string blocks;
    std::string contents;
    for (int i = 0; i < 40; ++i) {
        blocks += storedBlock("history") + storedBlock(filler) + dataBlock(std::string("\x03\xFF\xFF\x50VWXYZ", 9));
        contents += "history" + filler;
        contents += contents.substr(contents.size() - 65535, 7) + "VWXYZ";
    }
    expectContents(header + blocks + frameEnd(), contents);
}

TEST_F(Lz4Frame, ReadsContentSizeAndIgnoresNothingOfIt) {
    const auto frame = [](uint64_t size) {
        return frameHeader(0x68, 0x40, littleEndian(size, 8)) + storedBlock("hello") + frameEnd();
    };
    expectContents(frame(5), "hello");
    expectError(frame(4), "its content has 5 bytes, but should have 4");
    expectError(frame(6), "its content has 5 bytes, but should have 6");
    expectError(frame(0), "its content has 5 bytes, but should have 0");
    expectError(frame(~uint64_t{0}), "but should have 18446744073709551615");
}

TEST_F(Lz4Frame, RefusesBadHeaders) {
    const std::string rest = storedBlock("hello") + frameEnd();
    const auto badCheck = [](std::string header) {
        header.back() = static_cast<char>(header.back() ^ 0x40);
        return header;
    };
    expectError(badCheck(frameHeader(0x60, 0x40)) + rest, "a frame header is damaged: its checksum is");
    expectError(frameHeader(0x62, 0x40) + rest, "reserved bits");
    expectError(frameHeader(0x60, 0xC0) + rest, "reserved bits");
    expectError(frameHeader(0x60, 0x41) + rest, "reserved bits");
    expectError(frameHeader(0x20, 0x40) + rest, "unknown version 0");
    expectError(frameHeader(0xA0, 0x40) + rest, "unknown version 2");
    for (const uint8_t code : {uint8_t{0x00}, uint8_t{0x10}, uint8_t{0x20}, uint8_t{0x30}}) {
        expectError(frameHeader(0x60, code) + rest, "unknown block size code");
    }
}

TEST_F(Lz4Frame, RefusesBadBlocks) {
    expectError(plainFrame(littleEndian(65537, 4)), "block 1 at byte 7 is damaged: its size 65537 is above");
    expectError(plainFrame(littleEndian(65537 | kStoredBlock, 4)), "its size 65537 is above");
    expectError(plainFrame(littleEndian(0x7FFFFFFF, 4)), "its size 2147483647 is above");
    expectError(plainFrame(dataBlock(std::string("\x10", 1) + "a" + std::string("\x02\x00\x50VWXYZ", 8))),
                "a match reaches before the start of the data");
    expectError(plainFrame(dataBlock("\xF0\xFF\xFF\xFF")), "is damaged");
    // 65536 literal bytes fill the block; a sixty-five-thousand-and-so-many-th does not fit.
    const std::string tooLong = std::string("\x1F") + "a" + std::string("\x01\x00", 2) + std::string(257, '\xFF') +
                                std::string("\xFE\x50VWXYZ", 7);
    expectError(plainFrame(dataBlock(tooLong)), "it decodes to more than the block size of 65536 bytes");
    expectError(plainFrame(dataBlock(kBlock.substr(0, 6))), "is damaged");
    expectError(littleEndian(0x184C2102, 4) + littleEndian(0x01000000, 4), "its size 16777216 is above the maximum");
}

TEST_F(Lz4Frame, RefusesWrongChecksums) {
    std::string content = storedFrame("hello");
    content.back() = static_cast<char>(content.back() ^ 1);
    expectError(content, "the content of frame 1 at byte 0 is damaged: its checksum is 0x");
    const std::string good =
        frameHeader(0x70, 0x40) + storedBlock("hello") + littleEndian(referenceXxh32("hello"), 4) + frameEnd();
    expectContents(good, "hello");
    const std::string bad =
        frameHeader(0x70, 0x40) + storedBlock("hello") + littleEndian(referenceXxh32("hello") + 1, 4) + frameEnd();
    expectError(bad, "block 1 at byte 7 is damaged: its checksum is 0x");
    expectError(storedFrame("fine") + bad, "frame 2, block 1 at byte ");
}

TEST_F(Lz4Frame, RefusesTruncatedSkippableFrames) {
    const std::string frame = skippableFrame("contents");
    for (std::size_t size = 4; size < frame.size(); ++size) {
        expectError(frame.substr(0, size), "truncated: the data end inside a skippable frame");
    }
    expectError(storedFrame("x") + littleEndian(0x184D2A50, 4) + littleEndian(0xFFFFFFFF, 4) + "few",
                "truncated: the data end inside a skippable frame");
}

TEST_F(Lz4Frame, DictionariesAreUsedAndAsked) {
    // A match of seven bytes at the dictionary's start, and the five last literals.
    const std::string block("\x03\x07\x00\x50VWXYZ", 9);
    const std::string frame =
        frameHeader(0x61, 0x40, littleEndian(77, 4)) + dataBlock(block) + dataBlock(block) + frameEnd();
    write("dictionary", "history");
    write("a.lz4", frame);
    Result result = ozrz({"-dc", "a.lz4"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("a.lz4: it needs the dictionary with the number 77: give it with -D"));
    for (const char* threads : {"-T1", "-T3"}) {
        result = ozrz({threads, "-dc", "-D", "dictionary", "a.lz4"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.out, "historyVWXYZhistoryVWXYZ");
    }
    // Only the last 64 KiB of a dictionary count.
    write("dictionary", std::string(100'000, '-') + "history");
    EXPECT_EQ(ozrz({"-dc", "-D", "dictionary", "a.lz4"}).out, "historyVWXYZhistoryVWXYZ");
    write("dictionary", "hist");
    EXPECT_EQ(ozrz({"-dc", "-D", "dictionary", "a.lz4"}).exitCode, 1);
    result = ozrz({"-dc", "-D", "missing", "a.lz4"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("missing: cannot open"));
}

TEST_F(Lz4Frame, WritesTheFrameThatIsDocumented) {
    const std::string contents = sample("random", 1000);
    EXPECT_EQ(compressed(contents, {"-B4"}),
              frameHeader(0x64, 0x40) + storedBlock(contents) + frameEnd() + littleEndian(referenceXxh32(contents), 4));
    EXPECT_EQ(compressed(contents, {"--no-check", "--block-checksum"}),
              frameHeader(0x70, 0x70) + storedBlock(contents) + littleEndian(referenceXxh32(contents), 4) + frameEnd());
    write("a", contents);
    EXPECT_EQ(ozrz({"--content-size", "--no-check", "-B5", "-c", "a"}).out,
              frameHeader(0x68, 0x50, littleEndian(1000, 8)) + storedBlock(contents) + frameEnd());
    EXPECT_EQ(compressed(""), frameHeader(0x64, 0x70) + frameEnd() + littleEndian(referenceXxh32(""), 4));
}

TEST_F(Lz4Frame, ContentSizeNeedsAFile) {
    const Result piped = ozrz({"--content-size", "-c"}, std::string("hello"));
    EXPECT_EQ(piped.exitCode, 1);
    EXPECT_THAT(piped.err, HasSubstr("--content-size needs a regular file"));
    write("a", "hello");
    const Result redirected =
        ozrz({"--content-size", "-c"}, Setting{.directory = {}, .input = {}, .inputFile = path("a").string()});
    EXPECT_EQ(redirected.exitCode, 0) << redirected.err;
    EXPECT_EQ(ozrz({"-dc"}, redirected.out).out, "hello");
}

}  // namespace
}  // namespace ozrz::test
