// ZFP decoder of blocks of 4 x 4 x 4 floats: the encoder's steps in reverse.
//
// A state's pending bits are the end of the word in front of its position, so that a place in the stream is a number
// of bits, and a block is read with unaligned loads from there on. The state moves on when the block is done, by as
// many bits as it took. Loads pass the end of a block by less than `kWindow`; where the buffer ends sooner, the block
// is read from a copy that goes on with zeros, and has then taken more bits than there are. Zeros end every plane, so
// that nothing runs on.

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "core/arguments.h"
#include "core/entry_points.h"
#include "core/unaligned.h"
#include "zfp/bit_planes.h"
#include "zfp/format.h"
#include "zfp/state.h"
#include "zfp/transform.h"

namespace ozrdc::zfp {
namespace {

// 64 bits from any bit on; touches kPeekBytes bytes.
constexpr uint64_t kPeekBytes = kWordBytes + 1;
[[gnu::always_inline]] inline uint64_t peek(const uint8_t* base, uint64_t position) noexcept {
    const uint8_t* const p = base + position / 8;
    const unsigned shift = position % 8;
    return load64(p) >> shift | uint64_t{p[8]} << 1 << (63 - shift);
}

// Bytes that are read for a block which begins in the first of them.
constexpr uint64_t kWindow = (7 + kMostBlockBits) / 8 + kPeekBytes;
static_assert(sizeof(ZfpState::scratch) >= kWindow);

// Moves on by `count` bits: to the end of the stream, if that comes first.
Status own_bitskip(ZfpState& state, uint64_t count) noexcept {
    if (count <= state.bitCount) {
        // A full count of 64 cannot be: a word is fetched for a bit of it.
        state.bitBuffer >>= count;
        state.bitCount -= static_cast<uint32_t>(count);
        return StatusOk;
    }
    count -= state.bitCount;
    const uint64_t room = state.roomInBytes();
    if (count > room * 8) {
        state.position = state.end;
        state.bitBuffer = 0;
        state.bitCount = 0;
        return StatusStreamEnd;
    }
    // Words as long as they last, then bytes: the unit that holds the last bit is fetched.
    const bool inWords = (count + kWordBits - 1) / kWordBits * kWordBytes <= room;
    const uint64_t unit = inWords ? kWordBits : 8;
    const uint64_t fetched = (count + unit - 1) / unit * unit;
    state.position += fetched / 8;
    state.bitCount = static_cast<uint32_t>(fetched - count);
    state.bitBuffer = 0;
    if (state.bitCount > 0) {
        const uint64_t last = inWords ? load64(state.position - kWordBytes) : uint64_t{state.position[-1]};
        state.bitBuffer = last >> (unit - state.bitCount);
    }
    return StatusOk;
}

// Reads the planes of a block. Positions count bits from the base.
class PlaneReader {
  public:
    PlaneReader(const uint8_t* base, uint64_t position, uint64_t limit) noexcept
        : base_(base), position_(position), limit_(limit) {}

    // Fills planes[31] and those below it, until `count` are done or the limit is reached.
    void read(unsigned count, uint64_t* planes) noexcept {
        uint64_t* plane = planes + kPlanes;
        uint64_t* const last = plane - count;
        while (plane > last && position_ + kMostPlaneBits <= limit_) *--plane = readPlane<false>();
        while (plane > last && position_ < limit_) *--plane = readPlane<true>();
    }

    [[nodiscard]] uint64_t position() const noexcept { return position_; }

  private:
    // With `nearLimit` the limit may come before the end of the plane.
    template <bool nearLimit>
    [[gnu::always_inline]] uint64_t readPlane() noexcept {
        uint64_t bits = peek(base_, position_);
        uint64_t verbatim = significant_;
        if constexpr (nearLimit) verbatim = std::min(verbatim, limit_ - position_);
        position_ += verbatim;
        if (verbatim == kValues) return bits;
        uint64_t plane = lowBits(bits, static_cast<unsigned>(verbatim));
        if (nearLimit && position_ == limit_) return plane;
        bits >>= verbatim;
        ++position_;
        if ((bits & 1) == 0) return plane;
        bits = peek(base_, position_);
        uint64_t reach = position_ + significant_;  // as long as the position is not beyond it, enough bits are left
        for (;;) {
            // The run ends with a one, or in front of the last coefficient, or where the limit is.
            uint64_t longest = kValues - 1 - significant_;
            if constexpr (nearLimit) longest = std::min(longest, limit_ - position_);
            const auto zeros = static_cast<unsigned>(std::countr_zero(bits | uint64_t{1} << longest));
            significant_ += zeros;
            plane |= uint64_t{1} << significant_;
            ++significant_;
            if (zeros == longest) {
                position_ += zeros;
                return plane;
            }
            // The stop, and the next test.
            position_ += zeros + 1;
            if (nearLimit && position_ == limit_) return plane;
            bits >>= zeros;
            ++position_;
            if ((bits & 2) == 0) return plane;
            bits >>= 2;
            if (position_ > reach) {
                bits = peek(base_, position_);
                reach = position_ + significant_;
            }
        }
    }

    const uint8_t* base_;
    uint64_t position_;
    uint64_t limit_;
    unsigned significant_ = 0;  // the coefficients that have been found significant are the first
};

// Where the rows of a block go.
struct Target {
    uint8_t* base;
    int64_t rowStep;
    int64_t planeStep;

    [[gnu::always_inline]] void store(size_t row, __m128i values) const noexcept {
        const auto y = static_cast<int64_t>(row % kSide);
        const auto z = static_cast<int64_t>(row / kSide);
        store128(base + y * rowStep + z * planeStep, values);
    }
};

constexpr unsigned kMantissaBits = 23;

// 2^e for the exponent of a normal number.
__m128 powerOfTwo(int32_t e) noexcept { return _mm_castsi128_ps(_mm_set1_epi32((e + kExponentBias) << kMantissaBits)); }

// Writes the block times 2^(e - 30).
[[gnu::always_inline]] inline void dequantize(const Block& block, int32_t e, const Target& target) noexcept {
    // Of blocks of tiny numbers the power is no normal number: it is applied in two steps, of which only the second
    // rounds.
    constexpr int32_t kSmallestNormal = 1 - kExponentBias;
    constexpr int32_t kSecondStep = -64;
    const bool twoSteps = e - kFractionBits < kSmallestNormal;
    const __m128 factor = powerOfTwo(e - kFractionBits - (twoSteps ? kSecondStep : 0));
    const __m128 second = powerOfTwo(twoSteps ? kSecondStep : 0);
    for (size_t i = 0; i < kRows; ++i) {
        const __m128 values = _mm_mul_ps(_mm_mul_ps(_mm_cvtepi32_ps(block.rows[i]), factor), second);
        target.store(i, _mm_castps_si128(values));
    }
}

Status decodeBlock(ZfpState& state, const Target& target) noexcept {
    const uint64_t available = state.roomInBytes() * 8 + state.bitCount;
    const uint64_t pendingBytes = (state.bitCount + 7) / 8;
    const uint8_t* base = state.position - pendingBytes;
    const uint64_t begin = pendingBytes * 8 - state.bitCount;
    const uint64_t readable = static_cast<uint64_t>(state.end - base);
    if (readable < kWindow) {
        auto* const copy = reinterpret_cast<uint8_t*>(state.scratch);
        std::memcpy(copy, base, readable);
        std::memset(copy + readable, 0, kWindow - readable);
        base = copy;
    }

    const uint64_t header = peek(base, begin);
    if ((header & 1) == 0) {
        if (available == 0) return own_bitskip(state, 1);
        for (size_t i = 0; i < kRows; ++i) target.store(i, _mm_setzero_si128());
        return own_bitskip(state, std::max<uint64_t>(state.minBits, 1));
    }
    const int32_t e = static_cast<int32_t>(lowBits(header >> 1, kExponentBits)) - kExponentBias;
    const unsigned planes = codedPlanes(state.maxPrec, state.minExp, e);
    const uint64_t limit = begin + std::max<uint64_t>(state.maxBits, kHeaderBits);
    PlaneReader reader(base, begin + kHeaderBits, limit);
    alignas(16) std::array<uint64_t, kPlanes> coded{};
    reader.read(planes, coded.data());

    const uint64_t taken = reader.position() - begin;
    if (const Status s = own_bitskip(state, std::max<uint64_t>(taken, state.minBits))) return s;

    ByteRows bytes;
    for (size_t b = 0; b < kBytes; ++b) bytes[b] = byteOfPlanes(&coded[kPlanesOfByte * b]);
    Block block = fromBytes(bytes);
    ownInvDecor(block);
    dequantize(block, e, target);
    return StatusOk;
}

}  // namespace
}  // namespace ozrdc::zfp

using namespace ozrdc;
using namespace ozrdc::zfp;

Status y8_ozrsDecodeZfp444_32f(ZfpState* pState, float* pDst, int32_t dstStep, int32_t dstPlaneStep) noexcept {
    if (anyNull(pDst, pState)) return StatusNullPointer;
    if (!pState->isValid()) return StatusContextMismatch;
    return decodeBlock(*pState, {reinterpret_cast<uint8_t*>(pDst), dstStep, dstPlaneStep});
}
