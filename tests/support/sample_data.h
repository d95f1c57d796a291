// Sample data of several natures, at any length, always the same for one seed.
//
//     for (const SampleKind& kind : sampleKinds()) {
//         SCOPED_TRACE(kind.name);
//         const std::vector<uint8_t> data = kind.make(70000, 1);
//         ...
//     }
//
// A shorter sample is the beginning of a longer one with the same seed, so that a test of many lengths makes the
// longest and takes its prefixes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ozrdc::test {

struct SampleKind {
    const char* name;
    std::vector<uint8_t> (*make)(std::size_t size, uint64_t seed);
};

// Every kind, from constant bytes to random ones.
std::span<const SampleKind> sampleKinds();

// The kind of that name; the name must exist.
const SampleKind& sampleKind(const std::string& name);

// Random bytes that repeat with the given period (at least 1).
std::vector<uint8_t> periodicSample(std::size_t size, std::size_t period, uint64_t seed);

// Real files: the beginning, at most `limit` bytes, of every file of the corpora. The directory is named by the
// environment variable OZRDC_CORPUS, or is ../shared/corpora beside the source tree. Empty if it is not there.
struct CorpusFile {
    std::string name;
    std::vector<uint8_t> bytes;
};
std::vector<CorpusFile> corpusFiles(std::size_t limit);

}  // namespace ozrdc::test
