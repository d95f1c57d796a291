// Bits of a header, from the first on:
//
//   32   "zfp" and the version of the code
//    2   type of the values, less 1: 32- and 64-bit integers, floats, doubles
//    2   number of dimensions, less 1
//   48   sizes less 1, nx first, in equal shares: 16 bits each of a volume
//   12   mode: 0 to 2047        fixed rate, bits of a block less 1
//              2048 to 2175     fixed precision, planes less 1
//              2176             without loss
//              2177 to 4094     fixed accuracy, minExp + 1074
//              4095             all four parameters follow in 52 bits: minBits - 1 and maxBits - 1 in 15 bits each,
//                               maxPrec - 1 in 7, minExp + 16495 in 15
#include "formats/zfp/header.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "error.h"
#include "text.h"

namespace ozrz::zfp {
namespace {

constexpr std::array<uint8_t, 3> kMagic{'z', 'f', 'p'};
constexpr uint64_t kVersion = 5;

constexpr uint64_t kFloats = 2;
constexpr std::array<const char*, 4> kTypes{"32-bit integers", "64-bit integers", "floats", "doubles"};
constexpr uint64_t kThreeDimensions = 2;
constexpr unsigned kSizeBits = 16;

constexpr unsigned kModeBits = 12;
constexpr unsigned kShortBits = 32 + 2 + 2 + 3 * kSizeBits + kModeBits;
constexpr unsigned kMoreBits = 15 + 15 + 7 + 15;

constexpr uint64_t kFirstPrecision = 2048;
constexpr uint64_t kWithoutLoss = 2176;
constexpr uint64_t kFirstAccuracy = 2177;
constexpr uint64_t kAllParameters = 4095;
constexpr int32_t kLeastExponent = -1074;
constexpr int32_t kExponentOffset = 16495;

constexpr Parameters kUnlimited{};
constexpr uint32_t kBlockValues = 64;
constexpr uint32_t kHeaderBitsOfBlock = 9;

// Numbers in a row of bits, the lowest first.
class Fields {
  public:
    explicit Fields(Bytes bytes) : bytes_(bytes) {}

    uint64_t take(unsigned bits) {
        uint64_t value = 0;
        for (unsigned i = 0; i < bits; ++i, ++position_) {
            value |= uint64_t{static_cast<unsigned>(bytes_[position_ / 8]) >> position_ % 8 & 1} << i;
        }
        return value;
    }

  private:
    Bytes bytes_;
    std::size_t position_ = 0;
};

uint64_t modeOf(const Parameters& p) {
    if (p.fixedRate()) return p.maxBits - 1;
    if (p.minExp != kUnlimited.minExp) return kFirstAccuracy + static_cast<uint64_t>(p.minExp - kLeastExponent);
    return kFirstPrecision + p.maxPrec - 1;
}

Parameters parametersOf(uint64_t mode) {
    Parameters p;
    if (mode < kFirstPrecision) {
        p.minBits = p.maxBits = static_cast<uint32_t>(mode + 1);
    } else if (mode < kWithoutLoss) {
        p.maxPrec = static_cast<uint32_t>(mode - kFirstPrecision + 1);
    } else {
        p.minExp = static_cast<int32_t>(mode - kFirstAccuracy) + kLeastExponent;
    }
    return p;
}

Bytes takeWhole(BitSplitter& splitter, unsigned bits, Buffer& buffer) {
    const Bytes bytes = splitter.take(bits, buffer);
    if (bytes.size() * 8 < bits) throw DataError("is damaged: it ends inside its header");
    return bytes;
}

}  // namespace

bool isMagic(Bytes head) {
    return head.size() > kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), head.begin());
}

Parameters fixedRate(double bitsPerValue) {
    const auto bits = static_cast<uint32_t>(std::floor(kBlockValues * bitsPerValue + 0.5));
    Parameters p;
    p.minBits = p.maxBits = std::max(bits, kHeaderBitsOfBlock);  // less would not hold an exponent
    return p;
}

Parameters fixedPrecision(uint32_t planes) {
    Parameters p;
    p.maxPrec = planes;
    return p;
}

Parameters fixedAccuracy(double tolerance) {
    constexpr int kMostExponent = static_cast<int>(kAllParameters - 1 - kFirstAccuracy) + kLeastExponent;
    int exponent = 0;
    std::frexp(tolerance, &exponent);
    Parameters p;
    p.minExp = std::clamp(exponent - 1, kLeastExponent, kMostExponent);
    return p;
}

std::string describe(const Parameters& p) {
    if (p.fixedRate()) {
        std::string rate = fixedText(static_cast<double>(p.maxBits) / kBlockValues, 6);
        rate.erase(rate.find_last_not_of('0') + 1);
        if (rate.back() == '.') rate.pop_back();
        return "rate " + rate;
    }
    Parameters rest = p;
    rest.minExp = kUnlimited.minExp;
    if (rest == kUnlimited) return "accuracy 2^" + std::to_string(p.minExp);
    rest.minExp = p.minExp;
    rest.maxPrec = kUnlimited.maxPrec;
    if (rest == kUnlimited) return "precision " + std::to_string(p.maxPrec);
    return "bits " + std::to_string(p.minBits) + " to " + std::to_string(p.maxBits) + " a block, precision " +
           std::to_string(p.maxPrec) + ", exponent " + std::to_string(p.minExp);
}

void writeHeader(BitJoiner& joiner, const Header& header) {
    std::array<uint8_t, kShortBits / 8> bytes{};
    std::copy(kMagic.begin(), kMagic.end(), bytes.begin());
    bytes[3] = kVersion;
    const Dims& d = header.dims;
    const uint64_t shape = kFloats | kThreeDimensions << 2 | (d.nx - 1) << 4 | (d.ny - 1) << (4 + kSizeBits) |
                           (d.nz - 1) << (4 + 2 * kSizeBits);
    storeLittleEndian(&bytes[4], shape | modeOf(header.parameters) << (4 + 3 * kSizeBits));
    joiner.append(bytes, kShortBits);
}

Header readHeader(BitSplitter& splitter) {
    Buffer buffer;
    const Bytes bytes = takeWhole(splitter, kShortBits, buffer);
    if (!isMagic(bytes)) throw DataError("is no ZFP file: it does not begin with \"zfp\"");
    Fields fields(bytes.subspan(kMagic.size()));
    if (const uint64_t version = fields.take(8); version != kVersion) {
        throw DataError("is of version " + std::to_string(version) + " of the ZFP code, of which only " +
                        std::to_string(kVersion) + " is known here");
    }
    const uint64_t type = fields.take(2);
    const uint64_t dimensions = fields.take(2);
    if (type != kFloats || dimensions != kThreeDimensions) {
        throw DataError("holds " + std::string(kTypes[type]) + " in " + countText(dimensions + 1, "dimension") +
                        "; only floats in 3 dimensions can be read here");
    }
    Header header;
    for (uint64_t* const size : {&header.dims.nx, &header.dims.ny, &header.dims.nz}) *size = fields.take(kSizeBits) + 1;
    const uint64_t mode = fields.take(kModeBits);
    if (mode == kWithoutLoss) throw DataError("is compressed without loss, which cannot be read here");
    if (mode < kAllParameters) {
        header.parameters = parametersOf(mode);
        return header;
    }
    Fields more(takeWhole(splitter, kMoreBits, buffer));
    Parameters& p = header.parameters;
    p.minBits = static_cast<uint32_t>(more.take(15)) + 1;
    p.maxBits = static_cast<uint32_t>(more.take(15)) + 1;
    p.maxPrec = static_cast<uint32_t>(more.take(7)) + 1;
    p.minExp = static_cast<int32_t>(more.take(15)) - kExponentOffset;
    if (p.minExp < kLeastExponent) throw DataError("is compressed without loss, which cannot be read here");
    return header;
}

}  // namespace ozrz::zfp
