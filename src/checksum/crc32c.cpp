// CRC-32C: generator 0x1EDC6F41, least significant bit first. The register goes in and comes out as it is.
//
// The processor has an instruction for it, which takes up 8 bytes in 3 cycles but can begin once a cycle. So the
// message is cut into lanes that run side by side, each with a register of its own, and the registers are merged in the
// end: the register of a lane followed by n bytes is multiplied by x^(8n), which one carry-less multiplication and the
// instruction itself, as the reduction, can do.
//
// Long messages keep the carry-less multiplier busy as well: it stands on other ports, so that while four lanes run
// through the instruction, a fifth lane, twice as long, is folded (see folding.h). Together they are half again as
// fast as the instruction alone.

#include <nmmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "checksum/block_arithmetic.h"
#include "checksum/polynomial.h"
#include "checksum/slicing.h"
#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/features.h"
#include "core/unaligned.h"

namespace ozrdc {
namespace {

constexpr SlicingTables CRC32CTable = makeSlicingTables<BitOrder::LeastFirst>(kPolynomialCrc32c);

uint32_t ownsCRC32C_8u(uint32_t crc, const uint8_t* p, size_t len) noexcept {
    return sliceBytes(CRC32CTable, crc, p, len);
}

// ---- The instruction ----

[[gnu::always_inline]] inline uint64_t step8(uint64_t crc, const uint8_t* p) noexcept {
    return _mm_crc32_u64(crc, load64(p));
}

[[gnu::always_inline]] inline uint32_t chain(uint32_t crc, const uint8_t* p, size_t len) noexcept {
    uint64_t r = crc;
    for (; len >= 8; len -= 8, p += 8) r = step8(r, p);
    auto r32 = static_cast<uint32_t>(r);
    if ((len & 4) != 0) {
        r32 = _mm_crc32_u32(r32, load32(p));
        p += 4;
    }
    if ((len & 2) != 0) {
        r32 = _mm_crc32_u16(r32, load16(p));
        p += 2;
    }
    if ((len & 1) != 0) r32 = _mm_crc32_u8(r32, *p);
    return r32;
}

constexpr size_t kLanes = 3;

// Registers of neighboring lanes of equal length.
struct LaneRegisters {
    uint64_t r[kLanes];
};

[[gnu::always_inline]] inline LaneRegisters runLanes(uint64_t crc, const uint8_t* p, size_t words) noexcept {
    LaneRegisters lanes{{crc, 0, 0}};
    for (const uint8_t* const end = p + words * 8; p != end; p += 8) {
        lanes.r[0] = step8(lanes.r[0], p);
        lanes.r[1] = step8(lanes.r[1], p + words * 8);
        lanes.r[2] = step8(lanes.r[2], p + words * 16);
    }
    return lanes;
}

// ---- Merging by tables ----

// [k][b]: byte k of a register with value b, moved over a fixed number of bytes.
using ShiftTables = std::array<ByteTable, 4>;

constexpr ShiftTables makeShiftTables(size_t bytes) {
    ShiftTables tables{};
    const uint32_t factor = powerOfX(8 * bytes, kPolynomialCrc32c);
    for (unsigned k = 0; k < 4; ++k) {
        for (uint32_t b = 0; b < 256; ++b) {
            const auto value = static_cast<uint32_t>(reflect(b << (8 * k), 32));
            tables[k][b] = static_cast<uint32_t>(reflect(multiply(value, factor, kPolynomialCrc32c), 32));
        }
    }
    return tables;
}

template <size_t bytes>
constexpr ShiftTables mul_table = makeShiftTables(bytes);

template <size_t bytes>
[[gnu::always_inline]] inline uint64_t shift(uint64_t crc) noexcept {
    const ShiftTables& t = mul_table<bytes>;
    return t[0][crc & 0xFF] ^ t[1][(crc >> 8) & 0xFF] ^ t[2][(crc >> 16) & 0xFF] ^ t[3][(crc >> 24) & 0xFF];
}

template <size_t laneBytes>
[[gnu::always_inline]] inline void takeLanes(uint64_t& crc, const uint8_t*& p, size_t& len) noexcept {
    for (; len >= kLanes * laneBytes; len -= kLanes * laneBytes, p += kLanes * laneBytes) {
        const LaneRegisters lanes = runLanes(crc, p, laneBytes / 8);
        crc = shift<laneBytes>(shift<laneBytes>(lanes.r[0]) ^ lanes.r[1]) ^ lanes.r[2];
    }
}

// The instruction alone. A merge takes eight dependent look-ups, so each lane length is four times the next: the short
// ones only run a few times.
uint32_t ownscrc_216_asm(uint32_t crc, const uint8_t* p, size_t len) noexcept {
    uint64_t r = crc;
    takeLanes<1024>(r, p, len);
    takeLanes<256>(r, p, len);
    takeLanes<64>(r, p, len);
    return chain(static_cast<uint32_t>(r), p, len);
}

// ---- Merging by carry-less multiplication ----

// [n]: the factor that moves a register over n * unit bytes, n at least 1. The product of two reflected registers comes
// out one bit low in 64, and the instruction that reduces it multiplies by x^32: both are taken off here.
template <size_t unit, size_t most>
constexpr auto kMoveFactors = [] {
    std::array<uint32_t, most + 1> factors{};
    const uint32_t step = powerOfX(8 * unit, kPolynomialCrc32c);
    uint32_t factor = powerOfX(8 * unit - 33, kPolynomialCrc32c);
    for (size_t n = 1; n <= most; ++n, factor = multiply(factor, step, kPolynomialCrc32c)) {
        factors[n] = static_cast<uint32_t>(reflect(factor, 32));
    }
    return factors;
}();

[[gnu::target("pclmul"), gnu::always_inline]] inline __m128i moved(uint64_t crc, uint32_t factor) noexcept {
    return _mm_clmulepi64_si128(_mm_cvtsi64_si128(static_cast<int64_t>(crc)),
                                _mm_cvtsi32_si128(static_cast<int>(factor)), 0x00);
}

// The register behind the moved ones and the last.
[[gnu::always_inline]] inline uint32_t merged(__m128i sum, uint64_t last) noexcept {
    return static_cast<uint32_t>(_mm_crc32_u64(0, static_cast<uint64_t>(_mm_cvtsi128_si64(sum))) ^ last);
}

// Long messages. A unit is 64 bytes of each of four lanes of the instruction, and 128 bytes of the folded lane, which
// takes about the same time; the folded lane comes first and has 128 bytes more, because loading the accumulators costs
// nothing.
constexpr size_t kLaneUnit = 64;
constexpr size_t kInstructionLanes = 4;
constexpr size_t kFoldUnit = 128;
constexpr size_t kUnit = kFoldUnit + kInstructionLanes * kLaneUnit;
constexpr size_t kMostUnits = 64;

constexpr auto& kLongFactors = kMoveFactors<kLaneUnit, kInstructionLanes * kMostUnits>;

// What remains of a message behind its units, and short messages, in three lanes of a number of words.
constexpr size_t kMostLaneWords = (kFoldUnit + kUnit - 1) / (kLanes * 8);

constexpr auto& kShortFactors = kMoveFactors<8, (kLanes - 1) * kMostLaneWords>;

// Below this length one lane is as fast as three and a merge.
constexpr size_t kLanesLeast = 96;

// Takes up 128 + n * 384 bytes, 1 <= n <= 64.
[[gnu::target("pclmul"), gnu::always_inline]] inline uint32_t longStep(uint32_t crc, const uint8_t* p,
                                                                       size_t units) noexcept {
    using Blocks = BlockFolding<BlockArithmetic<BitOrder::LeastFirst, kPolynomialCrc32c>>;
    constexpr size_t kBlocks = kFoldUnit / 16;
    const size_t laneBytes = units * kLaneUnit;

    __m128i a[kBlocks];
#pragma GCC unroll 8
    for (size_t i = 0; i < kBlocks; ++i) a[i] = load128(p + i * 16);
    a[0] = _mm_xor_si128(a[0], Blocks::fromCrc(crc));
    p += kFoldUnit;
    const uint8_t* lane = p + units * kFoldUnit;
    uint64_t r[kInstructionLanes] = {};
    for (const uint8_t* const end = lane; p != end; p += kFoldUnit, lane += kLaneUnit) {
#pragma GCC unroll 8
        for (size_t i = 0; i < kBlocks; ++i) {
            a[i] = Blocks::foldOnto<kFoldUnit * 8>(a[i], load128(p + i * 16));
            r[0] = step8(r[0], lane + i * 8);
            r[1] = step8(r[1], lane + laneBytes + i * 8);
            r[2] = step8(r[2], lane + 2 * laneBytes + i * 8);
            r[3] = step8(r[3], lane + 3 * laneBytes + i * 8);
        }
    }
    const __m128i block = Blocks::join4(Blocks::foldOnto<512>(a[0], a[4]), Blocks::foldOnto<512>(a[1], a[5]),
                                        Blocks::foldOnto<512>(a[2], a[6]), Blocks::foldOnto<512>(a[3], a[7]));
    uint64_t folded = _mm_crc32_u64(0, static_cast<uint64_t>(_mm_cvtsi128_si64(block)));
    folded = _mm_crc32_u64(folded, static_cast<uint64_t>(_mm_extract_epi64(block, 1)));

    const __m128i lanes01 = _mm_xor_si128(moved(r[0], kLongFactors[3 * units]), moved(r[1], kLongFactors[2 * units]));
    const __m128i lanes2 = _mm_xor_si128(moved(r[2], kLongFactors[units]), moved(folded, kLongFactors[4 * units]));
    return merged(_mm_xor_si128(lanes01, lanes2), r[3]);
}

[[gnu::target("pclmul")]] uint32_t ownscrc_plc_asm(uint32_t crc, const uint8_t* p, size_t len) noexcept {
    while (len >= kFoldUnit + kUnit) {
        const size_t units = std::min((len - kFoldUnit) / kUnit, kMostUnits);
        crc = longStep(crc, p, units);
        p += kFoldUnit + units * kUnit;
        len -= kFoldUnit + units * kUnit;
    }
    if (len >= kLanesLeast) {
        const size_t words = len / (kLanes * 8);
        const LaneRegisters lanes = runLanes(crc, p, words);
        crc =
            merged(_mm_xor_si128(moved(lanes.r[0], kShortFactors[2 * words]), moved(lanes.r[1], kShortFactors[words])),
                   lanes.r[2]);
        p += words * kLanes * 8;
        len -= words * kLanes * 8;
    }
    return chain(crc, p, len);
}

}  // namespace
}  // namespace ozrdc

Status y8_ozrsCRC32C_8u(const uint8_t* pSrc, uint32_t len, uint32_t* pCRC) noexcept {
    using namespace ozrdc;
    if (anyNull(pSrc, pCRC)) return StatusNullPointer;
    if (len == 0) return StatusSizeError;
    auto update = ownsCRC32C_8u;
    if (ownGetFeature(kFeatureCarrylessMultiply) != 0) {
        update = ownscrc_plc_asm;
    } else if (ownGetFeature(kFeatureCrc32Instruction) != 0) {
        update = ownscrc_216_asm;
    }
    *pCRC = update(*pCRC, pSrc, len);
    return StatusOk;
}
