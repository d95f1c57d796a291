// The lzop format (.lzo).
#pragma once

#include <memory>

#include "formats/format.h"

namespace ozrz {

std::unique_ptr<Format> makeLzoFormat();

}  // namespace ozrz
