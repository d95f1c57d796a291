// See the header.
#include "lzo/checked_calls.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "support/hex.h"

namespace ozrdc::test::lzo {
namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

// What lies on the unguarded side of a destination; it must survive the call.
constexpr std::size_t kFenceSize = 96;
constexpr uint8_t kFence = 0x5A;

// How two byte strings differ; nothing if they do not.
std::string difference(ByteView ours, ByteView expected) {
    if (std::equal(ours.begin(), ours.end(), expected.begin(), expected.end())) return {};
    const auto a = std::mismatch(ours.begin(), ours.end(), expected.begin(), expected.end()).first;
    const auto at = static_cast<std::size_t>(a - ours.begin());
    const auto window = [at](ByteView bytes) {
        const ByteView rest = bytes.subspan(std::min(at, bytes.size()));
        return hex(rest.first(std::min<std::size_t>(rest.size(), 24)));
    };
    return std::to_string(ours.size()) + " bytes instead of " + std::to_string(expected.size()) +
           ", different from index " + std::to_string(at) + " on: " + window(ours) + "instead of " + window(expected);
}

// Bytes that rise by `step`. What a test fills its memory with is made once, for it does so a hundred thousand times.
Bytes ramp(std::size_t size, unsigned first, unsigned step) {
    Bytes bytes(size);
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(first + i * step);
    return bytes;
}

constexpr std::size_t kPatternSize = 4096;

// A destination with a fence on its unguarded side.
struct FencedTarget {
    std::span<uint8_t> bytes;
    std::span<uint8_t> fence;

    FencedTarget(GuardedArena& arena, Guard guard, std::size_t size) {
        const std::span<uint8_t> memory = arena.take(size + kFenceSize);
        const bool after = guard == Guard::After;
        fence = after ? memory.first(kFenceSize) : memory.last(kFenceSize);
        bytes = after ? memory.last(size) : memory.first(size);
        std::fill(fence.begin(), fence.end(), kFence);
        static const Bytes pattern = ramp(kPatternSize, 0xA0, 7);
        for (std::size_t i = 0; i < size; i += kPatternSize) {
            std::copy_n(pattern.begin(), std::min(size - i, kPatternSize),
                        bytes.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }

    bool intact() const {
        return std::all_of(fence.begin(), fence.end(), [](uint8_t b) { return b == kFence; });
    }
};

const char* nameOf(Entry entry) { return entry == Entry::Safe ? "checked" : "trusting"; }
const char* nameOf(Guard guard) { return guard == Guard::After ? "guard behind" : "guard in front"; }

}  // namespace

Status callDecoder(Entry entry, ByteView source, std::span<uint8_t> target, uint32_t* written) {
    const auto size = static_cast<uint32_t>(source.size());
    return entry == Entry::Safe ? ozrsDecodeLZOSafe_8u(source.data(), size, target.data(), written)
                                : ozrsDecodeLZO_8u(source.data(), size, target.data(), written);
}

AssertionResult DecoderCheck::agrees(ByteView source, uint64_t capacity) {
    expected_ = decode(source, capacity);
    for (const Entry entry : {Entry::Safe, Entry::Trusting}) {
        // What the trusting decoder makes of a malformed stream is its own affair.
        if (entry == Entry::Trusting && expected_.status != StatusOk && !containerTotal(source)) continue;
        for (const Guard guard : {Guard::After, Guard::Before}) {
            if (AssertionResult result = decodeOnce(entry, guard, source, capacity); !result) {
                return result << "\n  " << nameOf(entry) << ", capacity " << capacity << ", " << nameOf(guard)
                              << "\n  source of " << source.size() << " bytes: " << hex(source);
            }
        }
    }
    return AssertionSuccess();
}

AssertionResult DecoderCheck::decodeOnce(Entry entry, Guard guard, ByteView source, uint64_t capacity) {
    const bool after = guard == Guard::After;
    const std::span<uint8_t> guarded = (after ? sourceAfter_ : sourceBefore_).take(source);
    const uint64_t size = containerTotal(source).value_or(capacity);
    const FencedTarget target(after ? targetAfter_ : targetBefore_, guard, size);

    auto written = static_cast<uint32_t>(capacity);
    const Status status = callDecoder(entry, guarded, target.bytes, &written);
    if (status != expected_.status) {
        return AssertionFailure() << "status " << status << " instead of " << expected_.status;
    }
    if (!target.intact()) return AssertionFailure() << "written outside the destination";
    if (!difference(guarded, source).empty()) return AssertionFailure() << "the source was written to";
    if (status != StatusOk) {
        return written == capacity ? AssertionSuccess()
                                   : AssertionFailure() << "the length was changed to " << written << " by a failure";
    }
    if (written != expected_.written) {
        return AssertionFailure() << "written " << written << " instead of " << expected_.written;
    }
    for (const Slice& slice : expected_.slices) {
        const ByteView ours = ByteView(target.bytes).subspan(slice.offset, slice.bytes.size());
        if (const std::string text = difference(ours, slice.bytes); !text.empty()) {
            return AssertionFailure() << "slice at " << slice.offset << ": " << text;
        }
    }
    return AssertionSuccess();
}

void prepareState(std::span<uint8_t> state, uint32_t mode, uint32_t parts) {
    static const Bytes pattern = ramp(kStateSize, 7, 31);
    std::copy_n(pattern.begin(), state.size(), state.begin());
    std::memcpy(state.data(), &mode, sizeof mode);
    std::memcpy(state.data() + 4, &parts, sizeof parts);
}

AssertionResult EncoderCheck::agrees(uint32_t mode, ByteView source, uint64_t capacity, uint32_t parts) {
    const Encoded expected = mode == kStandardMode    ? encodeStandard(source, capacity)
                             : mode == kContainerMode ? encodeContainer(source, capacity, parts)
                                                      : encodeFast(source, capacity);
    for (const Guard guard : {Guard::After, Guard::Before}) {
        if (AssertionResult result = encodeOnce(guard, mode, source, capacity, parts, expected); !result) {
            return result << "\n  mode " << mode << ", " << source.size() << " bytes, capacity " << capacity << ", "
                          << nameOf(guard);
        }
    }
    return AssertionSuccess();
}

AssertionResult EncoderCheck::encodeOnce(Guard guard, uint32_t mode, ByteView source, uint64_t capacity, uint32_t parts,
                                         const Encoded& expected) {
    const bool after = guard == Guard::After;
    const std::span<uint8_t> guarded = (after ? sourceAfter_ : sourceBefore_).take(source);
    const FencedTarget target(after ? targetAfter_ : targetBefore_, guard, capacity);
    GuardedBuffer& state = after ? stateAfter_ : stateBefore_;
    prepareState(state.span(), mode, parts);

    auto written = static_cast<uint32_t>(capacity);
    const Status status = ozrsEncodeLZO_8u(guarded.data(), static_cast<uint32_t>(guarded.size()), target.bytes.data(),
                                           &written, reinterpret_cast<LZOState*>(state.data()));
    if (status != expected.status) {
        return AssertionFailure() << "status " << status << " instead of " << expected.status << " (written " << written
                                  << "; expected " << expected.bytes.size() << ")";
    }
    if (!target.intact()) return AssertionFailure() << "written outside the destination";
    if (!difference(guarded, source).empty()) return AssertionFailure() << "the source was written to";
    if (written > capacity) return AssertionFailure() << "written " << written << ", more than fits";
    stream_.assign(target.bytes.begin(), target.bytes.begin() + written);
    const std::string text = difference(stream_, expected.bytes);
    // A container that was cut has no lengths of its parts.
    const bool cutContainer = mode == kContainerMode && status != StatusOk;
    if (cutContainer ? written != expected.bytes.size() : !text.empty()) return AssertionFailure() << text;
    return AssertionSuccess();
}

AssertionResult EncoderCheck::bothAgree(ByteView source) {
    for (const uint32_t mode : {kStandardMode, kFastMode}) {
        if (AssertionResult result = agrees(mode, source, roomFor(source.size())); !result) return result;
    }
    return AssertionSuccess();
}

Bytes encode(uint32_t mode, ByteView source, uint32_t parts) {
    Bytes state(kStateSize);
    prepareState(state, mode, parts);
    // A container adds its header, and to each part at most what a stream adds to the whole.
    Bytes stream(roomFor(source.size()) + 80 * std::size_t{parts});
    auto written = static_cast<uint32_t>(stream.size());
    EXPECT_EQ(ozrsEncodeLZO_8u(source.data(), static_cast<uint32_t>(source.size()), stream.data(), &written,
                               reinterpret_cast<LZOState*>(state.data())),
              StatusOk);
    stream.resize(written);
    return stream;
}

}  // namespace ozrdc::test::lzo
