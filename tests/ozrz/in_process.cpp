// Formats on memory.
#include "in_process.h"

#include <stdexcept>

#include "error.h"
#include "formats/registry.h"

namespace ozrz::test {
namespace {

std::string textOf(Bytes bytes) { return {bytes.begin(), bytes.end()}; }

}  // namespace

Bytes bytesOf(const std::string& text) { return {reinterpret_cast<const uint8_t*>(text.data()), text.size()}; }

const Format& formatNamed(const std::string& name) {
    static const Registry registry;
    const Format* format = registry.byName(name);
    if (format == nullptr) throw std::runtime_error("there is no format " + name);
    return *format;
}

std::string encodeWith(const std::string& format, const std::string& contents, const EncodeSettings& settings) {
    MemorySource source(bytesOf(contents));
    Buffer buffer;
    MemorySink sink(buffer);
    formatNamed(format).encode(source, sink, settings);
    return textOf(sink.bytes());
}

Decoded decodeWith(const std::string& format, const std::string& data, DecodeSettings settings) {
    Decoded result;
    settings.warn = [&](const std::string& text) { result.warnings.push_back(text); };
    MemorySource source(bytesOf(data));
    Buffer buffer;
    MemorySink sink(buffer);
    try {
        formatNamed(format).decode(source, sink, settings);
    } catch (const DataError& error) {
        result.error = error.what();
        if (result.error.empty()) throw std::runtime_error("an error without a message");
    }
    result.contents = textOf(sink.bytes());
    return result;
}

}  // namespace ozrz::test
