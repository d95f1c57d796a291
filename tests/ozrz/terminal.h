// Running the command on a pseudo-terminal, as a person would.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "process.h"

namespace ozrz::test {

struct TerminalSetting {
    std::string directory;
    unsigned short columns = 80;
    // Which of the standard streams are the terminal. Standard input is otherwise a pipe that the test writes to, and
    // standard output otherwise /dev/null. Standard error always is the terminal.
    bool terminalInput = true;
    bool terminalOutput = true;
};

class TerminalProcess {
  public:
    TerminalProcess(const std::vector<std::string>& command, const TerminalSetting& setting);
    ~TerminalProcess();
    TerminalProcess(const TerminalProcess&) = delete;
    TerminalProcess& operator=(const TerminalProcess&) = delete;

    void type(const std::string& text);      // at the terminal's keyboard
    void sendPipe(const std::string& text);  // through the pipe
    void closePipe();

    // Reads the screen until `text` has appeared; false if the process closes the terminal before.
    bool waitForText(const std::string& text);

    // Reads the screen to the end and waits for the process. `Result::out` is all that was shown.
    Result finish();

  private:
    bool readMore();

    pid_t process_ = -1;
    int terminal_ = -1;
    int pipe_ = -1;
    std::string screen_;
};

}  // namespace ozrz::test
