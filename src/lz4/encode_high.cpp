// Encodes LZ4 blocks at high compression.
//
// Hash chains are searched to a depth that the level sets. Before a match is written, a second one that overlaps its
// end is looked for, and a third behind that: what the matches lose where they are cut against each other is weighed
// against what they gain. The rules of cutting keep every match at four bytes at least.

#include <algorithm>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/vector_kernels.h"
#include "lz4/chain_search.h"
#include "lz4/format.h"
#include "lz4/history.h"
#include "lz4/sequence_writer.h"

namespace ozrdc::lz4 {
namespace {

constexpr int64_t kMatchMargin = 5;        // matches leave that many bytes at the end of the source alone
constexpr int64_t kSearchMarginHigh = 13;  // no search begins in that many bytes at the end
constexpr int64_t kMinBlock = 15;          // shorter sources are one run of literals: there is no place to search
static_assert(kMinBlock == kSearchMarginHigh + 2);

constexpr int32_t kDefaultLevel = 9;
constexpr int32_t kLowestLevel = 1;
constexpr int32_t kHighestLevel = 9;

// A third match is searched so many bytes before the end of the second.
constexpr int64_t kThirdOverlap = 3;

// The longest match that a token codes without an extension: where a second match follows, a first one of that length
// is worth as much as a longer one.
constexpr int64_t kWorthwhile = kMinMatch + kNibbleMax - 1;
// A second match that begins in fewer bytes than this replaces the first.
constexpr int64_t kLeastFirst = 3;

[[nodiscard]] int attemptsOf(int32_t level) noexcept {
    if (level == 0) level = kDefaultLevel;
    return 1 << (std::clamp(level, kLowestLevel, kHighestLevel) - 1);
}

// How far a second match has to begin later, so that the first one keeps what is worth while and the second four bytes.
[[nodiscard]] int64_t correction(const Match& first, const Match& second) noexcept {
    const int64_t gap = second.at - first.at;
    const int64_t kept = std::min({int64_t{first.length}, kWorthwhile, gap + second.length - int64_t{kMinMatch}});
    return std::max<int64_t>(0, kept - gap);
}

// Where two matches overlap, the first ends where the second begins.
void cutAt(Match& first, const Match& second) noexcept {
    first.length = static_cast<int32_t>(std::min<int64_t>(first.length, second.at - first.at));
}

template <class Bytes>
class Parser {
  public:
    Parser(const ChainSearch<Bytes>& search, const uint8_t* source, int64_t srcLen, StrictWriter writer) noexcept
        : search_(search),
          writer_(writer),
          anchor_(source),
          searchEnd_(source + srcLen - kSearchMarginHigh),
          end_(source + srcLen) {}

    // Writes the block; false if a sequence did not fit.
    [[gnu::always_inline]] bool parse() noexcept {
        const uint8_t* p = anchor_ + 1;
        while (p < searchEnd_) {
            const Match first = search_.longest(p);
            if (first.length == 0) {
                ++p;
                continue;
            }
            if (!parseGroup(first)) return false;
            p = anchor_;
        }
        return true;
    }

    // Writes the last literals; false if they do not fit.
    [[nodiscard]] bool finish() noexcept {
        if (!writer_.finish(anchor_, static_cast<uint64_t>(end_ - anchor_))) return false;
        anchor_ = end_;
        return true;
    }

    [[nodiscard]] const uint8_t* anchor() const noexcept { return anchor_; }
    [[nodiscard]] uint8_t* written() const noexcept { return writer_.op; }

  private:
    // Writes a match and those that are found to overlap its end.
    [[gnu::always_inline]] bool parseGroup(Match first) noexcept {
        for (;;) {
            Match second = searchBefore(first, kSecondOverlap);
            if (second.length == 0) return put(first);
            if (second.at - first.at < kLeastFirst) {
                first = second;
                continue;
            }
            if (!parseOverlap(first, second)) return false;
            if (first.length == 0) return true;
        }
    }

    // Writes matches as long as each is followed by one that overlaps its end. In the end either all are written, and
    // `first` is made empty, or `first` is the one from which the search for a second begins anew.
    [[gnu::always_inline]] bool parseOverlap(Match& first, Match& second) noexcept {
        for (;;) {
            if (second.at - first.at < kWorthwhile) second.beginLater(correction(first, second));
            const Match third = searchBefore(second, kThirdOverlap);
            if (third.length == 0) {
                cutAt(first, second);
                if (!put(first) || !put(second)) return false;
                first.length = 0;
                return true;
            }
            if (third.at < first.end()) {
                // The first and the third alone cover what the second does.
                second = third;
                continue;
            }
            if (third.at < first.end() + kLeastFirst) {
                // No room for the second between them, but perhaps for what of it lies behind the first.
                if (second.at < first.end()) second.beginLater(first.end() - second.at);
                if (second.length < int32_t{kMinMatch}) second = third;
                if (!put(first)) return false;
                first = second;
                return true;
            }
            // What overlap is left costs the first match nothing that is worth while. (A second one that could not
            // begin later is four bytes long, and a third one behind it begins inside the first or where that ends.)
            cutAt(first, second);
            if (!put(first)) return false;
            first = second;
            second = third;
        }
    }

    // The longest match that contains the byte `overlap` bytes before the end of one, if longer than that one.
    [[gnu::always_inline]] Match searchBefore(const Match& match, int64_t overlap) noexcept {
        if (match.end() >= searchEnd_) return {};
        return search_.longer(match, overlap);
    }

    [[gnu::always_inline]] bool put(const Match& match) noexcept {
        const auto literals = static_cast<uint64_t>(match.at - anchor_);
        const auto extra = static_cast<uint64_t>(match.length - int64_t{kMinMatch});
        if (!writer_.put(anchor_, literals, static_cast<uint64_t>(match.distance), extra)) return false;
        anchor_ = match.end();
        return true;
    }

    ChainSearch<Bytes> search_;
    StrictWriter writer_;
    const uint8_t* anchor_;  // what lies before it is written
    const uint8_t* searchEnd_;
    const uint8_t* end_;
};

struct Arguments {
    const uint8_t* pSrc;
    int32_t* pSrcLen;
    uint8_t* pDst;
    int32_t* pDstLen;
    uint8_t** ppTables;
};

template <class Bytes>
[[gnu::noinline]] Status encodeBlock(const Arguments& a, const Bytes& bytes, int attempts) noexcept {
    const int64_t srcLen = *a.pSrcLen;
    const ChainTables tables{a.ppTables[0], a.ppTables[1]};
    Parser<Bytes> parser(ChainSearch<Bytes>(tables, bytes, a.pSrc, a.pSrc + srcLen - kMatchMargin, attempts), a.pSrc,
                         srcLen, StrictWriter{a.pDst, a.pDst + *a.pDstLen, a.pSrc + srcLen});
    Status status = StatusOk;
    if (srcLen >= kMinBlock && !parser.parse()) {
        status = StatusOutputTruncated;
    } else if (!parser.finish()) {
        status = StatusDestinationFull;
    }
    *a.pSrcLen = static_cast<int32_t>(parser.anchor() - a.pSrc);
    *a.pDstLen = static_cast<int32_t>(parser.written() - a.pDst);
    return status;
}

// The encoder with a separate dictionary of which the last `dictReach` bytes are used.
Status encodeHigh(const Arguments& a, int32_t srcIdx, const uint8_t* pDict, int32_t dictSize, int32_t dictReach,
                  int32_t level) noexcept {
    const HistoryKind kind = historyKind(a.pSrc, srcIdx, pDict, dictSize);
    if (kind == HistoryKind::Invalid) return StatusSizeError;
    if (anyNull(a.pSrc, a.pSrcLen, a.pDst, a.pDstLen, a.ppTables)) return StatusNullPointer;
    if (anyNull(a.ppTables[0], a.ppTables[1])) return StatusNullPointer;
    if (*a.pSrcLen < 1 || *a.pDstLen < 1) return StatusSizeError;
    if (srcIdx < 0) return StatusBadArgument;
    const int attempts = attemptsOf(level);
    if (kind == HistoryKind::Prefix) return encodeBlock(a, PrefixBytes(a.pSrc, srcIdx, *a.pSrcLen), attempts);
    const int32_t used = std::min(dictSize, dictReach);
    return encodeBlock(a, SeparateBytes(a.pSrc, srcIdx, *a.pSrcLen, pDict + (dictSize - used), used), attempts);
}

}  // namespace
}  // namespace ozrdc::lz4

using namespace ozrdc;
using namespace ozrdc::lz4;

Status y8_ozrsEncodeLZ4HCHashTableGetSize_8u(uint32_t* pHashSize, uint32_t* pChainSize) noexcept {
    if (anyNull(pHashSize, pChainSize)) return StatusNullPointer;
    *pHashSize = ChainTables::kHeads * sizeof(uint32_t);
    *pChainSize = ChainTables::kLinks * sizeof(uint32_t);
    return StatusOk;
}

Status y8_ozrsEncodeLZ4HCHashTableInit_8u(uint8_t** ppTables) noexcept {
    if (anyNull(ppTables)) return StatusNullPointer;
    if (const Status s = ozrsZero_32s(ppTables[0], ChainTables::kHeads)) return s;
    return ozrsZero_32s(ppTables[1], ChainTables::kLinks);
}

Status y8_ozrsEncodeLZ4HC_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t* pSrcLen, uint8_t* pDst, int32_t* pDstLen,
                             uint8_t** ppTables, const uint8_t* pDict, int32_t dictSize, int32_t level) noexcept {
    return encodeHigh({pSrc, pSrcLen, pDst, pDstLen, ppTables}, srcIdx, pDict, dictSize, dictSize, level);
}

Status y8_ozrsEncodeLZ4HCDictLimit_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t* pSrcLen, uint8_t* pDst,
                                      int32_t* pDstLen, uint8_t** ppTables, const uint8_t* pDict, int32_t dictSize,
                                      int32_t level) noexcept {
    return encodeHigh({pSrc, pSrcLen, pDst, pDstLen, ppTables}, srcIdx, pDict, dictSize, kMaxOffset, level);
}
