// "ozrz bench": ratio and speed of every format and level on given files.
#pragma once

#include "formats/registry.h"
#include "options.h"

namespace ozrz {

// Throws an `Error` where a file cannot be read or a result differs from its original.
void runBench(const BenchOptions& options, const Registry& registry);

}  // namespace ozrz
