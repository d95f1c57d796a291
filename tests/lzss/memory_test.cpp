// No reliance on the addresses of the buffers, and no access in front of them. (Every other test of this family has
// guards behind the buffers.)
#include <gtest/gtest.h>

#include <algorithm>

#include "lzss/checked_streams.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::lzss {
namespace {

TEST(LzssMemory, BuffersMayBeginAtAGuard) {
    Random random(1);
    for (const SampleKind& kind : sampleKinds()) {
        SCOPED_TRACE(kind.name);
        const Bytes plain = kind.make(120000, 1);
        CheckedEncoder encoder(Guard::Before);
        Bytes stream;
        for (ByteView rest = plain; !rest.empty();) {
            const std::size_t size = std::min<std::size_t>(rest.size(), 1 + random.below(50000));
            const Result call = encoder.encode(rest.first(size), 1 + random.below(30000));
            ASSERT_FALSE(HasFailure());
            stream.insert(stream.end(), call.written.begin(), call.written.end());
            rest = rest.subspan(call.consumed);
        }
        const Result last = encoder.flush(3);
        stream.insert(stream.end(), last.written.begin(), last.written.end());

        CheckedDecoder decoder(0, Guard::Before);
        Bytes back;
        ByteView rest = stream;
        for (Status status = StatusDestinationFull; !rest.empty() || status == StatusDestinationFull;) {
            const std::size_t size = std::min<std::size_t>(rest.size(), 1 + random.below(30000));
            const Result call = decoder.decode(rest.first(size), 1 + random.below(50000));
            ASSERT_FALSE(HasFailure());
            back.insert(back.end(), call.written.begin(), call.written.end());
            rest = rest.subspan(call.consumed);
            status = call.status;
        }
        ASSERT_TRUE(back == plain);
    }
}

TEST(LzssMemory, BuffersMayStandAtAnyAddress) {
    const Bytes sample = sampleKind("mixed").make(5000, 2);
    const Bytes expected = modelStream(sample);
    StateMemory state;
    for (std::size_t shift = 0; shift < 32; ++shift) {
        Bytes source(shift);
        source.insert(source.end(), sample.begin(), sample.end());
        Bytes target(2 * sample.size());
        ASSERT_EQ(ozrsEncodeLZSSInit_8u(state.get()), StatusOk);
        const uint8_t* from = source.data() + shift;
        auto left = static_cast<int32_t>(sample.size());
        uint8_t* const begin = target.data() + (31 - shift);
        uint8_t* to = begin;
        auto room = static_cast<int32_t>(target.size() - 31);
        ASSERT_EQ(ozrsEncodeLZSS_8u(&from, &left, &to, &room, state.get()), StatusOk);
        ASSERT_EQ(ozrsEncodeLZSSFlush_8u(&to, &room, state.get()), StatusOk);
        ASSERT_TRUE(Bytes(begin, to) == expected);

        Bytes back(shift + sample.size());
        ASSERT_EQ(ozrsDecodeLZSSInit_8u(state.get()), StatusOk);
        from = begin;
        left = static_cast<int32_t>(to - begin);
        to = back.data() + shift;
        room = static_cast<int32_t>(sample.size());
        ASSERT_EQ(ozrsDecodeLZSS_8u(&from, &left, &to, &room, state.get()), StatusDestinationFull);
        ASSERT_TRUE(std::equal(sample.begin(), sample.end(), back.begin() + static_cast<std::ptrdiff_t>(shift)));
    }
}

}  // namespace
}  // namespace ozrdc::test::lzss
