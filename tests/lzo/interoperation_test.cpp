// Streams go both ways between this library and an independent one.
#include <gtest/gtest.h>

#include "lzo/checked_calls.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzo {
namespace {

std::vector<Bytes> sources() {
    std::vector<Bytes> all;
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes sample = kind.make(100000, 95);
        for (const std::ptrdiff_t size : {1, 4, 13, 14, 18, 30, 50, 300, 4000, 49152, 49153, 100000}) {
            all.emplace_back(sample.begin(), sample.begin() + size);
        }
    }
    for (CorpusFile& file : corpusFiles(120000)) all.push_back(std::move(file.bytes));
    return all;
}

TEST(LzoInteroperation, AnotherDecoderReadsEveryStream) {
    for (const Bytes& source : sources()) {
        for (const uint32_t mode : {kStandardMode, kFastMode}) {
            const auto decoded = oracle::lzoDecompress(encode(mode, source), source.size());
            ASSERT_TRUE(decoded.has_value()) << source.size() << " bytes, mode " << mode;
            ASSERT_TRUE(*decoded == source);
        }
    }
}

TEST(LzoInteroperation, StreamsOfAnotherEncoderAreRead) {
    for (const Bytes& source : sources()) {
        for (const Bytes& stream : {oracle::lzoCompress(source), oracle::lzoCompress15(source),
                                    oracle::lzoCompress999(source, 1), oracle::lzoCompress999(source, 8)}) {
            for (const Entry entry : {Entry::Safe, Entry::Trusting}) {
                Bytes decoded(source.size());
                auto written = static_cast<uint32_t>(decoded.size());
                ASSERT_EQ(callDecoder(entry, stream, decoded, &written), StatusOk);
                ASSERT_EQ(written, source.size());
                ASSERT_TRUE(decoded == source);
            }
        }
    }
}

// What either decoder says of damaged streams, as far as both have rules for it: a stream that the other one decodes
// without complaint decodes here to the same bytes.
TEST(LzoInteroperation, WhatAnotherDecoderReadsIsReadTheSame) {
    int read = 0;
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes source = kind.make(600, 96);
        const Bytes stream = oracle::lzoCompress999(source, 8);
        for (std::size_t at = 0; at + 3 < stream.size(); ++at) {
            for (const uint8_t change : Bytes{1, 4, 128}) {
                Bytes damaged = stream;
                damaged[at] ^= change;
                if (containerTotal(damaged)) continue;
                const auto theirs = oracle::lzoDecompress(damaged, 2000);
                if (!theirs) continue;
                ++read;
                Bytes decoded(2000);
                uint32_t written = 2000;
                ASSERT_EQ(callDecoder(Entry::Safe, damaged, decoded, &written), StatusOk) << kind.name << ' ' << at;
                decoded.resize(written);
                ASSERT_TRUE(decoded == *theirs) << kind.name << ' ' << at;
            }
        }
    }
    EXPECT_GT(read, 100);
}

}  // namespace
}  // namespace ozrdc::test::lzo
