// Randomized blocks. Old versions of bzip2 changed a bit here and there of blocks that they could not sort in time. No
// version does so any more, but all can read such blocks.
#pragma once

#include "bytes.h"

namespace ozrz::bzip2 {

// Changes the bits back in the run-length code of a whole block. (Doing it again changes them once more.)
void undoRandomization(MutableBytes block);

}  // namespace ozrz::bzip2
