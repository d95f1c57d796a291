// LZ4 blocks against liblz4: whole files as one block, both ways.

#include <lz4.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "ozrdc.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

constexpr int kAcceleration = 8;

using Bytes = std::vector<uint8_t>;

size_t worstCase(size_t n) { return n + n / 255 + 16; }

// The buffers of one file, shared by all of its measurements.
struct Work {
    const Bytes& plain;
    Bytes table = Bytes(16384);
    Bytes encoded = Bytes(worstCase(plain.size()));
    Bytes decoded = Bytes(plain.size());
    Bytes block = Bytes(worstCase(plain.size()));  // what the decoders read: liblz4's block

    explicit Work(const Bytes& data) : plain(data) {
        const int length = LZ4_compress_default(chars(plain), chars(block), size(plain), size(block));
        block.resize(static_cast<size_t>(length));
    }

    static const char* chars(const Bytes& b) { return reinterpret_cast<const char*>(b.data()); }
    static char* chars(Bytes& b) { return reinterpret_cast<char*>(b.data()); }
    static int size(const Bytes& b) { return static_cast<int>(b.size()); }

    size_t encode() {
        int32_t length = 0;
        const Status s = ozrsEncodeLZ4_8u(plain.data(), size(plain), encoded.data(), &length, table.data());
        return s == StatusOk ? static_cast<size_t>(length) : 0;
    }
    size_t encodeSafe() {
        int32_t consumed = size(plain);
        int32_t length = size(encoded);
        const Status s = ozrsEncodeLZ4Safe_8u(plain.data(), &consumed, encoded.data(), &length, table.data());
        return s == StatusOk ? static_cast<size_t>(length) : 0;
    }
    size_t encodeFast() {
        int32_t length = 0;
        const Status s =
            ozrsEncodeLZ4Fast_8u(plain.data(), size(plain), encoded.data(), &length, table.data(), kAcceleration);
        return s == StatusOk ? static_cast<size_t>(length) : 0;
    }
    size_t decode() {
        int32_t length = size(decoded);
        const Status s = ozrsDecodeLZ4_8u(block.data(), size(block), decoded.data(), &length);
        return s == StatusOk && decoded == plain ? static_cast<size_t>(length) : 0;
    }
    size_t decodeOnly() {
        int32_t length = size(decoded);
        return ozrsDecodeLZ4_8u(block.data(), size(block), decoded.data(), &length) == StatusOk
                   ? static_cast<size_t>(length)
                   : 0;
    }
    size_t peerEncode() {
        return static_cast<size_t>(LZ4_compress_default(chars(plain), chars(encoded), size(plain), size(encoded)));
    }
    size_t peerEncodeFast() {
        return static_cast<size_t>(
            LZ4_compress_fast(chars(plain), chars(encoded), size(plain), size(encoded), kAcceleration));
    }
    size_t peerDecodeOnly() {
        return static_cast<size_t>(
            std::max(0, LZ4_decompress_safe(chars(block), chars(decoded), size(block), size(decoded))));
    }
};

using Step = size_t (Work::*)();

void measureStep(const char* primitive, const char* implementation, const File& file, const std::shared_ptr<Work>& work,
                 Step step, size_t compressed) {
    measureCodec(primitive, implementation, file.name, file.data.size(), compressed,
                 [work, step] { return (*work.*step)(); });
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("liblz4", LZ4_versionString());
    for (const File& file : corpus) {
        const auto work = std::make_shared<Work>(file.data);
        // A wrong result would make the speed worth nothing: a decoder that fails reports 0 bytes.
        const Step decode = work->decode() != 0 ? &Work::decodeOnly : &Work::decode;
        measureStep("lz4_decode", "ozrdc", file, work, decode, work->block.size());
        measureStep("lz4_decode", "liblz4", file, work, &Work::peerDecodeOnly, work->block.size());
        measureStep("lz4_encode", "ozrdc", file, work, &Work::encode, work->encode());
        measureStep("lz4_encode", "liblz4", file, work, &Work::peerEncode, work->peerEncode());
        measureStep("lz4_encode_safe", "ozrdc", file, work, &Work::encodeSafe, work->encodeSafe());
        measureStep("lz4_encode_safe", "liblz4", file, work, &Work::peerEncode, work->peerEncode());
        measureStep("lz4_encode_fast8", "ozrdc", file, work, &Work::encodeFast, work->encodeFast());
        measureStep("lz4_encode_fast8", "liblz4", file, work, &Work::peerEncodeFast, work->peerEncodeFast());
    }
}

}  // namespace ozrdc::bench
