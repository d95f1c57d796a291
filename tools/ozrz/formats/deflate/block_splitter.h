// Finds where the statistics change: there a block ends, and new codes begin.
#pragma once

#include <vector>

#include "formats/deflate/records.h"

namespace ozrz::deflate {

// Joins neighbors among the pieces, for as long as sharing codes saves more than it costs. The pieces follow each other
// in memory.
void joinBlocks(std::vector<Block>& pieces);

}  // namespace ozrz::deflate
