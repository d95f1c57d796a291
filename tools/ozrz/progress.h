// The progress bar on standard error: how far, how fast, how long still. It appears when one file takes over a second.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace ozrz {

class Progress {
  public:
    explicit Progress(bool enabled) : enabled_(enabled) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { clear(); }

    // Begins with a new file; `total` is its size where that is known.
    void start(const std::string& name, std::optional<uint64_t> total);

    // `done` bytes of the file have been read. Cheap enough to be called for every block.
    void update(uint64_t done);

    // Takes the bar off the screen.
    void clear();

  private:
    using Clock = std::chrono::steady_clock;

    void draw(uint64_t done, double seconds);

    bool enabled_;
    bool visible_ = false;
    std::string name_;
    std::optional<uint64_t> total_;
    Clock::time_point started_{};
    Clock::time_point nextDraw_{};
};

}  // namespace ozrz
