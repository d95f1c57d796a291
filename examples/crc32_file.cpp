// The CRC-32 of a file of any size, in pieces.
#include <ozrdc.h>

#include <fstream>
#include <iostream>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    std::ifstream file(argv[1], std::ios::binary);
    std::vector<char> piece(1 << 20);
    uint32_t crc = 0;  // running: pieces of any size give the same value as the whole
    while (file.read(piece.data(), static_cast<std::streamsize>(piece.size())), file.gcount() > 0)
        ozrsCRC32_8u(reinterpret_cast<const uint8_t*>(piece.data()), static_cast<int32_t>(file.gcount()), &crc);
    std::cout << std::hex << crc << '\n';
}
