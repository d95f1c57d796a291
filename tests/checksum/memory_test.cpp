// No path reads a byte outside of the source: it stands against an inaccessible page, behind it and in front of it.

#include <gtest/gtest.h>

#include <array>
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

// Adler-32 adds up pieces of 65521 bytes from 262084 bytes on, and so reads in another order: lengths at that
// threshold, at odd places behind it, and behind several pieces.
TEST_P(ChecksumMemory, NothingOutsideALongSourceIsRead) {
    constexpr size_t kPieces = size_t{4} * 65521;
    constexpr std::array<size_t, 10> lengths = {kPieces - 1,  kPieces,           kPieces + 1,     kPieces + 15,
                                                kPieces + 16, kPieces + 4099,    kPieces + 65521, kPieces + 100003,
                                                2 * kPieces,  2 * kPieces + 4097};
    for (const Guard guard : {Guard::After, Guard::Before}) {
        GuardedBuffer buffer(lengths.back(), guard);
        for (const Checksum& checksum : checksums()) {
            for (const size_t len : lengths) {
                const std::span<const uint8_t> source = buffer.guarded(len);
                ASSERT_EQ(checksum.ours(checksum.start, source.data(), len),
                          reference(checksum, checksum.start, source))
                    << checksum.name << ", " << len;
            }
        }
    }
}

}  // namespace
}  // namespace ozrdc::test
