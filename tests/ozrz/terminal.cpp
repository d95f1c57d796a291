// Processes on a pseudo-terminal.
#include "terminal.h"

#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <stdexcept>

namespace ozrz::test {

TerminalProcess::TerminalProcess(const std::vector<std::string>& command, const TerminalSetting& setting) {
    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) throw std::runtime_error("cannot make a pipe");
    const winsize size{.ws_row = 25, .ws_col = setting.columns, .ws_xpixel = 0, .ws_ypixel = 0};
    process_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (process_ < 0) throw std::runtime_error("cannot make a pseudo-terminal");
    if (process_ == 0) {
        std::vector<char*> arguments;
        for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
        arguments.push_back(nullptr);
        if (chdir(setting.directory.c_str()) != 0) _exit(126);
        if (!setting.terminalInput) dup2(pipeEnds[0], STDIN_FILENO);
        if (!setting.terminalOutput) dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        signal(SIGPIPE, SIG_DFL);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
    close(pipeEnds[0]);
    pipe_ = pipeEnds[1];
}

TerminalProcess::~TerminalProcess() {
    closePipe();
    if (process_ > 0) {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    close(terminal_);
}

void TerminalProcess::type(const std::string& text) {
    if (write(terminal_, text.data(), text.size()) < 0) throw std::runtime_error("cannot type");
}

void TerminalProcess::sendPipe(const std::string& text) {
    if (write(pipe_, text.data(), text.size()) < 0) throw std::runtime_error("cannot send");
}

void TerminalProcess::closePipe() {
    if (pipe_ >= 0) close(pipe_);
    pipe_ = -1;
}

bool TerminalProcess::readMore() {
    std::array<char, 4096> piece;
    const ssize_t count = ::read(terminal_, piece.data(), piece.size());
    if (count <= 0) return false;
    screen_.append(piece.data(), static_cast<std::size_t>(count));
    return true;
}

bool TerminalProcess::waitForText(const std::string& text) {
    while (screen_.find(text) == std::string::npos) {
        if (!readMore()) return false;
    }
    return true;
}

Result TerminalProcess::finish() {
    closePipe();
    while (readMore()) {
    }
    int status = 0;
    waitpid(process_, &status, 0);
    process_ = -1;
    Result result;
    if (WIFEXITED(status)) result.exitCode = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
    result.out = screen_;
    return result;
}

}  // namespace ozrz::test
