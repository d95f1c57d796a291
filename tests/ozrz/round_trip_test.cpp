// What goes in comes out, whatever the data, the options and the number of threads.
#include "support/sample_data.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class RoundTrip : public Workspace {};

TEST_F(RoundTrip, RestoresEveryKindOfData) {
    for (const ozrdc::test::SampleKind& kind : ozrdc::test::sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const std::string contents = sample(kind.name, 300'000);
        const Result restored = ozrz({"-dc"}, compressed(contents, {"-B4"}));
        ASSERT_EQ(restored.exitCode, 0) << restored.err;
        ASSERT_EQ(restored.out, contents);
    }
}

TEST_F(RoundTrip, RestoresSizesAroundBlocks) {
    const std::string contents = sample("mixed", 3 * 65536 + 1);
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{12}, std::size_t{13}, std::size_t{65535},
                                   std::size_t{65536}, std::size_t{65537}, std::size_t{131072}, contents.size()}) {
        SCOPED_TRACE(size);
        const Result restored = ozrz({"-d"}, compressed(contents.substr(0, size), {"-B4"}));
        ASSERT_EQ(restored.exitCode, 0) << restored.err;
        ASSERT_EQ(restored.out, contents.substr(0, size));
    }
}

TEST_F(RoundTrip, RestoresWithEveryLevelAndOption) {
    const std::string contents = sample("text", 1'500'000);
    write("data", contents);
    for (const char* option : {"-1",
                               "-2",
                               "-3",
                               "-4",
                               "-5",
                               "-6",
                               "-7",
                               "-8",
                               "-9",
                               "--fast",
                               "--fast=7",
                               "--fast=100000",
                               "-B4",
                               "-B5",
                               "-B6",
                               "-B7",
                               "-BI",
                               "-BD",
                               "-Bd",
                               "--block-size=64K",
                               "--block-size=256k",
                               "--block-size=1M",
                               "--block-size=4M",
                               "--block-checksum",
                               "--no-check",
                               "--content-size"}) {
        SCOPED_TRACE(option);
        const Result packed = ozrz({option, "-c", "data"});
        ASSERT_EQ(packed.exitCode, 0) << packed.err;
        const Result restored = ozrz({"-dc"}, packed.out);
        ASSERT_EQ(restored.exitCode, 0) << restored.err;
        ASSERT_EQ(restored.out, contents);
    }
}

TEST_F(RoundTrip, FastIsLargerThanTheDefault) {
    const std::string contents = sample("text", 1'000'000);
    EXPECT_GT(compressed(contents, {"--fast=20"}).size(), compressed(contents).size());
    EXPECT_EQ(compressed(contents, {"--fast=1"}), compressed(contents, {"-1"}));
}

TEST_F(RoundTrip, Lz4LevelsGetSmallerFromThreeOn) {
    const std::string contents = sample("text", 1'000'000);
    EXPECT_EQ(compressed(contents, {"-2"}), compressed(contents, {"-1"}));
    std::size_t previous = compressed(contents, {"-2"}).size();
    for (const char* level : {"-3", "-4", "-5", "-6", "-7", "-8", "-9"}) {
        const std::size_t size = compressed(contents, {level}).size();
        EXPECT_LT(size, previous) << level;
        previous = size;
    }
    // Where both are given, the acceleration counts.
    EXPECT_EQ(compressed(contents, {"--fast=3", "-9"}), compressed(contents, {"--fast=3"}));
}

TEST_F(RoundTrip, LinkedBlocksAreSmaller) {
    const std::string contents = sample("text", 1'000'000);
    for (const char* level : {"-1", "-3", "-9"}) {
        const std::size_t linked = compressed(contents, {level, "-B4", "-BD"}).size();
        EXPECT_LT(linked, compressed(contents, {level, "-B4"}).size()) << level;
        // The last word counts, and the size of blocks is another matter.
        EXPECT_EQ(compressed(contents, {level, "-BI", "-BD", "-B7", "-B4"}).size(), linked);
        EXPECT_EQ(compressed(contents, {level, "-BD", "-BI", "-B4"}), compressed(contents, {level, "-B4"}));
    }
}

TEST_F(RoundTrip, ADictionaryMakesSmallFilesSmaller) {
    const std::string dictionary = sample("text", 70'000, 3);
    write("dictionary", dictionary);
    write("a", dictionary.substr(40'000, 3000));
    for (const char* level : {"-1", "-3", "-9"}) {
        SCOPED_TRACE(level);
        const std::string packed = ozrz({level, "-c", "-D", "dictionary", "a"}).out;
        EXPECT_LT(packed.size(), 600U);
        EXPECT_EQ(ozrz({"-dc", "-D", "dictionary"}, packed).out, read("a"));
        EXPECT_EQ(ozrz({"-dc"}, packed).exitCode, 1) << "without it";
    }
}

TEST_F(RoundTrip, CompressedBytesDoNotDependOnThreads) {
    write("dictionary", sample("text", 70'000, 2));
    for (const char* kind : {"mixed", "text", "random"}) {
        for (const std::vector<std::string>& options : {std::vector<std::string>{"-B4", "--block-checksum"},
                                                        {"-B4", "-BD"},
                                                        {"-B4", "-4"},
                                                        {"-B4", "-BD", "-4"},
                                                        {"-B4", "-BD", "-D", "dictionary"},
                                                        {"-B4", "-4", "-D", "dictionary"}}) {
            SCOPED_TRACE(kind + ::testing::PrintToString(options));
            const std::string contents = sample(kind, 1'500'000);
            const auto with = [&](std::vector<std::string> further) {
                further.insert(further.end(), options.begin(), options.end());
                return further;
            };
            write("data", contents);
            const std::string one = ozrz(with({"-T1", "-c", "data"})).out;
            for (const char* threads : {"-T2", "-T3", "-T8", "-T0"}) {
                SCOPED_TRACE(threads);
                ASSERT_TRUE(ozrz(with({threads, "-c", "data"})).out == one);
                const Result restored = ozrz({threads, "-dc", "-D", "dictionary"}, one);
                ASSERT_EQ(restored.exitCode, 0) << restored.err;
                ASSERT_TRUE(restored.out == contents);
            }
        }
    }
}

TEST_F(RoundTrip, DataThatDoNotShrinkGrowByHeadersOnly) {
    const std::string contents = sample("random", 1 << 20);
    // Header, 16 blocks with their headers, end mark, content checksum.
    EXPECT_EQ(compressed(contents, {"-B4"}).size(), 7 + 16 * (4 + 65536) + 4 + 4);
}

TEST_F(RoundTrip, MakesFilesBesideTheirSourcesAndKeepsThose) {
    write("a.txt", sample("text", 10'000, 1));
    write("b.txt", sample("text", 20'000, 2));
    Result result = ozrz({"a.txt", "b.txt"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_THAT(names(), ElementsAre("a.txt", "a.txt.lz4", "b.txt", "b.txt.lz4"));

    std::filesystem::remove(path("a.txt"));
    std::filesystem::remove(path("b.txt"));
    result = ozrz({"-d", "a.txt.lz4", "b.txt.lz4"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(names(), ElementsAre("a.txt", "a.txt.lz4", "b.txt", "b.txt.lz4"));
    EXPECT_EQ(read("a.txt"), sample("text", 10'000, 1));
    EXPECT_EQ(read("b.txt"), sample("text", 20'000, 2));
}

TEST_F(RoundTrip, TakesCombinedShortOptions) {
    write("a", "hello");
    Result result = ozrz({"-9kvc", "a"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.err, HasSubstr("a: 5 B -> "));
    write("b.lz4", result.out);
    result = ozrz({"-dc", "b.lz4"});
    EXPECT_EQ(result.out, "hello");
    result = ozrz({"-d", "-c", "-k", "b.lz4"});
    EXPECT_EQ(result.out, "hello");
    EXPECT_EQ(ozrz({"-dobb", "b.lz4"}).exitCode, 0);
    EXPECT_EQ(read("bb"), "hello");
}

TEST_F(RoundTrip, DashIsStandardInputAmongFiles) {
    write("a", "first ");
    const Result packed = ozrz({"-c", "a", "-"}, std::string("second"));
    ASSERT_EQ(packed.exitCode, 0) << packed.err;
    EXPECT_EQ(ozrz({"-dc"}, packed.out).out, "first second");
}

TEST_F(RoundTrip, TestModeWritesNothing) {
    write("a", "hello");
    ASSERT_EQ(ozrz({"a"}).exitCode, 0);
    std::filesystem::remove(path("a"));
    const Result result = ozrz({"-t", "a.lz4"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out + result.err, "");
    EXPECT_THAT(names(), ElementsAre("a.lz4"));
    EXPECT_THAT(ozrz({"-tv", "a.lz4"}).err, HasSubstr("a.lz4: OK"));
}

TEST_F(RoundTrip, ForcedDecompressionToStandardOutputCopiesOtherFiles) {
    write("plain", "not compressed at all");
    EXPECT_EQ(ozrz({"-dcf", "plain"}).out, "not compressed at all");
    const Result refused = ozrz({"-dc", "plain"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, HasSubstr("plain: "));
}

}  // namespace
}  // namespace ozrz::test
