// LZSS streams in a container of this project's own (.lzss).
#pragma once

#include <memory>

#include "formats/format.h"

namespace ozrz {

std::unique_ptr<Format> makeLzssFormat();

}  // namespace ozrz
