// Decodes the symbols of a block: zero runs, move-to-front and dictionary in one pass, then the block sort (inverse.h).
//
// The move-to-front list (symbol_list.h) holds the bytes of the dictionary themselves.
//
// Every symbol is checked before its bytes are written, so that any symbols may come: the rows stay inside the capacity
// and the list inside the dictionary.

#include <array>
#include <cstdint>
#include <cstring>

#include "bz2/bytes.h"
#include "bz2/inverse.h"
#include "bz2/symbol_list.h"
#include "bz2/zero_runs.h"
#include "core/arguments.h"
#include "core/entry_points.h"

namespace ozrdc::bz2 {
namespace {

// The values in use, in ascending order.
struct Dictionary {
    std::array<uint8_t, kByteValues> values{};
    uint32_t size = 0;

    explicit Dictionary(const uint8_t* inUse) noexcept {
        for (uint32_t value = 0; value < kByteValues; ++value) {
            if (inUse[value] != 0) values[size++] = static_cast<uint8_t>(value);
        }
    }
};

// The rows that have been decoded.
struct RowWriter {
    PackedRows rows;
    uint32_t capacity;
    uint32_t n = 0;
    ByteCounts counts{};

    [[nodiscard]] uint32_t room() const noexcept { return capacity - n; }

    void put(uint8_t value) noexcept {
        rows.set(n++, value);
        ++counts[value];
    }

    // At most room().
    void put(uint8_t value, uint32_t times) noexcept {
        counts[value] += times;
        const __m128i four = _mm_set1_epi32(value);
        if (times <= kShortRun && room() >= kShortRun) {
            rows.setFour(n, four);
            n += times;
            return;
        }
        for (; times >= 4; times -= 4) {
            rows.setFour(n, four);
            n += 4;
        }
        for (; times > 0; --times) rows.set(n++, value);
    }

    static constexpr uint32_t kShortRun = 4;
};

// Decodes the symbols to bytes. Returns false at the first symbol that does not fit or stands for nothing; then the
// rows are those in front of it.
bool decodeSymbols(const uint16_t* src, uint32_t srcLen, const Dictionary& dictionary, RowWriter& out) noexcept {
    const uint16_t* const end = src + srcLen;
    if (dictionary.size == 0) return false;
    SymbolList recent(dictionary.values.data());
    while (src < end) {
        uint32_t symbol = *src++;
        if (symbol >= kFirstLiteral) {
            if (symbol > dictionary.size || out.room() == 0) return false;
            recent.move(symbol - 1);
            out.put(recent.first());
            continue;
        }
        // Digits 1 and 2 with weights 1, 2, 4 and so on. Long before a weight could leave 32 bits the run is longer
        // than any room.
        const uint32_t room = out.room();
        uint32_t run = 0;
        for (uint32_t weight = 1;; weight *= 2) {
            run += (symbol + 1) * weight;
            if (run > room) return false;
            if (src == end || *src >= kFirstLiteral) break;
            symbol = *src++;
        }
        out.put(recent.first(), run);
    }
    return true;
}

}  // namespace
}  // namespace ozrdc::bz2

Status y8_ozrsDecodeBlockGetSize_BZ2_8u(uint32_t capacity, int32_t* pSize) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::bz2;
    if (anyNull(pSize)) return StatusNullPointer;
    if (capacity > PackedRows::kMaxRows) return StatusSizeError;
    *pSize = static_cast<int32_t>(sizeof(uint32_t) * capacity);
    return StatusOk;
}

Status y8_ozrsDecodeBlock_BZ2_16u8u(const uint16_t* pSrc, int32_t srcLen, uint8_t* pDst, int32_t* pDstLen,
                                    int32_t index, int32_t sizeDictionary, const uint8_t pInUse[256],
                                    uint8_t* pBuffer) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::bz2;
    if (anyNull(pSrc, pDst, pDstLen, pInUse, pBuffer)) return StatusNullPointer;
    constexpr auto kMaxCapacity = static_cast<int32_t>(PackedRows::kMaxRows);
    if (srcLen <= 0 || *pDstLen > kMaxCapacity || index < 0 || index >= *pDstLen) return StatusSizeError;
    if (static_cast<uint32_t>(sizeDictionary) > kByteValues) return StatusSizeError;

    const Dictionary dictionary(pInUse);
    if (dictionary.size != static_cast<uint32_t>(sizeDictionary)) return StatusOk;

    RowWriter out{.rows = PackedRows(pBuffer), .capacity = static_cast<uint32_t>(*pDstLen)};
    const bool decoded = decodeSymbols(pSrc, static_cast<uint32_t>(srcLen), dictionary, out);
    *pDstLen = static_cast<int32_t>(out.n);
    if (!decoded) return StatusError;
    if (static_cast<uint32_t>(index) < out.n) {
        invert(out.rows, out.n, out.counts, static_cast<uint32_t>(index), pDst);
    } else {
        std::memset(pDst, 0, out.n);
    }
    return StatusOk;
}
