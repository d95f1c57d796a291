// A program in C++, as users of the library build one: a round trip through a Deflate stream, and a check value.
#include <array>
#include <ozrdc.hpp>
#include <string>
#include <string_view>

int main() {
    const std::string text(1000, 'x');
    std::array<std::byte, 2000> room;
    std::string back(text.size(), '\0');
    const auto stream = ozrdc::deflate::encode(text, room);
    if (!stream || !ozrdc::inflate::decode(*stream, back) || back != text) return 1;
    return ozrdc::crc32(std::string_view("123456789")) == 0xCBF43926 ? 0 : 1;
}
