// See the header.
#include "bz2/bzip2_stream.h"

#include <algorithm>
#include <array>
#include <bit>

#include "ozrdc.h"

namespace ozrdc::test::bz2 {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint64_t kBlockMagic = 0x314159265359;
constexpr uint64_t kEndMagic = 0x177245385090;
constexpr int32_t kBlockUnit = 100000;
constexpr int32_t kReserve = 20;  // a block of the format is that much shorter

template <typename State>
class Memory {
  public:
    explicit Memory(int32_t size) : words_(static_cast<std::size_t>(size) / 8 + 1) {}
    State* get() { return reinterpret_cast<State*>(words_.data()); }

  private:
    std::vector<uint64_t> words_;
};

template <typename GetSize>
int32_t sizeOf(GetSize getSize) {
    int32_t size = 0;
    return getSize(&size) == StatusOk ? size : 0;
}

int32_t narrow(std::size_t n) { return static_cast<int32_t>(n); }
std::size_t wide(int32_t n) { return static_cast<std::size_t>(n); }

// --- Compression ----------------------------------------------------------------------------------------------------

struct Writer {
    Bytes bytes;
    uint32_t code = 0;
    int32_t pending = 0;

    void put(uint64_t value, int count) {
        while (count-- > 0) {
            code |= static_cast<uint32_t>(value >> count & 1) << (31 - pending++);
            if (pending == 8) flush();
        }
    }
    // Calls write(target, &length) with room for `size` bytes.
    template <typename Write>
    void append(std::size_t size, Write write) {
        const std::size_t before = bytes.size();
        bytes.resize(before + size);
        int32_t length = narrow(size);
        const Status status = write(bytes.data() + before, &length);
        bytes.resize(status == StatusOk ? before + wide(length) : 0);
    }
    void flush() {
        for (; pending > 0; pending -= 8, code <<= 8) bytes.push_back(static_cast<uint8_t>(code >> 24));
        pending = 0;
    }
};

void writeBlock(Writer& writer, std::span<const uint8_t> block, const std::array<uint8_t, 256>& inUse, uint32_t crc) {
    const int32_t length = narrow(block.size());
    Memory<uint8_t> scratch(sizeOf([&](int32_t* size) { return ozrsBWTFwdGetSize_8u(length, size); }));
    Bytes column(block.size());
    int32_t primaryIndex = 0;
    ozrsBWTFwd_8u(block.data(), column.data(), length, &primaryIndex, scratch.get());
    int32_t dictionary = 0;
    ozrsReduceDictionary_8u_I(inUse.data(), column.data(), length, &dictionary);
    Memory<MTFState> moveToFront(sizeOf(ozrsMTFGetSize_8u));
    ozrsMTFInit_8u(moveToFront.get());
    ozrsMTFFwd_8u(column.data(), column.data(), length, moveToFront.get());

    std::vector<uint16_t> symbols(block.size() + 1);
    std::vector<uint32_t> frequencies(258);
    const uint8_t* ranks = column.data();
    int32_t left = length;
    int32_t count = length;
    ozrsEncodeZ1Z2_BZ2_8u16u(&ranks, &left, symbols.data(), &count, frequencies.data());
    const int32_t alphaSize = dictionary + 2;
    symbols[wide(count++)] = static_cast<uint16_t>(alphaSize - 1);
    ++frequencies[wide(alphaSize - 1)];

    Memory<HuffEncState> huffman(sizeOf([&](int32_t* size) { return ozrsEncodeHuffGetSize_BZ2_16u8u(count, size); }));
    ozrsEncodeHuffInit_BZ2_16u8u(alphaSize, frequencies.data(), symbols.data(), count, huffman.get());
    writer.put(kBlockMagic, 48);
    writer.put(crc, 32);
    writer.put(0, 1);
    writer.put(static_cast<uint64_t>(primaryIndex), 24);
    for (unsigned row = 0; row < 16; ++row) {
        writer.put(std::count(&inUse[16 * row], &inUse[16 * row] + 16, 0) < 16 ? 1 : 0, 1);
    }
    for (unsigned row = 0; row < 16; ++row) {
        if (std::count(&inUse[16 * row], &inUse[16 * row] + 16, 0) == 16) continue;
        for (unsigned i = 0; i < 16; ++i) writer.put(inUse[16 * row + i], 1);
    }
    writer.append(40000, [&](uint8_t* target, int32_t* size) {
        return ozrsPackHuffContext_BZ2_16u8u(&writer.code, &writer.pending, target, size, huffman.get());
    });
    const uint16_t* at = symbols.data();
    writer.append(3 * wide(count) + 8, [&](uint8_t* target, int32_t* size) {
        return ozrsEncodeHuff_BZ2_16u8u(&writer.code, &writer.pending, &at, &count, target, size, huffman.get());
    });
}

// --- Decompression --------------------------------------------------------------------------------------------------

struct Reader {
    const uint8_t* at;
    int32_t left;
    uint32_t code = 0;
    int32_t pending = 0;
    bool exhausted = false;

    uint64_t take(int count) {
        uint64_t value = 0;
        while (count-- > 0) {
            if (pending == 0) {
                if (left == 0) {
                    exhausted = true;
                    return 0;
                }
                code = uint32_t{*at++} << 24;
                --left;
                pending = 8;
            }
            value = value << 1 | code >> 31;
            code <<= 1;
            --pending;
        }
        return value;
    }
};

std::optional<Bytes> readBlock(Reader& reader, int32_t capacity) {
    if (reader.take(1) != 0) return std::nullopt;  // randomized: not made any more
    const auto primaryIndex = static_cast<int32_t>(reader.take(24));
    const auto rows = reader.take(16);
    std::array<uint8_t, 256> inUse{};
    for (unsigned row = 0; row < 16; ++row) {
        if ((rows >> (15 - row) & 1) == 0) continue;
        for (unsigned i = 0; i < 16; ++i) inUse[16 * row + i] = static_cast<uint8_t>(reader.take(1));
    }
    const auto dictionary = narrow(static_cast<std::size_t>(std::count(inUse.begin(), inUse.end(), 1)));
    if (dictionary == 0 || reader.left < 1) return std::nullopt;

    Memory<HuffDecState> huffman(
        sizeOf([](int32_t* size) { return ozrsDecodeHuffGetSize_BZ2_8u16u(32767 * 50, size); }));
    ozrsDecodeHuffInit_BZ2_8u16u(dictionary + 2, huffman.get());
    if (ozrsUnpackHuffContext_BZ2_8u16u(&reader.code, &reader.pending, &reader.at, &reader.left, huffman.get()) !=
        StatusOk) {
        return std::nullopt;
    }
    std::vector<uint16_t> symbols(wide(capacity) + 1);
    int32_t count = capacity + 1;
    if (ozrsDecodeHuff_BZ2_8u16u(&reader.code, &reader.pending, &reader.at, &reader.left, symbols.data(), &count,
                                 huffman.get()) != StatusOk) {
        return std::nullopt;
    }
    Bytes block(wide(capacity));
    int32_t length = capacity;
    const uint16_t* at = symbols.data();
    if (count < 1 || ozrsDecodeZ1Z2_BZ2_16u8u(&at, &count, block.data(), &length) != StatusOk) return std::nullopt;
    if (primaryIndex >= length) return std::nullopt;
    block.resize(wide(length));
    Memory<MTFState> moveToFront(sizeOf(ozrsMTFGetSize_8u));
    ozrsMTFInit_8u(moveToFront.get());
    ozrsMTFInv_8u(block.data(), block.data(), length, moveToFront.get());
    if (ozrsExpandDictionary_8u_I(inUse.data(), block.data(), length, dictionary) != StatusOk) return std::nullopt;
    Memory<uint8_t> scratch(sizeOf([&](int32_t* size) { return ozrsBWTInvGetSize_8u(length, size); }));
    Bytes result(block.size());
    if (ozrsBWTInv_8u(block.data(), result.data(), length, primaryIndex, scratch.get()) != StatusOk)
        return std::nullopt;
    return result;
}

// Undoes the run-length code of a block; returns the CRC of what it gives.
uint32_t appendRuns(const Bytes& block, Bytes& plain) {
    Memory<RLEState> state(sizeOf(ozrsRLEGetSize_BZ2_8u));
    ozrsDecodeRLEStateInit_BZ2_8u(state.get());
    const uint8_t* at = block.data();
    int32_t left = narrow(block.size());
    uint32_t crc = 0;
    std::array<uint8_t, 10000> piece;
    const auto take = [&](int32_t room) {
        const auto size = piece.size() - wide(room);
        plain.insert(plain.end(), piece.data(), piece.data() + size);
        if (size > 0) ozrsCRC32_BZ2_8u(piece.data(), narrow(size), &crc);
    };
    while (left > 0) {
        uint8_t* to = piece.data();
        auto room = narrow(piece.size());
        ozrsDecodeRLEState_BZ2_8u(&at, &left, &to, &room, state.get());
        take(room);
    }
    for (Status status = StatusDestinationFull; status == StatusDestinationFull;) {
        uint8_t* to = piece.data();
        auto room = narrow(piece.size());
        status = ozrsDecodeRLEStateFlush_BZ2_8u(state.get(), &to, &room);
        take(room);
    }
    return crc;
}

}  // namespace

Bytes compressWithStages(std::span<const uint8_t> plain, int level) {
    Writer writer;
    for (const char c : {'B', 'Z', 'h'}) writer.put(static_cast<uint8_t>(c), 8);
    writer.put(static_cast<uint64_t>('0' + level), 8);
    Bytes block(wide(level * kBlockUnit - kReserve));
    Memory<RLEState> state(sizeOf(ozrsRLEGetSize_BZ2_8u));
    uint32_t combined = 0;
    const uint8_t* at = plain.data();
    int32_t left = narrow(plain.size());
    while (left > 0) {
        ozrsEncodeRLEInit_BZ2_8u(state.get());
        const uint8_t* const begin = at;
        int32_t length = narrow(block.size()) - 1;
        ozrsEncodeRLE_BZ2_8u(&at, &left, block.data(), &length, state.get());
        int32_t last = 1;
        ozrsEncodeRLEFlush_BZ2_8u(block.data() + length, &last, state.get());
        std::array<uint8_t, 256> inUse;
        ozrsRLEGetInUseTable_8u(inUse.data(), state.get());
        uint32_t crc = 0;
        ozrsCRC32_BZ2_8u(begin, narrow(static_cast<std::size_t>(at - begin)), &crc);
        combined = std::rotl(combined, 1) ^ crc;
        writeBlock(writer, std::span(block).first(wide(length + last)), inUse, crc);
    }
    writer.put(kEndMagic, 48);
    writer.put(combined, 32);
    writer.flush();
    return writer.bytes;
}

std::optional<Bytes> decompressWithStages(std::span<const uint8_t> stream) {
    Reader reader{stream.data(), narrow(stream.size())};
    if (reader.take(24) != 0x425A68) return std::nullopt;
    const auto level = static_cast<int>(reader.take(8)) - '0';
    if (level < 1 || level > 9) return std::nullopt;
    Bytes plain;
    uint32_t combined = 0;
    for (;;) {
        const uint64_t magic = reader.take(48);
        const auto crc = static_cast<uint32_t>(reader.take(32));
        if (reader.exhausted) return std::nullopt;
        if (magic == kEndMagic) return crc == combined ? std::optional(plain) : std::nullopt;
        if (magic != kBlockMagic) return std::nullopt;
        const std::optional<Bytes> block = readBlock(reader, level * kBlockUnit);
        if (!block || appendRuns(*block, plain) != crc) return std::nullopt;
        combined = std::rotl(combined, 1) ^ crc;
    }
}

}  // namespace ozrdc::test::bz2
