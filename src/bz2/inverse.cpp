// The inverse of the block sort.
//
// Following T is a chain of loads, each of which needs the one before it and falls anywhere in the array of links: what
// it costs is the latency of the cache. Large blocks therefore take two bytes a step: the rows are linked by U = T(T),
// which halves the chain. Of the two bytes of a step the second is L of the row arrived at, and the first is the byte
// that all rotations around the row left behind begin with, which the counts tell; the search for it is not on the
// chain.
//
// U is built without T. Row i is reached from row k, the next one that begins with L(i), and that from row j, the next
// one that begins with L(k), L(i): a counting sort by pairs of bytes. Its 65536 counters lie in the destination, which
// is not needed until the links are complete; so the blocks that are too short for it, and fit the near caches anyway,
// take single steps.

#include "bz2/inverse.h"

#include <array>
#include <cstring>

#include "core/arguments.h"
#include "core/entry_points.h"

namespace ozrdc::bz2 {
namespace {

constexpr size_t kPairCounters = kPairs * sizeof(uint32_t);
constexpr uint32_t kMinPairedRows = kPairCounters;

// Tells the byte that the rotation of a row begins with.
class FirstBytes {
  public:
    FirstBytes(const ByteCounts& counts, uint32_t n) noexcept {
        uint32_t end = 0;
        for (unsigned c = 0; c < kByteValues; ++c) {
            if (counts[c] == 0) continue;
            end += counts[c];
            value_[used_] = static_cast<uint8_t>(c);
            end_[used_++] = end;
        }
        while ((n - 1) >> shift_ >= kCells) ++shift_;
        unsigned which = 0;
        for (uint32_t cell = 0; cell <= (n - 1) >> shift_; ++cell) {
            while (end_[which] <= cell << shift_) ++which;
            cell_[cell] = static_cast<uint8_t>(which);
        }
    }

    [[nodiscard]] uint8_t of(uint32_t row) const noexcept {
        unsigned which = cell_[row >> shift_];
        while (row >= end_[which]) ++which;
        return value_[which];
    }

  private:
    static constexpr uint32_t kCells = 8192;  // so many that few hold more than one byte's rows

    std::array<uint32_t, kByteValues> end_;   // behind the last row, of the bytes that occur
    std::array<uint8_t, kByteValues> value_;  // which these are
    std::array<uint8_t, kCells> cell_;        // the byte of the first row of each 2^shift rows
    unsigned used_ = 0;
    unsigned shift_ = 0;
};

void link(PackedRows rows, uint32_t n, const ByteCounts& counts) noexcept {
    ByteCounts next = counts;
    turnIntoStarts(next);
    for (uint32_t i = 0; i < n; ++i) {
        const uint32_t k = next[rows.byteOf(i)]++;
        rows.set(k, rows.get(k) | i << PackedRows::kByteBits);
    }
}

void walk(PackedRows rows, uint32_t n, uint32_t index, uint8_t* dst) noexcept {
    uint32_t row = rows.get(index) >> PackedRows::kByteBits;
    for (uint32_t k = 0; k < n; ++k) {
        const uint32_t entry = rows.get(row);
        dst[k] = static_cast<uint8_t>(entry);
        row = entry >> PackedRows::kByteBits;
    }
}

// The counters of pairs, indexed by second byte, then first byte: the numbers that one byte's rows change together lie
// side by side.
class PairCounters {
  public:
    explicit PairCounters(uint8_t* at) noexcept : at_(at) { std::memset(at_, 0, kPairCounters); }

    uint32_t add(unsigned first, unsigned second, uint32_t n) noexcept {
        uint8_t* const counter = at_ + sizeof(uint32_t) * (second * kByteValues + first);
        const uint32_t before = load32(counter);
        store32(counter, before + n);
        return before;
    }
    void set(unsigned first, unsigned second, uint32_t n) noexcept {
        store32(at_ + sizeof(uint32_t) * (second * kByteValues + first), n);
    }

  private:
    uint8_t* at_;
};

void linkPairs(PackedRows rows, uint32_t n, const ByteCounts& counts, uint8_t* counters) noexcept {
    PairCounters pairs(counters);
    // The rows that begin with `second` are one stretch, and `first` is the byte in front of it.
    uint32_t row = 0;
    for (unsigned second = 0; second < kByteValues; ++second) {
        for (uint32_t left = counts[second]; left > 0; --left) pairs.add(rows.byteOf(row++), second, 1);
    }
    uint32_t sum = 0;
    for (unsigned first = 0; first < kByteValues; ++first) {
        for (unsigned second = 0; second < kByteValues; ++second) {
            const uint32_t count = pairs.add(first, second, 0);
            pairs.set(first, second, sum);
            sum += count;
        }
    }
    ByteCounts next = counts;
    turnIntoStarts(next);
    for (uint32_t i = 0; i < n; ++i) {
        const unsigned second = rows.byteOf(i);
        const uint32_t k = next[second]++;
        const uint32_t j = pairs.add(rows.byteOf(k), second, 1);
        rows.set(j, rows.get(j) | i << PackedRows::kByteBits);
    }
}

void walkPairs(PackedRows rows, uint32_t n, const ByteCounts& counts, uint32_t index, uint8_t* dst) noexcept {
    const FirstBytes first(counts, n);
    uint32_t row = index;
    uint32_t next = rows.get(row) >> PackedRows::kByteBits;
    for (uint32_t k = 0; k + 2 <= n; k += 2) {
        const uint32_t entry = rows.get(next);
        dst[k] = first.of(row);
        dst[k + 1] = static_cast<uint8_t>(entry);
        row = next;
        next = entry >> PackedRows::kByteBits;
    }
    if (n % 2 != 0) dst[n - 1] = first.of(row);
}

}  // namespace

void invert(PackedRows rows, uint32_t n, const ByteCounts& counts, uint32_t index, uint8_t* dst) noexcept {
    if (n >= kMinPairedRows) {
        linkPairs(rows, n, counts, dst);
        walkPairs(rows, n, counts, index, dst);
    } else {
        link(rows, n, counts);
        walk(rows, n, index, dst);
    }
}

void invertWide(const uint8_t* lastColumn, uint32_t n, uint32_t index, uint8_t* dst, uint8_t* links) noexcept {
    const auto at = [links](uint32_t row) noexcept { return links + sizeof(uint32_t) * size_t{row}; };
    ByteCounts next{};
    for (uint32_t i = 0; i < n; ++i) ++next[lastColumn[i]];
    turnIntoStarts(next);
    for (uint32_t i = 0; i < n; ++i) store32(at(next[lastColumn[i]]++), i);
    for (uint32_t k = 0; k < n; ++k) {
        index = load32(at(index));
        dst[k] = lastColumn[index];
    }
}

}  // namespace ozrdc::bz2

Status y8_ozrsBWTInvGetSize_8u(int32_t len, int32_t* pSize) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::bz2;
    if (anyNull(pSize)) return StatusNullPointer;
    if (len < 1) return StatusSizeError;
    *pSize = static_cast<int32_t>(sizeof(uint32_t) * static_cast<uint32_t>(len) + sizeof(ByteCounts));
    return StatusOk;
}

Status y8_ozrsBWTInv_8u(const uint8_t* pSrc, uint8_t* pDst, int32_t len, int32_t index, uint8_t* pBuffer) noexcept {
    using namespace ozrdc;
    using namespace ozrdc::bz2;
    if (anyNull(pSrc, pDst, pBuffer)) return StatusNullPointer;
    if (len < 1 || index >= len) return StatusSizeError;
    const auto n = static_cast<uint32_t>(len);
    if (index < 0) {
        std::memset(pDst, 0, n);
    } else if (n <= PackedRows::kMaxRows) {
        const PackedRows rows(pBuffer);
        ByteCounts counts{};
        for (uint32_t i = 0; i < n; ++i) {
            rows.set(i, pSrc[i]);
            ++counts[pSrc[i]];
        }
        invert(rows, n, counts, static_cast<uint32_t>(index), pDst);
    } else {
        invertWide(pSrc, n, static_cast<uint32_t>(index), pDst, pBuffer);
    }
    return StatusOk;
}
