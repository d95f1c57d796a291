// Running processes. Output goes to memory files, so that nothing has to be read while a process runs; only input needs
// a thread of its own.
#include "process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>
#include <thread>

namespace ozrz::test {
namespace {

int checked(int result, const char* what) {
    if (result < 0) throw std::runtime_error(std::string("cannot ") + what);
    return result;
}

std::string contentsOf(int descriptor) {
    std::string text(static_cast<std::size_t>(lseek(descriptor, 0, SEEK_END)), '\0');
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = pread(descriptor, text.data() + done, text.size() - done, static_cast<off_t>(done));
        if (count <= 0) throw std::runtime_error("cannot read output");
        done += static_cast<std::size_t>(count);
    }
    return text;
}

void writeAll(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count <= 0) return;  // the process has stopped reading
        done += static_cast<std::size_t>(count);
    }
}

pid_t start(const std::vector<std::string>& command, const Setting& setting, int in, int out, int err) {
    std::vector<char*> arguments;
    for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    // Not fork(): it would copy the page tables of this process, and a sanitizer makes them huge.
    const pid_t process = checked(vfork(), "fork");
    if (process != 0) return process;
    if (chdir(setting.directory.empty() ? "." : setting.directory.c_str()) != 0) _exit(126);
    dup2(in, STDIN_FILENO);
    dup2(out, STDOUT_FILENO);
    dup2(err, STDERR_FILENO);
    // What the tests' own caller ignores would be ignored here too: a shell's background jobs ignore SIGINT.
    for (const int signalNumber : {SIGPIPE, SIGINT, SIGTERM, SIGHUP, SIGXFSZ}) signal(signalNumber, SIG_DFL);
    setting.beforeExec();
    execvp(arguments[0], arguments.data());
    _exit(127);
}

Result waitFor(pid_t process) {
    int status = 0;
    rusage usage{};
    checked(wait4(process, &status, 0, &usage), "wait");
    Result result;
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    result.maxResidentKilobytes = usage.ru_maxrss;
    return result;
}

// Tests write to processes that may have gone.
const bool brokenPipesIgnored = [] {
    signal(SIGPIPE, SIG_IGN);
    return true;
}();

}  // namespace

Result run(const std::vector<std::string>& command, const Setting& setting) {
    int pipeEnds[2] = {-1, -1};
    checked(pipe2(pipeEnds, O_CLOEXEC), "make a pipe");
    const int in = setting.inputFile ? checked(open(setting.inputFile->c_str(), O_RDONLY | O_CLOEXEC), "open the input")
                                     : pipeEnds[0];
    const int out =
        setting.outputFile
            ? checked(open(setting.outputFile->c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644), "open the output")
            : checked(memfd_create("out", MFD_CLOEXEC), "make a memory file");
    const int err = checked(memfd_create("err", MFD_CLOEXEC), "make a memory file");
    const pid_t process = start(command, setting, in, out, err);
    close(pipeEnds[0]);
    std::thread writer([&] {
        writeAll(pipeEnds[1], setting.input);
        close(pipeEnds[1]);
    });
    Result result = waitFor(process);
    writer.join();
    if (!setting.outputFile) result.out = contentsOf(out);
    result.err = contentsOf(err);
    close(out);
    close(err);
    if (setting.inputFile) close(in);
    return result;
}

bool haveCommand(const std::string& name) { return run({"sh", "-c", "command -v " + name}, {}).exitCode == 0; }

RunningProcess::RunningProcess(const std::vector<std::string>& command, const Setting& setting,
                               std::optional<int> output) {
    int pipeEnds[2];
    checked(pipe2(pipeEnds, O_CLOEXEC), "make a pipe");
    const int null = checked(open("/dev/null", O_WRONLY | O_CLOEXEC), "open /dev/null");
    process_ = start(command, setting, pipeEnds[0], output.value_or(null), output.value_or(null));
    close(pipeEnds[0]);
    close(null);
    input_ = pipeEnds[1];
}

RunningProcess::~RunningProcess() {
    closeInput();
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        waitFor(process_);
    }
}

void RunningProcess::send(const std::string& text) { writeAll(input_, text); }

void RunningProcess::closeInput() {
    if (input_ >= 0) close(input_);
    input_ = -1;
}

void RunningProcess::kill(int signalNumber) { checked(::kill(process_, signalNumber), "send a signal"); }

Result RunningProcess::wait() {
    const Result result = waitFor(process_);
    process_ = -1;
    return result;
}

std::vector<std::string> ozrzCommand(const std::vector<std::string>& arguments) {
    std::vector<std::string> command{OZRZ_COMMAND};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

}  // namespace ozrz::test
