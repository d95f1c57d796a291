// The match search: checks, levels, and the frame of every call around one of the parsers.

#include <array>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "deflate/format.h"
#include "deflate/parser.h"
#include "deflate/stream.h"

namespace ozrdc::deflate {
namespace {

// The effort of each level. Three series of ten: from levels ending in 0 (single probe) over 1 to 4 (fast) to 5 to 9
// (slow), each with its own idea of where effort pays. The values are tuning, and the results of a level depend on
// them.
constexpr std::array<Effort, 30> _loc_vec_match{{
    {0, 0, 0, 0},    {4, 8, 8, 8},      {4, 16, 16, 9},    {4, 16, 16, 12},     {48, 32, 32, 16},
    {32, 8, 32, 16}, {128, 8, 256, 16}, {144, 8, 256, 16}, {192, 32, 258, 128}, {256, 32, 258, 258},
    {0, 0, 0, 0},    {3, 7, 8, 258},    {3, 8, 16, 258},   {5, 8, 16, 258},     {16, 32, 32, 258},
    {24, 6, 32, 16}, {120, 7, 256, 16}, {140, 7, 256, 16}, {192, 32, 258, 128}, {512, 32, 258, 258},
    {0, 0, 0, 0},    {4, 8, 8, 258},    {4, 16, 16, 258},  {4, 16, 16, 258},    {16, 32, 32, 258},
    {32, 8, 32, 16}, {128, 8, 256, 16}, {144, 8, 256, 16}, {192, 32, 258, 128}, {512, 32, 258, 258},
}};
constexpr int32_t kLevelsOfSeries = 10;
constexpr int32_t kFirstSlowOfSeries = 5;

// Columns 1 to 3 of an effort are at least this where they are used.
constexpr int32_t kLeastParameter = 4;

// The arguments that all calls share.
struct Arguments {
    const uint8_t** ppSrc;
    int32_t* pSrcLen;
    int32_t* pSrcIdx;
    const uint8_t* pWindow;
    int32_t winSize;
    int32_t* pHashHead;
    int32_t* pHashPrev;
    int32_t hashSize;
    uint32_t* pLitFreqTable;
    uint32_t* pDistFreqTable;
    uint8_t* pLitDst;
    uint16_t* pDistDst;
    int32_t* pDstLen;
};

enum class Parser { Fast, Slow };

Status checkEffort(const Effort& effort, Parser parser) noexcept {
    if (parser == Parser::Fast && effort.maxChain == 0) return StatusOk;
    const bool sufficient = effort.maxChain >= 1 && effort.goodLength >= kLeastParameter &&
                            effort.niceLength >= kLeastParameter && effort.maxLazy >= kLeastParameter;
    return sufficient ? StatusOk : StatusBadArgument;
}

Status search(const Arguments& a, const int32_t* pParams, Parser parser, int32_t flush) noexcept {
    if (anyNull(a.ppSrc, a.pSrcLen, a.pSrcIdx, a.pWindow, a.pHashHead, a.pHashPrev, a.pLitFreqTable, a.pDistFreqTable,
                a.pLitDst, a.pDistDst, a.pDstLen, pParams) ||
        *a.ppSrc == nullptr) {
        return StatusNullPointer;
    }
    if (!sizesAreValid(a.winSize, a.hashSize)) return StatusSizeError;
    const Effort effort{pParams[0], pParams[1], pParams[2], pParams[3]};
    if (const Status s = checkEffort(effort, parser)) return s;
    if (*a.pSrcLen <= 0 || *a.pDstLen <= 0) return StatusOk;

    Stream stream(*a.ppSrc, *a.pSrcLen, *a.pSrcIdx, a.pWindow, a.winSize);
    rebaseIfNeeded(
        stream, *a.pSrcLen,
        {{a.pHashHead, static_cast<std::size_t>(a.hashSize)}, {a.pHashPrev, static_cast<std::size_t>(a.winSize)}});
    const Call call{stream, ChainTables(a.pHashHead, a.hashSize, a.pHashPrev, a.winSize), effort, flush >= kFinalFlush};
    Records records{a.pLitDst, a.pDistDst, 0, *a.pDstLen, {a.pLitFreqTable, a.pDistFreqTable}};
    const uint8_t* const stopped = parser == Parser::Slow ? parseSlow(call, records)
                                   : effort.maxChain == 0 ? parseSingleProbe(call, records)
                                                          : parseFast(call, records);
    *a.pSrcIdx = static_cast<int32_t>(stream.indexOf(stopped));
    *a.pSrcLen -= static_cast<int32_t>(stopped - stream.src);
    *a.ppSrc = stopped;
    *a.pDstLen -= static_cast<int32_t>(records.written);
    return StatusOk;
}

}  // namespace
}  // namespace ozrdc::deflate

using namespace ozrdc::deflate;

Status y8_ozrsDeflateLZ77_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                             int32_t winSize, int32_t* pHashHead, int32_t* pHashPrev, int32_t hashSize,
                             uint32_t* pLitFreqTable, uint32_t* pDistFreqTable, uint8_t* pLitDst, uint16_t* pDistDst,
                             int32_t* pDstLen, int32_t compLevel, int32_t flush) noexcept {
    if (compLevel < 0 || compLevel >= static_cast<int32_t>(_loc_vec_match.size())) return StatusSizeError;
    const Effort& effort = _loc_vec_match[static_cast<std::size_t>(compLevel)];
    const int32_t params[] = {effort.maxChain, effort.goodLength, effort.niceLength, effort.maxLazy};
    const Parser parser = compLevel % kLevelsOfSeries < kFirstSlowOfSeries ? Parser::Fast : Parser::Slow;
    return search({ppSrc, pSrcLen, pSrcIdx, pWindow, winSize, pHashHead, pHashPrev, hashSize, pLitFreqTable,
                   pDistFreqTable, pLitDst, pDistDst, pDstLen},
                  params, parser, flush);
}

Status y8_ozrsDeflateLZ77Fast_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                                 int32_t winSize, int32_t* pHashHead, int32_t* pHashPrev, int32_t hashSize,
                                 uint32_t* pLitFreqTable, uint32_t* pDistFreqTable, uint8_t* pLitDst,
                                 uint16_t* pDistDst, int32_t* pDstLen, const int32_t* pParams, int32_t flush) noexcept {
    return search({ppSrc, pSrcLen, pSrcIdx, pWindow, winSize, pHashHead, pHashPrev, hashSize, pLitFreqTable,
                   pDistFreqTable, pLitDst, pDistDst, pDstLen},
                  pParams, Parser::Fast, flush);
}

Status y8_ozrsDeflateLZ77Slow_8u(const uint8_t** ppSrc, int32_t* pSrcLen, int32_t* pSrcIdx, const uint8_t* pWindow,
                                 int32_t winSize, int32_t* pHashHead, int32_t* pHashPrev, int32_t hashSize,
                                 uint32_t* pLitFreqTable, uint32_t* pDistFreqTable, uint8_t* pLitDst,
                                 uint16_t* pDistDst, int32_t* pDstLen, const int32_t* pParams, int32_t flush) noexcept {
    return search({ppSrc, pSrcLen, pSrcIdx, pWindow, winSize, pHashHead, pHashPrev, hashSize, pLitFreqTable,
                   pDistFreqTable, pLitDst, pDistDst, pDstLen},
                  pParams, Parser::Slow, flush);
}
