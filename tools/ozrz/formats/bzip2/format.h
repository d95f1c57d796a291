// The bzip2 format (.bz2).
#pragma once

#include <memory>

#include "formats/format.h"

namespace ozrz {

std::unique_ptr<Format> makeBzip2Format();

}  // namespace ozrz
