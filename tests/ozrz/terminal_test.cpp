// On a terminal: questions, refusals, the progress bar.
#include "terminal.h"

#include <chrono>
#include <thread>

#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

class Terminal : public Workspace {
  protected:
    TerminalSetting here() const { return {.directory = path(".").string()}; }
};

TEST_F(Terminal, AsksBeforeOverwriting) {
    write("a", "hello");
    for (const char* answer : {"n", "", "no", "what?"}) {
        SCOPED_TRACE(answer);
        write("a.lz4", "precious");
        TerminalProcess process(ozrzCommand({"a"}), here());
        ASSERT_TRUE(process.waitForText("a.lz4 already exists; overwrite it (y or n)? "));
        process.type(std::string(answer) + "\n");
        EXPECT_EQ(process.finish().exitCode, 2);
        EXPECT_EQ(read("a.lz4"), "precious");
    }
    TerminalProcess process(ozrzCommand({"a"}), here());
    ASSERT_TRUE(process.waitForText("overwrite it"));
    process.type("y\n");
    EXPECT_EQ(process.finish().exitCode, 0);
    EXPECT_EQ(ozrz({"-dc", "a.lz4"}).out, "hello");
    EXPECT_THAT(names(), ElementsAre("a", "a.lz4"));
}

TEST_F(Terminal, QuietAsksNothing) {
    write("a", "hello");
    write("a.lz4", "precious");
    TerminalProcess process(ozrzCommand({"-q", "a"}), here());
    const Result result = process.finish();
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(read("a.lz4"), "precious");
}

TEST_F(Terminal, CompressedDataAreNotWrittenToIt) {
    write("a", "hello");
    Result result = TerminalProcess(ozrzCommand({"-c", "a"}), here()).finish();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("compressed data are not written to a terminal"));
    EXPECT_THAT(result.out, HasSubstr("-h helps"));
    result = TerminalProcess(ozrzCommand({"-cf", "a"}), here()).finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.out, HasSubstr("hello"));
    result = TerminalProcess(ozrzCommand({}), here()).finish();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("not written to a terminal"));
}

TEST_F(Terminal, CompressedDataAreNotReadFromIt) {
    const Result result = TerminalProcess(ozrzCommand({"-d"}), here()).finish();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, HasSubstr("compressed data are not read from a terminal"));
}

TEST_F(Terminal, RestoredDataAreWrittenToIt) {
    write("a.lz4", compressed("hello"));
    const Result result = TerminalProcess(ozrzCommand({"-dc", "a.lz4"}), here()).finish();
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "hello");
}

// Compresses from a pipe that delivers for a little over a second; returns what the terminal has shown.
std::string screenOfSlowWork(const std::vector<std::string>& options, TerminalSetting setting) {
    setting.terminalInput = false;
    setting.terminalOutput = false;
    TerminalProcess process(ozrzCommand(options), setting);
    const std::string piece(50'000, 'p');
    for (int i = 0; i < 14; ++i) {
        process.sendPipe(piece);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const Result result = process.finish();
    EXPECT_EQ(result.exitCode, 0);
    return result.out;
}

TEST_F(Terminal, ProgressIsShownAndWipedWhenWorkLasts) {
    const std::string screen = screenOfSlowWork({"-B4", "-c"}, here());
    EXPECT_THAT(screen, HasSubstr("standard input  "));
    EXPECT_THAT(screen, HasSubstr("MB/s"));
    EXPECT_TRUE(screen.ends_with("\r\033[K"));
}

TEST_F(Terminal, ProgressFitsNarrowTerminals) {
    TerminalSetting narrow = here();
    narrow.columns = 20;
    const std::string screen = screenOfSlowWork({"-B4", "-c"}, narrow);
    std::size_t begin = 0;
    std::size_t lines = 0;
    while ((begin = screen.find('\r', begin)) != std::string::npos) {
        const std::size_t end = screen.find('\033', begin);
        ASSERT_NE(end, std::string::npos);
        EXPECT_LT(end - begin - 1, 20U);
        begin = end;
        ++lines;
    }
    EXPECT_GT(lines, 1U);
}

TEST_F(Terminal, ProgressCanBeTurnedOff) {
    EXPECT_EQ(screenOfSlowWork({"-B4", "-c", "--no-progress"}, here()), "");
    EXPECT_EQ(screenOfSlowWork({"-B4", "-c", "-q"}, here()), "");
}

}  // namespace
}  // namespace ozrz::test
