// The progress bar.
#include "progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "text.h"

namespace ozrz {
namespace {

constexpr auto kPatience = std::chrono::seconds(1);  // shorter work is over before a person has read the bar
constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr std::size_t kDefaultWidth = 80;
constexpr std::size_t kMaxNameWidth = 24;
constexpr std::size_t kMaxBarWidth = 32;
constexpr std::size_t kMinBarWidth = 5;

std::size_t terminalWidth() {
    winsize size{};
    if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return kDefaultWidth;
    return size.ws_col;
}

std::string bar(double fraction, std::size_t width) {
    const auto filled = static_cast<std::size_t>(std::lround(fraction * static_cast<double>(width)));
    std::string text(filled, '=');
    if (filled < width) text += '>';
    text.resize(width, ' ');
    return "[" + text + "]";
}

std::string lastPart(const std::string& name) {
    const std::string base = name.substr(name.rfind('/') + 1);
    return base.size() <= kMaxNameWidth ? base : base.substr(0, kMaxNameWidth - 3) + "...";
}

}  // namespace

void Progress::start(const std::string& name, std::optional<uint64_t> total) {
    clear();
    name_ = lastPart(name);
    total_ = total;
    started_ = Clock::now();
    nextDraw_ = started_ + kPatience;
}

void Progress::update(uint64_t done) {
    if (!enabled_) return;
    const Clock::time_point now = Clock::now();
    if (now < nextDraw_) return;
    nextDraw_ = now + kInterval;
    draw(done, std::chrono::duration<double>(now - started_).count());
}

void Progress::draw(uint64_t done, double seconds) {
    const double rate = static_cast<double>(done) / seconds;
    std::string left;
    std::string right = sizeText(done);
    double fraction = 0;
    if (total_ && *total_ != 0) {
        fraction = std::min(1.0, static_cast<double>(done) / static_cast<double>(*total_));
        left = std::to_string(static_cast<int>(100 * fraction)) + "% ";
        right += " of " + sizeText(*total_);
    }
    right += "  " + rateText(rate);
    if (!left.empty() && rate > 0) {
        const double rest = static_cast<double>(*total_ - std::min(done, *total_)) / rate;
        right += "  " + durationText(rest) + " left";
    } else {
        right += "  " + durationText(seconds);
    }

    std::string line = name_ + "  ";
    const std::size_t width = terminalWidth() - 1;  // the last column would make some terminals wrap
    const std::size_t used = line.size() + left.size() + right.size() + 4;
    if (!left.empty()) {
        line += left;
        if (width > used + kMinBarWidth) line += bar(fraction, std::min(kMaxBarWidth, width - used)) + "  ";
    }
    line += right;
    if (line.size() > width) line.resize(width);

    visible_ = true;
    std::fputs(("\r" + line + "\033[K").c_str(), stderr);
    std::fflush(stderr);
}

void Progress::clear() {
    if (!visible_) return;
    visible_ = false;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
}

}  // namespace ozrz
