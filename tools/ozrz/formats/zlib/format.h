// The zlib format (.zz).
#pragma once

#include <memory>

#include "formats/format.h"

namespace ozrz {

std::unique_ptr<Format> makeZlibFormat();

}  // namespace ozrz
