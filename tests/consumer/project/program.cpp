// A program in C++, as users of the library build one: the check value of CRC-32.
#include <ozrdc.h>

#include <array>

int main() {
    const std::array<uint8_t, 9> digits{'1', '2', '3', '4', '5', '6', '7', '8', '9'};
    uint32_t crc = 0;
    return ozrsCRC32_8u(digits.data(), digits.size(), &crc) == StatusOk && crc == 0xCBF43926 ? 0 : 1;
}
