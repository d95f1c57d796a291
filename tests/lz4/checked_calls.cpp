// See the header.
#include "lz4/checked_calls.h"

#include <algorithm>
#include <string>

#include "support/hex.h"

namespace ozrdc::test::lz4 {
namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

// What lies around a destination within its guarded buffer; it must survive the call.
constexpr std::size_t kFenceSize = 96;
constexpr uint8_t kFence = 0x5A;

// How two byte strings differ from an index on.
std::string difference(ByteView ours, ByteView expected, std::size_t at) {
    const auto window = [at](ByteView bytes) {
        const ByteView rest = bytes.subspan(std::min(at, bytes.size()));
        return hex(rest.first(std::min<std::size_t>(rest.size(), 24)));
    };
    return "bytes differ from index " + std::to_string(at) + " on: " + window(ours) + "instead of " + window(expected);
}

bool equal(ByteView a, ByteView b) { return std::equal(a.begin(), a.end(), b.begin(), b.end()); }

int32_t narrow(int64_t n) { return static_cast<int32_t>(n); }

const char* nameOf(History::Mode mode) {
    switch (mode) {
        case History::Mode::None:
            return "self-contained";
        case History::Mode::Prefix:
            return "prefix";
        case History::Mode::Separate:
            return "separate dictionary";
    }
    return "?";
}

}  // namespace

AssertionResult DecoderCheck::agrees(ByteView block, int64_t capacity, const History& history) {
    expected_ = decode(block, capacity, history);
    for (const Guard guard : {Guard::After, Guard::Before}) {
        if (AssertionResult result = decodeOnce(guard, block, capacity, history); !result) {
            return result << "\n  mode: " << nameOf(history.mode) << ", capacity " << capacity << ", dictionary "
                          << history.dictionary.size() << " bytes, output begins at " << history.front.size()
                          << (guard == Guard::After ? ", guard behind" : ", guard in front") << "\n  block of "
                          << block.size() << " bytes: " << hex(block);
        }
    }
    return AssertionSuccess();
}

AssertionResult DecoderCheck::agreesInAllModes(ByteView block, int64_t capacity, ByteView dictionary) {
    if (AssertionResult result = agrees(block, capacity); !result) return result;
    if (AssertionResult result = agrees(block, capacity, {History::Mode::Prefix, dictionary}); !result) return result;
    return agrees(block, capacity, {History::Mode::Separate, dictionary, dictionary});
}

AssertionResult DecoderCheck::decodeOnce(Guard guard, ByteView block, int64_t capacity, const History& history) {
    const bool after = guard == Guard::After;
    const std::span<uint8_t> source = (after ? sourceAfter_ : sourceBefore_).take(block);

    // The destination as memory: a fence on the unguarded side, what precedes the output, the output. A separate
    // dictionary hides as many bytes of the destination as it has, which the decoder must not read: they are left out,
    // so that the output itself may touch the inaccessible page.
    ByteView before;
    if (history.mode == History::Mode::Prefix) before = history.dictionary;
    if (history.mode == History::Mode::Separate) {
        before = history.front.subspan(std::min(history.front.size(), history.dictionary.size()));
        if (!before.empty()) before = history.front;
    }
    const std::size_t used = before.size() + static_cast<std::size_t>(capacity);
    const std::span<uint8_t> memory = (after ? targetAfter_ : targetBefore_).take(used + kFenceSize);
    const std::span<uint8_t> fence = after ? memory.first(kFenceSize) : memory.last(kFenceSize);
    const std::span<uint8_t> target = after ? memory.last(used) : memory.first(used);
    std::fill(fence.begin(), fence.end(), kFence);
    std::copy(before.begin(), before.end(), target.begin());
    const std::span<uint8_t> output = target.subspan(before.size());
    for (std::size_t i = 0; i < output.size(); ++i) output[i] = static_cast<uint8_t>(0xA0 ^ (i * 7));

    Status status = StatusOk;
    int32_t consumed = narrow(std::ssize(block));
    int32_t written = narrow(capacity);
    const int32_t dictionarySize = narrow(std::ssize(history.dictionary));
    if (history.mode == History::Mode::None && !after) {
        // The entry point that does not tell what was consumed.
        status = ozrsDecodeLZ4_8u(source.data(), consumed, output.data(), &written);
        if (expected_.status >= 0) consumed = narrow(expected_.consumed);
    } else if (history.mode == History::Mode::None) {
        status = ozrsDecodeLZ4Dict_8u(source.data(), &consumed, output.data(), 0, &written, nullptr, 0);
    } else if (history.mode == History::Mode::Prefix) {
        status = ozrsDecodeLZ4Dict_8u(source.data(), &consumed, target.data(), dictionarySize, &written, target.data(),
                                      dictionarySize);
    } else {
        const std::span<uint8_t> dictionary = (after ? dictionaryAfter_ : dictionaryBefore_).take(history.dictionary);
        const auto index = std::ssize(history.front);
        status = ozrsDecodeLZ4Dict_8u(source.data(), &consumed, output.data() - index, narrow(index), &written,
                                      dictionary.data(), dictionarySize);
        if (!equal(dictionary, history.dictionary)) return AssertionFailure() << "the dictionary was written to";
    }

    if (status != expected_.status) {
        return AssertionFailure() << "status " << status << " instead of " << expected_.status << " (consumed "
                                  << consumed << ", written " << written << "; expected " << expected_.consumed << ", "
                                  << expected_.written << ")";
    }
    const bool failed = expected_.status < 0;
    const int64_t expectedConsumed = failed ? std::ssize(block) : expected_.consumed;
    const int64_t expectedWritten = failed ? capacity : expected_.written;
    if (consumed != expectedConsumed || written != expectedWritten) {
        return AssertionFailure() << "status " << status << ": consumed " << consumed << " instead of "
                                  << expectedConsumed << ", written " << written << " instead of " << expectedWritten;
    }
    if (const auto at = expected_.firstDifference(output)) {
        return AssertionFailure() << "status " << status << ": "
                                  << difference(ByteView(output).first(expected_.output.size()), expected_.output, *at);
    }
    if (!equal(ByteView(target).first(before.size()), before)) {
        return AssertionFailure() << "written in front of the output";
    }
    if (std::any_of(fence.begin(), fence.end(), [](uint8_t b) { return b != kFence; })) {
        return AssertionFailure() << "written outside the destination";
    }
    return AssertionSuccess();
}

AssertionResult EncoderCheck::compare(Status status, int32_t written, std::span<const uint8_t> target,
                                      const Bytes& expected) {
    if (status != StatusOk) return AssertionFailure() << "status " << status;
    block_.assign(target.begin(), target.begin() + written);
    if (!equal(block_, expected)) {
        const auto at = std::mismatch(block_.begin(), block_.end(), expected.begin(), expected.end()).first;
        return AssertionFailure() << "block of " << block_.size() << " bytes instead of " << expected.size() << ": "
                                  << difference(block_, expected, static_cast<std::size_t>(at - block_.begin()));
    }
    return AssertionSuccess();
}

AssertionResult EncoderCheck::plainAgrees(ByteView source) {
    const std::span<uint8_t> guardedSource = source_.take(source);
    const std::span<uint8_t> target = target_.take(static_cast<std::size_t>(worstCase(std::ssize(source))));
    int32_t written = -1;
    const Status status =
        ozrsEncodeLZ4_8u(guardedSource.data(), narrow(std::ssize(source)), target.data(), &written, table_.data());
    return compare(status, written, target, encode(source));
}

AssertionResult EncoderCheck::acceleratedAgrees(ByteView source, int32_t acceleration) {
    const std::span<uint8_t> guardedSource = source_.take(source);
    const std::span<uint8_t> target = target_.take(static_cast<std::size_t>(worstCase(std::ssize(source))));
    int32_t written = -1;
    const Status status = ozrsEncodeLZ4Fast_8u(guardedSource.data(), narrow(std::ssize(source)), target.data(),
                                               &written, table_.data(), acceleration);
    return compare(status, written, target, encodeAccelerated(source, acceleration))
           << " (acceleration " << acceleration << ")";
}

AssertionResult EncoderCheck::boundedAgrees(ByteView source, int64_t capacity) {
    const std::span<uint8_t> guardedSource = source_.take(source);
    const std::span<uint8_t> memory = target_.take(static_cast<std::size_t>(capacity) + kFenceSize);
    const std::span<uint8_t> fence = memory.first(kFenceSize);
    const std::span<uint8_t> target = memory.subspan(kFenceSize);
    std::fill(fence.begin(), fence.end(), kFence);
    int32_t consumed = narrow(std::ssize(source));
    int32_t written = narrow(capacity);
    const Status status = ozrsEncodeLZ4Safe_8u(guardedSource.data(), &consumed, target.data(), &written, table_.data());

    const BoundedBlock expected = encodeBounded(source, capacity);
    if (status != expected.status || consumed != expected.consumed) {
        return AssertionFailure() << "capacity " << capacity << ": status " << status << " instead of "
                                  << expected.status << ", consumed " << consumed << " instead of " << expected.consumed
                                  << ", written " << written << " instead of " << expected.block.size();
    }
    if (std::any_of(fence.begin(), fence.end(), [](uint8_t b) { return b != kFence; })) {
        return AssertionFailure() << "capacity " << capacity << ": written in front of the destination";
    }
    return compare(StatusOk, written, target, expected.block) << " (capacity " << capacity << ")";
}

AssertionResult EncoderCheck::allAgree(ByteView source) {
    if (AssertionResult result = plainAgrees(source); !result) return result;
    if (AssertionResult result = boundedAgrees(source, worstCase(std::ssize(source))); !result) return result;
    for (const int32_t acceleration : {1, 2, 3, 8, 64, 1000, 2147483647}) {
        if (AssertionResult result = acceleratedAgrees(source, acceleration); !result) return result;
    }
    return AssertionSuccess();
}

Bytes encodePlain(ByteView source) { return encodeFast(source, 1); }

Bytes encodeFast(ByteView source, int32_t acceleration) {
    Bytes block(static_cast<std::size_t>(worstCase(std::ssize(source))));
    Bytes table(kHashTableSize);
    int32_t written = 0;
    const Status status = ozrsEncodeLZ4Fast_8u(source.data(), narrow(std::ssize(source)), block.data(), &written,
                                               table.data(), acceleration);
    EXPECT_EQ(status, StatusOk);
    block.resize(static_cast<std::size_t>(written));
    return block;
}

}  // namespace ozrdc::test::lz4
