// ZFP encoder of blocks of 4 x 4 x 4 floats.
//
// A block is scaled by its largest exponent to integers and transformed; its bit planes are coded from the most
// significant on, until a budget of planes or bits is used up. Of each plane the coefficients that have been found
// significant are sent as they are, and the others by group tests: one bit tells whether any of them has a one, and if
// so the bits up to that one follow, and a further test.
//
// A block's bits are first put together in the state's scratch memory, behind those that are pending: without a branch
// on how full a word is, and without regard to the budget, of which the last plane may be cut. From there whole words
// go to the stream, as far as there is room. The scratch holds the largest block with all that may run over.

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

// Bits are put behind those that are pending in a state, in its scratch memory.
class ScratchWriter {
  public:
    explicit ScratchWriter(ZfpState& state) noexcept
        : begin_(state.scratch), word_(state.scratch), buffer_(state.bitBuffer), count_(state.bitCount) {}

    // Appends the low `n` bits of `bits`, 0 to 64; those above them are 0. The word that is being filled is always
    // stored: whether it is full by now only decides where the next bits go.
    [[gnu::always_inline]] void put(uint64_t bits, unsigned n) noexcept {
        const uint64_t filled = buffer_ | bits << count_;
        const uint64_t rest = bits >> 1 >> (kWordBits - 1 - count_);
        *word_ = filled;
        count_ += n;
        const unsigned full = count_ / kWordBits;
        count_ %= kWordBits;
        buffer_ = full != 0 ? rest : filled;
        word_ += full;
    }

    [[nodiscard]] uint64_t position() const noexcept {
        return static_cast<uint64_t>(word_ - begin_) * kWordBits + count_;
    }

    // Ends the bits at `position`, which they have reached: those of the last word behind it become 0.
    void end(uint64_t position) noexcept {
        *word_ = buffer_;
        uint64_t& last = begin_[position / kWordBits];
        last = lowBits(last, position % kWordBits);
    }

  private:
    uint64_t* begin_;
    uint64_t* word_;
    uint64_t buffer_;
    unsigned count_;
};
// Pending bits, the largest block, one plane beyond the budget, and the word that is being filled.
static_assert(sizeof(ZfpState::scratch) * 8 >= kWordBits + kMostBlockBits + kMostPlaneBits + kWordBits);

// The floats of a block, row by row.
struct Floats {
    __m128 rows[kRows];
};

// The largest magnitude. NaNs are passed over.
float largestMagnitude(const Floats& floats) noexcept {
    const __m128 magnitude = _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF));
    // The order of the operands decides: of a NaN and a number, the second operand is the result.
    __m128 largest[kSide] = {};
    for (size_t i = 0; i < kRows; ++i) {
        largest[i % kSide] = _mm_max_ps(_mm_and_ps(floats.rows[i], magnitude), largest[i % kSide]);
    }
    __m128 m = _mm_max_ps(_mm_max_ps(largest[0], largest[1]), _mm_max_ps(largest[2], largest[3]));
    m = _mm_max_ps(m, _mm_movehl_ps(m, m));
    m = _mm_max_ss(m, _mm_shuffle_ps(m, m, 1));
    return _mm_cvtss_f32(m);
}

constexpr unsigned kMantissaBits = 23;
constexpr uint32_t kLargestField = 2 * kExponentBias;  // exponent field of the largest finite numbers

// The exponent e of the form f * 2^e, 0.5 <= f < 1. For denormal numbers it is that of the smallest normal ones, for an
// infinity that of the largest finite ones: the header has no room for more, and the decoder derives the number of
// planes from it.
int32_t exponentOf(float magnitude) noexcept {
    if (!(magnitude > 0)) return kNoExponent;
    const uint32_t field = std::bit_cast<uint32_t>(magnitude) >> kMantissaBits;
    return static_cast<int32_t>(std::min(field, kLargestField)) - (kExponentBias - 1);
}

// 2^(30 - e), or the largest power of two there is. Takes any exponent of a block.
float quantizationFactor(int32_t e) noexcept {
    const auto field = static_cast<uint32_t>(kExponentBias + kFractionBits - e);
    return std::bit_cast<float>(std::min(field, kLargestField) << kMantissaBits);
}

Block quantize(const Floats& floats, int32_t e) noexcept {
    const __m128 factor = _mm_set1_ps(quantizationFactor(e));
    Block block;
    // Infinities and NaNs become the smallest integer.
    for (size_t i = 0; i < kRows; ++i) block.rows[i] = _mm_cvttps_epi32(_mm_mul_ps(floats.rows[i], factor));
    return block;
}

// Group tests put a bit behind every one of the bits they send, which tells whether there is a further one. What
// becomes of a byte in between: every 0 is a 0, every 1 is 11.
constexpr auto kDoubledOnes = [] {
    std::array<uint16_t, 256> doubled{};
    for (unsigned byte = 0; byte < doubled.size(); ++byte) {
        unsigned length = 0;
        for (unsigned i = 0; i < 8; ++i) {
            if ((byte >> i & 1) != 0) doubled[byte] = static_cast<uint16_t>(doubled[byte] | 3U << length);
            length += 1 + (byte >> i & 1);
        }
    }
    return doubled;
}();

constexpr unsigned kDoubledAtOnce = 16;

// Puts the lowest `n` of 16 bits, those above being 0, with their ones doubled.
[[gnu::always_inline]] inline void putDoubled(uint64_t bits, unsigned n, ScratchWriter& out) noexcept {
    const uint64_t low = bits % 256;
    const auto lowLength = static_cast<unsigned>(8 + std::popcount(low));
    out.put(kDoubledOnes[low] | uint64_t{kDoubledOnes[bits / 256 % 256]} << lowLength,
            n + static_cast<unsigned>(std::popcount(bits % (1U << kDoubledAtOnce))));
}

// Codes one plane. The first `significant` coefficients have been found significant; returns how many are now.
[[gnu::always_inline]] inline unsigned putPlane(uint64_t plane, unsigned significant, ScratchWriter& out) noexcept {
    if (significant == kValues) {
        out.put(plane, kValues);
        return kValues;
    }
    const uint64_t others = plane >> significant;
    if (others == 0) {
        out.put(plane, significant + 1);  // and the test that finds no other
        return significant;
    }
    // The last one is known to be the last by the 0 behind it; of the last coefficient of all even the one is implied.
    auto last = static_cast<unsigned>(kValues - 1 - static_cast<unsigned>(std::countl_zero(others)));
    uint64_t rest = others ^ (uint64_t{1} << last);
    const unsigned found = significant + last + 1;
    out.put(lowBits(plane, significant) | uint64_t{1} << significant, significant + 1);  // and the first test
    for (; rest >> kDoubledAtOnce != 0; rest >>= kDoubledAtOnce, last -= kDoubledAtOnce) {
        putDoubled(rest, kDoubledAtOnce, out);
    }
    const unsigned before = std::min(last, kDoubledAtOnce);
    putDoubled(rest, before, out);
    const unsigned zeros = last - before;
    const unsigned implied = found == kValues ? 1 : 0;
    out.put(uint64_t{1 - implied} << zeros, zeros + 2 * (1 - implied));
    return found;
}

// Codes planes until `limit` is reached; the last one may pass it.
void putPlanes(const Block& block, unsigned planes, uint64_t limit, ScratchWriter& out) noexcept {
    const ByteRows bytes = bytesOf(block);
    unsigned significant = 0;
    for (size_t b = kBytes; b-- > 0;) {
        PlanesOfByte source(bytes[b]);
        for (size_t k = 0; k < kPlanesOfByte; ++k) {
            if (planes-- == 0 || out.position() >= limit) return;
            significant = putPlane(source.next(), significant, out);
        }
    }
}

// Moves the words of a block from the scratch memory to the stream. The scratch holds `bits` bits, those that were
// pending included; zeros follow up to `total`. What does not make a word is pending then. Without room, as much of it
// as can be.
Status storeWords(ZfpState& state, uint64_t bits, uint64_t total) noexcept {
    const uint64_t words = total / kWordBits;
    const bool beforeGuard =
        state.guard != nullptr && state.position <= state.guard && total < uint64_t{state.maxBits} + kWordBits;
    const uint64_t stored = beforeGuard ? words : std::min(words, state.roomInBytes() / kWordBytes);
    const uint64_t copied = std::min(stored, bits / kWordBits + 1);
    std::memcpy(state.position, state.scratch, copied * kWordBytes);
    std::memset(state.position + copied * kWordBytes, 0, (stored - copied) * kWordBytes);
    state.position += stored * kWordBytes;
    const uint64_t next = stored <= bits / kWordBits ? state.scratch[stored] : 0;
    if (stored < words) {
        state.bitBuffer = lowBits(next, kWordBits - 1);
        state.bitCount = kWordBits - 1;
        return StatusStreamEnd;
    }
    state.bitBuffer = next;
    state.bitCount = static_cast<uint32_t>(total % kWordBits);
    return StatusOk;
}

Status encodeBlock(const uint8_t* src, int64_t rowStep, int64_t planeStep, ZfpState& state) noexcept {
    Floats floats;
    for (size_t i = 0; i < kRows; ++i) {
        const auto y = static_cast<int64_t>(i % kSide);
        const auto z = static_cast<int64_t>(i / kSide);
        floats.rows[i] = _mm_castsi128_ps(load128(src + y * rowStep + z * planeStep));
    }
    const int32_t e = exponentOf(largestMagnitude(floats));
    const unsigned planes = codedPlanes(state.maxPrec, state.minExp, e);

    ScratchWriter out(state);
    const uint64_t begin = out.position();
    uint64_t limit = begin + state.maxBits;
    if (planes == 0 || e == kNoExponent) {
        out.put(0, 1);
        limit = begin + 1;
    } else {
        out.put(1 | static_cast<uint32_t>(e + kExponentBias) << 1, kHeaderBits);
        limit = std::max(limit, out.position());
        Block block = quantize(floats, e);
        ownFwdDecor(block);
        putPlanes(block, planes, limit, out);
    }
    const uint64_t end = std::min(out.position(), limit);
    out.end(end);
    return storeWords(state, end, std::max(end, begin + state.minBits));
}

}  // namespace
}  // namespace ozrdc::zfp

using namespace ozrdc;
using namespace ozrdc::zfp;

Status y8_ozrsEncodeZfp444_32f(const float* pSrc, int32_t srcStep, int32_t srcPlaneStep, ZfpState* pState) noexcept {
    if (anyNull(pSrc, pState)) return StatusNullPointer;
    if (!pState->isValid()) return StatusContextMismatch;
    return encodeBlock(reinterpret_cast<const uint8_t*>(pSrc), srcStep, srcPlaneStep, *pState);
}
