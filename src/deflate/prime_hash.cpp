// Enters positions in the hash tables without parsing them: for data that is passed over, and for preset dictionaries.

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "deflate/format.h"
#include "deflate/hash.h"

namespace ozrdc::deflate {
namespace {

// The last positions of a dictionary, of which matches of the full length could not be compared within it, are not
// entered.
constexpr int32_t kDictionaryMargin = kMaxMatch - 1;

// The bytes that the hash of a mode takes.
constexpr int64_t hashBytes(int32_t hashMode) noexcept { return hashMode != 0 ? kCrcBytes : kRollingBytes; }

// Enters `count` positions from `p` on, which has `index`.
void enter(const ChainTables& tables, const uint8_t* p, uint32_t index, int64_t count, int32_t hashMode) noexcept {
    if (hashMode != 0) {
        tables.insertAll(p, index, count);
        return;
    }
    RollingHash hash(p, tables.mask);
    for (int64_t i = 0; i < count; ++i) tables.exchange(hash.at(p + i), index + static_cast<uint32_t>(i));
}

}  // namespace
}  // namespace ozrdc::deflate

using namespace ozrdc;
using namespace ozrdc::deflate;

Status y8_ozrsDeflateUpdateHash_8u(const uint8_t* pSrc, int32_t srcIdx, int32_t srcLen, int32_t* pHashHead,
                                   int32_t hashSize, int32_t* pHashPrev, int32_t winSize, int32_t hashMode) noexcept {
    if (anyNull(pSrc, pHashHead, pHashPrev)) return StatusNullPointer;
    if (!sizesAreValid(winSize, hashSize)) return StatusSizeError;
    if (srcLen < hashBytes(hashMode)) return StatusOk;
    enter(ChainTables(pHashHead, hashSize, pHashPrev, winSize), pSrc, static_cast<uint32_t>(srcIdx),
          srcLen - (hashBytes(hashMode) - 1), hashMode);
    return StatusOk;
}

Status y8_ozrsDeflateDictionarySet_8u(const uint8_t* pDict, int32_t dictLen, int32_t* pHashHead, int32_t hashSize,
                                      int32_t* pHashPrev, uint8_t* pWindow, int32_t winSize,
                                      int32_t hashMode) noexcept {
    if (anyNull(pDict, pHashHead, pHashPrev, pWindow)) return StatusNullPointer;
    if (!sizesAreValid(winSize, hashSize)) return StatusSizeError;
    if (dictLen < hashBytes(hashMode)) return StatusOk;
    const int32_t kept = std::min(dictLen, winSize);
    std::memcpy(pWindow, pDict + (dictLen - kept), static_cast<std::size_t>(kept));
    if (kept > kDictionaryMargin) {
        enter(ChainTables(pHashHead, hashSize, pHashPrev, winSize), pWindow, 0, kept - kDictionaryMargin, hashMode);
    }
    return StatusOk;
}
