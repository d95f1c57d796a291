// ZFP files: volumes of floats, compressed with loss.
#pragma once

#include <memory>

#include "formats/format.h"

namespace ozrz {

std::unique_ptr<Format> makeZfpFormat();

}  // namespace ozrz
