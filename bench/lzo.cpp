// LZO1X streams against liblzo2: whole files as one stream, both ways.

#include <lzo/lzo1x.h>

#include <cstdint>
#include <memory>
#include <vector>

#include "ozrdc.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Bytes = std::vector<uint8_t>;

size_t worstCase(size_t n) { return n + n / 16 + 67; }

// The buffers of one file, shared by all of its measurements.
struct Work {
    const Bytes& plain;
    Bytes standard = Bytes(131104);  // states
    Bytes fast = Bytes(131104);
    Bytes workspace = Bytes(LZO1X_1_MEM_COMPRESS);
    Bytes encoded = Bytes(worstCase(plain.size()));
    Bytes decoded = Bytes(plain.size());
    Bytes stream = Bytes(worstCase(plain.size()));      // what the decoders read: a stream of liblzo2's,
    Bytes bestStream = Bytes(worstCase(plain.size()));  // and one of its slow compressor

    explicit Work(const Bytes& data) : plain(data) {
        lzo_uint length = stream.size();
        lzo1x_1_compress(plain.data(), plain.size(), stream.data(), &length, workspace.data());
        stream.resize(length);
        Bytes large(LZO1X_999_MEM_COMPRESS);
        length = bestStream.size();
        lzo1x_999_compress_level(plain.data(), plain.size(), bestStream.data(), &length, large.data(), nullptr, 0,
                                 nullptr, 7);
        bestStream.resize(length);
        ozrsEncodeLZOInit_8u(0, 0, stateOf(standard));
        ozrsEncodeLZOInit_8u(2, 0, stateOf(fast));
    }

    static LZOState* stateOf(Bytes& bytes) { return reinterpret_cast<LZOState*>(bytes.data()); }
    static uint32_t size(const Bytes& b) { return static_cast<uint32_t>(b.size()); }

    size_t encode(Bytes& state) {
        uint32_t length = size(encoded);
        const Status s = ozrsEncodeLZO_8u(plain.data(), size(plain), encoded.data(), &length, stateOf(state));
        return s == StatusOk ? length : 0;
    }
    size_t encodeStandard() { return encode(standard); }
    size_t encodeFast() { return encode(fast); }
    size_t peerEncode() {
        lzo_uint length = encoded.size();
        lzo1x_1_compress(plain.data(), plain.size(), encoded.data(), &length, workspace.data());
        return length;
    }

    size_t fail() { return 0; }

    template <auto decoder, auto input>
    size_t decode() {
        uint32_t length = size(decoded);
        const Bytes& source = this->*input;
        return decoder(source.data(), size(source), decoded.data(), &length) == StatusOk ? length : 0;
    }
    template <auto decoder, auto input>
    size_t peerDecode() {
        lzo_uint length = decoded.size();
        const Bytes& source = this->*input;
        return decoder(source.data(), source.size(), decoded.data(), &length, nullptr) == LZO_E_OK ? length : 0;
    }
};

using Step = size_t (Work::*)();

void measureStep(const char* primitive, const char* implementation, const File& file, const std::shared_ptr<Work>& work,
                 Step step, size_t compressed) {
    measureCodec(primitive, implementation, file.name, file.data.size(), compressed,
                 [work, step] { return (*work.*step)(); });
}

// Both decoders on one kind of stream. A wrong result would make the speed worth nothing.
template <auto input>
void measureDecoders(const char* safe, const char* trusting, const File& file, const std::shared_ptr<Work>& work) {
    const size_t compressed = ((*work).*input).size();
    const auto verified = [&](Step step) {
        work->decoded.assign(work->plain.size(), 0);
        ((*work).*step)();
        return work->decoded == work->plain ? step : Step(&Work::fail);
    };
    measureStep(safe, "ozrdc", file, work, verified(&Work::decode<ozrsDecodeLZOSafe_8u, input>), compressed);
    measureStep(safe, "liblzo2", file, work, &Work::peerDecode<lzo1x_decompress_safe, input>, compressed);
    measureStep(trusting, "ozrdc", file, work, verified(&Work::decode<ozrsDecodeLZO_8u, input>), compressed);
    measureStep(trusting, "liblzo2", file, work, &Work::peerDecode<lzo1x_decompress, input>, compressed);
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("liblzo2", lzo_version_string());
    for (const File& file : corpus) {
        const auto work = std::make_shared<Work>(file.data);
        measureDecoders<&Work::stream>("lzo_decode_safe", "lzo_decode", file, work);
        measureDecoders<&Work::bestStream>("lzo_decode_safe_best", "lzo_decode_best", file, work);
        measureStep("lzo_encode", "ozrdc", file, work, &Work::encodeStandard, work->encodeStandard());
        measureStep("lzo_encode", "liblzo2", file, work, &Work::peerEncode, work->stream.size());
        measureStep("lzo_encode_fast", "ozrdc", file, work, &Work::encodeFast, work->encodeFast());
        measureStep("lzo_encode_fast", "liblzo2", file, work, &Work::peerEncode, work->stream.size());
    }
}

}  // namespace ozrdc::bench
