// LZ4 with dictionaries and at high compression against liblz4.
//
// Dictionaries: the file's beginning serves as dictionary for records of 4 KiB, which the rest of it is cut into. It is
// loaded once; for every record both sides copy the table or stream that was loaded. High compression: whole files as
// one block, at each level against the level of liblz4 whose sizes are nearest.

#include <lz4.h>
#include <lz4hc.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ozrdc.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kDictionarySize = 65536;
constexpr size_t kRecordSize = 4096;
constexpr int kLowestLevel = 3;
constexpr int kHighestLevel = 9;

// Which level is nearest is found on so much of each file.
constexpr size_t kSampleSize = 256 * 1024;

size_t worstCase(size_t n) { return n + n / 255 + 16; }

int sizeOf(const Bytes& b) { return static_cast<int>(b.size()); }
const char* chars(const uint8_t* p) { return reinterpret_cast<const char*>(p); }
char* chars(uint8_t* p) { return reinterpret_cast<char*>(p); }

class Records {
  public:
    explicit Records(const Bytes& file)
        : file_(file), dictionary_(file.begin(), file.begin() + static_cast<ptrdiff_t>(dictionarySize(file))) {
        ozrsEncodeLZ4DictHashTableInit_8u(loaded_.data(), 1);
        ozrsEncodeLZ4LoadDict_8u(loaded_.data(), dictionary_.data(), sizeOf(dictionary_));
        LZ4_initStream(&loadedStream_, sizeof loadedStream_);
        LZ4_loadDict(&loadedStream_, chars(dictionary_.data()), sizeOf(dictionary_));
    }

    size_t plainSize() const { return file_.size() - dictionary_.size(); }

    size_t encode() {
        return forEach([this](const uint8_t* record, int size) {
            int32_t length = 0;
            std::memcpy(table_.data(), loaded_.data(), table_.size());
            const Status s = ozrsEncodeLZ4Dict_8u(record, sizeOf(dictionary_), size, block_.data(), &length,
                                                  table_.data(), dictionary_.data(), sizeOf(dictionary_));
            return s == StatusOk ? length : 0;
        });
    }
    size_t peerEncode() {
        return forEach([this](const uint8_t* record, int size) {
            std::memcpy(&stream_, &loadedStream_, sizeof stream_);
            return LZ4_compress_fast_continue(&stream_, chars(record), chars(block_.data()), size, sizeOf(block_), 1);
        });
    }

  private:
    static size_t dictionarySize(const Bytes& file) { return std::min(kDictionarySize, file.size() / 2); }

    // The sum of what `encodeRecord` returns, or 0 if one of them failed.
    template <typename Encode>
    size_t forEach(Encode encodeRecord) {
        size_t total = 0;
        for (size_t at = dictionary_.size(); at < file_.size(); at += kRecordSize) {
            const auto size = static_cast<int>(std::min(kRecordSize, file_.size() - at));
            const int length = encodeRecord(file_.data() + at, size);
            if (length <= 0) return 0;
            total += static_cast<size_t>(length);
        }
        return total;
    }

    const Bytes& file_;
    Bytes dictionary_;
    Bytes loaded_ = Bytes(16384);
    Bytes table_ = Bytes(16384);
    Bytes block_ = Bytes(worstCase(kRecordSize));
    LZ4_stream_t loadedStream_;
    LZ4_stream_t stream_;
};

class HighCompression {
  public:
    size_t encode(const Bytes& plain, size_t size, int level) {
        block_.resize(worstCase(size));
        auto consumed = static_cast<int32_t>(size);
        int32_t length = sizeOf(block_);
        std::array<uint8_t*, 2> tables{heads_.data(), chains_.data()};
        ozrsEncodeLZ4HCHashTableInit_8u(tables.data());
        const Status s =
            ozrsEncodeLZ4HC_8u(plain.data(), 0, &consumed, block_.data(), &length, tables.data(), nullptr, 0, level);
        return s == StatusOk ? static_cast<size_t>(length) : 0;
    }
    size_t peerEncode(const Bytes& plain, size_t size, int level) {
        block_.resize(worstCase(size));
        return static_cast<size_t>(LZ4_compress_HC_extStateHC(state_.data(), chars(plain.data()), chars(block_.data()),
                                                              static_cast<int>(size), sizeOf(block_), level));
    }

  private:
    Bytes heads_ = Bytes(131072);
    Bytes chains_ = Bytes(262144);
    Bytes state_ = Bytes(static_cast<size_t>(LZ4_sizeofStateHC()));
    Bytes block_;
};

// The mean over files of the logarithm of the ratio.
template <typename Encode>
double meanRatio(const Corpus& corpus, Encode encode) {
    double sum = 0;
    for (const File& file : corpus) {
        const size_t size = std::min(file.data.size(), kSampleSize);
        sum += std::log(static_cast<double>(size) / static_cast<double>(encode(file.data, size)));
    }
    return sum / static_cast<double>(corpus.size());
}

void registerLevels(const Corpus& corpus) {
    const auto work = std::make_shared<HighCompression>();
    std::array<double, kHighestLevel + 1> peerRatios{};
    for (int level = kLowestLevel; level <= kHighestLevel; ++level) {
        peerRatios[static_cast<size_t>(level)] =
            meanRatio(corpus, [&](const Bytes& plain, size_t size) { return work->peerEncode(plain, size, level); });
    }
    for (int level = kLowestLevel; level <= kHighestLevel; ++level) {
        const double ratio =
            meanRatio(corpus, [&](const Bytes& plain, size_t size) { return work->encode(plain, size, level); });
        const auto nearest =
            std::min_element(peerRatios.begin() + kLowestLevel, peerRatios.end(),
                             [=](double a, double b) { return std::abs(a - ratio) < std::abs(b - ratio); });
        const auto peerLevel = static_cast<int>(nearest - peerRatios.begin());
        const std::string primitive = "lz4_hc" + std::to_string(level);
        note(primitive, "liblz4 level " + std::to_string(peerLevel));
        for (const File& file : corpus) {
            const Bytes& plain = file.data;
            measureCodec(primitive, "ozrdc", file.name, plain.size(), work->encode(plain, plain.size(), level),
                         [work, &plain, level] { return work->encode(plain, plain.size(), level); });
            measureCodec(primitive, "liblz4", file.name, plain.size(), work->peerEncode(plain, plain.size(), peerLevel),
                         [work, &plain, peerLevel] { return work->peerEncode(plain, plain.size(), peerLevel); });
        }
    }
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("liblz4", LZ4_versionString());
    for (const File& file : corpus) {
        const auto records = std::make_shared<Records>(file.data);
        measureCodec("lz4_dictionary", "ozrdc", file.name, records->plainSize(), records->encode(),
                     [records] { return records->encode(); });
        measureCodec("lz4_dictionary", "liblz4", file.name, records->plainSize(), records->peerEncode(),
                     [records] { return records->peerEncode(); });
    }
    registerLevels(corpus);
}

}  // namespace ozrdc::bench
