// ZFP streams against libzfp, both ways: volumes of three natures in four modes.
//
// The volumes are made here and always the same; files that are named on the command line are not used. Both sides walk
// through a volume of whole blocks, and what they write is compared before anything is measured.

#include <zfp.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "ozrdc.h"
#include "support/field_samples.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

constexpr size_t kSide = 96;
constexpr size_t kBlockSide = 4;
constexpr uint64_t kSeed = 7;

struct Mode {
    const char* name;
    void (*set)(zfp_stream*);
};

constexpr Mode kModes[] = {
    {"rate 8", [](zfp_stream* z) { zfp_stream_set_rate(z, 8, zfp_type_float, 3, zfp_false); }},
    {"rate 16", [](zfp_stream* z) { zfp_stream_set_rate(z, 16, zfp_type_float, 3, zfp_false); }},
    {"precision 16", [](zfp_stream* z) { zfp_stream_set_precision(z, 16); }},
    {"accuracy 1e-3", [](zfp_stream* z) { zfp_stream_set_accuracy(z, 1e-3); }},
};

// One volume in one mode, with the buffers of both sides.
class Work {
  public:
    Work(const test::Field& field, const Mode& mode) : plain_(field.values), restored_(plain_.size()) {
        const size_t capacity = plain_.size() * sizeof(float) * 2;
        ours_.resize(capacity);
        theirs_.resize(capacity);
        stream_.reset(stream_open(theirs_.data(), theirs_.size()));
        zfp_.reset(zfp_stream_open(stream_.get()));
        mode.set(zfp_.get());
        zfp_stream_set_execution(zfp_.get(), zfp_exec_serial);
        source_.reset(zfp_field_3d(plain_.data(), zfp_type_float, kSide, kSide, kSide));
        target_.reset(zfp_field_3d(restored_.data(), zfp_type_float, kSide, kSide, kSide));
    }

    [[nodiscard]] size_t plainBytes() const { return plain_.size() * sizeof(float); }

    size_t encode() {
        if (!begin(ozrsEncodeZfpInitLong_32f)) return 0;
        for (size_t n = 0; n < kBlocks; ++n) {
            if (ozrsEncodeZfp444_32f(&plain_[offset(n)], kRow, kPlane, state()) != StatusOk) return 0;
        }
        if (ozrsEncodeZfpFlush_32f(state()) != StatusOk) return 0;
        ozrsEncodeZfpGetCompressedSizeLong_32f(state(), &size_);
        return size_;
    }

    size_t decode() {
        if (!begin(ozrsDecodeZfpInitLong_32f)) return 0;
        for (size_t n = 0; n < kBlocks; ++n) {
            if (ozrsDecodeZfp444_32f(state(), &restored_[offset(n)], kRow, kPlane) != StatusOk) return 0;
        }
        return size_;
    }

    size_t peerEncode() {
        zfp_stream_rewind(zfp_.get());
        return zfp_compress(zfp_.get(), source_.get());
    }

    size_t peerDecode() {
        zfp_stream_rewind(zfp_.get());
        return zfp_decompress(zfp_.get(), target_.get());
    }

    // True if both write the same stream and restore the same values.
    bool agrees() {
        const size_t bytes = peerEncode();
        // The peer's words may be shorter than ours.
        if (encode() != (bytes + 7) / 8 * 8 || std::memcmp(ours_.data(), theirs_.data(), bytes) != 0) return false;
        if (decode() == 0) return false;
        const std::vector<float> restored = restored_;
        return peerDecode() != 0 && restored == restored_;
    }

  private:
    static constexpr int32_t kRow = kSide * sizeof(float);
    static constexpr int32_t kPlane = kSide * kRow;
    static constexpr size_t kBlocksAcross = kSide / kBlockSide;
    static constexpr size_t kBlocks = kBlocksAcross * kBlocksAcross * kBlocksAcross;

    static size_t offset(size_t block) {
        const size_t x = block % kBlocksAcross;
        const size_t y = block / kBlocksAcross % kBlocksAcross;
        const size_t z = block / kBlocksAcross / kBlocksAcross;
        return kBlockSide * (x + kSide * (y + kSide * z));
    }

    template <typename Init>
    bool begin(Init init) {
        uint32_t minBits = 0;
        uint32_t maxBits = 0;
        uint32_t maxPrec = 0;
        int32_t minExp = 0;
        zfp_stream_params(zfp_.get(), &minBits, &maxBits, &maxPrec, &minExp);
        return init(ours_.data(), ours_.size(), state()) == StatusOk &&
               ozrsEncodeZfpSet_32f(minBits, maxBits, maxPrec, minExp, state()) == StatusOk;
    }

    ZfpState* state() { return reinterpret_cast<ZfpState*>(state_.data()); }

    std::vector<float> plain_;
    std::vector<float> restored_;
    std::vector<uint8_t> ours_;
    std::vector<uint8_t> theirs_;
    std::vector<uint64_t> state_ = std::vector<uint64_t>(72);
    uint64_t size_ = 0;
    std::unique_ptr<bitstream, decltype(&stream_close)> stream_{nullptr, stream_close};
    std::unique_ptr<zfp_stream, decltype(&zfp_stream_close)> zfp_{nullptr, zfp_stream_close};
    std::unique_ptr<zfp_field, decltype(&zfp_field_free)> source_{nullptr, zfp_field_free};
    std::unique_ptr<zfp_field, decltype(&zfp_field_free)> target_{nullptr, zfp_field_free};
};

}  // namespace

void registerBenchmarks(const Corpus& /*corpus*/) {
    note("libzfp", ZFP_VERSION_STRING);
    for (const test::FieldKind& kind : test::fieldKinds()) {
        const test::Field field = kind.make(kSide, kSide, kSide, kSeed);
        for (const Mode& mode : kModes) {
            const auto work = std::make_shared<Work>(field, mode);
            const std::string input = std::string(kind.name) + ", " + mode.name;
            // A wrong result would make the speed worth nothing: such a benchmark fails.
            const size_t compressed = work->agrees() ? work->encode() : 0;
            const auto run = [&](const char* primitive, const char* implementation, size_t (Work::*step)()) {
                measureCodec(primitive, implementation, input, work->plainBytes(), compressed,
                             [work, step, compressed] { return compressed == 0 ? 0 : (*work.*step)(); });
            };
            run("zfp_encode", "ozrdc", &Work::encode);
            run("zfp_encode", "libzfp", &Work::peerEncode);
            run("zfp_decode", "ozrdc", &Work::decode);
            run("zfp_decode", "libzfp", &Work::peerDecode);
        }
    }
}

}  // namespace ozrdc::bench
