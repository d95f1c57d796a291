// The match search of the LZ4 high-compression encoder.
//
// Two tables of the caller's hold positions. The head table maps the hash of the four bytes at a position to the last
// position entered with that hash; the chain table holds for every position, modulo its size, the position that the
// head was before. To walk a chain is to go from the head to ever older positions, up to a number of attempts, and to
// keep the longest match; the first one found if several are longest.
//
// Positions are entered lazily: all those in front of the place that is searched, none twice. Entries that an earlier
// call left are believed only so far: a walk ends at the first one that is not an earlier position, or too far back.
#pragma once

#include <algorithm>
#include <cstdint>

#include "core/crc_hash.h"
#include "core/match_length.h"
#include "core/unaligned.h"
#include "lz4/format.h"
#include "lz4/history.h"

namespace ozrdc::lz4 {

// The farthest that a match of this encoder lies back, one less than the format allows.
constexpr uint64_t kMaxChainDistance = 65534;

// A second match is searched so many bytes before the end of the first.
constexpr int64_t kSecondOverlap = 2;

// The caller's tables of 32-bit positions, at any address.
struct ChainTables {
    static constexpr uint32_t kHeads = 32768;
    static constexpr uint32_t kLinks = 65536;
    static_assert(kLinks > kMaxChainDistance);  // so that the link of no position in reach has been overwritten

    uint8_t* heads;
    uint8_t* links;

    [[gnu::always_inline]] uint8_t* head(const uint8_t* p) const noexcept {
        return heads + sizeof(uint32_t) * (crcHash(0, load32(p)) % kHeads);
    }
    [[gnu::always_inline]] uint8_t* link(uint64_t position) const noexcept {
        return links + sizeof(uint32_t) * (position % kLinks);
    }
};

// A match at `at`, which repeats the bytes `distance` back. Two registers hold one.
struct Match {
    const uint8_t* at = nullptr;
    int32_t length = 0;
    int32_t distance = 0;

    [[nodiscard]] const uint8_t* end() const noexcept { return at + length; }

    // Moves the beginning; the end stays.
    void beginLater(int64_t n) noexcept {
        at += n;
        length -= static_cast<int32_t>(n);
    }
};

// The bytes of a candidate, and the piece of memory that they are part of.
struct CandidateBytes {
    const uint8_t* at;
    const uint8_t* begin;
    const uint8_t* end;
};

// Finds the bytes of positions; false if no match may begin there. This is for history in front of the source: all
// positions lie in one piece of memory.
struct PrefixBytes {
    static constexpr bool kOnePiece = true;

    const uint8_t* base;
    const uint8_t* begin;  // of what may be read
    const uint8_t* end;

    PrefixBytes(const uint8_t* source, int64_t srcIdx, int64_t srcLen) noexcept
        : base(source - srcIdx), begin(source - std::min<int64_t>(srcIdx, kMaxOffset)), end(source + srcLen) {}

    [[gnu::always_inline]] bool find(uint64_t candidate, CandidateBytes& bytes) const noexcept {
        bytes = {base + candidate, begin, end};
        return true;
    }
};

// The same for history elsewhere.
struct SeparateBytes {
    static constexpr bool kOnePiece = false;

    const uint8_t* base;
    const uint8_t* begin;  // of the source
    const uint8_t* end;
    SeparateHistory<false> history;
    const uint8_t* dictionaryBegin;

    SeparateBytes(const uint8_t* source, int64_t srcIdx, int64_t srcLen, const uint8_t* pDict,
                  int64_t dictSize) noexcept
        : base(source - srcIdx),
          begin(source),
          end(source + srcLen),
          history(source, srcIdx, pDict, dictSize),
          dictionaryBegin(pDict) {}

    [[gnu::always_inline]] bool find(uint64_t candidate, CandidateBytes& bytes) const noexcept {
        const auto position = static_cast<int64_t>(candidate);
        if (history.isInSource(position)) {
            bytes = {base + candidate, begin, end};
            return true;
        }
        bytes = {history.dictionary + candidate, dictionaryBegin, history.dictionaryEnd};
        return history.isUsable(position);
    }
};

// A walk along the chain of one position: what it has found, and the candidate that is next.
struct Walk {
    const uint8_t* p;
    uint64_t oldest;  // the oldest position in reach; below 0, and then a very large number, near the beginning
    uint64_t candidate;
    Match best;
};

// Looks for the longest match that begins at a position.
template <class Bytes>
struct LongestWalk : Walk {
    // A longer match has the four bytes that end with the first one that the longest one so far lacks.
    static constexpr int64_t kTail = sizeof(uint32_t) - 1;

    const uint8_t* matchLimit;
    int64_t length = kMinMatch - 1;  // of a match that is not worth having
    uint32_t tail;

    LongestWalk(const Walk& walk, const uint8_t* limit) noexcept : Walk(walk), matchLimit(limit), tail(load32(p)) {}

    // Looks at a candidate; false if no other can be better.
    [[gnu::always_inline]] bool consider(const CandidateBytes& from, int32_t distance) noexcept {
        const uint8_t* limit = matchLimit;
        if constexpr (!Bytes::kOnePiece) {
            limit = std::min(limit, p + (from.end - from.at));
            if (limit - p <= length) return true;
        }
        if (load32(from.at + length - kTail) != tail) [[likely]]
            return true;
        const int64_t n = getboundlong(p, from.at, 0, limit - p);
        if (n <= length) return true;
        length = n;
        tail = load32(p + length - kTail);
        best = {p, static_cast<int32_t>(n), distance};
        return p + n < matchLimit;
    }
};

// Looks for the longest match that a position lies in, if longer than a given length. It begins at `lowest` or behind
// it. At least 16 bytes of the source follow the position.
//
// All candidates have the bytes at the position, and nearly all fail by a little. So the equal bytes of the 16 on
// either side are counted at once, and if their sum is too small, that is the end of it. The bytes in front are turned
// round first: to count from the low end of a mask is one quick instruction, and from the high end a slow one.
template <class Bytes>
struct WiderWalk : Walk {
    static constexpr int kWord = 16;
    static constexpr uint32_t kAllEqual = 0xFFFF;
    static constexpr int kUncounted = -1;

    const uint8_t* matchLimit;
    int64_t mostBack;
    int64_t length;
    const uint8_t* wordsFrom;  // from there on, candidates have words on both sides
    __m128i ahead;
    __m128i back = _mm_setzero_si128();
    uint32_t backMask;          // a bit for each byte of the word in front that a match may contain
    int tooShort = kUncounted;  // sums up to that are exact, and not above `length`; no word is counted if negative

    WiderWalk(const Walk& walk, const uint8_t* lowest, int64_t lengthSoFar, const Bytes& bytes,
              const uint8_t* limit) noexcept
        : Walk(walk),
          matchLimit(limit),
          mostBack(p - lowest),
          length(lengthSoFar),
          wordsFrom(bytes.end),
          ahead(load128(p)),
          backMask(mostBack < kWord ? (uint32_t{1} << mostBack) - 1 : kAllEqual) {
        if (p - bytes.begin < kWord || matchLimit - p < kWord) return;
        wordsFrom = bytes.begin + kWord;
        back = turnedRound(load128(p - kWord));
        setTooShort();
    }

    [[gnu::always_inline]] bool consider(const CandidateBytes& from, int32_t distance) noexcept {
        if (hasWords(from)) [[likely]] {
            const uint32_t equalAhead = equalMask(ahead, load128(from.at));
            const uint32_t equalBack = equalMask(back, turnedRound(load128(from.at - kWord))) & backMask;
            const int n = leadingOnes(equalAhead) + leadingOnes(equalBack);
            if (n <= tooShort) [[likely]]
                return true;
            if (equalAhead != kAllEqual && equalBack != kAllEqual) {
                if (n > length) accept(n, leadingOnes(equalBack), distance);
                return true;
            }
        }
        const int64_t most = std::min(matchLimit - p, from.end - from.at);
        const Reach reach = measure(p, from.at, most, std::min(mostBack, from.at - from.begin), length - mostBack);
        if (reach.ahead + reach.back <= length) return true;
        accept(reach.ahead + reach.back, reach.back, distance);
        return length < mostBack + (matchLimit - p);
    }

  private:
    struct Reach {
        int64_t ahead;
        int64_t back;
    };

    [[gnu::always_inline]] bool hasWords(const CandidateBytes& from) const noexcept {
        if constexpr (Bytes::kOnePiece) return from.at >= wordsFrom;
        return tooShort != kUncounted && from.at - from.begin >= kWord && from.end - from.at >= kWord;
    }

    [[gnu::always_inline]] void accept(int64_t n, int64_t before, int32_t distance) noexcept {
        length = n;
        best = {p - before, static_cast<int32_t>(n), distance};
        if (tooShort != kUncounted) setTooShort();
    }

    // A word that is all equal may go on: such a sum is never too small.
    [[gnu::always_inline]] void setTooShort() noexcept {
        tooShort = static_cast<int>(std::min<int64_t>(length, kWord - 1));
    }

    [[gnu::always_inline]] static __m128i turnedRound(__m128i bytes) noexcept {
        return _mm_shuffle_epi8(bytes, _mm_set_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15));
    }

    // A bit for each of 16 bytes that are the same.
    [[gnu::always_inline]] static uint32_t equalMask(__m128i a, __m128i b) noexcept {
        return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(a, b)));
    }

    // How many bytes are equal before the first that is not.
    [[gnu::always_inline]] static int leadingOnes(uint32_t mask) noexcept { return __builtin_ctz(mask + 1); }

    // The equal bytes on both sides; none if the byte `needed` bytes ahead differs, which a longer match has, wherever
    // it begins.
    [[gnu::always_inline]] static Reach measure(const uint8_t* p, const uint8_t* from, int64_t mostAhead,
                                                int64_t mostBack, int64_t needed) noexcept {
        if (needed >= mostAhead || (needed >= 0 && from[needed] != p[needed])) return {0, 0};
        return {getboundlong(p, from, 0, mostAhead), commonSuffix(p, from, mostBack)};
    }
};

template <class Bytes>
class ChainSearch {
  public:
    ChainSearch(ChainTables tables, const Bytes& bytes, const uint8_t* source, const uint8_t* matchLimit,
                int attempts) noexcept
        : tables_(tables), bytes_(bytes), cursor_(source), matchLimit_(matchLimit), attempts_(attempts) {}

    // The longest match at `p`, of length 0 if there is none of the shortest length that can be coded.
    [[gnu::always_inline]] Match longest(const uint8_t* p) noexcept {
        enterUpTo(p);
        LongestWalk<Bytes> walk(walkAt(p), matchLimit_);
        if (!step(walk)) return walk.best;
        // The nearest candidate often has the longest match already: then the next walk begins near its end.
        touch(p + walk.length - kSecondOverlap);
        finish(walk, attempts_ - 1);
        return walk.best;
    }

    // The longest match that contains the byte `overlap` bytes before the end of one and does not begin before it, if
    // longer; of length 0 otherwise.
    [[gnu::always_inline]] Match longer(const Match& match, int64_t overlap) noexcept {
        const uint8_t* const p = match.end() - overlap;
        touch(match.end());  // where the next walk begins if this one finds nothing
        enterUpTo(p);
        WiderWalk<Bytes> walk(walkAt(p), match.at, match.length, bytes_, matchLimit_);
        finish(walk, attempts_);
        return walk.best;
    }

  private:
    // Begins to fetch what a walk at `p` will need first.
    [[gnu::always_inline]] void touch(const uint8_t* p) const noexcept {
        const uint64_t candidate = load32(tables_.head(p));
        __builtin_prefetch(tables_.link(candidate));
        __builtin_prefetch(bytes_.base + candidate);
    }

    [[gnu::always_inline]] Walk walkAt(const uint8_t* p) const noexcept {
        const auto position = static_cast<uint64_t>(p - bytes_.base);
        return {p, position - kMaxChainDistance, load32(tables_.head(p)), {}};
    }

    // Looks at the next candidate; false if that was the last one.
    template <class AnyWalk>
    [[gnu::always_inline]] bool step(AnyWalk& walk) const noexcept {
        const uint64_t candidate = walk.candidate;
        // Neither too far back, nor at or behind the position itself.
        const uint64_t fromOldest = candidate - walk.oldest;
        if (fromOldest >= kMaxChainDistance) return false;
        const uint64_t next = load32(tables_.link(candidate));
        CandidateBytes from;
        if (bytes_.find(candidate, from) &&
            !walk.consider(from, static_cast<int32_t>(kMaxChainDistance - fromOldest))) {
            return false;
        }
        walk.candidate = next;
        // The link of position 0 is 0 where nothing was: going round there finds nothing new.
        return next != candidate;
    }

    template <class AnyWalk>
    [[gnu::always_inline]] void finish(AnyWalk& walk, int attempts) const noexcept {
        for (; attempts > 0 && step(walk); --attempts) {
        }
    }

    // Enters the positions in front of `p`.
    [[gnu::always_inline]] void enterUpTo(const uint8_t* p) noexcept {
        // Copies, because the compiler must assume that the stores change members.
        const ChainTables tables = tables_;
        const uint8_t* const base = bytes_.base;
        const uint8_t* next = cursor_;
        for (; next < p; ++next) {
            const auto position = static_cast<uint64_t>(next - base);
            uint8_t* const head = tables.head(next);
            store32(tables.link(position), load32(head));
            store32(head, static_cast<uint32_t>(position));
        }
        cursor_ = next;
    }

    ChainTables tables_;
    Bytes bytes_;
    const uint8_t* cursor_;  // the first byte that has not been entered
    const uint8_t* matchLimit_;
    int attempts_;
};

}  // namespace ozrdc::lz4
