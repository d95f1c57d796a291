// The lz4 command and this one read each other's files.
#include "workspace.h"

namespace ozrz::test {
namespace {

using Options = std::vector<std::string>;

class Lz4Command : public Workspace {
  protected:
    void SetUp() override {
        if (!haveCommand("lz4")) GTEST_SKIP() << "the lz4 command is not installed";
    }

    Result lz4(Options options, const std::string& input = "") const {
        options.insert(options.begin(), {"lz4", "-q"});
        return run(options, {.directory = path("."), .input = input});
    }
};

TEST_F(Lz4Command, ReadsWhatIsWrittenHere) {
    for (const char* kind : {"text", "mixed", "random", "zeros"}) {
        const std::string contents = sample(kind, 6'000'000);
        write("a", contents);
        for (const Options& options :
             {Options{}, Options{"-B4"}, Options{"-B5", "--block-checksum"}, Options{"-B6", "--no-check"},
              Options{"--content-size"}, Options{"-3"}, Options{"-6", "-B5"}, Options{"-9"}, Options{"--fast=9", "-B4"},
              Options{"-BD"}, Options{"-BD", "-B4"}, Options{"-B4", "-BD", "-5", "--block-checksum"},
              Options{"-B5", "-BD", "-9"}, Options{"-BD", "-B4", "--fast=3"}}) {
            SCOPED_TRACE(std::string(kind) + " " + ::testing::PrintToString(options));
            Options arguments = options;
            arguments.insert(arguments.end(), {"-f", "-o", "a.lz4", "a"});
            ASSERT_EQ(ozrz(arguments).exitCode, 0);
            const Result restored = lz4({"-d", "-c", "a.lz4"});
            ASSERT_EQ(restored.exitCode, 0) << restored.err;
            ASSERT_TRUE(restored.out == contents);
        }
    }
}

TEST_F(Lz4Command, EverythingItWritesIsRead) {
    // One sample has several blocks of every size; for the others small ones will do.
    for (const auto& [kind, size] :
         {std::pair{"mixed", 4'500'000}, {"text", 400'000}, {"random", 200'000}, {"period 40000", 400'000}}) {
        const std::string contents = sample(kind, static_cast<std::size_t>(size));
        write("a", contents);
        for (const Options& options : {Options{"-1"},
                                       Options{"-2"},
                                       Options{"-3"},
                                       Options{"-6"},
                                       Options{"-9"},
                                       Options{"-12"},
                                       Options{"--fast=5"},
                                       Options{"-B4"},
                                       Options{"-B5"},
                                       Options{"-B6"},
                                       Options{"-B7"},
                                       Options{"-BD"},
                                       Options{"-B4", "-BD"},
                                       Options{"-B4", "-BD", "-9"},
                                       Options{"-B5", "-BD", "-BX"},
                                       Options{"-BX"},
                                       Options{"-B4", "-BX", "-BI"},
                                       Options{"--content-size"},
                                       Options{"--no-frame-crc"},
                                       Options{"-BD", "--content-size", "--no-frame-crc"},
                                       Options{"-l"},
                                       Options{"-l", "-9"}}) {
            SCOPED_TRACE(std::string(kind) + " " + ::testing::PrintToString(options));
            Options arguments = options;
            arguments.insert(arguments.end(), {"-f", "a", "a.lz4"});
            const Result packed = lz4(arguments);
            ASSERT_EQ(packed.exitCode, 0) << packed.err;
            for (const char* threads : {"-T1", "-T3"}) {
                const Result restored = ozrz({threads, "-dc", "a.lz4"});
                ASSERT_EQ(restored.exitCode, 0) << restored.err;
                ASSERT_TRUE(restored.out == contents);
            }
        }
    }
}

TEST_F(Lz4Command, ItsDictionaryFramesAreRead) {
    const std::string dictionary = sample("text", 90'000, 7);
    const std::string contents =
        dictionary.substr(50'000, 30'000) + sample("text", 400'000, 7) + sample("mixed", 300'000);
    write("a", contents);
    write("dictionary", dictionary);
    for (const Options& options : {Options{}, Options{"-B4"}, Options{"-BD"}, Options{"-B4", "-BD"}, Options{"-9"},
                                   Options{"-9", "-B4", "-BD", "-BX"}}) {
        SCOPED_TRACE(::testing::PrintToString(options));
        Options arguments = options;
        arguments.insert(arguments.end(), {"-D", "dictionary", "-f", "a", "a.lz4"});
        ASSERT_EQ(lz4(arguments).exitCode, 0);
        for (const char* threads : {"-T1", "-T3"}) {
            const Result restored = ozrz({threads, "-dc", "-D", "dictionary", "a.lz4"});
            ASSERT_EQ(restored.exitCode, 0) << restored.err;
            ASSERT_TRUE(restored.out == contents);
        }
        EXPECT_EQ(ozrz({"-t", "a.lz4"}).exitCode, 1) << "without the dictionary";
    }
}

TEST_F(Lz4Command, ReadsWhatIsWrittenHereWithADictionary) {
    for (const std::size_t size : {1U, 20U, 5000U, 65535U, 65536U, 90000U}) {
        const std::string dictionary = sample("text", size, 7);
        const std::string contents =
            dictionary.substr(size / 3) + sample("text", 300'000, 7) + sample("mixed", 100'000);
        write("a", contents);
        write("dictionary", dictionary);
        for (const Options& options : {Options{}, Options{"-B4"}, Options{"-B4", "-BD"}, Options{"-9"},
                                       Options{"-6", "-B4"}, Options{"-9", "-B4", "-BD"}, Options{"--fast=4"}}) {
            SCOPED_TRACE(std::to_string(size) + " " + ::testing::PrintToString(options));
            Options arguments = options;
            arguments.insert(arguments.end(), {"-D", "dictionary", "-f", "-o", "a.lz4", "a"});
            ASSERT_EQ(ozrz(arguments).exitCode, 0);
            const Result theirs = lz4({"-d", "-c", "-D", "dictionary", "a.lz4"});
            ASSERT_EQ(theirs.exitCode, 0) << theirs.err;
            ASSERT_TRUE(theirs.out == contents);
            const Result ours = ozrz({"-dc", "-D", "dictionary", "a.lz4"});
            ASSERT_EQ(ours.exitCode, 0) << ours.err;
            ASSERT_TRUE(ours.out == contents);
        }
    }
}

TEST_F(Lz4Command, AgreesAboutConcatenatedFiles) {
    const std::string first = compressed("first ");
    const std::string second = lz4({"-c", "-"}, "second").out;
    ASSERT_FALSE(second.empty());
    EXPECT_EQ(ozrz({"-dc"}, first + second).out, "first second");
    EXPECT_EQ(lz4({"-dc", "-"}, first + second).out, "first second");
}

}  // namespace
}  // namespace ozrz::test
