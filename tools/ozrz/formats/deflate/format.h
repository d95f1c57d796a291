// Raw Deflate streams (.deflate).
#pragma once

#include <memory>

#include "formats/format.h"

namespace ozrz {

std::unique_ptr<Format> makeDeflateFormat();

}  // namespace ozrz
