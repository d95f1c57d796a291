// Decoding of Deflate streams that zlib made at its default level: whole in memory against zlib and libdeflate, and in
// pieces with a circular window against zlib, which keeps one of its own.

#include <libdeflate.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "ozrdc.h"
#include "support/deflate_stream.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr int kRaw = -15;  // zlib: no header, a window of 2^15 bytes
constexpr size_t kWindow = 32768;
constexpr size_t kPiece = 65536;

Bytes deflated(const Bytes& plain) {
    Bytes stream(plain.size() + plain.size() / 100 + 1024);
    z_stream z{};
    if (deflateInit2(&z, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kRaw, 8, Z_DEFAULT_STRATEGY) != Z_OK) return {};
    z.next_in = const_cast<Bytef*>(plain.data());
    z.avail_in = static_cast<uInt>(plain.size());
    z.next_out = stream.data();
    z.avail_out = static_cast<uInt>(stream.size());
    const int result = deflate(&z, Z_FINISH);
    stream.resize(result == Z_STREAM_END ? z.total_out : 0);
    deflateEnd(&z);
    return stream;
}

// The buffers and the peers' states of one file. The states are made once and set back for every stream.
class Work {
  public:
    explicit Work(const Bytes& plain)
        : plain_(plain), stream_(deflated(plain)), peer_(libdeflate_alloc_decompressor()) {
        inflateInit2(&zlib_, kRaw);
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;
    ~Work() {
        inflateEnd(&zlib_);
        libdeflate_free_decompressor(peer_);
    }

    [[nodiscard]] size_t streamSize() const { return stream_.size(); }
    // Whether the bytes that were decoded last into memory are right.
    [[nodiscard]] bool right() const { return decoded_ == plain_; }

    size_t inMemory() {
        DeflateStream stream(stream_.data(), stream_.size(), stream_.size());
        DeflateSink sink{decoded_.data(), static_cast<uint32_t>(decoded_.size()), 0, 0};
        if (stream.decode(sink) != DeflateStream::Result::kEnd) return 0;
        return static_cast<size_t>(sink.next - decoded_.data());
    }
    size_t zlibInMemory() {
        inflateReset(&zlib_);
        zlib_.next_in = stream_.data();
        zlib_.avail_in = static_cast<uInt>(stream_.size());
        zlib_.next_out = decoded_.data();
        zlib_.avail_out = static_cast<uInt>(decoded_.size());
        return inflate(&zlib_, Z_FINISH) == Z_STREAM_END ? zlib_.total_out : 0;
    }
    size_t libdeflateInMemory() {
        size_t written = 0;
        const libdeflate_result result = libdeflate_deflate_decompress(peer_, stream_.data(), stream_.size(),
                                                                       decoded_.data(), decoded_.size(), &written);
        return result == LIBDEFLATE_SUCCESS ? written : 0;
    }

    // Into a buffer of one piece, over and over; what it held goes to the window each time.
    size_t inPieces() {
        DeflateStream stream(stream_.data(), stream_.size(), kPiece);
        stream.setWindow(window_);
        uint32_t windowIndex = 0;
        size_t total = 0;
        for (;;) {
            DeflateSink sink{piece_.data(), kPiece, 0, windowIndex};
            const DeflateStream::Result result = stream.decode(sink);
            if (result == DeflateStream::Result::kBroken) return 0;
            const size_t size = kPiece - sink.room;
            total += size;
            if (result == DeflateStream::Result::kEnd) return total;
            windowIndex = keep(size, windowIndex);
        }
    }
    size_t zlibInPieces() {
        inflateReset(&zlib_);
        const uint8_t* next = stream_.data();
        const uint8_t* const end = next + stream_.size();
        size_t total = 0;
        for (;;) {
            if (zlib_.avail_in == 0) {
                zlib_.next_in = const_cast<Bytef*>(next);
                zlib_.avail_in = static_cast<uInt>(std::min<size_t>(kPiece, static_cast<size_t>(end - next)));
                next += zlib_.avail_in;
            }
            zlib_.next_out = piece_.data();
            zlib_.avail_out = kPiece;
            const int result = inflate(&zlib_, Z_NO_FLUSH);
            if (result != Z_OK && result != Z_STREAM_END) return 0;
            total += kPiece - zlib_.avail_out;
            if (result == Z_STREAM_END) {
                zlib_.avail_in = 0;
                return total;
            }
        }
    }

  private:
    // Appends the last bytes of the piece to the window, and returns the new place of its end.
    uint32_t keep(size_t size, uint32_t windowIndex) {
        const size_t kept = std::min(size, kWindow);
        const uint8_t* const from = piece_.data() + size - kept;
        const size_t first = std::min(kept, kWindow - windowIndex);
        std::memcpy(window_.data() + windowIndex, from, first);
        std::memcpy(window_.data(), from + first, kept - first);
        return static_cast<uint32_t>((windowIndex + kept) % kWindow);
    }

    const Bytes& plain_;
    Bytes stream_;
    Bytes decoded_ = Bytes(plain_.size());
    Bytes piece_ = Bytes(kPiece);
    Bytes window_ = Bytes(kWindow);
    z_stream zlib_{};
    libdeflate_decompressor* peer_;
};

void measureDecoder(const char* primitive, const char* implementation, const File& file,
                    const std::shared_ptr<Work>& work, size_t (Work::*decode)()) {
    measureCodec(primitive, implementation, file.name, file.data.size(), work->streamSize(),
                 [work, decode] { return (*work.*decode)(); });
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("zlib", zlibVersion());
    note("libdeflate", LIBDEFLATE_VERSION_STRING);
    for (const File& file : corpus) {
        const auto work = std::make_shared<Work>(file.data);
        // The speed of a decoder that is wrong would be worth nothing.
        if (work->inMemory() == file.data.size() && work->right()) {
            measureDecoder("inflate", "ozrdc", file, work, &Work::inMemory);
        }
        measureDecoder("inflate", "zlib", file, work, &Work::zlibInMemory);
        measureDecoder("inflate", "libdeflate", file, work, &Work::libdeflateInMemory);
        if (work->inPieces() == file.data.size()) {
            measureDecoder("inflate_pieces", "ozrdc", file, work, &Work::inPieces);
        }
        measureDecoder("inflate_pieces", "zlib", file, work, &Work::zlibInPieces);
    }
}

}  // namespace ozrdc::bench
