// The CRC-32 of a file of any size, in pieces.
#include <fstream>
#include <iostream>
#include <ozrdc.hpp>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::ifstream file(argv[1], std::ios::binary);
    std::vector<char> piece(1 << 20);
    ozrdc::Crc32 crc;  // running: pieces of any size give the same value as the whole
    while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())), file.gcount() > 0)
        crc.update(std::span(piece).first(static_cast<std::size_t>(file.gcount())));
    std::cout << std::hex << crc.value() << '\n';
}
