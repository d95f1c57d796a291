// What is said on standard error, and the exit code that follows from it.
#pragma once

#include <functional>
#include <string_view>

namespace ozrz {

// In the order of gravity; the values are what the process returns.
enum class ExitCode : int { success = 0, warning = 2, error = 1 };

class Messages {
  public:
    // 0: errors only; 1: warnings too; 2 (-v): a line for every file; 3 (-vv): details.
    static constexpr int kNormal = 1;

    void setVerbosity(int verbosity) { verbosity_ = verbosity; }
    bool quiet() const { return verbosity_ < kNormal; }
    bool verbose() const { return verbosity_ > kNormal; }
    bool detailed() const { return verbosity_ > kNormal + 1; }

    void error(std::string_view text);
    void warning(std::string_view text);
    void line(std::string_view text);  // without the command's name in front; callers ask verbose() themselves

    ExitCode exitCode() const { return exitCode_; }

    // Called before anything is written, so that a progress bar can make room.
    void beforeWriting(std::function<void()> action) { beforeWriting_ = std::move(action); }

  private:
    void show(std::string_view prefix, std::string_view text);

    int verbosity_ = kNormal;
    ExitCode exitCode_ = ExitCode::success;
    std::function<void()> beforeWriting_;
};

}  // namespace ozrz
