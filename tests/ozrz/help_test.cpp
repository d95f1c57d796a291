// What the command says of itself, and that its manual page says the same.
#include <algorithm>
#include <fstream>
#include <set>
#include <sstream>

#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class Help : public Workspace {};

// Every "--word" that stands at the beginning of a word.
std::set<std::string> longOptions(const std::string& text) {
    std::set<std::string> found;
    for (std::size_t i = 0; (i = text.find("--", i)) != std::string::npos; i += 2) {
        const bool begins = i == 0 || std::string(" \n,[").find(text[i - 1]) != std::string::npos;
        const std::size_t end = std::min(text.find_first_not_of("abcdefghijklmnopqrstuvwxyz-", i), text.size());
        if (begins && end > i + 2) found.insert(text.substr(i, end - i));
    }
    return found;
}

// The manual page without its escapes: \- is a hyphen, and \fB and the like choose a font.
std::string manualPage() {
    std::ifstream file(OZRZ_MAN_PAGE);
    EXPECT_TRUE(file) << OZRZ_MAN_PAGE;
    std::string text;
    for (char c; file.get(c);) {
        if (c != '\\') {
            text += c;
        } else if (file.get(c) && c == 'f') {
            file.get(c);
            text += ' ';
        } else {
            text += c;
        }
    }
    return text;
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
    for (const char* option : {"-d,",
                               "-t,",
                               "-l,",
                               "-c,",
                               "-o,",
                               "-f,",
                               "-k,",
                               "--rm",
                               "-N,",
                               "-n,",
                               "-F,",
                               "-1 .. -9",
                               "--fast",
                               "-D,",
                               "-T,",
                               "-B,",
                               "--recover",
                               "--block-size",
                               "--block-checksum",
                               "--no-check",
                               "--content-size",
                               "--crc",
                               "--check-data",
                               "--dims",
                               "--rate",
                               "--precision",
                               "--accuracy",
                               "--stats",
                               "--plot",
                               "-v,",
                               "-q,",
                               "--no-progress",
                               "--formats",
                               "-V,",
                               "-h,"}) {
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

TEST_F(Help, FormatsShowsNamesAndSuffixes) {
    const std::string formats = ozrz({"--formats"}).out;
    for (const char* row : {"lz4       .lz4", "gzip      .gz", "bzip2     .bz2", "lzo       .lzo", "lzss      .lzss",
                            "zlib      .zz", "zfp       .zfp", "deflate   .deflate"}) {
        EXPECT_THAT(formats, HasSubstr(row));
    }
}

TEST_F(Help, WrongOptionsAreErrors) {
    for (const auto& arguments : {std::vector<std::string>{"--nonsense"},
                                  {"-X"},
                                  {"-T", "x"},
                                  {"-T", "-1"},
                                  {"-B3"},
                                  {"-B8"},
                                  {"-BX"},
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

TEST_F(Help, TellsWhatIsWrongWithTheCommandLine) {
    const std::string hint = "Try \"ozrz --help\".\n";
    EXPECT_EQ(ozrz({"--levl", "a"}).err, "ozrz: there is no option --levl\n" + hint);
    EXPECT_EQ(ozrz({"-dQ", "a"}).err, "ozrz: there is no option -Q\n" + hint);
    EXPECT_EQ(ozrz({"-o"}).err, "ozrz: --output needs a value\n" + hint);
    EXPECT_EQ(ozrz({"bench", "--time"}).err, "ozrz: --time needs a value\n" + hint);
}

TEST_F(Help, ShowsExamples) {
    const std::string help = ozrz({"--help"}).out;
    EXPECT_LT(help.find("--version"), help.find("Examples:"));
}

}  // namespace
}  // namespace ozrz::test
