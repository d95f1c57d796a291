// Records become the bits that the format wants, through both paths, and nothing is stored behind the worst case.
#include <gtest/gtest.h>

#include <algorithm>

#include "deflate/parser_check.h"
#include "deflate/reference_output.h"
#include "inflate/random_blocks.h"
#include "support/oracles.h"
#include "support/sample_data.h"

namespace ozrdc::test::deflate {
namespace {

// Long lists of records go another way than short ones; this many are long in any case.
constexpr std::size_t kLong = 2048;

struct Pending {
    uint16_t bits;
    int32_t count;
};

// Writes the records into a guarded destination with just the documented room, behind `front` bytes, and compares with
// the reference.
::testing::AssertionResult writesAsPredicted(std::span<const Record> records, const HuffCodes& literals,
                                             const HuffCodes& distances, Pending pending, std::size_t front,
                                             Guard guard = Guard::After) {
    static GuardedArena targets[] = {GuardedArena(Guard::After), GuardedArena(Guard::Before)};
    static GuardedArena literalMemory(Guard::After);
    static GuardedArena distanceMemory(Guard::After);

    BitWriter expected;
    expected.put(pending.bits, static_cast<unsigned>(pending.count));
    writeRecords(expected, records, literals, distances);
    const std::size_t whole = expected.size() / 8;

    const std::span<uint8_t> literalBytes = literalMemory.take(records.size());
    const std::span<uint8_t> distanceBytes = distanceMemory.take(2 * records.size());
    auto* const distanceValues = reinterpret_cast<uint16_t*>(distanceBytes.data());
    std::size_t worst = static_cast<std::size_t>(pending.count);
    for (std::size_t i = 0; i < records.size(); ++i) {
        literalBytes[i] = records[i].distance == 0 ? records[i].literal : static_cast<uint8_t>(records[i].length - 3);
        distanceValues[i] = static_cast<uint16_t>(records[i].distance);
        worst += records[i].distance == 0 ? 15 : 48;
    }
    constexpr uint8_t untouched = 0x5A;
    const std::span<uint8_t> target = targets[guard == Guard::After ? 0 : 1].take(front + worst / 8);
    std::fill(target.begin(), target.end(), untouched);

    auto bits = static_cast<uint16_t>(pending.bits | ~0U << pending.count);  // those above the count are ignored
    int32_t count = pending.count;
    auto index = static_cast<int32_t>(front);
    const Status status = ozrsDeflateHuff_8u(literalBytes.data(), distanceValues, static_cast<int32_t>(records.size()),
                                             &bits, &count, literals.data(), distances.data(), target.data(), &index);
    if (status != StatusOk) return ::testing::AssertionFailure() << "status " << status;
    if (static_cast<std::size_t>(index) != front + whole) {
        return ::testing::AssertionFailure() << index - static_cast<int32_t>(front) << " bytes instead of " << whole;
    }
    if (!std::equal(target.begin() + static_cast<std::ptrdiff_t>(front), target.begin() + index,
                    expected.bytes().begin())) {
        return ::testing::AssertionFailure() << "other bits";
    }
    if (count != static_cast<int32_t>(expected.size() % 8)) return ::testing::AssertionFailure() << count << " pending";
    if (bits != bitsAt(expected.bytes(), 8 * whole, 8)) return ::testing::AssertionFailure() << "other bits pending";
    const auto isUntouched = [](uint8_t b) { return b == untouched; };
    if (!std::all_of(target.begin(), target.begin() + static_cast<std::ptrdiff_t>(front), isUntouched)) {
        return ::testing::AssertionFailure() << "written in front of the output";
    }
    return ::testing::AssertionSuccess();
}

Pending randomPending(Random& random) {
    const auto count = static_cast<int32_t>(random.below(17));
    return {static_cast<uint16_t>(random.below(uint64_t{1} << count)), count};
}

std::vector<Record> randomRecords(Random& random, std::size_t count) {
    std::vector<Record> records;
    const uint64_t shape = random.below(4);  // literals or matches alone, both, far distances
    while (records.size() < count) {
        if (shape == 0 || (shape >= 2 && random.oneIn(2))) {
            records.push_back({random.byte(), 1, 0});
        } else {
            const uint64_t most = shape == 3 || random.oneIn(4) ? 32768 : 256;
            const auto length = static_cast<unsigned>(random.oneIn(8) ? 258 : 3 + random.below(256));
            const auto distance = static_cast<unsigned>(random.oneIn(8) ? most : 1 + random.below(most));
            records.push_back({0, length, distance});
        }
    }
    return records;
}

// Any codes will do: they are written as they stand. The longest fill the room that the worst case gives.
HuffCodes randomHuffCodes(Random& random, std::size_t symbols) {
    HuffCodes codes(symbols);
    const uint64_t shape = random.below(3);
    for (DeflateHuffCode& code : codes) {
        code.len = static_cast<uint16_t>(shape == 0 ? 15 : 1 + random.below(15));
        code.code = static_cast<uint16_t>(random.next() & ((1U << code.len) - 1));
    }
    return codes;
}

TEST(DeflateHuffmanOutput, RecordsGiveThePredictedBits) {
    Random random(431);
    for (int round = 0; round < 1500; ++round) {
        const std::size_t count = random.below(random.oneIn(2) ? kLong + 400 : 60);
        const std::vector<Record> records = randomRecords(random, count);
        const HuffCodes literals = randomHuffCodes(random, 286);
        const HuffCodes distances = randomHuffCodes(random, 30);
        ASSERT_TRUE(writesAsPredicted(records, literals, distances, randomPending(random), random.below(20),
                                      random.oneIn(2) ? Guard::After : Guard::Before))
            << count << " records, round " << round;
    }
}

TEST(DeflateHuffmanOutput, EveryLengthAndDistanceGivesThePredictedBits) {
    Random random(432);
    std::vector<Record> records;
    for (unsigned length = 3; length <= 258; ++length) records.push_back({0, length, 1 + 127 * (length - 3)});
    for (unsigned distance = 1; distance <= 32768; distance += distance < 1030 ? 1 : 61) {
        records.push_back({0, 3 + distance % 256, distance});
    }
    for (const CodeRange& range : kDistanceCodes) {
        records.push_back({0, 3, range.first});
        records.push_back({0, 258, range.first + (1U << range.extraBits) - 1});
    }
    for (unsigned literal = 0; literal < 256; ++literal) records.push_back({static_cast<uint8_t>(literal), 1, 0});
    const HuffCodes literals = randomHuffCodes(random, 286);
    const HuffCodes distances = randomHuffCodes(random, 30);
    for (const std::size_t piece : {records.size(), std::size_t{1000}, std::size_t{1}}) {
        for (std::size_t i = 0; i < records.size(); i += piece) {
            const auto part = std::span(records).subspan(i, std::min(piece, records.size() - i));
            ASSERT_TRUE(writesAsPredicted(part, literals, distances, randomPending(random), 0)) << "record " << i;
        }
    }
}

TEST(DeflateHuffmanOutput, BothPathsGiveTheSameBits) {
    Random random(433);
    const HuffCodes literals = randomHuffCodes(random, 286);
    const HuffCodes distances = randomHuffCodes(random, 30);
    for (int round = 0; round < 4; ++round) {
        const std::vector<Record> records = randomRecords(random, kLong + 1);
        for (std::size_t count = 1; count <= kLong + 1; count += count % 256 < 2 || count % 256 == 255 ? 1 : 11) {
            const auto part = std::span(records).first(count);
            ASSERT_TRUE(writesAsPredicted(part, literals, distances, randomPending(random), 3)) << count;
        }
    }
}

TEST(DeflateHuffmanOutput, EveryNumberOfPendingBitsIsTaken) {
    Random random(434);
    const HuffCodes literals = randomHuffCodes(random, 286);
    const HuffCodes distances = randomHuffCodes(random, 30);
    for (int32_t count = 0; count <= 16; ++count) {
        const Pending pending{static_cast<uint16_t>(random.below(uint64_t{1} << count)), count};
        for (const std::size_t records : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 30U, 2047U, 2048U, 2050U}) {
            ASSERT_TRUE(writesAsPredicted(randomRecords(random, records), literals, distances, pending, 1))
                << count << " bits, " << records << " records";
        }
    }
}

TEST(DeflateHuffmanOutput, SevenPendingBitsAndALiteralOfNineGiveTwoBytes) {
    const HuffCodes literals = huffCodes(fixedCodes().literals);
    const Record literal{200, 1, 0};
    uint16_t bits = 0x55;
    int32_t count = 7;
    int32_t index = 0;
    std::array<uint8_t, 2> target{};
    const uint16_t distance = 0;
    EXPECT_EQ(ozrsDeflateHuff_8u(&literal.literal, &distance, 1, &bits, &count, literals.data(), literals.data(),
                                 target.data(), &index),
              StatusOk);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(bits, 0);
}

TEST(DeflateHuffmanOutput, WithoutRecordsWholeBytesAreWritten) {
    const HuffCodes codes = huffCodes(fixedCodes().literals);
    for (const int32_t records : {0, -1, INT32_MIN}) {
        for (int32_t pending = 0; pending <= 16; ++pending) {
            uint16_t bits = 0xA5C3;
            int32_t count = pending;
            int32_t index = 5;
            std::array<uint8_t, 8> target{};
            const uint8_t literal = 0;
            const uint16_t distance = 0;
            EXPECT_EQ(ozrsDeflateHuff_8u(&literal, &distance, records, &bits, &count, codes.data(), codes.data(),
                                         target.data(), &index),
                      StatusOk);
            EXPECT_EQ(index, 5 + pending / 8);
            EXPECT_EQ(count, pending % 8);
            EXPECT_EQ(bits, 0xA5C3 >> (pending / 8 * 8) & ((1 << count) - 1));
            if (pending >= 8) {
                EXPECT_EQ(target[5], 0xC3);
            }
            if (pending == 16) {
                EXPECT_EQ(target[6], 0xA5);
            }
        }
    }
}

TEST(DeflateHuffmanOutput, NullPointersAreRefused) {
    const HuffCodes codes = huffCodes(fixedCodes().literals);
    for (const int32_t records : {1, 0, -1}) {
        for (int missing = 0; missing < 8; ++missing) {
            const uint8_t literal = 0;
            const uint16_t distance = 0;
            uint16_t bits = 0xFFFF;
            int32_t count = 16;
            int32_t index = 1;
            std::array<uint8_t, 8> target{};
            EXPECT_EQ(ozrsDeflateHuff_8u(missing == 0 ? nullptr : &literal, missing == 1 ? nullptr : &distance, records,
                                         missing == 2 ? nullptr : &bits, missing == 3 ? nullptr : &count,
                                         missing == 4 ? nullptr : codes.data(), missing == 5 ? nullptr : codes.data(),
                                         missing == 6 ? nullptr : target.data(), missing == 7 ? nullptr : &index),
                      StatusNullPointer);
            EXPECT_EQ(bits, 0xFFFF);
            EXPECT_EQ(count, 16);
            EXPECT_EQ(index, 1);
            EXPECT_EQ(target, (std::array<uint8_t, 8>{}));
        }
    }
}

// The whole road: parse, write a block with codes of the test's, and have an independent decoder read it.
TEST(DeflateHuffmanOutput, AnotherDecoderReadsTheBlocks) {
    Random random(435);
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes sample = kind.make(60000, 436);
        for (const int32_t level : {0, 1, 4, 6, 9}) {
            SCOPED_TRACE(std::string(kind.name) + ", level " + std::to_string(level));
            ParserCheck parser(32768, 32768);
            ASSERT_TRUE(parser.parses(sample, Search::atLevel(level), 2, std::ssize(sample)));
            const BlockCodes codes{inflate::randomCode(random, 286, 286, 15, random.oneIn(2)),
                                   inflate::randomCode(random, 30, 30, 15, random.oneIn(2))};
            const HuffCodes literals = huffCodes(codes.literals);
            const HuffCodes distances = huffCodes(codes.distances);

            BitWriter header;
            writeDynamicHeader(header, codes, true);
            Bytes stream(header.bytes());
            const std::vector<Record>& records = parser.records();
            Bytes literalBytes;
            std::vector<uint16_t> distanceValues;
            for (const Record& r : records) {
                literalBytes.push_back(r.distance == 0 ? r.literal : static_cast<uint8_t>(r.length - 3));
                distanceValues.push_back(static_cast<uint16_t>(r.distance));
            }
            auto index = static_cast<int32_t>(header.size() / 8);
            auto count = static_cast<int32_t>(header.size() % 8);
            auto bits = static_cast<uint16_t>(bitsAt(header.bytes(), header.size() / 8 * 8, 8));
            stream.resize(stream.size() + 6 * records.size() + 16);
            // In pieces, as a caller does whose record buffers are small.
            for (std::size_t i = 0; i < records.size();) {
                const std::size_t n = std::min<std::size_t>(records.size() - i, 1 + random.below(6000));
                ASSERT_EQ(
                    ozrsDeflateHuff_8u(literalBytes.data() + i, distanceValues.data() + i, static_cast<int32_t>(n),
                                       &bits, &count, literals.data(), distances.data(), stream.data(), &index),
                    StatusOk);
                i += n;
            }
            stream.resize(static_cast<std::size_t>(index));
            BitWriter end;
            end.put(bits, static_cast<unsigned>(count));
            end.put(literals[256].code, literals[256].len);
            stream.insert(stream.end(), end.bytes().begin(), end.bytes().end());
            EXPECT_EQ(oracle::zlibInflate(stream, sample.size()), sample);
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::deflate
