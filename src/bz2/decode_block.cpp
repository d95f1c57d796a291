// Decodes the symbols of a block: zero runs, move-to-front and dictionary in one pass, then the block sort (inverse.h).
//
// The first 16 entries of the move-to-front list live in a register, where a byte is brought to the front by one
// shuffle; the rest of the list is in memory. The list holds the bytes of the dictionary themselves.
//
// Every symbol is checked before its bytes are written, so that any symbols may come: the rows stay inside the capacity
// and the list inside the dictionary.

#include <tmmintrin.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "bz2/bytes.h"
#include "bz2/inverse.h"
#include "bz2/zero_runs.h"
#include "core/arguments.h"
#include "core/entry_points.h"

namespace ozrdc::bz2 {
namespace {

// The list of move-to-front.
class RecentBytes {
  public:
    // The used values in ascending order.
    explicit RecentBytes(const uint8_t* inUse) noexcept {
        list_.fill(0);
        for (uint32_t value = 0; value < kByteValues; ++value) {
            if (inUse[value] != 0) list_[size_++] = static_cast<uint8_t>(value);
        }
        front_ = load128(list_.data());
    }

    [[nodiscard]] uint32_t size() const noexcept { return size_; }
    [[nodiscard]] uint8_t first() const noexcept { return static_cast<uint8_t>(_mm_cvtsi128_si32(front_)); }

    // Brings the entry `index`, 1 to 255, to the front, and returns it.
    uint8_t take(uint32_t index) noexcept {
        if (index < kFront) {
            front_ = _mm_shuffle_epi8(front_, load128(kMoves[index].data()));
            return first();
        }
        const uint8_t value = list_[index];
        std::memmove(&list_[kFront + 1], &list_[kFront], index - kFront);
        list_[kFront] = static_cast<uint8_t>(_mm_extract_epi16(front_, kFront / 2 - 1) >> 8);
        front_ = _mm_or_si128(_mm_slli_si128(front_, 1), _mm_cvtsi32_si128(value));
        return value;
    }

  private:
    static constexpr uint32_t kFront = 16;

    // The shuffles that bring an entry of the register to the front.
    using Shuffle = std::array<uint8_t, kFront>;
    static constexpr std::array<Shuffle, kFront> kMoves = [] {
        std::array<Shuffle, kFront> moves{};
        for (uint32_t index = 0; index < kFront; ++index) {
            for (uint32_t i = 0; i < kFront; ++i) {
                moves[index][i] = static_cast<uint8_t>(i == 0 ? index : i <= index ? i - 1 : i);
            }
        }
        return moves;
    }();

    __m128i front_;
    std::array<uint8_t, kByteValues> list_;  // the first kFront are out of date
    uint32_t size_ = 0;
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
bool decodeSymbols(const uint16_t* src, uint32_t srcLen, RecentBytes recent, RowWriter& out) noexcept {
    const uint16_t* const end = src + srcLen;
    const uint32_t entries = recent.size();
    if (entries == 0) return false;
    while (src < end) {
        uint32_t symbol = *src++;
        if (symbol >= kFirstLiteral) {
            if (symbol > entries || out.room() == 0) return false;
            out.put(recent.take(symbol - 1));
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

    const RecentBytes recent(pInUse);
    if (recent.size() != static_cast<uint32_t>(sizeDictionary)) return StatusOk;

    RowWriter out{.rows = PackedRows(pBuffer), .capacity = static_cast<uint32_t>(*pDstLen)};
    const bool decoded = decodeSymbols(pSrc, static_cast<uint32_t>(srcLen), recent, out);
    *pDstLen = static_cast<int32_t>(out.n);
    if (!decoded) return StatusError;
    if (static_cast<uint32_t>(index) < out.n) {
        invert(out.rows, out.n, out.counts, static_cast<uint32_t>(index), pDst);
    } else {
        std::memset(pDst, 0, out.n);
    }
    return StatusOk;
}
