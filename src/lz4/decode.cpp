// Decodes LZ4 blocks.
//
// Two loops give the same bytes. The fast loop copies in whole 16- and 32-byte units and so reads and writes past the
// lengths that it handles; it runs only while both cursors are far enough from the ends of their buffers that this
// stays inside them. Most sequences have fewer than 15 literals and a match of at most 18 bytes from at least 16 bytes
// back, and take one fixed 16-byte copy for the literals and 18 bytes for the match, without a length-dependent branch.
// The careful loop takes over near the ends, checks every length and touches nothing outside its copies.
//
// Which loop handles a sequence can be seen in the status of some malformed blocks (the fast loop lets a literal run of
// up to 32 bytes end within the last 8 bytes of the source, the careful loop does not), so the margins are part of the
// contract.
//
// The history that matches may reach is a policy: `Contiguous` when it lies directly in front of the output, `Separate`
// when the first positions of the destination stand for a dictionary elsewhere.

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/match_copy.h"
#include "core/opaque.h"
#include "core/unaligned.h"
#include "lz4/format.h"

namespace ozrdc::lz4 {
namespace {

// The fast loop runs while at least this much lies behind the cursors: the source cursor is below end - margin.
constexpr int64_t kSourceMargin = 33;
constexpr int64_t kSourceMarginWithHistory = 32;
constexpr int64_t kDestinationMargin = 64;

// What the fast loop copies before it looks at the number of literals.
constexpr uint64_t kShortLiterals = 16;
static_assert(1 + kShortLiterals <= kSourceMarginWithHistory);

// A run of this many literals fits the destination wherever the fast loop runs, with the copy of a short match behind
// it.
constexpr uint64_t kMediumLiterals = 32;
static_assert(kMediumLiterals + kShortMatchWritten <= kDestinationMargin);

// Literals with an extension are copied in whole units without a look at their number, which is 15 at least. They end
// inside both margins.
constexpr uint64_t kLongLiterals = 48;
static_assert(kLongLiterals <= kNibbleMax + kSourceMarginWithHistory + 1 && kLongLiterals <= kDestinationMargin);
static_assert(WideCopy::overwrite < kDestinationMargin);

// The bytes behind literals that the fast loop reads before it looks at the source's end again: an offset and a token.
constexpr int64_t kOffsetAndToken = 3;
static_assert(1 + (kNibbleMax - 1) + kOffsetAndToken <= kSourceMarginWithHistory);

// A run of literals that ends closer than this to the end of the source must end at the end.
constexpr int64_t kLastLiteralsMargin = 8;

struct Source {
    const uint8_t* begin;
    const uint8_t* end;
};

struct Destination {
    uint8_t* begin;
    uint8_t* end;
};

// How a decoding ended, and where the cursors stood then.
struct Outcome {
    Status status;
    const uint8_t* ip;
    uint8_t* op;
};

// A match that the fast loop leaves to the careful loop; a length of 0 is none.
struct Match {
    uint64_t offset = 0;
    uint64_t length = 0;
};

// History that lies directly in front of the output.
struct Contiguous {
    uintptr_t lowest;  // address of the first byte that a match may reach

    [[gnu::always_inline]] bool reaches(const uint8_t* op, uint64_t offset) const noexcept {
        return reinterpret_cast<uintptr_t>(op) - offset >= lowest;
    }
    // No match begins anywhere else.
    static constexpr bool kHasElsewhere = false;
    [[gnu::always_inline]] static bool startsElsewhere(const uint8_t*, uint64_t) noexcept { return false; }
};

// The positions [0, dictSize) of the destination stand for a dictionary.
struct Separate {
    const uint8_t* base;  // position 0 of the destination
    const uint8_t* dict;
    int64_t dictSize;

    static constexpr bool kHasElsewhere = true;

    [[gnu::always_inline]] int64_t position(const uint8_t* op, uint64_t offset) const noexcept {
        return static_cast<int64_t>(reinterpret_cast<uintptr_t>(op) - reinterpret_cast<uintptr_t>(base)) -
               static_cast<int64_t>(offset);
    }
    [[gnu::always_inline]] bool reaches(const uint8_t* op, uint64_t offset) const noexcept {
        return position(op, offset) >= 0;
    }
    [[gnu::always_inline]] bool startsElsewhere(const uint8_t* op, uint64_t offset) const noexcept {
        return position(op, offset) < dictSize;
    }
    // Copies the part of a match that lies in the dictionary and returns its length; the rest, if any, goes on in the
    // destination at the same offset.
    [[gnu::always_inline]] uint64_t copyPart(uint8_t* op, uint64_t offset, uint64_t length) const noexcept {
        const int64_t from = position(op, offset);
        const auto there = std::min(length, static_cast<uint64_t>(dictSize - from));
        std::memcpy(op, dict + from, there);
        return there;
    }
};

// Copies the part of a match, if any, that does not lie in the destination; returns its length.
template <class History>
[[gnu::always_inline]] inline uint64_t copyFromElsewhere(const History& history, uint8_t* op, uint64_t offset,
                                                         uint64_t length) noexcept {
    if constexpr (History::kHasElsewhere) {
        if (history.startsElsewhere(op, offset)) return history.copyPart(op, offset, length);
    }
    return 0;
}

// Adds the extension bytes of a length. False if they run off the source; the cursor stands at its end then.
// The sum stays below 2^40, because sources are shorter than 2^31 bytes.
[[gnu::always_inline]] inline bool readExtension(const uint8_t*& ip, const uint8_t* end, uint64_t& length) noexcept {
    unsigned byte;
    do {
        if (ip == end) [[unlikely]]
            return false;
        byte = *ip++;
        length += byte;
    } while (byte == kExtensionMax);
    return true;
}

// The length of a match, of which the token gives the low nibble.
[[gnu::always_inline]] inline Status readMatchLength(const Source& src, const uint8_t*& ip, unsigned nibble,
                                                     uint64_t& length) noexcept {
    uint64_t code = nibble;
    if (nibble == kNibbleMax) {
        if (!readExtension(ip, src.end, code)) [[unlikely]]
            return StatusSourceExhausted;
        if (code > std::numeric_limits<int32_t>::max()) [[unlikely]]
            return StatusSizeError;
    }
    length = code + kMinMatch;
    return StatusOk;
}

// The bytes that follow the literals of a sequence: the offset of its match, and the extension of the length.
template <class History>
[[gnu::always_inline]] inline Status readMatch(const Source& src, const History& history, const uint8_t*& ip,
                                               const uint8_t* op, unsigned nibble, Match& match) noexcept {
    if (src.end - ip < 2) [[unlikely]] {
        ip = src.end;
        return StatusSourceExhausted;
    }
    match.offset = load16(ip);
    ip += 2;
    if (!history.reaches(op, match.offset)) [[unlikely]]
        return StatusError;
    return readMatchLength(src, ip, nibble, match.length);
}

// Copies a run of literals in whole units.
[[gnu::always_inline]] inline void copyLongLiterals(uint8_t* op, const uint8_t* ip, uint64_t count) noexcept {
    constexpr uint64_t kUnit = 32;
    static_assert(kUnit <= kSourceMarginWithHistory && kUnit <= kDestinationMargin);
    uint8_t* const end = op + count;
    copyBlock<kLongLiterals>(op, ip);
    for (op += kLongLiterals, ip += kLongLiterals; op < end; op += kUnit, ip += kUnit) copyBlock<kUnit>(op, ip);
}

template <class History>
[[gnu::noinline]] Outcome decodeCarefully(const Source src, const Destination dst, const History history,
                                          const uint8_t* ip, uint8_t* op, Match match) noexcept {
    const Status ended = src.end - src.begin == 1 ? StatusSourceExhausted : StatusOk;
    for (;;) {
        if (match.length == 0) {
            if (src.end - ip <= 1) return {ended, ip, op};
            const unsigned token = *ip++;
            uint64_t literals = token >> 4;
            if (literals == kNibbleMax && !readExtension(ip, src.end, literals)) {
                return {StatusSourceExhausted, ip, op};
            }
            const auto sourceLeft = static_cast<uint64_t>(src.end - ip);
            const auto room = static_cast<uint64_t>(dst.end - op);
            const uint64_t copied = std::min({literals, sourceLeft, room});
            if (copied <= kShortLiterals && sourceLeft >= kShortLiterals && room >= kShortLiterals) {
                copyBlock<kShortLiterals>(op, ip);
            } else {
                std::memcpy(op, ip, copied);
            }
            op += copied;
            ip += copied;
            if (literals > room) return {StatusDestinationFull, ip, op};
            if (literals + kLastLiteralsMargin > sourceLeft && literals != sourceLeft) {
                return {StatusSourceExhausted, ip, op};
            }
            if (ip == src.end || op == dst.end) return {ended, ip, op};
            if (const Status s = readMatch(src, history, ip, op, token & kNibbleMax, match)) return {s, ip, op};
        }
        const auto room = static_cast<uint64_t>(dst.end - op);
        const uint64_t length = std::min(match.length, room);
        const uint64_t copied = copyFromElsewhere(history, op, match.offset, length);
        // A match that lies in the dictionary whole has no source in the destination: nothing may be read there.
        if (copied < length) {
            if (room - copied >= WideCopy::overwrite + length) {
                copyMatchFast<WideCopy>(op + copied, match.offset, length - copied);
            } else {
                copyMatchExact(op + copied, match.offset, length - copied);
            }
        }
        op += length;
        if (match.length > room) return {StatusDestinationFull, ip, op};
        match.length = 0;
    }
}

template <int64_t sourceMargin, class History>
Outcome decode(const Source src, const Destination dst, const History history) noexcept {
    const uint8_t* ip = src.begin;
    uint8_t* op = dst.begin;
    if (src.end - ip <= sourceMargin || dst.end - op <= kDestinationMargin) {
        return decodeCarefully(src, dst, history, ip, op, Match{});
    }
    const uint8_t* const ipFast = src.end - sourceMargin;
    uint8_t* const opFast = dst.end - kDestinationMargin;

    unsigned token = *ip;
    do {
        uint64_t literals = token >> 4;
        unsigned nextToken;
        copyBlock<kShortLiterals>(op, ip + 1);
        if (literals != kNibbleMax) [[likely]] {
            // The way from one token to the next bounds the speed of this loop. It is kept to a load and a shift: the
            // next token is loaded here, at an address formed from the literal count itself and not from the advanced
            // cursor, and without a displacement, which costs a cycle. The compiler would rather compute the sum once;
            // it must not see that the two are equal. Behind a long match the token is another one and is loaded again.
            const uint8_t* const next = opaque(ip + kOffsetAndToken);
            nextToken = next[opaque(literals)];
            ip = next + literals;
            op += literals;
        } else {
            const uint8_t* const sequence = ip++;
            if (!readExtension(ip, src.end, literals)) [[unlikely]]
                return {StatusSourceExhausted, ip, op};
            const auto count = static_cast<int64_t>(literals);
            if (count < opFast - op && count < ipFast - ip) [[likely]] {
                copyLongLiterals(op, ip, literals);
            } else if (literals <= kMediumLiterals && count <= src.end - ip) {
                // Runs up to this length need no room behind them.
                std::memcpy(op, ip, literals);
            } else {
                return decodeCarefully(src, dst, history, sequence, op, Match{});
            }
            op += literals;
            ip += literals;
            if (src.end - ip < kOffsetAndToken) [[unlikely]] {
                // The careful loop takes over behind this match in any case, and copies it, too.
                if (ip == src.end) return {StatusOk, ip, op};
                Match match;
                const Status s = readMatch(src, history, ip, op, token & kNibbleMax, match);
                return s == StatusOk ? decodeCarefully(src, dst, history, ip, op, match) : Outcome{s, ip, op};
            }
            ip += 2;
            nextToken = *ip;
        }

        Match match{load16(ip - 2), (token & kNibbleMax) + kMinMatch};
        if (!history.reaches(op, match.offset)) [[unlikely]]
            return {StatusError, ip, op};
        if (match.length < kNibbleMax + kMinMatch) [[likely]] {
            // A short match ends inside the destination whatever it is, and needs no check.
            if (!history.startsElsewhere(op, match.offset)) [[likely]] {
                if (match.offset >= kWideOffset) [[likely]] {
                    const uint8_t* const from = op - match.offset;
                    copyBlock<16>(op, from);
                    copyBlock<kShortMatch - 16>(op + 16, from + 16);
                } else {
                    copyShortPattern(op, match.offset);
                }
                op += match.length;
                token = nextToken;
                continue;
            }
        } else {
            if (const Status s = readMatchLength(src, ip, kNibbleMax, match.length)) [[unlikely]]
                return {s, ip, op};
            if (ip >= ipFast) [[unlikely]]
                return decodeCarefully(src, dst, history, ip, op, match);
            nextToken = *ip;
        }
        if (static_cast<int64_t>(match.length) >= opFast - op) [[unlikely]] {
            return decodeCarefully(src, dst, history, ip, op, match);
        }
        const uint64_t copied = copyFromElsewhere(history, op, match.offset, match.length);
        if (copied < match.length) copyMatchFast<WideCopy>(op + copied, match.offset, match.length - copied);
        op += match.length;
        token = nextToken;
    } while (ip < ipFast && op < opFast);
    return decodeCarefully(src, dst, history, ip, op, Match{});
}

// The checks that every decoder makes, and its results. `Decode` is called with the checked buffers.
template <class Decode>
[[gnu::always_inline]] inline Status decodeChecked(const uint8_t* pSrc, int32_t* pSrcLen, uint8_t* output,
                                                   int32_t* pDstLen, Decode decodeBlock) noexcept {
    if (anyNull(pSrc, pSrcLen, output, pDstLen)) return StatusNullPointer;
    if (*pSrcLen < 1 || *pDstLen < 1) return StatusSizeError;
    const Outcome outcome = decodeBlock(Source{pSrc, pSrc + *pSrcLen}, Destination{output, output + *pDstLen});
    if (outcome.status < StatusOk) return outcome.status;
    *pSrcLen = static_cast<int32_t>(outcome.ip - pSrc);
    *pDstLen = static_cast<int32_t>(outcome.op - output);
    return outcome.status;
}

// Decodes a self-contained block; `*pSrcLen` receives the bytes consumed.
Status ownsDecodeLZ4_8u(const uint8_t* pSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen) noexcept {
    return decodeChecked(pSrc, pSrcLen, pDst, pDstLen, [](Source src, Destination dst) noexcept {
        return decode<kSourceMargin>(src, dst, Contiguous{reinterpret_cast<uintptr_t>(dst.begin)});
    });
}

// Decodes a block whose history is the `dictSize` bytes in front of the output.
Status ownsDecodeLZ4WithPrefix_8u(const uint8_t* pSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                                  int32_t dictSize) noexcept {
    return decodeChecked(pSrc, pSrcLen, pDst, pDstLen, [dictSize](Source src, Destination dst) noexcept {
        const uintptr_t lowest = reinterpret_cast<uintptr_t>(dst.begin) - static_cast<uintptr_t>(int64_t{dictSize});
        return decode<kSourceMarginWithHistory>(src, dst, Contiguous{lowest});
    });
}

}  // namespace
}  // namespace ozrdc::lz4

Status y8_ozrsDecodeLZ4_8u(const uint8_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen) noexcept {
    return ozrdc::lz4::ownsDecodeLZ4_8u(pSrc, &srcLen, pDst, pDstLen);
}

Status y8_ozrsDecodeLZ4Dict_8u(const uint8_t* pSrc, int32_t* pSrcLen, uint8_t* pDst, int32_t dstIdx, int32_t* pDstLen,
                               const uint8_t* pDict, int32_t dictSize) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::lz4;
    // A null destination must be seen before an index is added to it.
    if (anyNull(pSrc, pSrcLen, pDst, pDstLen)) return StatusNullPointer;
    uint8_t* const output = pDst + dstIdx;
    if (pDict == nullptr || dictSize == 0) return ownsDecodeLZ4_8u(pSrc, pSrcLen, output, pDstLen);
    const auto dictEnd = reinterpret_cast<uintptr_t>(pDict) + static_cast<uintptr_t>(int64_t{dictSize});
    if (dictEnd == reinterpret_cast<uintptr_t>(output)) {
        return ownsDecodeLZ4WithPrefix_8u(pSrc, pSrcLen, output, pDstLen, dictSize);
    }
    if (dictSize < 1) return StatusSizeError;
    return decodeChecked(pSrc, pSrcLen, output, pDstLen, [=](Source src, Destination dst) noexcept {
        return decode<kSourceMarginWithHistory>(src, dst, Separate{pDst, pDict, dictSize});
    });
}
