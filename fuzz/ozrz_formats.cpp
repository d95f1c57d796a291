// Lists and decodes arbitrary bytes with every format of the command. A damaged file has to end in an `ozrz::Error`;
// what comes out and what is said of it must not depend on the number of threads; recovering gives no less; and listing
// a file that decodes has to give the size that it decodes to.
//
// The seeds are small files written by the commands of the formats.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

#include "error.h"
#include "formats/registry.h"
#include "sink.h"
#include "source.h"

namespace {

// What `input` decodes to.
struct Outcome {
    ozrz::Buffer memory{};
    std::size_t size = 0;
    std::string error{};  // empty: it is not damaged

    bool operator==(const Outcome& other) const {
        return error == other.error &&
               std::equal(memory.data(), memory.data() + size, other.memory.data(), other.memory.data() + other.size);
    }
};

Outcome decode(const ozrz::Format& format, ozrz::Bytes input, const ozrz::DecodeSettings& settings) {
    Outcome outcome;
    ozrz::MemorySource source(input);
    ozrz::MemorySink sink(outcome.memory);
    try {
        format.decode(source, sink, settings);
    } catch (const ozrz::Error& error) {
        outcome.error = error.what();
    }
    outcome.size = sink.bytes().size();
    return outcome;
}

void require(bool condition) {
    if (!condition) std::abort();
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
        const Outcome one = decode(*format, input, {.threads = 1});
        require(decode(*format, input, {.threads = 2}) == one);
        if (format->description().canRecover) {
            const Outcome recovered = decode(*format, input, {.threads = 1, .recover = true});
            require(recovered.size >= one.size && (!recovered.error.empty() || one.error.empty()));
            require(decode(*format, input, {.threads = 2, .recover = true}) == recovered);
        }
        const std::optional<uint64_t> listed = listedSize(*format, input);
        if (one.error.empty()) require(listed == one.size);
    }
    return 0;
}
