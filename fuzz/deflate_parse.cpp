// Searches matches in arbitrary bytes, in arbitrary calls with arbitrary parameters and tables, compares every call
// with the reference, and writes the records as a block that must decode to the source.
//
// Input: level or parameters (1 byte), seed of parameters, cuts and tables (4), sizes of window and hash table (2
// each), flags (1), repetition (1), the source. A repetition of 240 and above repeats the source with small changes.

#include <algorithm>

#include "deflate/parser_check.h"
#include "deflate/reference_output.h"
#include "fuzz_input.h"

namespace {

using namespace ozrdc::test;
using namespace ozrdc::test::deflate;
using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;

enum Flags : uint8_t { kGarbageInTables = 1, kIndexNearTheEnd = 2, kNoPowersOfTwo = 4, kGuardInFront = 8 };

Bytes sourceOf(Input& input) {
    const auto repetition = input.take<uint8_t>();
    Bytes source(input.rest().begin(), input.rest().end());
    if (source.empty() || repetition < 240) return source;
    const std::size_t period = source.size();
    for (std::size_t i = period; source.size() < 4000; ++i) {
        const bool differs = i % (period + repetition) == 0;
        source.push_back(static_cast<uint8_t>(source[i - period] + (differs ? 1 : 0)));
    }
    return source;
}

// Any parameters that are accepted.
Search searchOf(uint8_t choice, Random& random) {
    if (choice < 30) return Search::atLevel(choice);
    const auto length = [&] { return static_cast<int32_t>(4 + random.below(random.oneIn(2) ? 16 : 300)); };
    const auto chain = static_cast<int32_t>(random.below(uint64_t{1} << random.below(10)));
    const Effort effort{chain, length(), length(), length()};
    if (choice % 2 == 0) return Search::fast(effort);
    return Search::slow({std::max(chain, 1), effort.goodLength, effort.niceLength, effort.maxLazy});
}

// Writes the records with the fixed code, into just the room that the worst case needs, and decodes them.
void requireRoundTrip(const std::vector<Record>& records, ByteView source, ByteView history) {
    static const HuffCodes literalCodes = huffCodes(fixedCodes().literals);
    static const HuffCodes distanceCodes = huffCodes(fixedCodes().distances);
    ExactBuffer literals(records.size());
    ExactBuffer distances(2 * records.size());
    std::size_t worst = 3;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const bool match = records[i].distance != 0;
        literals.data()[i] = match ? static_cast<uint8_t>(records[i].length - 3) : records[i].literal;
        reinterpret_cast<uint16_t*>(distances.data())[i] = static_cast<uint16_t>(records[i].distance);
        worst += match ? 48 : 15;
    }
    ExactBuffer target(worst / 8);
    uint16_t bits = 0b011;
    int32_t count = 3;
    int32_t written = 0;
    require(ozrsDeflateHuff_8u(literals.data(), reinterpret_cast<uint16_t*>(distances.data()),
                               static_cast<int32_t>(records.size()), &bits, &count, literalCodes.data(),
                               distanceCodes.data(), target.data(), &written) == StatusOk,
            "the records are written");
    Bytes stream(target.data(), target.data() + written);
    // The end of the block is seven zeros.
    stream.push_back(static_cast<uint8_t>(bits));
    stream.push_back(0);
    const auto decoded = inflateStream(stream, history);
    require(decoded && std::equal(decoded->begin(), decoded->end(), source.begin(), source.end()),
            "the block decodes to the source");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto choice = input.take<uint8_t>();
    Random random(input.take<uint32_t>());
    std::size_t windowSize = 256 + input.take<uint16_t>() % 32513;
    std::size_t hashSize = 256 + input.take<uint16_t>() % 65281;
    const auto flags = input.take<uint8_t>();
    const Bytes source = sourceOf(input);
    if ((flags & kNoPowersOfTwo) == 0) {
        windowSize = std::size_t{1} << (8 + windowSize % 8);
        hashSize = std::size_t{1} << (8 + hashSize % 9);
    }

    ParserCheck parser(windowSize, hashSize, (flags & kGuardInFront) != 0 ? Guard::Before : Guard::After);
    Bytes before;
    if ((flags & kIndexNearTheEnd) != 0) {
        before = source;
        before.resize(windowSize);
        parser.startAt(0x7FFFFFFF - static_cast<int64_t>(windowSize) - random.between(0, 3 * std::ssize(source)) - 1,
                       before);
        if (parser.index() + std::ssize(source) > 0x7FFFFFFF) return 0;
    }
    if ((flags & kGarbageInTables) != 0) {
        for (std::vector<int32_t>* const table : {&parser.tables().head, &parser.tables().prev}) {
            for (int32_t& entry : *table) {
                entry = static_cast<int32_t>(random.oneIn(4) ? static_cast<int64_t>(random.next())
                                                             : parser.index() + random.between(-1000, 1000));
            }
        }
    }
    const Search search = searchOf(choice, random);
    uint64_t mostBytes = 1 + random.below(uint64_t{1} << random.below(14));
    uint64_t mostRecords = 1 + random.below(uint64_t{1} << random.below(14));
    std::vector<Record> records;
    std::size_t given = 0;
    int calls = 0;
    for (std::size_t consumed = 0; consumed < source.size(); ++calls) {
        if (calls == 30) mostBytes = mostRecords = 100000;  // enough of small pieces
        given = std::min(source.size(), std::max(given, consumed) + random.below(mostBytes + 1));
        const bool last = given == source.size();
        const auto result =
            parser.parses(ByteView(source).first(given).subspan(consumed), search, last || random.oneIn(8) ? 2 : 0,
                          static_cast<int64_t>(1 + random.below(mostRecords)),
                          random.oneIn(2) ? HistoryPlace::InFront : HistoryPlace::Apart);
        require(result, result.message());
        consumed += static_cast<std::size_t>(parser.consumed());
        records.insert(records.end(), parser.records().begin(), parser.records().end());
    }
    requireRoundTrip(records, source, before);
    return 0;
}
