// The copy of a match: whatever its variant, the result of a byte-by-byte forward copy, inside the stated margins.
#include "core/match_copy.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/guarded_buffer.h"

namespace ozrdc::test {
namespace {

// What lies in front of a match, then the match, copied byte by byte.
std::vector<uint8_t> expected(std::span<const uint8_t> history, std::size_t offset, std::size_t length) {
    std::vector<uint8_t> bytes(history.begin(), history.end());
    for (std::size_t i = 0; i < length; ++i) bytes.push_back(bytes[bytes.size() - offset]);
    return bytes;
}

// Copies a match with `copy` where the history begins behind an inaccessible page, and where the room of `margin` bytes
// behind the match ends at one.
template <typename Copy>
void expectCopies(std::size_t offset, std::size_t length, std::size_t margin, Copy copy) {
    for (const Guard guard : {Guard::Before, Guard::After}) {
        GuardedBuffer memory(offset + length + margin, guard, offset);
        const auto bytes = expected(memory.span().first(offset), offset, length);
        copy(memory.data() + offset, offset, length);
        ASSERT_EQ(std::vector<uint8_t>(memory.begin(), memory.begin() + static_cast<long>(offset + length)), bytes)
            << "offset " << offset << ", length " << length;
        ASSERT_TRUE(memory.slackIntact()) << "offset " << offset << ", length " << length;
    }
}

TEST(MatchCopy, ExactCopyEqualsAByteWiseCopyAndTouchesNothingElse) {
    for (std::size_t offset = 1; offset <= 70; ++offset) {
        for (std::size_t length = 1; length <= 300; ++length) expectCopies(offset, length, 0, copyMatchExact);
    }
}

template <class Shape>
void expectFastCopies() {
    for (std::size_t offset = 1; offset <= 70; ++offset) {
        for (std::size_t length = 1; length <= 300; ++length) {
            expectCopies(offset, length, Shape::overwrite,
                         [](uint8_t* dst, uint64_t o, uint64_t n) { copyMatchFast<Shape>(dst, o, n); });
        }
    }
}

TEST(MatchCopy, FastCopyEqualsAByteWiseCopyAndStaysInsideItsMargin) {
    expectFastCopies<WideCopy>();
    expectFastCopies<ShortCopy>();
}

TEST(MatchCopy, ShortPatternCopyEqualsAByteWiseCopy) {
    for (std::size_t offset = 1; offset < kWideOffset; ++offset) {
        for (std::size_t length = 1; length <= kShortMatch; ++length) {
            expectCopies(offset, length, kShortMatchWritten - length,
                         [](uint8_t* dst, uint64_t o, uint64_t /*n*/) { copyShortPattern(dst, o); });
        }
    }
}

// The bytes of such a match are unspecified, but none outside it and its margin may change.
TEST(MatchCopy, OffsetZeroLeavesWhatStandsInFrontAlone) {
    for (std::size_t length = 1; length <= 100; ++length) {
        GuardedBuffer memory(length, Guard::After);
        copyMatchExact(memory.data(), 0, length);
        EXPECT_TRUE(memory.slackIntact());
        GuardedBuffer withMargin(length + WideCopy::overwrite, Guard::After);
        copyMatchFast<WideCopy>(withMargin.data(), 0, length);
        EXPECT_TRUE(withMargin.slackIntact());
    }
    GuardedBuffer memory(kShortMatchWritten, Guard::After);
    copyShortPattern(memory.data(), 0);
    EXPECT_TRUE(memory.slackIntact());
}

}  // namespace
}  // namespace ozrdc::test
