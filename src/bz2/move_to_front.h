// The state of move-to-front coding, which the Huffman code of selectors uses, too.
#pragma once

#include <cstdint>

#include "ozrdc.h"

struct MTFState {
    uint8_t entries[256];  // encoder: the rank of each symbol; decoder: the list
};
