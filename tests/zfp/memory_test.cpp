// Strides of any sign and size, and no access outside the floats of a block. (Every other test of this family runs in
// guarded buffers too; these are the cases of their own.)
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "zfp/checked_codec.h"

namespace ozrdc::test::zfp {
namespace {

struct Strides {
    int32_t row;
    int32_t plane;
};

// Where the block's first float stands so that all 64 lie inside, and how many bytes they span.
struct Placement {
    std::ptrdiff_t first = 0;
    std::size_t size = 0;

    explicit Placement(const Strides& s) {
        const std::ptrdiff_t row = 3 * std::ptrdiff_t{s.row};
        const std::ptrdiff_t plane = 3 * std::ptrdiff_t{s.plane};
        first = -(std::min<std::ptrdiff_t>(row, 0) + std::min<std::ptrdiff_t>(plane, 0));
        size = static_cast<std::size_t>(std::abs(row) + std::abs(plane)) + 16;
    }
};

std::ptrdiff_t offsetOf(std::size_t index, const Strides& s) {
    return static_cast<std::ptrdiff_t>(index % 4 * 4) + static_cast<std::ptrdiff_t>(index / 4 % 4) * s.row +
           static_cast<std::ptrdiff_t>(index / 16) * s.plane;
}

constexpr Strides kStrides[] = {
    {16, 64},     {64, 16}, {-16, 64},  {16, -64}, {-64, -16},     {400, 6400},   {-400, 40},
    {6400, -400}, {17, 69}, {-19, 131}, {18, -75}, {100, 1 << 20}, {1 << 20, 16}, {-(1 << 20), -(1 << 22)}};

TEST(ZfpMemory, TheEncoderReadsTheFloatsOfTheBlockAlone) {
    const std::vector<Values> blocks = sampleBlocks(4, 21);
    for (const Strides& strides : kStrides) {
        SCOPED_TRACE(std::to_string(strides.row) + ", " + std::to_string(strides.plane));
        const Placement placement(strides);
        for (const Guard guard : {Guard::After, Guard::Before}) {
            GuardedBuffer source(placement.size, guard);
            for (const Values& block : blocks) {
                for (std::size_t i = 0; i < block.size(); ++i) {
                    std::memcpy(source.data() + placement.first + offsetOf(i, strides), &block[i], sizeof(float));
                }
                CheckedEncoder usual(400);
                ASSERT_EQ(usual.encode(block), StatusOk);
                Bytes stream(400);
                GuardedBuffer state(kStateSize);
                auto* const s = reinterpret_cast<ZfpState*>(state.data());
                ASSERT_EQ(ozrsEncodeZfpInit_32f(stream.data(), 400, s), StatusOk);
                const void* const first = source.data() + placement.first;
                ASSERT_EQ(ozrsEncodeZfp444_32f(static_cast<const float*>(first), strides.row, strides.plane, s),
                          StatusOk);
                ASSERT_EQ(usual.flush(), StatusOk);
                ASSERT_EQ(ozrsEncodeZfpFlush_32f(s), StatusOk);
                stream.resize(usual.stream().size());
                ASSERT_EQ(stream, usual.stream());
            }
        }
    }
}

TEST(ZfpMemory, TheDecoderWritesTheFloatsOfTheBlockAlone) {
    const std::vector<Values> blocks = sampleBlocks(4, 22);
    for (const Strides& strides : kStrides) {
        SCOPED_TRACE(std::to_string(strides.row) + ", " + std::to_string(strides.plane));
        const Placement placement(strides);
        for (const Guard guard : {Guard::After, Guard::Before}) {
            GuardedBuffer target(placement.size, guard);
            for (const Values& block : blocks) {
                CheckedEncoder encoder(400);
                ASSERT_EQ(encoder.encode(block), StatusOk);
                ASSERT_EQ(encoder.flush(), StatusOk);
                CheckedDecoder usual(encoder.stream());
                Values expected;
                ASSERT_EQ(usual.decode(expected), StatusOk);

                Bytes picture(target.begin(), target.end());
                for (std::size_t i = 0; i < block.size(); ++i) {
                    std::memcpy(picture.data() + placement.first + offsetOf(i, strides), &expected[i], sizeof(float));
                }
                const Bytes stream = encoder.stream();
                GuardedBuffer state(kStateSize);
                auto* const s = reinterpret_cast<ZfpState*>(state.data());
                ASSERT_EQ(ozrsDecodeZfpInit_32f(stream.data(), static_cast<int32_t>(stream.size()), s), StatusOk);
                void* const first = target.data() + placement.first;
                ASSERT_EQ(ozrsDecodeZfp444_32f(s, static_cast<float*>(first), strides.row, strides.plane), StatusOk);
                ASSERT_TRUE(std::ranges::equal(picture, target.span()));
            }
        }
    }
}

TEST(ZfpMemory, AnyAddressWillDoForAStream) {
    const std::vector<Values> blocks = sampleBlocks(10, 23);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        // The stream's buffer ends at the guard, so that its beginning depends on its size.
        CheckedEncoder encoder(4000 + shift);
        for (const Values& block : blocks) ASSERT_EQ(encoder.encode(block), StatusOk);
        ASSERT_EQ(encoder.flush(), StatusOk);
        Bytes stream = encoder.stream();
        stream.insert(stream.end(), shift, 0);
        CheckedDecoder decoder(stream);
        Values block;
        for (std::size_t i = 0; i < blocks.size(); ++i) ASSERT_EQ(decoder.decode(block), StatusOk);
    }
}

}  // namespace
}  // namespace ozrdc::test::zfp
