// See the header.
#include "zfp/reference_codec.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace ozrdc::test::zfp {
namespace {

using Integers = std::array<uint32_t, 64>;  // in two's complement, so that sums wrap

// The indices by increasing x + y + z. The order among equal sums is a convention of the format.
constexpr std::array<unsigned, 64> kOrder = {
    0,                                               // sum 0
    1,  4,  16,                                      // 1
    20, 17, 5,  2,  8,  32,                          // 2
    21, 6,  18, 24, 9,  33, 36, 3,  12, 48,          // 3
    22, 25, 37, 40, 34, 10, 7,  19, 28, 13, 49, 52,  // 4
    41, 38, 26, 23, 29, 53, 11, 35, 44, 14, 50, 56,  // 5
    42, 27, 39, 45, 30, 54, 57, 60, 51, 15,          // 6
    43, 46, 58, 61, 55, 31,                          // 7
    62, 59, 47,                                      // 8
    63,                                              // 9
};

uint32_t halved(uint32_t value) {
    return static_cast<uint32_t>(
        static_cast<int32_t>(std::floor(static_cast<double>(static_cast<int32_t>(value)) / 2)));
}

// One line: every step is the inverse of its counterpart in the other direction, but for the bit that a mean loses.
struct Line {
    uint32_t x, y, z, w;

    void forward() {
        x += w, x = halved(x), w -= x;
        z += y, z = halved(z), y -= z;
        x += z, x = halved(x), z -= x;
        w += y, w = halved(w), y -= w;
        w += halved(y), y -= halved(w);
    }
    void backward() {
        y += halved(w), w -= halved(y);
        y += w, w *= 2, w -= y;
        z += x, x *= 2, x -= z;
        y += z, z *= 2, z -= y;
        w += x, x *= 2, x -= w;
    }
};

// Applies `step` to every line along the axis whose neighbors stand `stride` apart.
template <typename Step>
void alongAxis(Integers& block, unsigned stride, Step step) {
    for (unsigned i = 0; i < 64; ++i) {
        if (i / stride % 4 != 0) continue;
        Line line{block[i], block[i + stride], block[i + 2 * stride], block[i + 3 * stride]};
        step(line);
        block[i] = line.x;
        block[i + stride] = line.y;
        block[i + 2 * stride] = line.z;
        block[i + 3 * stride] = line.w;
    }
}

constexpr uint32_t kNegabinary = 0xAAAAAAAA;

// Conversion to an integer by truncation; what has no integer becomes the smallest one.
int32_t truncated(float value) {
    constexpr float kLimit = 2147483648.0F;
    if (!(value >= -kLimit && value < kLimit)) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(value);
}

int exponentOf(const Values& block) {
    float largest = 0;
    for (const float value : block) {
        if (std::fabs(value) > largest) largest = std::fabs(value);
    }
    if (largest == 0) return -127;
    if (std::isinf(largest)) return 128;  // the largest that the header holds
    int e = 0;
    std::frexp(largest, &e);
    return std::max(e, -126);  // denormal numbers have the smallest exponent of normal ones
}

unsigned precisionOf(const Parameters& p, int e) {
    const int64_t planes = std::max<int64_t>(0, int64_t{e} - p.minExp + 8);
    return static_cast<unsigned>(std::min<int64_t>(planes, p.maxPrec));
}

unsigned lowestPlane(unsigned precision) { return precision < 32 ? 32 - precision : 0; }

}  // namespace

// --- Encoder --------------------------------------------------------------------------------------------------------

void ReferenceEncoder::put(unsigned bit) {
    if (pending_.size() == 63 && capacity_ - stored_.size() < 8) throw NoRoom{};
    pending_.push_back(bit);
    if (pending_.size() < 64) return;
    for (std::size_t i = 0; i < 64; i += 8) {
        unsigned byte = 0;
        for (std::size_t k = 0; k < 8; ++k) byte |= pending_[i + k] << k;
        stored_.push_back(static_cast<uint8_t>(byte));
    }
    pending_.clear();
}

Progress ReferenceEncoder::encode(const Values& block) try {
    encodeBlock(block);
    return progress(StatusOk);
} catch (NoRoom) {
    return progress(StatusStreamEnd);
}

void ReferenceEncoder::encodeBlock(const Values& block) {
    const int e = exponentOf(block);
    const unsigned precision = precisionOf(parameters, e);
    uint64_t used = 0;
    if (precision == 0 || e == -127) {
        put(0);
        used = 1;
    } else {
        put(1);
        for (unsigned k = 0; k < 8; ++k) put(static_cast<unsigned>(e + 127) >> k & 1);
        used = 9;
        const float factor = std::ldexp(1.0F, std::min(30 - e, 127));
        Integers values;
        for (std::size_t i = 0; i < 64; ++i) values[i] = static_cast<uint32_t>(truncated(block[i] * factor));
        for (const unsigned stride : {1U, 4U, 16U}) alongAxis(values, stride, [](Line& line) { line.forward(); });
        Integers coefficients;
        for (std::size_t i = 0; i < 64; ++i) coefficients[i] = (values[kOrder[i]] + kNegabinary) ^ kNegabinary;
        encodePlanes(coefficients, precision, used);
    }
    for (; used < parameters.minBits; ++used) put(0);
}

void ReferenceEncoder::encodePlanes(const Integers& coefficients, unsigned precision, uint64_t& used) {
    struct Stop {};
    const auto code = [&](unsigned bit) {
        if (used >= parameters.maxBits) throw Stop{};
        put(bit);
        ++used;
    };
    std::size_t significant = 0;
    try {
        for (unsigned k = 32; k-- > lowestPlane(precision);) {
            const auto bit = [&](std::size_t i) { return coefficients[i] >> k & 1; };
            for (std::size_t i = 0; i < significant; ++i) code(bit(i));
            while (significant < 64) {
                std::size_t next = significant;
                while (next < 64 && bit(next) == 0) ++next;
                code(next < 64 ? 1 : 0);
                if (next == 64) break;
                // The last coefficient needs no bit: the test has told it.
                for (std::size_t i = significant; i <= next && i < 63; ++i) code(bit(i));
                significant = next + 1;
            }
        }
    } catch (Stop) {
    }
}

Progress ReferenceEncoder::flush() {
    const bool word = capacity_ - stored_.size() >= 8;
    while (!pending_.empty() || (word && stored_.size() % 8 != 0)) {
        if (stored_.size() == capacity_) return progress(StatusStreamEnd);
        unsigned byte = 0;
        for (std::size_t k = 0; k < 8 && k < pending_.size(); ++k) byte |= pending_[k] << k;
        stored_.push_back(static_cast<uint8_t>(byte));
        pending_.erase(pending_.begin(),
                       pending_.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(8, pending_.size())));
    }
    return progress(StatusOk);
}

// --- Decoder --------------------------------------------------------------------------------------------------------

unsigned ReferenceDecoder::get() {
    if (pending_.empty()) {
        const std::size_t left = stream_.size() - fetched_;
        if (left == 0) throw Exhausted{};
        const std::size_t unit = left >= 8 ? 8 : 1;
        for (std::size_t i = unit * 8; i-- > 0;) {
            pending_.push_back(static_cast<unsigned>(stream_[fetched_ + i / 8]) >> (i % 8) & 1);
        }
        fetched_ += unit;
    }
    const unsigned bit = pending_.back();
    pending_.pop_back();
    return bit;
}

Progress ReferenceDecoder::decode(Values& block) {
    Status status = StatusOk;
    try {
        decodeBlock(block);
    } catch (Exhausted) {
        status = StatusStreamEnd;
    }
    return {status, fetched_, pending_.size()};
}

void ReferenceDecoder::decodeBlock(Values& block) {
    uint64_t used = 1;
    Integers values{};
    int e = 0;
    if (get() == 1) {
        unsigned biased = 0;
        for (unsigned k = 0; k < 8; ++k) biased |= get() << k;
        e = static_cast<int>(biased) - 127;
        used = 9;
        const Integers coefficients = decodePlanes(precisionOf(parameters, e), used);
        for (std::size_t i = 0; i < 64; ++i) values[kOrder[i]] = (coefficients[i] ^ kNegabinary) - kNegabinary;
        for (const unsigned stride : {16U, 4U, 1U}) alongAxis(values, stride, [](Line& line) { line.backward(); });
    }
    for (; used < parameters.minBits; ++used) get();
    for (std::size_t i = 0; i < 64; ++i) {
        block[i] = std::ldexp(static_cast<float>(static_cast<int32_t>(values[i])), e - 30);
    }
}

Integers ReferenceDecoder::decodePlanes(unsigned precision, uint64_t& used) {
    Integers coefficients{};
    const auto more = [&] { return used < parameters.maxBits; };
    const auto bit = [&] {
        ++used;
        return get();
    };
    std::size_t significant = 0;
    for (unsigned k = 32; k-- > lowestPlane(precision) && more();) {
        for (std::size_t i = 0; i < significant && more(); ++i) coefficients[i] |= bit() << k;
        while (significant < 64 && more()) {
            if (bit() == 0) break;
            // Where the budget ends inside a run, the run is taken to end there.
            while (significant < 63 && more() && bit() == 0) ++significant;
            coefficients[significant++] |= 1U << k;
        }
    }
    return coefficients;
}

}  // namespace ozrdc::test::zfp
