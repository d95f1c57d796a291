// The gzip format (.gz).
#pragma once

#include <memory>

#include "formats/format.h"

namespace ozrz {

std::unique_ptr<Format> makeGzipFormat();

}  // namespace ozrz
