// Decodes LZO1X sources that nobody vouches for. A container of several parts is decoded to the length that it states
// itself, whatever the caller's capacity is: so what it states is looked at first.
#include <ozrdc.h>
#include <stdio.h>
#include <string.h>

enum { CAPACITY = 100 };

// Whether a source can be decoded into a buffer of that size: a stream always can, because its decoder keeps to the
// capacity, and a container if its total fits.
static int fits(const uint8_t* src, uint32_t srcLen, uint32_t capacity) {
    if (srcLen < 7 || src[0] != 0x55 || src[1] < 1 || src[1] > 32 || src[2] != (src[1] ^ 0x55)) return 1;
    const uint32_t total = src[3] | (uint32_t)src[4] << 8 | (uint32_t)src[5] << 16 | (uint32_t)src[6] << 24;
    return total <= capacity;
}

static void show(const char* what, const uint8_t* src, uint32_t srcLen) {
    uint8_t text[CAPACITY];
    uint32_t textLen = sizeof text;
    if (!fits(src, srcLen, textLen)) {
        printf("%s: too large\n", what);
    } else if (ozrsDecodeLZOSafe_8u(src, srcLen, text, &textLen) != StatusOk) {
        printf("%s: broken\n", what);
    } else {
        printf("%s: %.*s\n", what, (int)textLen, (const char*)text);
    }
}

int main(void) {
    static uint8_t state[131104];
    const uint8_t text[] = "in parts, in parts, in parts, in parts";
    uint8_t container[200];
    uint32_t containerLen = sizeof container;
    // The writer of containers is asked for in the state itself: mode 1, and the number of parts.
    const uint32_t fields[] = {1, 2};
    memcpy(state, fields, sizeof fields);
    if (ozrsEncodeLZO_8u(text, sizeof text - 1, container, &containerLen, (LZOState*)state) != StatusOk) return 1;

    show("whole", container, containerLen);
    show("cut", container, containerLen - 4);
    container[6] = 0x7F;  // two billion bytes, it says now
    show("changed", container, containerLen);
    return 0;
}
