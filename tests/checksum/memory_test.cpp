// No path reads a byte outside of the source: it stands against an inaccessible page, behind it and in front of it.

#include <gtest/gtest.h>

#include <cstdint>
#include <span>

#include "checksum/checksums.h"
#include "checksum/every_path.h"
#include "support/guarded_buffer.h"

namespace ozrdc::test {
namespace {

using ChecksumMemory = EveryPath;
OZRDC_ON_EVERY_PATH(ChecksumMemory);

TEST_P(ChecksumMemory, NothingOutsideTheSourceIsRead) {
    constexpr size_t kLongest = 30000;
    for (const Guard guard : {Guard::After, Guard::Before}) {
        GuardedBuffer buffer(kLongest, guard);
        for (const Checksum& checksum : checksums()) {
            for (size_t len = 1; len <= kLongest; len += len < 1600 ? 1 : 1 + len % 97) {
                const std::span<const uint8_t> source = buffer.guarded(len);
                const uint32_t whole = checksum.ours(checksum.start, source.data(), len);
                const uint32_t first = checksum.ours(checksum.start, source.data(), len / 3);
                ASSERT_EQ(checksum.ours(first, source.data() + len / 3, len - len / 3), whole) << checksum.name << len;
            }
        }
    }
}

}  // namespace
}  // namespace ozrdc::test
