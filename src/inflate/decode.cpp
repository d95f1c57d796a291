// Decodes the symbols of a block; stops and goes on at any bit of the source and any byte of the destination.
//
// The careful loop works step by step (symbol, extra bits of a length, distance, its extra bits, copy) and can stop in
// front of each. It takes bytes from the source one at a time, and only as many as the step needs, so that nothing is
// read ahead: a code is looked up with the bits that are there, zeros behind them, and is right if it is no longer than
// these bits. The fast loop (fast_decode.h) does whole symbols as long as both buffers have room for the largest.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <new>

#include "core/arguments.h"
#include "core/deflate_code.h"
#include "core/entry_points.h"
#include "inflate/fast_decode.h"
#include "inflate/fixed_tables.h"
#include "inflate/lookup.h"
#include "inflate/stream.h"
#include "inflate/tables.h"
#include "inflate/window.h"

namespace ozrdc::inflate {
namespace {

// What `*pMode` tells.
enum Mode : uint32_t { kBlockEnd = 0, kAtSymbol = 1, kSuspended = 2 };

// Why decoding stopped.
enum class Stop { kEndOfBlock, kSourceAtSymbol, kSourceInSymbol, kDestination, kInvalid };

// The step in front of which a block was suspended.
enum class Step : uint32_t { kSymbol, kLengthExtra, kDistance, kDistanceExtra, kCopy };

// The step and what is known of the match by then, as kept in the state's `decoder` words.
struct Suspended {
    Step step = Step::kSymbol;
    uint32_t length = 0;
    uint32_t distance = 0;
    uint32_t extraBits = 0;

    Suspended() = default;
    explicit Suspended(const uint32_t (&words)[4]) noexcept
        : step(static_cast<Step>(words[0])), length(words[1]), distance(words[2]), extraBits(words[3]) {}
    void save(uint32_t (&words)[4]) const noexcept {
        words[0] = static_cast<uint32_t>(step);
        words[1] = length;
        words[2] = distance;
        words[3] = extraBits;
    }

    // Whether a call can have left these words; others come from a state that was overwritten.
    [[nodiscard]] bool plausible() const noexcept {
        return step <= Step::kCopy && length <= deflate::kMaxMatch && extraBits <= deflate::kMaxCodeLength;
    }
};

// Finds the next symbol of a table; false if there are too few bits. Takes no bits from the buffer.
template <class Lookup>
bool nextSymbol(Source& source, Lookup lookup, Symbol& symbol) noexcept {
    for (;;) {
        symbol = lookup(source.bits);
        if (symbol.codeBits > deflate::kMaxCodeLength) symbol = {};  // a damaged entry
        if (symbol.codeBits <= source.held) return true;
        if (!source.pullByte()) return false;
    }
}

template <class Tables>
Stop decode(const Tables& tables, Source& source, Output& output, const History& history, Suspended& at) noexcept {
    FastDecoder<Tables> fast(tables);
    for (;;) {
        switch (at.step) {
            case Step::kSymbol: {
                fast.run(source, output, history);
                Symbol symbol;
                const auto lookup = [&](uint64_t bits) noexcept { return tables.litLen(bits); };
                if (!nextSymbol(source, lookup, symbol)) return Stop::kSourceAtSymbol;
                if (symbol.kind == Symbol::kInvalid) return Stop::kInvalid;
                if (symbol.kind == Symbol::kLiteral) {
                    if (output.full()) return Stop::kDestination;
                    source.drop(symbol.codeBits);
                    *output.op++ = static_cast<uint8_t>(symbol.value);
                    continue;
                }
                source.drop(symbol.codeBits);
                if (symbol.kind == Symbol::kEndOfBlock) return Stop::kEndOfBlock;
                at.length = symbol.value;
                at.extraBits = symbol.extraBits;
                at.step = Step::kLengthExtra;
                [[fallthrough]];
            }
            case Step::kLengthExtra:
                if (!source.pull(at.extraBits)) return Stop::kSourceInSymbol;
                at.length += source.take(at.extraBits);
                at.step = Step::kDistance;
                [[fallthrough]];
            case Step::kDistance: {
                Symbol symbol;
                const auto lookup = [&](uint64_t bits) noexcept { return tables.dist(bits); };
                if (!nextSymbol(source, lookup, symbol)) return Stop::kSourceInSymbol;
                if (symbol.kind == Symbol::kInvalid) return Stop::kInvalid;
                source.drop(symbol.codeBits);
                at.distance = symbol.value;
                at.extraBits = symbol.extraBits;
                at.step = Step::kDistanceExtra;
                [[fallthrough]];
            }
            case Step::kDistanceExtra:
                if (!source.pull(at.extraBits)) return Stop::kSourceInSymbol;
                at.distance += source.take(at.extraBits);
                at.step = Step::kCopy;
                [[fallthrough]];
            case Step::kCopy: {
                if (at.distance == 0 || !history.reaches(output.op, at.distance)) return Stop::kInvalid;
                const auto n = static_cast<uint32_t>(std::min<uint64_t>(at.length, output.room()));
                history.copyExact(output.op, at.distance, n);
                output.op += n;
                at.length -= n;
                if (at.length > 0) return Stop::kDestination;
                at.step = Step::kSymbol;
                break;
            }
        }
    }
}

}  // namespace
}  // namespace ozrdc::inflate

Status y8_ozrsInflate_8u(const uint8_t** ppSrc, uint32_t* pSrcLen, uint32_t* pCode, uint32_t* pCodeLenBits,
                         uint32_t winIdx, uint8_t** ppDst, uint32_t* pDstLen, uint32_t dstIdx, uint32_t* pMode,
                         InflateState* pState) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::inflate;
    if (anyNull(ppSrc, pSrcLen, pCode, pCodeLenBits, ppDst, pDstLen, pMode, pState)) return StatusNullPointer;
    if (anyNull(*ppSrc, *ppDst)) return StatusNullPointer;
    if (*pCodeLenBits > kMaxPendingBits) return StatusSizeError;
    if (winIdx > pState->winSize) return StatusSizeError;

    Source source(*ppSrc, *pSrcLen, *pCode, *pCodeLenBits);
    Output output(*ppDst, *pDstLen);
    const History history{pState->pWindow, pState->pWindow == nullptr ? 0 : pState->winSize, winIdx,
                          reinterpret_cast<uintptr_t>(*ppDst) - dstIdx};
    Suspended at;
    if (*pMode == kSuspended) at = Suspended(pState->decoder);
    if (!at.plausible()) return StatusBadCodeTable;

    Stop stop{};
    switch (pState->tableKind) {
        case kFixedTables:
            stop = decode(GeneralTables(spec_table_fixed_Huffman), source, output, history, at);
            break;
        case kGeneralTables:
            stop = decode(GeneralTables(*std::launder(reinterpret_cast<const GeneralLayout*>(pState->tables))), source,
                          output, history, at);
            break;
        case kShortTables:
            if (pState->maxLitLen > kShortMaxLitLen || pState->maxDistLen > kShortMaxDist) return StatusBadCodeTable;
            stop = decode(ShortTables(*pState), source, output, history, at);
            break;
        default:
            return StatusBadCodeTable;
    }

    // Whole bytes go back to the source, unless it ran out: then the bits that are held are part of a symbol that
    // begins with them, and giving them back would stop a caller who hands over one byte at a time forever.
    if (stop != Stop::kSourceAtSymbol && stop != Stop::kSourceInSymbol) source.handBack();
    *pSrcLen = static_cast<uint32_t>(source.end - source.ip);
    *ppSrc = source.ip;
    *pCode = static_cast<uint32_t>(source.bits);
    *pCodeLenBits = source.held;
    *pDstLen = static_cast<uint32_t>(output.room());
    *ppDst = output.op;

    if (stop == Stop::kInvalid) return StatusBadCodeTable;
    if (stop == Stop::kEndOfBlock) {
        *pMode = kBlockEnd;
    } else if (stop == Stop::kSourceAtSymbol) {
        *pMode = kAtSymbol;
    } else {
        *pMode = kSuspended;
        at.save(pState->decoder);
    }
    return StatusOk;
}
