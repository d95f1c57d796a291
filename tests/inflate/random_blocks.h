// Codes and blocks that no ordinary compressor makes: every depth, every symbol, distances over all of the history.
#pragma once

#include "support/deflate_format.h"
#include "support/random.h"

namespace ozrdc::test::inflate {

// A complete code for `used` of `symbols` symbols (2 at least), chosen at random, with no code above `most` bits.
// `deep` makes it likely that some have that many. Symbols of `always` are among the used ones.
deflate::Lengths randomCode(Random& random, std::size_t symbols, std::size_t used, unsigned most, bool deep,
                            std::span<const unsigned> always = {});

// Both codes of a block, with a code for the end of the block. The longest codes have at most these many bits.
deflate::BlockCodes randomCodes(Random& random, unsigned mostLiteral, unsigned mostDistance);

// The shapes that lead to tables of each kind, fixed codes among them, one-code distance trees too.
deflate::BlockCodes randomCodes(Random& random);

// Writes about `bytes` bytes as symbols of these codes, without the end of the block. Matches reach back no further
// than `history` and what was written before.
void writeRandomSymbols(deflate::BitWriter& writer, const deflate::BlockCodes& codes, Random& random, std::size_t bytes,
                        std::size_t history);

}  // namespace ozrdc::test::inflate
