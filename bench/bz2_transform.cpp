// The transform of block sorting, both ways, on the first 900000 bytes of each file: against libdivsufsort, and the
// forward one also against the whole of libbz2's compressor, whose block sort cannot be called alone.

#include <bzlib.h>
#include <divsufsort.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "ozrdc.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kBlockSize = 900000;

// The buffers of one block, for this library and for the peers.
class Work {
  public:
    explicit Work(const Bytes& file) : block_(file.begin(), file.begin() + cut(file)) {
        int32_t size = 0;
        ozrsBWTFwdGetSize_8u(length(), &size);
        scratch_.resize(static_cast<size_t>(size));
        // So that every measurement has what it starts from.
        sort();
        divsufsortSort();
    }

    [[nodiscard]] size_t size() const { return block_.size(); }
    // Whether the block that was made last is right.
    [[nodiscard]] bool right() const { return inverse_ == block_; }

    size_t sort() {
        return written(ozrsBWTFwd_8u(block_.data(), column_.data(), length(), &index_, scratch_.data()) == StatusOk);
    }
    size_t divsufsortSort() {
        peerIndex_ = divbwt(block_.data(), peerColumn_.data(), suffixes_.data(), length());
        return written(peerIndex_ >= 0);
    }
    size_t libbz2Compress() {
        auto size = static_cast<unsigned>(compressed_.size());
        return written(BZ2_bzBuffToBuffCompress(chars(compressed_), &size, chars(block_),
                                                static_cast<unsigned>(block_.size()), 9, 0, 0) == BZ_OK);
    }
    size_t invert() {
        return written(ozrsBWTInv_8u(column_.data(), inverse_.data(), length(), index_, scratch_.data()) == StatusOk);
    }
    size_t divsufsortInvert() {
        return written(
            inverse_bw_transform(peerColumn_.data(), inverse_.data(), suffixes_.data(), length(), peerIndex_) == 0);
    }

  private:
    static std::ptrdiff_t cut(const Bytes& file) {
        return static_cast<std::ptrdiff_t>(std::min(file.size(), kBlockSize));
    }
    static char* chars(Bytes& bytes) { return reinterpret_cast<char*>(bytes.data()); }
    [[nodiscard]] int32_t length() const { return static_cast<int32_t>(block_.size()); }
    [[nodiscard]] size_t written(bool success) const { return success ? block_.size() : 0; }

    Bytes block_;
    Bytes column_ = Bytes(block_.size());
    Bytes inverse_ = Bytes(block_.size());
    Bytes peerColumn_ = Bytes(block_.size());
    Bytes compressed_ = Bytes(block_.size() + block_.size() / 100 + 600);
    Bytes scratch_;
    std::vector<saidx_t> suffixes_ = std::vector<saidx_t>(block_.size() + 1);
    int32_t index_ = 0;
    saidx_t peerIndex_ = 0;
};

void measureTransform(const char* primitive, const char* implementation, const File& file,
                      const std::shared_ptr<Work>& work, size_t (Work::*transform)()) {
    measureCodec(primitive, implementation, file.name, work->size(), work->size(),
                 [work, transform] { return (*work.*transform)(); });
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("libdivsufsort", divsufsort_version());
    note("libbz2", BZ2_bzlibVersion());
    for (const File& file : corpus) {
        const auto work = std::make_shared<Work>(file.data);
        // The speed of a transform that is wrong would be worth nothing: the inverse of either must be the block.
        const bool right = work->invert() == work->size() && work->right();
        if (right) measureTransform("bwt_forward", "ozrdc", file, work, &Work::sort);
        measureTransform("bwt_forward", "divsufsort", file, work, &Work::divsufsortSort);
        measureTransform("bwt_forward", "libbz2_whole", file, work, &Work::libbz2Compress);
        if (right) measureTransform("bwt_inverse", "ozrdc", file, work, &Work::invert);
        measureTransform("bwt_inverse", "divsufsort", file, work, &Work::divsufsortInvert);
    }
}

}  // namespace ozrdc::bench
