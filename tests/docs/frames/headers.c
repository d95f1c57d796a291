// Around the blocks of code in ozrdc.h: what their reader has, and a look at what they have done.
#include <ozrdc.h>
#include <stdio.h>
#include <string.h>

#define REQUIRE(condition)                            \
    do {                                              \
        if (!(condition)) return puts(#condition), 1; \
    } while (0)

//! ozrdc.h 3

static int lzoFits(void) {
    const uint8_t container[] = {0x55, 2, 0x57, 0, 1, 0, 0}, stream[] = {0x12, 'x', 0x11, 0, 0};
    REQUIRE(fits(container, sizeof container, 256) && !fits(container, sizeof container, 255));
    REQUIRE(fits(stream, sizeof stream, 0));
    return 0;
}

enum { LENGTH = 100000, CAPACITY = LENGTH };

static uint8_t text[LENGTH];

static void makeText(void) {
    for (int i = 0, word = 1; i < LENGTH; ++i) {
        if (i % 7 == 0) word = word * 75 % 65537;
        text[i] = (uint8_t)('a' + (word >> i % 7 & 7));
    }
}

// The match search: records stand for the text, and the window has moved on.
static int deflateMatchSearch(void) {
    static uint8_t lit[CAPACITY], back[LENGTH];
    static uint16_t dist[CAPACITY];
    uint32_t litFreq[286] = {0}, distFreq[30] = {0};
    const uint8_t* const piece = text;
    const int32_t length = LENGTH, level = 6, isLast = 1;
    {
        //! ozrdc.h 1
        REQUIRE(parsed == LENGTH && left == 0 && index == LENGTH);
        REQUIRE(memcmp(window, text + LENGTH - WIN, WIN) == 0);
        int32_t n = 0;
        for (int32_t i = 0; i < CAPACITY - records; ++i) {
            if (dist[i] == 0) back[n++] = lit[i];
            for (int32_t k = 0; dist[i] != 0 && k < lit[i] + 3; ++k, ++n) back[n] = back[n - dist[i]];
        }
        REQUIRE(n == LENGTH && CAPACITY - records < LENGTH / 2);
    }
    REQUIRE(memcmp(back, text, LENGTH) == 0);
    return 0;
}

// The single pass: source and room come in pieces, and the decoder gets the text back.
static const uint8_t *src = text, *window = text;
static int32_t srcLen = LENGTH / 3, dstIdx, outLen;
static int last;
static uint8_t dst[500], out[2 * LENGTH];
enum { winSize = 32768, hashSize = 8192, dstLen = sizeof dst };

static void keepWindow(void) { window = src - text < winSize ? text : src - winSize; }

static void emptyDestination(void) {
    memcpy(out + outLen, dst, (size_t)dstIdx);
    outLen += dstIdx;
    dstIdx = 0;
    keepWindow();
}

static void getMoreSource(void) {
    srcLen = (int32_t)(text + LENGTH - src);
    last = 1;
    keepWindow();
}

static int deflateSinglePass(void) {
    static int32_t head[hashSize];
    static uint8_t back[LENGTH];
    static InflateState state;
    for (int i = 0; i < hashSize; ++i) head[i] = -32768;
    {
        //! ozrdc.h 2
        emptyDestination();
        out[outLen++] = (uint8_t)bits;
        REQUIRE(srcIdx == LENGTH && srcLen == 0 && bitCount < 8);
    }
    uint32_t code = out[0] >> 3, codeLen = 5, left = (uint32_t)outLen - 1, room = LENGTH, mode = 0;
    const uint8_t* from = out + 1;
    uint8_t* to = back;
    REQUIRE((out[0] & 7) == (1 | 1 << 1));
    REQUIRE(ozrsInflate_8u(&from, &left, &code, &codeLen, 0, &to, &room, 0, &mode, &state) == StatusOk && mode == 0);
    REQUIRE(room == 0 && memcmp(back, text, LENGTH) == 0);
    return 0;
}

int main(void) {
    makeText();
    return deflateMatchSearch() || deflateSinglePass() || lzoFits();
}
