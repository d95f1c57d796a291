// No access outside the buffers that the caller gave, and no reliance on their alignment or on what a table held
// before. (Every other test of this family runs in guarded buffers too; these are the cases of their own.)
#include <gtest/gtest.h>

#include <algorithm>

#include "lz4/checked_calls.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lz4 {
namespace {

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }

TEST(Lz4Memory, EncodersStayInsideBuffersGuardedInFront) {
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        for (const std::size_t size : {1U, 29U, 30U, 100U, 4000U, 70000U}) {
            const Bytes sample = kind.make(size, 51);
            const GuardedBuffer source(sample, Guard::Before);
            GuardedBuffer target(static_cast<std::size_t>(worstCase(std::ssize(sample))), Guard::Before);
            GuardedBuffer table(kHashTableSize, Guard::Before);
            int32_t written = 0;
            ASSERT_EQ(ozrsEncodeLZ4_8u(source.data(), narrow(size), target.data(), &written, table.data()), StatusOk);
            ASSERT_EQ(ozrsEncodeLZ4Fast_8u(source.data(), narrow(size), target.data(), &written, table.data(), 4),
                      StatusOk);
            int32_t consumed = narrow(size);
            written = narrow(target.size());
            ASSERT_EQ(ozrsEncodeLZ4Safe_8u(source.data(), &consumed, target.data(), &written, table.data()), StatusOk);
            ASSERT_TRUE(target.slackIntact());
            ASSERT_TRUE(table.slackIntact());
        }
    }
}

TEST(Lz4Memory, TableMayStandAtAnOddAddressAndHoldAnything) {
    for (const std::size_t size : {50U, 4000U, 65535U, 65536U, 100000U}) {
        const Bytes source = sampleKind("mixed").make(size, 52);
        Bytes target(static_cast<std::size_t>(worstCase(std::ssize(source))));
        for (const std::size_t shift : {1U, 2U, 3U, 5U, 7U, 13U}) {
            GuardedBuffer memory(shift + kHashTableSize + 1, Guard::After, shift);  // random contents
            uint8_t* const table = memory.data() + shift;
            const Bytes front(memory.data(), table);
            const uint8_t behind = memory[memory.size() - 1];
            for (const int32_t acceleration : {1, 3}) {
                int32_t written = 0;
                ASSERT_EQ(
                    ozrsEncodeLZ4Fast_8u(source.data(), narrow(size), target.data(), &written, table, acceleration),
                    StatusOk);
                EXPECT_EQ(Bytes(target.begin(), target.begin() + written), encodeAccelerated(source, acceleration));
            }
            int32_t consumed = narrow(size);
            auto written = narrow(target.size());
            ASSERT_EQ(ozrsEncodeLZ4Safe_8u(source.data(), &consumed, target.data(), &written, table), StatusOk);
            EXPECT_EQ(Bytes(target.begin(), target.begin() + written), encode(source));
            EXPECT_TRUE(std::equal(front.begin(), front.end(), memory.data()));
            EXPECT_EQ(memory[memory.size() - 1], behind);
        }
    }
}

TEST(Lz4Memory, BuffersMayStandAtAnyAddress) {
    const Bytes sample = sampleKind("text").make(3000, 53);
    const Bytes block = encodePlain(sample);
    for (std::size_t shift = 0; shift < 32; ++shift) {
        Bytes source(shift + sample.size());
        std::copy(sample.begin(), sample.end(), source.begin() + static_cast<std::ptrdiff_t>(shift));
        Bytes target(4000);
        Bytes table(kHashTableSize);
        int32_t written = 0;
        uint8_t* const out = target.data() + (31 - shift);
        ASSERT_EQ(ozrsEncodeLZ4_8u(source.data() + shift, 3000, out, &written, table.data()), StatusOk);
        ASSERT_EQ(Bytes(out, out + written), block);

        Bytes decoded(3000 + shift);
        int32_t size = 3000;
        ASSERT_EQ(ozrsDecodeLZ4_8u(out, written, decoded.data() + shift, &size), StatusOk);
        ASSERT_TRUE(std::equal(sample.begin(), sample.end(), decoded.begin() + static_cast<std::ptrdiff_t>(shift)));
    }
}

TEST(Lz4Memory, DecoderLeavesSourceAndDictionaryAlone) {
    DecoderCheck decoder;  // watches the dictionary
    const Bytes block = encodePlain(sampleKind("runs").make(5000, 54));
    const Bytes dictionary = sampleKind("runs").make(500, 55);
    EXPECT_TRUE(decoder.agreesInAllModes(block, 5000, dictionary));

    Bytes source = block;
    Bytes output(5000);
    int32_t written = 5000;
    EXPECT_EQ(ozrsDecodeLZ4_8u(source.data(), narrow(source.size()), output.data(), &written), StatusOk);
    EXPECT_EQ(source, block);
}

// The largest lengths that the interface can express: nothing but the counts may be large, the memory is not touched.
TEST(Lz4Memory, CapacityNearTheLargestIntegerDoesNotOverflow) {
    const Bytes sample = sampleKind("text").make(300, 56);
    const Bytes block = encodePlain(sample);
    const GuardedBuffer source(block, Guard::After);
    Bytes output(2000);
    for (const int32_t capacity : {2147483647, 2147483640, 2147483584}) {
        // The decoder may write up to its margin behind the output, which this buffer has.
        int32_t written = capacity;
        ASSERT_EQ(ozrsDecodeLZ4_8u(source.data(), narrow(block.size()), output.data(), &written), StatusOk);
        EXPECT_EQ(written, 300);
        EXPECT_TRUE(std::equal(sample.begin(), sample.end(), output.begin()));
    }
}

}  // namespace
}  // namespace ozrdc::test::lz4
