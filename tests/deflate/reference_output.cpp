// See the header.
#include "deflate/reference_output.h"

#include <functional>
#include <queue>

namespace ozrdc::test::deflate {

HuffCodes huffCodes(std::span<const uint16_t> lengths) {
    HuffCodes result;
    for (const Code& code : canonicalCodes(lengths)) result.push_back({code.bits, code.length});
    return result;
}

Lengths lengthsOf(std::span<const DeflateHuffCode> codes) {
    Lengths lengths;
    for (const DeflateHuffCode& code : codes) lengths.push_back(code.len);
    return lengths;
}

bool areCanonical(std::span<const DeflateHuffCode> codes) {
    const std::vector<Code> expected = canonicalCodes(lengthsOf(codes));
    for (std::size_t i = 0; i < codes.size(); ++i) {
        if (codes[i].code != expected[i].bits) return false;
    }
    return true;
}

void writeRecords(BitWriter& writer, std::span<const Record> records, const HuffCodes& literals,
                  const HuffCodes& distances) {
    const auto put = [&](const DeflateHuffCode& code) { writer.put(code.code, code.len); };
    for (const Record& record : records) {
        if (record.distance == 0) {
            put(literals[record.literal]);
            continue;
        }
        const unsigned l = lengthCode(record.length);
        put(literals[kFirstLength + l]);
        writer.put(record.length - kLengthCodes[l].first, kLengthCodes[l].extraBits);
        const unsigned d = distanceCode(record.distance);
        put(distances[d]);
        writer.put(record.distance - kDistanceCodes[d].first, kDistanceCodes[d].extraBits);
    }
}

uint64_t optimalCost(std::span<const uint64_t> frequencies) {
    std::priority_queue<uint64_t, std::vector<uint64_t>, std::greater<>> nodes(frequencies.begin(), frequencies.end());
    uint64_t cost = 0;
    while (nodes.size() > 1) {
        const uint64_t lightest = nodes.top();
        nodes.pop();
        const uint64_t sum = lightest + nodes.top();
        nodes.pop();
        nodes.push(sum);
        cost += sum;
    }
    return cost;
}

uint64_t costOf(std::span<const uint64_t> frequencies, std::span<const uint16_t> lengths) {
    uint64_t cost = 0;
    for (std::size_t i = 0; i < frequencies.size(); ++i) cost += frequencies[i] * lengths[i];
    return cost;
}

}  // namespace ozrdc::test::deflate
