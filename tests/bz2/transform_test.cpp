// The forward transform: every strategy, blocks of every nature, short and long, and the ones that are hard to sort.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <optional>
#include <utility>

#include "bz2/induce.h"
#include "bz2/reference_transform.h"
#include "support/guarded_buffer.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::bz2 {
namespace {

using View = std::span<const uint8_t>;

constexpr uint32_t kStrategies = 4;
constexpr uint32_t kOwnChoice = kStrategies;  // stands for ozrsBWTFwd_8u

std::size_t scratchSize(std::size_t n, uint32_t strategy) {
    int32_t size = 0;
    const Status status = strategy == kOwnChoice
                              ? ozrsBWTFwdGetSize_8u(static_cast<int32_t>(n), &size)
                              : ozrsBWTFwdGetBufSize_SelectSort_8u(static_cast<uint32_t>(n), &size, strategy);
    EXPECT_EQ(status, StatusOk);
    return static_cast<std::size_t>(size);
}

struct Result {
    Status status;
    Bytes lastColumn;
    uint32_t primaryIndex;
};

// Calls with buffers of the exact sizes between inaccessible pages.
class Transform {
  public:
    explicit Transform(Guard guard = Guard::After) : source_(guard), target_(guard), scratch_(guard) {}

    Result operator()(View block, uint32_t strategy) {
        const View source = source_.take(block);
        const std::span<uint8_t> target = target_.take(block.size());
        const std::span<uint8_t> scratch = scratch_.take(scratchSize(block.size(), strategy));
        int32_t index = -1;
        const Status status =
            strategy == kOwnChoice
                ? ozrsBWTFwd_8u(source.data(), target.data(), static_cast<int32_t>(block.size()), &index,
                                scratch.data())
                : ozrsBWTFwd_SelectSort_8u(source.data(), target.data(), static_cast<uint32_t>(block.size()), &index,
                                           scratch.data(), strategy);
        return {status, Bytes(target.begin(), target.end()), static_cast<uint32_t>(index)};
    }

  private:
    GuardedArena source_;
    GuardedArena target_;
    GuardedArena scratch_;
};

// Sorts with every strategy and compares with the plain sort.
void expectPlainResult(Transform& transform, View block) {
    const Transformed expected = transformPlainly(block);
    for (uint32_t strategy = 0; strategy <= kOwnChoice; ++strategy) {
        const Result result = transform(block, strategy);
        if (strategy == 0 && result.status == StatusSortBudgetExceeded) {
            EXPECT_GE(block.size(), 100U);
            continue;
        }
        ASSERT_EQ(result.status, StatusOk) << "strategy " << strategy;
        ASSERT_EQ(result.lastColumn, expected.lastColumn) << "strategy " << strategy << ", size " << block.size();
        EXPECT_EQ(std::count(expected.primaryIndexes.begin(), expected.primaryIndexes.end(), result.primaryIndex), 1)
            << "strategy " << strategy << ", row " << result.primaryIndex;
    }
}

// For long blocks: the plain inverse leads back, and there is only one pair that does.
void expectInverseLeadsBack(Transform& transform, View block, std::initializer_list<uint32_t> strategies) {
    ASSERT_TRUE(isPrimitive(block));
    for (const uint32_t strategy : strategies) {
        const Result result = transform(block, strategy);
        ASSERT_EQ(result.status, StatusOk) << "strategy " << strategy;
        ASSERT_LT(result.primaryIndex, block.size());
        ASSERT_TRUE(std::ranges::equal(invertPlainly(result.lastColumn, result.primaryIndex), block))
            << "strategy " << strategy;
    }
}

Bytes repeated(View pattern, std::size_t size) {
    Bytes block(size);
    for (std::size_t i = 0; i < size; ++i) block[i] = pattern[i % pattern.size()];
    return block;
}

Bytes fibonacciWord(std::size_t size) {
    Bytes shorter{'b'};
    Bytes word{'a'};
    while (word.size() < size) {
        Bytes longer = word;
        longer.insert(longer.end(), shorter.begin(), shorter.end());
        shorter = std::exchange(word, std::move(longer));
    }
    word.resize(size);
    return word;
}

TEST(BlockSort, KnownBlock) {
    const Bytes banana{'b', 'a', 'n', 'a', 'n', 'a'};
    Transform transform;
    for (uint32_t strategy = 0; strategy <= kOwnChoice; ++strategy) {
        const Result result = transform(banana, strategy);
        EXPECT_EQ(result.status, StatusOk);
        EXPECT_EQ(result.lastColumn, (Bytes{'n', 'n', 'b', 'a', 'a', 'a'}));
        EXPECT_EQ(result.primaryIndex, 3U);
    }
}

TEST(BlockSort, OneByteAndEqualBytesAreTheirOwnLastColumn) {
    Transform transform;
    for (const std::size_t size : std::to_array<std::size_t>({1, 2, 99, 100, 101, 1000, 100000})) {
        const Bytes block(size, 0xE7);
        for (uint32_t strategy = 0; strategy <= kOwnChoice; ++strategy) {
            const Result result = transform(block, strategy);
            EXPECT_EQ(result.status, StatusOk);
            EXPECT_EQ(result.lastColumn, block);
            EXPECT_EQ(result.primaryIndex, 0U) << "strategy " << strategy << ", size " << size;
        }
    }
}

TEST(BlockSort, EveryShortBlockOfThreeBytes) {
    Transform transform;
    unsigned blocks = 3;
    for (std::size_t size = 1; size <= 6; ++size, blocks *= 3) {
        for (unsigned number = 0; number < blocks; ++number) {
            Bytes block;
            for (unsigned digits = number; block.size() < size; digits /= 3) {
                block.push_back(static_cast<uint8_t>(0x7F + digits % 3));
            }
            expectPlainResult(transform, block);
        }
    }
}

// Blocks of 100 bytes and more made of a word of few letters, to the power and with changes: periodic and nearly so.
TEST(BlockSort, RandomBlocksOfFewLetters) {
    Random random(801);
    Transform after(Guard::After);
    Transform before(Guard::Before);
    for (int round = 0; round < 1500; ++round) {
        Bytes word(1 + random.below(random.oneIn(3) ? 60 : 8));
        const uint64_t letters = 1 + random.below(random.oneIn(4) ? 256 : 4);
        for (uint8_t& letter : word) letter = static_cast<uint8_t>(random.below(letters) * 255 / letters);
        std::size_t size = 1 + random.below(random.oneIn(2) ? 110 : 400);
        if (random.oneIn(2)) size = (size / word.size() + 1) * word.size();
        Bytes block = repeated(word, size);
        for (uint64_t changes = random.below(4); changes > 0; --changes) block[random.below(size)] = random.byte();
        expectPlainResult(random.oneIn(2) ? after : before, block);
        if (HasFatalFailure()) return;
    }
}

TEST(BlockSort, RandomLongerBlocksOfFewLetters) {
    Random random(802);
    Transform after(Guard::After);
    Transform before(Guard::Before);
    for (int round = 0; round < 400; ++round) {
        Bytes word(1 + random.below(random.oneIn(3) ? 3000 : 30));
        const uint64_t letters = 2 + random.below(random.oneIn(4) ? 255 : 3);
        for (uint8_t& letter : word) letter = static_cast<uint8_t>(random.below(letters) * 255 / letters);
        Bytes block = repeated(word, 2500 + random.below(4000));
        for (uint64_t changes = 1 + random.below(10); changes > 0; --changes) {
            block[random.below(block.size())] = random.byte();
        }
        if (isPrimitive(block)) expectInverseLeadsBack(random.oneIn(2) ? after : before, block, {1, 2, kOwnChoice});
        if (HasFatalFailure()) return;
    }
}

TEST(BlockSort, SamplesAroundTheLengthsThatDecideTheMethod) {
    Transform transform;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(3000, 1);
        for (const std::size_t size : std::to_array<std::size_t>({98, 99, 100, 101, 255, 256, 257, 1500, 2999, 3000})) {
            expectPlainResult(transform, View(sample).first(size));
        }
    }
}

TEST(BlockSort, LongSamples) {
    Transform transform;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(150001, 2);
        if (isPrimitive(sample)) expectInverseLeadsBack(transform, sample, {1, 2, 3, kOwnChoice});
    }
}

TEST(BlockSort, RealFiles) {
    Transform transform;
    for (const CorpusFile& file : corpusFiles(300000)) {
        SCOPED_TRACE(file.name);
        expectInverseLeadsBack(transform, file.bytes, {2, kOwnChoice});
    }
}

// None of these may take much longer than other blocks.
TEST(BlockSort, BlocksThatAreHardToSort) {
    constexpr std::size_t kSize = 900000;
    Transform transform;
    const auto check = [&](const char* what, View block) {
        SCOPED_TRACE(what);
        expectInverseLeadsBack(transform, block, {2, kOwnChoice});
    };
    check("Fibonacci word", fibonacciWord(kSize));

    Bytes block(kSize, 'a');
    block[kSize / 3] = 'b';
    check("one greater byte", block);
    block[kSize / 3] = '\0';
    check("one lesser byte", block);

    block = repeated(Bytes{'a', 'b'}, kSize);
    block[kSize - 1] = 'c';
    check("pairs and one odd byte", block);

    block = repeated(Bytes{0, 0, 0, 1, 0, 1}, kSize);
    block[5] = 2;
    check("short pattern and one odd byte", block);

    block = periodicSample(kSize, 449000, 3);
    check("one long repetition", block);

    block.assign(kSize, 'x');
    for (std::size_t i = 0; i < kSize; i += 100 + i / 100) block[i] = 'y';
    check("runs of growing length", block);

    for (std::size_t i = 0; i < kSize; ++i) block[i] = static_cast<uint8_t>(std::popcount(i) % 2);
    check("Thue-Morse word", block);

    for (std::size_t i = 0; i < kSize; ++i) block[i] = static_cast<uint8_t>(255 - i * 256 / kSize);
    check("descending", block);
}

TEST(BlockSort, PeriodicBlocksHaveTheColumnOfTheirRoot) {
    Transform transform;
    for (const std::size_t period : std::to_array<std::size_t>({2, 3, 5, 7, 25, 1000, 100000})) {
        const std::size_t times = 200000 / period;
        const Bytes root = sampleKind("random").make(period, period);
        ASSERT_TRUE(isPrimitive(root));
        const Bytes block = repeated(root, period * times);
        const Result ofRoot = transform(root, kOwnChoice);
        for (const uint32_t strategy : {1U, 2U, 3U, kOwnChoice}) {
            const Result result = transform(block, strategy);
            ASSERT_EQ(result.status, StatusOk);
            for (std::size_t row = 0; row < block.size(); ++row) {
                ASSERT_EQ(result.lastColumn[row], ofRoot.lastColumn[row / times]) << "period " << period;
            }
            EXPECT_EQ(result.primaryIndex / times, ofRoot.primaryIndex);
        }
    }
}

TEST(BlockSort, BudgetEndsTheSortOfRepetitiveBlocksOnly) {
    Transform transform;
    for (const std::size_t size : std::to_array<std::size_t>({99899, 99900, 200000})) {
        const Bytes repetitive = repeated(Bytes{'a', 'b', 'c'}, size);
        const Result given = transform(repetitive, 0);
        EXPECT_EQ(given.status, StatusSortBudgetExceeded);
        EXPECT_EQ(given.primaryIndex, std::numeric_limits<uint32_t>::max());
        EXPECT_EQ(transform(repetitive, 3).status, StatusOk);
        EXPECT_EQ(transform(repetitive, kOwnChoice).status, StatusOk);
        for (const char* const ordinary : {"text", "random"}) {
            expectInverseLeadsBack(transform, sampleKind(ordinary).make(size, 4), {0});
        }
    }
}

TEST(BlockSort, UnknownStrategiesDoNothingWithLongBlocks) {
    Transform transform;
    for (const uint32_t strategy : {4U, 7U, std::numeric_limits<uint32_t>::max()}) {
        for (const uint32_t size : {99U, 100U}) {
            const Bytes block = sampleKind("random").make(size, 5);
            Bytes target(size, 0xA5);
            GuardedBuffer scratch(18 * size + 80);
            int32_t index = -1;
            EXPECT_EQ(ozrsBWTFwd_SelectSort_8u(block.data(), target.data(), size, &index, scratch.data(), strategy),
                      StatusOk);
            if (size < 100) {
                EXPECT_EQ(target, transformPlainly(block).lastColumn);
            } else {
                EXPECT_EQ(target, Bytes(size, 0xA5));
                EXPECT_EQ(index, -1);
            }
        }
    }
}

// The entries of blocks beyond 2^24 bytes, on short ones: they must give what the others do.
TEST(BlockSort, EntriesOfLongBlocks) {
    using namespace ozrdc::bz2;
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes block = kind.make(3000, 6);
        Bytes doubled = block;
        doubled.insert(doubled.end(), block.begin(), block.end());
        doubled.resize(doubled.size() + DoubledBlock::kPadding);
        std::optional<uint32_t> index;
        Bytes column;
        const auto run = [&](auto induceRows) {
            std::vector<uint32_t> places(4500);
            std::vector<PairTable> tables(2);
            RotationCounts counts{.ascending = &tables[0], .turns = &tables[1]};
            std::vector<uint32_t> scratch(1500);
            const DoubledBlock source{doubled.data(), 3000};
            const uint32_t m = findTurns(source, places.data(), counts);
            if (m == 0) return;
            ASSERT_TRUE(sortTurns(source, {places.data(), scratch.data()}, m, counts, SortEffort::kBounded));
            Bytes target(3000);
            const uint32_t row = induceRows(block.data(), 3000U, places.data(), m, counts, target.data());
            if (index.has_value()) {
                EXPECT_EQ(target, column);
                EXPECT_EQ(row, *index);
            }
            index = row;
            column = target;
        };
        run(induce<PackedEntry>);
        run(induce<WideEntry>);
    }
}

TEST(BlockSort, BlocksAroundTheReachOfPackedEntries) {
    Bytes block(std::size_t{1} << 24, 'b');
    for (const std::size_t at : std::to_array<std::size_t>({0, 1, 5000000, 16777214})) block[at] = 'a';
    Transform transform;
    expectInverseLeadsBack(transform, View(block).first(block.size() - 1), {1});
    expectInverseLeadsBack(transform, block, {1});
}

TEST(BlockSortArguments, SizesAreThoseOfTheFormulas) {
    for (const int32_t len : {1, 99, 100, 43700, 43701, 900000, 100000000}) {
        const int32_t turns = 6 * len + 524484;
        const int32_t doubling = 18 * len + 80;
        int32_t size = 0;
        EXPECT_EQ(ozrsBWTFwdGetSize_8u(len, &size), StatusOk);
        EXPECT_EQ(size, std::max(turns, doubling));
        const auto length = static_cast<uint32_t>(len);
        for (const uint32_t strategy : {0U, 1U}) {
            EXPECT_EQ(ozrsBWTFwdGetBufSize_SelectSort_8u(length, &size, strategy), StatusOk);
            EXPECT_EQ(size, turns);
        }
        EXPECT_EQ(ozrsBWTFwdGetBufSize_SelectSort_8u(length, &size, 2), StatusOk);
        EXPECT_EQ(size, doubling);
        EXPECT_EQ(ozrsBWTFwdGetBufSize_SelectSort_8u(length, &size, 3), StatusOk);
        EXPECT_EQ(size, std::max(turns, doubling));
    }
    int32_t size = 0;
    EXPECT_EQ(ozrsBWTFwdGetSize_8u(200000000, &size), StatusOk);
    EXPECT_EQ(size, 1200524484) << "the other formula leaves 32 bits";
}

TEST(BlockSortArguments, SizeQueriesRefuseWrongArgumentsAndLeaveTheSizeAlone) {
    int32_t size = 4711;
    EXPECT_EQ(ozrsBWTFwdGetSize_8u(0, nullptr), StatusNullPointer);
    for (const int32_t len : {0, -1, std::numeric_limits<int32_t>::min()}) {
        EXPECT_EQ(ozrsBWTFwdGetSize_8u(len, &size), StatusSizeError);
    }
    EXPECT_EQ(ozrsBWTFwdGetBufSize_SelectSort_8u(0, nullptr, 7), StatusNullPointer);
    EXPECT_EQ(ozrsBWTFwdGetBufSize_SelectSort_8u(0, &size, 7), StatusSizeError);
    EXPECT_EQ(ozrsBWTFwdGetBufSize_SelectSort_8u(100, &size, 4), StatusOk);
    EXPECT_EQ(ozrsBWTFwdGetBufSize_SelectSort_8u(100, &size, 7), StatusOk);
    EXPECT_EQ(size, 4711);
}

TEST(BlockSortArguments, NullPointersAreRefusedBeforeLengths) {
    Bytes bytes(10);
    Bytes scratch(600000);
    int32_t index = -1;
    for (const int32_t len : {0, 5}) {
        const auto length = static_cast<uint32_t>(len);
        for (int missing = 0; missing < 4; ++missing) {
            const uint8_t* const source = missing == 0 ? nullptr : bytes.data();
            uint8_t* const target = missing == 1 ? nullptr : bytes.data() + 5;
            int32_t* const row = missing == 2 ? nullptr : &index;
            uint8_t* const buffer = missing == 3 ? nullptr : scratch.data();
            EXPECT_EQ(ozrsBWTFwd_8u(source, target, len, row, buffer), StatusNullPointer);
            for (const uint32_t strategy : {0U, 3U, 9U}) {
                EXPECT_EQ(ozrsBWTFwd_SelectSort_8u(source, target, length, row, buffer, strategy), StatusNullPointer);
            }
        }
    }
    EXPECT_EQ(bytes, Bytes(10));
    EXPECT_EQ(index, -1);
}

TEST(BlockSortArguments, LengthsOutsideTheirRangeAreRefused) {
    constexpr int32_t kLongest = 357826527;
    Bytes bytes(10);
    Bytes scratch(600000);
    int32_t index = -1;
    for (const int32_t len : {0, -1, std::numeric_limits<int32_t>::min(), kLongest + 1}) {
        EXPECT_EQ(ozrsBWTFwd_8u(bytes.data(), bytes.data() + 5, len, &index, scratch.data()), StatusSizeError);
    }
    const auto select = [&](uint32_t len, uint32_t strategy) {
        return ozrsBWTFwd_SelectSort_8u(bytes.data(), bytes.data() + 5, len, &index, scratch.data(), strategy);
    };
    for (const uint32_t strategy : {0U, 1U, 2U, 3U, 9U}) EXPECT_EQ(select(0, strategy), StatusSizeError);
    for (const uint32_t strategy : {0U, 1U, 3U}) EXPECT_EQ(select(kLongest + 1, strategy), StatusSizeError);
    EXPECT_EQ(select(119304643, 2), StatusSizeError);
    EXPECT_EQ(select(std::numeric_limits<uint32_t>::max(), 2), StatusSizeError);
    EXPECT_EQ(bytes, Bytes(10));
    EXPECT_EQ(index, -1);
}

}  // namespace
}  // namespace ozrdc::test::bz2
