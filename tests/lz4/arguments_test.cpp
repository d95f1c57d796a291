// Argument checks: which come first, and that a call that fails one leaves its outputs untouched.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "lz4/checked_calls.h"

namespace ozrdc::test::lz4 {
namespace {

constexpr int32_t kMostNegative = std::numeric_limits<int32_t>::min();

class Lz4Arguments : public ::testing::Test {
  protected:
    static constexpr int32_t kSize = 1000;
    static constexpr uint8_t kUntouched = 0xB7;
    static constexpr int32_t kCount = 900;

    Lz4Arguments() {
        target_.fill(kUntouched);
        table_.fill(kUntouched);
    }

    bool targetIsUntouched() const { return isUntouched(target_); }
    bool tableIsUntouched() const { return isUntouched(table_); }

    // True if the first `n` bytes of the table were cleared and no others were touched.
    bool tableIsClear(std::ptrdiff_t n) const {
        return std::all_of(table_.begin(), table_.begin() + n, [](uint8_t b) { return b == 0; }) &&
               std::all_of(table_.begin() + n, table_.end(), [](uint8_t b) { return b == kUntouched; });
    }

    std::array<uint8_t, kSize> source_{};
    std::array<uint8_t, 2 * kSize> target_{};
    std::array<uint8_t, kHashTableSize> table_{};

  private:
    template <std::size_t n>
    static bool isUntouched(const std::array<uint8_t, n>& bytes) {
        return std::all_of(bytes.begin(), bytes.end(), [](uint8_t b) { return b == kUntouched; });
    }
};

// --- Decoders -------------------------------------------------------------------------------------------------------

TEST_F(Lz4Arguments, DecoderRefusesNullPointersBeforeSizes) {
    for (const int32_t size : {kSize, 0, -1}) {
        int32_t written = kCount;
        EXPECT_EQ(ozrsDecodeLZ4_8u(nullptr, size, target_.data(), &written), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeLZ4_8u(source_.data(), size, nullptr, &written), StatusNullPointer);
        EXPECT_EQ(written, kCount);
        EXPECT_EQ(ozrsDecodeLZ4_8u(source_.data(), size, target_.data(), nullptr), StatusNullPointer);
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(Lz4Arguments, DecoderRefusesSizesBelowOne) {
    for (const int32_t size : {0, -1, kMostNegative}) {
        int32_t written = kCount;
        EXPECT_EQ(ozrsDecodeLZ4_8u(source_.data(), size, target_.data(), &written), StatusSizeError);
        EXPECT_EQ(written, kCount);
        written = size;
        EXPECT_EQ(ozrsDecodeLZ4_8u(source_.data(), kSize, target_.data(), &written), StatusSizeError);
        EXPECT_EQ(written, size);
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(Lz4Arguments, DictionaryDecoderChecksInEveryMode) {
    struct Mode {
        const char* name;
        const uint8_t* dictionary;
        int32_t dictionarySize;
    };
    const std::array<uint8_t, 100> dictionary{};
    for (const Mode& mode : {Mode{"no dictionary", nullptr, 100}, Mode{"no dictionary, negative size", nullptr, -5},
                             Mode{"empty dictionary", dictionary.data(), 0}, Mode{"prefix", target_.data(), 100},
                             Mode{"separate dictionary", dictionary.data(), 100}}) {
        SCOPED_TRACE(mode.name);
        const auto call = [&](const uint8_t* source, int32_t* consumed, uint8_t* target, int32_t* written) {
            return ozrsDecodeLZ4Dict_8u(source, consumed, target, 100, written, mode.dictionary, mode.dictionarySize);
        };
        for (const int32_t size : {kSize, 0, -1}) {
            int32_t consumed = size;
            int32_t written = size;
            EXPECT_EQ(call(nullptr, &consumed, target_.data(), &written), StatusNullPointer);
            EXPECT_EQ(call(source_.data(), nullptr, target_.data(), &written), StatusNullPointer);
            EXPECT_EQ(call(source_.data(), &consumed, nullptr, &written), StatusNullPointer);
            EXPECT_EQ(call(source_.data(), &consumed, target_.data(), nullptr), StatusNullPointer);
            EXPECT_EQ(consumed, size);
            EXPECT_EQ(written, size);
        }
        for (const int32_t size : {0, -1, kMostNegative}) {
            int32_t consumed = size;
            int32_t written = kCount;
            EXPECT_EQ(call(source_.data(), &consumed, target_.data(), &written), StatusSizeError);
            EXPECT_EQ(consumed, size);
            EXPECT_EQ(written, kCount);
            consumed = kSize;
            written = size;
            EXPECT_EQ(call(source_.data(), &consumed, target_.data(), &written), StatusSizeError);
            EXPECT_EQ(consumed, kSize);
            EXPECT_EQ(written, size);
        }
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(Lz4Arguments, SeparateDictionaryMustNotHaveANegativeSize) {
    const std::array<uint8_t, 100> dictionary{};
    for (const int32_t size : {-1, -50, kMostNegative}) {
        int32_t consumed = kSize;
        int32_t written = kCount;
        EXPECT_EQ(
            ozrsDecodeLZ4Dict_8u(source_.data(), &consumed, target_.data(), 100, &written, dictionary.data(), size),
            StatusSizeError);
        EXPECT_EQ(consumed, kSize);
        EXPECT_EQ(written, kCount);
        // A null pointer is noticed first.
        EXPECT_EQ(ozrsDecodeLZ4Dict_8u(nullptr, &consumed, target_.data(), 100, &written, dictionary.data(), size),
                  StatusNullPointer);
    }
    EXPECT_TRUE(targetIsUntouched());
}

// --- Hash table -----------------------------------------------------------------------------------------------------

TEST_F(Lz4Arguments, HashTableSizeIsTold) {
    int32_t size = -1;
    EXPECT_EQ(ozrsEncodeLZ4HashTableGetSize_8u(&size), StatusOk);
    EXPECT_EQ(size, kHashTableSize);
    EXPECT_EQ(ozrsEncodeLZ4HashTableGetSize_8u(nullptr), StatusNullPointer);
}

TEST_F(Lz4Arguments, HashTableInitRefusesNullBeforeASizeBelowOne) {
    EXPECT_EQ(ozrsEncodeLZ4HashTableInit_8u(nullptr, 100), StatusNullPointer);
    EXPECT_EQ(ozrsEncodeLZ4HashTableInit_8u(nullptr, 0), StatusNullPointer);
    for (const int32_t size : {0, -1, kMostNegative}) {
        EXPECT_EQ(ozrsEncodeLZ4HashTableInit_8u(table_.data(), size), StatusSizeError);
    }
    EXPECT_TRUE(tableIsUntouched());
}

TEST_F(Lz4Arguments, HashTableInitClearsAsManyBytesAsTheSourceLengthAsksFor) {
    for (const int32_t size : {1, 65535}) {
        table_.fill(kUntouched);
        EXPECT_EQ(ozrsEncodeLZ4HashTableInit_8u(table_.data(), size), StatusOk);
        EXPECT_TRUE(tableIsClear(8192)) << size;
    }
    for (const int32_t size : {65536, std::numeric_limits<int32_t>::max()}) {
        table_.fill(kUntouched);
        EXPECT_EQ(ozrsEncodeLZ4HashTableInit_8u(table_.data(), size), StatusOk);
        EXPECT_TRUE(tableIsClear(16384)) << size;
    }
}

// --- Encoders -------------------------------------------------------------------------------------------------------

// The plain encoder, and the accelerated one at acceleration 1, which is the same.
struct PlainEntry {
    const char* name;
    Status (*encode)(const uint8_t*, int32_t, uint8_t*, int32_t*, uint8_t*);
};
constexpr std::array<PlainEntry, 2> kPlainEntries{
    {{"plain", [](const uint8_t* source, int32_t size, uint8_t* target, int32_t* written,
                  uint8_t* table) { return ozrsEncodeLZ4_8u(source, size, target, written, table); }},
     {"acceleration 1", [](const uint8_t* source, int32_t size, uint8_t* target, int32_t* written, uint8_t* table) {
          return ozrsEncodeLZ4Fast_8u(source, size, target, written, table, 1);
      }}}};

TEST_F(Lz4Arguments, PlainEncoderRefusesNullPointersBeforeSizes) {
    for (const PlainEntry& entry : kPlainEntries) {
        SCOPED_TRACE(entry.name);
        for (const int32_t size : {kSize, 0, -1}) {
            int32_t written = kCount;
            EXPECT_EQ(entry.encode(nullptr, size, target_.data(), &written, table_.data()), StatusNullPointer);
            EXPECT_EQ(entry.encode(source_.data(), size, nullptr, &written, table_.data()), StatusNullPointer);
            EXPECT_EQ(entry.encode(source_.data(), size, target_.data(), nullptr, table_.data()), StatusNullPointer);
            EXPECT_EQ(entry.encode(source_.data(), size, target_.data(), &written, nullptr), StatusNullPointer);
            EXPECT_EQ(written, kCount);
        }
        for (const int32_t size : {0, -1, kMostNegative}) {
            int32_t written = kCount;
            EXPECT_EQ(entry.encode(source_.data(), size, target_.data(), &written, table_.data()), StatusSizeError);
            EXPECT_EQ(written, kCount);
        }
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(Lz4Arguments, PlainEncoderClearsTheTableBeforeItsOtherChecks) {
    for (const PlainEntry& entry : kPlainEntries) {
        SCOPED_TRACE(entry.name);
        int32_t written = kCount;
        table_.fill(kUntouched);
        EXPECT_EQ(entry.encode(nullptr, 65535, target_.data(), &written, table_.data()), StatusNullPointer);
        EXPECT_TRUE(tableIsClear(8192));
        table_.fill(kUntouched);
        EXPECT_EQ(entry.encode(nullptr, 65536, target_.data(), &written, table_.data()), StatusNullPointer);
        EXPECT_TRUE(tableIsClear(16384));
        table_.fill(kUntouched);
        EXPECT_EQ(entry.encode(source_.data(), -1, target_.data(), &written, table_.data()), StatusSizeError);
        EXPECT_TRUE(tableIsClear(8192));
    }
}

TEST_F(Lz4Arguments, BoundedEncoderRefusesNullPointersBeforeSizes) {
    const auto call = [](const uint8_t* source, int32_t* consumed, uint8_t* target, int32_t* written, uint8_t* table) {
        return ozrsEncodeLZ4Safe_8u(source, consumed, target, written, table);
    };
    for (const int32_t size : {kSize, 0, -1}) {
        int32_t consumed = size;
        int32_t written = size;
        EXPECT_EQ(call(nullptr, &consumed, target_.data(), &written, table_.data()), StatusNullPointer);
        EXPECT_EQ(call(source_.data(), nullptr, target_.data(), &written, table_.data()), StatusNullPointer);
        EXPECT_EQ(call(source_.data(), &consumed, nullptr, &written, table_.data()), StatusNullPointer);
        EXPECT_EQ(call(source_.data(), &consumed, target_.data(), nullptr, table_.data()), StatusNullPointer);
        EXPECT_EQ(call(source_.data(), &consumed, target_.data(), &written, nullptr), StatusNullPointer);
        EXPECT_EQ(consumed, size);
        EXPECT_EQ(written, size);
    }
    for (const int32_t size : {0, -1, kMostNegative}) {
        int32_t consumed = size;
        int32_t written = kCount;
        EXPECT_EQ(call(source_.data(), &consumed, target_.data(), &written, table_.data()), StatusSizeError);
        EXPECT_EQ(consumed, size);
        EXPECT_EQ(written, kCount);
        consumed = kSize;
        written = size;
        EXPECT_EQ(call(source_.data(), &consumed, target_.data(), &written, table_.data()), StatusSizeError);
        EXPECT_EQ(consumed, kSize);
        EXPECT_EQ(written, size);
    }
    EXPECT_TRUE(targetIsUntouched());
}

TEST_F(Lz4Arguments, BoundedEncoderClearsTheTableAfterTheTestOfTheSourceLengthPointer) {
    int32_t written = kCount;
    EXPECT_EQ(ozrsEncodeLZ4Safe_8u(source_.data(), nullptr, target_.data(), &written, table_.data()),
              StatusNullPointer);
    EXPECT_TRUE(tableIsUntouched());
    int32_t consumed = 70000;
    EXPECT_EQ(ozrsEncodeLZ4Safe_8u(nullptr, &consumed, target_.data(), &written, table_.data()), StatusNullPointer);
    EXPECT_TRUE(tableIsClear(16384));
    table_.fill(kUntouched);
    consumed = 0;
    EXPECT_EQ(ozrsEncodeLZ4Safe_8u(source_.data(), &consumed, target_.data(), &written, table_.data()),
              StatusSizeError);
    EXPECT_TRUE(tableIsClear(8192));
}

TEST_F(Lz4Arguments, AcceleratedEncoderChecksPointersThenSizesThenTheFactor) {
    for (const int32_t acceleration : {2, 0, -1, kMostNegative}) {
        SCOPED_TRACE(acceleration);
        const auto call = [=](const uint8_t* source, int32_t size, uint8_t* target, int32_t* written, uint8_t* table) {
            return ozrsEncodeLZ4Fast_8u(source, size, target, written, table, acceleration);
        };
        int32_t written = kCount;
        for (const int32_t size : {kSize, 70000, 0, -1}) {
            EXPECT_EQ(call(nullptr, size, target_.data(), &written, table_.data()), StatusNullPointer);
            EXPECT_EQ(call(source_.data(), size, nullptr, &written, table_.data()), StatusNullPointer);
            EXPECT_EQ(call(source_.data(), size, target_.data(), nullptr, table_.data()), StatusNullPointer);
            EXPECT_EQ(call(source_.data(), size, target_.data(), &written, nullptr), StatusNullPointer);
        }
        for (const int32_t size : {0, -1, kMostNegative}) {
            EXPECT_EQ(call(source_.data(), size, target_.data(), &written, table_.data()), StatusSizeError);
        }
        EXPECT_EQ(written, kCount);
    }
    EXPECT_TRUE(targetIsUntouched());
    EXPECT_TRUE(tableIsUntouched());
}

TEST_F(Lz4Arguments, AcceleratedEncoderRefusesFactorsBelowOne) {
    const Bytes longSource(70000);
    for (const int32_t acceleration : {0, -1, kMostNegative}) {
        int32_t written = kCount;
        EXPECT_EQ(ozrsEncodeLZ4Fast_8u(source_.data(), kSize, target_.data(), &written, table_.data(), acceleration),
                  StatusBadFactor);
        EXPECT_EQ(ozrsEncodeLZ4Fast_8u(longSource.data(), 70000, target_.data(), &written, table_.data(), acceleration),
                  StatusBadFactor);
        EXPECT_EQ(written, kCount);
    }
    EXPECT_TRUE(targetIsUntouched());
    EXPECT_TRUE(tableIsUntouched());
}

}  // namespace
}  // namespace ozrdc::test::lz4
