// Encodes a stream.
//
// Source bytes are copied behind the history, and everything else happens in that one buffer: a match may begin in the
// history and go on in the source. The parse is greedy. Every position is entered into the chains, those inside of
// matches too, except the last two bytes of a call, which no match covers: their hash would need bytes that are still
// to come. What is copied but not encoded, because the destination is full, is forgotten.
//
// All accesses are inside the buffer: `next` and `filled` are, matches end in front of `filled`, and candidates are
// less than kWindow back, where the history is, or at least the room for it.
//
// The time goes into the walk along the chains, see there, and into the entries, a few instructions for every byte.

#include <algorithm>
#include <cstring>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "lzss/bit_output.h"
#include "lzss/chains.h"
#include "lzss/hash.h"
#include "lzss/state.h"

namespace ozrdc::lzss {
namespace {

// A call's last bytes, which are never hashed and never part of a match.
constexpr uint32_t kUnhashed = kHashedBytes - 1;

// How many bytes must be there from a position on, if more of the source is to come, to see its match whole and to hash
// all positions inside.
constexpr ptrdiff_t kLookahead = kMaxMatch + kUnhashed;

// Repetitions of one byte are entered at once from this length on.
constexpr uint32_t kLeastRun = 16;

// The source as it moves through the buffer.
struct Input {
    uint8_t* const history;
    uint8_t* next;        // the first byte that is not encoded
    uint8_t* filled;      // behind the last byte that is in the buffer
    const uint8_t* rest;  // what is not in the buffer yet
    ptrdiff_t left;       // its length

    [[nodiscard]] bool atEnd() const noexcept { return next == filled && left == 0; }
    [[nodiscard]] ptrdiff_t room() const noexcept { return history + kHistorySize - filled; }

    // Brings `n` bytes of the source into the buffer, or what fits.
    void append(ptrdiff_t n) noexcept {
        n = std::min(n, room());
        std::memcpy(filled, rest, static_cast<size_t>(n));
        filled += n;
        rest += n;
        left -= n;
    }
    // Moves the history, and what is behind it, to the front.
    void slide() noexcept {
        const uint8_t* const kept = next - kWindow;
        std::memmove(history, kept, static_cast<size_t>(filled - kept));
        filled -= kept - history;
        next = history + kWindow;
    }
};

class Encoder {
  public:
    Encoder(LZSSState& state, const uint8_t* src, int32_t srcLen, uint8_t* dst, int32_t dstLen) noexcept
        : state_(state.encoder),
          chains_(state_),
          out_(state_.bits, state_.pending, dst, dstLen),
          in_{state_.history, state_.history + state_.end, state_.history + state_.end, src, srcLen},
          position_(state_.position) {}

    Status encode() noexcept {
        if (!out_.emit()) return StatusDestinationFull;
        while (!in_.atEnd()) {
            refill();
            if (!encodeBuffered()) return StatusDestinationFull;
        }
        return StatusOk;
    }

    void finish(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen) const noexcept {
        const ptrdiff_t buffered = in_.filled - in_.next;
        *ppSrc = in_.rest - buffered;
        *pSrcLen = static_cast<int32_t>(in_.left + buffered);
        *ppDst = out_.cursor();
        *pDstLen = static_cast<int32_t>(out_.room());
        state_.bits = out_.bits();
        state_.pending = out_.pending();
        state_.position = position_;
        state_.end = static_cast<uint32_t>(in_.next - in_.history);
    }

  private:
    // Brings more of the source into the buffer: enough to encode something, and not much more than what the
    // destination has room for, so that calls with little room take little time.
    void refill() noexcept {
        constexpr ptrdiff_t kBytesOfRoom = 4;  // what usual data fill a byte with
        constexpr ptrdiff_t kEnough = 4096;    // less than that is not worth a move
        static_assert(kLookahead < kEnough && kWindow + kLookahead + kEnough <= kHistorySize);
        const ptrdiff_t wanted = std::min(in_.left, kLookahead + kBytesOfRoom * out_.room());
        if (in_.room() < std::min(wanted, kEnough)) {
            chains_.forget(position_);
            in_.slide();
        }
        in_.append(wanted);
    }

    // Encodes what is in the buffer; if more of the source is to come, only as far as all matches can be seen whole.
    // False if the destination is full.
    bool encodeBuffered() noexcept {
        const bool last = in_.left == 0;
        const uint8_t* const searchEnd = in_.filled - (last ? kUnhashed : kLookahead);
        if (in_.next < searchEnd && !encodeUntil(searchEnd)) return false;
        if (!last) return true;
        while (in_.next < in_.filled) {
            out_.literal(*in_.next++);
            ++position_;
            if (!out_.emit()) return false;
        }
        return true;
    }

    // Encodes all tokens that begin in front of `searchEnd`. False if the destination is full.
    bool encodeUntil(const uint8_t* searchEnd) noexcept {
        const uint8_t* const matchEnd = in_.filled - kUnhashed;
        BitOutput out = out_;
        const uint8_t* p = in_.next;
        uint32_t position = position_;
        RollingHash hash(p);
        bool room = true;
        do {
            const auto limit = static_cast<uint32_t>(std::min<ptrdiff_t>(matchEnd - p, kMaxMatch));
            const uint32_t distance = chains_.enter(hash.at(p), position);
            const Match match = chains_.longestMatch(p, position, distance, limit);
            if (match.length < kMinMatch) {
                out.literal(*p++);
                ++position;
            } else {
                out.match(match.length, match.distance);
                enterInside(match, hash, p, position);
                p += match.length;
                position += match.length;
            }
            room = out.emit();
        } while (room && p < searchEnd);
        out_ = out;
        in_.next = in_.history + (p - in_.history);
        position_ = position;
        return room;
    }

    // Enters the positions of a match behind the first, which is at `p` and has `position`.
    [[gnu::always_inline]] void enterInside(const Match& match, RollingHash& hash, const uint8_t* p,
                                            uint32_t position) const noexcept {
        const uint8_t* const end = p + match.length;
        uint32_t entered = 1;
        if (match.distance == 1 && match.length >= kLeastRun) {
            // All but the last two have the hash of the first.
            entered = match.length - kUnhashed;
            chains_.enterRun(hash.last(), position + 1, entered - 1);
            hash = RollingHash(p + entered);
        }
        position += entered;
        for (p += entered; p < end; ++p, ++position) chains_.enter(hash.at(p), position);
    }

    EncoderState& state_;
    Chains chains_;
    BitOutput out_;
    Input in_;
    uint32_t position_;
};

}  // namespace
}  // namespace ozrdc::lzss

using namespace ozrdc;
using namespace ozrdc::lzss;

Status y8_ozrsLZSSGetSize_8u(int32_t* pSize) noexcept {
    if (anyNull(pSize)) return StatusNullPointer;
    *pSize = static_cast<int32_t>(kStateSize);
    return StatusOk;
}

Status y8_ozrsEncodeLZSSInit_8u(LZSSState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    EncoderState& state = pState->encoder;
    state.bits = 0;
    state.pending = 0;
    state.position = 0;
    state.end = kWindow;
    Chains(state).clear();
    return StatusOk;
}

Status y8_ozrsEncodeLZSS_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                            LZSSState* pState) noexcept {
    if (anyNull(ppSrc, pSrcLen, ppDst, pDstLen) || anyNull(*ppSrc, *ppDst, pState)) return StatusNullPointer;
    if (*pSrcLen < 0 || *pDstLen < 0) return StatusSizeError;
    if (*pDstLen == 0) return StatusDestinationFull;
    if (*pSrcLen == 0) return StatusOk;
    Encoder encoder(*pState, *ppSrc, *pSrcLen, *ppDst, *pDstLen);
    const Status status = encoder.encode();
    encoder.finish(ppSrc, pSrcLen, ppDst, pDstLen);
    return status;
}

Status y8_ozrsEncodeLZSSFlush_8u(uint8_t** ppDst, int32_t* pDstLen, LZSSState* pState) noexcept {
    if (anyNull(ppDst, pDstLen) || anyNull(*ppDst, pState)) return StatusNullPointer;
    if (*pDstLen < 1) return StatusSizeError;
    EncoderState& state = pState->encoder;
    BitOutput out(state.bits, state.pending, *ppDst, *pDstLen);
    const bool complete = out.emitAll();
    *ppDst = out.cursor();
    *pDstLen = static_cast<int32_t>(out.room());
    if (complete) return StatusOk;
    // A completed flush leaves the pending bits as they were: the same flush again writes the same bytes again.
    state.bits = out.bits();
    state.pending = out.pending();
    return StatusDestinationFull;
}
