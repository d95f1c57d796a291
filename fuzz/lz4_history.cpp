// Encodes arbitrary bytes with the LZ4 encoders that take a history, with arbitrary tables too, compares blocks and
// tables with the reference's, and decodes the blocks again.
//
// Input: encoder, kind of history and of table (1 byte), level (1), capacity (2), size of the history (2), the source
// index less that size (2), then history and source.

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "fuzz_input.h"
#include "lz4/reference_encoder.h"
#include "lz4/reference_high_encoder.h"
#include "ozrdc.h"

namespace {

using ozrdc::fuzz::ExactBuffer;
using ozrdc::fuzz::Input;
using ozrdc::fuzz::require;
using namespace ozrdc::test::lz4;

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

// Table entries of a call on other data: positions around those of this one.
template <typename Entry>
void makeStale(std::vector<Entry>& table, int64_t most) {
    uint32_t state = static_cast<uint32_t>(most);
    for (Entry& entry : table) {
        state = state * 1664525U + 1013904223U;
        entry = static_cast<Entry>((state >> 8) % static_cast<uint32_t>(most + 1));
    }
}

// A table as the library takes it, and the comparison with what it should have become.
template <typename Entry>
struct TableBuffer {
    explicit TableBuffer(const std::vector<Entry>& table) : bytes(table.size() * sizeof(Entry)) {
        std::memcpy(bytes.data(), table.data(), bytes.size());
    }
    void requireIs(const std::vector<Entry>& expected) {
        require(std::memcmp(bytes.data(), expected.data(), bytes.size()) == 0, "the table is the reference's");
    }
    ExactBuffer bytes;
};

void requireRoundTrip(ByteView block, bool endsBehindMatch, ByteView source, ByteView history) {
    if (source.empty()) return;
    Bytes closed(block.begin(), block.end());
    // As many literals as the format wants at the end of a block.
    if (endsBehindMatch) closed.insert(closed.end(), {0x50, '.', '.', '.', '.', '.'});
    const std::size_t size = source.size() + (endsBehindMatch ? 5 : 0);
    ExactBuffer exactBlock(closed);
    ExactBuffer memory(history.size() + size);
    std::copy(history.begin(), history.end(), memory.data());
    auto consumed = static_cast<int32_t>(closed.size());
    auto written = static_cast<int32_t>(size);
    const auto historySize = static_cast<int32_t>(history.size());
    const Status status = ozrsDecodeLZ4Dict_8u(exactBlock.data(), &consumed, memory.data(), historySize, &written,
                                               memory.data(), historySize);
    require(status == StatusOk, "the block decodes");
    require(written == static_cast<int64_t>(size), "it decodes to all of the source");
    require(std::equal(source.begin(), source.end(), memory.data() + history.size()), "it decodes to the source");
}

// The source and its history as arguments.
struct Placed {
    Placed(ByteView source, const EncoderHistory& history)
        : memory(history.separate ? source.size() : history.history.size() + source.size()), separate(history.history) {
        const std::size_t front = memory.size() - source.size();
        std::copy_n(history.history.begin(), front, memory.data());
        std::copy(source.begin(), source.end(), memory.data() + front);
        pSrc = memory.data() + front;
        pDict = history.separate ? separate.data() : nullptr;
        dictSize = static_cast<int32_t>(history.history.size());
    }
    ExactBuffer memory;
    ExactBuffer separate;
    const uint8_t* pSrc;
    const uint8_t* pDict;
    int32_t dictSize;
};

void checkHashTable(ByteView source, const EncoderHistory& history, const PositionTable& before, int64_t capacity) {
    Placed placed(source, history);
    const auto srcIdx = static_cast<int32_t>(history.srcIdx);
    {
        PositionTable after = before;
        const Bytes expected = encodeWithHistory(after, source, history);
        TableBuffer<int32_t> table(before);
        ExactBuffer target(static_cast<std::size_t>(worstCase(std::ssize(source))));
        int32_t written = 0;
        require(ozrsEncodeLZ4Dict_8u(placed.pSrc, srcIdx, static_cast<int32_t>(source.size()), target.data(), &written,
                                     table.bytes.data(), placed.pDict, placed.dictSize) == StatusOk,
                "encoding succeeds");
        const ByteView block = target.span().first(static_cast<std::size_t>(written));
        require(std::equal(block.begin(), block.end(), expected.begin(), expected.end()),
                "the block is the reference's");
        table.requireIs(after);
        requireRoundTrip(block, false, source, history.history);
    }
    PositionTable after = before;
    const BoundedBlock expected = encodeWithHistoryBounded(after, source, history, capacity);
    TableBuffer<int32_t> table(before);
    ExactBuffer target(static_cast<std::size_t>(capacity));
    auto consumed = static_cast<int32_t>(source.size());
    auto written = static_cast<int32_t>(capacity);
    const Status status = ozrsEncodeLZ4DictSafe_8u(placed.pSrc, srcIdx, &consumed, target.data(), &written,
                                                   table.bytes.data(), placed.pDict, placed.dictSize);
    require(status == expected.status && consumed == expected.consumed, "status and count are the reference's");
    const ByteView block = target.span().first(static_cast<std::size_t>(written));
    require(std::equal(block.begin(), block.end(), expected.block.begin(), expected.block.end()),
            "the block is the reference's");
    table.requireIs(after);
    requireRoundTrip(block, false, source.first(static_cast<std::size_t>(consumed)), history.history);
}

void checkHigh(ByteView source, const EncoderHistory& history, const ChainTables& before, int64_t capacity,
               int32_t level) {
    Placed placed(source, history);
    ChainTables after = before;
    const BoundedBlock expected = encodeHigh(after, source, history, capacity, level);
    TableBuffer<uint32_t> heads(before.heads);
    TableBuffer<uint32_t> links(before.links);
    std::array<uint8_t*, 2> tables{heads.bytes.data(), links.bytes.data()};
    ExactBuffer target(static_cast<std::size_t>(capacity));
    auto consumed = static_cast<int32_t>(source.size());
    auto written = static_cast<int32_t>(capacity);
    const Status status =
        ozrsEncodeLZ4HC_8u(placed.pSrc, static_cast<int32_t>(history.srcIdx), &consumed, target.data(), &written,
                           tables.data(), placed.pDict, placed.dictSize, level);
    require(status == expected.status && consumed == expected.consumed, "status and count are the reference's");
    const ByteView block = target.span().first(static_cast<std::size_t>(written));
    require(std::equal(block.begin(), block.end(), expected.block.begin(), expected.block.end()),
            "the block is the reference's");
    heads.requireIs(after.heads);
    links.requireIs(after.links);
    requireRoundTrip(block, status != StatusOk, source.first(static_cast<std::size_t>(consumed)), history.history);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    Input input(data, size);
    const auto kinds = input.take<uint8_t>();
    const bool high = (kinds & 1) != 0;
    const bool separate = (kinds & 2) != 0;
    const bool stale = (kinds & 4) != 0;
    const auto level = static_cast<int32_t>(input.take<int8_t>());
    const int64_t capacity = 1 + input.take<uint16_t>();
    const std::size_t historySize = input.take<uint16_t>();
    const auto further = input.take<uint16_t>();
    const ByteView bytes = input.rest();
    if (historySize >= bytes.size() || (separate && historySize == 0)) return 0;

    EncoderHistory history{static_cast<int64_t>(historySize), bytes.first(historySize), separate};
    // In front of the source, all of the history is there; elsewhere, it may be anywhere.
    if (separate) history.srcIdx += further;
    const ByteView source = bytes.subspan(historySize);

    if (high) {
        ChainTables tables;
        if (stale) {
            makeStale(tables.heads, history.srcIdx + 1000);
            makeStale(tables.links, history.srcIdx + 1000);
        } else if (historySize > 0) {
            encodeHigh(tables, history.history, {}, worstCase(std::ssize(history.history)), level);
        }
        checkHigh(source, history, tables, capacity, level);
    } else {
        PositionTable table(kPositionTableEntries);
        if (stale) {
            makeStale(table, history.srcIdx + 1000);
        } else {
            loadDictionary(table, history.history);
        }
        checkHashTable(source, history, table, capacity);
    }
    return 0;
}
