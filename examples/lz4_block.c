// Encodes a text as one LZ4 block and decodes it again.
#include <ozrdc.h>
#include <stdio.h>

int main(void) {
    const uint8_t text[] = "so far so good so far so good so far so good so far so good";
    uint8_t table[16384], block[sizeof text + sizeof text / 255 + 16], back[sizeof text];
    int32_t blockLen = 0, backLen = sizeof back;
    if (ozrsEncodeLZ4_8u(text, sizeof text, block, &blockLen, table) != StatusOk) return 1;
    if (ozrsDecodeLZ4_8u(block, blockLen, back, &backLen) != StatusOk) return 1;
    printf("%zu bytes in %d: %s\n", sizeof text, blockLen, (const char*)back);
}
