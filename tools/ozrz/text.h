// Numbers as people read them.
#pragma once

#include <cstdint>
#include <string>

namespace ozrz {

std::string sizeText(uint64_t bytes);               // "64 KiB", "12.3 MiB"
std::string rateText(double bytesPerSecond);        // "431 MB/s"
std::string fixedText(double value, int decimals);  // "2.35"
std::string hexText(uint32_t value);                // "0x01234abc"
std::string timeText(uint32_t seconds);             // since 1970: "2009-02-13 23:31:30 UTC"
std::string durationText(double seconds);           // "0:07", "1:02:33"

// `count` with `noun`, made plural by an s: "1 file", "3 files".
std::string countText(uint64_t count, const std::string& noun);

// `text` with what a terminal would not show as a character replaced by question marks.
std::string printableText(const std::string& text);

// `text` with spaces in front or behind, to a column's width.
std::string padLeft(const std::string& text, std::size_t width);
std::string padRight(const std::string& text, std::size_t width);

// 100 x part / whole, and 0 for an empty whole.
double percent(uint64_t part, uint64_t whole);

}  // namespace ozrz
