#include "support/corpus.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

namespace ozrdc::bench {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> defaultPaths() {
    if (const char* directory = std::getenv("OZRDC_CORPUS"); directory != nullptr && *directory != '\0') {
        return {directory};
    }
    if (fs::exists(OZRDC_CORPUS_BESIDE_SOURCE)) return {OZRDC_CORPUS_BESIDE_SOURCE};
    return {"/usr/share/common-licenses/GPL-3", "/var/lib/dpkg/status", "/bin/bash", "/usr/bin/perl"};
}

std::vector<fs::path> filesOf(const fs::path& path) {
    if (!fs::is_directory(path)) return {path};
    std::vector<fs::path> files;
    for (const auto& entry : fs::recursive_directory_iterator(path)) {
        // Notes about a corpus are not part of it.
        if (entry.is_regular_file() && entry.path().filename() != "README.md") files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

Corpus loadCorpus(const std::vector<std::string>& paths) {
    const std::vector<fs::path> roots =
        paths.empty() ? defaultPaths() : std::vector<fs::path>(paths.begin(), paths.end());
    Corpus corpus;
    std::set<std::string> names;
    for (const fs::path& root : roots) {
        for (const fs::path& path : filesOf(root)) {
            std::ifstream in(path, std::ios::binary);
            std::vector<uint8_t> data{std::istreambuf_iterator<char>(in), {}};
            if (data.empty()) {
                std::fprintf(stderr, "%s: cannot be read or is empty; left out\n", path.c_str());
                continue;
            }
            std::string name = path.filename();
            while (!names.insert(name).second) name += '+';
            corpus.push_back({name, std::move(data)});
        }
    }
    return corpus;
}

}  // namespace ozrdc::bench
