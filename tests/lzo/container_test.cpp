// The multi-part container: when a source is taken for one, what its parts decode to, and what the writer makes.
#include <gtest/gtest.h>

#include <algorithm>

#include "lzo/checked_calls.h"
#include "lzo/stream_builder.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzo {
namespace {

constexpr uint64_t kAmple = 100000;

// A container of these parts, which are to decode to `total` bytes.
Bytes containerOf(const std::vector<Bytes>& parts, uint32_t total) {
    const auto count = static_cast<uint8_t>(parts.size());
    Bytes bytes{0x55, count, static_cast<uint8_t>(count ^ 0x55)};
    const auto number = [&](std::size_t n) {
        for (int i = 0; i < 4; ++i) bytes.push_back(static_cast<uint8_t>(n >> 8 * i));
    };
    number(total);
    for (std::size_t k = 0; k + 1 < parts.size(); ++k) number(parts[k].size());
    for (const Bytes& part : parts) bytes.insert(bytes.end(), part.begin(), part.end());
    return bytes;
}

class LzoContainer : public ::testing::Test {
  protected:
    void expectStatus(const Bytes& source, bool isContainer, Status status, uint64_t capacity = kAmple) {
        ASSERT_TRUE(decoder_.agrees(source, capacity));
        ASSERT_EQ(decoder_.expected().isContainer, isContainer);
        ASSERT_EQ(decoder_.expected().status, status);
    }

    DecoderCheck decoder_;
    const Bytes five_ = StreamBuilder(1).first(5).end().stream();
    const Bytes six_ = StreamBuilder(2).first(6).end().stream();
    const Bytes hundred_ = StreamBuilder(3).first(10).middleMatch(7, 90).end().stream();
};

TEST_F(LzoContainer, TwoPartsDecodeToTheirSlices) {
    const Bytes source = containerOf({five_, six_}, 11);
    ASSERT_NO_FATAL_FAILURE(expectStatus(source, true, StatusOk));
    EXPECT_EQ(decoder_.expected().written, 11U);

    // The same bytes with another third byte are a plain stream of 68 literals, which is cut short.
    Bytes plain = source;
    plain[2] ^= 1;
    ASSERT_NO_FATAL_FAILURE(expectStatus(plain, false, StatusBrokenStream));
}

TEST_F(LzoContainer, CapacityOfTheCallerIsNotLookedAt) {
    const Bytes source = containerOf({hundred_, hundred_, hundred_}, 300);
    for (const uint64_t capacity : {0U, 1U, 299U, 300U, 301U}) {
        ASSERT_NO_FATAL_FAILURE(expectStatus(source, true, StatusOk, capacity));
        EXPECT_EQ(decoder_.expected().written, 300U);
    }
}

TEST_F(LzoContainer, OnePartHasNoLength) {
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({hundred_}, 100), true, StatusOk));
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({hundred_}, 99), true, StatusBrokenStream));
    Bytes unmarked = containerOf({hundred_}, 100);
    unmarked.pop_back();
    ASSERT_NO_FATAL_FAILURE(expectStatus(unmarked, false, StatusBrokenStream));
}

TEST_F(LzoContainer, PartsShorterThanTheirSlicesLeaveGaps) {
    const Bytes source = containerOf({five_, hundred_, six_}, 320);
    ASSERT_NO_FATAL_FAILURE(expectStatus(source, true, StatusOk));
    EXPECT_EQ(decoder_.expected().written, 111U);
    EXPECT_EQ(decoder_.expected().slices[1].offset, 106U);
    EXPECT_EQ(decoder_.expected().slices[2].offset, 212U);
}

TEST_F(LzoContainer, LastPartTakesTheRemainder) {
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({five_, five_, six_}, 16), true, StatusOk));
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({five_, six_, five_}, 16), true, StatusBrokenStream));
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({five_, five_, hundred_}, 302), true, StatusOk));
}

TEST_F(LzoContainer, MatchesStayInsideTheirPart) {
    const Bytes reaching = StreamBuilder().first(4).shortMatch(5, 4).end().stream();
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({hundred_, reaching}, 200), true, StatusBrokenStream));
}

TEST_F(LzoContainer, EveryNumberOfParts) {
    for (std::size_t parts = 1; parts <= 32; ++parts) {
        ASSERT_NO_FATAL_FAILURE(expectStatus(
            containerOf(std::vector<Bytes>(parts, hundred_), static_cast<uint32_t>(100 * parts)), true, StatusOk));
        EXPECT_EQ(decoder_.expected().written, 100 * parts);
    }
    // Bytes that make no number of parts.
    for (const std::size_t parts : {0U, 33U, 34U, 0x55U, 255U}) {
        Bytes source = containerOf(std::vector<Bytes>(32, hundred_), 3200);
        source[1] = static_cast<uint8_t>(parts);
        source[2] = static_cast<uint8_t>(parts ^ 0x55);
        ASSERT_TRUE(decoder_.agrees(source, kAmple));
        EXPECT_FALSE(decoder_.expected().isContainer);
    }
}

TEST_F(LzoContainer, FirstPartMustEndWithTheMarkerInsideTheSource) {
    const Bytes source = containerOf({hundred_, hundred_}, 200);
    for (int64_t shift = -12; shift <= 60; ++shift) {
        Bytes moved = source;
        moved[7] = static_cast<uint8_t>(moved[7] + shift);
        ASSERT_TRUE(decoder_.agrees(moved, kAmple));
    }
    for (const std::size_t at : {7U, 8U, 9U, 10U}) {
        Bytes moved = source;
        moved[at] = 0xFF;
        ASSERT_NO_FATAL_FAILURE(expectStatus(moved, false, StatusBrokenStream));
    }
    // 7 + C0 is the source's length: the marker would lie behind it.
    Bytes longest = source;
    longest[7] = static_cast<uint8_t>(source.size() - 7);
    ASSERT_TRUE(decoder_.agrees(longest, kAmple));
    EXPECT_FALSE(decoder_.expected().isContainer);
}

TEST_F(LzoContainer, EveryCutOfAContainer) {
    for (const Bytes& source :
         {containerOf({five_}, 5), containerOf({five_, six_}, 11), containerOf({hundred_, hundred_, six_}, 300),
          containerOf(std::vector<Bytes>(32, five_), 160)}) {
        for (std::size_t size = 0; size <= source.size(); ++size) {
            ASSERT_TRUE(decoder_.agrees(ByteView(source).first(size), 400)) << size;
        }
    }
}

TEST_F(LzoContainer, PartLengthsThatRunPastTheSourceAreBroken) {
    const Bytes source = containerOf({five_, five_, five_, six_}, 21);
    for (const std::size_t slot : {11U, 15U}) {
        for (const Bytes& length : {Bytes{255, 255, 255, 255}, Bytes{255, 255, 255, 127}, Bytes{0, 0, 0, 128},
                                    Bytes{100, 0, 0, 0}, Bytes{27, 0, 0, 0}, Bytes{28, 0, 0, 0}}) {
            Bytes changed = source;
            std::copy(length.begin(), length.end(), changed.begin() + static_cast<std::ptrdiff_t>(slot));
            ASSERT_NO_FATAL_FAILURE(expectStatus(changed, true, StatusBrokenStream)) << slot;
        }
    }
    // Two lengths whose sum passes 32 bits.
    Bytes changed = source;
    std::fill(changed.begin() + 11, changed.begin() + 19, uint8_t{0xFF});
    changed[11] = 9;
    ASSERT_NO_FATAL_FAILURE(expectStatus(changed, true, StatusBrokenStream));
    // A source that does not even hold all of the lengths is plain: its first part cannot be there.
    Bytes headless = containerOf(std::vector<Bytes>(32, five_), 160);
    headless.resize(120);
    ASSERT_TRUE(decoder_.agrees(headless, kAmple));
    EXPECT_FALSE(decoder_.expected().isContainer);
}

TEST_F(LzoContainer, EmptyPartsAreTaken) {
    const Bytes empty{0x11, 0, 0};
    const Bytes two = StreamBuilder().first(2).end().stream();
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({empty, empty, two}, 2), true, StatusOk));
    EXPECT_EQ(decoder_.expected().written, 2U);
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({empty}, 0), true, StatusOk));
    ASSERT_NO_FATAL_FAILURE(expectStatus(containerOf({empty, Bytes{}, Bytes{}}, 9), true, StatusOk));
}

TEST_F(LzoContainer, DamagedContainersDecodeAsTheReferenceSays) {
    Random random(401);
    const Bytes text = sampleKind("text").make(900, 74);
    const Bytes source = encode(kContainerMode, text, 5);
    for (int round = 0; round < 20000; ++round) {
        Bytes damaged = source;
        for (uint64_t n = 1 + random.below(3); n > 0; --n) {
            // Mostly the header. The total stays small: the destination must be there.
            const std::size_t at = random.oneIn(3) ? random.below(damaged.size()) : random.below(25);
            if (at != 5 && at != 6) damaged[at] = random.oneIn(3) ? uint8_t{0} : random.byte();
        }
        ASSERT_TRUE(decoder_.agrees(damaged, 900)) << "round " << round;
    }
}

// --- The writer -----------------------------------------------------------------------------------------------------

TEST_F(LzoContainer, WriterMakesThePredictedContainer) {
    EncoderCheck encoder;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {1U, 2U, 31U, 32U, 33U, 1000U, 30001U}) {
            const Bytes source = kind.make(size, 75);
            for (const uint32_t parts : {1U, 2U, 3U, 7U, 31U, 32U}) {
                ASSERT_TRUE(encoder.agrees(kContainerMode, source, roomFor(size) + 80 * parts, parts));
                const Bytes stream = encoder.stream();
                ASSERT_NO_FATAL_FAILURE(expectStatus(stream, true, StatusOk, size));
                Bytes decoded(size);
                auto written = static_cast<uint32_t>(size);
                ASSERT_EQ(callDecoder(Entry::Safe, stream, decoded, &written), StatusOk);
                ASSERT_EQ(decoded, source);
            }
        }
    }
}

TEST_F(LzoContainer, WriterStopsWhereTheDestinationEnds) {
    EncoderCheck encoder;
    const Bytes source = sampleKind("text").make(400, 76);
    for (const uint32_t parts : {1U, 2U, 5U}) {
        for (uint64_t capacity = 0; capacity <= 520; ++capacity) {
            ASSERT_TRUE(encoder.agrees(kContainerMode, source, capacity, parts));
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::lzo
