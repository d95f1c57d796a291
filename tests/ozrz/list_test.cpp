// What -l tells.
#include "frame_builder.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

class List : public Workspace {};

TEST_F(List, TellsSizesRatioAndCheck) {
    const std::string contents(100'000, 'a');
    write("a.lz4", compressed(contents));
    const std::string size = std::to_string(read("a.lz4").size());
    const Result result = ozrz({"-l", "a.lz4"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("format       compressed   uncompressed    ratio  check    name\n"));
    EXPECT_THAT(result.out, ContainsRegex("lz4 +" + size + " +100000 +[0-9.]+ +xxh32 +a.lz4\n"));
}

TEST_F(List, TellsTheSameWithAndWithoutStoredContentSize) {
    write("a", sample("text", 500'000));
    ASSERT_EQ(ozrz({"-o", "without.lz4", "a"}).exitCode, 0);
    ASSERT_EQ(ozrz({"--content-size", "--no-check", "-o", "with.lz4", "a"}).exitCode, 0);
    EXPECT_THAT(ozrz({"-l", "without.lz4"}).out, ContainsRegex(" 500000 +[0-9.]+ +xxh32 "));
    EXPECT_THAT(ozrz({"-l", "with.lz4"}).out, ContainsRegex(" 500000 +[0-9.]+ +none "));
}

TEST_F(List, DoesNotDecodeWhereTheSizeIsStored) {
    // The content is damaged, which listing does not look at.
    const std::string frame = frameHeader(0x6C, 0x40, littleEndian(5, 8)) + storedBlock("hello") + frameEnd() + "oops";
    write("a.lz4", frame);
    EXPECT_EQ(ozrz({"-t", "a.lz4"}).exitCode, 1);
    EXPECT_EQ(ozrz({"-l", "a.lz4"}).exitCode, 0);
    // But it walks the frame to its end.
    write("b.lz4", frame.substr(0, frame.size() - 6));
    const Result truncated = ozrz({"-l", "b.lz4"});
    EXPECT_EQ(truncated.exitCode, 1);
    EXPECT_THAT(truncated.err, HasSubstr("b.lz4: truncated"));
}

TEST_F(List, AddsUpFilesAndFrames) {
    write("a.lz4", storedFrame(std::string(1000, 'a')) + storedFrame(std::string(500, 'b')));
    write("b.lz4", plainFrame(storedBlock(std::string(250, 'c'))));
    const Result result = ozrz({"-lv", "a.lz4", "b.lz4"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, ContainsRegex(" 1500 +[0-9.]+ +xxh32 +a.lz4\n"));
    EXPECT_THAT(result.out, ContainsRegex(" 250 +[0-9.]+ +none +b.lz4\n"));
    EXPECT_THAT(result.out, ContainsRegex(" 1750 +[0-9.]+ +2 files\n"));
    EXPECT_THAT(result.out, HasSubstr("the first of 2 frames"));
}

TEST_F(List, ReadsStandardInput) {
    const Result result = ozrz({"-l"}, storedFrame("hello"));
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, ContainsRegex(" 5 +[0-9.]+ +xxh32 +standard input\n"));
}

TEST_F(List, OtherFilesAreErrorsAndTheRestIsListed) {
    write("a.txt", "plain text");
    write("b.lz4", storedFrame("hello"));
    const Result result = ozrz({"-l", "a.txt", "b.lz4"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("a.txt: is in no format that is known here"));
    EXPECT_THAT(result.out, HasSubstr("b.lz4"));
    EXPECT_THAT(result.out, Not(HasSubstr("files")));
}

}  // namespace
}  // namespace ozrz::test
