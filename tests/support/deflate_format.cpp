// See the header. The tables are those of the RFC, typed out; everything else goes bit by bit.
#include "support/deflate_format.h"

#include <algorithm>
#include <stdexcept>

namespace ozrdc::test::deflate {

const std::array<CodeRange, 29> kLengthCodes{
    {{3, 0},  {4, 0},  {5, 0},  {6, 0},   {7, 0},   {8, 0},   {9, 0},   {10, 0},  {11, 1}, {13, 1},
     {15, 1}, {17, 1}, {19, 2}, {23, 2},  {27, 2},  {31, 2},  {35, 3},  {43, 3},  {51, 3}, {59, 3},
     {67, 4}, {83, 4}, {99, 4}, {115, 4}, {131, 5}, {163, 5}, {195, 5}, {227, 5}, {258, 0}}};

const std::array<CodeRange, 30> kDistanceCodes{
    {{1, 0},     {2, 0},     {3, 0},     {4, 0},      {5, 1},      {7, 1},     {9, 2},     {13, 2},
     {17, 3},    {25, 3},    {33, 4},    {49, 4},     {65, 5},     {97, 5},    {129, 6},   {193, 6},
     {257, 7},   {385, 7},   {513, 8},   {769, 8},    {1025, 9},   {1537, 9},  {2049, 10}, {3073, 10},
     {4097, 11}, {6145, 11}, {8193, 12}, {12289, 12}, {16385, 13}, {24577, 13}}};

void BitWriter::put(uint64_t bits, unsigned count) {
    for (unsigned i = 0; i < count; ++i, ++size_) {
        if (size_ % 8 == 0) bytes_.push_back(0);
        if (((bits >> i) & 1) != 0) bytes_.back() = static_cast<uint8_t>(bytes_.back() | (1U << (size_ % 8)));
    }
}

std::optional<uint32_t> BitReader::take(unsigned count) {
    if (position_ + count > 8 * bytes_.size()) return std::nullopt;
    const auto bits = static_cast<uint32_t>(bitsAt(bytes_, position_, count));
    position_ += count;
    return bits;
}

uint64_t bitsAt(ByteView bytes, std::size_t position, unsigned count) {
    uint64_t bits = 0;
    for (unsigned i = 0; i < count; ++i) {
        const std::size_t at = position + i;
        if (at / 8 < bytes.size() && ((bytes[at / 8] >> (at % 8)) & 1) != 0) bits |= uint64_t{1} << i;
    }
    return bits;
}

std::vector<Code> canonicalCodes(std::span<const uint16_t> lengths) {
    std::vector<Code> codes(lengths.size());
    uint32_t next = 0;
    for (unsigned length = 1; length <= kMaxCodeLength; ++length) {
        next <<= 1;
        for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
            if (lengths[symbol] != length) continue;
            uint32_t reversed = 0;
            for (unsigned i = 0; i < length; ++i) {
                if (((next >> i) & 1) != 0) reversed |= 1U << (length - 1 - i);
            }
            codes[symbol] = {static_cast<uint16_t>(reversed), static_cast<uint16_t>(length)};
            ++next;
        }
    }
    return codes;
}

Completeness completeness(std::span<const uint16_t> lengths) {
    uint64_t sum = 0;
    for (const uint16_t length : lengths) {
        if (length > 0) sum += uint64_t{1} << (kMaxCodeLength - length);
    }
    constexpr uint64_t whole = uint64_t{1} << kMaxCodeLength;
    if (sum == 0) return Completeness::Empty;
    if (sum == whole) return Completeness::Complete;
    return sum < whole ? Completeness::Incomplete : Completeness::Oversubscribed;
}

unsigned longest(std::span<const uint16_t> lengths) {
    return lengths.empty() ? 0 : *std::max_element(lengths.begin(), lengths.end());
}

Lengths BlockCodes::joined() const {
    Lengths all = literals;
    all.insert(all.end(), distances.begin(), distances.end());
    return all;
}

BlockCodes fixedCodes() {
    BlockCodes codes;
    codes.literals.assign(144, 8);
    codes.literals.insert(codes.literals.end(), 112, 9);
    codes.literals.insert(codes.literals.end(), 24, 7);
    codes.literals.insert(codes.literals.end(), 8, 8);
    codes.distances.assign(30, 5);
    return codes;
}

unsigned lengthCode(unsigned length) {
    unsigned code = 28;
    while (kLengthCodes[code].first > length) --code;
    return code;
}

unsigned distanceCode(unsigned distance) {
    unsigned code = 29;
    while (kDistanceCodes[code].first > distance) --code;
    return code;
}

namespace {

// The symbol whose code the stream continues with: nothing if the stream ends inside every code that begins so.
// A bit string with which no code begins gives the symbol kNoSymbol.
constexpr unsigned kNoSymbol = 1000;
struct Found {
    unsigned symbol;
    std::size_t certain;
    std::size_t end;
};

class Decoder {
  public:
    explicit Decoder(std::span<const uint16_t> lengths) : longest_(longest(lengths)), meanings_(longest_ + 1) {
        for (unsigned length = 0; length <= longest_; ++length)
            meanings_[length].assign(std::size_t{1} << length, kNoCode);
        const std::vector<Code> codes = canonicalCodes(lengths);
        for (std::size_t symbol = 0; symbol < codes.size(); ++symbol) {
            const Code& code = codes[symbol];
            if (code.length == 0) continue;
            for (unsigned n = 0; n < code.length; ++n) meanings_[n][code.bits & ((1U << n) - 1)] = kBeginning;
            meanings_[code.length][code.bits] = static_cast<uint16_t>(symbol);
        }
    }

    std::optional<Found> next(BitReader reader) const {
        const std::size_t begin = reader.position();
        uint32_t bits = 0;
        for (unsigned length = 0; length <= longest_; ++length) {
            if (length > 0) {
                const auto bit = reader.take(1);
                if (!bit) return std::nullopt;
                bits |= *bit << (length - 1);
            }
            const uint16_t meaning = meanings_[length][bits];
            if (meaning == kNoCode) return Found{kNoSymbol, begin + length, begin + longest_};
            if (meaning != kBeginning) return Found{meaning, begin + length, begin + length};
        }
        return std::nullopt;
    }

  private:
    // What a string of bits is: a symbol's code, the beginning of one, or neither.
    static constexpr uint16_t kBeginning = 0xFFFE;
    static constexpr uint16_t kNoCode = 0xFFFF;

    unsigned longest_;
    std::vector<std::vector<uint16_t>> meanings_;  // by length and bits
};

Symbol readSymbol(BitReader& reader, const Decoder& literals, const Decoder& distances, UnusedSymbols unused) {
    Symbol result;
    result.begin = reader.position();
    const auto first = literals.next(reader);
    if (!first) return result;
    result.certain = first->certain;
    result.end = first->end;
    if (first->symbol != kNoSymbol) result.codeEnd = first->end;
    reader.moveTo(first->end);
    if (first->symbol < kEndOfBlock ||
        (first->symbol >= 286 && first->symbol != kNoSymbol && unused == UnusedSymbols::LiteralZero)) {
        result.kind = Symbol::Kind::Literal;
        result.literal = static_cast<uint8_t>(first->symbol < kEndOfBlock ? first->symbol : 0);
        return result;
    }
    if (first->symbol == kEndOfBlock) {
        result.kind = Symbol::Kind::EndOfBlock;
        return result;
    }
    if (first->symbol >= 286) {
        result.kind = Symbol::Kind::Invalid;
        return result;
    }
    result.certain = SIZE_MAX;
    result.end = SIZE_MAX;
    const CodeRange lengthRange = kLengthCodes[first->symbol - kFirstLength];
    const auto lengthExtra = reader.take(lengthRange.extraBits);
    if (!lengthExtra) return result;
    const auto second = distances.next(reader);
    if (!second) return result;
    if (second->symbol == kNoSymbol) {
        result.kind = Symbol::Kind::InvalidDistance;
        result.certain = second->certain;
        result.end = second->end;
        return result;
    }
    reader.moveTo(second->end);
    const CodeRange distanceRange = kDistanceCodes[second->symbol];
    const auto distanceExtra = reader.take(distanceRange.extraBits);
    if (!distanceExtra) return result;
    result.kind = Symbol::Kind::Match;
    result.length = lengthRange.first + *lengthExtra;
    result.distance = distanceRange.first + *distanceExtra;
    result.end = reader.position();
    return result;
}

}  // namespace

std::vector<Symbol> readSymbols(ByteView stream, std::size_t position, const BlockCodes& codes, UnusedSymbols unused) {
    const Decoder literals(codes.literals);
    const Decoder distances(codes.distances);
    BitReader reader(stream, position);
    std::vector<Symbol> symbols;
    do {
        symbols.push_back(readSymbol(reader, literals, distances, unused));
    } while (symbols.back().kind == Symbol::Kind::Literal || symbols.back().kind == Symbol::Kind::Match);
    return symbols;
}

bool execute(std::span<const Symbol> symbols, Bytes& output) {
    for (const Symbol& symbol : symbols) {
        if (symbol.kind == Symbol::Kind::EndOfBlock) return true;
        if (symbol.kind == Symbol::Kind::Literal) {
            output.push_back(symbol.literal);
        } else if (symbol.kind == Symbol::Kind::Match && symbol.distance <= output.size()) {
            for (unsigned i = 0; i < symbol.length; ++i) output.push_back(output[output.size() - symbol.distance]);
        } else {
            return false;
        }
    }
    return false;
}

std::optional<BlockHeader> readHeader(BitReader& reader) {
    BlockHeader header;
    const auto last = reader.take(1);
    const auto type = reader.take(2);
    if (!last || !type || *type == 3) return std::nullopt;
    header.last = *last == 1;
    header.type = *type;
    if (header.type == 0) {
        reader.alignToByte();
        const auto size = reader.take(16);
        const auto complement = reader.take(16);
        if (!size || !complement || (*size ^ 0xFFFF) != *complement) return std::nullopt;
        header.storedSize = *size;
        return header;
    }
    if (header.type == 1) {
        header.codes = fixedCodes();
        return header;
    }
    const auto literalCount = reader.take(5);
    const auto distanceCount = reader.take(5);
    const auto metaCount = reader.take(4);
    if (!literalCount || !distanceCount || !metaCount) return std::nullopt;
    if (*literalCount + 257 > 286 || *distanceCount + 1 > 30) return std::nullopt;
    static constexpr std::array<uint8_t, 19> order{16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    Lengths meta(19);
    for (unsigned i = 0; i < *metaCount + 4; ++i) {
        const auto length = reader.take(3);
        if (!length) return std::nullopt;
        meta[order[i]] = static_cast<uint16_t>(*length);
    }
    if (completeness(meta) != Completeness::Complete) return std::nullopt;
    const Decoder decoder(meta);
    const std::size_t total = *literalCount + 257 + *distanceCount + 1;
    Lengths all;
    while (all.size() < total) {
        const auto found = decoder.next(reader);
        if (!found || found->symbol == kNoSymbol) return std::nullopt;
        reader.moveTo(found->end);
        if (found->symbol < 16) {
            all.push_back(static_cast<uint16_t>(found->symbol));
            continue;
        }
        if (found->symbol == 16 && all.empty()) return std::nullopt;
        const uint16_t repeated = found->symbol == 16 ? all.back() : uint16_t{0};
        const auto more = reader.take(found->symbol == 16 ? 2 : found->symbol == 17 ? 3 : 7);
        if (!more) return std::nullopt;
        all.insert(all.end(), *more + (found->symbol == 18 ? 11 : 3), repeated);
    }
    if (all.size() != total) return std::nullopt;
    const auto middle = all.begin() + static_cast<std::ptrdiff_t>(*literalCount + 257);
    header.codes = {Lengths(all.begin(), middle), Lengths(middle, all.end())};
    return header;
}

void writeDynamicHeader(BitWriter& writer, const BlockCodes& codes, bool last) {
    if (codes.literals.size() < 257 || codes.distances.empty()) throw std::invalid_argument("too few code lengths");
    writer.put(last ? 1 : 0, 1);
    writer.put(2, 2);
    writer.put(codes.literals.size() - 257, 5);
    writer.put(codes.distances.size() - 1, 5);
    writer.put(19 - 4, 4);
    // Sixteen lengths, each sent as a code of four bits.
    static constexpr std::array<uint8_t, 19> order{16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    Lengths meta(19, 4);
    meta[16] = meta[17] = meta[18] = 0;
    for (const uint8_t symbol : order) writer.put(meta[symbol], 3);
    const std::vector<Code> metaCodes = canonicalCodes(meta);
    for (const uint16_t length : codes.joined()) writer.put(metaCodes[length].bits, metaCodes[length].length);
}

std::optional<Bytes> inflateStream(ByteView stream, ByteView history, std::size_t* end) {
    BitReader reader(stream);
    Bytes output(history.begin(), history.end());
    for (bool last = false; !last;) {
        const auto header = readHeader(reader);
        if (!header) return std::nullopt;
        last = header->last;
        if (header->type == 0) {
            for (std::size_t i = 0; i < header->storedSize; ++i) {
                const auto byte = reader.take(8);
                if (!byte) return std::nullopt;
                output.push_back(static_cast<uint8_t>(*byte));
            }
            continue;
        }
        const auto symbols = readSymbols(stream, reader.position(), header->codes, UnusedSymbols::Invalid);
        if (!execute(symbols, output)) return std::nullopt;
        reader.moveTo(symbols.back().end);
    }
    if (end != nullptr) *end = reader.position();
    output.erase(output.begin(), output.begin() + static_cast<std::ptrdiff_t>(history.size()));
    return output;
}

SymbolWriter::SymbolWriter(BitWriter& writer, const BlockCodes& codes)
    : writer_(&writer), literals_(canonicalCodes(codes.literals)), distances_(canonicalCodes(codes.distances)) {
    literals_.resize(288);
    distances_.resize(30);
}

bool SymbolWriter::canWriteLiteral(unsigned symbol) const { return literals_[symbol].length > 0; }

bool SymbolWriter::canWriteMatch(unsigned length, unsigned distance) const {
    return literals_[kFirstLength + lengthCode(length)].length > 0 && distances_[distanceCode(distance)].length > 0;
}

void SymbolWriter::literal(uint8_t byte) { code(literals_[byte]); }

void SymbolWriter::match(unsigned length, unsigned distance) {
    const unsigned l = lengthCode(length);
    code(literals_[kFirstLength + l]);
    writer_->put(length - kLengthCodes[l].first, kLengthCodes[l].extraBits);
    const unsigned d = distanceCode(distance);
    code(distances_[d]);
    writer_->put(distance - kDistanceCodes[d].first, kDistanceCodes[d].extraBits);
}

void SymbolWriter::endOfBlock() { code(literals_[kEndOfBlock]); }

}  // namespace ozrdc::test::deflate
