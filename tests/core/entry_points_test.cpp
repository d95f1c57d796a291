// Every export transfers control to the implementation of the same name, arguments and result unchanged.
#include "core/entry_points.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace ozrdc::test {
namespace {

// A slot is a branch-target marker and a direct jump: its target can be read from the code.
const void* targetOfSlot(const void* slot) {
    static constexpr uint8_t marker[] = {0xF3, 0x0F, 0x1E, 0xFA};
    const auto* code = static_cast<const uint8_t*>(slot);
    if (std::memcmp(code, marker, sizeof marker) != 0) return nullptr;
    code += sizeof marker;
    if (*code == 0xE9) {
        int32_t distance = 0;
        std::memcpy(&distance, code + 1, sizeof distance);
        return code + 5 + distance;
    }
    if (*code == 0xEB) return code + 2 + static_cast<int8_t>(code[1]);
    return nullptr;
}

TEST(EntryPoints, EachJumpsToTheImplementationOfItsName) {
#define OZRDC_EXPORT(name) \
    EXPECT_EQ(targetOfSlot(reinterpret_cast<const void*>(&name)), reinterpret_cast<const void*>(&y8_##name)) << #name;
#include "core/exports.inc"
#undef OZRDC_EXPORT
}

TEST(EntryPoints, OccupyConsecutiveSlotsOf16Bytes) {
    const char* const slots[] = {
#define OZRDC_EXPORT(name) reinterpret_cast<const char*>(&name),
#include "core/exports.inc"
#undef OZRDC_EXPORT
    };
    EXPECT_EQ(reinterpret_cast<uintptr_t>(slots[0]) % 16, 0U);
    for (std::size_t i = 1; i < std::size(slots); ++i) EXPECT_EQ(slots[i] - slots[i - 1], 16) << "slot " << i;
}

}  // namespace
}  // namespace ozrdc::test
