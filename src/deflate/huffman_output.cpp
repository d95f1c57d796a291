// Writes the records of the match search as Huffman-coded symbols.
//
// Each record is one word, ORed into a 64-bit accumulator whose whole bytes are stored after every match and every
// other literal: a store of 8 bytes and an advance by what is full costs less than a branch on whether there is enough.
//
// The caller provides room for the worst case, 15 bits a literal and 48 a match, and nothing is stored behind it. A
// store of 8 bytes stays inside as long as the records that are still to come may fill it; the last ones are stored
// byte by byte.

#include <algorithm>
#include <cstdint>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"
#include "deflate/bit_writer.h"
#include "deflate/record_words.h"

namespace ozrdc::deflate {
namespace {

// As many records may fill a wide store, however short they are.
constexpr int32_t kRecordsOfAWideStore = 5;
static_assert(kRecordsOfAWideStore * kMaxLiteralBits >= 64);
static_assert(7 + kMaxMatchBits < 64 && 7 + 2 * kMaxLiteralBits < 64);  // with what a store leaves over

// From this number of records on, merged tables are worth building.
constexpr int32_t kMergedRecords = 2048;

struct WrittenRecords {
    const uint8_t* values;
    const uint16_t* distances;
    int32_t count;
};

template <class Words>
[[gnu::always_inline]] inline void write(const WrittenRecords records, const Words& words, BitWriter& writer) noexcept {
    BitWriter out = writer;
    out.storeExact();  // the caller may have given more than a byte
    // A turn takes one record or two.
    const int32_t wideEnd = records.count - (kRecordsOfAWideStore + 1);
    int32_t i = 0;
    while (i < wideEnd) {
        // Two literals, or a match with or without a literal before it: a branch on pairs is mispredicted less often
        // than one on each record.
        const uint32_t distances = load32(records.distances + i);
        if (distances == 0) {
            out.put(words.record(records.values[i], kLiteral));
            out.put(words.record(records.values[i + 1], kLiteral));
            out.storeWide();
            i += 2;
            continue;
        }
        uint32_t distance = distances & 0xFFFF;
        if (distance == kLiteral) {
            out.put(words.record(records.values[i++], kLiteral));
            out.storeWide();
            distance = distances >> 16;
        }
        if (distance == kLiteral) __builtin_unreachable();
        out.put(words.record(records.values[i++], distance));
        out.storeWide();
    }
    for (; i < records.count; ++i) {
        out.put(words.record(records.values[i], records.distances[i]));
        out.storeExact();
    }
    writer = out;
}

// Writes records by merged tables.
[[gnu::noinline]] void ownsDeflateHuff_8u(const WrittenRecords records, const CodeWords codes,
                                          BitWriter& writer) noexcept {
    const MergedWords words(codes.lit, codes.dist);
    write(records, words, writer);
}

}  // namespace
}  // namespace ozrdc::deflate

using namespace ozrdc;
using namespace ozrdc::deflate;

Status y8_ozrsDeflateHuff_8u(const uint8_t* pLitSrc, const uint16_t* pDistSrc, int32_t srcLen, uint16_t* pCode,
                             int32_t* pCodeLenBits, const DeflateHuffCode* pLitHuffCodes,
                             const DeflateHuffCode* pDistHuffCodes, uint8_t* pDst, int32_t* pDstIdx) noexcept {
    if (anyNull(pLitSrc, pDistSrc, pCode, pCodeLenBits, pLitHuffCodes, pDistHuffCodes, pDst, pDstIdx)) {
        return StatusNullPointer;
    }
    const WrittenRecords records{pLitSrc, pDistSrc, std::max(srcLen, 0)};
    const CodeWords codes{pLitHuffCodes, pDistHuffCodes};
    BitWriter writer(*pCode, *pCodeLenBits, pDst + *pDstIdx);
    if (srcLen < kMergedRecords) {
        write(records, codes, writer);
    } else {
        ownsDeflateHuff_8u(records, codes, writer);
    }
    *pDstIdx = static_cast<int32_t>(writer.dst - pDst);
    writer.giveBack(pCode, pCodeLenBits);
    return StatusOk;
}
