// The four checksums as one kind of thing: this library's function beside a reference model.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace ozrdc::test {

struct Checksum {
    const char* name;
    uint32_t start;  // the value of no bytes
    // Advances `value` over the bytes. Fails the test if the library returns anything but success; no bytes leave the
    // value alone without a call where the library refuses them.
    uint32_t (*ours)(uint32_t value, const uint8_t* p, size_t len);
    // The same for a single byte, bit by bit from the definition.
    uint32_t (*reference)(uint32_t value, uint8_t byte);
    uint32_t digits;  // the checksum of "123456789"
};

std::span<const Checksum> checksums();

uint32_t reference(const Checksum& checksum, uint32_t value, std::span<const uint8_t> bytes);

// Element i is the value behind the first i bytes.
std::vector<uint32_t> referenceOfPrefixes(const Checksum& checksum, uint32_t value, std::span<const uint8_t> bytes);

}  // namespace ozrdc::test
