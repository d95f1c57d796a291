// Small pictures with a palette, as PNG files.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace ozrz::zfp {

using Color = std::array<uint8_t, 3>;
using Palette = std::array<Color, 256>;

struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels{};  // row by row, from the top; each a color of the palette
};

// The file in base 64, as a "data:" address has it.
std::string pngInBase64(const Picture& picture, const Palette& palette);

}  // namespace ozrz::zfp
