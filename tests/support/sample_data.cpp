// Generators of sample data. Each appends pieces until the size is reached and then cuts, which makes a shorter sample
// the beginning of a longer one.
#include "support/sample_data.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "support/random.h"

namespace ozrdc::test {
namespace {

using Bytes = std::vector<uint8_t>;

// Calls append(bytes, random) until there are `size` bytes.
template <typename Append>
Bytes build(std::size_t size, uint64_t stream, Append append) {
    Random random(stream);
    Bytes bytes;
    bytes.reserve(size + 64);
    while (bytes.size() < size) append(bytes, random);
    bytes.resize(size);
    return bytes;
}

// Each kind draws from streams of its own.
uint64_t stream(uint64_t kind, uint64_t seed) { return (kind << 32) + seed; }

Bytes zeros(std::size_t size, uint64_t /*seed*/) { return Bytes(size, 0); }

Bytes oneByte(std::size_t size, uint64_t seed) { return Bytes(size, Random(stream(1, seed)).byte()); }

Bytes random(std::size_t size, uint64_t seed) {
    return build(size, stream(2, seed), [](Bytes& bytes, Random& r) { bytes.push_back(r.byte()); });
}

// Words of a small vocabulary, the early ones much more frequent, with punctuation and line ends.
Bytes text(std::size_t size, uint64_t seed) {
    static constexpr std::array<std::string_view, 40> words{
        "the",     "of",     "and",      "to",     "a",        "in",     "that",     "block",  "is",       "it",
        "stream",  "for",    "as",       "with",   "length",   "was",    "bytes",    "be",     "by",       "on",
        "not",     "window", "match",    "which",  "literal",  "or",     "from",     "buffer", "distance", "this",
        "encoder", "have",   "position", "symbol", "sequence", "prefix", "alphabet", "table",  "history",  "entropy"};
    return build(size, stream(3, seed), [](Bytes& bytes, Random& r) {
        const std::string_view word = words[r.below(r.below(words.size()) + 1)];
        bytes.insert(bytes.end(), word.begin(), word.end());
        if (r.oneIn(9)) bytes.push_back(r.oneIn(2) ? ',' : '.');
        bytes.push_back(r.oneIn(12) ? '\n' : ' ');
    });
}

// Four symbols, one of them most of the time.
Bytes lowEntropy(std::size_t size, uint64_t seed) {
    return build(size, stream(4, seed), [](Bytes& bytes, Random& r) {
        const uint64_t n = r.below(16);
        bytes.push_back(n < 11 ? 'a' : static_cast<uint8_t>('a' + (n - 10) / 2));
    });
}

// Two symbols at random: matches everywhere, none of them long.
Bytes twoSymbols(std::size_t size, uint64_t seed) {
    return build(size, stream(5, seed),
                 [](Bytes& bytes, Random& r) { bytes.push_back(static_cast<uint8_t>(r.below(2))); });
}

template <std::size_t period>
Bytes periodic(std::size_t size, uint64_t seed) {
    return periodicSample(size, period, seed);
}

void appendWord(Bytes& bytes, uint64_t value, int size) {
    for (int i = 0; i < size; ++i) bytes.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

// Records of 24 bytes: a counter, a slowly moving value, flags, padding, a random field.
Bytes records(std::size_t size, uint64_t seed) {
    uint32_t counter = 1000;
    uint64_t value = 0x0123456789;
    return build(size, stream(6, seed), [&](Bytes& bytes, Random& r) {
        value += r.below(100);
        appendWord(bytes, counter++, 4);
        appendWord(bytes, value, 8);
        appendWord(bytes, r.below(4), 2);
        appendWord(bytes, 0, 6);
        appendWord(bytes, r.next(), 4);
    });
}

// Random bytes with a copy of earlier ones now and then.
Bytes rareMatches(std::size_t size, uint64_t seed) {
    return build(size, stream(7, seed), [](Bytes& bytes, Random& r) {
        for (uint64_t n = 100 + r.below(1000); n > 0; --n) bytes.push_back(r.byte());
        const std::size_t length = 4 + r.below(60);
        const std::size_t from = r.below(bytes.size() - length);
        for (std::size_t i = 0; i < length; ++i) bytes.push_back(bytes[from + i]);
    });
}

// Runs of one byte, of lengths from 1 to some thousands, between random stretches.
Bytes runs(std::size_t size, uint64_t seed) {
    return build(size, stream(8, seed), [](Bytes& bytes, Random& r) {
        const uint64_t longest = uint64_t{1} << r.below(13);
        bytes.insert(bytes.end(), 1 + r.below(longest), r.byte());
        for (uint64_t n = r.below(r.oneIn(8) ? 400 : 20); n > 0; --n) bytes.push_back(r.byte());
    });
}

// Pieces of all the natures above, copies of earlier stretches from far and near among them.
Bytes mixed(std::size_t size, uint64_t seed) {
    uint64_t piece = 0;
    return build(size, stream(9, seed), [&](Bytes& bytes, Random& r) {
        static constexpr std::array<Bytes (*)(std::size_t, uint64_t), 8> natures{
            zeros, random, text, lowEntropy, twoSymbols, periodic<3>, records, runs};
        const std::size_t length = 1 + r.below(2000);
        if (bytes.size() > 100 && r.oneIn(2)) {
            const std::size_t from = r.below(bytes.size());
            for (std::size_t i = 0; i < length; ++i) bytes.push_back(bytes[from + i]);
        } else {
            const Bytes more = natures[r.below(natures.size())](length, seed * 1000 + piece++);
            bytes.insert(bytes.end(), more.begin(), more.end());
        }
    });
}

constexpr std::array<SampleKind, 14> kKinds{{{"zeros", zeros},
                                             {"one byte", oneByte},
                                             {"random", random},
                                             {"text", text},
                                             {"low entropy", lowEntropy},
                                             {"two symbols", twoSymbols},
                                             {"period 3", periodic<3>},
                                             {"period 17", periodic<17>},
                                             {"period 300", periodic<300>},
                                             {"period 40000", periodic<40000>},
                                             {"records", records},
                                             {"rare matches", rareMatches},
                                             {"runs", runs},
                                             {"mixed", mixed}}};

std::filesystem::path corpusDirectory() {
    const char* const named = std::getenv("OZRDC_CORPUS");
    if (named != nullptr && *named != '\0') return named;
    return std::filesystem::path(OZRDC_SOURCE_DIR) / ".." / "shared" / "corpora";
}

}  // namespace

std::span<const SampleKind> sampleKinds() { return kKinds; }

const SampleKind& sampleKind(const std::string& name) {
    const auto kind = std::find_if(kKinds.begin(), kKinds.end(), [&](const SampleKind& k) { return k.name == name; });
    if (kind == kKinds.end()) throw std::invalid_argument("no sample data of the kind '" + name + "'");
    return *kind;
}

std::vector<uint8_t> periodicSample(std::size_t size, std::size_t period, uint64_t seed) {
    Bytes bytes(size);
    Random r(stream(100 + period, seed));
    for (std::size_t i = 0; i < size; ++i) bytes[i] = i < period ? r.byte() : bytes[i - period];
    return bytes;
}

std::vector<CorpusFile> corpusFiles(std::size_t limit) {
    namespace fs = std::filesystem;
    const fs::path directory = corpusDirectory();
    std::vector<fs::path> paths;
    std::error_code absent;
    for (const auto& entry : fs::recursive_directory_iterator(directory, absent)) {
        if (entry.is_regular_file()) paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());

    std::vector<CorpusFile> files;
    for (const fs::path& path : paths) {
        std::vector<uint8_t> bytes(limit);
        std::ifstream stream(path, std::ios::binary);
        stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(limit));
        bytes.resize(static_cast<std::size_t>(stream.gcount()));
        if (!bytes.empty()) files.push_back({path.lexically_relative(directory).string(), std::move(bytes)});
    }
    return files;
}

}  // namespace ozrdc::test
