// See the header.
#include "deflate/reference_parser.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace ozrdc::test::deflate {
namespace {

constexpr int64_t kMaxLength = 258;

struct Match {
    int64_t length = 0;
    int64_t distance = 0;
};

class Parser {
  public:
    Parser(const ParseCall& call, const Effort& effort, HashTables& tables)
        : source_(call.source),
          history_(call.history),
          effort_(effort),
          tables_(&tables),
          windowSize_(std::ssize(tables.prev)),
          begin_(call.sourceIndex),
          end_(begin_ + std::ssize(call.source)),
          position_(begin_),
          freeRecords_(call.freeRecords),
          isLast_(call.isLast) {}

    void singleProbe() {
        while (mayParse(260)) {
            Match match;
            if (left() >= 3) {
                const int64_t candidate = exchangeHead(rollingHash(position_));
                if (inReach(candidate)) match = {matchLength(candidate, kMaxLength), position_ - candidate};
            }
            if (match.length < 3) {
                putLiteral(position_++);
                continue;
            }
            putMatch(match);
            for (int64_t i = 1; i < match.length; ++i) {
                if (end_ - (position_ + i) >= 3) tables_->head[rollingHash(position_ + i)] = narrow(position_ + i);
            }
            position_ += match.length;
        }
    }

    void fast() {
        while (mayParse(261) || isException()) {
            const int64_t limit = isException() ? kMaxLength - 1 : kMaxLength;
            Match match;
            if (left() >= 4) match = search(enter(position_), effort_.maxChain, 2, limit, true);
            if (match.length == 0) {
                putLiteral(position_++);
                continue;
            }
            putMatch(match);
            if (match.length <= std::min<int64_t>(effort_.maxLazy, limit)) enterCovered(1, match.length);
            position_ += match.length;
        }
    }

    void slow() {
        std::optional<Match> held;  // of the position in front of this one, which has no record yet
        while ((mayParse(261) || isException()) && freeRecords_ > (held ? 1 : 0)) {
            const int64_t limit = isException() ? kMaxLength - 1 : kMaxLength;
            const int64_t heldLength = held ? held->length : 0;
            Match match;
            if (left() >= 4) {
                const int64_t candidate = enter(position_);
                const int64_t budget =
                    heldLength >= effort_.goodLength ? effort_.maxChain / 4 : int64_t{effort_.maxChain};
                if (heldLength < std::min<int64_t>(effort_.maxLazy, limit)) {
                    match = search(candidate, budget, std::max<int64_t>(heldLength, 3), limit, false);
                }
            }
            if (held && heldLength >= 4 && match.length <= heldLength) {
                putMatch(*held);
                enterCovered(1, heldLength - 1);
                position_ += heldLength - 1;
                held.reset();
                continue;
            }
            if (held) putLiteral(position_ - 1);
            held = match;
            ++position_;
        }
        if (!held) return;
        if (held->length < 4) {
            putLiteral(position_ - 1);
            return;
        }
        putMatch(*held);
        enterCovered(0, held->length - 1);
        position_ += held->length - 1;
    }

    Parsed result() {
        parsed_.consumed = position_ - begin_;
        parsed_.sourceIndex = position_;
        return std::move(parsed_);
    }

    // Enters all positions that have the bytes for their hash.
    void enterAll(bool fourBytes) {
        for (int64_t i = begin_; end_ - i >= (fourBytes ? 4 : 3); ++i) {
            if (fourBytes) {
                enter(i);
            } else {
                tables_->head[rollingHash(i)] = narrow(i);
            }
        }
    }

  private:
    static int32_t narrow(int64_t n) { return static_cast<int32_t>(n); }

    int64_t left() const { return end_ - position_; }

    bool mayParse(int64_t margin) const { return freeRecords_ > 0 && left() > (isLast_ ? 0 : margin); }

    // A call that begins with 261 bytes left parses one position.
    bool isException() const { return freeRecords_ > 0 && !isLast_ && position_ == begin_ && left() == 261; }

    uint8_t at(int64_t index) const {
        return index >= begin_ ? source_[static_cast<std::size_t>(index - begin_)]
                               : history_[history_.size() - static_cast<std::size_t>(begin_ - index)];
    }

    // A stream's hash of three bytes. It is called for every position in turn.
    std::size_t rollingHash(int64_t index) {
        if (index == begin_) rolling_ = static_cast<uint32_t>(at(index)) << 5 ^ at(index + 1);
        rolling_ = (rolling_ << 5 ^ at(index + 2)) & static_cast<uint32_t>(tables_->head.size() - 1);
        return rolling_;
    }

    int64_t exchangeHead(std::size_t hash) {
        const int64_t before = tables_->head[hash];
        tables_->head[hash] = narrow(position_);
        return before;
    }

    // Enters a position in both tables; the candidate that was there before.
    int64_t enter(int64_t index) {
        std::array<uint8_t, 4> bytes{};
        for (int i = 0; i < 4; ++i) bytes[static_cast<std::size_t>(i)] = at(index + i);
        const std::size_t hash = crcOfWord(bytes.data()) & (tables_->head.size() - 1);
        const int32_t before = tables_->head[hash];
        tables_->prev[slot(index)] = before;
        tables_->head[hash] = narrow(index);
        return before;
    }

    std::size_t slot(int64_t index) const { return static_cast<std::size_t>(index & (windowSize_ - 1)); }

    void enterCovered(int64_t first, int64_t end) {
        for (int64_t i = first; i < end; ++i) {
            if (end_ - (position_ + i) >= 4) enter(position_ + i);
        }
    }

    bool inReach(int64_t candidate) const {
        const int64_t oldest = begin_ - std::ssize(history_);
        return candidate < position_ && position_ - candidate < windowSize_ && candidate >= oldest;
    }

    int64_t matchLength(int64_t candidate, int64_t limit) const {
        limit = std::min(limit, left());
        int64_t length = 0;
        while (length < limit && at(candidate + length) == at(position_ + length)) ++length;
        return length;
    }

    // The longest match on the chain, longer than `beat`; the first of equally long ones.
    Match search(int64_t candidate, int64_t budget, int64_t beat, int64_t limit, bool quartered) const {
        Match best{beat, 0};
        bool cut = false;
        while (budget > 0 && inReach(candidate)) {
            --budget;
            const int64_t length = matchLength(candidate, limit);
            if (length > best.length) {
                best = {length, position_ - candidate};
                if (length >= effort_.niceLength) break;
                if (quartered && !cut && length >= effort_.goodLength) {
                    budget /= 4;
                    cut = true;
                }
            }
            candidate = tables_->prev[slot(candidate)];
        }
        return best.distance > 0 ? best : Match{};
    }

    void putLiteral(int64_t index) {
        parsed_.records.push_back({at(index), 1, 0});
        ++parsed_.literalCounts[at(index)];
        --freeRecords_;
    }

    void putMatch(const Match& match) {
        const auto length = static_cast<unsigned>(match.length);
        const auto distance = static_cast<unsigned>(match.distance);
        parsed_.records.push_back({0, length, distance});
        ++parsed_.literalCounts[kFirstLength + lengthCode(length)];
        ++parsed_.distanceCounts[distanceCode(distance)];
        --freeRecords_;
    }

    ByteView source_;
    ByteView history_;
    Effort effort_;
    HashTables* tables_;
    int64_t windowSize_;
    int64_t begin_;
    int64_t end_;
    int64_t position_;
    int64_t freeRecords_;
    bool isLast_;
    uint32_t rolling_ = 0;
    Parsed parsed_;
};

// Lowers the indexes when the end of the source comes near 2^31.
int64_t rebased(int64_t sourceIndex, int64_t sourceSize, HashTables& tables) {
    const int64_t windowSize = std::ssize(tables.prev);
    if (sourceIndex + windowSize + sourceSize < (sourceSize ^ 0x7FFFFFFF)) return sourceIndex;
    for (std::vector<int32_t>* table : {&tables.head, &tables.prev}) {
        for (int32_t& entry : *table) {
            const int64_t lowered = entry - (sourceIndex - windowSize);
            entry = static_cast<int32_t>(std::clamp<int64_t>(lowered, kEmpty, std::numeric_limits<int32_t>::max()));
        }
    }
    return windowSize;
}

}  // namespace

Strategy strategyOf(int32_t level) {
    if (level % 10 == 0) return Strategy::SingleProbe;
    return level % 10 < 5 ? Strategy::Fast : Strategy::Slow;
}

Effort effortOf(int32_t level) {
    static constexpr std::array<Effort, 30> efforts{
        {{0, 0, 0, 0},    {4, 8, 8, 8},      {4, 16, 16, 9},    {4, 16, 16, 12},     {48, 32, 32, 16},
         {32, 8, 32, 16}, {128, 8, 256, 16}, {144, 8, 256, 16}, {192, 32, 258, 128}, {256, 32, 258, 258},
         {0, 0, 0, 0},    {3, 7, 8, 258},    {3, 8, 16, 258},   {5, 8, 16, 258},     {16, 32, 32, 258},
         {24, 6, 32, 16}, {120, 7, 256, 16}, {140, 7, 256, 16}, {192, 32, 258, 128}, {512, 32, 258, 258},
         {0, 0, 0, 0},    {4, 8, 8, 258},    {4, 16, 16, 258},  {4, 16, 16, 258},    {16, 32, 32, 258},
         {32, 8, 32, 16}, {128, 8, 256, 16}, {144, 8, 256, 16}, {192, 32, 258, 128}, {512, 32, 258, 258}}};
    return efforts[static_cast<std::size_t>(level)];
}

Parsed parse(const ParseCall& call, Strategy strategy, const Effort& effort, HashTables& tables) {
    Parsed nothing;
    nothing.sourceIndex = call.sourceIndex;
    if (call.source.empty() || call.freeRecords <= 0) return nothing;
    ParseCall lowered = call;
    lowered.sourceIndex = rebased(call.sourceIndex, std::ssize(call.source), tables);
    Parser parser(lowered, effort, tables);
    switch (strategy) {
        case Strategy::SingleProbe:
            parser.singleProbe();
            break;
        case Strategy::Fast:
            parser.fast();
            break;
        case Strategy::Slow:
            parser.slow();
            break;
    }
    return parser.result();
}

void updateHash(ByteView source, int64_t sourceIndex, bool fourBytes, HashTables& tables) {
    Parser({source, sourceIndex, {}, 0, true}, {}, tables).enterAll(fourBytes);
}

Bytes bytesOf(std::span<const Record> records, ByteView history) {
    Bytes bytes(history.begin(), history.end());
    for (const Record& record : records) {
        if (record.distance > bytes.size()) return {};
        for (unsigned i = 0; i < record.length; ++i) {
            bytes.push_back(record.distance == 0 ? record.literal : bytes[bytes.size() - record.distance]);
        }
    }
    bytes.erase(bytes.begin(), bytes.begin() + std::ssize(history));
    return bytes;
}

uint32_t crcOfWord(const uint8_t* bytes) {
    uint32_t crc = 0;
    for (int i = 0; i < 4; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0x82F63B78U : 0U);
    }
    return crc;
}

}  // namespace ozrdc::test::deflate
