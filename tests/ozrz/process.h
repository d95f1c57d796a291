// Running a command as a process: what goes in, what comes out, how it ends.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace ozrz::test {

struct Result {
    int exitCode = -1;  // -1 if a signal ended it
    int signal = 0;
    std::string out;
    std::string err;
    long maxResidentKilobytes = 0;
};

struct Setting {
    std::string directory;                    // to run in
    std::string input;                        // given through a pipe
    std::optional<std::string> inputFile{};   // standard input is this file instead
    std::optional<std::string> outputFile{};  // standard output is this file, and `Result::out` stays empty
    // Runs in the new process, which still has its parent's memory: it may change what the kernel knows of the process,
    // and no variable.
    std::function<void()> beforeExec = [] {};
};

// Runs to the end. The first word is looked up in PATH.
Result run(const std::vector<std::string>& command, const Setting& setting);

bool haveCommand(const std::string& name);

// A process that the test talks to while it runs. Its standard input is a pipe; output and errors are discarded unless
// `output` gives a descriptor for them.
class RunningProcess {
  public:
    RunningProcess(const std::vector<std::string>& command, const Setting& setting,
                   std::optional<int> output = std::nullopt);
    ~RunningProcess();
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

    void send(const std::string& text);
    void closeInput();
    void kill(int signalNumber);
    Result wait();

  private:
    pid_t process_ = -1;
    int input_ = -1;
};

// The command under test.
std::vector<std::string> ozrzCommand(const std::vector<std::string>& arguments);

}  // namespace ozrz::test
