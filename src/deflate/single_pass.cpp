// Deflate in a single pass, from source bytes to bits: what the parse finds is counted or written at once.
//
// Far from the end of the destination an encoder stores 8 bytes at a time; nearer to it, single bytes, and a symbol
// only if it fits. A call that is stopped by the end leaves everything as it is between two symbols.

#include <algorithm>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/vector_kernels.h"
#include "deflate/bit_writer.h"
#include "deflate/fixed_codes.h"
#include "deflate/format.h"
#include "deflate/hash.h"
#include "deflate/record_words.h"
#include "deflate/single_pass_parse.h"
#include "deflate/stream.h"
#include "deflate/symbol_counts.h"

namespace ozrdc::deflate::single_pass {
namespace {

// From this length of a source on, in bytes, merged tables repay their building.
constexpr int32_t kMergedSource = 8192;

// A sink that counts symbols.
struct Statistics {
    SymbolCounts counts;

    [[nodiscard, gnu::always_inline]] bool hasRoom() const noexcept { return true; }

    [[gnu::always_inline]] void record(uint8_t value, uint32_t distance) const noexcept {
        if (distance == kLiteral) {
            counts.literal(value);
        } else {
            counts.match(value, distance);
        }
    }

    [[gnu::always_inline]] void literals(uint8_t first, uint8_t second) const noexcept {
        counts.literal(first);
        counts.literal(second);
    }

    [[gnu::always_inline]] bool tryRecord(uint8_t value, uint32_t distance) const noexcept {
        record(value, distance);
        return true;
    }
};

// What a turn of the fast loop may store: a literal and a match, or two literals at once.
constexpr int64_t kWideStore = 8;
constexpr int64_t kTurnStored = (7 + kMaxLiteralBits) / 8 + kWideStore;
static_assert(7 + 2 * kMaxLiteralBits < 64 && 7 + kMaxMatchBits < 64);

// A sink that writes symbols.
template <class Words>
struct Encoder {
    const Words* words;
    BitWriter out;
    const uint8_t* end;  // of the destination

    [[nodiscard, gnu::always_inline]] bool hasRoom() const noexcept { return end - out.dst >= kTurnStored; }

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
        if ((out.count + bits.count) / 8 > static_cast<uint64_t>(end - out.dst)) return false;
        out.put(bits);
        out.storeExact();
        return true;
    }
    [[nodiscard, gnu::always_inline]] bool tryRecord(uint8_t value, uint32_t distance) noexcept {
        return tryPut(words->record(value, distance));
    }
};

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
    rebaseIfNeeded(stream, length, {{a.pHashHead, static_cast<std::size_t>(a.hashSize)}});
    const uint8_t* const end = a.final() ? stream.end : stream.end - std::min<int64_t>(length, kMargin);
    const uint8_t* const p = parseOnce(stream, HeadTable(a.pHashHead, a.hashSize), end, sink);
    *a.pSrcIdx = static_cast<int32_t>(stream.indexOf(p));
    *a.pSrcLen -= static_cast<int32_t>(p - stream.src);
    *a.ppSrc = p;
    return p >= end;
}

// Writes the header of a block behind the bits of the writer; there must be room for it.
void writeHeader(const uint8_t* pHeader, int32_t headerBits, BitWriter& out) noexcept {
    out.storeExact();
    if (headerBits <= 0) return;
    *out.dst = static_cast<uint8_t>(out.bits);
    ozrsCopyBE_1u(pHeader, int32_t{kBlockTypeBits}, out.dst, static_cast<int32_t>(out.count), headerBits);
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
    Encoder<Words> encoder{&words, begin, d.end()};
    const int32_t length = a.length();
    bool done = parse(a, encoder);
    if (done && a.final()) done = encoder.tryPut(words.endOfBlock());
    if (!done && opened && a.length() == length) return StatusDestinationFull;
    *d.pDstIdx = static_cast<int32_t>(encoder.out.dst - d.pDst);
    encoder.out.giveBack(d.pCode, d.pCodeLenBits);
    return done ? StatusOk : StatusDestinationFull;
}

}  // namespace
}  // namespace ozrdc::deflate::single_pass

using namespace ozrdc;
using namespace ozrdc::deflate;
using namespace ozrdc::deflate::single_pass;

Status y8_ozrsDeflateLZ77FastestGetStat_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx,
                                           const uint8_t* pWindow, int32_t winSize, int32_t* pHashHead,
                                           int32_t hashSize, uint32_t* pLitFreqTable, uint32_t* pDistFreqTable,
                                           int32_t flush) noexcept {
    const Arguments arguments{ppSrc, pSrcLen, pSrcIdx, pWindow, winSize, pHashHead, hashSize, flush};
    if (arguments.anyPointerNull() || anyNull(pLitFreqTable, pDistFreqTable)) return StatusNullPointer;
    if (!sizesAreValid(winSize, hashSize)) return StatusSizeError;
    if (arguments.length() == 0 || !arguments.hasWork()) return StatusOk;
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
        const int32_t headerBits = std::max(headerLenBits - int32_t{kBlockTypeBits}, 0);
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
