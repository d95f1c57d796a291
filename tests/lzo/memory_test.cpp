// No reliance on the alignment of buffers. (Every other test of this family runs in guarded buffers of exact sizes.)
#include <gtest/gtest.h>

#include <algorithm>

#include "lzo/checked_calls.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzo {
namespace {

TEST(LzoMemory, StateMayStandAtAnyAddress) {
    const Bytes source = sampleKind("mixed").make(60000, 97);
    for (const uint32_t mode : {kStandardMode, kContainerMode, kFastMode}) {
        const uint32_t parts = mode == kContainerMode ? 3 : 0;
        const Bytes expected = encode(mode, source, parts);
        for (const std::size_t shift : {1U, 2U, 3U, 5U, 8U, 13U}) {
            Bytes memory(shift + kStateSize + 1, 0xC3);
            const std::span<uint8_t> state = std::span(memory).subspan(shift, kStateSize);
            prepareState(state, mode, parts);
            Bytes stream(expected.size() + 100000);
            auto written = static_cast<uint32_t>(stream.size());
            ASSERT_EQ(ozrsEncodeLZO_8u(source.data(), 60000, stream.data(), &written,
                                       reinterpret_cast<LZOState*>(state.data())),
                      StatusOk);
            stream.resize(written);
            EXPECT_EQ(stream, expected);
            EXPECT_TRUE(std::all_of(memory.begin(), memory.begin() + static_cast<std::ptrdiff_t>(shift),
                                    [](uint8_t b) { return b == 0xC3; }));
            EXPECT_EQ(memory.back(), 0xC3);
        }
    }
}

TEST(LzoMemory, BuffersMayStandAtAnyAddress) {
    const Bytes sample = sampleKind("text").make(3000, 98);
    for (const uint32_t mode : {kStandardMode, kFastMode}) {
        const Bytes stream = encode(mode, sample);
        for (std::size_t shift = 0; shift < 32; ++shift) {
            Bytes source(shift + sample.size());
            std::copy(sample.begin(), sample.end(), source.begin() + static_cast<std::ptrdiff_t>(shift));
            Bytes state(kStateSize);
            prepareState(state, mode);
            Bytes target(4000);
            const std::span<uint8_t> out = std::span(target).subspan(31 - shift);
            auto written = static_cast<uint32_t>(out.size());
            ASSERT_EQ(ozrsEncodeLZO_8u(source.data() + shift, 3000, out.data(), &written,
                                       reinterpret_cast<LZOState*>(state.data())),
                      StatusOk);
            ASSERT_TRUE(std::equal(stream.begin(), stream.end(), out.begin(), out.begin() + written));

            Bytes decoded(3000 + shift);
            uint32_t size = 3000;
            ASSERT_EQ(callDecoder(Entry::Trusting, out.first(written), std::span(decoded).subspan(shift), &size),
                      StatusOk);
            ASSERT_TRUE(std::equal(sample.begin(), sample.end(), decoded.begin() + static_cast<std::ptrdiff_t>(shift)));
        }
    }
}

// Capacities that only the number can express: the decoder touches no more than its margins behind the output.
TEST(LzoMemory, CapacityNearTheLargestIntegerDoesNotOverflow) {
    const Bytes sample = sampleKind("text").make(300, 99);
    const Bytes stream = encode(kStandardMode, sample);
    for (const Entry entry : {Entry::Safe, Entry::Trusting}) {
        for (const uint32_t capacity : {0xFFFFFFFFU, 0xFFFFFFFEU, 0x80000000U, 0x7FFFFFFFU}) {
            Bytes output(2000);
            uint32_t written = capacity;
            ASSERT_EQ(callDecoder(entry, stream, output, &written), StatusOk);
            EXPECT_EQ(written, 300U);
            EXPECT_TRUE(std::equal(sample.begin(), sample.end(), output.begin()));
        }
    }
}

TEST(LzoMemory, DecodersLeaveTheSourceAlone) {
    const Bytes stream = encode(kStandardMode, sampleKind("runs").make(5000, 100));
    for (const Entry entry : {Entry::Safe, Entry::Trusting}) {
        const Bytes source = stream;
        Bytes output(5000);
        uint32_t written = 5000;
        EXPECT_EQ(callDecoder(entry, source, output, &written), StatusOk);
        EXPECT_EQ(source, stream);
    }
}

}  // namespace
}  // namespace ozrdc::test::lzo
