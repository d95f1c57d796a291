// The LZ4 frame format (.lz4).
#pragma once

#include <memory>

#include "formats/format.h"

namespace ozrz {

std::unique_ptr<Format> makeLz4Format();

}  // namespace ozrz
