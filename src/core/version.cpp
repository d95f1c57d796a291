// The version record and its query.

#include <array>
#include <cstddef>
#include <cstdint>

#include "core/entry_points.h"

namespace ozrdc {
namespace {

constexpr int32_t kMajor = 2022;
constexpr int32_t kMinor = 2;
constexpr int32_t kMajorBuild = 0;
constexpr int32_t kBuild = 0x42db1a66;

// The version text is made from the numbers above, so that the two cannot disagree.
struct VersionText {
    std::array<char, 48> text{};
    std::size_t length = 0;

    constexpr void append(const char* s) {
        while (*s != '\0') text[length++] = *s++;
    }

    constexpr void append(uint32_t value, uint32_t base) {
        std::array<char, 10> digits{};
        std::size_t n = 0;
        do {
            digits[n++] = "0123456789abcdef"[value % base];
            value /= base;
        } while (value != 0);
        while (n > 0) text[length++] = digits[--n];
    }

    constexpr VersionText() {
        append(uint32_t{kMajor}, 10);
        append(".");
        append(uint32_t{kMinor}, 10);
        append(".");
        append(uint32_t{kMajorBuild}, 10);
        append(" (r0x");
        append(uint32_t{kBuild}, 16);
        append(")");
    }
};

constexpr VersionText kVersionText;

// The date is a constant, not the compiler's: two builds of the same source are the same bytes.
constexpr LibraryVersion kLibraryVersion{
    .major = kMajor,
    .minor = kMinor,
    .majorBuild = kMajorBuild,
    .build = kBuild,
    .targetCpu = {'y', '8', '\0', '\0'},
    .name = "ozrDC SSE4.2 (y8)",
    .version = kVersionText.text.data(),
    .buildDate = "May  9 2025",
};

}  // namespace
}  // namespace ozrdc

const LibraryVersion* y8_ozrdcGetLibVersion() noexcept { return &ozrdc::kLibraryVersion; }
