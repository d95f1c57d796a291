// Argument checks of the encoders with history: which come first, and that a call that fails one leaves its outputs
// untouched, but for the hash table, which is prepared before anything is checked.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "lz4/checked_calls.h"

namespace ozrdc::test::lz4 {
namespace {

constexpr int32_t kMostNegative = std::numeric_limits<int32_t>::min();

class Lz4HistoryArguments : public ::testing::Test {
  protected:
    static constexpr int32_t kSize = 1000;
    static constexpr uint8_t kUntouched = 0xB7;
    static constexpr int32_t kCount = 900;
    static constexpr std::size_t kHeadSize = 131072;
    static constexpr std::size_t kChainSize = 262144;

    // Where the history lies, as arguments.
    struct Mode {
        const char* name;
        int32_t srcIdx;
        const uint8_t* dictionary;
        int32_t dictionarySize;
    };
    std::array<Mode, 5> modes() const {
        return {{{"no history", 0, nullptr, 0},
                 {"prefix", 100, nullptr, -7},
                 {"prefix, empty dictionary", 100, dictionary_.data(), 0},
                 {"dictionary", 100, dictionary_.data(), 100},
                 {"dictionary elsewhere", 50, dictionary_.data(), 100}}};
    }

    const uint8_t* source() const { return source_.data() + 100; }
    bool targetIsUntouched() const { return isUntouched(target_); }
    bool tablesAreUntouched() const { return isUntouched(heads_) && isUntouched(links_); }

    bool tableIs(int32_t position) const {
        std::array<int32_t, kHashTableSize / sizeof(int32_t)> entries;
        std::memcpy(entries.data(), table_.data(), kHashTableSize);
        return std::all_of(entries.begin(), entries.end(), [=](int32_t entry) { return entry == position; });
    }
    void fillTable(int32_t position) {
        for (std::size_t i = 0; i < table_.size(); i += sizeof position) {
            std::memcpy(table_.data() + i, &position, sizeof position);
        }
    }

    std::vector<uint8_t> source_ = std::vector<uint8_t>(100 + kSize);
    std::vector<uint8_t> target_ = std::vector<uint8_t>(2 * kSize, kUntouched);
    std::vector<uint8_t> dictionary_ = std::vector<uint8_t>(100);
    std::vector<uint8_t> table_ = std::vector<uint8_t>(kHashTableSize);
    std::vector<uint8_t> heads_ = std::vector<uint8_t>(kHeadSize, kUntouched);
    std::vector<uint8_t> links_ = std::vector<uint8_t>(kChainSize, kUntouched);
    std::array<uint8_t*, 2> tables_{heads_.data(), links_.data()};

  private:
    static bool isUntouched(const std::vector<uint8_t>& bytes) {
        return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == kUntouched; });
    }
};

// --- Hash table -----------------------------------------------------------------------------------------------------

TEST_F(Lz4HistoryArguments, HashTableInitChecksThePointerThenTheLength) {
    EXPECT_EQ(ozrsEncodeLZ4DictHashTableInit_8u(nullptr, 0), StatusNullPointer);
    fillTable(5);
    for (const int32_t size : {0, -1, kMostNegative}) {
        EXPECT_EQ(ozrsEncodeLZ4DictHashTableInit_8u(table_.data(), size), StatusSizeError);
        EXPECT_TRUE(tableIs(5));
    }
    // All of the table, also for short sources.
    for (const int32_t size : {1, 65536}) {
        fillTable(5);
        EXPECT_EQ(ozrsEncodeLZ4DictHashTableInit_8u(table_.data(), size), StatusOk);
        EXPECT_TRUE(tableIs(0));
    }
}

TEST_F(Lz4HistoryArguments, LoadingChecksPointersThenTheSize) {
    fillTable(5);
    for (const int32_t size : {100, 0, -1}) {
        EXPECT_EQ(ozrsEncodeLZ4LoadDict_8u(nullptr, dictionary_.data(), size), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeLZ4LoadDict_8u(table_.data(), nullptr, size), StatusNullPointer);
    }
    for (const int32_t size : {0, -1, kMostNegative}) {
        EXPECT_EQ(ozrsEncodeLZ4LoadDict_8u(table_.data(), dictionary_.data(), size), StatusSizeError);
    }
    EXPECT_TRUE(tableIs(5));
}

// --- Encoders with a hash table -------------------------------------------------------------------------------------

// Both entry points with the arguments of the bounded one.
struct Entry {
    const char* name;
    bool bounded;
    Status (*encode)(const uint8_t*, int32_t, int32_t*, uint8_t*, int32_t*, uint8_t*, const uint8_t*, int32_t);
};
const std::array<Entry, 2> kEntries{
    {{"plain", false,
      [](const uint8_t* source, int32_t srcIdx, int32_t* size, uint8_t* target, int32_t* written, uint8_t* table,
         const uint8_t* dictionary, int32_t dictSize) {
          return ozrsEncodeLZ4Dict_8u(source, srcIdx, *size, target, written, table, dictionary, dictSize);
      }},
     {"bounded", true, ozrsEncodeLZ4DictSafe_8u}}};

TEST_F(Lz4HistoryArguments, EncodersCheckPointersThenSizesThenTheIndex) {
    for (const Entry& entry : kEntries) {
        for (const Mode& mode : modes()) {
            SCOPED_TRACE(std::string(entry.name) + ", " + mode.name);
            for (const int32_t srcIdx : {mode.srcIdx, -1}) {
                const auto call = [&](const uint8_t* source, int32_t* size, uint8_t* target, int32_t* written) {
                    return entry.encode(source, srcIdx, size, target, written, table_.data(), mode.dictionary,
                                        mode.dictionarySize);
                };
                for (const int32_t count : {kSize, 0, -1}) {
                    int32_t size = count;
                    int32_t written = count;
                    EXPECT_EQ(call(nullptr, &size, target_.data(), &written), StatusNullPointer);
                    EXPECT_EQ(call(source(), &size, nullptr, &written), StatusNullPointer);
                    EXPECT_EQ(call(source(), &size, target_.data(), nullptr), StatusNullPointer);
                    if (entry.bounded) {
                        EXPECT_EQ(call(source(), nullptr, target_.data(), &written), StatusNullPointer);
                    }
                    EXPECT_EQ(size, count);
                    EXPECT_EQ(written, count);
                }
                for (const int32_t count : {0, -1, kMostNegative}) {
                    int32_t size = count;
                    int32_t written = kCount;
                    EXPECT_EQ(call(source(), &size, target_.data(), &written), StatusSizeError);
                    EXPECT_EQ(written, kCount);
                    EXPECT_EQ(size, count);
                    if (!entry.bounded) continue;
                    size = kSize;
                    written = count;
                    EXPECT_EQ(call(source(), &size, target_.data(), &written), StatusSizeError);
                    EXPECT_EQ(size, kSize);
                    EXPECT_EQ(written, count);
                }
            }
            for (const int32_t srcIdx : {-1, -100, kMostNegative}) {
                int32_t size = kSize;
                int32_t written = kCount;
                fillTable(5);
                EXPECT_EQ(entry.encode(source(), srcIdx, &size, target_.data(), &written, table_.data(),
                                       mode.dictionary, mode.dictionarySize),
                          StatusBadArgument);
                EXPECT_EQ(size, kSize);
                EXPECT_EQ(written, kCount);
                EXPECT_TRUE(tableIs(0));
            }
        }
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(Lz4HistoryArguments, TableComesFirstThenTheSizeOfTheDictionary) {
    for (const Entry& entry : kEntries) {
        SCOPED_TRACE(entry.name);
        int32_t size = 0;
        for (const int32_t srcIdx : {100, 0, -1}) {
            EXPECT_EQ(entry.encode(nullptr, srcIdx, &size, nullptr, nullptr, nullptr, dictionary_.data(), -5),
                      StatusNullPointer);
        }
        for (const int32_t dictSize : {-1, kMostNegative}) {
            fillTable(5000);
            EXPECT_EQ(entry.encode(nullptr, 100, &size, nullptr, nullptr, table_.data(), dictionary_.data(), dictSize),
                      StatusSizeError);
            EXPECT_TRUE(tableIs(entry.bounded ? 100 : 99));
        }
    }
}

// --- High compression -----------------------------------------------------------------------------------------------

TEST_F(Lz4HistoryArguments, HighCompressionTableSizesAreTold) {
    uint32_t heads = 1;
    uint32_t links = 2;
    EXPECT_EQ(ozrsEncodeLZ4HCHashTableGetSize_8u(nullptr, &links), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeLZ4HCHashTableGetSize_8u(&heads, nullptr), StatusNullPointer);
    EXPECT_EQ(heads, 1U);
    EXPECT_EQ(links, 2U);
    EXPECT_EQ(ozrsEncodeLZ4HCHashTableGetSize_8u(&heads, &links), StatusOk);
    EXPECT_EQ(heads, kHeadSize);
    EXPECT_EQ(links, kChainSize);
}

TEST_F(Lz4HistoryArguments, HighCompressionTablesAreClearedHeadsFirst) {
    const auto isClear = [](const std::vector<uint8_t>& bytes) {
        return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == 0; });
    };
    EXPECT_EQ(ozrsEncodeLZ4HCHashTableInit_8u(nullptr), StatusNullPointer);
    std::array<uint8_t*, 2> tables{nullptr, links_.data()};
    EXPECT_EQ(ozrsEncodeLZ4HCHashTableInit_8u(tables.data()), StatusNullPointer);
    EXPECT_TRUE(tablesAreUntouched());
    tables = {heads_.data(), nullptr};
    EXPECT_EQ(ozrsEncodeLZ4HCHashTableInit_8u(tables.data()), StatusNullPointer);
    EXPECT_TRUE(isClear(heads_));
    std::fill(heads_.begin(), heads_.end(), kUntouched);
    EXPECT_EQ(ozrsEncodeLZ4HCHashTableInit_8u(tables_.data()), StatusOk);
    EXPECT_TRUE(isClear(heads_));
    EXPECT_TRUE(isClear(links_));
}

TEST_F(Lz4HistoryArguments, HighCompressionChecksTheDictionaryThenPointersThenSizesThenTheIndex) {
    for (const auto encode : {&ozrsEncodeLZ4HC_8u, &ozrsEncodeLZ4HCDictLimit_8u}) {
        for (const int32_t dictSize : {-1, kMostNegative}) {
            EXPECT_EQ(encode(nullptr, -1, nullptr, nullptr, nullptr, nullptr, dictionary_.data(), dictSize, 9),
                      StatusSizeError);
        }
        std::array<uint8_t*, 2> noHeads{nullptr, links_.data()};
        std::array<uint8_t*, 2> noLinks{heads_.data(), nullptr};
        for (const Mode& mode : modes()) {
            SCOPED_TRACE(mode.name);
            for (const int32_t srcIdx : {mode.srcIdx, -1}) {
                const auto call = [&](const uint8_t* source, int32_t* size, uint8_t* target, int32_t* written,
                                      uint8_t** tables) {
                    return encode(source, srcIdx, size, target, written, tables, mode.dictionary, mode.dictionarySize,
                                  9);
                };
                for (const int32_t count : {kSize, 0, -1}) {
                    int32_t size = count;
                    int32_t written = count;
                    EXPECT_EQ(call(nullptr, &size, target_.data(), &written, tables_.data()), StatusNullPointer);
                    EXPECT_EQ(call(source(), nullptr, target_.data(), &written, tables_.data()), StatusNullPointer);
                    EXPECT_EQ(call(source(), &size, nullptr, &written, tables_.data()), StatusNullPointer);
                    EXPECT_EQ(call(source(), &size, target_.data(), nullptr, tables_.data()), StatusNullPointer);
                    EXPECT_EQ(call(source(), &size, target_.data(), &written, nullptr), StatusNullPointer);
                    EXPECT_EQ(call(source(), &size, target_.data(), &written, noHeads.data()), StatusNullPointer);
                    EXPECT_EQ(call(source(), &size, target_.data(), &written, noLinks.data()), StatusNullPointer);
                    EXPECT_EQ(size, count);
                    EXPECT_EQ(written, count);
                }
                for (const int32_t count : {0, -1, kMostNegative}) {
                    int32_t size = count;
                    int32_t written = kCount;
                    EXPECT_EQ(call(source(), &size, target_.data(), &written, tables_.data()), StatusSizeError);
                    EXPECT_EQ(size, count);
                    EXPECT_EQ(written, kCount);
                    size = kSize;
                    written = count;
                    EXPECT_EQ(call(source(), &size, target_.data(), &written, tables_.data()), StatusSizeError);
                    EXPECT_EQ(size, kSize);
                    EXPECT_EQ(written, count);
                }
            }
            for (const int32_t srcIdx : {-1, -100, kMostNegative}) {
                int32_t size = kSize;
                int32_t written = kCount;
                EXPECT_EQ(encode(source(), srcIdx, &size, target_.data(), &written, tables_.data(), mode.dictionary,
                                 mode.dictionarySize, 9),
                          StatusBadArgument);
                EXPECT_EQ(size, kSize);
                EXPECT_EQ(written, kCount);
            }
        }
    }
    EXPECT_TRUE(targetIsUntouched());
    EXPECT_TRUE(tablesAreUntouched());
}

}  // namespace
}  // namespace ozrdc::test::lz4
