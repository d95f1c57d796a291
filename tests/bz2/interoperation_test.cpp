// Streams made of the stages are read by libbz2, and the streams of libbz2 by the stages.
#include <bzlib.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "bz2/bzip2_stream.h"
#include "bz2/reference_stages.h"
#include "bz2/run_samples.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::bz2 {
namespace {

Bytes compressWithPeer(const Bytes& plain, int level) {
    auto size = static_cast<unsigned>(plain.size() + plain.size() / 50 + 700);
    Bytes stream(size);
    char empty = 0;
    auto* const source = plain.empty() ? &empty : const_cast<char*>(reinterpret_cast<const char*>(plain.data()));
    EXPECT_EQ(BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(stream.data()), &size, source,
                                       static_cast<unsigned>(plain.size()), level, 0, 0),
              BZ_OK);
    stream.resize(size);
    return stream;
}

std::optional<Bytes> decompressWithPeer(Bytes stream, std::size_t capacity) {
    Bytes plain(capacity + 1);
    auto size = static_cast<unsigned>(plain.size());
    if (BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(plain.data()), &size, reinterpret_cast<char*>(stream.data()),
                                   static_cast<unsigned>(stream.size()), 0, 0) != BZ_OK) {
        return std::nullopt;
    }
    plain.resize(size);
    return plain;
}

void checkBothWays(const Bytes& plain, int level) {
    const Bytes ours = compressWithStages(plain, level);
    ASSERT_EQ(decompressWithPeer(ours, plain.size()), plain);
    ASSERT_EQ(decompressWithStages(ours), plain);
    const Bytes theirs = compressWithPeer(plain, level);
    ASSERT_EQ(decompressWithStages(theirs), plain);
    // The same format, the same method: the size is about the same.
    ASSERT_LT(ours.size(), theirs.size() + theirs.size() / 50 + 40);
}

TEST(BlockSortingInteroperation, SamplesOfEveryKind) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {1U, 2U, 5U, 100U, 3000U, 250000U}) {
            checkBothWays(kind.make(size, 61), 1);
            if (HasFatalFailure()) return;
        }
    }
}

TEST(BlockSortingInteroperation, RunsOfEveryLength) {
    for (const uint64_t usual : {2U, 5U, 40U, 300U}) {
        for (const uint64_t values : {1U, 2U, 5U, 256U}) {
            checkBothWays(runSample(150000, usual, values, usual), 1);
            if (HasFatalFailure()) return;
        }
    }
    checkBothWays(Bytes(1000000, 0x61), 9);
}

TEST(BlockSortingInteroperation, RealFiles) {
    const std::vector<CorpusFile> files = corpusFiles(1 << 20);
    if (files.empty()) GTEST_SKIP() << "no corpus";
    for (std::size_t i = 0; i < files.size(); i += 1 + files.size() / 6) {
        SCOPED_TRACE(files[i].name);
        if (files[i].bytes.empty()) continue;
        checkBothWays(files[i].bytes, 9);
        if (HasFatalFailure()) return;
    }
}

TEST(BlockSortingInteroperation, DamagedStreamsAreNeverTakenForGood) {
    const Bytes plain = sampleKind("mixed").make(20000, 62);
    const Bytes stream = compressWithPeer(plain, 1);
    Random random(62);
    for (unsigned round = 0; round < 300; ++round) {
        Bytes damaged = stream;
        damaged[4 + random.below(damaged.size() - 5)] ^= static_cast<uint8_t>(1U << random.below(8));
        const std::optional<Bytes> result = decompressWithStages(damaged);
        ASSERT_TRUE(!result || *result == plain);
    }
}

}  // namespace
}  // namespace ozrdc::test::bz2
