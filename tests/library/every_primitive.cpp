// See the header.
#include "every_primitive.h"

#include <array>
#include <cstring>
#include <type_traits>

#include "support/sample_data.h"

namespace ozrdc::test {
namespace {

using Bytes = std::vector<uint8_t>;

// Collects results as bytes.
class Results {
  public:
    template <typename T>
    Results& operator<<(const T& value) {
        static_assert(std::is_integral_v<T>);
        const auto* const p = reinterpret_cast<const uint8_t*>(&value);
        for (std::size_t i = 0; i < sizeof value; ++i) bytes_.push_back(p[i]);
        return *this;
    }
    Results& operator<<(const Bytes& bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    Results& operator<<(const char* text) {
        while (*text != '\0') bytes_.push_back(static_cast<uint8_t>(*text++));
        return *this;
    }
    operator Bytes() const { return bytes_; }

  private:
    Bytes bytes_;
};

// Data of a nature and a length that depend on the seed.
Bytes data(uint64_t seed) {
    const auto kinds = sampleKinds();
    return kinds[seed % kinds.size()].make(1000 + 977 * (seed % 90), seed);
}

int32_t sizeOf(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

// --- Checksums ------------------------------------------------------------------------------------------------------

template <auto function>
Bytes checksum(const Library& library, uint64_t seed) {
    const Bytes bytes = data(seed);
    uint32_t value = 1;
    const Status first = (library.*function)(bytes.data(), 500, &value);
    const Status second = (library.*function)(bytes.data() + 500, static_cast<int32_t>(bytes.size() - 500), &value);
    return Results() << first << second << value;
}

Bytes crc32c(const Library& library, uint64_t seed) {
    const Bytes bytes = data(seed);
    uint32_t value = 0xFFFFFFFF;
    const Status status = library.ozrsCRC32C_8u(bytes.data(), static_cast<uint32_t>(bytes.size()), &value);
    return Results() << status << value;
}

// --- LZ4 ------------------------------------------------------------------------------------------------------------

constexpr std::size_t kHashTableSize = 16384;

// Calls encode(source, size, target, &size, table) with room enough; returns the block, or nothing if it failed.
template <typename Encode>
Bytes encoded(uint64_t seed, Encode encode) {
    const Bytes source = data(seed);
    Bytes target(source.size() + source.size() / 255 + 16);
    Bytes table(kHashTableSize);
    int32_t size = sizeOf(target);
    const Status status = encode(source.data(), sizeOf(source), target.data(), &size, table.data());
    if (status != StatusOk) return Results() << status;
    target.resize(static_cast<std::size_t>(size));
    return target;
}

Bytes encodeLz4(const Library& library, uint64_t seed) { return encoded(seed, library.ozrsEncodeLZ4_8u); }

Bytes encodeLz4Fast(const Library& library, uint64_t seed) {
    return encoded(seed, [&](const uint8_t* source, int32_t n, uint8_t* target, int32_t* written, uint8_t* table) {
        return library.ozrsEncodeLZ4Fast_8u(source, n, target, written, table, 2 + static_cast<int32_t>(seed % 20));
    });
}

Bytes encodeLz4Safe(const Library& library, uint64_t seed) {
    return encoded(seed, [&](const uint8_t* source, int32_t n, uint8_t* target, int32_t* written, uint8_t* table) {
        return library.ozrsEncodeLZ4Safe_8u(source, &n, target, written, table);
    });
}

Bytes hashTableGetSize(const Library& library, uint64_t /*seed*/) {
    int32_t size = 0;
    const Status status = library.ozrsEncodeLZ4HashTableGetSize_8u(&size);
    return Results() << status << size;
}

Bytes hashTableInit(const Library& library, uint64_t seed) {
    Bytes table(kHashTableSize, 0xEE);
    const Status status = library.ozrsEncodeLZ4HashTableInit_8u(table.data(), seed % 2 == 0 ? 1000 : 100000);
    return Results() << status << table;
}

Bytes decodeLz4(const Library& library, uint64_t seed) {
    const Bytes block = encodeLz4(library, seed);
    Bytes target(data(seed).size());
    int32_t size = sizeOf(target);
    const Status status = library.ozrsDecodeLZ4_8u(block.data(), sizeOf(block), target.data(), &size);
    return Results() << status << size << target;
}

Bytes decodeLz4Dict(const Library& library, uint64_t seed) {
    const Bytes block = encodeLz4(library, seed);
    const Bytes dictionary = data(seed + 1);
    Bytes target(dictionary.size() + data(seed).size());
    int32_t consumed = sizeOf(block);
    int32_t size = sizeOf(target) - sizeOf(dictionary);
    const Status status = library.ozrsDecodeLZ4Dict_8u(block.data(), &consumed, target.data(), sizeOf(dictionary),
                                                       &size, dictionary.data(), sizeOf(dictionary));
    return Results() << status << consumed << size << target;
}

Bytes dictionaryTableInit(const Library& library, uint64_t seed) {
    Bytes table(kHashTableSize, 0xEE);
    const Status status = library.ozrsEncodeLZ4DictHashTableInit_8u(table.data(), static_cast<int32_t>(1 + seed % 9));
    return Results() << status << table;
}

Bytes loadDictionary(const Library& library, uint64_t seed) {
    Bytes table(kHashTableSize);
    const Bytes dictionary = data(seed);
    const Status status = library.ozrsEncodeLZ4LoadDict_8u(table.data(), dictionary.data(), sizeOf(dictionary));
    return Results() << status << table;
}

// Calls encode(source, index, &consumed, target, &written, dictionary, size) for a source behind a dictionary that
// begins like it.
template <typename Encode>
Bytes encodedBehind(uint64_t seed, Encode encode) {
    const Bytes source = data(seed);
    Bytes dictionary = data(seed);
    dictionary.resize(dictionary.size() / 2);
    Bytes target(source.size() + source.size() / 255 + 16);
    int32_t consumed = sizeOf(source);
    int32_t written = sizeOf(target);
    const Status status = encode(source.data(), sizeOf(dictionary), &consumed, target.data(), &written,
                                 dictionary.data(), sizeOf(dictionary));
    target.resize(static_cast<std::size_t>(written));
    return Results() << status << consumed << target;
}

Bytes encodeLz4Dict(const Library& library, uint64_t seed) {
    return encodedBehind(seed, [&](const uint8_t* source, int32_t index, int32_t* consumed, uint8_t* target,
                                   int32_t* written, const uint8_t* dictionary, int32_t size) {
        Bytes table(kHashTableSize);
        library.ozrsEncodeLZ4LoadDict_8u(table.data(), dictionary, size);
        return library.ozrsEncodeLZ4Dict_8u(source, index, *consumed, target, written, table.data(), dictionary, size);
    });
}

Bytes encodeLz4DictSafe(const Library& library, uint64_t seed) {
    return encodedBehind(seed, [&](const uint8_t* source, int32_t index, int32_t* consumed, uint8_t* target,
                                   int32_t* written, const uint8_t* dictionary, int32_t size) {
        Bytes table(kHashTableSize);
        library.ozrsEncodeLZ4LoadDict_8u(table.data(), dictionary, size);
        *written /= 2;
        return library.ozrsEncodeLZ4DictSafe_8u(source, index, consumed, target, written, table.data(), dictionary,
                                                size);
    });
}

// The tables of the high-compression encoder, cleared.
struct HighTables {
    explicit HighTables(const Library& library) {
        library.ozrsEncodeLZ4HCHashTableGetSize_8u(&headSize, &chainSize);
        heads.assign(headSize, 0xEE);
        chains.assign(chainSize, 0xEE);
        pointers = {heads.data(), chains.data()};
        status = library.ozrsEncodeLZ4HCHashTableInit_8u(pointers.data());
    }
    uint32_t headSize = 0;
    uint32_t chainSize = 0;
    Bytes heads;
    Bytes chains;
    std::array<uint8_t*, 2> pointers{};
    Status status = StatusOk;
};

Bytes highTables(const Library& library, uint64_t /*seed*/) {
    const HighTables tables(library);
    return Results() << tables.status << static_cast<int32_t>(tables.headSize) << static_cast<int32_t>(tables.chainSize)
                     << tables.heads << tables.chains;
}

Bytes encodedHigh(const Library& library, uint64_t seed, decltype(&ozrsEncodeLZ4HC_8u) encode) {
    return encodedBehind(seed, [&](const uint8_t* source, int32_t index, int32_t* consumed, uint8_t* target,
                                   int32_t* written, const uint8_t* dictionary, int32_t size) {
        HighTables tables(library);
        const auto level = static_cast<int32_t>(seed % 10);
        int32_t entered = size;
        int32_t thrownAway = *written;
        encode(dictionary, 0, &entered, target, &thrownAway, tables.pointers.data(), nullptr, 0, level);
        return encode(source, index, consumed, target, written, tables.pointers.data(), dictionary, size, level);
    });
}

Bytes encodeLz4High(const Library& library, uint64_t seed) {
    return encodedHigh(library, seed, library.ozrsEncodeLZ4HC_8u);
}

Bytes encodeLz4HighLimited(const Library& library, uint64_t seed) {
    return encodedHigh(library, seed, library.ozrsEncodeLZ4HCDictLimit_8u);
}

// --- Deflate --------------------------------------------------------------------------------------------------------

constexpr int32_t kWindow = 4096;
constexpr int32_t kHashSize = 8192;

struct Records {
    std::vector<int32_t> head = std::vector<int32_t>(kHashSize, -32768);
    std::vector<int32_t> prev = std::vector<int32_t>(kWindow, -32768);
    std::vector<uint32_t> literalCounts = std::vector<uint32_t>(286);
    std::vector<uint32_t> distanceCounts = std::vector<uint32_t>(30);
    Bytes literals;
    std::vector<uint16_t> distances;
    Status status = StatusOk;
};

// Calls parse(source, length, index, window, records..., free records) on the data of the seed.
template <typename Parse>
Records parsed(uint64_t seed, Parse parse) {
    const Bytes source = data(seed);
    Records r;
    r.literals.resize(source.size());
    r.distances.resize(source.size());
    const uint8_t* at = source.data();
    int32_t left = sizeOf(source);
    int32_t index = 0;
    int32_t room = left;
    r.status = parse(&at, &left, &index, source.data(), kWindow, r.head.data(), r.prev.data(), kHashSize,
                     r.literalCounts.data(), r.distanceCounts.data(), r.literals.data(), r.distances.data(), &room);
    r.literals.resize(source.size() - static_cast<std::size_t>(room));
    r.distances.resize(r.literals.size());
    return r;
}

Results& operator<<(Results& results, const Records& r) {
    for (const int32_t entry : r.head) results << entry;
    for (const int32_t entry : r.prev) results << entry;
    for (const uint32_t count : r.literalCounts) results << count;
    for (const uint32_t count : r.distanceCounts) results << count;
    for (const uint16_t distance : r.distances) results << distance;
    return results << r.literals << r.status;
}

// A result made of a fresh collection.
template <typename Value>
Bytes resultOf(const Value& value) {
    Results results;
    results << value;
    return results;
}

Bytes parseAtLevel(const Library& library, uint64_t seed) {
    return resultOf(parsed(seed, [&](auto... arguments) {
        return library.ozrsDeflateLZ77_8u(arguments..., static_cast<int32_t>(seed % 30), 2);
    }));
}

constexpr int32_t kEffort[] = {20, 16, 64, 32};

Records parsedFast(const Library& library, uint64_t seed) {
    return parsed(seed, [&](auto... arguments) { return library.ozrsDeflateLZ77Fast_8u(arguments..., kEffort, 2); });
}

Bytes parseFast(const Library& library, uint64_t seed) { return resultOf(parsedFast(library, seed)); }

Bytes parseSlow(const Library& library, uint64_t seed) {
    return resultOf(parsed(seed, [&](auto... arguments) {
        return library.ozrsDeflateLZ77Slow_8u(arguments..., kEffort, static_cast<int32_t>(seed % 3));
    }));
}

Bytes updateHash(const Library& library, uint64_t seed) {
    const Bytes bytes = data(seed);
    Records r;
    r.status = library.ozrsDeflateUpdateHash_8u(bytes.data(), 100, sizeOf(bytes), r.head.data(), kHashSize,
                                                r.prev.data(), kWindow, static_cast<int32_t>(seed % 2));
    return resultOf(r);
}

Bytes setDictionary(const Library& library, uint64_t seed) {
    const Bytes bytes = data(seed);
    Records r;
    r.literals.resize(kWindow);
    r.status = library.ozrsDeflateDictionarySet_8u(bytes.data(), sizeOf(bytes), r.head.data(), kHashSize, r.prev.data(),
                                                   r.literals.data(), kWindow, static_cast<int32_t>(seed % 2));
    return resultOf(r);
}

// A code of 9 bits for every literal and length and of 5 bits for every distance: not reversed, and not complete, which
// the output of records does not mind.
template <std::size_t symbols>
std::vector<DeflateHuffCode> plainCode(uint16_t length) {
    std::vector<DeflateHuffCode> codes(symbols);
    for (std::size_t i = 0; i < symbols; ++i) codes[i] = {static_cast<uint16_t>(i), length};
    return codes;
}

Bytes writeRecords(const Library& library, uint64_t seed) {
    const Records r = parsedFast(library, seed);
    Bytes target(7 * r.literals.size());
    uint16_t code = 5;
    int32_t codeLength = 3;
    int32_t index = 0;
    const Status status =
        library.ozrsDeflateHuff_8u(r.literals.data(), r.distances.data(), sizeOf(r.literals), &code, &codeLength,
                                   plainCode<286>(9).data(), plainCode<30>(5).data(), target.data(), &index);
    target.resize(static_cast<std::size_t>(index));
    return Results() << status << code << codeLength << target;
}

// What the statistics of the data's parse are.
Records statistics(const Library& library, uint64_t seed) {
    const Bytes source = data(seed);
    Records r;
    const uint8_t* at = source.data();
    int32_t left = sizeOf(source);
    int32_t index = 0;
    r.status = library.ozrsDeflateLZ77FastestGetStat_8u(&at, &left, &index, source.data(), kWindow, r.head.data(),
                                                        kHashSize, r.literalCounts.data(), r.distanceCounts.data(), 2);
    return r;
}

Bytes countSymbols(const Library& library, uint64_t seed) { return resultOf(statistics(library, seed)); }

// A prepared code and its header.
struct Prepared {
    std::vector<DeflateHuffCode> literals = std::vector<DeflateHuffCode>(286);
    std::vector<DeflateHuffCode> distances = std::vector<DeflateHuffCode>(30);
    Bytes header = Bytes(OZRDC_DEFLATE_HEADER_SIZE);
    int32_t headerSize = 0;
    int32_t headerBits = 0;
    Status status = StatusOk;

    Prepared(const Library& library, uint64_t seed) {
        const Records r = statistics(library, seed);
        status = library.ozrsDeflateLZ77FastestGenHuffTable_8u(r.literalCounts.data(), r.distanceCounts.data(),
                                                               literals.data(), distances.data());
    }
};

Bytes makeCodes(const Library& library, uint64_t seed) {
    const Prepared prepared(library, seed);
    Results results;
    for (const auto* codes : {&prepared.literals, &prepared.distances}) {
        for (const DeflateHuffCode& code : *codes) results << code.code << code.len;
    }
    return results << prepared.status;
}

Status addHeader(const Library& library, Prepared& prepared) {
    return library.ozrsDeflateLZ77FastestGenHeader_8u(prepared.literals.data(), prepared.distances.data(),
                                                      prepared.header.data(), &prepared.headerSize,
                                                      &prepared.headerBits);
}

Bytes makeHeader(const Library& library, uint64_t seed) {
    Prepared prepared(library, seed);
    const Status status = addHeader(library, prepared);
    prepared.header.resize(static_cast<std::size_t>(prepared.headerSize));
    return Results() << status << prepared.headerBits << prepared.header;
}

// Calls encode(source, length, index, window, ..., index of the destination) on the data of the seed, with the bits
// that open a block pending.
template <typename Encode>
Bytes encodedInOnePass(uint64_t seed, uint16_t opening, Encode encode) {
    const Bytes source = data(seed);
    std::vector<int32_t> head(kHashSize, -32768);
    Bytes target(2 * source.size() + OZRDC_DEFLATE_HEADER_SIZE);
    const uint8_t* at = source.data();
    int32_t left = sizeOf(source);
    int32_t index = 0;
    int32_t codeLength = 3;
    int32_t written = 0;
    const Status status = encode(&at, &left, &index, source.data(), kWindow, head.data(), kHashSize, &opening,
                                 &codeLength, target.data(), sizeOf(target), &written);
    target.resize(static_cast<std::size_t>(written));
    return Results() << status << left << opening << codeLength << target;
}

Bytes encodeWithFixedCode(const Library& library, uint64_t seed) {
    return encodedInOnePass(seed, 0b011,
                            [&](auto... arguments) { return library.ozrsDeflateLZ77Fastest_8u(arguments..., 2); });
}

Bytes encodeWithPreparedCode(const Library& library, uint64_t seed) {
    Prepared prepared(library, seed);
    addHeader(library, prepared);
    return encodedInOnePass(seed, 0b101, [&](auto... arguments) {
        return library.ozrsDeflateLZ77FastestPrecompHeader_8u(arguments..., prepared.literals.data(),
                                                              prepared.distances.data(), prepared.header.data(),
                                                              prepared.headerBits, 2);
    });
}

// --- Inflate --------------------------------------------------------------------------------------------------------

// Codes for some literals, lengths and distances and for the end of the block, each longer by a bit than the one before
// it: up to 15 bits for tables of the general kind, up to 10 for short ones.
struct Ladder {
    uint32_t literals = 288;
    uint32_t distances = 30;
    std::vector<uint16_t> lengths = std::vector<uint16_t>(288 + 30);

    explicit Ladder(uint64_t seed) {
        const auto longest = static_cast<uint16_t>(seed % 2 == 0 ? 15 : 10);
        for (uint16_t length = 1; length <= longest; ++length) {
            lengths[length % 3 == 0 ? 256U + length : 20U * length] = length;
            lengths[288U + length] = length;
        }
        lengths[256] = lengths[288] = longest;
    }
};

Bytes buildTables(const Library& library, uint64_t seed) {
    const Ladder codes(seed);
    InflateState state{};
    const Status status =
        library.ozrsInflateBuildHuffTable(codes.lengths.data(), codes.literals, codes.distances, &state);
    Results results;
    results << status << state.tableKind << state.maxLitLen << state.maxDistLen;
    for (const uint8_t byte : state.tables) results << byte;
    return results;
}

// Decodes the data as if it were blocks, a hundred bytes at a time, until something is wrong with it.
Bytes inflate(const Library& library, uint64_t seed) {
    const Bytes stream = data(seed);
    Bytes window(32768, 0x55);
    InflateState state{};
    state.pWindow = window.data();
    state.winSize = 32768;
    if (seed % 3 > 0) {
        const Ladder codes(seed);
        library.ozrsInflateBuildHuffTable(codes.lengths.data(), codes.literals, codes.distances, &state);
    }
    const uint8_t* source = stream.data();
    auto left = static_cast<uint32_t>(stream.size());
    uint32_t code = 0;
    uint32_t codeLength = 0;
    uint32_t mode = 0;
    Results results;
    for (Status status = StatusOk; status == StatusOk && mode != 1;) {
        Bytes target(100);
        uint8_t* output = target.data();
        uint32_t room = 100;
        status = library.ozrsInflate_8u(&source, &left, &code, &codeLength, 1000, &output, &room, 0, &mode, &state);
        target.resize(100 - room);
        results << status << mode << left << code << codeLength << target;
        if (mode == 0 && left == 0) break;
        if (mode == 2 && left == 0 && room > 0) break;
    }
    return results;
}

// --- LZO1X ----------------------------------------------------------------------------------------------------------

Bytes lzoStateSize(const Library& library, uint64_t seed) {
    uint32_t size = 0;
    const Status status = library.ozrsEncodeLZOGetSize(static_cast<uint32_t>(seed % 3), 0, &size);
    return Results() << status << size;
}

Bytes encodeLzo(const Library& library, uint64_t seed) {
    const Bytes source = data(seed);
    Bytes memory(131104);
    auto* const state = reinterpret_cast<LZOState*>(memory.data());
    Bytes stream(source.size() + source.size() / 16 + 67);
    auto size = static_cast<uint32_t>(stream.size());
    Status status = library.ozrsEncodeLZOInit_8u(static_cast<uint32_t>(seed % 3), 0, state);
    if (status == StatusOk) {
        status =
            library.ozrsEncodeLZO_8u(source.data(), static_cast<uint32_t>(source.size()), stream.data(), &size, state);
    }
    if (status != StatusOk) return Results() << status;
    stream.resize(size);
    return stream;
}

template <auto decoder>
Bytes decodeLzo(const Library& library, uint64_t seed) {
    const Bytes stream = encodeLzo(library, seed);
    Bytes target(data(seed).size());
    auto size = static_cast<uint32_t>(target.size());
    const Status status = (library.*decoder)(stream.data(), static_cast<uint32_t>(stream.size()), target.data(), &size);
    return Results() << status << size << target;
}

// --- LZSS -----------------------------------------------------------------------------------------------------------

int32_t lzssStateSize(const Library& library) {
    int32_t size = 0;
    library.ozrsLZSSGetSize_8u(&size);
    return size;
}

// The data of the seed as a stream: two calls and the flush.
Bytes encodeLzss(const Library& library, uint64_t seed) {
    const Bytes source = data(seed);
    Bytes memory(static_cast<std::size_t>(lzssStateSize(library)));
    auto* const state = reinterpret_cast<LZSSState*>(memory.data());
    Bytes target(2 * source.size());
    const uint8_t* at = source.data();
    uint8_t* to = target.data();
    int32_t room = sizeOf(target);
    Status status = library.ozrsEncodeLZSSInit_8u(state);
    for (const int32_t size : {700, sizeOf(source) - 700}) {
        int32_t left = size;
        status |= library.ozrsEncodeLZSS_8u(&at, &left, &to, &room, state);
    }
    status |= library.ozrsEncodeLZSSFlush_8u(&to, &room, state);
    if (status != StatusOk) return Results() << status;
    target.resize(target.size() - static_cast<std::size_t>(room));
    return target;
}

Bytes decodeLzss(const Library& library, uint64_t seed) {
    const Bytes stream = encodeLzss(library, seed);
    Bytes memory(static_cast<std::size_t>(lzssStateSize(library)));
    auto* const state = reinterpret_cast<LZSSState*>(memory.data());
    Bytes target(data(seed).size());
    const uint8_t* at = stream.data();
    int32_t left = sizeOf(stream);
    uint8_t* to = target.data();
    int32_t room = sizeOf(target);
    const Status prepared = library.ozrsDecodeLZSSInit_8u(state);
    const Status status = library.ozrsDecodeLZSS_8u(&at, &left, &to, &room, state);
    return Results() << prepared << status << left << room << target;
}

// --- Block sorting: run lengths -------------------------------------------------------------------------------------

// Memory for a state of the size that the library asks for.
class State {
  public:
    explicit State(int32_t size) : words_(static_cast<std::size_t>(size) / sizeof(uint64_t) + 1) {}
    template <typename T>
    T* as() {
        return reinterpret_cast<T*>(words_.data());
    }

  private:
    std::vector<uint64_t> words_;
};

State runLengthState(const Library& library) {
    int32_t size = 0;
    library.ozrsRLEGetSize_BZ2_8u(&size);
    return State(size);
}

// Encodes the data in two pieces, flushes the run, and gives the values in use.
struct RunLengthCode {
    Bytes bytes;
    Bytes inUse = Bytes(256);
    Results results;

    RunLengthCode(const Library& library, uint64_t seed) {
        const Bytes source = data(seed);
        State state = runLengthState(library);
        auto* const rle = state.as<RLEState>();
        results << library.ozrsEncodeRLEInit_BZ2_8u(rle);
        bytes.resize(2 * source.size());
        const uint8_t* at = source.data();
        std::size_t total = 0;
        for (int32_t left : {300, sizeOf(source) - 300}) {
            auto room = static_cast<int32_t>(bytes.size() - total);
            results << library.ozrsEncodeRLE_BZ2_8u(&at, &left, bytes.data() + total, &room, rle) << left;
            total += static_cast<std::size_t>(room);
        }
        int32_t room = 1;
        results << library.ozrsEncodeRLEFlush_BZ2_8u(bytes.data() + total, &room, rle);
        bytes.resize(total + static_cast<std::size_t>(room));
        results << library.ozrsRLEGetInUseTable_8u(inUse.data(), rle) << bytes << inUse;
    }
};

Bytes encodeRunLengths(const Library& library, uint64_t seed) { return RunLengthCode(library, seed).results; }

Bytes runLengthSize(const Library& library, uint64_t /*seed*/) {
    int32_t size = 0;
    const Status status = library.ozrsRLEGetSize_BZ2_8u(&size);
    return Results() << status << size;
}

// Decodes the data as if it were run-length code, into a destination that may be too small.
Bytes decodeRunLengths(const Library& library, uint64_t seed) {
    const Bytes source = data(seed);
    State state = runLengthState(library);
    auto* const rle = state.as<RLEState>();
    Results results;
    results << library.ozrsDecodeRLEStateInit_BZ2_8u(rle);
    const uint8_t* at = source.data();
    int32_t left = sizeOf(source);
    Bytes target(source.size() + 1000);
    uint8_t* output = target.data();
    auto room = static_cast<int32_t>(target.size() - 500);
    results << library.ozrsDecodeRLEState_BZ2_8u(&at, &left, &output, &room, rle) << left << room;
    room += 500;
    results << library.ozrsDecodeRLEStateFlush_BZ2_8u(rle, &output, &room);
    target.resize(target.size() - static_cast<std::size_t>(room));
    return results << target;
}

// --- Block sorting: the transform -----------------------------------------------------------------------------------

struct SortedBlock {
    Bytes lastColumn;
    int32_t index = -1;
};

// The block sort with the scratch of that size.
template <typename Sort>
SortedBlock sortedBlock(uint64_t seed, int32_t scratchSize, Sort sort) {
    const Bytes block = data(seed);
    SortedBlock result{Bytes(block.size())};
    Bytes scratch(static_cast<std::size_t>(scratchSize));
    sort(block.data(), result.lastColumn.data(), sizeOf(block), &result.index, scratch.data());
    return result;
}

SortedBlock sortedBlock(const Library& library, uint64_t seed) {
    int32_t size = 0;
    library.ozrsBWTFwdGetSize_8u(sizeOf(data(seed)), &size);
    return sortedBlock(seed, size, library.ozrsBWTFwd_8u);
}

Bytes sortBlock(const Library& library, uint64_t seed) {
    const SortedBlock sorted = sortedBlock(library, seed);
    return Results() << sorted.lastColumn << sorted.index;
}

Bytes sortScratchSize(const Library& library, uint64_t seed) {
    int32_t size = 0;
    const Status status = library.ozrsBWTFwdGetSize_8u(1 + static_cast<int32_t>(seed % 1000000), &size);
    return Results() << status << size;
}

Bytes sortBlockByStrategy(const Library& library, uint64_t seed) {
    Results results;
    for (uint32_t strategy = 0; strategy < 4; ++strategy) {
        int32_t size = 0;
        const auto length = static_cast<uint32_t>(data(seed).size());
        results << library.ozrsBWTFwdGetBufSize_SelectSort_8u(length, &size, strategy) << size;
        const SortedBlock sorted = sortedBlock(
            seed, size, [&](const uint8_t* source, uint8_t* target, int32_t /*len*/, int32_t* index, uint8_t* scratch) {
                results << library.ozrsBWTFwd_SelectSort_8u(source, target, length, index, scratch, strategy);
            });
        results << sorted.lastColumn << sorted.index;
    }
    return results;
}

Bytes invertBlock(const Library& library, uint64_t seed) {
    const SortedBlock sorted = sortedBlock(library, seed);
    int32_t size = 0;
    Results results;
    results << library.ozrsBWTInvGetSize_8u(sizeOf(sorted.lastColumn), &size) << size;
    Bytes scratch(static_cast<std::size_t>(size));
    Bytes block(sorted.lastColumn.size());
    results << library.ozrsBWTInv_8u(sorted.lastColumn.data(), block.data(), sizeOf(block), sorted.index,
                                     scratch.data());
    return results << block;
}

// Decodes the data as if it were symbols of a block.
Bytes decodeBlock(const Library& library, uint64_t seed) {
    Bytes inUse(256, 1);
    inUse[seed % 256] = 0;
    std::vector<uint16_t> symbols;
    for (const uint8_t byte : data(seed)) symbols.push_back(byte);
    constexpr int32_t kCapacity = 100000;
    int32_t size = 0;
    Results results;
    results << library.ozrsDecodeBlockGetSize_BZ2_8u(kCapacity, &size) << size;
    Bytes scratch(static_cast<std::size_t>(size));
    Bytes block(kCapacity);
    int32_t length = kCapacity;
    results << library.ozrsDecodeBlock_BZ2_16u8u(symbols.data(), static_cast<int32_t>(symbols.size()), block.data(),
                                                 &length, 0, 255, inUse.data(), scratch.data());
    return results << length << block;
}

// --- Block sorting: move-to-front and dictionary --------------------------------------------------------------------

template <auto function>
Bytes moveToFront(const Library& library, uint64_t seed) {
    const Bytes source = data(seed);
    int32_t size = 0;
    Results results;
    results << library.ozrsMTFGetSize_8u(&size) << size;
    State memory(size);
    auto* const state = memory.as<MTFState>();
    results << library.ozrsMTFInit_8u(state);
    Bytes target(source.size());
    results << (library.*function)(source.data(), target.data(), 400, state);
    results << (library.*function)(source.data() + 400, target.data() + 400, sizeOf(source) - 400, state);
    return results << target << Bytes(memory.as<uint8_t>(), memory.as<uint8_t>() + size);
}

Bytes renameBytes(const Library& library, uint64_t seed) {
    Bytes bytes = data(seed);
    Bytes inUse(256);
    for (const uint8_t byte : bytes) inUse[byte] = 1;
    int32_t size = 0;
    Results results;
    results << library.ozrsReduceDictionary_8u_I(inUse.data(), bytes.data(), sizeOf(bytes), &size) << size << bytes;
    return results << library.ozrsExpandDictionary_8u_I(inUse.data(), bytes.data(), sizeOf(bytes), size) << bytes;
}

// --- Block sorting: zero runs ---------------------------------------------------------------------------------------

using Symbols = std::vector<uint16_t>;

Bytes encodeZeroRuns(const Library& library, uint64_t seed) {
    const Bytes source = data(seed);
    const uint8_t* at = source.data();
    int32_t left = sizeOf(source);
    Symbols symbols(source.size() - 100);
    auto written = static_cast<int32_t>(symbols.size());
    std::vector<uint32_t> frequencies(257);
    Results results;
    results << library.ozrsEncodeZ1Z2_BZ2_8u16u(&at, &left, symbols.data(), &written, frequencies.data()) << left;
    symbols.resize(static_cast<std::size_t>(written));
    for (const uint16_t symbol : symbols) results << symbol;
    for (const uint32_t count : frequencies) results << count;
    return results;
}

Bytes decodeZeroRuns(const Library& library, uint64_t seed) {
    Symbols symbols;
    for (const uint8_t byte : data(seed)) symbols.push_back(byte);
    const uint16_t* at = symbols.data();
    auto left = static_cast<int32_t>(symbols.size());
    Bytes ranks(symbols.size());
    int32_t written = sizeOf(ranks);
    Results results;
    results << library.ozrsDecodeZ1Z2_BZ2_16u8u(&at, &left, ranks.data(), &written) << left;
    ranks.resize(static_cast<std::size_t>(written));
    return results << ranks;
}

// --- Block sorting: Huffman -----------------------------------------------------------------------------------------

// The data as symbols, coded: description of the tables and symbols in one stream.
struct HuffmanStream {
    static constexpr int32_t kAlphabet = 257;  // 256 is the end of the block

    Bytes bytes;
    Results results;

    HuffmanStream(const Library& library, uint64_t seed) {
        Symbols symbols;
        for (const uint8_t byte : data(seed)) symbols.push_back(byte);
        symbols.push_back(kAlphabet - 1);
        std::vector<uint32_t> frequencies(kAlphabet);
        for (const uint16_t symbol : symbols) ++frequencies[symbol];
        auto length = static_cast<int32_t>(symbols.size());
        int32_t size = 0;
        results << library.ozrsEncodeHuffGetSize_BZ2_16u8u(length, &size) << size;
        State memory(size);
        auto* const state = memory.as<HuffEncState>();
        results << library.ozrsEncodeHuffInit_BZ2_16u8u(kAlphabet, frequencies.data(), symbols.data(), length, state);

        bytes.resize(3 * symbols.size() + 6000);
        uint32_t code = 0xA0000000;
        int32_t pending = 3;
        int32_t described = sizeOf(bytes);
        results << library.ozrsPackHuffContext_BZ2_16u8u(&code, &pending, bytes.data(), &described, state);
        results << described << code << pending;
        const uint16_t* at = symbols.data();
        int32_t written = sizeOf(bytes) - described;
        results << library.ozrsEncodeHuff_BZ2_16u8u(&code, &pending, &at, &length, bytes.data() + described, &written,
                                                    state);
        results << length << code << pending;
        bytes.resize(static_cast<std::size_t>(described + written));
        for (; pending > 0; pending -= 8, code <<= 8) bytes.push_back(static_cast<uint8_t>(code >> 24));
        results << bytes;
        bytes.insert(bytes.end(), 3, 0);  // bits to look ahead at
    }
};

Bytes encodeHuffman(const Library& library, uint64_t seed) { return HuffmanStream(library, seed).results; }

Bytes decodeHuffman(const Library& library, uint64_t seed) {
    const HuffmanStream stream(library, seed);
    Results results;
    int32_t size = 0;
    results << library.ozrsDecodeHuffGetSize_BZ2_8u16u(100000, &size) << size;
    State memory(size);
    auto* const state = memory.as<HuffDecState>();
    results << library.ozrsDecodeHuffInit_BZ2_8u16u(HuffmanStream::kAlphabet, state);
    const uint8_t* at = stream.bytes.data() + 1;
    int32_t left = sizeOf(stream.bytes) - 1;
    uint32_t code = uint32_t{stream.bytes[0]} << 27;  // without the three bits in front
    int32_t pending = 5;
    results << library.ozrsUnpackHuffContext_BZ2_8u16u(&code, &pending, &at, &left, state) << left << code << pending;
    Symbols symbols(100000);
    for (Status status = StatusDestinationFull; status == StatusDestinationFull;) {
        auto written = static_cast<int32_t>(1 + seed % 20000);
        status = library.ozrsDecodeHuff_BZ2_8u16u(&code, &pending, &at, &left, symbols.data(), &written, state);
        results << status << written << left << code << pending;
        for (int32_t i = 0; i < written; ++i) results << symbols[static_cast<std::size_t>(i)];
    }
    return results;
}

// --- Library --------------------------------------------------------------------------------------------------------

Bytes version(const Library& library, uint64_t /*seed*/) {
    const LibraryVersion& v = *library.ozrdcGetLibVersion();
    return Results() << v.major << v.minor << v.majorBuild << v.build << v.targetCpu << v.name << v.version
                     << v.buildDate;
}

// --- ZFP ------------------------------------------------------------------------------------------------------------

constexpr std::size_t kZfpValues = 64;

struct ZfpStream {
    Results results;
    Bytes bytes;
    std::size_t blocks;
};

// A stream of blocks whose floats are made of the data, all of them finite.
ZfpStream zfpStream(const Library& library, uint64_t seed) {
    const Bytes bytes = data(seed);
    ZfpStream stream{{}, {}, bytes.size() / kZfpValues};
    Results& results = stream.results;
    int32_t size = 0;
    results << library.ozrsEncodeZfpGetStateSize_32f(&size) << size;
    State memory(size);
    auto* const state = memory.as<ZfpState>();
    stream.bytes.resize(300 * stream.blocks + 8);
    if (seed % 2 == 0) {
        results << library.ozrsEncodeZfpInit_32f(stream.bytes.data(), sizeOf(stream.bytes), state);
    } else {
        results << library.ozrsEncodeZfpInitLong_32f(stream.bytes.data(), stream.bytes.size(), state);
    }
    results << library.ozrsEncodeZfpSet_32f(10, 1000, 25, -20, state);
    for (std::size_t n = 0; n < stream.blocks; ++n) {
        if (n == 10) results << library.ozrsEncodeZfpSetAccuracy_32f(0.25, state);
        std::array<float, kZfpValues> block;
        for (std::size_t i = 0; i < kZfpValues; ++i) block[i] = static_cast<float>(bytes[kZfpValues * n + i]) - 100;
        results << library.ozrsEncodeZfp444_32f(block.data(), 16, 64, state);
    }
    uint64_t bits = 0;
    results << library.ozrsEncodeZfpGetCompressedBitSize_32f(state, &bits) << bits;
    results << library.ozrsEncodeZfpFlush_32f(state);
    results << library.ozrsEncodeZfpGetCompressedSize_32f(state, &size) << size;
    uint64_t longSize = 0;
    results << library.ozrsEncodeZfpGetCompressedSizeLong_32f(state, &longSize) << longSize;
    stream.bytes.resize(longSize);
    return stream;
}

Bytes encodeZfp(const Library& library, uint64_t seed) {
    ZfpStream stream = zfpStream(library, seed);
    return stream.results << stream.bytes;
}

Bytes decodeZfp(const Library& library, uint64_t seed) {
    const ZfpStream stream = zfpStream(library, seed);
    Results results;
    int32_t size = 0;
    results << library.ozrsDecodeZfpGetStateSize_32f(&size) << size;
    State memory(size);
    auto* const state = memory.as<ZfpState>();
    if (seed % 2 == 0) {
        results << library.ozrsDecodeZfpInit_32f(stream.bytes.data(), sizeOf(stream.bytes), state);
    } else {
        results << library.ozrsDecodeZfpInitLong_32f(stream.bytes.data(), stream.bytes.size(), state);
    }
    results << library.ozrsDecodeZfpSet_32f(10, 1000, 25, -20, state);
    for (std::size_t n = 0; n < stream.blocks; ++n) {
        if (n == 10) results << library.ozrsDecodeZfpSetAccuracy_32f(0.25, state);
        Bytes block(kZfpValues * sizeof(float));
        results << library.ozrsDecodeZfp444_32f(state, reinterpret_cast<float*>(block.data()), 16, 64) << block;
    }
    uint64_t longSize = 0;
    results << library.ozrsDecodeZfpGetDecompressedSize_32f(state, &size) << size;
    results << library.ozrsDecodeZfpGetDecompressedSizeLong_32f(state, &longSize) << longSize;
    return results;
}

}  // namespace

Library linkedLibrary() {
    return {
#define OZRDC_EXPORT(name) &::name,
#include "core/exports.inc"
#undef OZRDC_EXPORT
    };
}

const std::vector<Exercise>& everyPrimitive() {
    static const std::vector<Exercise> exercises{
        {"ozrsAdler32_8u", checksum<&Library::ozrsAdler32_8u>},
        {"ozrsCRC32_8u", checksum<&Library::ozrsCRC32_8u>},
        {"ozrsCRC32_BZ2_8u", checksum<&Library::ozrsCRC32_BZ2_8u>},
        {"ozrsCRC32C_8u", crc32c},
        {"ozrsEncodeLZ4_8u", encodeLz4},
        {"ozrsEncodeLZ4Fast_8u", encodeLz4Fast},
        {"ozrsEncodeLZ4Safe_8u", encodeLz4Safe},
        {"ozrsEncodeLZ4HashTableGetSize_8u", hashTableGetSize},
        {"ozrsEncodeLZ4HashTableInit_8u", hashTableInit},
        {"ozrsEncodeLZ4DictHashTableInit_8u", dictionaryTableInit},
        {"ozrsEncodeLZ4LoadDict_8u", loadDictionary},
        {"ozrsEncodeLZ4Dict_8u", encodeLz4Dict},
        {"ozrsEncodeLZ4DictSafe_8u", encodeLz4DictSafe},
        {"ozrsEncodeLZ4HCHashTableGetSize_8u", highTables},
        {"ozrsEncodeLZ4HCHashTableInit_8u", highTables},
        {"ozrsEncodeLZ4HC_8u", encodeLz4High},
        {"ozrsEncodeLZ4HCDictLimit_8u", encodeLz4HighLimited},
        {"ozrsDecodeLZ4_8u", decodeLz4},
        {"ozrsDecodeLZ4Dict_8u", decodeLz4Dict},
        {"ozrsDeflateLZ77_8u", parseAtLevel},
        {"ozrsDeflateLZ77Fast_8u", parseFast},
        {"ozrsDeflateLZ77Slow_8u", parseSlow},
        {"ozrsDeflateUpdateHash_8u", updateHash},
        {"ozrsDeflateDictionarySet_8u", setDictionary},
        {"ozrsDeflateHuff_8u", writeRecords},
        {"ozrsDeflateLZ77FastestGetStat_8u", countSymbols},
        {"ozrsDeflateLZ77FastestGenHuffTable_8u", makeCodes},
        {"ozrsDeflateLZ77FastestGenHeader_8u", makeHeader},
        {"ozrsDeflateLZ77FastestPrecompHeader_8u", encodeWithPreparedCode},
        {"ozrsDeflateLZ77Fastest_8u", encodeWithFixedCode},
        {"ozrsInflateBuildHuffTable", buildTables},
        {"ozrsInflate_8u", inflate},
        {"ozrsEncodeLZOGetSize", lzoStateSize},
        {"ozrsEncodeLZOInit_8u", encodeLzo},
        {"ozrsEncodeLZO_8u", encodeLzo},
        {"ozrsDecodeLZOSafe_8u", decodeLzo<&Library::ozrsDecodeLZOSafe_8u>},
        {"ozrsDecodeLZO_8u", decodeLzo<&Library::ozrsDecodeLZO_8u>},
        {"ozrsLZSSGetSize_8u", encodeLzss},
        {"ozrsEncodeLZSSInit_8u", encodeLzss},
        {"ozrsEncodeLZSS_8u", encodeLzss},
        {"ozrsEncodeLZSSFlush_8u", encodeLzss},
        {"ozrsDecodeLZSSInit_8u", decodeLzss},
        {"ozrsDecodeLZSS_8u", decodeLzss},
        {"ozrsRLEGetSize_BZ2_8u", runLengthSize},
        {"ozrsEncodeRLEInit_BZ2_8u", encodeRunLengths},
        {"ozrsEncodeRLE_BZ2_8u", encodeRunLengths},
        {"ozrsEncodeRLEFlush_BZ2_8u", encodeRunLengths},
        {"ozrsRLEGetInUseTable_8u", encodeRunLengths},
        {"ozrsDecodeRLEStateInit_BZ2_8u", decodeRunLengths},
        {"ozrsDecodeRLEState_BZ2_8u", decodeRunLengths},
        {"ozrsDecodeRLEStateFlush_BZ2_8u", decodeRunLengths},
        {"ozrsBWTFwdGetSize_8u", sortScratchSize},
        {"ozrsBWTFwd_8u", sortBlock},
        {"ozrsBWTFwdGetBufSize_SelectSort_8u", sortBlockByStrategy},
        {"ozrsBWTFwd_SelectSort_8u", sortBlockByStrategy},
        {"ozrsBWTInvGetSize_8u", invertBlock},
        {"ozrsBWTInv_8u", invertBlock},
        {"ozrsDecodeBlockGetSize_BZ2_8u", decodeBlock},
        {"ozrsDecodeBlock_BZ2_16u8u", decodeBlock},
        {"ozrsMTFGetSize_8u", moveToFront<&Library::ozrsMTFFwd_8u>},
        {"ozrsMTFInit_8u", moveToFront<&Library::ozrsMTFInv_8u>},
        {"ozrsMTFFwd_8u", moveToFront<&Library::ozrsMTFFwd_8u>},
        {"ozrsMTFInv_8u", moveToFront<&Library::ozrsMTFInv_8u>},
        {"ozrsReduceDictionary_8u_I", renameBytes},
        {"ozrsExpandDictionary_8u_I", renameBytes},
        {"ozrsEncodeZ1Z2_BZ2_8u16u", encodeZeroRuns},
        {"ozrsDecodeZ1Z2_BZ2_16u8u", decodeZeroRuns},
        {"ozrsEncodeHuffGetSize_BZ2_16u8u", encodeHuffman},
        {"ozrsEncodeHuffInit_BZ2_16u8u", encodeHuffman},
        {"ozrsPackHuffContext_BZ2_16u8u", encodeHuffman},
        {"ozrsEncodeHuff_BZ2_16u8u", encodeHuffman},
        {"ozrsDecodeHuffGetSize_BZ2_8u16u", decodeHuffman},
        {"ozrsDecodeHuffInit_BZ2_8u16u", decodeHuffman},
        {"ozrsUnpackHuffContext_BZ2_8u16u", decodeHuffman},
        {"ozrsDecodeHuff_BZ2_8u16u", decodeHuffman},
        {"ozrsEncodeZfpGetStateSize_32f", encodeZfp},
        {"ozrsEncodeZfpInit_32f", encodeZfp},
        {"ozrsEncodeZfpInitLong_32f", encodeZfp},
        {"ozrsEncodeZfpSet_32f", encodeZfp},
        {"ozrsEncodeZfpSetAccuracy_32f", encodeZfp},
        {"ozrsEncodeZfp444_32f", encodeZfp},
        {"ozrsEncodeZfpFlush_32f", encodeZfp},
        {"ozrsEncodeZfpGetCompressedSize_32f", encodeZfp},
        {"ozrsEncodeZfpGetCompressedSizeLong_32f", encodeZfp},
        {"ozrsEncodeZfpGetCompressedBitSize_32f", encodeZfp},
        {"ozrsDecodeZfpGetStateSize_32f", decodeZfp},
        {"ozrsDecodeZfpInit_32f", decodeZfp},
        {"ozrsDecodeZfpInitLong_32f", decodeZfp},
        {"ozrsDecodeZfpSet_32f", decodeZfp},
        {"ozrsDecodeZfpSetAccuracy_32f", decodeZfp},
        {"ozrsDecodeZfp444_32f", decodeZfp},
        {"ozrsDecodeZfpGetDecompressedSize_32f", decodeZfp},
        {"ozrsDecodeZfpGetDecompressedSizeLong_32f", decodeZfp},
        {"ozrdcGetLibVersion", version},
    };
    return exercises;
}

}  // namespace ozrdc::test
