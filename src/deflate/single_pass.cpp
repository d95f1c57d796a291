// Deflate in a single pass, from source bytes to bits, with one probe of the hash table a position.
//
// One parse serves statistics and encoders: what it finds goes to a sink, which counts it or writes it. Far from the
// end of the source every match can be as long as the format allows, and far from the end of the destination every
// symbol fits; there the fast loop runs. The careful loop does the rest: it cuts matches to the bytes that are left,
// and stops at a symbol that does not fit. Both make the same decisions, so that the stream does not depend on where
// source or destination were cut.
//
// Memory: candidates are admitted by `Stream`, whatever the hash table holds. An encoder stores 8 bytes at a time while
// they lie inside the destination, and single bytes behind that.

#include <algorithm>
#include <bit>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/match_length.h"
#include "core/vector_kernels.h"
#include "deflate/bit_writer.h"
#include "deflate/fixed_codes.h"
#include "deflate/format.h"
#include "deflate/hash.h"
#include "deflate/record_words.h"
#include "deflate/stream.h"

namespace ozrdc::deflate {
namespace {

// The margin at the end of a source that the stream goes on behind.
constexpr int64_t kMargin = 260;
static_assert(kMargin >= int64_t{kMaxMatch} && kMargin >= kCrcBytes);

// Sources from this length on are encoded with merged tables.
constexpr int32_t kMergedSource = 1024;

// Bits of a header that are not written: the caller has them.
constexpr int32_t kBlockTypeBits = 3;

// A sink that counts symbols.
struct Statistics {
    uint32_t* lit;
    uint32_t* dist;

    [[nodiscard, gnu::always_inline]] bool hasRoom() const noexcept { return true; }

    [[gnu::always_inline]] void record(uint8_t value, uint32_t distance) const noexcept {
        if (distance == kLiteral) {
            ++lit[value];
        } else {
            ++lit[kFirstLengthSymbol + lengthCode(value)];
            ++dist[distCode(distance)];
        }
    }

    [[gnu::always_inline]] void literals(uint8_t first, uint8_t second) const noexcept {
        ++lit[first];
        ++lit[second];
    }

    [[gnu::always_inline]] bool tryRecord(uint8_t value, uint32_t distance) const noexcept {
        record(value, distance);
        return true;
    }
};

// What a turn of the fast loop stores, at most a literal and a match.
constexpr int32_t kWideStore = 8;
constexpr int32_t kTurnStored = (7 + kMaxLiteralBits) / 8 + kWideStore;
static_assert(7 + 2 * kMaxLiteralBits < 64 && 7 + kMaxMatchBits < 64);

// A sink that writes symbols.
template <class Words>
struct Encoder {
    const Words* words;
    BitWriter out;
    const uint8_t* end;        // of the destination
    const uint8_t* wideLimit;  // up to here the stores of a turn of the fast loop fit; null if they fit nowhere

    Encoder(const Words& codes, BitWriter writer, const uint8_t* destination, int32_t destinationLength) noexcept
        : words(&codes),
          out(writer),
          end(destination + destinationLength),
          wideLimit(destinationLength >= kTurnStored ? end - kTurnStored : nullptr) {}

    [[nodiscard, gnu::always_inline]] bool hasRoom() const noexcept { return out.dst <= wideLimit; }

    [[gnu::always_inline]] void record(uint8_t value, uint32_t distance) noexcept {
        out.put(words->record(value, distance));
        out.storeWide();
    }

    [[gnu::always_inline]] void literals(uint8_t first, uint8_t second) noexcept {
        out.put(words->record(first, kLiteral));
        out.put(words->record(second, kLiteral));
        out.storeWide();
    }

    [[nodiscard]] bool tryPut(const Bits bits) noexcept {
        if ((out.count + bits.count) / 8 > static_cast<size_t>(end - out.dst)) return false;
        out.put(bits);
        out.storeExact();
        return true;
    }
    [[nodiscard, gnu::always_inline]] bool tryRecord(uint8_t value, uint32_t distance) noexcept {
        return tryPut(words->record(value, distance));
    }
};

[[gnu::always_inline]] inline uint8_t less3(int64_t length) noexcept {
    return static_cast<uint8_t>(length - int64_t{kMinMatch});
}

// A match enters its start, and the positions behind it that every match covers: the ratio gains more than entering
// them costs, while entering all would cost as much as not to match.
constexpr uint32_t kEntered = static_cast<uint32_t>(kCrcBytes);

// The three ways to a match. Each has `lengthAt(p, word, distance)`, the length of the match of the 8 bytes `word` at
// `p` with a candidate at some distance, which may be anything; 0 if there is none of 4 bytes.

// Candidates may lie in the window or in the source, or on the border.
struct WindowSearch {
    const Stream& stream;

    WindowSearch(const Stream& s) noexcept : stream(s) {}

    [[nodiscard, gnu::always_inline]] int64_t lengthAt(const uint8_t* p, uint32_t distance) const noexcept {
        if (distance - 1 >= stream.reach(p)) return 0;
        if (stream.wordBefore<Place::WindowOrSource>(p, distance) != load32(p)) return 0;
        return stream.matchLength<Place::WindowOrSource>(p, distance, kMaxMatch);
    }
};

// How much of the history lies directly in front of the source.
int64_t historyInFront(const Stream& stream) noexcept { return stream.windowEnd == stream.src ? stream.history : 0; }

// Candidates lie in the source, or in the window directly in front of it. Half of them are no match, and which of them
// is hard to predict, so that there is one branch: it looks at the difference of the bytes, which are loaded from a
// place that is safe to read whatever the distance, and at whether the distance was admitted.
enum class Reach {
    Growing,  // the history is shorter than the window
    Full      // all that a distance can say lies in the history
};
template <Reach kind>
struct SourceSearch {
    const uint8_t* historyBegin;
    uint32_t fullReach;
    uint32_t distanceMask;

    SourceSearch(const Stream& stream) noexcept
        : historyBegin(stream.src - historyInFront(stream)),
          fullReach(static_cast<uint32_t>(stream.winSize) - 1),
          distanceMask(std::bit_ceil(static_cast<uint32_t>(stream.winSize)) - 1) {}

    // Where the history holds every distance that the mask leaves.
    [[nodiscard]] const uint8_t* fullBegin(const Stream& stream) const noexcept {
        return stream.src + std::min<int64_t>(stream.end - stream.src,
                                              std::max<int64_t>(0, int64_t{distanceMask} - historyInFront(stream)));
    }

    [[nodiscard, gnu::always_inline]] int64_t lengthAt(const uint8_t* p, uint32_t distance) const noexcept {
        uint32_t reach = fullReach;
        uint64_t back = distance & distanceMask;
        if (kind == Reach::Growing) {
            reach = static_cast<uint32_t>(std::min<int64_t>(reach, p - historyBegin));
            back = distance - 1 < reach ? distance : 0;
        }
        const uint64_t difference = load64(p - back) ^ load64(p);
        const uint32_t refused = distance - 1 < reach ? 0 : 1;
        if ((static_cast<uint32_t>(difference) | refused) != 0) return 0;
        if (difference != 0) {
            const int64_t length = __builtin_ctzll(difference) / 8;
            if (length < kCrcBytes) __builtin_unreachable();
            return length;
        }
        return 8 + getboundlong(p + 8, p + 8, -static_cast<int64_t>(distance), kMaxMatch - 8);
    }
};

struct Found {
    int64_t length;  // 0 if there is no match
    uint32_t distance;
    uint32_t index;
};

// Parses positions from `p` to `end`, and perhaps the one at `end`, and returns where it stopped: behind the last, or
// at a position before which the sink has no more room. Behind the positions the source goes on by the margin.
template <class Search, class Sink>
[[gnu::noinline]] const uint8_t* parseFast(const Stream& stream, const HeadTable table, const uint8_t* p,
                                           const uint8_t* end, Sink& sink) noexcept {
    const Search search(stream);
    const uint32_t firstIndex = stream.indexOf(p);
    const uint8_t* const first = p;
    const auto probe = [&](const uint8_t* at) noexcept -> Found {
        const uint32_t index = firstIndex + static_cast<uint32_t>(at - first);
        const uint32_t distance = index - table.exchange(table.hash(at), index);
        return {search.lengthAt(at, distance), distance, index};
    };
    Sink local = sink;
    while (p < end && local.hasRoom()) {
        Found found = probe(p);
        if (found.length == 0) {
            // Literals come in runs, and two at a time are cheaper.
            const uint8_t literal = *p++;
            found = probe(p);
            if (found.length == 0) {
                local.literals(literal, *p++);
                continue;
            }
            local.record(literal, kLiteral);
        }
        for (uint32_t i = 1; i < kEntered; ++i) table.exchange(table.hash(p + i), found.index + i);
        local.record(less3(found.length), found.distance);
        p += found.length;
    }
    sink = local;
    return p;
}

// The same up to the end of the source, if `end` says so, and stops at a position whose symbol does not fit.
template <class Sink>
[[gnu::noinline]] const uint8_t* parseCarefully(const Stream& stream, const HeadTable table, const uint8_t* p,
                                                const uint8_t* end, Sink& sink) noexcept {
    while (p < end) {
        const int64_t left = stream.end - p;
        if (left < kCrcBytes) {
            if (!sink.tryRecord(*p, kLiteral)) break;
            ++p;
            continue;
        }
        const uint32_t index = stream.indexOf(p);
        const uint32_t slot = table.hash(p);
        const uint32_t previous = table.exchange(slot, index);
        const uint32_t distance = index - previous;
        int64_t length = 0;
        if (distance - 1 < stream.reach(p)) {
            length = stream.matchLength<Place::WindowOrSource>(p, distance, std::min<int64_t>(left, kMaxMatch));
        }
        const bool match = length >= kCrcBytes;
        if (!(match ? sink.tryRecord(less3(length), distance) : sink.tryRecord(*p, kLiteral))) {
            // The next call meets this position again, and is to find what this one found.
            table.exchange(slot, previous);
            break;
        }
        if (match) {
            for (uint32_t i = 1; i < kEntered && i + kCrcBytes <= left; ++i)
                table.exchange(table.hash(p + i), index + i);
        }
        p += match ? length : 1;
    }
    return p;
}

// The arguments that all calls share.
struct Arguments {
    const uint8_t** ppSrc;
    int32_t* pSrcLen;
    int32_t* pSrcIdx;
    const uint8_t* pWindow;
    int32_t winSize;
    int32_t* pHashHead;
    int32_t hashSize;
    int32_t flush;

    [[nodiscard]] bool anyPointerNull() const noexcept {
        return anyNull(ppSrc, pSrcLen, pSrcIdx, pWindow, pHashHead) || *ppSrc == nullptr;
    }

    [[nodiscard]] bool final() const noexcept { return flush >= kFinalFlush; }
    [[nodiscard]] int32_t length() const noexcept { return std::max(*pSrcLen, 0); }
    [[nodiscard]] bool hasWork() const noexcept { return final() || length() > kMargin; }
};

// Parses what the source holds, and advances it. Returns false if the sink was full.
template <class Sink>
bool parse(const Arguments& a, Sink& sink) noexcept {
    const int32_t length = a.length();
    Stream stream(*a.ppSrc, length, *a.pSrcIdx, a.pWindow, a.winSize);
    if (needsRebasing(stream.srcIdx, length, a.winSize)) {
        rebase(a.pHashHead, a.hashSize, stream.srcIdx, a.winSize);
        stream.srcIdx = a.winSize;
    }
    const HeadTable table(a.pHashHead, a.hashSize);
    // The fast loop may go one position further than told.
    const uint8_t* const fastEnd = stream.end - std::min<int64_t>(length, kMargin + 1);
    const uint8_t* const end = a.final() ? stream.end : stream.end - std::min<int64_t>(length, kMargin);

    const uint8_t* p = stream.src;
    const auto parseUpTo = [&]<class Search>(const uint8_t* partEnd) {
        partEnd = std::min(partEnd, fastEnd);
        if (p < partEnd) p = parseFast<Search>(stream, table, p, partEnd, sink);
    };
    parseUpTo.template operator()<WindowSearch>(stream.windowReach());
    parseUpTo.template operator()<SourceSearch<Reach::Growing>>(SourceSearch<Reach::Full>(stream).fullBegin(stream));
    parseUpTo.template operator()<SourceSearch<Reach::Full>>(fastEnd);
    p = parseCarefully(stream, table, p, end, sink);

    *a.pSrcIdx = static_cast<int32_t>(stream.indexOf(p));
    *a.pSrcLen = static_cast<int32_t>(stream.end - p);
    *a.ppSrc = p;
    return p >= end;
}

// Writes the header of a block behind the bits of the writer; there must be room for it.
void writeHeader(const uint8_t* pHeader, int32_t headerBits, BitWriter& out) noexcept {
    out.storeExact();
    if (headerBits <= 0) return;
    *out.dst = static_cast<uint8_t>(out.bits);
    ozrsCopyBE_1u(pHeader, kBlockTypeBits, out.dst, static_cast<int32_t>(out.count), headerBits);
    const auto total = static_cast<uint32_t>(headerBits) + out.count;
    out.dst += total / 8;
    out.count = total % 8;
    out.bits = out.count == 0 ? 0 : *out.dst & ((1U << out.count) - 1);
}

// The caller's destination and bits.
struct Destination {
    uint16_t* pCode;
    int32_t* pCodeLenBits;
    uint8_t* pDst;
    int32_t dstLen;
    int32_t* pDstIdx;

    [[nodiscard]] const uint8_t* end() const noexcept { return pDst + dstLen; }
};

// Encodes behind the bits of the writer. If `opened` says that these begin the stream, they count for nothing until a
// symbol follows.
template <class Words>
[[gnu::noinline]] Status encode(const Arguments& a, const Destination& d, const Words& words, const BitWriter& begin,
                                bool opened) noexcept {
    Encoder<Words> encoder(words, begin, d.pDst, d.dstLen);
    const int32_t length = a.length();
    bool done = parse(a, encoder);
    if (done && a.final()) done = encoder.tryPut(words.endOfBlock());
    if (!done && opened && a.length() == length) return StatusDestinationFull;
    *d.pDstIdx = static_cast<int32_t>(encoder.out.dst - d.pDst);
    encoder.out.giveBack(d.pCode, d.pCodeLenBits);
    return done ? StatusOk : StatusDestinationFull;
}

}  // namespace
}  // namespace ozrdc::deflate

using namespace ozrdc;
using namespace ozrdc::deflate;

Status y8_ozrsDeflateLZ77FastestGetStat_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx,
                                           const uint8_t* pWindow, int32_t winSize, int32_t* pHashHead,
                                           int32_t hashSize, uint32_t* pLitFreqTable, uint32_t* pDistFreqTable,
                                           int32_t flush) noexcept {
    const Arguments arguments{ppSrc, pSrcLen, pSrcIdx, pWindow, winSize, pHashHead, hashSize, flush};
    if (arguments.anyPointerNull() || anyNull(pLitFreqTable, pDistFreqTable)) return StatusNullPointer;
    if (!sizesAreValid(winSize, hashSize)) return StatusSizeError;
    if (!arguments.hasWork()) return StatusOk;
    Statistics statistics{pLitFreqTable, pDistFreqTable};
    parse(arguments, statistics);
    return StatusOk;
}

Status y8_ozrsDeflateLZ77FastestPrecompHeader_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx,
                                                 const uint8_t* pWindow, int32_t winSize, int32_t* pHashHead,
                                                 int32_t hashSize, uint16_t* pCode, int32_t* pCodeLenBits,
                                                 uint8_t* pDst, int32_t dstLen, int32_t* pDstIdx,
                                                 const DeflateHuffCode* pLitHuffCodes,
                                                 const DeflateHuffCode* pDistHuffCodes, const uint8_t* pHeader,
                                                 int32_t headerLenBits, int32_t flush) noexcept {
    const Arguments arguments{ppSrc, pSrcLen, pSrcIdx, pWindow, winSize, pHashHead, hashSize, flush};
    if (arguments.anyPointerNull() || anyNull(pCode, pCodeLenBits, pDst, pDstIdx)) return StatusNullPointer;
    if (!sizesAreValid(winSize, hashSize) || *pDstIdx < 0 || *pDstIdx >= dstLen) return StatusSizeError;
    const bool prepared = pLitHuffCodes != nullptr;
    if (prepared) {
        if (anyNull(pDistHuffCodes)) return StatusNullPointer;
        if (pHeader != nullptr && headerLenBits < 1) return StatusSizeError;
    } else if (pDistHuffCodes != nullptr || pHeader != nullptr) {
        return StatusNullPointer;
    }

    const bool opens = *pSrcIdx == 0;
    const Destination destination{pCode, pCodeLenBits, pDst, dstLen, pDstIdx};
    BitWriter out(*pCode, *pCodeLenBits, pDst + *pDstIdx);
    if (prepared && opens) {
        if (anyNull(pHeader)) return StatusNullPointer;
        const int32_t headerBits = std::max(headerLenBits - kBlockTypeBits, 0);
        if (int64_t{headerBits} + out.count > (int64_t{dstLen} - *pDstIdx) * 8) return StatusSizeError;
        if (!arguments.hasWork()) return StatusOk;
        writeHeader(pHeader, headerBits, out);
    }
    if (!arguments.hasWork()) return StatusOk;
    out.storeExact(destination.end());

    if (!prepared) return encode(arguments, destination, kFixedWords, out, opens);
    const CodeWords codes{pLitHuffCodes, pDistHuffCodes};
    if (*pSrcLen < kMergedSource) return encode(arguments, destination, codes, out, opens);
    return encode(arguments, destination, MergedWords(pLitHuffCodes, pDistHuffCodes), out, opens);
}

Status y8_ozrsDeflateLZ77Fastest_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                                    int32_t winSize, int32_t* pHashHead, int32_t hashSize, uint16_t* pCode,
                                    int32_t* pCodeLenBits, uint8_t* pDst, int32_t dstLen, int32_t* pDstIdx,
                                    int32_t flush) noexcept {
    return y8_ozrsDeflateLZ77FastestPrecompHeader_8u(ppSrc, pSrcLen, pSrcIdx, pWindow, winSize, pHashHead, hashSize,
                                                     pCode, pCodeLenBits, pDst, dstLen, pDstIdx, nullptr, nullptr,
                                                     nullptr, 0, flush);
}
