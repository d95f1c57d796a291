// libzfp writes the same bits, and reads and gives back the same values, in every mode.
#include <gtest/gtest.h>
#include <zfp.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "support/field_samples.h"
#include "support/random.h"
#include "zfp/checked_codec.h"

namespace ozrdc::test::zfp {
namespace {

class Peer {
  public:
    explicit Peer(const Parameters& p, std::size_t capacity) : memory_(capacity) { open(p); }
    Peer(const Parameters& p, Bytes stream) : memory_(std::move(stream)) {
        memory_.resize(memory_.size() + 16);  // it reads by whole words of its own
        open(p);
    }

    zfp_stream* get() { return zfp_.get(); }

    void encode(const Values& block) { zfp_encode_block_float_3(get(), block.data()); }
    Values decode() {
        Values block;
        zfp_decode_block_float_3(get(), block.data());
        return block;
    }
    uint64_t bits() { return stream_wtell(stream_.get()); }

    // The stream, filled up to a whole number of words of 64 bits: those of the peer may be shorter.
    Bytes finish() {
        zfp_stream_flush(get());
        Bytes bytes(memory_.begin(), memory_.begin() + static_cast<std::ptrdiff_t>(stream_size(stream_.get())));
        bytes.resize((bytes.size() + 7) / 8 * 8);
        return bytes;
    }

  private:
    void open(const Parameters& p) {
        stream_.reset(stream_open(memory_.data(), memory_.size()));
        zfp_.reset(zfp_stream_open(stream_.get()));
        // Below -1074 the peer has a mode of its own, without loss.
        const int minExp = std::max(p.minExp, ZFP_MIN_EXP);
        EXPECT_NE(zfp_stream_set_params(get(), p.minBits, p.maxBits, p.maxPrec, minExp), 0);
        zfp_stream_rewind(get());
    }

    Bytes memory_;
    std::unique_ptr<bitstream, decltype(&stream_close)> stream_{nullptr, stream_close};
    std::unique_ptr<zfp_stream, decltype(&zfp_stream_close)> zfp_{nullptr, zfp_stream_close};
};

// Blocks without the magnitudes for which the peer has no rule.
std::vector<Values> ordinaryBlocks(std::size_t count, uint64_t seed) {
    std::vector<Values> blocks = sampleBlocks(count, seed);
    std::erase_if(blocks, [](const Values& block) {
        float largest = 0;
        for (const float value : block) largest = std::max(largest, std::fabs(value));
        return largest > 0 && largest < 0x1p-97F;
    });
    return blocks;
}

void checkBothWays(const std::vector<Values>& blocks, const Parameters& parameters) {
    SCOPED_TRACE(describe(parameters));
    Peer peer(parameters, 300 * blocks.size() + 64);
    CheckedEncoder encoder(300 * blocks.size() + 64);
    encoder.set(parameters);
    for (const Values& block : blocks) {
        peer.encode(block);
        ASSERT_EQ(encoder.encode(block), StatusOk);
        ASSERT_EQ(encoder.bitSize(), peer.bits());
    }
    ASSERT_EQ(encoder.flush(), StatusOk);
    const Bytes stream = encoder.stream();
    ASSERT_EQ(stream, peer.finish());

    Peer reader(parameters, stream);
    CheckedDecoder decoder(stream);
    decoder.set(parameters);
    for (std::size_t i = 0; i < blocks.size(); ++i) {
        Values block;
        ASSERT_EQ(decoder.decode(block), StatusOk);
        ASSERT_EQ(block, reader.decode());
    }
}

TEST(ZfpInteroperation, UsualParameters) {
    const std::vector<Values> blocks = ordinaryBlocks(400, 41);
    for (const Parameters& parameters : usualParameters()) {
        checkBothWays(blocks, parameters);
        if (HasFailure()) return;
    }
}

TEST(ZfpInteroperation, RandomParameters) {
    Random random(42);
    const std::vector<Values> blocks = ordinaryBlocks(20, 42);
    for (unsigned i = 0; i < 1500; ++i) {
        const auto maxBits = static_cast<uint32_t>(9 + random.below(2200));
        checkBothWays(blocks,
                      {static_cast<uint32_t>(random.below(maxBits + 1)), maxBits,
                       1 + static_cast<uint32_t>(random.below(40)), static_cast<int32_t>(random.between(-130, 60))});
        if (HasFailure()) return;
    }
}

// Whole volumes, by the peer's usual entry: its modes set the parameters.
TEST(ZfpInteroperation, WholeVolumesInEveryMode) {
    enum class Mode { Rate, Precision, Accuracy };
    struct Case {
        Mode mode;
        double value;
    };
    for (const FieldKind& kind : fieldKinds()) {
        SCOPED_TRACE(kind.name);
        Field field = kind.make(24, 16, 12, 43);
        const std::unique_ptr<zfp_field, decltype(&zfp_field_free)> view(
            zfp_field_3d(field.values.data(), zfp_type_float, 24, 16, 12), zfp_field_free);
        for (const Case& c :
             {Case{Mode::Rate, 1}, Case{Mode::Rate, 2.5}, Case{Mode::Rate, 8}, Case{Mode::Rate, 16},
              Case{Mode::Rate, 32}, Case{Mode::Precision, 6}, Case{Mode::Precision, 16}, Case{Mode::Precision, 32},
              Case{Mode::Accuracy, 1e-1}, Case{Mode::Accuracy, 1e-3}, Case{Mode::Accuracy, 1e-6}}) {
            SCOPED_TRACE(c.value);
            Peer peer({}, 1 << 16);
            switch (c.mode) {
                case Mode::Rate:
                    zfp_stream_set_rate(peer.get(), c.value, zfp_type_float, 3, zfp_false);
                    break;
                case Mode::Precision:
                    zfp_stream_set_precision(peer.get(), static_cast<uint32_t>(c.value));
                    break;
                case Mode::Accuracy:
                    zfp_stream_set_accuracy(peer.get(), c.value);
                    break;
            }
            ASSERT_NE(zfp_compress(peer.get(), view.get()), 0U);

            Parameters parameters;
            zfp_stream_params(peer.get(), &parameters.minBits, &parameters.maxBits, &parameters.maxPrec,
                              &parameters.minExp);
            CheckedEncoder encoder(1 << 16);
            encoder.set(parameters);
            for (std::size_t z = 0; z < field.nz; z += 4) {
                for (std::size_t y = 0; y < field.ny; y += 4) {
                    for (std::size_t x = 0; x < field.nx; x += 4) {
                        Values block;
                        for (std::size_t i = 0; i < 64; ++i) block[i] = field.at(x + i % 4, y + i / 4 % 4, z + i / 16);
                        ASSERT_EQ(encoder.encode(block), StatusOk);
                    }
                }
            }
            ASSERT_EQ(encoder.flush(), StatusOk);
            ASSERT_EQ(encoder.stream(), peer.finish());
        }
    }
}

}  // namespace
}  // namespace ozrdc::test::zfp
