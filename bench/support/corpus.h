// The files that the benchmarks run on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ozrdc::bench {

struct File {
    std::string name;  // without its directory; unique within a corpus
    std::vector<uint8_t> data;
};

using Corpus = std::vector<File>;

// Loads `paths`, files or directories. If there are none: the directory that $OZRDC_CORPUS names, else the corpora
// beside the source tree, else a few files that every Debian machine has. Empty files and unreadable ones are left out.
Corpus loadCorpus(const std::vector<std::string>& paths);

}  // namespace ozrdc::bench
