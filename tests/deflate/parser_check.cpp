// See the header.
#include "deflate/parser_check.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <type_traits>

namespace ozrdc::test::deflate {
namespace {

using ::testing::AssertionFailure;
using ::testing::AssertionResult;
using ::testing::AssertionSuccess;

// The same for all checks, because mapping pages costs more than most of the calls.
struct CallBuffers {
    explicit CallBuffers(Guard guard)
        : source(guard),
          history(guard),
          head(guard),
          prev(guard),
          literalCounts(guard),
          distanceCounts(guard),
          literals(guard),
          distances(guard) {}
    GuardedArena source, history, head, prev, literalCounts, distanceCounts, literals, distances;
};

CallBuffers& callBuffers(Guard guard) {
    static CallBuffers after(Guard::After);
    static CallBuffers before(Guard::Before);
    return guard == Guard::After ? after : before;
}

template <typename Number>
std::span<Number> takeArray(GuardedArena& arena, std::span<const Number> contents) {
    const std::span<uint8_t> bytes = arena.take(contents.size_bytes());
    std::memcpy(bytes.data(), contents.data(), contents.size_bytes());
    return {reinterpret_cast<Number*>(bytes.data()), contents.size()};
}

std::string describe(std::span<const Record> records, std::size_t i) {
    if (i >= records.size()) return "none";
    std::ostringstream text;
    if (records[i].distance == 0) {
        text << "literal " << unsigned{records[i].literal};
    } else {
        text << "length " << records[i].length << ", distance " << records[i].distance;
    }
    return text.str();
}

template <typename A, typename B>
std::optional<std::size_t> firstDifference(const A& a, const B& b) {
    if constexpr (std::is_integral_v<typename B::value_type>) {  // most of the tables are alike
        const auto size = a.size() * sizeof(typename B::value_type);
        if (a.size() == b.size() && std::memcmp(a.data(), b.data(), size) == 0) return std::nullopt;
    }
    const auto [at, other] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (at == a.end() && other == b.end()) return std::nullopt;
    return static_cast<std::size_t>(at - a.begin());
}

}  // namespace

std::span<int32_t> takeTable(GuardedArena& arena, std::span<const int32_t> contents) {
    return takeArray(arena, contents);
}

ParserCheck::ParserCheck(std::size_t windowSize, std::size_t hashSize, Guard guard)
    : windowSize_(static_cast<int32_t>(windowSize)),
      hashSize_(static_cast<int32_t>(hashSize)),
      tables_(hashSize, windowSize),
      guard_(guard) {}

AssertionResult ParserCheck::parses(ByteView source, const Search& search, int32_t flush, int64_t freeRecords,
                                    HistoryPlace place) {
    CallBuffers& buffers = callBuffers(guard_);
    const auto historySize = static_cast<std::size_t>(std::clamp<int64_t>(index_, 0, windowSize_));
    const ByteView history = ByteView(stream_).last(historySize);

    std::span<uint8_t> sourceBytes;
    std::span<uint8_t> historyBytes;
    if (place == HistoryPlace::InFront) {
        const std::span<uint8_t> both = buffers.source.take(historySize + source.size());
        std::copy(history.begin(), history.end(), both.begin());
        std::copy(source.begin(), source.end(), both.begin() + static_cast<std::ptrdiff_t>(historySize));
        historyBytes = both.first(historySize);
        sourceBytes = both.last(source.size());
    } else {
        sourceBytes = buffers.source.take(source);
        historyBytes = buffers.history.take(history);
    }
    const auto head = takeArray<int32_t>(buffers.head, tables_.head);
    const auto prev = takeArray<int32_t>(buffers.prev, tables_.prev);
    const auto literalCounts = takeArray<uint32_t>(buffers.literalCounts, literalCounts_);
    const auto distanceCounts = takeArray<uint32_t>(buffers.distanceCounts, distanceCounts_);
    const auto room = static_cast<std::size_t>(std::max<int64_t>(freeRecords, 0));
    const std::span<uint8_t> literals = buffers.literals.take(room);
    auto* const distances = reinterpret_cast<uint16_t*>(buffers.distances.take(2 * room).data());

    const int64_t indexBefore = index_;
    const Parsed expected =
        parse({source, index_, history, freeRecords, flush >= 2}, search.strategy, search.effort, tables_);
    for (std::size_t i = 0; i < literalCounts_.size(); ++i) literalCounts_[i] += expected.literalCounts[i];
    for (std::size_t i = 0; i < distanceCounts_.size(); ++i) distanceCounts_[i] += expected.distanceCounts[i];

    const uint8_t* at = sourceBytes.data();
    auto left = static_cast<int32_t>(source.size());
    auto index = static_cast<int32_t>(index_);
    auto free = static_cast<int32_t>(freeRecords);
    const auto call = [&](auto function, auto parameters) {
        return function(&at, &left, &index, historyBytes.data(), windowSize_, head.data(), prev.data(), hashSize_,
                        literalCounts.data(), distanceCounts.data(), literals.data(), distances, &free, parameters,
                        flush);
    };
    const std::array<int32_t, 4> parameters{search.effort.maxChain, search.effort.goodLength, search.effort.niceLength,
                                            search.effort.maxLazy};
    const Status status = search.level                        ? call(ozrsDeflateLZ77_8u, *search.level)
                          : search.strategy == Strategy::Slow ? call(ozrsDeflateLZ77Slow_8u, parameters.data())
                                                              : call(ozrsDeflateLZ77Fast_8u, parameters.data());

    const auto failure = [&] {
        auto result = AssertionFailure();
        if (search.level) result << "level " << *search.level;
        for (const int32_t n : parameters) result << ' ' << n;
        return result << ", strategy " << static_cast<int>(search.strategy) << ", window " << windowSize_ << ", hashes "
                      << hashSize_ << ", index " << indexBefore << ", " << source.size() << " bytes, flush " << flush
                      << ", " << freeRecords << " records free, history " << historySize
                      << (place == HistoryPlace::InFront ? " in front" : " apart") << ":\n  ";
    };
    if (status != StatusOk) return failure() << "status " << status;
    const auto consumed = at - sourceBytes.data();
    std::vector<Record> records;
    for (int64_t i = 0; i < freeRecords - free; ++i) {
        const auto n = static_cast<std::size_t>(i);
        records.push_back(distances[n] == 0 ? Record{literals[n], 1, 0} : Record{0, literals[n] + 3U, distances[n]});
    }
    if (const auto i = firstDifference(records, expected.records)) {
        std::size_t position = 0;
        for (std::size_t n = 0; n < *i; ++n) position += records[n].length;
        return failure() << "record " << *i << " of " << records.size() << " and " << expected.records.size()
                         << ", at byte " << position << ": " << describe(records, *i) << " instead of "
                         << describe(expected.records, *i);
    }
    if (consumed != expected.consumed || left != std::ssize(source) - expected.consumed) {
        return failure() << "consumed " << consumed << " bytes instead of " << expected.consumed << ", " << left
                         << " left";
    }
    if (index != expected.sourceIndex) return failure() << "index " << index << " instead of " << expected.sourceIndex;
    if (const auto i = firstDifference(head, tables_.head)) {
        return failure() << "head " << *i << " is " << head[*i] << " instead of " << tables_.head[*i];
    }
    if (const auto i = firstDifference(prev, tables_.prev)) {
        return failure() << "prev " << *i << " is " << prev[*i] << " instead of " << tables_.prev[*i];
    }
    if (const auto i = firstDifference(literalCounts, literalCounts_)) {
        return failure() << "count of symbol " << *i << " is " << literalCounts[*i] << " instead of "
                         << literalCounts_[*i];
    }
    if (const auto i = firstDifference(distanceCounts, distanceCounts_)) {
        return failure() << "count of distance code " << *i << " is " << distanceCounts[*i];
    }
    const ByteView parsedBytes = source.first(static_cast<std::size_t>(consumed));
    const Bytes decoded = bytesOf(records, history);
    if (!std::equal(decoded.begin(), decoded.end(), parsedBytes.begin(), parsedBytes.end())) {
        return failure() << "the records do not decode to the source";
    }
    if (!std::equal(history.begin(), history.end(), historyBytes.begin())) return failure() << "written to the window";

    stream_.insert(stream_.end(), parsedBytes.begin(), parsedBytes.end());
    index_ = index;
    consumed_ = consumed;
    records_ = std::move(records);
    return AssertionSuccess();
}

}  // namespace ozrdc::test::deflate
