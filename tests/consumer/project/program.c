/* A program in C, as users of the library build one: a round trip through an LZ4 block. */
#include <ozrdc.h>
#include <stdio.h>
#include <string.h>

int main(void) {
    uint8_t text[1000], table[16384], block[1100], back[1000];
    int32_t blockLen = 0, backLen = sizeof back;
    memset(text, 'x', sizeof text);
    if (ozrsEncodeLZ4_8u(text, sizeof text, block, &blockLen, table) != StatusOk) return 1;
    if (ozrsDecodeLZ4_8u(block, blockLen, back, &backLen) != StatusOk) return 1;
    if (backLen != (int32_t)sizeof text || memcmp(text, back, sizeof text) != 0) return 1;
    return printf("%s\n", ozrdcGetLibVersion()->version) < 0;
}
