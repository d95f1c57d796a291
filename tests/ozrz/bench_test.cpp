// The benchmark of the command: what it writes is complete and adds up. Times are not looked at.
#include <sstream>

#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;

class Bench : public Workspace {
  protected:
    void SetUp() override {
        write("a", sample("text", 100'000));
        write("b", sample("mixed", 50'000));
    }
};

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

TEST_F(Bench, CsvHasALineForEveryLevel) {
    const Result result = ozrz({"bench", "--csv", "--time", "0", "a", "b"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<std::string> lines = split(result.out, '\n');
    ASSERT_GE(lines.size(), 3U);
    EXPECT_EQ(lines[0], "format,level,threads,bytes,compressed_bytes,ratio,compress_mb_per_s,decompress_mb_per_s");
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::vector<std::string> fields = split(lines[i], ',');
        ASSERT_EQ(fields.size(), 8U) << lines[i];
        EXPECT_THAT(fields[0], AnyOf("lz4", "gzip", "bzip2", "lzo", "lzss", "zlib", "deflate"));
        EXPECT_EQ(fields[3], "150000");
        const std::string option = (fields[1].starts_with("fast") ? "--" : "-") + fields[1];
        std::size_t expected = 0;
        for (const char* name : {"a", "b"}) expected += compressed(read(name), {"-F", fields[0], option}).size();
        EXPECT_EQ(fields[4], std::to_string(expected));
        EXPECT_NEAR(std::stod(fields[5]), 150000.0 / std::stod(fields[4]), 1e-3);
        EXPECT_GT(std::stod(fields[6]), 0);
        EXPECT_GT(std::stod(fields[7]), 0);
    }
}

TEST_F(Bench, JsonIsWellFormed) {
    const Result result = ozrz({"bench", "--json", "--time", "0", "-T2", "-F", "gzip", "a"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    if (!haveCommand("python3")) GTEST_SKIP() << "python3, which would read it, is not installed";
    const Result checked = run({"python3", "-c",
                                "import json, sys\n"
                                "rows = json.load(sys.stdin)\n"
                                "assert rows and all(row['format'] == 'gzip' and row['threads'] == 2 and\n"
                                "                    row['bytes'] == 100000 for row in rows)\n"},
                               {.directory = {}, .input = result.out});
    EXPECT_EQ(checked.exitCode, 0) << checked.err;
}

TEST_F(Bench, TableNamesItsTerms) {
    const Result result = ozrz({"bench", "--time", "0", "-F", "lz4", "a", "b"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("2 files, "));
    EXPECT_THAT(result.out, HasSubstr("ratio"));
    EXPECT_THAT(result.out, HasSubstr("fast=8"));
}

TEST_F(Bench, WorksWithoutFiles) {
    const Result result = ozrz({"bench", "--time", "0"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr("MB/s"));
}

TEST_F(Bench, MissingAndEmptyFilesAreErrors) {
    EXPECT_EQ(ozrz({"bench", "missing"}).exitCode, 1);
    write("empty", "");
    const Result result = ozrz({"bench", "empty"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("nothing to measure"));
}

}  // namespace
}  // namespace ozrz::test
