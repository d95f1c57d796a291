// LZSS streams against zlib: whole files in one call, and in pieces of 4 KB. The format has no peer of its own; what is
// measured beside it is the codec that its user would otherwise choose. The encoder stands beside Deflate at level 3;
// each decoder reads the stream of its own encoder, zlib's of the default level.

#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "ozrdc.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr int kPeerLevel = 3;
constexpr int kRaw = -15;  // zlib: no header, a window of 2^15 bytes
constexpr int kMemory = 8;
constexpr size_t kPiece = 4096;

int32_t lzssStateSize() {
    int32_t size = 0;
    ozrsLZSSGetSize_8u(&size);
    return size;
}

// The buffers and states of one file. States are made once and set back for every stream.
class Work {
  public:
    explicit Work(const Bytes& plain) : plain_(plain) {
        deflateInit2(&deflate_, kPeerLevel, Z_DEFLATED, kRaw, kMemory, Z_DEFAULT_STRATEGY);
        inflateInit2(&inflate_, kRaw);
        stream_ = encoded_;
        stream_.resize(encode(plain.size(), encoded_.size()));
        std::copy_n(encoded_.begin(), stream_.size(), stream_.begin());
        deflateParams(&deflate_, Z_DEFAULT_COMPRESSION, Z_DEFAULT_STRATEGY);
        peerStream_ = encoded_;
        peerStream_.resize(peerEncode(plain.size(), encoded_.size()));
        std::copy_n(encoded_.begin(), peerStream_.size(), peerStream_.begin());
        deflateReset(&deflate_);
        deflateParams(&deflate_, kPeerLevel, Z_DEFAULT_STRATEGY);
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    ~Work() {
        deflateEnd(&deflate_);
        inflateEnd(&inflate_);
    }

    [[nodiscard]] size_t size() const { return plain_.size(); }
    [[nodiscard]] size_t streamSize() const { return stream_.size(); }
    [[nodiscard]] size_t peerStreamSize() const { return peerStream_.size(); }
    // Whether the decoder gives the file back.
    [[nodiscard]] bool right() { return decode(stream_.size(), plain_.size()) == plain_.size() && decoded_ == plain_; }

    // All of these give the number of bytes written, 0 for a failure. Sources and destinations are given in pieces.
    size_t encode(size_t sourcePiece, size_t room) {
        auto* const state = reinterpret_cast<LZSSState*>(state_.data());
        if (ozrsEncodeLZSSInit_8u(state) != StatusOk) return 0;
        uint8_t* to = encoded_.data();
        for (size_t at = 0; at < plain_.size();) {
            const uint8_t* from = plain_.data() + at;
            auto left = static_cast<int32_t>(std::min(sourcePiece, plain_.size() - at));
            auto roomLeft = static_cast<int32_t>(std::min(room, roomFrom(to)));
            if (ozrsEncodeLZSS_8u(&from, &left, &to, &roomLeft, state) < StatusOk) return 0;
            at = static_cast<size_t>(from - plain_.data());
        }
        auto roomLeft = static_cast<int32_t>(roomFrom(to));
        const Status status = ozrsEncodeLZSSFlush_8u(&to, &roomLeft, state);
        return status == StatusOk ? static_cast<size_t>(to - encoded_.data()) : 0;
    }
    size_t decode(size_t sourcePiece, size_t room) {
        auto* const state = reinterpret_cast<LZSSState*>(state_.data());
        if (ozrsDecodeLZSSInit_8u(state) != StatusOk) return 0;
        uint8_t* to = decoded_.data();
        uint8_t* const end = to + decoded_.size();
        const uint8_t* from = stream_.data();
        const uint8_t* const sourceEnd = from + stream_.size();
        while (to < end) {
            auto left = static_cast<int32_t>(std::min(sourcePiece, static_cast<size_t>(sourceEnd - from)));
            auto roomLeft = static_cast<int32_t>(std::min(room, static_cast<size_t>(end - to)));
            if (ozrsDecodeLZSS_8u(&from, &left, &to, &roomLeft, state) < StatusOk) return 0;
        }
        return static_cast<size_t>(to - decoded_.data());
    }
    size_t peerEncode(size_t sourcePiece, size_t room) {
        deflateReset(&deflate_);
        deflate_.next_out = encoded_.data();
        for (size_t at = 0;; at += sourcePiece - deflate_.avail_in) {
            deflate_.next_in = const_cast<Bytef*>(plain_.data() + at);
            deflate_.avail_in = static_cast<uInt>(std::min(sourcePiece, plain_.size() - at));
            const bool last = at + deflate_.avail_in == plain_.size();
            deflate_.avail_out = static_cast<uInt>(std::min(room, roomFrom(deflate_.next_out)));
            const int result = deflate(&deflate_, last ? Z_FINISH : Z_NO_FLUSH);
            if (result == Z_STREAM_END) return deflate_.total_out;
            if (result != Z_OK && result != Z_BUF_ERROR) return 0;
            if (last) sourcePiece = plain_.size() - at;
        }
    }
    size_t peerDecode(size_t sourcePiece, size_t room) {
        inflateReset(&inflate_);
        inflate_.next_in = peerStream_.data();
        inflate_.next_out = decoded_.data();
        const uint8_t* const sourceEnd = peerStream_.data() + peerStream_.size();
        const uint8_t* const end = decoded_.data() + decoded_.size();
        for (;;) {
            inflate_.avail_in =
                static_cast<uInt>(std::min(sourcePiece, static_cast<size_t>(sourceEnd - inflate_.next_in)));
            inflate_.avail_out = static_cast<uInt>(std::min(room, static_cast<size_t>(end - inflate_.next_out)));
            const int result = inflate(&inflate_, Z_NO_FLUSH);
            if (result == Z_STREAM_END) return inflate_.total_out;
            if (result != Z_OK) return 0;
        }
    }

  private:
    [[nodiscard]] size_t roomFrom(const uint8_t* to) const {
        return encoded_.size() - static_cast<size_t>(to - encoded_.data());
    }

    const Bytes& plain_;
    Bytes state_ = Bytes(static_cast<size_t>(lzssStateSize()));
    Bytes encoded_ = Bytes(plain_.size() + plain_.size() / 8 + 1024);
    Bytes decoded_ = Bytes(plain_.size());
    Bytes stream_;
    Bytes peerStream_;
    z_stream deflate_{};
    z_stream inflate_{};
};

void measureStep(const char* primitive, const char* implementation, const File& file, const std::shared_ptr<Work>& work,
                 size_t (Work::*step)(size_t, size_t), size_t piece) {
    const size_t written = (*work.*step)(piece, piece);
    // What a decoder reads tells more than what it writes.
    const bool decoder = step == &Work::decode || step == &Work::peerDecode;
    const size_t read = step == &Work::decode ? work->streamSize() : work->peerStreamSize();
    measureCodec(primitive, implementation, file.name, file.data.size(), decoder ? read : written,
                 [work, step, piece] { return (*work.*step)(piece, piece); });
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("zlib", zlibVersion());
    for (const File& file : corpus) {
        const auto work = std::make_shared<Work>(file.data);
        // The speed of a codec that is wrong would be worth nothing.
        if (!work->right()) continue;
        const size_t whole = 2 * file.data.size() + 1024;
        measureStep("lzss_encode", "ozrdc", file, work, &Work::encode, whole);
        measureStep("lzss_encode", "zlib", file, work, &Work::peerEncode, whole);
        measureStep("lzss_decode", "ozrdc", file, work, &Work::decode, whole);
        measureStep("lzss_decode", "zlib", file, work, &Work::peerDecode, whole);
        measureStep("lzss_encode_pieces", "ozrdc", file, work, &Work::encode, kPiece);
        measureStep("lzss_encode_pieces", "zlib", file, work, &Work::peerEncode, kPiece);
        measureStep("lzss_decode_pieces", "ozrdc", file, work, &Work::decode, kPiece);
        measureStep("lzss_decode_pieces", "zlib", file, work, &Work::peerDecode, kPiece);
    }
}

}  // namespace ozrdc::bench
