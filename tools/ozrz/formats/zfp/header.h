// The header of a .zfp file: magic number, shape, parameters. The blocks follow behind its last bit.
#pragma once

#include <optional>
#include <string>

#include "bytes.h"
#include "formats/zfp/bits.h"
#include "formats/zfp/block_coder.h"
#include "formats/zfp/volume.h"

namespace ozrz::zfp {

// The longest side of a volume that the header can express.
constexpr uint64_t kLongestSide = 65536;

struct Header {
    Dims dims;
    Parameters parameters;
};

bool isMagic(Bytes head);

// What is to be kept, as the command's options say it.
Parameters fixedRate(double bitsPerValue);
Parameters fixedPrecision(uint32_t planes);
Parameters fixedAccuracy(double tolerance);  // above 0

// "rate 8", "precision 16", "accuracy 2^-10", or all four numbers.
std::string describe(const Parameters& parameters);

// Parameters must come from one of the functions above.
void writeHeader(BitJoiner& joiner, const Header& header);

// Throws a `DataError` for what is no header, or one of an array that is no volume of floats.
Header readHeader(BitSplitter& splitter);

}  // namespace ozrz::zfp
