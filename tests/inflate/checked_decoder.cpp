// See the header.
#include "inflate/checked_decoder.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ozrdc::test::inflate {
namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

// What lies around a destination within its guarded buffer; it must survive the call.
constexpr std::size_t kFenceSize = 96;
constexpr uint8_t kFence = 0x5A;

// The longest symbol: codes of 15 bits with 5 and 13 extra bits.
constexpr std::size_t kLongestSymbol = 15 + 5 + 15 + 13;

// The buffers of a call. They are the same for all decoders, because mapping pages costs more than most of the calls.
struct CallBuffers {
    explicit CallBuffers(Guard guard) : source(guard), target(guard), window(guard) {}
    GuardedArena source;
    GuardedArena target;
    GuardedArena window;
};

CallBuffers& callBuffers(Guard guard) {
    static CallBuffers after(Guard::After);
    static CallBuffers before(Guard::Before);
    return guard == Guard::After ? after : before;
}

std::size_t firstDifference(ByteView a, ByteView b) {
    return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin()).first - a.begin());
}

}  // namespace

CheckedDecoder::CheckedDecoder(ByteView stream, Bytes history, Guard guard)
    : stream_(stream),
      all_(std::move(history)),
      historySize_(all_.size()),
      guard_(guard),
      stateMemory_(sizeof(InflateState), guard, 77),  // random contents
      state_(reinterpret_cast<InflateState*>(stateMemory_.data())) {}

void CheckedDecoder::moveTo(std::size_t position) {
    nextByte_ = (position + 7) / 8;
    pending_ = static_cast<unsigned>(8 * nextByte_ - position);
    given_ = std::max(given_, nextByte_);
}

Bytes CheckedDecoder::output() const { return {all_.begin() + static_cast<std::ptrdiff_t>(historySize_), all_.end()}; }

std::size_t CheckedDecoder::bytesLeft() const {
    std::size_t bytes = 0;
    for (std::size_t i = current_; i < symbols_.size(); ++i) {
        if (symbols_[i].kind == Symbol::Kind::Literal) ++bytes;
        if (symbols_[i].kind == Symbol::Kind::Match) bytes += symbols_[i].length;
    }
    return bytes - copied_;
}

deflate::UnusedSymbols unusedSymbols(const BlockCodes& codes, Tables tables) {
    return tables == Tables::Built && expectedKind(codes) == 2 ? deflate::UnusedSymbols::LiteralZero
                                                               : deflate::UnusedSymbols::Invalid;
}

AssertionResult CheckedDecoder::beginBlock(const BlockCodes& codes, Tables tables) {
    symbols_ = deflate::readSymbols(stream_, position(), codes, unusedSymbols(codes, tables));
    current_ = 0;
    copied_ = 0;
    ended_ = false;
    failed_ = false;
    mode_ = 0;
    if (tables == Tables::Fixed) {
        state_->tableKind = 0;
        return AssertionSuccess();
    }
    const Status status = ozrsInflateBuildHuffTable(codes.joined().data(), static_cast<uint32_t>(codes.literals.size()),
                                                    static_cast<uint32_t>(codes.distances.size()), state_);
    if (status != StatusOk) return AssertionFailure() << "the tables are refused with status " << status;
    if (state_->tableKind != expectedKind(codes)) {
        return AssertionFailure() << "tables of kind " << state_->tableKind << " instead of " << expectedKind(codes);
    }
    return AssertionSuccess();
}

// Decodes as far as `available` bits of the stream and `room` bytes allow, and tells how the call may end.
std::vector<CheckedDecoder::Ending> CheckedDecoder::predict(std::size_t available, std::size_t room,
                                                            std::size_t reach) {
    std::size_t written = 0;
    for (;; ++current_) {
        const Symbol& symbol = symbols_[current_];
        const bool full = written == room;
        const Ending failure{StatusBadCodeTable, mode_, symbol.begin,
                             std::min({available, symbol.end, symbol.begin + kLongestSymbol}), false};
        const Ending inFirstCode{StatusOk, 1, symbol.begin, symbol.begin, true};
        const Ending sourceInside{StatusOk, 2, symbol.begin, available, true};
        const Ending destinationFull{StatusOk, 2, symbol.begin, std::min(available, symbol.end), false};

        // As far as the literal/length code.
        if (symbol.kind == Symbol::Kind::Invalid) {
            std::vector<Ending> endings;
            if (available >= symbol.certain) endings.push_back(failure);
            if (available < symbol.end) endings.push_back(inFirstCode);
            if (available >= symbol.certain && full) endings.push_back(destinationFull);
            return endings;
        }
        if (available < symbol.codeEnd) return {inFirstCode};

        switch (symbol.kind) {
            case Symbol::Kind::Literal:
                if (full) return {destinationFull};
                all_.push_back(symbol.literal);
                ++written;
                break;
            case Symbol::Kind::EndOfBlock:
                return {{StatusOk, 0, symbol.end, symbol.end, false}};
            case Symbol::Kind::InvalidDistance: {
                std::vector<Ending> endings;
                if (available >= symbol.certain) endings.push_back(failure);
                if (available < symbol.end) endings.push_back(sourceInside);
                if (full) endings.push_back(destinationFull);
                return endings;
            }
            case Symbol::Kind::Incomplete:
            case Symbol::Kind::Match: {
                if (available < symbol.end) {
                    std::vector<Ending> endings{sourceInside};
                    if (full) endings.push_back(destinationFull);
                    return endings;
                }
                if (symbol.distance > reach + written) {
                    std::vector<Ending> endings{failure};
                    if (full) endings.push_back(destinationFull);
                    return endings;
                }
                const bool started = copied_ > 0 || !full;
                while (copied_ < symbol.length && written < room) {
                    all_.push_back(all_[all_.size() - symbol.distance]);
                    ++copied_;
                    ++written;
                }
                if (copied_ < symbol.length) {
                    return {{StatusOk, 2, started ? symbol.end : symbol.begin, symbol.end, false}};
                }
                copied_ = 0;
                break;
            }
            case Symbol::Kind::Invalid:
                break;
        }
    }
}

AssertionResult CheckedDecoder::call(std::size_t sourceEnd, std::size_t room, const Placement& placement,
                                     unsigned preload) {
    given_ = std::max(given_, std::min(sourceEnd, stream_.size()));
    const unsigned bitsBefore = pending_;
    while (preload > 0 && pending_ + 8 <= 32 && nextByte_ < given_) {
        ++nextByte_;
        pending_ += 8;
        --preload;
    }

    // The buffers. Bits of the bit buffer that are not valid hold anything.
    const std::size_t begin = position();
    const uint64_t garbage = Random(begin + room).next();
    const uint64_t invalid = ~uint64_t{0} << pending_;
    auto code = static_cast<uint32_t>(deflate::bitsAt(stream_, begin, pending_) | (garbage & invalid));
    uint32_t codeLength = pending_;
    const ByteView given = stream_.subspan(nextByte_, given_ - nextByte_);
    CallBuffers& buffers = callBuffers(guard_);
    const uint8_t* source = buffers.source.take(given).data();
    auto sourceSize = static_cast<uint32_t>(given.size());

    const std::size_t inDestination = std::min(placement.inDestination, all_.size());
    const std::size_t windowSize = std::min(placement.windowSize, all_.size() - inDestination);
    const std::size_t windowIndex = std::min(placement.windowIndex, windowSize);
    const ByteView history(all_);
    const ByteView inWindow = history.last(inDestination + windowSize).first(windowSize);
    const std::span<uint8_t> window = buffers.window.take(windowSize);
    std::copy(inWindow.begin(), inWindow.end() - static_cast<std::ptrdiff_t>(windowIndex),
              window.begin() + static_cast<std::ptrdiff_t>(windowIndex));
    std::copy(inWindow.end() - static_cast<std::ptrdiff_t>(windowIndex), inWindow.end(), window.begin());
    const Bytes windowBefore(window.begin(), window.end());

    const std::size_t used = inDestination + room;
    const std::span<uint8_t> memory = buffers.target.take(used + kFenceSize);
    const bool after = guard_ == Guard::After;
    const std::span<uint8_t> fence = after ? memory.first(kFenceSize) : memory.last(kFenceSize);
    const std::span<uint8_t> target = after ? memory.last(used) : memory.first(used);
    std::fill(fence.begin(), fence.end(), kFence);
    const ByteView newest = history.last(inDestination);
    std::copy(newest.begin(), newest.end(), target.begin());
    std::fill(target.begin() + static_cast<std::ptrdiff_t>(inDestination), target.end(), uint8_t{0xEE});
    uint8_t* output = target.data() + inDestination;
    auto outputRoom = static_cast<uint32_t>(room);

    // Every mode but 2 begins with a symbol.
    static constexpr std::array<uint32_t, 5> fresh{0, 1, 3, 0x80000002, 0xFFFFFFFF};
    if (mode_ != 2) mode_ = fresh[garbage % fresh.size()];

    state_->pWindow = windowSize > 0 ? window.data() : nullptr;
    state_->winSize = static_cast<uint32_t>(windowSize);
    const InflateState stateBefore = *state_;

    const std::size_t outputBefore = all_.size();
    const uint32_t modeBefore = mode_;
    const std::vector<Ending> endings = predict(8 * given_, room, inDestination + windowSize);
    const std::size_t written = all_.size() - outputBefore;

    const Status status = ozrsInflate_8u(&source, &sourceSize, &code, &codeLength, static_cast<uint32_t>(windowIndex),
                                         &output, &outputRoom, static_cast<uint32_t>(inDestination), &mode_, state_);

    const auto describe = [&] {
        std::string text = "\n  call at bit " + std::to_string(begin) + " (" + std::to_string(bitsBefore) + "+" +
                           std::to_string(pending_ - bitsBefore) + " bits pending), " + std::to_string(given.size()) +
                           " bytes of source, room for " + std::to_string(room) + ", mode " +
                           std::to_string(modeBefore) + ", kind " + std::to_string(stateBefore.tableKind) +
                           ", history " + std::to_string(inDestination) + " + window of " + std::to_string(windowSize) +
                           " at " + std::to_string(windowIndex);
        text += "\n  gave status " + std::to_string(status) + ", mode " + std::to_string(mode_) + ", " +
                std::to_string(room - outputRoom) + " bytes, position " +
                std::to_string(8 * (nextByte_ + given.size() - sourceSize) - codeLength) + " with " +
                std::to_string(codeLength) + " bits pending and " + std::to_string(sourceSize) +
                " bytes of source left";
        text += "\n  expected " + std::to_string(written) + " bytes and";
        for (const Ending& e : endings) {
            text += " [status " + std::to_string(e.status) + ", mode " + std::to_string(e.mode) + ", position " +
                    std::to_string(e.first) + " to " + std::to_string(e.last) +
                    (e.sourceUsedUp ? ", source used up]" : "]");
        }
        return text;
    };
    const auto failure = [&](const char* what) { return AssertionFailure() << what << describe(); };

    const uint8_t* const sourceBegin = source - (given.size() - sourceSize);
    if (sourceSize > given.size()) return failure("the source length grew");
    if (!std::equal(given.begin(), given.end(), sourceBegin)) return failure("the source pointer and length differ");
    const std::size_t taken = given.size() - sourceSize;
    if (outputRoom > room || output != target.data() + used - outputRoom) {
        return failure("the destination pointer and length differ");
    }
    if (codeLength > 32) return failure("more than 32 bits pending");

    const std::size_t end = 8 * (nextByte_ + taken) - codeLength;
    const bool expected = std::any_of(endings.begin(), endings.end(), [&](const Ending& e) {
        if (status != e.status || mode_ != e.mode || end < e.first || end > e.last) return false;
        if (e.sourceUsedUp) return sourceSize == 0;
        return status != StatusOk || codeLength <= 7 || taken == 0;
    });
    if (!expected) return failure("an unexpected ending");
    if (room - outputRoom != written) return failure("another number of bytes");
    if (code != deflate::bitsAt(stream_, end, codeLength)) return failure("other bits pending");

    const ByteView decoded = ByteView(target).subspan(inDestination, written);
    const ByteView wanted = ByteView(all_).last(written);
    if (!std::equal(decoded.begin(), decoded.end(), wanted.begin())) {
        return failure("other bytes") << "\n  first at " << firstDifference(decoded, wanted);
    }
    const ByteView before = ByteView(all_).first(outputBefore).last(inDestination);
    if (!std::equal(before.begin(), before.end(), target.begin())) return failure("written in front of the output");
    if (std::any_of(fence.begin(), fence.end(), [](uint8_t b) { return b != kFence; })) {
        return failure("written outside the destination");
    }
    if (!std::equal(window.begin(), window.end(), windowBefore.begin())) return failure("written to the window");
    InflateState stateAfter = *state_;
    std::copy(std::begin(stateBefore.decoder), std::end(stateBefore.decoder), std::begin(stateAfter.decoder));
    if (std::memcmp(&stateAfter, &stateBefore, sizeof stateAfter) != 0) return failure("written to the tables");

    nextByte_ += taken;
    pending_ = codeLength;
    failed_ = status != StatusOk;
    ended_ = status == StatusOk && mode_ == 0;
    modesMet_ |= failed_ ? 8U : 1U << mode_;
    return AssertionSuccess();
}

AssertionResult CheckedDecoder::decodeWhole() { return call(stream_.size(), bytesLeft(), {all_.size(), 0, 0}); }

Placement randomPlacement(Random& random, std::size_t available, std::size_t needed) {
    switch (random.below(4)) {
        case 0:
            return {available, 0, 0};
        case 1:
            return {0, needed, random.below(needed + 1)};
        case 2:
            return {random.below(300), needed, random.below(needed + 1)};
        default: {
            const std::size_t inDestination = random.below(needed);
            const std::size_t size = needed - inDestination + random.below(100);
            return {inDestination, size, random.below(size + 1)};
        }
    }
}

}  // namespace ozrdc::test::inflate
