// What the command says of itself, and that its manual page says the same.
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class Help : public Workspace {};

std::set<std::string> longOptions(const std::string& text) {
    static const std::regex option("(^|[ ,\\[])(--[a-z][a-z-]*)");
    std::set<std::string> found;
    for (std::sregex_iterator i(text.begin(), text.end(), option), end; i != end; ++i) found.insert((*i)[2]);
    return found;
}

std::string manualPage() {
    std::ifstream file(OZRZ_MAN_PAGE);
    EXPECT_TRUE(file) << OZRZ_MAN_PAGE;
    std::ostringstream text;
    text << file.rdbuf();
    return std::regex_replace(std::regex_replace(text.str(), std::regex("\\\\-"), "-"), std::regex("\\\\f[BIRP]"), " ");
}

TEST_F(Help, FitsEightyColumns) {
    for (const auto& arguments : {std::vector<std::string>{"--help"}, {"bench", "--help"}, {"--formats"}, {"-V"}}) {
        const Result result = ozrz(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_EQ(result.err, "");
        std::istringstream lines(result.out);
        std::size_t count = 0;
        for (std::string line; std::getline(lines, line); ++count) EXPECT_LE(line.size(), 80U) << line;
        EXPECT_GE(count, 2U);
    }
}

TEST_F(Help, NamesEveryOption) {
    const std::string help = ozrz({"-h"}).out;
    for (const char* option : {"-d,",           "-t,",
                               "-l,",           "-c,",
                               "-o,",           "-f,",
                               "-k,",           "--rm",
                               "-F,",           "-1 .. -9",
                               "--fast",        "-D,",
                               "-T,",           "-B,",
                               "--block-size",  "--block-checksum",
                               "--no-check",    "--content-size",
                               "-v,",           "-q,",
                               "--no-progress", "--formats",
                               "-V,",           "-h,"}) {
        EXPECT_THAT(help, HasSubstr(option));
    }
}

TEST_F(Help, ManualPageHasTheSameOptions) {
    std::set<std::string> inHelp = longOptions(ozrz({"--help"}).out);
    inHelp.merge(longOptions(ozrz({"bench", "--help"}).out));
    EXPECT_EQ(longOptions(manualPage()), inHelp);
}

TEST_F(Help, VersionShowsTheLibrarysRecord) {
    const Result result = ozrz({"-V"});
    EXPECT_THAT(result.out, StartsWith("ozrz "));
    EXPECT_THAT(result.out, HasSubstr("(r0x"));
}

TEST_F(Help, FormatsShowsLz4) { EXPECT_THAT(ozrz({"--formats"}).out, HasSubstr("lz4       .lz4")); }

TEST_F(Help, WrongOptionsAreErrors) {
    for (const auto& arguments : {std::vector<std::string>{"--nonsense"},
                                  {"-X"},
                                  {"-T", "x"},
                                  {"-T", "-1"},
                                  {"-B3"},
                                  {"-B8"},
                                  {"--block-size=5M"},
                                  {"--fast=0"},
                                  {"--fast=x"},
                                  {"-F"},
                                  {"-o", "a", "-c"},
                                  {"bench", "--nonsense"},
                                  {"bench", "--csv", "--json"}}) {
        SCOPED_TRACE(::testing::PrintToString(arguments));
        const Result result = ozrz(arguments);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, StartsWith("ozrz: "));
        EXPECT_THAT(result.err, HasSubstr("--help"));
        EXPECT_EQ(result.out, "");
    }
}

}  // namespace
}  // namespace ozrz::test
