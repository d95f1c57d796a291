// The first run-length code, against the plain model: whole blocks, blocks in pieces, destinations of every size.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "bz2/reference_stages.h"
#include "bz2/run_samples.h"
#include "support/guarded_buffer.h"
#include "support/random.h"
#include "support/sample_data.h"

namespace ozrdc::test::bz2 {
namespace {

constexpr std::size_t kStateSize = 264;

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }
std::size_t wide(int32_t n) { return static_cast<std::size_t>(n); }

class StateMemory {
  public:
    RLEState* get() { return reinterpret_cast<RLEState*>(buffer_.data()); }
    uint8_t* bytes() { return buffer_.data(); }

  private:
    GuardedBuffer buffer_{kStateSize};
};

struct Call {
    Bytes written;
    std::size_t consumed;
    Status status;
};

class Encoder {
  public:
    Encoder() { EXPECT_EQ(ozrsEncodeRLEInit_BZ2_8u(state_.get()), StatusOk); }

    Call encode(std::span<const uint8_t> source, std::size_t capacity) {
        const std::span<const uint8_t> guardedSource = source_.take(source);
        const std::span<uint8_t> target = target_.take(capacity);
        const uint8_t* at = guardedSource.data();
        int32_t left = narrow(source.size());
        int32_t length = narrow(capacity);
        const Status status = ozrsEncodeRLE_BZ2_8u(&at, &left, target.data(), &length, state_.get());
        const auto consumed = static_cast<std::size_t>(at - guardedSource.data());
        EXPECT_EQ(consumed + wide(left), source.size());
        return {Bytes(target.data(), target.data() + length), consumed, status};
    }
    Bytes flush() {
        GuardedBuffer target(1);
        int32_t length = 1;
        EXPECT_EQ(ozrsEncodeRLEFlush_BZ2_8u(target.data(), &length, state_.get()), StatusOk);
        return Bytes(target.data(), target.data() + length);
    }
    Bytes inUse() {
        GuardedBuffer table(256);
        EXPECT_EQ(ozrsRLEGetInUseTable_8u(table.data(), state_.get()), StatusOk);
        return Bytes(table.begin(), table.end());
    }

  private:
    StateMemory state_;
    GuardedArena source_{Guard::After};
    GuardedArena target_{Guard::After};
};

class Decoder {
  public:
    Decoder() { EXPECT_EQ(ozrsDecodeRLEStateInit_BZ2_8u(state_.get()), StatusOk); }

    Call decode(std::span<const uint8_t> source, std::size_t capacity) {
        const std::span<const uint8_t> guardedSource = source_.take(source);
        const std::span<uint8_t> target = target_.take(capacity);
        const uint8_t* at = guardedSource.data();
        int32_t left = narrow(source.size());
        uint8_t* to = target.data();
        int32_t room = narrow(capacity);
        const Status status = ozrsDecodeRLEState_BZ2_8u(&at, &left, &to, &room, state_.get());
        const auto consumed = static_cast<std::size_t>(at - guardedSource.data());
        EXPECT_EQ(consumed + wide(left), source.size());
        EXPECT_EQ(static_cast<std::size_t>(to - target.data()) + wide(room), capacity);
        return {Bytes(target.data(), to), consumed, status};
    }
    Call flush(std::size_t capacity) {
        const std::span<uint8_t> target = target_.take(capacity);
        uint8_t* to = target.data();
        int32_t room = narrow(capacity);
        const Status status = ozrsDecodeRLEStateFlush_BZ2_8u(state_.get(), &to, &room);
        EXPECT_EQ(static_cast<std::size_t>(to - target.data()) + wide(room), capacity);
        return {Bytes(target.data(), to), 0, status};
    }

  private:
    StateMemory state_;
    GuardedArena source_{Guard::After};
    GuardedArena target_{Guard::After};
};

// Encodes a block, with sources and destinations of sizes that `sourceSize()` and `capacity()` give, beside the model.
template <typename SourceSize, typename Capacity>
Bytes checkedEncoding(const Bytes& block, SourceSize sourceSize, Capacity capacity) {
    Encoder encoder;
    RunLengthEncoder model;
    Bytes code;
    std::span<const uint8_t> rest = block;
    while (!rest.empty()) {
        const auto piece = rest.first(std::min<std::size_t>(rest.size(), sourceSize()));
        const std::size_t room = capacity();
        std::span<const uint8_t> modelSource = piece;
        const Bytes expected = model.encode(modelSource, room);
        const Call call = encoder.encode(piece, room);
        EXPECT_EQ(call.written, expected);
        EXPECT_EQ(call.consumed, piece.size() - modelSource.size());
        EXPECT_EQ(call.status, modelSource.empty() ? StatusOk : StatusDestinationFull);
        if (::testing::Test::HasFailure()) return {};
        rest = rest.subspan(call.consumed);
        code.insert(code.end(), expected.begin(), expected.end());
    }
    const Bytes last = encoder.flush();
    EXPECT_EQ(last, model.flush());
    EXPECT_EQ(encoder.inUse(), Bytes(model.inUse.begin(), model.inUse.end()));
    code.insert(code.end(), last.begin(), last.end());
    return code;
}

Bytes encoded(const Bytes& block) {
    const auto everything = [&] { return 2 * block.size() + 16; };
    return checkedEncoding(block, everything, everything);
}

// Decodes code of a block into destinations of sizes that `capacity()` gives, beside the model.
template <typename Capacity>
Bytes checkedDecoding(const Bytes& code, Capacity capacity) {
    Decoder decoder;
    RunLengthDecoder model;
    Bytes block;
    std::span<const uint8_t> rest = code;
    while (!rest.empty()) {
        const std::size_t room = capacity();
        std::span<const uint8_t> modelSource = rest;
        Status expectedStatus = StatusOk;
        const Bytes expected = model.decode(modelSource, room, expectedStatus);
        const Call call = decoder.decode(rest, room);
        EXPECT_EQ(call.written, expected);
        EXPECT_EQ(call.consumed, rest.size() - modelSource.size());
        EXPECT_EQ(call.status, expectedStatus);
        if (::testing::Test::HasFailure()) return {};
        rest = modelSource;
        block.insert(block.end(), expected.begin(), expected.end());
    }
    for (;;) {
        const std::size_t room = capacity();
        const Call call = decoder.flush(room);
        block.insert(block.end(), call.written.begin(), call.written.end());
        if (call.status == StatusOk) return block;
        EXPECT_EQ(call.status, StatusDestinationFull);
        EXPECT_EQ(call.written.size(), room);
    }
}

std::vector<Bytes> blocks() {
    std::vector<Bytes> all;
    for (const SampleKind& kind : sampleKinds()) all.push_back(kind.make(5000, 8));
    for (const uint64_t usual : {2U, 4U, 6U, 12U, 40U, 300U}) {
        for (const uint64_t values : {1U, 2U, 3U, 256U}) all.push_back(runSample(5000, usual, values, usual + values));
    }
    return all;
}

TEST(RunLengths, ThreeHundredEqualBytesMakeTwoGroups) {
    const Bytes block(300, 0x61);
    Encoder encoder;
    EXPECT_EQ(encoder.encode(block, 1000).written, (Bytes{0x61, 0x61, 0x61, 0x61, 0xFF, 0x61, 0x61, 0x61, 0x61}));
    EXPECT_EQ(encoder.flush(), Bytes{37});
    EXPECT_EQ(encoder.flush(), Bytes{});
    const Bytes inUse = encoder.inUse();
    EXPECT_EQ(std::count(inUse.begin(), inUse.end(), 1), 3);
    EXPECT_EQ(inUse[0x61] + inUse[0xFF] + inUse[37], 3);
}

TEST(RunLengths, RunsAtTheEndOfABlock) {
    Encoder four;
    EXPECT_EQ(four.encode(Bytes(4, 7), 100).written, Bytes(4, 7));
    EXPECT_EQ(four.flush(), Bytes{0});
    Encoder three;
    EXPECT_EQ(three.encode(Bytes(3, 7), 100).written, Bytes(3, 7));
    EXPECT_EQ(three.flush(), Bytes{});
}

TEST(RunLengths, DestinationOfOneByteTakesOne) {
    Encoder encoder;
    const Call call = encoder.encode(Bytes{9, 8, 7}, 1);
    EXPECT_EQ(call.written, Bytes{9});
    EXPECT_EQ(call.consumed, 1U);
    EXPECT_EQ(call.status, StatusDestinationFull);
}

TEST(RunLengths, FifthByteOfARunWaitsForRoom) {
    Encoder encoder;
    const Call call = encoder.encode(Bytes(9, 5), 4);
    EXPECT_EQ(call.written, Bytes(4, 5));
    EXPECT_EQ(call.consumed, 4U);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(encoder.encode(Bytes(5, 5), 4).written, Bytes{});
    EXPECT_EQ(encoder.flush(), Bytes{5});
}

TEST(RunLengths, CopiesOfEarlierCallsCountInTheLongestRun) {
    Encoder encoder;
    EXPECT_EQ(encoder.encode(Bytes(259, 5), 100).written, Bytes(4, 5));
    EXPECT_EQ(encoder.encode(Bytes(1, 5), 100).written, (Bytes{255, 5}));
}

TEST(RunLengths, AFlushedRunIsNotContinuedButRemembered) {
    Encoder encoder;
    encoder.encode(Bytes(5, 5), 100);
    EXPECT_EQ(encoder.flush(), Bytes{1});
    EXPECT_EQ(encoder.encode(Bytes(3, 5), 100).written, Bytes(3, 5));
    EXPECT_EQ(encoder.flush(), Bytes{});
    EXPECT_EQ(encoder.encode(Bytes(2, 5), 100).written, Bytes(1, 5));
    EXPECT_EQ(encoder.flush(), Bytes{1});
}

TEST(RunLengths, EncoderMatchesTheModelOnWholeBlocksAndDecodesBack) {
    for (const Bytes& block : blocks()) {
        const Bytes code = encoded(block);
        EXPECT_EQ(checkedDecoding(code, [&] { return block.size() + 100; }), block);
        EXPECT_EQ(checkedDecoding(code, [&] { return block.size(); }), block);
        if (HasFailure()) return;
    }
}

TEST(RunLengths, EncoderMatchesTheModelInPieces) {
    Random random(81);
    for (const uint64_t most : {1U, 3U, 8U, 40U, 700U}) {
        for (const Bytes& block : blocks()) {
            const auto any = [&] { return static_cast<std::size_t>(1 + random.below(most)); };
            const Bytes code = checkedEncoding(block, any, any);
            EXPECT_EQ(checkedDecoding(code, any), block);
            if (HasFailure()) return;
        }
    }
}

TEST(RunLengths, BlocksOfEveryShortLength) {
    for (std::size_t size = 1; size < 70; ++size) {
        for (uint64_t seed = 0; seed < 20; ++seed) {
            const Bytes block = runSample(size, 3 + seed % 5, 2, 1000 * seed + size);
            const Bytes code = encoded(block);
            EXPECT_EQ(checkedDecoding(code, [&] { return size; }), block);
            if (HasFailure()) return;
        }
    }
}

TEST(RunLengths, DecoderMatchesTheModelOnAnyBytes) {
    Random random(82);
    for (const uint64_t most : {1U, 5U, 30U, 500U, 100000U}) {
        for (const Bytes& code : blocks()) {
            checkedDecoding(code, [&] { return static_cast<std::size_t>(1 + random.below(most)); });
            if (HasFailure()) return;
        }
    }
}

TEST(RunLengths, GroupsOfOneByteAreOneRun) {
    Decoder decoder;
    EXPECT_EQ(decoder.decode(Bytes{3, 3, 3, 3, 0}, 100).written, Bytes(4, 3));
    EXPECT_EQ(decoder.decode(Bytes{3, 3, 3, 3, 2, 3, 3, 3, 3, 0}, 100).written, Bytes(10, 3));
}

TEST(RunLengths, CopiesWithoutRoomAreOwed) {
    Decoder decoder;
    const Bytes code{3, 3, 3, 3, 2, 3, 3, 3, 3, 0, 9};
    Call call = decoder.decode(code, 7);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.written, Bytes(7, 3));
    EXPECT_EQ(call.consumed, 10U);
    call = decoder.decode(Bytes{9}, 2);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.written, Bytes(2, 3));
    EXPECT_EQ(call.consumed, 0U);
    call = decoder.flush(0);
    EXPECT_EQ(call.status, StatusDestinationFull);
    call = decoder.flush(1);
    EXPECT_EQ(call.status, StatusOk);
    EXPECT_EQ(call.written, Bytes{3});
    call = decoder.decode(Bytes{9}, 2);
    EXPECT_EQ(call.status, StatusOk);
    EXPECT_EQ(call.written, Bytes{9});
}

TEST(RunLengths, AFullDestinationTakesUpNoGroupOfItsOwn) {
    Decoder decoder;
    const Call call = decoder.decode(Bytes{1, 2, 3, 3, 3, 3, 0}, 2);
    EXPECT_EQ(call.status, StatusDestinationFull);
    EXPECT_EQ(call.consumed, 2U);
    EXPECT_EQ(decoder.decode(Bytes{3, 3, 3, 3, 0}, 9).written, Bytes(4, 3));
}

TEST(RunLengths, FewerThanFourBytesWithoutRoomAreNoWarning) {
    Decoder decoder;
    const Call call = decoder.decode(Bytes{1, 2, 3}, 2);
    EXPECT_EQ(call.status, StatusOk);
    EXPECT_EQ(call.consumed, 2U);
}

TEST(RunLengths, AGroupWithoutItsCountStandsForFourBytes) {
    Decoder decoder;
    EXPECT_EQ(decoder.decode(Bytes{1, 3, 3, 3, 3}, 100).written, (Bytes{1, 3, 3, 3, 3}));
}

TEST(RunLengths, OwedCopiesNeverOverflow) {
    // Groups of 259 bytes, more of them than 32 bits can count.
    constexpr std::size_t kGroups = 8'300'000;
    Bytes code(5 * kGroups, 7);
    for (std::size_t i = 4; i < code.size(); i += 5) code[i] = 255;
    uint64_t total = 0;
    Bytes target(1 << 24);
    StateMemory state;
    ASSERT_EQ(ozrsDecodeRLEStateInit_BZ2_8u(state.get()), StatusOk);
    const uint8_t* at = code.data();
    int32_t left = narrow(code.size());
    while (left > 0) {
        uint8_t* to = target.data();
        int32_t room = 1 << 24;
        ozrsDecodeRLEState_BZ2_8u(&at, &left, &to, &room, state.get());
        total += static_cast<uint64_t>(to - target.data());
    }
    for (Status status = StatusDestinationFull; status == StatusDestinationFull;) {
        uint8_t* to = target.data();
        int32_t room = 1 << 24;
        status = ozrsDecodeRLEStateFlush_BZ2_8u(state.get(), &to, &room);
        total += static_cast<uint64_t>(to - target.data());
    }
    EXPECT_EQ(total, 259 * uint64_t{kGroups});
}

TEST(RunLengths, BuffersMayEndAtAGuardInFront) {
    const Bytes block = runSample(3000, 6, 3, 5);
    const GuardedBuffer source(block, Guard::Before);
    GuardedBuffer code(4000, Guard::Before);
    GuardedBuffer back(3000, Guard::Before);
    StateMemory state;
    ASSERT_EQ(ozrsEncodeRLEInit_BZ2_8u(state.get()), StatusOk);
    const uint8_t* at = source.data();
    int32_t left = 3000;
    int32_t length = 4000;
    ASSERT_EQ(ozrsEncodeRLE_BZ2_8u(&at, &left, code.data(), &length, state.get()), StatusOk);
    int32_t last = 1;
    ASSERT_EQ(ozrsEncodeRLEFlush_BZ2_8u(code.data() + length, &last, state.get()), StatusOk);
    left = length + last;
    at = code.data();
    ASSERT_EQ(ozrsDecodeRLEStateInit_BZ2_8u(state.get()), StatusOk);
    uint8_t* to = back.data();
    int32_t room = 3000;
    ASSERT_EQ(ozrsDecodeRLEState_BZ2_8u(&at, &left, &to, &room, state.get()), StatusOk);
    EXPECT_EQ(room, 0);
    EXPECT_TRUE(std::equal(block.begin(), block.end(), back.begin()));
    EXPECT_TRUE(code.slackIntact());
    EXPECT_TRUE(back.slackIntact());
}

TEST(RunLengths, StatesThatWereNeverPreparedDoNoHarm) {
    Random random(83);
    const Bytes source = runSample(500, 6, 3, 7);
    for (unsigned round = 0; round < 2000; ++round) {
        GuardedBuffer state(kStateSize, Guard::After, round);
        const auto number = [&] {
            constexpr int32_t kNumbers[] = {-2147483647 - 1, -1000, -1, 0, 3, 4, 5, 259, 260, 1000, 2147483647};
            return kNumbers[random.below(std::size(kNumbers))];
        };
        const int32_t numbers[] = {number(), number()};  // previous byte, length of the run
        std::memcpy(state.data() + 256, numbers, sizeof numbers);
        auto* const rle = reinterpret_cast<RLEState*>(state.data());
        GuardedBuffer target(1 + random.below(600));
        const uint8_t* at = source.data();
        int32_t left = narrow(source.size());
        int32_t length = narrow(target.size());
        if (random.oneIn(2)) {
            EXPECT_GE(ozrsEncodeRLE_BZ2_8u(&at, &left, target.data(), &length, rle), StatusOk);
            EXPECT_LE(wide(length), target.size());
        } else {
            uint8_t* to = target.data();
            EXPECT_GE(ozrsDecodeRLEState_BZ2_8u(&at, &left, &to, &length, rle), StatusOk);
            EXPECT_EQ(to + length, target.data() + target.size());
            EXPECT_GE(ozrsDecodeRLEStateFlush_BZ2_8u(rle, &to, &length), StatusOk);
            EXPECT_EQ(to + length, target.data() + target.size());
        }
        EXPECT_EQ(at + left, source.data() + source.size());
        EXPECT_TRUE(state.slackIntact());
    }
}

TEST(RunLengths, TableMayOverlapTheState) {
    StateMemory state;
    ASSERT_EQ(ozrsEncodeRLEInit_BZ2_8u(state.get()), StatusOk);
    for (unsigned v = 0; v < 256; ++v) state.bytes()[v] = static_cast<uint8_t>(v * 7);
    Bytes expected(state.bytes(), state.bytes() + kStateSize);
    for (std::size_t v = 0; v < 256; ++v) expected[v + 1] = expected[v];
    ASSERT_EQ(ozrsRLEGetInUseTable_8u(state.bytes() + 1, state.get()), StatusOk);
    EXPECT_EQ(Bytes(state.bytes(), state.bytes() + kStateSize), expected);
}

TEST(RunLengths, DecoderInitKeepsTheTable) {
    StateMemory state;
    ASSERT_EQ(ozrsEncodeRLEInit_BZ2_8u(state.get()), StatusOk);
    state.bytes()[77] = 1;
    ASSERT_EQ(ozrsDecodeRLEStateInit_BZ2_8u(state.get()), StatusOk);
    EXPECT_EQ(state.bytes()[77], 1);
}

TEST(RunLengths, ArgumentsAreCheckedInOrder) {
    int32_t size = 0;
    EXPECT_EQ(ozrsRLEGetSize_BZ2_8u(nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsRLEGetSize_BZ2_8u(&size), StatusOk);
    EXPECT_EQ(size, 264);
    EXPECT_EQ(ozrsEncodeRLEInit_BZ2_8u(nullptr), StatusNullPointer);
    EXPECT_EQ(ozrsDecodeRLEStateInit_BZ2_8u(nullptr), StatusNullPointer);
    StateMemory memory;
    RLEState* const state = memory.get();
    ASSERT_EQ(ozrsEncodeRLEInit_BZ2_8u(state), StatusOk);
    const Bytes before(memory.bytes(), memory.bytes() + kStateSize);
    uint8_t table[256];
    EXPECT_EQ(ozrsRLEGetInUseTable_8u(nullptr, state), StatusNullPointer);
    EXPECT_EQ(ozrsRLEGetInUseTable_8u(table, nullptr), StatusNullPointer);

    const Bytes source{1, 2, 3, 4, 5};
    Bytes target(10, 0xCC);
    const uint8_t* at = source.data();
    const uint8_t* noSource = nullptr;
    uint8_t* to = target.data();
    uint8_t* noTarget = nullptr;
    for (const int32_t bad : {0, -1, -2147483647 - 1}) {
        int32_t good = 5;
        int32_t badLength = bad;
        EXPECT_EQ(ozrsEncodeRLE_BZ2_8u(nullptr, &badLength, to, &good, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLE_BZ2_8u(&at, nullptr, to, &badLength, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLE_BZ2_8u(&at, &badLength, nullptr, &good, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLE_BZ2_8u(&at, &badLength, to, nullptr, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLE_BZ2_8u(&noSource, &badLength, to, &good, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLE_BZ2_8u(&at, &badLength, to, &good, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLE_BZ2_8u(&at, &badLength, to, &good, state), StatusSizeError);
        EXPECT_EQ(ozrsEncodeRLE_BZ2_8u(&at, &good, to, &badLength, state), StatusSizeError);
        EXPECT_EQ(ozrsEncodeRLEFlush_BZ2_8u(nullptr, &badLength, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLEFlush_BZ2_8u(to, nullptr, state), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLEFlush_BZ2_8u(to, &badLength, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsEncodeRLEFlush_BZ2_8u(to, &badLength, state), StatusSizeError);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(nullptr, &badLength, &to, &good, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(&at, nullptr, &to, &badLength, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(&at, &badLength, nullptr, &good, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(&at, &badLength, &to, nullptr, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(&noSource, &badLength, &to, &good, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(&at, &badLength, &noTarget, &good, state), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(&at, &badLength, &to, &good, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(&at, &badLength, &to, &good, state), StatusSizeError);
        EXPECT_EQ(ozrsDecodeRLEState_BZ2_8u(&at, &good, &to, &badLength, state), StatusSizeError);
        EXPECT_EQ(ozrsDecodeRLEStateFlush_BZ2_8u(nullptr, &to, &badLength), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEStateFlush_BZ2_8u(state, nullptr, &badLength), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEStateFlush_BZ2_8u(state, &to, nullptr), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEStateFlush_BZ2_8u(state, &noTarget, &badLength), StatusNullPointer);
        EXPECT_EQ(ozrsDecodeRLEStateFlush_BZ2_8u(state, &to, &badLength), StatusOk);
        EXPECT_EQ(good, 5);
        EXPECT_EQ(badLength, bad);
    }
    EXPECT_EQ(at, source.data());
    EXPECT_EQ(to, target.data());
    EXPECT_EQ(target, Bytes(10, 0xCC));
    EXPECT_EQ(Bytes(memory.bytes(), memory.bytes() + kStateSize), before);
}

}  // namespace
}  // namespace ozrdc::test::bz2
