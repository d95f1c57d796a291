// Lists and decodes arbitrary bytes with every format of the command. A damaged file has to end in an `ozrz::Error`,
// and listing a file that decodes has to give the size that it decodes to.
//
// The seeds are small files written by the commands of the formats.

#include <cstdint>
#include <cstdlib>
#include <optional>

#include "error.h"
#include "formats/registry.h"
#include "sink.h"
#include "source.h"

namespace {

// The size of what `input` decodes to; nothing if it is damaged.
std::optional<uint64_t> decodedSize(const ozrz::Format& format, ozrz::Bytes input) {
    ozrz::MemorySource source(input);
    ozrz::NullSink sink;
    try {
        format.decode(source, sink, {});
    } catch (const ozrz::Error&) {
        return std::nullopt;
    }
    return sink.written();
}

std::optional<uint64_t> listedSize(const ozrz::Format& format, ozrz::Bytes input) {
    ozrz::MemorySource source(input);
    try {
        return format.list(source, {}).uncompressed;
    } catch (const ozrz::Error&) {
        return std::nullopt;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    static const ozrz::Registry registry;
    for (const auto& format : registry.formats()) {
        const ozrz::Bytes input(data, size);
        const std::optional<uint64_t> decoded = decodedSize(*format, input);
        const std::optional<uint64_t> listed = listedSize(*format, input);
        if (decoded && listed != decoded) std::abort();
    }
    return 0;
}
