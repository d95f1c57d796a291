// Bytes as text, for messages of failed tests.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

namespace ozrdc::test {

inline std::string hex(std::span<const uint8_t> bytes) {
    constexpr std::size_t most = 400;
    std::string text;
    for (std::size_t i = 0; i < std::min(bytes.size(), most); ++i) {
        std::array<char, 4> digits{};
        std::snprintf(digits.data(), digits.size(), "%02x ", bytes[i]);
        text += digits.data();
    }
    if (bytes.size() > most) text += "... (" + std::to_string(bytes.size()) + " bytes)";
    return text;
}

}  // namespace ozrdc::test
