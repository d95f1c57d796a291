// Signals, full disks and readers that go away: nothing half-written stays, the source stays whole, and the end is
// told.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <thread>

#include "workspace.h"

namespace ozrz::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class Interruption : public Workspace {
  protected:
    // Waits until the process has made its temporary file. A process that never does is ended by the test's time limit.
    void waitForTemporaryFile() const {
        while (names().empty()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        ASSERT_THAT(names(), ElementsAre(HasSubstr(".tmp")));
    }

    Setting here() const { return {.directory = path("."), .input = {}}; }
};

TEST_F(Interruption, SignalsRemoveTheTemporaryFile) {
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        for (const char* threads : {"-T1", "-T3"}) {
            SCOPED_TRACE(std::to_string(signalNumber) + " " + threads);
            RunningProcess process(ozrzCommand({threads, "-B4", "-o", "a.lz4"}), here());
            process.send(sample("mixed", 1'000'000));
            waitForTemporaryFile();
            process.kill(signalNumber);
            const Result result = process.wait();
            EXPECT_EQ(result.signal, signalNumber);
            EXPECT_THAT(names(), IsEmpty());
        }
    }
}

TEST_F(Interruption, IgnoredHangupStaysIgnored) {
    Setting setting = here();
    setting.beforeExec = [] { signal(SIGHUP, SIG_IGN); };
    RunningProcess process(ozrzCommand({"-o", "a.lz4"}), setting);
    process.send("hello");
    waitForTemporaryFile();
    process.kill(SIGHUP);
    process.send(" world");
    process.closeInput();
    EXPECT_EQ(process.wait().exitCode, 0);
    EXPECT_EQ(ozrz({"-dc", "a.lz4"}).out, "hello world");
}

TEST_F(Interruption, ReaderThatGoesAwayEndsItQuietly) {
    write("a.lz4", compressed(sample("mixed", 5'000'000)));
    const Result result =
        run({"bash", "-c", "\"$0\" -dc a.lz4 | head -c 100 > /dev/null; exit ${PIPESTATUS[0]}", OZRZ_COMMAND}, here());
    EXPECT_EQ(result.exitCode, 128 + SIGPIPE);
    EXPECT_EQ(result.err, "");
}

TEST_F(Interruption, BrokenPipeIsAnErrorWhereTheSignalIsIgnored) {
    write("a.lz4", compressed(sample("mixed", 5'000'000)));
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    Setting setting = here();
    const int writeEnd = ends[1];
    setting.beforeExec = [writeEnd] {
        signal(SIGPIPE, SIG_IGN);
        dup2(writeEnd, STDOUT_FILENO);
    };
    const Result result = run(ozrzCommand({"-dc", "a.lz4"}), setting);
    close(writeEnd);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "ozrz: standard output: cannot write: Broken pipe\n");
}

TEST_F(Interruption, FullDeviceIsReported) {
    const std::string contents = sample("mixed", 1'000'000);
    write("a", contents);
    write("b.lz4", compressed(contents));
    for (const char* threads : {"-T1", "-T2"}) {
        const Setting full{.directory = {}, .input = {}, .outputFile = "/dev/full"};
        Result result = ozrz({threads, "-c", "a"}, full);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "ozrz: standard output: cannot write: No space left on device\n");
        result = ozrz({threads, "-dc", "b.lz4"}, full);
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "ozrz: standard output: cannot write: No space left on device\n");
        result = ozrz({threads, "-o", "/dev/full", "a"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "ozrz: /dev/full: cannot write: No space left on device\n");
    }
    for (const char* question : {"-h", "-V", "--formats", "-lb.lz4"}) {
        SCOPED_TRACE(question);
        const Result result =
            ozrz(question[1] == 'l' ? std::vector<std::string>{"-l", "b.lz4"} : std::vector<std::string>{question},
                 Setting{.directory = {}, .input = {}, .outputFile = "/dev/full"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.err, HasSubstr("standard output: cannot write: No space left on device"));
    }
}

TEST_F(Interruption, FileThatCannotGrowIsRemoved) {
    const std::string contents = sample("random", 1'000'000);
    write("a", contents);
    const auto limitSize = [] {
        const rlimit limit{100'000, 100'000};
        if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(125);
    };
    for (const bool ignored : {true, false}) {
        SCOPED_TRACE(ignored ? "signal ignored" : "signal caught");
        const auto prepare = [&] {
            limitSize();
            if (ignored) signal(SIGXFSZ, SIG_IGN);
        };
        const Result result = ozrz({"--rm", "a"}, Setting{.directory = {}, .input = {}, .beforeExec = prepare});
        if (ignored) {
            EXPECT_EQ(result.exitCode, 1);
            EXPECT_EQ(result.err, "ozrz: a.lz4: cannot write: File too large\n");
        } else {
            EXPECT_EQ(result.signal, SIGXFSZ);
        }
        EXPECT_THAT(names(), ElementsAre("a"));
        EXPECT_EQ(read("a"), contents);
    }
}

}  // namespace
}  // namespace ozrz::test
