// See the header. A block is made of two parts that know nothing of each other: a search that finds the next match from
// a position, and a writer that lays out sequences and minds the room. All positions are indices into the source.
#include "lz4/reference_encoder.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

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

// CRC-32C of one byte, bit by bit: polynomial 0x1EDC6F41, reflected.
constexpr std::array<uint32_t, 256> makeCrcTable() {
    std::array<uint32_t, 256> table{};
    for (uint32_t i = 0; i < 256; ++i) {
        uint32_t crc = i;
        for (int bit = 0; bit < 8; ++bit) crc = (crc & 1) != 0 ? (crc >> 1) ^ 0x82F63B78 : crc >> 1;
        table[i] = crc;
    }
    return table;
}
constexpr std::array<uint32_t, 256> kCrcTable = makeCrcTable();

// The number of bytes of a length's extension, of which the nibble holds the first 15.
int64_t extensionBytes(int64_t length) { return length < 15 ? 0 : (length - 15) / 255 + 1; }

struct Match {
    int64_t position;
    int64_t candidate;
};

// The table of last positions, and what a search position must satisfy.
class Table {
  public:
    Table(std::span<const uint8_t> source, uint32_t entries)
        : source_(source), last_(entries, 0), searchLimit_(static_cast<int64_t>(source.size()) - kSearchMargin) {}

    bool searchable(int64_t position) const { return position < searchLimit_; }

    // Reads the candidate of a searchable position, then enters the position. Returns the match if there is one.
    std::optional<Match> probe(int64_t position) {
        const int64_t candidate = last_[hash(position)];
        insert(position);
        const bool inReach = source_.size() < kShortSource || candidate + kLargestOffset >= position;
        if (!inReach) return std::nullopt;
        for (int64_t i = 0; i < kMinMatch; ++i) {
            if (byte(position + i) != byte(candidate + i)) return std::nullopt;
        }
        return Match{position, candidate};
    }

    void insert(int64_t position) { last_[hash(position)] = position; }

  private:
    uint8_t byte(int64_t position) const { return source_[static_cast<size_t>(position)]; }

    // The CRC-32C register after the four bytes from `position`, started from the fifth.
    size_t hash(int64_t position) const {
        uint32_t crc = byte(position + 4);
        for (int64_t i = 0; i < 4; ++i) crc = (crc >> 8) ^ kCrcTable[(crc ^ byte(position + i)) & 0xFF];
        return crc & (last_.size() - 1);
    }

    std::span<const uint8_t> source_;
    std::vector<int64_t> last_;
    int64_t searchLimit_;
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
    int64_t position = 1;
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

int64_t matchLength(std::span<const uint8_t> source, const Match& match, int64_t margin) {
    const int64_t end = static_cast<int64_t>(source.size()) - margin;
    int64_t n = 0;
    while (match.position + n < end &&
           source[static_cast<size_t>(match.position + n)] == source[static_cast<size_t>(match.candidate + n)]) {
        ++n;
    }
    return n;
}

class Writer {
  public:
    Writer(std::span<const uint8_t> source, int64_t capacity) : source_(source), capacity_(capacity) {}

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
        int64_t run = std::min(static_cast<int64_t>(source_.size()) - anchor_, room - 1);
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
        const auto first = source_.begin() + anchor_;
        block_.insert(block_.end(), first, first + run);
    }

    std::span<const uint8_t> source_;
    int64_t capacity_;
    int64_t anchor_ = 0;
    std::vector<uint8_t> block_;
};

constexpr int64_t kUnbounded = std::numeric_limits<int64_t>::max() / 2;

void encodeSearchingClosely(std::span<const uint8_t> source, Writer& writer) {
    const bool shortSource = source.size() < kShortSource;
    Table table(source, 4096);
    std::optional<Match> match = findFirst(table, shortSource);
    int64_t margin = kFirstMatchMargin;
    while (match) {
        const int64_t run = match->position - writer.anchor();
        if (!writer.sequence(*match, matchLength(source, *match, margin))) break;
        margin = kLaterMatchMargin;
        match = findNext(table, writer.anchor(), run);
    }
    writer.finish();
}

void encodeSearchingFast(std::span<const uint8_t> source, int64_t acceleration, Writer& writer) {
    const bool shortSource = source.size() < kShortSource;
    Table table(source, shortSource ? 8192 : 4096);
    int64_t margin = kFirstMatchMargin;
    std::optional<Match> match;
    if (table.searchable(1)) {
        match = table.probe(1);
        if (!match) match = findAccelerated(table, 1, acceleration);
    }
    while (match) {
        writer.sequence(*match, matchLength(source, *match, margin));
        if (!shortSource) margin = kLaterMatchMargin;
        const int64_t end = writer.anchor();
        if (!table.searchable(end)) break;
        table.insert(end - 2);
        match = table.probe(end);
        if (!match) match = findAccelerated(table, end, acceleration);
    }
    writer.finish();
}

}  // namespace

std::vector<uint8_t> encode(std::span<const uint8_t> source) { return encodeAccelerated(source, 1); }

std::vector<uint8_t> encodeAccelerated(std::span<const uint8_t> source, int32_t acceleration) {
    Writer writer(source, kUnbounded);
    if (acceleration == 1) {
        encodeSearchingClosely(source, writer);
    } else {
        encodeSearchingFast(source, acceleration, writer);
    }
    return writer.block();
}

BoundedBlock encodeBounded(std::span<const uint8_t> source, int64_t capacity) {
    Writer writer(source, capacity);
    encodeSearchingClosely(source, writer);
    const bool complete = writer.anchor() == static_cast<int64_t>(source.size());
    return {complete ? StatusOk : StatusDestinationFull, writer.anchor(), writer.block()};
}

}  // namespace ozrdc::test::lz4
