// The inverse transform: of what the forward transform gives, and of any other bytes and rows.
#include <gtest/gtest.h>

#include <array>
#include <limits>

#include "bz2/inverse.h"
#include "bz2/reference_transform.h"
#include "support/guarded_buffer.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::bz2 {
namespace {

using View = std::span<const uint8_t>;

// From this length on two bytes are decoded a step.
constexpr std::size_t kPaired = 262144;

// Calls with buffers of the exact sizes between inaccessible pages.
class Inverse {
  public:
    explicit Inverse(Guard guard = Guard::After) : source_(guard), target_(guard), scratch_(guard) {}

    Bytes operator()(View lastColumn, int32_t index) {
        const auto len = static_cast<int32_t>(lastColumn.size());
        int32_t size = 0;
        EXPECT_EQ(ozrsBWTInvGetSize_8u(len, &size), StatusOk);
        const View source = source_.take(lastColumn);
        const std::span<uint8_t> target = target_.take(lastColumn.size());
        EXPECT_EQ(ozrsBWTInv_8u(source.data(), target.data(), len, index,
                                scratch_.take(static_cast<std::size_t>(size)).data()),
                  StatusOk);
        return Bytes(target.begin(), target.end());
    }

  private:
    GuardedArena source_;
    GuardedArena target_;
    GuardedArena scratch_;
};

struct Forward {
    Bytes lastColumn;
    int32_t index;
};

Forward forward(View block) {
    const auto len = static_cast<int32_t>(block.size());
    int32_t size = 0;
    EXPECT_EQ(ozrsBWTFwdGetSize_8u(len, &size), StatusOk);
    Bytes scratch(static_cast<std::size_t>(size));
    Forward result{Bytes(block.size()), -1};
    EXPECT_EQ(ozrsBWTFwd_8u(block.data(), result.lastColumn.data(), len, &result.index, scratch.data()), StatusOk);
    return result;
}

TEST(BlockInverse, RestoresBlocksOfEveryLength) {
    Inverse after(Guard::After);
    Inverse before(Guard::Before);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(700, 1);
        for (std::size_t size = 1; size <= sample.size(); size += 1 + size / 20) {
            const View block = View(sample).first(size);
            const Forward f = forward(block);
            ASSERT_EQ(after(f.lastColumn, f.index), Bytes(block.begin(), block.end()));
            ASSERT_EQ(before(f.lastColumn, f.index), Bytes(block.begin(), block.end()));
        }
    }
}

TEST(BlockInverse, RestoresLongBlocks) {
    Inverse inverse;
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes sample = kind.make(kPaired + 100001, 2);
        for (const std::size_t size : {kPaired - 1, kPaired, kPaired + 1, sample.size()}) {
            const View block = View(sample).first(size);
            const Forward f = forward(block);
            ASSERT_EQ(inverse(f.lastColumn, f.index), Bytes(block.begin(), block.end())) << size;
        }
    }
}

TEST(BlockInverse, RestoresRealFiles) {
    Inverse inverse;
    for (const CorpusFile& file : corpusFiles(900000)) {
        SCOPED_TRACE(file.name);
        const Forward f = forward(file.bytes);
        ASSERT_EQ(inverse(f.lastColumn, f.index), file.bytes);
    }
}

TEST(BlockInverse, AnyBytesFromAnyRowGiveWhatTheDefinitionSays) {
    Random random(811);
    Inverse inverse;
    for (int round = 0; round < 400; ++round) {
        const std::size_t size = round < 4 ? kPaired + random.below(1000) : 1 + random.below(2000);
        const auto kinds = sampleKinds();
        const Bytes column = kinds[random.below(kinds.size())].make(size, static_cast<uint64_t>(round));
        const auto index = static_cast<uint32_t>(random.below(size));
        ASSERT_EQ(inverse(column, static_cast<int32_t>(index)), invertPlainly(column, index)) << size << ", " << index;
    }
}

// The links of blocks beyond 2^24 bytes, on short ones.
TEST(BlockInverse, LinksOfLongBlocks) {
    for (const SampleKind& kind : sampleKinds()) {
        const Bytes column = kind.make(3001, 3);
        Bytes block(column.size());
        GuardedBuffer links(4 * column.size());
        ozrdc::bz2::invertWide(column.data(), 3001, 1234, block.data(), links.data());
        EXPECT_EQ(block, invertPlainly(column, 1234)) << kind.name;
    }
}

TEST(BlockInverse, BlocksAroundTheReachOfPackedRows) {
    Bytes column(std::size_t{1} << 24, 'b');
    for (const std::size_t at : std::to_array<std::size_t>({0, 1, 5000000, 16777214})) column[at] = 'a';
    Inverse inverse;
    for (const std::size_t size : {column.size() - 1, column.size()}) {
        const View part = View(column).first(size);
        EXPECT_EQ(inverse(part, 12345678), invertPlainly(part, 12345678)) << size;
    }
}

TEST(BlockInverse, NegativeRowsDoNoHarm) {
    Inverse inverse;
    for (const int32_t index : {-1, -2, -1000000, std::numeric_limits<int32_t>::min()}) {
        EXPECT_EQ(inverse(Bytes(100, 'x'), index), Bytes(100));
    }
}

TEST(BlockInverseArguments, SizeIsFourBytesForEachAndACounterForEveryValue) {
    int32_t size = 4711;
    EXPECT_EQ(ozrsBWTInvGetSize_8u(0, nullptr), StatusNullPointer);
    for (const int32_t len : {0, -1, std::numeric_limits<int32_t>::min()}) {
        EXPECT_EQ(ozrsBWTInvGetSize_8u(len, &size), StatusSizeError);
    }
    EXPECT_EQ(size, 4711);
    for (const int32_t len : {1, 900000, 536870655}) {
        EXPECT_EQ(ozrsBWTInvGetSize_8u(len, &size), StatusOk);
        EXPECT_EQ(size, 4 * len + 1024);
    }
}

TEST(BlockInverseArguments, NullPointersThenLengthThenRow) {
    Bytes bytes(10);
    Bytes scratch(2000);
    for (const int32_t len : {0, 5}) {
        EXPECT_EQ(ozrsBWTInv_8u(nullptr, bytes.data(), len, 7, scratch.data()), StatusNullPointer);
        EXPECT_EQ(ozrsBWTInv_8u(bytes.data(), nullptr, len, 7, scratch.data()), StatusNullPointer);
        EXPECT_EQ(ozrsBWTInv_8u(bytes.data(), bytes.data() + 5, len, 7, nullptr), StatusNullPointer);
    }
    const auto invert = [&](int32_t len, int32_t index) {
        return ozrsBWTInv_8u(bytes.data(), bytes.data() + 5, len, index, scratch.data());
    };
    EXPECT_EQ(invert(0, -1), StatusSizeError);
    EXPECT_EQ(invert(-1, -2), StatusSizeError);
    EXPECT_EQ(invert(std::numeric_limits<int32_t>::min(), 0), StatusSizeError);
    EXPECT_EQ(invert(5, 5), StatusSizeError);
    EXPECT_EQ(invert(5, std::numeric_limits<int32_t>::max()), StatusSizeError);
    EXPECT_EQ(bytes, Bytes(10));
}

}  // namespace
}  // namespace ozrdc::test::bz2
