// The stages of the block-sorting pipeline other than the transform, on one block of each file.
//
// No library offers these stages one by one, so the peer is a loop that does the same a byte or a symbol at a time, as
// one would write it down: it says what the work costs, not how well others do it. All stages together, with the
// transform and the checksum, are measured against libbz2.

#include <bzlib.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

#include "ozrdc.h"
#include "support/measure.h"

namespace ozrdc::bench {
namespace {

using Bytes = std::vector<uint8_t>;
using Symbols = std::vector<uint16_t>;

constexpr int32_t kBlockSize = 890000;

template <typename State>
class Memory {
  public:
    explicit Memory(int32_t size) : words_(static_cast<size_t>(size) / sizeof(uint64_t) + 1) {}
    State* get() { return reinterpret_cast<State*>(words_.data()); }

  private:
    std::vector<uint64_t> words_;
};

template <typename GetSize>
int32_t sizeFrom(GetSize getSize) {
    int32_t size = 0;
    return getSize(&size) == StatusOk ? size : 0;
}

int32_t length(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

// One block, and what every stage makes of it. Each stage works on the result of the one before it.
class Block {
  public:
    explicit Block(const Bytes& data)
        : plain_(data.begin(), data.begin() + std::min<ptrdiff_t>(kBlockSize, std::ssize(data))) {
        code_.resize(2 * plain_.size() + 8);
        const size_t codeSize = encodeRuns();
        runs_.assign(code_.begin(), code_.begin() + static_cast<ptrdiff_t>(codeSize));
        ozrsRLEGetInUseTable_8u(inUse_.data(), rle_.get());
        reduced_.resize(runs_.size());
        sorter_ = Memory<uint8_t>(sizeFrom([&](int32_t* size) { return ozrsBWTFwdGetSize_8u(length(runs_), size); }));
        blockDecoder_ = Memory<uint8_t>(sizeFrom(
            [&](int32_t* size) { return ozrsDecodeBlockGetSize_BZ2_8u(static_cast<uint32_t>(runs_.size()), size); }));
        transform();
        ranks_.resize(runs_.size());
        output_.resize(std::max(runs_.size(), plain_.size()) + 8);
        moveToFront();
        ranks_.assign(output_.begin(), output_.begin() + std::ssize(runs_));
        symbols_.resize(runs_.size() + 1);
        symbols_.resize(encodeZeroRuns() + 1);
        symbols_.back() = static_cast<uint16_t>(dictionary_ + 1);
        ++frequencies_[symbols_.back()];
        huffmanEncoder_ = Memory<HuffEncState>(sizeFrom([&](int32_t* size) {
            return ozrsEncodeHuffGetSize_BZ2_16u8u(static_cast<int32_t>(symbols_.size()), size);
        }));
        huffmanDecoder_ = Memory<HuffDecState>(sizeFrom([&](int32_t* size) {
            return ozrsDecodeHuffGetSize_BZ2_8u16u(static_cast<int32_t>(symbols_.size()), size);
        }));
        stream_.resize(3 * symbols_.size() + 40000);
        makeTables();
        streamSize_ = encodeSymbols();
        peerStream_.resize(plain_.size() + plain_.size() / 50 + 700);
        peerStream_.resize(peerCompress());
        decoded_.resize(symbols_.size());
    }

    [[nodiscard]] size_t size() const { return plain_.size(); }

    size_t encodeRuns() {
        ozrsEncodeRLEInit_BZ2_8u(rle_.get());
        const uint8_t* at = plain_.data();
        int32_t left = length(plain_);
        int32_t written = length(code_) - 1;
        ozrsEncodeRLE_BZ2_8u(&at, &left, code_.data(), &written, rle_.get());
        int32_t last = 1;
        ozrsEncodeRLEFlush_BZ2_8u(code_.data() + written, &last, rle_.get());
        return static_cast<size_t>(written + last);
    }
    size_t encodeRunsPlainly() {
        uint8_t* out = output_.data();
        std::array<uint8_t, 256> inUse{};
        for (size_t i = 0; i < plain_.size();) {
            size_t run = 1;
            while (run < 259 && i + run < plain_.size() && plain_[i + run] == plain_[i]) ++run;
            inUse[plain_[i]] = 1;
            for (size_t k = 0; k < std::min<size_t>(run, 4); ++k) *out++ = plain_[i];
            if (run >= 4) {
                *out++ = static_cast<uint8_t>(run - 4);
                inUse[run - 4] = 1;
            }
            i += run;
        }
        benchmark::DoNotOptimize(inUse);
        return static_cast<size_t>(out - output_.data());
    }

    size_t decodeRuns() {
        ozrsDecodeRLEStateInit_BZ2_8u(rle_.get());
        const uint8_t* at = runs_.data();
        int32_t left = length(runs_);
        uint8_t* to = output_.data();
        int32_t room = length(output_);
        ozrsDecodeRLEState_BZ2_8u(&at, &left, &to, &room, rle_.get());
        ozrsDecodeRLEStateFlush_BZ2_8u(rle_.get(), &to, &room);
        return static_cast<size_t>(to - output_.data());
    }
    size_t decodeRunsPlainly() {
        uint8_t* out = output_.data();
        unsigned run = 0;
        int previous = -1;
        for (const uint8_t byte : runs_) {
            if (run == 4) {
                for (unsigned k = 0; k < byte; ++k) *out++ = static_cast<uint8_t>(previous);
                run = 0;
                previous = -1;
                continue;
            }
            *out++ = byte;
            run = byte == previous ? run + 1 : 1;
            previous = byte;
        }
        return static_cast<size_t>(out - output_.data());
    }

    void transform() {
        ozrsBWTFwd_8u(code_.data(), reduced_.data(), length(runs_), &primaryIndex_, sorter_.get());
        ozrsReduceDictionary_8u_I(inUse_.data(), reduced_.data(), length(reduced_), &dictionary_);
    }

    size_t moveToFront() {
        ozrsMTFInit_8u(list_.get());
        ozrsMTFFwd_8u(reduced_.data(), output_.data(), length(reduced_), list_.get());
        return reduced_.size();
    }
    size_t moveToFrontPlainly() {
        std::array<uint8_t, 256> list;
        std::iota(list.begin(), list.end(), uint8_t{0});
        for (size_t i = 0; i < reduced_.size(); ++i) {
            // Moves the list up on the way to the byte.
            uint8_t before = reduced_[i];
            size_t rank = 0;
            for (;; ++rank) {
                std::swap(list[rank], before);
                if (before == reduced_[i]) break;
            }
            output_[i] = static_cast<uint8_t>(rank);
        }
        return reduced_.size();
    }

    size_t undoMoveToFront() {
        ozrsMTFInit_8u(list_.get());
        ozrsMTFInv_8u(ranks_.data(), output_.data(), length(ranks_), list_.get());
        return ranks_.size();
    }
    size_t undoMoveToFrontPlainly() {
        std::array<uint8_t, 256> list;
        std::iota(list.begin(), list.end(), uint8_t{0});
        for (size_t i = 0; i < ranks_.size(); ++i) {
            const uint8_t byte = list[ranks_[i]];
            std::memmove(list.data() + 1, list.data(), ranks_[i]);
            list[0] = byte;
            output_[i] = byte;
        }
        return ranks_.size();
    }

    size_t encodeZeroRuns() {
        frequencies_.fill(0);
        const uint8_t* at = ranks_.data();
        int32_t left = length(ranks_);
        auto written = static_cast<int32_t>(symbols_.size() - 1);  // the last is the end of the block
        ozrsEncodeZ1Z2_BZ2_8u16u(&at, &left, symbols_.data(), &written, frequencies_.data());
        return static_cast<size_t>(written);
    }
    size_t encodeZeroRunsPlainly() {
        scratch_.resize(ranks_.size() + 32);
        std::array<uint32_t, 258> frequencies{};
        uint16_t* out = scratch_.data();
        uint32_t run = 0;
        const auto putRun = [&] {
            for (; run > 0; run = (run - 1) / 2) {
                *out = static_cast<uint16_t>((run - 1) & 1);
                ++frequencies[*out++];
            }
        };
        for (const uint8_t rank : ranks_) {
            if (rank == 0) {
                ++run;
                continue;
            }
            putRun();
            *out = static_cast<uint16_t>(rank + 1);
            ++frequencies[*out++];
        }
        putRun();
        benchmark::DoNotOptimize(frequencies);
        return static_cast<size_t>(out - scratch_.data());
    }

    size_t decodeZeroRuns() {
        const uint16_t* at = symbols_.data();
        auto left = static_cast<int32_t>(symbols_.size() - 1);
        int32_t written = length(output_);
        ozrsDecodeZ1Z2_BZ2_16u8u(&at, &left, output_.data(), &written);
        return static_cast<size_t>(written);
    }
    size_t decodeZeroRunsPlainly() {
        uint8_t* out = output_.data();
        uint32_t run = 0;
        unsigned digit = 0;
        for (size_t i = 0; i + 1 < symbols_.size(); ++i) {
            if (symbols_[i] < 2) {
                run += (symbols_[i] + 1U) << digit++;
                continue;
            }
            for (; run > 0; --run) *out++ = 0;
            digit = 0;
            *out++ = static_cast<uint8_t>(symbols_[i] - 1);
        }
        for (; run > 0; --run) *out++ = 0;
        return static_cast<size_t>(out - output_.data());
    }

    size_t makeTables() {
        ozrsEncodeHuffInit_BZ2_16u8u(dictionary_ + 2, frequencies_.data(), symbols_.data(),
                                     static_cast<int32_t>(symbols_.size()), huffmanEncoder_.get());
        return symbols_.size();
    }
    size_t encodeSymbols() {
        uint32_t code = 0;
        int32_t pending = 0;
        int32_t described = 40000;
        ozrsPackHuffContext_BZ2_16u8u(&code, &pending, stream_.data(), &described, huffmanEncoder_.get());
        const uint16_t* at = symbols_.data();
        auto left = static_cast<int32_t>(symbols_.size());
        int32_t written = length(stream_) - described;
        ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &left, stream_.data() + described, &written,
                                 huffmanEncoder_.get());
        uint8_t* end = stream_.data() + described + written;
        for (unsigned i = 0; i < 4; ++i, code <<= 8) *end++ = static_cast<uint8_t>(code >> 24);
        return static_cast<size_t>(end - stream_.data());
    }
    // Description and symbols.
    size_t decodeSymbols() {
        ozrsDecodeHuffInit_BZ2_8u16u(dictionary_ + 2, huffmanDecoder_.get());
        uint32_t code = 0;
        int32_t pending = 0;
        const uint8_t* at = stream_.data();
        auto left = static_cast<int32_t>(streamSize_);
        ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, &at, &left, huffmanDecoder_.get());
        auto written = static_cast<int32_t>(decoded_.size());
        ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, decoded_.data(), &written, huffmanDecoder_.get());
        return static_cast<size_t>(written);
    }

    // The road of the block through all stages, and its way back.
    size_t compress() {
        uint32_t crc = 0;
        ozrsCRC32_BZ2_8u(plain_.data(), length(plain_), &crc);
        benchmark::DoNotOptimize(crc);
        const size_t size = encodeRuns();
        if (size != runs_.size()) return 0;
        ozrsRLEGetInUseTable_8u(inUse_.data(), rle_.get());
        transform();
        ozrsMTFInit_8u(list_.get());
        ozrsMTFFwd_8u(reduced_.data(), ranks_.data(), length(ranks_), list_.get());
        encodeZeroRuns();
        ++frequencies_[symbols_.back()];
        makeTables();
        return encodeSymbols();
    }
    size_t decompress() {
        const size_t count = decodeSymbols();
        int32_t size = length(runs_);
        ozrsDecodeBlock_BZ2_16u8u(decoded_.data(), static_cast<int32_t>(count), runs_.data(), &size, primaryIndex_,
                                  dictionary_, inUse_.data(), blockDecoder_.get());
        const size_t written = decodeRuns();
        uint32_t crc = 0;
        ozrsCRC32_BZ2_8u(output_.data(), static_cast<int32_t>(written), &crc);
        benchmark::DoNotOptimize(crc);
        return written;
    }

    size_t peerCompress() {
        auto size = static_cast<unsigned>(peerStream_.size());
        BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(peerStream_.data()), &size,
                                 reinterpret_cast<char*>(plain_.data()), static_cast<unsigned>(plain_.size()), 9, 0, 0);
        return size;
    }
    size_t peerDecompress() {
        auto size = static_cast<unsigned>(output_.size());
        BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(output_.data()), &size,
                                   reinterpret_cast<char*>(peerStream_.data()),
                                   static_cast<unsigned>(peerStream_.size()), 0, 0);
        return size;
    }

    // Whether every stage, its inverse and its plain counterpart agree: the speed of wrong ones would be worth nothing.
    [[nodiscard]] bool right() {
        const auto gives = [&](size_t size, const Bytes& expected) {
            return size == expected.size() && std::equal(expected.begin(), expected.end(), output_.begin());
        };
        return gives(encodeRunsPlainly(), runs_) && gives(decodeRuns(), plain_) && gives(decodeRunsPlainly(), plain_) &&
               gives(moveToFrontPlainly(), ranks_) && gives(undoMoveToFront(), reduced_) &&
               gives(undoMoveToFrontPlainly(), reduced_) && encodeZeroRunsPlainly() + 1 == symbols_.size() &&
               std::equal(symbols_.begin(), symbols_.end() - 1, scratch_.begin()) && gives(decodeZeroRuns(), ranks_) &&
               gives(decodeZeroRunsPlainly(), ranks_) && decodeSymbols() + 1 == symbols_.size() &&
               decoded_ == symbols_ && compress() == streamSize_ && gives(decompress(), plain_) &&
               gives(peerDecompress(), plain_);
    }

  private:
    Bytes plain_;
    Bytes code_;  // where the run-length encoder writes
    Bytes runs_;
    Bytes reduced_;
    Bytes ranks_;
    Symbols symbols_;
    Bytes stream_;
    size_t streamSize_ = 0;
    Bytes peerStream_;
    Bytes output_;
    Symbols decoded_;
    Symbols scratch_;
    std::array<uint8_t, 256> inUse_{};
    std::array<uint32_t, 258> frequencies_{};
    int32_t dictionary_ = 0;
    int32_t primaryIndex_ = 0;
    Memory<uint8_t> sorter_{0};
    Memory<uint8_t> blockDecoder_{0};
    Memory<RLEState> rle_{sizeFrom(ozrsRLEGetSize_BZ2_8u)};
    Memory<MTFState> list_{sizeFrom(ozrsMTFGetSize_8u)};
    Memory<HuffEncState> huffmanEncoder_{0};
    Memory<HuffDecState> huffmanDecoder_{0};
};

using Stage = size_t (Block::*)();

void measureStage(const char* primitive, const char* implementation, const File& file,
                  const std::shared_ptr<Block>& block, Stage stage) {
    measure(primitive, implementation, file.name, block->size(), [block, stage] { return (*block.*stage)(); });
}

}  // namespace

void registerBenchmarks(const Corpus& corpus) {
    note("libbz2", BZ2_bzlibVersion());
    for (const File& file : corpus) {
        const auto block = std::make_shared<Block>(file.data);
        if (!block->right()) continue;
        const auto both = [&](const char* primitive, Stage stage, const char* peer, Stage peerStage) {
            measureStage(primitive, "ozrdc", file, block, stage);
            measureStage(primitive, peer, file, block, peerStage);
        };
        both("bz2_encode_runs", &Block::encodeRuns, "plain", &Block::encodeRunsPlainly);
        both("bz2_decode_runs", &Block::decodeRuns, "plain", &Block::decodeRunsPlainly);
        both("bz2_move_to_front", &Block::moveToFront, "plain", &Block::moveToFrontPlainly);
        both("bz2_undo_move_to_front", &Block::undoMoveToFront, "plain", &Block::undoMoveToFrontPlainly);
        both("bz2_encode_zero_runs", &Block::encodeZeroRuns, "plain", &Block::encodeZeroRunsPlainly);
        both("bz2_decode_zero_runs", &Block::decodeZeroRuns, "plain", &Block::decodeZeroRunsPlainly);
        measureStage("bz2_make_tables", "ozrdc", file, block, &Block::makeTables);
        measureStage("bz2_encode_symbols", "ozrdc", file, block, &Block::encodeSymbols);
        measureStage("bz2_decode_symbols", "ozrdc", file, block, &Block::decodeSymbols);
        both("bz2_compress_block", &Block::compress, "libbz2", &Block::peerCompress);
        both("bz2_decompress_block", &Block::decompress, "libbz2", &Block::peerDecompress);
    }
}

}  // namespace ozrdc::bench
