// The stages of block sorting through the face: a whole bzip2 stream written, which libbz2 reads, and one of libbz2's
// read.
#include <bzlib.h>
#include <gtest/gtest.h>

#include <ozrdc/bz2.hpp>
#include <ozrdc/checksum.hpp>

#include "streams.h"
#include "support/guarded_buffer.h"
#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

static_assert(Stream<bz2::RunLengthEncoder> && Stream<bz2::RunLengthDecoder>);

constexpr uint32_t kBlockMagic[] = {0x3141, 0x5926, 0x5359};
constexpr uint32_t kEndMagic[] = {0x1772, 0x4538, 0x5090};

// One block and the frame around it, by the stages.
Data writeStream(const Data& source) {
    auto encoder = bz2::RunLengthEncoder::create().value();
    Data block = run(encoder, source, {1 << 20, 1 << 20}).value();
    const bz2::InUse inUse = encoder.inUse().value();

    Data column(block.size());
    auto sorter = bz2::ForwardTransform::create(block.size()).value();
    const auto primary = static_cast<uint32_t>(sorter.transform(block, column).value());
    const std::size_t dictionarySize = bz2::reduceDictionary(inUse, column).value();
    EXPECT_TRUE(bz2::MoveToFront().encode(column));
    std::vector<uint16_t> symbols(column.size() + 1);
    bz2::SymbolCounts counts{};
    std::size_t size = bz2::encodeZeroRuns(column, symbols, counts).value().size();
    symbols[size++] = static_cast<uint16_t>(dictionarySize + 1);
    ++counts[dictionarySize + 1];
    symbols.resize(size);
    const auto codes = bz2::HuffmanEncoder::create(dictionarySize + 2, counts, symbols).value();

    GuardedBuffer memory(source.size() * 2 + 20000);
    Buffer target = memory;
    bz2::PendingBits bits;
    const auto put = [&](uint32_t value, int32_t n) { EXPECT_TRUE(bits.put(value, n, target)); };
    const auto put32 = [&](uint32_t value) { put(value >> 16, 16), put(value & 0xFFFF, 16); };
    const uint32_t crc = crc32Bz2(source);
    put32(0x425A6839);  // "BZh9"
    for (const uint32_t magic : kBlockMagic) put(magic, 16);
    put32(crc);
    put(0, 1);
    put(primary >> 12, 12);
    put(primary, 12);
    const auto used = [&](std::size_t row) {
        uint32_t map = 0;
        for (std::size_t i = 0; i < 16; ++i) map = map << 1 | inUse[16 * row + i];
        return map;
    };
    uint32_t rows = 0;
    for (std::size_t row = 0; row < 16; ++row) rows = rows << 1 | (used(row) != 0 ? 1U : 0U);
    put(rows, 16);
    for (std::size_t row = 0; row < 16; ++row) {
        if (used(row) != 0) put(used(row), 16);
    }
    target = target.subspan(codes.writeTables(bits, target).value().size());
    target = target.subspan(codes.writeSymbols(bits, symbols, target).value().size());
    for (const uint32_t magic : kEndMagic) put(magic, 16);
    put32(crc);
    if (bits.count > 0) put(0, 8 - bits.count);
    return copy(Buffer(memory).first(memory.size() - target.size()));
}

TEST(FaceBz2, TheStagesWriteWhatLibbz2Reads) {
    for (const SampleKind& kind : sampleKinds()) {
        const Data source = kind.make(60000, 1);
        const Data stream = writeStream(source);
        Data back(source.size());
        auto size = static_cast<unsigned>(back.size());
        ASSERT_EQ(BZ2_bzBuffToBuffDecompress(reinterpret_cast<char*>(back.data()), &size,
                                             const_cast<char*>(reinterpret_cast<const char*>(stream.data())),
                                             static_cast<unsigned>(stream.size()), 0, 0),
                  BZ_OK)
            << kind.name;
        EXPECT_EQ(back, source);
    }
}

// The first block of a stream, by the stages; `pieceSize` bytes of source at a time. Nothing if it is damaged.
std::optional<Data> readBlock(const Data& stream, std::size_t pieceSize, bool inOneGo) {
    Bytes source = std::span(stream).subspan(4);
    bz2::PendingBits bits;
    bool good = true;
    const auto take = [&](int32_t n) {
        const auto value = bits.take(source, n);
        good = good && value;
        return value.value_or(0);
    };
    for (const uint32_t magic : kBlockMagic) good = take(16) == magic && good;
    const uint32_t crc = take(16) << 16 | take(16);
    take(1);
    const uint32_t primary = take(24);
    bz2::InUse inUse{};
    std::size_t dictionarySize = 0;
    const uint32_t rows = take(16);
    for (std::size_t row = 0; row < 16; ++row) {
        const uint32_t map = (rows >> (15 - row) & 1) != 0 ? take(16) : 0;
        for (std::size_t i = 0; i < 16; ++i) dictionarySize += inUse[16 * row + i] = map >> (15 - i) & 1;
    }
    auto huffman = bz2::HuffmanDecoder::create().value();
    if (!good || !huffman.start(dictionarySize + 2)) return std::nullopt;
    for (Status status = StatusSourceExhausted; status == StatusSourceExhausted;) {
        const auto progress = huffman.readTables(bits, source.first(std::min(pieceSize, source.size())));
        if (!progress) return std::nullopt;
        source = source.subspan(progress->consumed);
        status = progress->status;
    }
    std::vector<uint16_t> symbols(900001);
    std::size_t size = 0;
    for (Status status = StatusSourceExhausted; status != StatusOk;) {
        const auto room = std::span(symbols).subspan(size);
        const auto progress = huffman.readSymbols(bits, source.first(std::min(pieceSize, source.size())),
                                                  room.first(std::min(pieceSize * 3, room.size())));
        if (!progress || (progress->consumed == 0 && progress->produced == 0 && progress->status != StatusOk)) {
            return std::nullopt;
        }
        source = source.subspan(progress->consumed);
        size += progress->produced;
        status = progress->status;
    }
    symbols.resize(size);

    Data block(900000);
    if (inOneGo) {
        auto decoder = bz2::BlockDecoder::create(block.size()).value();
        const auto decoded = decoder.decode(symbols, primary, inUse, block);
        if (!decoded) return std::nullopt;
        block.resize(decoded->size());
    } else {
        Data column(block.size());
        const auto ranks = bz2::decodeZeroRuns(symbols, column);
        if (!ranks) return std::nullopt;
        column.resize(ranks->size());
        if (!bz2::MoveToFront().decode(column)) return std::nullopt;
        if (!bz2::expandDictionary(inUse, column, dictionarySize)) return std::nullopt;
        auto inverse = bz2::InverseTransform::create(column.size()).value();
        if (!inverse.transform(column, primary, block)) return std::nullopt;
        block.resize(column.size());
    }
    auto runs = bz2::RunLengthDecoder::create().value();
    const auto decoded = run(runs, block, {block.size(), pieceSize});
    if (!decoded || crc32Bz2(*decoded) != crc) return std::nullopt;
    return *decoded;
}

Data libbz2Compress(const Data& source) {
    Data stream(source.size() + source.size() / 100 + 600);
    auto size = static_cast<unsigned>(stream.size());
    EXPECT_EQ(BZ2_bzBuffToBuffCompress(reinterpret_cast<char*>(stream.data()), &size,
                                       const_cast<char*>(reinterpret_cast<const char*>(source.data())),
                                       static_cast<unsigned>(source.size()), 9, 0, 0),
              BZ_OK);
    stream.resize(size);
    return stream;
}

TEST(FaceBz2, TheStagesReadWhatLibbz2Writes) {
    for (const SampleKind& kind : sampleKinds()) {
        const Data source = kind.make(60000, 1);
        const Data stream = libbz2Compress(source);
        for (const std::size_t pieceSize : {std::size_t{1} << 20, std::size_t{777}, std::size_t{25}}) {
            EXPECT_EQ(readBlock(stream, pieceSize, true), source) << kind.name << ' ' << pieceSize;
            EXPECT_EQ(readBlock(stream, pieceSize, false), source) << kind.name << ' ' << pieceSize;
        }
    }
}

TEST(FaceBz2, DamageIsNoticed) {
    const Data source = sampleKind("text").make(5000, 1);
    const Data stream = libbz2Compress(source);
    for (std::size_t i = 4; i < stream.size() - 12; i += 7) {
        Data damaged = stream;
        damaged[i] ^= 0x10;
        EXPECT_NE(readBlock(damaged, 1 << 20, true), source) << i;
    }
}

TEST(FaceBz2, SizesAreChecked) {
    Data data(200, 'x');
    auto sorter = bz2::ForwardTransform::create(100).value();
    EXPECT_EQ(sorter.transform(data, data).status(), StatusSizeError);
    EXPECT_EQ(sorter.transform(std::span(data).first(50), std::span(data).subspan(100, 49)).status(),
              StatusDestinationFull);
    EXPECT_EQ(bz2::ForwardTransform::create(0).status(), StatusSizeError);
    EXPECT_EQ(bz2::ForwardTransform::create(std::size_t{1} << 40).status(), StatusSizeError);
    auto inverse = bz2::InverseTransform::create(100).value();
    EXPECT_EQ(inverse.transform(data, 0, data).status(), StatusSizeError);
    EXPECT_EQ(inverse.transform(std::span(data).first(50), 50, data).status(), StatusSizeError);
    auto decoder = bz2::BlockDecoder::create(100).value();
    bz2::InUse inUse{};
    inUse['x'] = 1;
    const std::vector<uint16_t> hundredAndOne{0, 1, 0, 0, 1, 1, 1};  // digits of a run
    EXPECT_EQ(decoder.decode(hundredAndOne, 0, inUse, data).status(), StatusError);
    const std::vector<uint16_t> three{0, 0};
    EXPECT_EQ(decoder.decode(three, 2, inUse, data).value().size(), 3U);
    EXPECT_EQ(decoder.decode(three, 3, inUse, data).status(), StatusSizeError);  // there is no such row
}

TEST(FaceBz2, EveryStrategyGivesTheSameColumn) {
    const Data source = sampleKind("text").make(20000, 1);
    Data expected;
    for (const auto strategy : {bz2::SortStrategy::automatic, bz2::SortStrategy::comparing,
                                bz2::SortStrategy::comparingForLong, bz2::SortStrategy::doubling}) {
        auto sorter = bz2::ForwardTransform::create(source.size(), strategy).value();
        Data column(source.size());
        ASSERT_TRUE(sorter.transform(source, column));
        if (expected.empty()) expected = column;
        EXPECT_EQ(column, expected);
    }
    auto sorter = bz2::ForwardTransform::create(20000, bz2::SortStrategy::comparing).value();
    Data column(20000);
    EXPECT_EQ(sorter.transform(periodicSample(20000, 300, 1), column).status(), StatusSortBudgetExceeded);
}

}  // namespace
}  // namespace ozrdc::test
