// Reads the headers of blocks.
#pragma once

#include <ozrdc.h>

#include "error.h"
#include "formats/deflate/bit_reader.h"
#include "formats/deflate/symbols.h"

namespace ozrz::deflate {

// Something is wrong with a block; the text is to be put behind its name and "is damaged: ".
class BadBlock : public Error {
    using Error::Error;
};

// Reads the code lengths of a dynamic block and makes the decoding tables of them. Throws BadBlock, and DataError where
// the source ends.
void readDynamicHeader(BitReader& in, InflateState& state);

}  // namespace ozrz::deflate
