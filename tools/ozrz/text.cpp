// Numbers as people read them.
#include "text.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace ozrz {
namespace {

// At least three significant digits, and no decimals where they say nothing.
std::string shortText(double value) {
    const int decimals = value >= 100 || value == std::floor(value) ? 0 : value >= 10 ? 1 : 2;
    return fixedText(value, decimals);
}

}  // namespace

std::string fixedText(double value, int decimals) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", decimals, value);
    return text.data();
}

std::string sizeText(uint64_t bytes) {
    static constexpr std::array kUnits{" B", " KiB", " MiB", " GiB", " TiB", " PiB", " EiB"};
    double value = static_cast<double>(bytes);
    std::size_t unit = 0;
    while (value >= 1024 && unit + 1 < kUnits.size()) {
        value /= 1024;
        ++unit;
    }
    return shortText(value) + kUnits[unit];
}

std::string rateText(double bytesPerSecond) { return shortText(bytesPerSecond / 1e6) + " MB/s"; }

std::string hexText(uint32_t value) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%08x", value);
    return text.data();
}

std::string timeText(uint32_t seconds) {
    const auto time = static_cast<time_t>(seconds);
    tm parts{};
    gmtime_r(&time, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts)};
}

std::string durationText(double seconds) {
    const auto total = std::llround(seconds);
    std::array<char, 64> text{};
    if (total >= 3600) {
        std::snprintf(text.data(), text.size(), "%lld:%02lld:%02lld", total / 3600, total / 60 % 60, total % 60);
    } else {
        std::snprintf(text.data(), text.size(), "%lld:%02lld", total / 60, total % 60);
    }
    return text.data();
}

std::string countText(uint64_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string printableText(const std::string& text) {
    std::string printable = text;
    for (char& c : printable) {
        if (static_cast<unsigned char>(c) < ' ' || c == '\x7f') c = '?';
    }
    return printable;
}

std::string padLeft(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

std::string padRight(const std::string& text, std::size_t width) {
    return text.size() < width ? text + std::string(width - text.size(), ' ') : text;
}

double percent(uint64_t part, uint64_t whole) {
    return whole == 0 ? 0 : 100 * static_cast<double>(part) / static_cast<double>(whole);
}

}  // namespace ozrz
