// Entering positions without records: of data passed over, and of preset dictionaries.
#include <gtest/gtest.h>

#include <algorithm>

#include "deflate/parser_check.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test::deflate {
namespace {

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }

class DeflateHashTables : public ::testing::Test {
  protected:
    // Tables of the library in guarded memory, and those of the reference.
    void makeTables(std::size_t hashSize, std::size_t windowSize) {
        expected_ = HashTables(hashSize, windowSize);
        head_ = takeTable(headMemory_, expected_.head);
        prev_ = takeTable(prevMemory_, expected_.prev);
    }

    bool tablesAreTheExpectedOnes() const {
        return std::equal(head_.begin(), head_.end(), expected_.head.begin()) &&
               std::equal(prev_.begin(), prev_.end(), expected_.prev.begin());
    }

    HashTables expected_{256, 256};
    std::span<int32_t> head_;
    std::span<int32_t> prev_;

  private:
    GuardedArena headMemory_{Guard::After};
    GuardedArena prevMemory_{Guard::Before};
};

TEST_F(DeflateHashTables, UpdateEntersEveryPositionThatHasTheBytes) {
    GuardedArena source(Guard::After);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(3000, 421);
        for (const int32_t mode : {0, 1, -1, 7}) {
            for (const std::size_t size : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 16U, 100U, 3000U}) {
                for (const auto& [hashSize, windowSize] :
                     {std::pair{256, 256}, {65536, 32768}, {1000, 300}, {65535, 32767}}) {
                    for (const int32_t index : {0, 1, 77777, 2147480000}) {
                        makeTables(static_cast<std::size_t>(hashSize), static_cast<std::size_t>(windowSize));
                        const ByteView bytes = ByteView(sample).first(size);
                        updateHash(bytes, index, mode != 0, expected_);
                        ASSERT_EQ(ozrsDeflateUpdateHash_8u(source.take(bytes).data(), index, narrow(size), head_.data(),
                                                           hashSize, prev_.data(), windowSize, mode),
                                  StatusOk);
                        ASSERT_TRUE(tablesAreTheExpectedOnes()) << size << " bytes at " << index << ", mode " << mode;
                    }
                }
            }
        }
    }
}

TEST_F(DeflateHashTables, UpdateOfANegativeLengthDoesNothing) {
    makeTables(256, 256);
    const uint8_t byte = 0;
    for (const int32_t mode : {0, 1}) {
        for (const int32_t size : {-1, INT32_MIN}) {
            EXPECT_EQ(ozrsDeflateUpdateHash_8u(&byte, 5, size, head_.data(), 256, prev_.data(), 256, mode), StatusOk);
        }
    }
    EXPECT_TRUE(tablesAreTheExpectedOnes());
}

TEST_F(DeflateHashTables, DictionaryIsCopiedAndAllButItsEndEntered) {
    GuardedArena source(Guard::After);
    GuardedArena windowMemory(Guard::After);
    const Bytes sample = sampleKind("text").make(40000, 422);
    for (const int32_t mode : {0, 1, -1}) {
        for (const std::size_t windowSize : {256U, 257U, 258U, 259U, 260U, 261U, 1024U, 32767U, 32768U}) {
            for (const std::size_t size :
                 {0U, 1U, 2U, 3U, 4U, 10U, 255U, 256U, 257U, 258U, 259U, 260U, 261U, 262U, 263U, 500U, 1024U, 40000U}) {
                makeTables(4096, windowSize);
                const ByteView dictionary = ByteView(sample).first(size);
                const std::span<uint8_t> window = windowMemory.take(windowSize);
                std::fill(window.begin(), window.end(), uint8_t{0xEE});
                Bytes expectedWindow(windowSize, 0xEE);
                if (size >= (mode == 0 ? 3U : 4U)) {
                    const std::size_t n = std::min(size, windowSize);
                    const ByteView kept = dictionary.last(n);
                    std::copy(kept.begin(), kept.end(), expectedWindow.begin());
                    // n - 257 positions; the last of them looks at three bytes more, or at two.
                    if (n >= 258) updateHash(kept.first(n - 257 + (mode == 0 ? 2 : 3)), 0, mode != 0, expected_);
                }
                ASSERT_EQ(ozrsDeflateDictionarySet_8u(source.take(dictionary).data(), narrow(size), head_.data(), 4096,
                                                      prev_.data(), window.data(), narrow(windowSize), mode),
                          StatusOk);
                ASSERT_TRUE(std::equal(window.begin(), window.end(), expectedWindow.begin()));
                ASSERT_TRUE(tablesAreTheExpectedOnes()) << size << " bytes, window " << windowSize << ", mode " << mode;
            }
        }
    }
}

TEST_F(DeflateHashTables, NegativeLengthOfADictionaryDoesNothing) {
    makeTables(256, 256);
    Bytes window(256, 0xEE);
    const uint8_t byte = 0;
    for (const int32_t mode : {0, 1}) {
        EXPECT_EQ(ozrsDeflateDictionarySet_8u(&byte, -1, head_.data(), 256, prev_.data(), window.data(), 256, mode),
                  StatusOk);
    }
    EXPECT_EQ(window, Bytes(256, 0xEE));
    EXPECT_TRUE(tablesAreTheExpectedOnes());
}

// A stream parsed behind a dictionary: the records decode with it, and find it.
TEST_F(DeflateHashTables, MatchesReachIntoTheDictionary) {
    const Bytes dictionary = sampleKind("random").make(3000, 423);
    const Bytes source(dictionary.begin() + 500, dictionary.begin() + 1500);
    for (const int32_t level : {0, 1, 4, 6, 9}) {
        ParserCheck parser(4096, 32768);
        Bytes window(4096);
        ASSERT_EQ(ozrsDeflateDictionarySet_8u(dictionary.data(), 3000, parser.tables().head.data(), 32768,
                                              parser.tables().prev.data(), window.data(), 4096, level % 10),
                  StatusOk);
        parser.startAt(3000, dictionary);
        ASSERT_TRUE(parser.parses(source, Search::atLevel(level), 2, 5000));
        EXPECT_LE(parser.records().size(), 20U);
        EXPECT_EQ(parser.records()[0].distance, 2500U);
    }
}

}  // namespace
}  // namespace ozrdc::test::deflate
