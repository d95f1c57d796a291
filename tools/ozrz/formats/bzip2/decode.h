// Decompresses bzip2 files, in parallel.
#pragma once

#include "formats/format.h"

namespace ozrz::bzip2 {

struct Summary {
    uint64_t streams = 0;
    uint64_t blocks = 0;
    int level = 0;       // of the first stream
    uint64_t bytes = 0;  // of the source that belong to streams
};

// Writes the content of all streams. Throws an `Error`, after everything in front of the damage has been written; or,
// with `settings.recover`, after every block that is intact has been.
Summary decode(Source& source, Sink& sink, const DecodeSettings& settings);

}  // namespace ozrz::bzip2
