// See the header.
#include "lz4/history_calls.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>

namespace ozrdc::test::lz4 {
namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

constexpr std::size_t kFenceSize = 96;
constexpr uint8_t kFence = 0x5A;

int32_t narrow(int64_t n) { return static_cast<int32_t>(n); }

ByteView bytesOf(const void* data, std::size_t size) { return {static_cast<const uint8_t*>(data), size}; }

template <typename Word>
ByteView bytesOf(const std::vector<Word>& words) {
    return bytesOf(words.data(), words.size() * sizeof(Word));
}

bool equal(ByteView a, ByteView b) { return std::equal(a.begin(), a.end(), b.begin(), b.end()); }

std::string describe(const EncoderHistory& history, Guard guard) {
    return std::string(history.separate ? "\n  separate dictionary of " : "\n  prefix of ") +
           std::to_string(history.history.size()) + " bytes, source at " + std::to_string(history.srcIdx) +
           (guard == Guard::After ? ", guards behind" : ", guards in front");
}

}  // namespace

void HistoryMemory::place(Guard guard, ByteView source, const EncoderHistory& history) {
    const bool after = guard == Guard::After;
    GuardedArena& arena = after ? sourceAfter_ : sourceBefore_;
    if (history.separate) {
        source_ = arena.take(source).data();
        dictionary_ = (after ? dictionaryAfter_ : dictionaryBefore_).take(history.history).data();
        dictionarySize_ = narrow(std::ssize(history.history));
        return;
    }
    const std::span<uint8_t> both = arena.take(history.history.size() + source.size());
    std::copy(history.history.begin(), history.history.end(), both.begin());
    std::copy(source.begin(), source.end(), both.begin() + std::ssize(history.history));
    source_ = both.data() + history.history.size();
    // A prefix can be told in two ways; the one with a pointer has to be all of the history.
    const bool asDictionary = after && history.srcIdx == std::ssize(history.history) && history.srcIdx > 0;
    dictionary_ = asDictionary ? both.data() : nullptr;
    dictionarySize_ = asDictionary ? narrow(history.srcIdx) : 77;
}

uint8_t* HistoryTarget::take(int64_t capacity) {
    memory_ = target_.take(kFenceSize + static_cast<std::size_t>(capacity));
    std::memset(memory_.data(), kFence, kFenceSize);
    begin_ = memory_.data() + kFenceSize;
    return begin_;
}

AssertionResult HistoryTarget::agrees(Status status, int32_t consumed, int32_t written, const BoundedBlock& expected,
                                      ByteView source, const EncoderHistory& history, BlockEnd end) {
    if (status != expected.status || consumed != expected.consumed || written != std::ssize(expected.block)) {
        return AssertionFailure() << "status " << status << " instead of " << expected.status << ", consumed "
                                  << consumed << " instead of " << expected.consumed << ", written " << written
                                  << " instead of " << expected.block.size();
    }
    const ByteView block(begin_, static_cast<std::size_t>(written));
    if (!equal(block, expected.block)) {
        const auto at = std::mismatch(block.begin(), block.end(), expected.block.begin()).first - block.begin();
        return AssertionFailure() << "block of " << written << " bytes differs from index " << at << " on";
    }
    if (std::ranges::any_of(memory_.first(kFenceSize), [](uint8_t b) { return b != kFence; })) {
        return AssertionFailure() << "written in front of the destination";
    }
    if (consumed == 0) return AssertionSuccess();

    // A block that ends behind a match needs a run of literals, as many as the format wants at the end of a block.
    Bytes closed(block.begin(), block.end());
    const bool isOpen = end == BlockEnd::Match && status != StatusOk;
    if (isOpen) closed.insert(closed.end(), {0x50, '.', '.', '.', '.', '.'});
    const auto historySize = narrow(std::ssize(history.history));
    Bytes decoded(history.history.size() + source.size() + (isOpen ? 5 : 0));
    std::copy(history.history.begin(), history.history.end(), decoded.begin());
    auto used = narrow(std::ssize(closed));
    int32_t size = narrow(std::ssize(decoded)) - historySize;
    const Status decoding =
        ozrsDecodeLZ4Dict_8u(closed.data(), &used, decoded.data(), historySize, &size, decoded.data(), historySize);
    if (decoding < 0 || size < consumed) {
        return AssertionFailure() << "decoding gives status " << decoding << " and " << size << " bytes of "
                                  << consumed;
    }
    if (!std::equal(source.begin(), source.begin() + consumed, decoded.begin() + historySize)) {
        return AssertionFailure() << "decodes to other bytes";
    }
    return AssertionSuccess();
}

AssertionResult HistoryEncoderCheck::agrees(PositionTable& table, ByteView source, const EncoderHistory& history,
                                            std::optional<int64_t> capacity) {
    const int64_t ample = worstCase(std::ssize(source));
    PositionTable afterPlain = table;
    PositionTable afterBounded = table;
    block_ = encodeWithHistory(afterPlain, source, history);
    const BoundedBlock plain{StatusOk, std::ssize(source), block_};
    const BoundedBlock bounded = encodeWithHistoryBounded(afterBounded, source, history, capacity.value_or(ample));
    for (const Guard guard : {Guard::After, Guard::Before}) {
        memory_.place(guard, source, history);
        const auto run = [&](const BoundedBlock& expected, const PositionTable& after, auto encode) {
            std::copy_n(bytesOf(table).data(), kHashTableSize, table_.data());
            int32_t consumed = narrow(std::ssize(source));
            int32_t written = 0;
            const Status status = encode(consumed, written);
            AssertionResult result =
                target_.agrees(status, consumed, written, expected, source, history, BlockEnd::Literals);
            if (result && !equal(table_, bytesOf(after))) result = AssertionFailure() << "another table";
            return result << describe(history, guard);
        };
        uint8_t* target = target_.take(ample);
        AssertionResult result = run(plain, afterPlain, [&](int32_t& consumed, int32_t& written) {
            return ozrsEncodeLZ4Dict_8u(memory_.source(), narrow(history.srcIdx), consumed, target, &written,
                                        table_.data(), memory_.dictionary(), memory_.dictionarySize());
        });
        if (!result) return result << "\n  plain, " << source.size() << " bytes";
        target = target_.take(capacity.value_or(ample));
        result = run(bounded, afterBounded, [&](int32_t& consumed, int32_t& written) {
            written = narrow(capacity.value_or(ample));
            return ozrsEncodeLZ4DictSafe_8u(memory_.source(), narrow(history.srcIdx), &consumed, target, &written,
                                            table_.data(), memory_.dictionary(), memory_.dictionarySize());
        });
        if (!result) return result << "\n  bounded, " << source.size() << " bytes";
    }
    table = afterPlain;
    return AssertionSuccess();
}

AssertionResult HighEncoderCheck::agrees(ChainTables& tables, ByteView source, const EncoderHistory& history,
                                         int32_t level, std::optional<int64_t> capacity) {
    const int64_t room = capacity.value_or(worstCase(std::ssize(source)));
    ChainTables after = tables;
    expected_ = encodeHigh(after, source, history, room, level);
    using Encode = decltype(&ozrsEncodeLZ4HC_8u);
    for (const Encode encode : {Encode{&ozrsEncodeLZ4HC_8u}, Encode{&ozrsEncodeLZ4HCDictLimit_8u}}) {
        // Each of the two with its guards on one side.
        const Guard guard = encode == &ozrsEncodeLZ4HC_8u ? Guard::After : Guard::Before;
        memory_.place(guard, source, history);
        std::copy_n(bytesOf(tables.heads).data(), heads_.size(), heads_.data());
        std::copy_n(bytesOf(tables.links).data(), links_.size(), links_.data());
        std::array<uint8_t*, 2> pointers{heads_.data(), links_.data()};
        int32_t consumed = narrow(std::ssize(source));
        int32_t written = narrow(room);
        uint8_t* const target = target_.take(room);
        const Status status = encode(memory_.source(), narrow(history.srcIdx), &consumed, target, &written,
                                     pointers.data(), memory_.dictionary(), memory_.dictionarySize(), level);
        AssertionResult result = target_.agrees(status, consumed, written, expected_, source, history, BlockEnd::Match);
        if (result && !(equal(heads_, bytesOf(after.heads)) && equal(links_, bytesOf(after.links)))) {
            result = AssertionFailure() << "other tables";
        }
        if (!result) {
            return result << describe(history, guard) << "\n  level " << level << ", " << source.size()
                          << " bytes, capacity " << room;
        }
    }
    tables = std::move(after);
    return AssertionSuccess();
}

}  // namespace ozrdc::test::lz4
