// What -l shows: a line for every compressed file, and their sum.
#pragma once

#include "formats/registry.h"
#include "messages.h"
#include "options.h"

namespace ozrz {

void listFiles(const Options& options, const Registry& registry, Messages& messages);

}  // namespace ozrz
