// Checksums against zlib and libdeflate, over whole files and over short pieces.
//
// bzip2's CRC and CRC-32C have no independent peer in every distribution; they are measured against this library's own
// CRC-32, which is measured against both. The primitives named "...-tables" run with the processor's features hidden.

#include <libdeflate.h>
#include <zlib.h>

#include <array>
#include <cstdint>
#include <string>

#include "ozrdc.h"
#include "support/feature_mask.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Checksum = uint32_t (*)(const uint8_t* p, size_t len);

uint32_t oursAdler32(const uint8_t* p, size_t len) {
    uint32_t value = 1;
    ozrsAdler32_8u(p, static_cast<int32_t>(len), &value);
    return value;
}
uint32_t oursCrc32(const uint8_t* p, size_t len) {
    uint32_t value = 0;
    ozrsCRC32_8u(p, static_cast<int32_t>(len), &value);
    return value;
}
uint32_t oursCrc32Bz2(const uint8_t* p, size_t len) {
    uint32_t value = 0;
    ozrsCRC32_BZ2_8u(p, static_cast<int32_t>(len), &value);
    return value;
}
uint32_t oursCrc32c(const uint8_t* p, size_t len) {
    uint32_t value = 0xFFFFFFFF;
    ozrsCRC32C_8u(p, static_cast<uint32_t>(len), &value);
    return value;
}

template <Checksum function, uint64_t visibleFeatures>
uint32_t withFeatures(const uint8_t* p, size_t len) {
    const test::FeatureMask mask(visibleFeatures);
    return function(p, len);
}

uint32_t zlibAdler32(const uint8_t* p, size_t len) {
    return static_cast<uint32_t>(::adler32(1, p, static_cast<uInt>(len)));
}
uint32_t zlibCrc32(const uint8_t* p, size_t len) {
    return static_cast<uint32_t>(::crc32(0, p, static_cast<uInt>(len)));
}
uint32_t libdeflateAdler32(const uint8_t* p, size_t len) { return libdeflate_adler32(1, p, len); }
uint32_t libdeflateCrc32(const uint8_t* p, size_t len) { return libdeflate_crc32(0, p, len); }

constexpr uint64_t kCrcInstructionOnly = 0x80;

struct Entry {
    const char* primitive;
    const char* implementation;
    Checksum function;
    bool alsoShort;  // measured over short pieces too
};

constexpr std::array kEntries = {
    Entry{"adler32", "ozrdc", oursAdler32, true},
    Entry{"adler32", "zlib", zlibAdler32, true},
    Entry{"adler32", "libdeflate", libdeflateAdler32, true},
    Entry{"crc32", "ozrdc", oursCrc32, true},
    Entry{"crc32", "zlib", zlibCrc32, true},
    Entry{"crc32", "libdeflate", libdeflateCrc32, true},
    Entry{"crc32_bz2", "ozrdc", oursCrc32Bz2, true},
    Entry{"crc32_bz2", "ozrdc crc32", oursCrc32, true},
    Entry{"crc32c", "ozrdc", oursCrc32c, true},
    Entry{"crc32c", "ozrdc crc32", oursCrc32, true},
    Entry{"crc32c-instruction", "ozrdc", withFeatures<oursCrc32c, kCrcInstructionOnly>, false},
    Entry{"crc32c-instruction", "ozrdc crc32", oursCrc32, false},
    Entry{"crc32-tables", "ozrdc", withFeatures<oursCrc32, 0>, false},
    Entry{"crc32-tables", "zlib crc32", zlibCrc32, false},
    Entry{"crc32_bz2-tables", "ozrdc", withFeatures<oursCrc32Bz2, 0>, false},
    Entry{"crc32_bz2-tables", "zlib crc32", zlibCrc32, false},
    Entry{"crc32c-tables", "ozrdc", withFeatures<oursCrc32c, 0>, false},
    Entry{"crc32c-tables", "zlib crc32", zlibCrc32, false},
};

constexpr std::array<size_t, 11> kShortSizes = {16, 24, 32, 48, 64, 100, 150, 256, 500, 1024, 4096};

// Short pieces begin at as many addresses in turn: some implementations depend on the alignment.
constexpr size_t kStarts = 64;

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("zlib", zlibVersion());
    note("libdeflate", LIBDEFLATE_VERSION_STRING);
    for (const Entry& entry : kEntries) {
        for (const File& file : corpus) {
            measure(entry.primitive, entry.implementation, file.name, file.data.size(),
                    [&entry, &file] { return entry.function(file.data.data(), file.data.size()); });
        }
        if (!entry.alsoShort) continue;
        const File& first = corpus.front();
        for (const size_t size : kShortSizes) {
            if (size + kStarts > first.data.size()) break;
            measure(std::string(entry.primitive) + "@size", entry.implementation, std::to_string(size), kStarts * size,
                    [&entry, &first, size] {
                        uint32_t all = 0;
                        for (size_t start = 0; start < kStarts; ++start)
                            all += entry.function(first.data.data() + start, size);
                        return all;
                    });
        }
    }
}

}  // namespace ozrdc::bench
