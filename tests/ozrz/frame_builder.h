// LZ4 frames byte by byte, right and wrong ones, independent of the command's own code.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace ozrz::test {

inline constexpr uint32_t kStoredBlock = 0x80000000;

std::string littleEndian(uint64_t value, unsigned bytes);

// XXH32 with seed 0, as its definition says it.
uint32_t referenceXxh32(const std::string& bytes);

// Magic number, the given descriptor bytes, and their check byte.
std::string frameHeader(uint8_t flags, uint8_t blockDescriptor, const std::string& optionalFields = "");

std::string storedBlock(const std::string& contents);
std::string dataBlock(const std::string& data);  // compressed data as they are
std::string frameEnd();
std::string skippableFrame(const std::string& contents, unsigned kind = 0);

// A whole frame without any checksum around the given blocks: independent ones of at most 64 KiB.
std::string plainFrame(const std::string& blocks);

// The same with stored blocks and a content checksum.
std::string storedFrame(const std::string& contents);

}  // namespace ozrz::test
