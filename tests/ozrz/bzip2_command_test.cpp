// The bzip2, pbzip2 and lbzip2 commands and this one read each other's files.
#include "in_process.h"
#include "workspace.h"

namespace ozrz::test {
namespace {

using Options = std::vector<std::string>;

class Bzip2Command : public Workspace, public ::testing::WithParamInterface<const char*> {
  protected:
    void SetUp() override {
        if (!haveCommand(GetParam())) GTEST_SKIP() << GetParam() << " is not installed";
    }

    Result other(Options options, const std::string& input = "") const {
        options.insert(options.begin(), GetParam());
        return run(options, {.directory = path("."), .input = input});
    }
};

INSTANTIATE_TEST_SUITE_P(All, Bzip2Command, ::testing::Values("bzip2", "pbzip2", "lbzip2"),
                         [](const auto& parameter) { return std::string(parameter.param); });

TEST_P(Bzip2Command, ReadsWhatIsWrittenHere) {
    for (const char* kind : {"text", "mixed", "random", "zeros", "runs"}) {
        const std::string contents = sample(kind, 2'000'000);
        write("a", contents);
        for (const char* option : {"-1", "-5", "-9"}) {
            for (const char* threads : {"-T1", "-T4"}) {
                SCOPED_TRACE(std::string(kind) + " " + option + " " + threads);
                ASSERT_EQ(ozrz({"-F", "bzip2", "-f", option, threads, "a"}).exitCode, 0);
                const Result tested = other({"-t", "a.bz2"});
                ASSERT_EQ(tested.exitCode, 0) << tested.err;
                ASSERT_TRUE(other({"-dc", "a.bz2"}).out == contents);
            }
        }
    }
}

TEST_P(Bzip2Command, EverythingItWritesIsRead) {
    for (const char* kind : {"text", "mixed", "random", "zeros", "runs"}) {
        const std::string contents = sample(kind, 2'000'000);
        write("a", contents);
        Options levels{"-1", "-2", "-5", "-9"};
        for (const std::string& level : levels) {
            SCOPED_TRACE(std::string(kind) + " " + level);
            const Result packed = other({level, "-kf", "a"});
            ASSERT_EQ(packed.exitCode, 0) << packed.err;
            for (const char* threads : {"-T1", "-T3"}) {
                const Result restored = ozrz({threads, "-dc", "a.bz2"});
                ASSERT_EQ(restored.exitCode, 0) << restored.err;
                ASSERT_TRUE(restored.out == contents);
            }
        }
    }
}

TEST_P(Bzip2Command, AgreesAboutEmptyFilesAndStreams) {
    const std::string here = encodeWith("bzip2", "first ", {.level = 9});
    const std::string there = other({"-c"}, "second").out;
    const std::string nothing = encodeWith("bzip2", "", {.level = 3});
    ASSERT_FALSE(there.empty());
    for (const std::string& file : {nothing, here + there, there + here, here + nothing + there, nothing + nothing}) {
        const Result restored = ozrz({"-dc"}, file);
        const Result judged = other({"-dc"}, file);
        EXPECT_EQ(restored.exitCode, 0) << restored.err;
        EXPECT_EQ(judged.exitCode, 0) << judged.err;
        EXPECT_EQ(restored.out, judged.out);
    }
    EXPECT_EQ(ozrz({"-dc"}, other({"-c"}, "").out).out, "");
}

TEST_P(Bzip2Command, AgreesThatAFileIsDamaged) {
    std::string file = encodeWith("bzip2", sample("text", 100'000), {.level = 1});
    file[file.size() / 2] = static_cast<char>(file[file.size() / 2] ^ 1);
    write("a.bz2", file);
    EXPECT_NE(other({"-t", "a.bz2"}).exitCode, 0);
    EXPECT_EQ(ozrz({"-t", "a.bz2"}).exitCode, 1);
}

}  // namespace
}  // namespace ozrz::test
