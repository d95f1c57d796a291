// See the header. The chunks of a PNG file carry a CRC-32, and its pixels are a zlib stream: the command has both.
#include "formats/zfp/png.h"

#include <algorithm>
#include <ozrdc/checksum.hpp>
#include <string_view>

#include "formats/zlib/format.h"

namespace ozrz::zfp {
namespace {

using Vector = std::vector<uint8_t>;

void appendNumber(Vector& to, uint32_t number) {
    std::array<uint8_t, 4> bytes;
    storeBigEndian(bytes.data(), number);
    to.insert(to.end(), bytes.begin(), bytes.end());
}

void appendChunk(Vector& file, std::string_view type, const Vector& data) {
    appendNumber(file, static_cast<uint32_t>(data.size()));
    const std::size_t begin = file.size();
    file.insert(file.end(), type.begin(), type.end());
    file.insert(file.end(), data.begin(), data.end());
    appendNumber(file, ozrdc::crc32(std::span(file).subspan(begin)));
}

Vector header(const Picture& picture) {
    Vector data;
    appendNumber(data, picture.width);
    appendNumber(data, picture.height);
    data.insert(data.end(), {8, 3, 0, 0, 0});  // 8 bits a pixel, with a palette
    return data;
}

Vector pixels(const Picture& picture) {
    Vector rows;
    for (uint32_t y = 0; y < picture.height; ++y) {
        rows.push_back(0);  // no filter
        const auto row = picture.pixels.begin() + static_cast<std::ptrdiff_t>(std::size_t{y} * picture.width);
        rows.insert(rows.end(), row, row + picture.width);
    }
    const auto zlib = makeZlibFormat();
    Buffer buffer;
    MemorySource source(rows);
    MemorySink sink(buffer);
    zlib->encode(source, sink, {.level = zlib->description().defaultLevel});
    return {sink.bytes().begin(), sink.bytes().end()};
}

std::string base64(const Vector& bytes) {
    constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
        uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < n ? bytes[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k) text += k <= n ? kDigits[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

}  // namespace

std::string pngInBase64(const Picture& picture, const Palette& palette) {
    Vector file{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    appendChunk(file, "IHDR", header(picture));
    Vector colors;
    for (const Color& color : palette) colors.insert(colors.end(), color.begin(), color.end());
    appendChunk(file, "PLTE", colors);
    appendChunk(file, "IDAT", pixels(picture));
    appendChunk(file, "IEND", {});
    return base64(file);
}

}  // namespace ozrz::zfp
