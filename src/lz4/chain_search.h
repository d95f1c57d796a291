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
    [[gnu::always_inline]] uint8_t* link(int64_t position) const noexcept {
        return links + sizeof(uint32_t) * (static_cast<uint64_t>(position) % kLinks);
    }
};

// A match at `at`, which repeats the bytes `distance` back.
struct Match {
    const uint8_t* at = nullptr;
    int64_t length = 0;
    int64_t distance = 0;

    [[nodiscard]] const uint8_t* end() const noexcept { return at + length; }

    // Moves the beginning; the end stays.
    void beginLater(int64_t n) noexcept {
        at += n;
        length -= n;
    }
};

// The bytes of a candidate, and the piece of memory that they are part of.
struct CandidateBytes {
    const uint8_t* at;
    const uint8_t* begin;
    const uint8_t* end;
};

// The bytes of the positions, for history in front of the source, and for history elsewhere. `find` is false if no
// match may begin at the candidate, which is below the position searched and in reach.
struct PrefixBytes {
    const uint8_t* base;
    const uint8_t* begin;  // of what may be read
    const uint8_t* end;

    PrefixBytes(const uint8_t* source, int64_t srcIdx, int64_t srcLen) noexcept
        : base(source - srcIdx), begin(source - std::min<int64_t>(srcIdx, kMaxOffset)), end(source + srcLen) {}

    [[gnu::always_inline]] bool find(int64_t candidate, CandidateBytes& bytes) const noexcept {
        bytes = {base + candidate, begin, end};
        return true;
    }
};

struct SeparateBytes {
    const uint8_t* base;
    const uint8_t* begin;  // of the source
    const uint8_t* end;
    SeparateHistory history;
    const uint8_t* dictionaryBegin;

    SeparateBytes(const uint8_t* source, int64_t srcIdx, int64_t srcLen, const uint8_t* pDict,
                  int64_t dictSize) noexcept
        : base(source - srcIdx),
          begin(source),
          end(source + srcLen),
          history(source, srcIdx, pDict, dictSize),
          dictionaryBegin(pDict) {}

    [[gnu::always_inline]] bool find(int64_t candidate, CandidateBytes& bytes) const noexcept {
        if (history.isInSource(candidate)) {
            bytes = {base + candidate, begin, end};
            return true;
        }
        bytes = {history.dictionary + candidate, dictionaryBegin, history.dictionaryEnd};
        return history.isUsable(candidate);
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
        Match best;
        int64_t length = kMinMatch - 1;
        walk(p, [&](int64_t distance, const CandidateBytes& from) {
            // A longer match has these four bytes. In the dictionary it also has to end where the dictionary does.
            constexpr int64_t kTail = sizeof(uint32_t) - 1;
            if (from.end - from.at <= length || load32(from.at + length - kTail) != load32(p + length - kTail)) {
                return true;
            }
            const int64_t n = getboundlong(p, from.at, 0, std::min(matchLimit_ - p, from.end - from.at));
            if (n <= length) return true;
            length = n;
            best = {p, n, distance};
            return p + n < matchLimit_;
        });
        return best;
    }

    // The longest match that `p` lies in, if longer than `length`; of length 0 otherwise. It begins at `lowest` or
    // behind it.
    [[gnu::always_inline]] Match longer(const uint8_t* p, const uint8_t* lowest, int64_t length) noexcept {
        constexpr int64_t kWord = sizeof(uint64_t);
        Match best;
        const int64_t mostBack = p - lowest;
        const int64_t mostAhead = matchLimit_ - p;
        const bool roomForWords = p - bytes_.begin >= kWord && mostAhead >= kWord;
        walk(p, [&](int64_t distance, const CandidateBytes& from) {
            if (roomForWords && from.at - from.begin >= kWord && from.end - from.at >= kWord) [[likely]] {
                const uint64_t ahead = load64(p) ^ load64(from.at);
                const uint64_t back = load64(p - kWord) ^ load64(from.at - kWord);
                if (ahead != 0) {
                    const int64_t n = back != 0 ? detail::equalBytesAtEnd(back) : kWord;
                    const bool isAll = back != 0 || mostBack <= kWord;
                    if (isAll && detail::equalBytes(ahead) + std::min(n, mostBack) <= length) return true;
                }
            }
            const int64_t n = getboundlong(p, from.at, 0, std::min(mostAhead, from.end - from.at));
            const int64_t back = commonSuffix(p, from.at, std::min(mostBack, from.at - from.begin));
            if (n + back <= length) return true;
            length = n + back;
            best = {p - back, length, distance};
            return length < mostBack + mostAhead;
        });
        return best;
    }

  private:
    // Enters the positions in front of `p`, then calls consider(distance, bytes) for the candidates of `p`, the nearest
    // first, until it returns false.
    template <class Consider>
    [[gnu::always_inline]] void walk(const uint8_t* p, Consider consider) noexcept {
        enterUpTo(p);
        const int64_t position = p - bytes_.base;
        int64_t candidate = load32(tables_.head(p));
        for (int left = attempts_; left > 0; --left) {
            const int64_t distance = position - candidate;
            if (static_cast<uint64_t>(distance - 1) >= kMaxChainDistance) return;
            const int64_t next = load32(tables_.link(candidate));
            CandidateBytes from;
            if (bytes_.find(candidate, from) && !consider(distance, from)) return;
            // The link of position 0 is 0 where nothing was: going round there finds nothing new.
            if (next == candidate) return;
            candidate = next;
        }
    }

    [[gnu::always_inline]] void enterUpTo(const uint8_t* p) noexcept {
        for (; cursor_ < p; ++cursor_) {
            const int64_t position = cursor_ - bytes_.base;
            uint8_t* const head = tables_.head(cursor_);
            store32(tables_.link(position), load32(head));
            store32(head, static_cast<uint32_t>(position));
        }
    }

    ChainTables tables_;
    Bytes bytes_;
    const uint8_t* cursor_;  // the first byte that has not been entered
    const uint8_t* matchLimit_;
    int attempts_;
};

}  // namespace ozrdc::lz4
