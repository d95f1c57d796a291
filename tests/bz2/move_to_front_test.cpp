// Move-to-front coding, against the plain model: ranks, list, and the state after every call.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "bz2/reference_stages.h"
#include "bz2/run_samples.h"
#include "support/guarded_buffer.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::bz2 {
namespace {

class Coder {
  public:
    Coder() { EXPECT_EQ(ozrsMTFInit_8u(state()), StatusOk); }

    Bytes encode(std::span<const uint8_t> bytes) { return code(bytes, ozrsMTFFwd_8u); }
    Bytes decode(std::span<const uint8_t> ranks) { return code(ranks, ozrsMTFInv_8u); }
    Bytes contents() const { return Bytes(memory_.begin(), memory_.end()); }
    MTFState* state() { return reinterpret_cast<MTFState*>(memory_.data()); }

  private:
    template <typename Function>
    Bytes code(std::span<const uint8_t> bytes, Function function) {
        const std::span<const uint8_t> source = source_.take(bytes);
        const std::span<uint8_t> target = target_.take(bytes.size());
        EXPECT_EQ(function(source.data(), target.data(), static_cast<int32_t>(bytes.size()), state()), StatusOk);
        return Bytes(target.begin(), target.end());
    }

    GuardedBuffer memory_{256};
    GuardedArena source_{Guard::After};
    GuardedArena target_{Guard::After};
};

std::vector<Bytes> samples() {
    std::vector<Bytes> all;
    for (const SampleKind& kind : sampleKinds()) all.push_back(kind.make(6000, 9));
    for (const uint64_t values : {1U, 2U, 15U, 16U, 17U, 40U, 256U}) {
        for (const uint64_t usual : {1U, 3U, 30U}) all.push_back(runSample(6000, usual, values, usual + values));
    }
    Random random(91);
    Bytes scattered(6000);
    random.fill(scattered);
    all.push_back(scattered);
    return all;
}

// Codes a sample in pieces, both ways, beside the model.
template <typename Piece>
void check(const Bytes& bytes, Piece piece) {
    Coder encoder;
    Coder decoder;
    MoveToFront forward;
    MoveToFront inverse;
    std::span<const uint8_t> rest = bytes;
    while (!rest.empty()) {
        const auto part = rest.first(std::min<std::size_t>(rest.size(), piece()));
        Bytes ranks;
        for (const uint8_t byte : part) ranks.push_back(forward.encode(byte));
        ASSERT_EQ(encoder.encode(part), ranks);
        const auto expectedRanks = forward.ranks();
        ASSERT_EQ(encoder.contents(), Bytes(expectedRanks.begin(), expectedRanks.end()));

        ASSERT_EQ(decoder.decode(ranks), Bytes(part.begin(), part.end()));
        for (const uint8_t rank : ranks) inverse.decode(rank);
        ASSERT_EQ(decoder.contents(), Bytes(inverse.list.begin(), inverse.list.end()));
        rest = rest.subspan(part.size());
    }
}

TEST(MoveToFrontCoding, ThreeBytes) {
    Coder encoder;
    EXPECT_EQ(encoder.encode(Bytes{1, 1, 0}), (Bytes{1, 0, 1}));
    Coder decoder;
    EXPECT_EQ(decoder.decode(Bytes{1, 0, 1}), (Bytes{1, 1, 0}));
}

TEST(MoveToFrontCoding, MatchesTheModelInOneCall) {
    for (const Bytes& bytes : samples()) {
        check(bytes, [&] { return bytes.size(); });
        if (HasFatalFailure()) return;
    }
}

TEST(MoveToFrontCoding, MatchesTheModelInPieces) {
    Random random(92);
    for (const uint64_t most : {1U, 7U, 20U, 300U}) {
        for (const Bytes& bytes : samples()) {
            check(bytes, [&] { return static_cast<std::size_t>(1 + random.below(most)); });
            if (HasFatalFailure()) return;
        }
    }
}

TEST(MoveToFrontCoding, EveryRankFromEveryLengthOfAList) {
    for (unsigned rank = 0; rank < 256; ++rank) {
        Bytes bytes(3, static_cast<uint8_t>(rank));
        bytes.push_back(static_cast<uint8_t>(255 - rank));
        check(bytes, [&] { return bytes.size(); });
        if (HasFatalFailure()) return;
    }
}

TEST(MoveToFrontCoding, AnyBytesAreRanks) {
    for (const Bytes& ranks : samples()) {
        Coder decoder;
        MoveToFront model;
        Bytes expected;
        for (const uint8_t rank : ranks) expected.push_back(model.decode(rank));
        ASSERT_EQ(decoder.decode(ranks), expected);
    }
}

TEST(MoveToFrontCoding, WorksInPlace) {
    for (const Bytes& bytes : samples()) {
        Coder separate;
        const Bytes ranks = separate.encode(bytes);
        GuardedBuffer buffer(bytes);
        Coder encoder;
        ASSERT_EQ(ozrsMTFFwd_8u(buffer.data(), buffer.data(), static_cast<int32_t>(bytes.size()), encoder.state()),
                  StatusOk);
        ASSERT_EQ(Bytes(buffer.begin(), buffer.end()), ranks);
        Coder decoder;
        ASSERT_EQ(ozrsMTFInv_8u(buffer.data(), buffer.data(), static_cast<int32_t>(bytes.size()), decoder.state()),
                  StatusOk);
        ASSERT_EQ(Bytes(buffer.begin(), buffer.end()), bytes);
    }
}

TEST(MoveToFrontCoding, StatesThatAreNoPermutationDoNoHarm) {
    Random random(93);
    const Bytes bytes = runSample(3000, 2, 256, 3);
    for (unsigned round = 0; round < 50; ++round) {
        GuardedBuffer state(256, Guard::After, 100 + round);
        GuardedBuffer target(bytes.size());
        auto* const mtf = reinterpret_cast<MTFState*>(state.data());
        EXPECT_EQ(ozrsMTFFwd_8u(bytes.data(), target.data(), static_cast<int32_t>(bytes.size()), mtf), StatusOk);
        EXPECT_EQ(ozrsMTFInv_8u(bytes.data(), target.data(), static_cast<int32_t>(bytes.size()), mtf), StatusOk);
        EXPECT_TRUE(state.slackIntact());
        EXPECT_TRUE(target.slackIntact());
    }
}

TEST(MoveToFrontCoding, ArgumentsAreCheckedInOrder) {
    int32_t size = 0;
    EXPECT_EQ(ozrsMTFGetSize_8u(nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsMTFGetSize_8u(&size), StatusOk);
    EXPECT_EQ(size, 256);
    EXPECT_EQ(ozrsMTFInit_8u(nullptr), StatusNullPointer);
    Coder coder;
    Bytes identity(256);
    std::iota(identity.begin(), identity.end(), uint8_t{0});
    EXPECT_EQ(coder.contents(), identity);
    const Bytes source{5, 6, 7};
    Bytes target(3, 0xCC);
    for (const auto function : {ozrsMTFFwd_8u, ozrsMTFInv_8u}) {
        for (const int32_t length : {3, 0, -1, -2147483647 - 1}) {
            EXPECT_EQ(function(nullptr, target.data(), length, coder.state()), StatusNullPointer);
            EXPECT_EQ(function(source.data(), nullptr, length, coder.state()), StatusNullPointer);
            EXPECT_EQ(function(source.data(), target.data(), length, nullptr), StatusNullPointer);
            if (length < 1) {
                EXPECT_EQ(function(source.data(), target.data(), length, coder.state()), StatusSizeError);
            }
        }
    }
    EXPECT_EQ(target, Bytes(3, 0xCC));
    EXPECT_EQ(coder.contents(), identity);
}

}  // namespace
}  // namespace ozrdc::test::bz2
