// Blocks go both ways between this library and an independent one.
#include <gtest/gtest.h>

#include <algorithm>

#include "lz4/checked_calls.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test::lz4 {
namespace {

std::vector<Bytes> sources() {
    std::vector<Bytes> all;
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes sample = kind.make(150000, 41);
        for (const std::ptrdiff_t size : {1, 12, 13, 29, 30, 31, 50, 300, 4000, 65535, 65536, 150000}) {
            all.emplace_back(sample.begin(), sample.begin() + size);
        }
    }
    for (CorpusFile& file : corpusFiles(500000)) all.push_back(std::move(file.bytes));
    return all;
}

TEST(Lz4Interoperation, AnotherDecoderReadsEveryBlock) {
    Bytes table(kHashTableSize);
    for (const Bytes& source : sources()) {
        for (const int32_t acceleration : {1, 2, 8, 100}) {
            const auto decoded = oracle::lz4Decompress(encodeFast(source, acceleration), source.size());
            ASSERT_TRUE(decoded.has_value()) << source.size() << " bytes, acceleration " << acceleration;
            ASSERT_EQ(*decoded, source);
        }
        // The bounded encoder, with no more room than it needs.
        const int64_t needed = std::ssize(encodePlain(source)) + 16;
        Bytes block(static_cast<std::size_t>(needed));
        auto consumed = static_cast<int32_t>(source.size());
        auto written = static_cast<int32_t>(needed);
        ASSERT_EQ(ozrsEncodeLZ4Safe_8u(source.data(), &consumed, block.data(), &written, table.data()), StatusOk);
        const auto decoded =
            oracle::lz4Decompress(ByteView(block).first(static_cast<std::size_t>(written)), source.size());
        ASSERT_TRUE(decoded.has_value()) << source.size() << " bytes, bounded";
        ASSERT_EQ(*decoded, source);
    }
}

// With exactly the room that it needs, a cut block may break the format's rules for the end of a block; with a little
// to spare, every decoder reads it.
TEST(Lz4Interoperation, AnotherDecoderReadsCutBlocksGivenRoomToSpare) {
    constexpr std::size_t kSpare = 64;
    Bytes table(kHashTableSize);
    int cut = 0;
    const auto check = [&](ByteView source, int64_t capacity) {
        Bytes block(static_cast<std::size_t>(capacity));
        auto consumed = static_cast<int32_t>(source.size());
        auto written = static_cast<int32_t>(capacity);
        const Status status = ozrsEncodeLZ4Safe_8u(source.data(), &consumed, block.data(), &written, table.data());
        if (status == StatusOk) return;
        ASSERT_EQ(status, StatusDestinationFull);
        ++cut;
        const ByteView prefix = source.first(static_cast<std::size_t>(consumed));
        const auto decoded =
            oracle::lz4Decompress(ByteView(block).first(static_cast<std::size_t>(written)), prefix.size() + kSpare);
        ASSERT_TRUE(decoded.has_value()) << source.size() << " bytes, capacity " << capacity;
        ASSERT_TRUE(std::equal(decoded->begin(), decoded->end(), prefix.begin(), prefix.end()))
            << source.size() << " bytes, capacity " << capacity;
    };
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {50U, 300U, 1500U}) {
            const Bytes source = kind.make(size, 44);
            for (int64_t capacity = 1; capacity <= std::ssize(encodePlain(source)) + 16; ++capacity) {
                ASSERT_NO_FATAL_FAILURE(check(source, capacity));
            }
        }
        for (const std::size_t size : {65535U, 65536U, 150000U}) {
            const Bytes source = kind.make(size, 45);
            const int64_t whole = std::ssize(encodePlain(source));
            for (int64_t capacity = 1; capacity <= whole + 16; capacity += 1 + whole / 100) {
                ASSERT_NO_FATAL_FAILURE(check(source, capacity));
            }
        }
    }
    EXPECT_GT(cut, 10000);
}

TEST(Lz4Interoperation, BlocksOfAnotherEncoderAreRead) {
    for (const Bytes& source : sources()) {
        for (const Bytes& block : {oracle::lz4Compress(source), oracle::lz4CompressFast(source, 30),
                                   oracle::lz4CompressHigh(source, 4), oracle::lz4CompressHigh(source, 10)}) {
            Bytes decoded(source.size());
            auto written = static_cast<int32_t>(decoded.size());
            ASSERT_EQ(ozrsDecodeLZ4_8u(block.data(), static_cast<int32_t>(block.size()), decoded.data(), &written),
                      StatusOk);
            ASSERT_EQ(static_cast<std::size_t>(written), source.size());
            ASSERT_EQ(decoded, source);
        }
    }
}

TEST(Lz4Interoperation, BlocksWithADictionaryOfAnotherEncoderAreRead) {
    const Bytes dictionary = sampleKind("text").make(65536, 42);
    for (const Bytes& source : sources()) {
        const Bytes block = oracle::lz4CompressWithDictionary(source, dictionary);
        // The destination may stand for the dictionary at any index; usual is its size.
        Bytes target(dictionary.size() + source.size());
        auto consumed = static_cast<int32_t>(block.size());
        auto written = static_cast<int32_t>(source.size());
        const auto size = static_cast<int32_t>(dictionary.size());
        ASSERT_EQ(ozrsDecodeLZ4Dict_8u(block.data(), &consumed, target.data(), size, &written, dictionary.data(), size),
                  StatusOk);
        ASSERT_EQ(static_cast<std::size_t>(written), source.size());
        ASSERT_TRUE(std::equal(source.begin(), source.end(), target.begin() + size));
    }
}

// What liblz4 accepts without a dictionary of its own, it reads the same with one.
TEST(Lz4Interoperation, AnotherDecoderReadsEveryBlockBehindADictionary) {
    const Bytes dictionary = sampleKind("records").make(5000, 43);
    for (const Bytes& source : sources()) {
        const auto decoded = oracle::lz4Decompress(encodePlain(source), source.size(), dictionary);
        ASSERT_TRUE(decoded.has_value());
        ASSERT_EQ(*decoded, source);
    }
}

}  // namespace
}  // namespace ozrdc::test::lz4
