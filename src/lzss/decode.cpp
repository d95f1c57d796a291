// Decodes a stream.
//
// Two loops give the same bytes. The careful loop takes one token after the other and one byte of the source after the
// other, never more than the token needs, so that it can stop anywhere and go on with the next call. The fast loop
// runs while both cursors are far enough from the ends of their buffers.
//
// Literals and matches follow each other without a rule, so that a branch on each token would often be mispredicted,
// which costs more than the token. The fast loop takes a run of literals and the match behind it at once: the number of
// literals is the number of set flags among the next ones, nine bits apart, and all bytes that may be literals are
// stored before it is known.

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/match_copy.h"
#include "core/unaligned.h"
#include "lzss/format.h"
#include "lzss/history.h"
#include "lzss/state.h"

namespace ozrdc::lzss {
namespace {

struct Source {
    const uint8_t* begin;
    const uint8_t* ip;
    const uint8_t* end;
    uint32_t bits;  // left-aligned; zeros behind the pending ones
    uint32_t pending;

    // Takes bytes until `n` bits are pending; false if they run out.
    bool pull(uint32_t n) noexcept {
        while (pending < n) {
            if (ip == end) return false;
            bits |= uint32_t{*ip++} << (32 - kByteBits - pending);
            pending += kByteBits;
        }
        return true;
    }
    void drop(uint32_t n) noexcept {
        bits <<= n;
        pending -= n;
    }

    // The next bit as its place in the source, and back. Between tokens, less than a byte is pending, and that is the
    // last one that was taken, if this call took any.
    [[nodiscard]] bool hasPosition() const noexcept { return pending == 0 || (pending < kByteBits && ip > begin); }
    [[nodiscard]] uint64_t position() const noexcept { return static_cast<uint64_t>(ip - begin) * kByteBits - pending; }
    void goTo(uint64_t position) noexcept {
        ip = begin + (position + kByteBits - 1) / kByteBits;
        pending = static_cast<uint32_t>(-position % kByteBits);
        bits = pending == 0 ? 0 : uint32_t{ip[-1]} << (32 - pending);
    }
};

struct Output {
    uint8_t* begin;
    uint8_t* op;
    uint8_t* end;

    [[nodiscard]] bool full() const noexcept { return op == end; }
    [[nodiscard]] ptrdiff_t room() const noexcept { return end - op; }
};

// A token as the fast loop sees it: the next bits, left-aligned. Wherever a token begins in a byte, a load brings this
// many of its bits and those behind it.
constexpr unsigned kBitsInView = 64 - (kByteBits - 1);

// The fast loop takes up to kLiteralsInView literals at a time. If less than that are followed by a match, and not more
// than kLiteralsWithMatch, the match is in view, too.
constexpr unsigned kLiteralsInView = kBitsInView / kLiteralBits;
constexpr unsigned kLiteralsWithMatch = (kBitsInView - kMatchBits) / kLiteralBits;

// The flag of each literal in view, and one behind them that stands for the end of the view.
constexpr uint64_t kFlags = [] {
    uint64_t flags = 0;
    for (unsigned i = 0; i < kLiteralsInView; ++i) flags |= uint64_t{1} << (63 - i * kLiteralBits);
    return flags;
}();
constexpr uint64_t kEndOfView = uint64_t{1} << (63 - kLiteralsInView * kLiteralBits);

// The number of bits of literals at the beginning of the view.
[[gnu::always_inline]] inline unsigned literalBits(uint64_t view) noexcept {
    return static_cast<unsigned>(std::countl_zero((~view & kFlags) | kEndOfView));
}

// Stores the bytes of the literals in view, and two more.
//
// The byte of literal i is bits 9i + 1 to 9i + 8: of the bytes i and i + 1 together, those behind the first i + 1. The
// multiplication moves them to the high half of 16 bits.
constexpr unsigned kLiteralsStored = 8;
[[gnu::always_inline]] inline void storeLiterals(uint8_t* op, uint64_t view) noexcept {
    const __m128i bytes = _mm_cvtsi64_si128(static_cast<int64_t>(view));  // the first byte of the view is the last here
    const __m128i pairs = _mm_shuffle_epi8(bytes, _mm_setr_epi8(6, 7, 5, 6, 4, 5, 3, 4, 2, 3, 1, 2, 0, 1, -1, 0));
    const __m128i moved = _mm_mullo_epi16(pairs, _mm_setr_epi16(2, 4, 8, 16, 32, 64, 128, 256));
    const __m128i literals = _mm_packus_epi16(_mm_srli_epi16(moved, 8), _mm_setzero_si128());
    _mm_storel_epi64(reinterpret_cast<__m128i*>(op), literals);
}

// What the fast loop reads at a position, and writes: a view of literals, and a match.
constexpr ptrdiff_t kSourceMargin = sizeof(uint64_t);
constexpr ptrdiff_t kDestinationMargin = kLiteralsWithMatch + kMaxMatch + ShortCopy::overwrite;
static_assert(kLiteralsStored <= kDestinationMargin);

void decodeFast(Source& source, Output& output, const History& history) noexcept {
    if (!source.hasPosition() || source.end - source.begin < kSourceMargin || output.room() < kDestinationMargin)
        return;
    const uint8_t* const src = source.begin;
    const uint64_t limit = static_cast<uint64_t>(source.end - src - kSourceMargin) * kByteBits + (kByteBits - 1);
    uint8_t* const begin = output.begin;
    uint8_t* const opLimit = output.end - kDestinationMargin;
    uint64_t position = source.position();
    uint8_t* op = output.op;
    while (position <= limit && op <= opLimit) {
        const uint64_t view = __builtin_bswap64(load64(src + position / kByteBits)) << position % kByteBits;
        const unsigned bits = literalBits(view);
        storeLiterals(op, view);
        position += bits;
        op += bits / kLiteralBits;
        if (bits > kLiteralsWithMatch * kLiteralBits) [[unlikely]]
            continue;
        const uint64_t match = view << bits;
        const auto distance = static_cast<uint32_t>(match >> (64 - 1 - kDistanceBits));
        const auto length = static_cast<uint32_t>(match << (1 + kDistanceBits) >> (64 - kLengthBits)) + kMinMatch;
        position += kMatchBits;
        // Also true for a distance of 0.
        if (uint64_t{distance} - 1 >= static_cast<uint64_t>(op - begin)) [[unlikely]] {
            history.copyMatch(begin, op, distance, length);
        } else {
            copyMatchFast<ShortCopy>(op, distance, length);
        }
        op += length;
    }
    source.goTo(position);
    output.op = op;
}

struct PendingMatch {
    uint32_t length;  // 0: none
    uint32_t distance;

    // Copies as much of it as fits.
    void copy(Output& output, const History& history) noexcept {
        const auto n = static_cast<uint32_t>(std::min<ptrdiff_t>(length, output.room()));
        history.copyMatch(output.begin, output.op, distance, n);
        output.op += n;
        length -= n;
    }
};

Status decode(Source& source, Output& output, PendingMatch& match, const History& history) noexcept {
    if (match.length > 0) {
        match.copy(output, history);
        if (output.full()) return StatusDestinationFull;
    }
    for (;;) {
        decodeFast(source, output, history);
        if (!source.pull(kLiteralBits)) return StatusOk;
        constexpr uint32_t kLiteralFlag = uint32_t{1} << 31;
        if (source.bits & kLiteralFlag) {
            *output.op++ = static_cast<uint8_t>(source.bits >> (32 - kLiteralBits));
            source.drop(kLiteralBits);
        } else {
            if (!source.pull(kMatchBits)) return StatusOk;
            match.distance = source.bits >> (32 - 1 - kDistanceBits);
            match.length = static_cast<uint8_t>(source.bits >> (32 - kMatchBits)) + kMinMatch;
            source.drop(kMatchBits);
            match.copy(output, history);
        }
        if (output.full()) return StatusDestinationFull;
    }
}

}  // namespace
}  // namespace ozrdc::lzss

using namespace ozrdc;
using namespace ozrdc::lzss;

Status y8_ozrsDecodeLZSSInit_8u(LZSSState* pState) noexcept {
    if (anyNull(pState)) return StatusNullPointer;
    DecoderState& state = pState->decoder;
    state.bits = 0;
    state.pending = 0;
    state.length = 0;
    state.distance = 0;
    // What was decoded before stays in reach of a new stream's distances. That can be seen: a state that has never been
    // used holds anything here, and then any part of the buffer is as good as another.
    if (state.end < kWindow || state.end > kHistorySize) state.end = kWindow;
    return StatusOk;
}

Status y8_ozrsDecodeLZSS_8u(const uint8_t** ppSrc, int32_t* pSrcLen, uint8_t** ppDst, int32_t* pDstLen,
                            LZSSState* pState) noexcept {
    if (anyNull(ppSrc, pSrcLen, ppDst, pDstLen) || anyNull(*ppSrc, *ppDst, pState)) return StatusNullPointer;
    if (*pSrcLen < 0 || *pDstLen < 1) return StatusSizeError;
    DecoderState& state = pState->decoder;
    Source source{*ppSrc, *ppSrc, *ppSrc + *pSrcLen, state.bits, state.pending};
    Output output{*ppDst, *ppDst, *ppDst + *pDstLen};
    PendingMatch match{state.length, state.distance};
    History history(state);
    const Status status = decode(source, output, match, history);
    history.append(output.begin, output.op);
    state.bits = source.bits;
    state.pending = source.pending;
    state.length = match.length;
    state.distance = match.length > 0 ? match.distance : 0;
    *ppSrc = source.ip;
    *pSrcLen = static_cast<int32_t>(source.end - source.ip);
    *ppDst = output.op;
    *pDstLen = static_cast<int32_t>(output.room());
    return status;
}
