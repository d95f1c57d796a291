// See the header.
#include "every_primitive.h"

#include <cstring>
#include <type_traits>

#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

using Bytes = std::vector<uint8_t>;

// Collects results as bytes.
class Results {
  public:
    template <typename T>
    Results& operator<<(const T& value) {
        static_assert(std::is_integral_v<T>);
        const auto* const p = reinterpret_cast<const uint8_t*>(&value);
        bytes_.insert(bytes_.end(), p, p + sizeof value);
        return *this;
    }
    Results& operator<<(const Bytes& bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    Results& operator<<(const char* text) {
        while (*text != '\0') bytes_.push_back(static_cast<uint8_t>(*text++));
        return *this;
    }
    operator Bytes() const { return bytes_; }

  private:
    Bytes bytes_;
};

// Data of a nature and a length that depend on the seed.
Bytes data(uint64_t seed) {
    const auto kinds = sampleKinds();
    return kinds[seed % kinds.size()].make(1000 + 977 * (seed % 90), seed);
}

int32_t sizeOf(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

// --- Checksums ------------------------------------------------------------------------------------------------------

template <auto function>
Bytes checksum(const Library& library, uint64_t seed) {
    const Bytes bytes = data(seed);
    uint32_t value = 1;
    const Status first = (library.*function)(bytes.data(), 500, &value);
    const Status second = (library.*function)(bytes.data() + 500, static_cast<int32_t>(bytes.size() - 500), &value);
    return Results() << first << second << value;
}

Bytes crc32c(const Library& library, uint64_t seed) {
    const Bytes bytes = data(seed);
    uint32_t value = 0xFFFFFFFF;
    const Status status = library.ozrsCRC32C_8u(bytes.data(), static_cast<uint32_t>(bytes.size()), &value);
    return Results() << status << value;
}

// --- LZ4 ------------------------------------------------------------------------------------------------------------

constexpr std::size_t kHashTableSize = 16384;

// Calls encode(source, size, target, &size, table) with room enough; returns the block, or nothing if it failed.
template <typename Encode>
Bytes encoded(uint64_t seed, Encode encode) {
    const Bytes source = data(seed);
    Bytes target(source.size() + source.size() / 255 + 16);
    Bytes table(kHashTableSize);
    int32_t size = sizeOf(target);
    const Status status = encode(source.data(), sizeOf(source), target.data(), &size, table.data());
    if (status != StatusOk) return Results() << status;
    target.resize(static_cast<std::size_t>(size));
    return target;
}

Bytes encodeLz4(const Library& library, uint64_t seed) { return encoded(seed, library.ozrsEncodeLZ4_8u); }

Bytes encodeLz4Fast(const Library& library, uint64_t seed) {
    return encoded(seed, [&](const uint8_t* source, int32_t n, uint8_t* target, int32_t* written, uint8_t* table) {
        return library.ozrsEncodeLZ4Fast_8u(source, n, target, written, table, 2 + static_cast<int32_t>(seed % 20));
    });
}

Bytes encodeLz4Safe(const Library& library, uint64_t seed) {
    return encoded(seed, [&](const uint8_t* source, int32_t n, uint8_t* target, int32_t* written, uint8_t* table) {
        return library.ozrsEncodeLZ4Safe_8u(source, &n, target, written, table);
    });
}

Bytes hashTableGetSize(const Library& library, uint64_t /*seed*/) {
    int32_t size = 0;
    const Status status = library.ozrsEncodeLZ4HashTableGetSize_8u(&size);
    return Results() << status << size;
}

Bytes hashTableInit(const Library& library, uint64_t seed) {
    Bytes table(kHashTableSize, 0xEE);
    const Status status = library.ozrsEncodeLZ4HashTableInit_8u(table.data(), seed % 2 == 0 ? 1000 : 100000);
    return Results() << status << table;
}

Bytes decodeLz4(const Library& library, uint64_t seed) {
    const Bytes block = encodeLz4(library, seed);
    Bytes target(data(seed).size());
    int32_t size = sizeOf(target);
    const Status status = library.ozrsDecodeLZ4_8u(block.data(), sizeOf(block), target.data(), &size);
    return Results() << status << size << target;
}

Bytes decodeLz4Dict(const Library& library, uint64_t seed) {
    const Bytes block = encodeLz4(library, seed);
    const Bytes dictionary = data(seed + 1);
    Bytes target(dictionary.size() + data(seed).size());
    int32_t consumed = sizeOf(block);
    int32_t size = sizeOf(target) - sizeOf(dictionary);
    const Status status = library.ozrsDecodeLZ4Dict_8u(block.data(), &consumed, target.data(), sizeOf(dictionary),
                                                       &size, dictionary.data(), sizeOf(dictionary));
    return Results() << status << consumed << size << target;
}

// --- Library --------------------------------------------------------------------------------------------------------

Bytes version(const Library& library, uint64_t /*seed*/) {
    const LibraryVersion& v = *library.ozrdcGetLibVersion();
    return Results() << v.major << v.minor << v.majorBuild << v.build << v.targetCpu << v.name << v.version
                     << v.buildDate;
}

}  // namespace

Library linkedLibrary() {
    return {
#define OZRDC_EXPORT(name) &::name,
#include "core/exports.inc"
#undef OZRDC_EXPORT
    };
}

const std::vector<Exercise>& everyPrimitive() {
    static const std::vector<Exercise> exercises{
        {"ozrsAdler32_8u", checksum<&Library::ozrsAdler32_8u>},
        {"ozrsCRC32_8u", checksum<&Library::ozrsCRC32_8u>},
        {"ozrsCRC32_BZ2_8u", checksum<&Library::ozrsCRC32_BZ2_8u>},
        {"ozrsCRC32C_8u", crc32c},
        {"ozrsEncodeLZ4_8u", encodeLz4},
        {"ozrsEncodeLZ4Fast_8u", encodeLz4Fast},
        {"ozrsEncodeLZ4Safe_8u", encodeLz4Safe},
        {"ozrsEncodeLZ4HashTableGetSize_8u", hashTableGetSize},
        {"ozrsEncodeLZ4HashTableInit_8u", hashTableInit},
        {"ozrsDecodeLZ4_8u", decodeLz4},
        {"ozrsDecodeLZ4Dict_8u", decodeLz4Dict},
        {"ozrdcGetLibVersion", version},
    };
    return exercises;
}

}  // namespace ozrdc::test
