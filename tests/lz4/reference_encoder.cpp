// See the header. A block is made of two parts that know nothing of each other: a search that finds the next match from
// a position, and a writer that lays out sequences and minds the room. All positions are those of the address space
// that history and source share; without history they are indices into the source.
#include "lz4/reference_encoder.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "lz4/reference_space.h"

namespace ozrdc::test::lz4 {
namespace {

constexpr int64_t kMinMatch = 4;
constexpr int64_t kLargestOffset = 65535;
constexpr int64_t kShortSource = 65536;     // sources below this length use the table of 16-bit entries
constexpr int64_t kSearchMargin = 28;       // no search starts in this many last bytes
constexpr int64_t kFirstMatchMargin = 5;    // where the first match of a block must end
constexpr int64_t kLaterMatchMargin = 12;   // where the others must end
constexpr int64_t kSinglesAfterMatch = 48;  // positions tried one by one after a match
constexpr int64_t kLongRun = 64;            // ... unless the literal run before the match was that long

// The number of bytes of a length's extension, of which the nibble holds the first 15.
int64_t extensionBytes(int64_t length) { return length < 15 ? 0 : (length - 15) / 255 + 1; }

struct Match {
    int64_t position;
    int64_t candidate;
};

// The table of last positions, and what a search position must satisfy.
class Table {
  public:
    Table(const Space& space, PositionTable& last, bool offsetsAlwaysFit)
        : space_(space), last_(last), offsetsAlwaysFit_(offsetsAlwaysFit) {}

    const Space& space() const { return space_; }
    bool searchable(int64_t position) const { return position < space_.end() - kSearchMargin; }

    // Reads the candidate of a searchable position, then enters the position. Returns the match if there is one.
    std::optional<Match> probe(int64_t position) {
        const int64_t candidate = last_[slot(position)];
        insert(position);
        const bool inReach = offsetsAlwaysFit_ || candidate + kLargestOffset >= position;
        if (!inReach || !space_.mayBegin(candidate)) return std::nullopt;
        for (int64_t i = 0; i < kMinMatch; ++i) {
            if (space_.byte(position + i) != space_.byte(candidate + i)) return std::nullopt;
        }
        return Match{position, candidate};
    }

    void insert(int64_t position) { last_[slot(position)] = static_cast<int32_t>(position); }

  private:
    size_t slot(int64_t position) const { return space_.seededHash(position) & (last_.size() - 1); }

    const Space& space_;
    PositionTable& last_;
    bool offsetsAlwaysFit_;
};

// Tries positions one by one: [position, position + count). Leaves `position` behind them.
std::optional<Match> searchSingly(Table& table, int64_t& position, int64_t count) {
    for (; count > 0 && table.searchable(position); --count) {
        if (const auto match = table.probe(position++)) return match;
    }
    return std::nullopt;
}

// Tries positions in growing steps, the first of them `position`, to the end of the source.
std::optional<Match> searchSkipping(Table& table, int64_t position, int64_t counter, int shift) {
    while (table.searchable(position)) {
        if (const auto match = table.probe(position)) return match;
        position += counter >> shift;
        ++counter;
    }
    return std::nullopt;
}

std::optional<Match> findFirst(Table& table, bool shortSource) {
    int64_t position = table.space().begin() + 1;
    const int64_t singles = shortSource ? 16 : 63;
    if (const auto match = searchSingly(table, position, singles)) return match;
    return shortSource ? searchSkipping(table, position, 16, 4) : searchSkipping(table, position, 64, 6);
}

std::optional<Match> findNext(Table& table, int64_t anchor, int64_t precedingRun) {
    int64_t position = anchor;
    if (precedingRun < kLongRun) {
        if (const auto match = searchSingly(table, position, kSinglesAfterMatch)) return match;
    }
    return searchSkipping(table, position, 128, 6);
}

// The search with an acceleration of 2 and above, from a position that has been tried.
std::optional<Match> findAccelerated(Table& table, int64_t tried, int64_t acceleration) {
    int64_t position = tried;
    int64_t counter = acceleration * 64;
    for (;;) {
        const int64_t step = counter >> 6;
        if (table.searchable(position + 4 * step)) {
            for (int i = 0; i < 4; ++i) {
                position += step;
                if (const auto match = table.probe(position)) return match;
            }
            counter += 4;
        } else {
            position += step;
            if (!table.searchable(position)) return std::nullopt;
            if (const auto match = table.probe(position)) return match;
            counter += 1;
        }
    }
}

int64_t matchLength(const Space& space, const Match& match, int64_t margin) {
    const int64_t end = space.end() - margin;
    int64_t n = 0;
    while (match.position + n < end && space.mayContinue(match.candidate, n) &&
           space.byte(match.position + n) == space.byte(match.candidate + n)) {
        ++n;
    }
    return n;
}

class Writer {
  public:
    Writer(const Space& space, int64_t capacity) : space_(space), capacity_(capacity), anchor_(space.begin()) {}

    int64_t anchor() const { return anchor_; }

    // Writes a sequence and moves the anchor behind its match, which is shortened if its length does not fit. Returns
    // false, and writes nothing, if the block must be finished instead.
    bool sequence(const Match& match, int64_t length) {
        const int64_t limit = capacity_ - 8;
        const int64_t run = match.position - anchor_;
        if (size() + 1 + run + run / 255 > limit) return false;

        const int64_t behindOffset = size() + 1 + extensionBytes(run) + run + 2;
        if (behindOffset + extensionBytes(length - kMinMatch) > limit) {
            if (behindOffset > limit + 1) return false;
            length = std::min(length, 255 * (limit - behindOffset) + 524 + 4);
        }

        token(run, length - kMinMatch);
        literals(run);
        const int64_t offset = match.position - match.candidate;
        block_.push_back(static_cast<uint8_t>(offset % 256));
        block_.push_back(static_cast<uint8_t>(offset / 256));
        extension(length - kMinMatch);
        anchor_ = match.position + length;
        return true;
    }

    // Writes as much of the rest as fits, as the last literal run.
    void finish() {
        const int64_t room = capacity_ - size();
        int64_t run = std::min(space_.end() - anchor_, room - 1);
        while (1 + extensionBytes(run) + run > room) --run;
        token(run, 0);
        literals(run);
        anchor_ += run;
    }

    const std::vector<uint8_t>& block() const { return block_; }

  private:
    int64_t size() const { return static_cast<int64_t>(block_.size()); }

    // The token, and the extension of the literal run.
    void token(int64_t run, int64_t codedMatch) {
        block_.push_back(static_cast<uint8_t>((std::min<int64_t>(run, 15) << 4) | std::min<int64_t>(codedMatch, 15)));
        extension(run);
    }

    void extension(int64_t length) {
        if (length < 15) return;
        for (length -= 15; length >= 255; length -= 255) block_.push_back(255);
        block_.push_back(static_cast<uint8_t>(length));
    }

    void literals(int64_t run) {
        for (int64_t i = 0; i < run; ++i) block_.push_back(space_.byte(anchor_ + i));
    }

    const Space& space_;
    int64_t capacity_;
    int64_t anchor_;
    std::vector<uint8_t> block_;
};

constexpr int64_t kUnbounded = std::numeric_limits<int64_t>::max() / 2;

void encodeSearchingClosely(Table& table, bool shortSource, Writer& writer) {
    std::optional<Match> match = findFirst(table, shortSource);
    int64_t margin = kFirstMatchMargin;
    while (match) {
        const int64_t run = match->position - writer.anchor();
        if (!writer.sequence(*match, matchLength(table.space(), *match, margin))) break;
        margin = kLaterMatchMargin;
        match = findNext(table, writer.anchor(), run);
    }
    writer.finish();
}

void encodeSearchingFast(Table& table, bool shortSource, int64_t acceleration, Writer& writer) {
    int64_t margin = kFirstMatchMargin;
    std::optional<Match> match;
    if (table.searchable(1)) {
        match = table.probe(1);
        if (!match) match = findAccelerated(table, 1, acceleration);
    }
    while (match) {
        writer.sequence(*match, matchLength(table.space(), *match, margin));
        if (!shortSource) margin = kLaterMatchMargin;
        const int64_t end = writer.anchor();
        if (!table.searchable(end)) break;
        table.insert(end - 2);
        match = table.probe(end);
        if (!match) match = findAccelerated(table, end, acceleration);
    }
    writer.finish();
}

// Without history; the table is made for the call.
BoundedBlock encodeAlone(std::span<const uint8_t> source, int64_t acceleration, int64_t capacity) {
    const Space space(source, {});
    const bool shortSource = source.size() < kShortSource;
    PositionTable last(acceleration != 1 && shortSource ? 8192 : 4096);
    Table table(space, last, shortSource);
    Writer writer(space, capacity);
    if (acceleration == 1) {
        encodeSearchingClosely(table, shortSource, writer);
    } else {
        encodeSearchingFast(table, shortSource, acceleration, writer);
    }
    const bool complete = writer.anchor() == space.end();
    return {complete ? StatusOk : StatusDestinationFull, writer.anchor(), writer.block()};
}

BoundedBlock encodeBehind(const EncoderHistory& history, PositionTable& last, int64_t level,
                          std::span<const uint8_t> source, int64_t capacity) {
    for (int32_t& entry : last) {
        if (history.srcIdx == 0) {
            entry = 0;
        } else if (entry > level) {
            entry = static_cast<int32_t>(level);
        }
    }
    const Space space(source, history);
    Table table(space, last, false);
    Writer writer(space, capacity);
    encodeSearchingClosely(table, false, writer);
    const bool complete = writer.anchor() == space.end();
    return {complete ? StatusOk : StatusDestinationFull, writer.anchor() - space.begin(), writer.block()};
}

}  // namespace

std::vector<uint8_t> encode(std::span<const uint8_t> source) { return encodeAccelerated(source, 1); }

std::vector<uint8_t> encodeAccelerated(std::span<const uint8_t> source, int32_t acceleration) {
    return encodeAlone(source, acceleration, kUnbounded).block;
}

BoundedBlock encodeBounded(std::span<const uint8_t> source, int64_t capacity) {
    return encodeAlone(source, 1, capacity);
}

void loadDictionary(PositionTable& table, std::span<const uint8_t> dictionary) {
    const Space space(dictionary, {});
    for (int64_t i = 0; std::ssize(dictionary) - i > 8; i += 3) {
        table[space.seededHash(i) % table.size()] = static_cast<int32_t>(i);
    }
}

std::vector<uint8_t> encodeWithHistory(PositionTable& table, std::span<const uint8_t> source,
                                       const EncoderHistory& history) {
    return encodeBehind(history, table, history.srcIdx - 1, source, kUnbounded).block;
}

BoundedBlock encodeWithHistoryBounded(PositionTable& table, std::span<const uint8_t> source,
                                      const EncoderHistory& history, int64_t capacity) {
    return encodeBehind(history, table, history.srcIdx, source, capacity);
}

}  // namespace ozrdc::test::lz4
