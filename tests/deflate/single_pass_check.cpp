// See the header.
#include "deflate/single_pass_check.h"

#include <algorithm>
#include <stdexcept>

namespace ozrdc::test::deflate {
namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

constexpr uint8_t kUntouched = 0x5A;

// The same for all encoders, because mapping pages costs more than most of the calls.
struct CallBuffers {
    explicit CallBuffers(Guard guard) : source(guard), history(guard), target(guard), header(Guard::After) {}
    GuardedArena source, history, target, header;
};

CallBuffers& callBuffers(Guard guard) {
    static CallBuffers after(Guard::After);
    static CallBuffers before(Guard::Before);
    return guard == Guard::After ? after : before;
}

}  // namespace

PreparedCode::PreparedCode(ByteView sample) {
    constexpr int32_t hashSize = 4096;
    std::vector<int32_t> head(hashSize, kEmpty);
    std::vector<uint32_t> literalCounts(286);
    std::vector<uint32_t> distanceCounts(30);
    const uint8_t none = 0;
    const uint8_t* source = sample.empty() ? &none : sample.data();
    auto left = static_cast<int32_t>(sample.size());
    int32_t index = 0;
    int32_t headerSize = 0;
    if (ozrsDeflateLZ77FastestGetStat_8u(&source, &left, &index, source, 32768, head.data(), hashSize,
                                         literalCounts.data(), distanceCounts.data(), 2) != StatusOk ||
        ozrsDeflateLZ77FastestGenHuffTable_8u(literalCounts.data(), distanceCounts.data(), literals.data(),
                                              distances.data()) != StatusOk ||
        ozrsDeflateLZ77FastestGenHeader_8u(literals.data(), distances.data(), header.data(), &headerSize,
                                           &headerBits) != StatusOk) {
        throw std::runtime_error("no code can be prepared");
    }
    header.resize(static_cast<std::size_t>(headerSize));
}

Encoder::Encoder(const Sizes& sizes, const PreparedCode* code, Guard guard)
    : sizes_(sizes), code_(code), guard_(guard), head_(4 * sizes.hashes, guard) {
    std::fill_n(hashes(), sizes.hashes, kEmpty);
    bits_ = code == nullptr ? 0b011 : 0b101;
}

void Encoder::startAt(int64_t index, ByteView before) {
    index_ = index;
    consumed_.assign(before.begin(), before.end());
    started_ = before.size();
}

AssertionResult Encoder::encodes(ByteView source, std::size_t room, int32_t flush, HistoryPlace place,
                                 std::size_t front) {
    const auto historySize = static_cast<std::size_t>(std::min<int64_t>(index_, std::ssize(consumed_)));
    const ByteView history = ByteView(consumed_).last(std::min(historySize, sizes_.window));
    CallBuffers& buffers = callBuffers(guard_);
    std::span<uint8_t> sourceBytes;
    std::span<uint8_t> historyBytes;
    if (place == HistoryPlace::InFront) {
        const std::span<uint8_t> both = buffers.source.take(history.size() + source.size());
        std::copy(history.begin(), history.end(), both.begin());
        std::copy(source.begin(), source.end(), both.begin() + std::ssize(history));
        historyBytes = both.first(history.size());
        sourceBytes = both.last(source.size());
    } else {
        sourceBytes = buffers.source.take(source);
        historyBytes = buffers.history.take(history);
    }
    const std::span<uint8_t> target = buffers.target.take(front + room);
    std::fill(target.begin(), target.end(), kUntouched);
    const std::span<uint8_t> output = target.subspan(front);

    const uint8_t* at = sourceBytes.data();
    auto left = static_cast<int32_t>(source.size());
    auto index = static_cast<int32_t>(index_);
    auto written = static_cast<int32_t>(front);
    const auto targetSize = static_cast<int32_t>(target.size());
    const uint16_t bitsBefore = bits_;
    const int32_t countBefore = count_;
    bits_ = static_cast<uint16_t>(bits_ | ~0U << count_);  // those above the count are ignored
    if (code_ == nullptr) {
        status_ = ozrsDeflateLZ77Fastest_8u(
            &at, &left, &index, historyBytes.data(), static_cast<int32_t>(sizes_.window), hashes(),
            static_cast<int32_t>(sizes_.hashes), &bits_, &count_, target.data(), targetSize, &written, flush);
    } else {
        status_ = ozrsDeflateLZ77FastestPrecompHeader_8u(
            &at, &left, &index, historyBytes.data(), static_cast<int32_t>(sizes_.window), hashes(),
            static_cast<int32_t>(sizes_.hashes), &bits_, &count_, target.data(), targetSize, &written,
            code_->literals.data(), code_->distances.data(), buffers.header.take(code_->header).data(),
            code_->headerBits, flush);
    }
    const auto failure = [&](const char* what) {
        return AssertionFailure() << what << ": status " << status_ << ", " << source.size() << " bytes at index "
                                  << index_ << ", " << left << " left, room " << room << ", written " << written
                                  << " - " << front << ", " << countBefore << " bits before, " << count_
                                  << " after, flush " << flush;
    };
    if (status_ == StatusSizeError && code_ != nullptr) {  // the header needs more room
        if (left != std::ssize(source) || written != static_cast<int32_t>(front) || count_ != countBefore) {
            return failure("something was done");
        }
        bits_ = bitsBefore;
        return AssertionSuccess();
    }
    if (status_ != StatusOk && status_ != StatusDestinationFull) return failure("another status");
    const auto consumed = at - sourceBytes.data();
    if (consumed < 0 || consumed + left != std::ssize(source)) return failure("source pointer and length differ");
    if (index != (index_ + consumed) && index >= index_) return failure("another index");
    if (written < static_cast<int32_t>(front) || written > targetSize) return failure("another index of output");
    if (!std::all_of(target.begin(), target.begin() + static_cast<std::ptrdiff_t>(front),
                     [](uint8_t b) { return b == kUntouched; })) {
        return failure("written in front of the output");
    }
    if (count_ < 0 || count_ > 16 || (count_ > 7 && written < targetSize)) return failure("bits pending");
    const bool nothingDone = consumed == 0 && written == static_cast<int32_t>(front) && count_ == countBefore;
    if (nothingDone) bits_ = bitsBefore;
    if (bits_ >> count_ != 0) return failure("bits above the count");
    if (!std::equal(history.begin(), history.end(), historyBytes.begin())) return failure("written to the window");
    if (!head_.slackIntact()) return failure("written outside the hash table");
    lastWritten_ = written - static_cast<int32_t>(front);
    consumed_.insert(consumed_.end(), source.begin(), source.begin() + consumed);
    stream_.insert(stream_.end(), output.begin(), output.begin() + lastWritten_);
    index_ = index;
    return AssertionSuccess();
}

AssertionResult Encoder::encodesWhole(ByteView source) {
    auto result = encodes(source, 2 * source.size() + 400, 2);
    if (result && status_ != StatusOk) return AssertionFailure() << "status " << status_;
    if (result && consumedInAll() != source.size()) return AssertionFailure() << "not all consumed";
    return result;
}

Bytes Encoder::stream() const {
    Bytes whole = stream_;
    for (int32_t i = 0; i < count_; i += 8) whole.push_back(static_cast<uint8_t>(bits_ >> i));
    return whole;
}

}  // namespace ozrdc::test::deflate
