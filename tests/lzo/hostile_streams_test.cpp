// Malformed sources: the checked decoder refuses what the reference refuses, and neither decoder touches anything
// outside the buffers (but for the trusting one, which may look in front of the output).
#include <gtest/gtest.h>

#include <algorithm>

#include "lzo/checked_calls.h"
#include "lzo/stream_builder.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzo {
namespace {

constexpr uint64_t kAmple = 100000;

// A destination in the middle of zeros that reach as far back as any distance, so that the trusting decoder may be
// given anything. What it must not touch are the inaccessible pages behind source and destination.
class TrustingCheck {
  public:
    void run(ByteView source, std::size_t capacity) {
        const std::span<uint8_t> guarded = source_.take(source);
        if (capacity != capacity_) {
            memory_ = target_.take(kReach + capacity);
            std::fill(memory_.begin(), memory_.begin() + kReach, uint8_t{0});
            capacity_ = capacity;
        }
        auto written = static_cast<uint32_t>(capacity);
        EXPECT_EQ(callDecoder(Entry::Trusting, guarded, memory_.subspan(kReach), &written), StatusOk);
        EXPECT_LE(written, capacity);
        EXPECT_TRUE(std::equal(zeros_.begin(), zeros_.end(), memory_.begin())) << "written in front of the destination";
    }

  private:
    static constexpr std::size_t kReach = 49151;
    GuardedArena source_{Guard::After};
    GuardedArena target_{Guard::After};
    std::span<uint8_t> memory_;
    std::size_t capacity_ = SIZE_MAX;
    const Bytes zeros_ = Bytes(kReach, 0);
};

class LzoHostile : public ::testing::Test {
  protected:
    void expectBroken(const Bytes& source, uint64_t capacity = kAmple) {
        ASSERT_TRUE(decoder_.agrees(source, capacity));
        ASSERT_EQ(decoder_.expected().status, StatusBrokenStream);
        if (!decoder_.expected().isContainer) trusting_.run(source, capacity);
    }

    void check(ByteView source, uint64_t capacity) {
        ASSERT_TRUE(decoder_.agrees(source, capacity));
        if (!decoder_.expected().isContainer) trusting_.run(source, capacity);
    }

    DecoderCheck decoder_;
    TrustingCheck trusting_;
};

TEST_F(LzoHostile, StreamBeginningWith16IsBroken) {
    expectBroken({16});
    expectBroken({16, 0, 0});
    expectBroken(StreamBuilder().raw({16}).literals(300).stream());
    expectBroken(StreamBuilder().first(40).end().raw({16}).literals(300).stream());
}

TEST_F(LzoHostile, EveryShortSourceDecodesAsTheReferenceSays) {
    for (unsigned a = 0; a < 256; ++a) {
        ASSERT_NO_FATAL_FAILURE(check(Bytes{static_cast<uint8_t>(a)}, 100));
        for (unsigned b = 0; b < 256; ++b) {
            ASSERT_NO_FATAL_FAILURE(check(Bytes{static_cast<uint8_t>(a), static_cast<uint8_t>(b)}, 100));
        }
    }
    // Every pair of bytes in every context: at the end of the source, and far from it.
    const Bytes tail = StreamBuilder().literals(40).stream();
    for (const Bytes& front : {StreamBuilder().first(30).stream(), StreamBuilder().first(30).shortMatch(9, 3).stream(),
                               StreamBuilder().first(30).shortMatch(9, 3, 1).stream()}) {
        for (unsigned a = 0; a < 256; ++a) {
            for (unsigned b = a % 3; b < 256; b += 1 + (a + b) % 5) {
                Bytes source = front;
                source.push_back(static_cast<uint8_t>(a));
                source.push_back(static_cast<uint8_t>(b));
                ASSERT_NO_FATAL_FAILURE(check(source, 3000));
                source.insert(source.end(), tail.begin(), tail.end());
                ASSERT_NO_FATAL_FAILURE(check(source, 3000));
            }
        }
    }
}

TEST_F(LzoHostile, ExtensionThatRunsOffTheSourceIsBroken) {
    for (const std::size_t zeros : {0U, 1U, 2U, 100U, 5000U}) {
        for (const uint8_t first : Bytes{0, 16, 24, 32}) {
            Bytes source = StreamBuilder().first(238).shortMatch(1, 3).stream();
            source.push_back(first);
            source.insert(source.end(), zeros, 0);
            // A run has no context in which another reading of a single zero would be possible.
            ASSERT_NO_FATAL_FAILURE(expectBroken(source));
        }
    }
    expectBroken({0});
    expectBroken({0, 0});
    expectBroken(Bytes(5000, 0));
}

// Lengths whose sum passes 32 bits: 17 million zeros are 4.3 billion.
TEST_F(LzoHostile, LengthsDoNotWrap) {
    constexpr std::size_t zeros = 16843010;  // 255 * zeros + 19 = 2^32 + 273
    for (const uint8_t first : Bytes{0, 16, 32}) {
        Bytes source = StreamBuilder().first(238).shortMatch(1, 3).stream();
        source.push_back(first);
        source.insert(source.end(), zeros, 0);
        source.insert(source.end(), {1, 4, 0});
        source.insert(source.end(), 600, 0xFF);
        ASSERT_NO_FATAL_FAILURE(expectBroken(source, 2000));
    }
}

TEST_F(LzoHostile, EveryCutOfAStreamDecodesAsTheReferenceSays) {
    for (const uint32_t mode : {kStandardMode, kFastMode}) {
        for (const SampleKind& kind : sampleKinds()) {
            SCOPED_TRACE(kind.name);
            const Bytes stream = encode(mode, kind.make(1500, 71));
            for (std::size_t size = 0; size <= stream.size(); ++size) {
                ASSERT_NO_FATAL_FAILURE(check(ByteView(stream).first(size), 1500));
            }
        }
    }
}

TEST_F(LzoHostile, EveryCapacityIsKept) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes stream = encode(kStandardMode, kind.make(700, 72));
        for (uint64_t capacity = 0; capacity <= 820; ++capacity) ASSERT_NO_FATAL_FAILURE(check(stream, capacity));
    }
}

TEST_F(LzoHostile, DamagedStreamsDecodeAsTheReferenceSays) {
    Random random(301);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {100U, 3000U, 40000U}) {
            const Bytes stream = encode(kStandardMode, kind.make(size, 73));
            for (int round = 0; round < 150; ++round) {
                Bytes damaged = stream;
                for (uint64_t n = 1 + random.below(4); n > 0; --n)
                    damaged[random.below(damaged.size())] = random.byte();
                ASSERT_NO_FATAL_FAILURE(check(damaged, size)) << "round " << round;
            }
        }
    }
}

TEST_F(LzoHostile, RandomBytesDecodeAsTheReferenceSays) {
    Random random(302);
    for (int round = 0; round < 20000; ++round) {
        Bytes source(1 + random.below(random.oneIn(3) ? 400 : 40));
        random.fill(source);
        // Often a beginning that leads further.
        if (random.oneIn(2)) source[0] = static_cast<uint8_t>(17 + random.below(20));
        ASSERT_NO_FATAL_FAILURE(check(source, random.below(2000))) << "round " << round;
    }
}

}  // namespace
}  // namespace ozrdc::test::lzo
