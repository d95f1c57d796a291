// Calls of the decoding loop in buffers between inaccessible pages, each compared with a plain account of the block:
// status, mode, source taken and handed back, pending bits, output, and what must be left alone.
//
//     CheckedDecoder decoder(stream, history, Guard::After);
//     ASSERT_TRUE(decoder.beginBlock(codes, Tables::Built));
//     while (!decoder.blockEnded()) ASSERT_TRUE(decoder.call(sourceEnd, room, placement));
//
// The account is kept in bits of the stream. Where a symbol is interrupted, the library is free to keep a part of it in
// its state or to leave it in the source, so the account then only says between which bits it must stand.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inflate/code_verdict.h"
#include "ozrdc.h"
#include "support/deflate_format.h"
#include "support/guarded_buffer.h"
#include "support/random.h"

namespace ozrdc::test::inflate {

using deflate::BlockCodes;
using deflate::Bytes;
using deflate::ByteView;
using deflate::Symbol;

// The constant tables of the fixed code, or tables built from lengths.
enum class Tables { Fixed, Built };

// Where the history stands for a call: its newest bytes in front of the destination, those before them in a circular
// window. A window of size 0 is none.
struct Placement {
    std::size_t inDestination = 0;
    std::size_t windowSize = 0;
    std::size_t windowIndex = 0;
};

class CheckedDecoder {
  public:
    // Decodes blocks of `stream` behind `history`. The stream must outlive the object.
    CheckedDecoder(ByteView stream, Bytes history, Guard guard);

    // The next block begins at the current position. Builds its tables, which must succeed.
    ::testing::AssertionResult beginBlock(const BlockCodes& codes, Tables tables);

    // One call with the source up to byte `sourceEnd` of the stream (never less than an earlier call was given) and
    // `room` bytes of destination. The first `preload` bytes are given in the bit buffer, if they fit into it.
    ::testing::AssertionResult call(std::size_t sourceEnd, std::size_t room, const Placement& placement,
                                    unsigned preload = 0);

    // The same in one call with everything in memory and the exact room that the block needs.
    ::testing::AssertionResult decodeWhole();

    bool blockEnded() const { return ended_; }
    bool failed() const { return failed_; }
    uint32_t mode() const { return mode_; }
    unsigned pending() const { return pending_; }
    bool sourceUsedUp() const { return nextByte_ == given_; }

    // Bits of the stream that were used so far.
    std::size_t position() const { return 8 * nextByte_ - pending_; }
    void moveTo(std::size_t position);

    // Everything decoded so far, behind the history.
    Bytes output() const;
    std::size_t outputSize() const { return all_.size() - historySize_; }
    void append(ByteView stored) { all_.insert(all_.end(), stored.begin(), stored.end()); }

    // The rest of the block, in bytes, if it decodes without an error.
    std::size_t bytesLeft() const;

    const std::vector<Symbol>& symbols() const { return symbols_; }
    InflateState& state() { return *state_; }

    // What the calls so far met: 1 << mode for every mode, and failures.
    unsigned modesMet() const { return modesMet_; }

  private:
    // One way in which a call may end.
    struct Ending {
        Status status = StatusOk;
        uint32_t mode = 0;
        std::size_t first = 0;  // position: no bit before and none behind these
        std::size_t last = 0;
        bool sourceUsedUp = false;  // no source may be left; else no whole byte may be left in the bit buffer
    };
    std::vector<Ending> predict(std::size_t available, std::size_t room, std::size_t reach);

    ByteView stream_;
    Bytes all_;  // history and output
    std::size_t historySize_;

    std::vector<Symbol> symbols_;
    std::size_t current_ = 0;  // symbol
    std::size_t copied_ = 0;   // bytes of it, if it is a match

    std::size_t nextByte_ = 0;
    unsigned pending_ = 0;
    std::size_t given_ = 0;
    uint32_t mode_ = 0;
    bool ended_ = false;
    bool failed_ = false;
    unsigned modesMet_ = 0;

    Guard guard_;
    GuardedBuffer stateMemory_;
    InflateState* state_;
};

// What symbols 286 and 287 are in tables of this sort.
deflate::UnusedSymbols unusedSymbols(const BlockCodes& codes, Tables tables);

// A placement that serves any stream: everything in front of the destination, everything in a window (at a random
// index), or some here and some there.
Placement randomPlacement(Random& random, std::size_t available, std::size_t needed = 32768);

// Decodes a whole stream of blocks, block headers and stored blocks included, with call(decoder) until a block ends.
template <typename Call>
::testing::AssertionResult decodeStream(CheckedDecoder& decoder, ByteView stream, Call call) {
    for (bool last = false; !last;) {
        deflate::BitReader reader(stream, decoder.position());
        const auto header = deflate::readHeader(reader);
        if (!header) return ::testing::AssertionFailure() << "no block header at bit " << decoder.position();
        last = header->last;
        if (header->type == 0) {
            decoder.append(stream.subspan(reader.position() / 8, header->storedSize));
            decoder.moveTo(reader.position() + 8 * header->storedSize);
            continue;
        }
        decoder.moveTo(reader.position());
        const Tables tables = header->type == 1 ? Tables::Fixed : Tables::Built;
        if (auto result = decoder.beginBlock(header->codes, tables); !result) return result;
        while (!decoder.blockEnded()) {
            if (auto result = call(decoder); !result) return result;
            if (decoder.failed()) return ::testing::AssertionFailure() << "a block fails";
        }
    }
    return ::testing::AssertionSuccess();
}

}  // namespace ozrdc::test::inflate
