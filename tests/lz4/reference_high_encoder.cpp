// See the header. The parse is told in the terms of its rules: a match has a position, a length and a source, `ip` is
// where the first one begins, and every rule is a step of its own.
#include "lz4/reference_high_encoder.h"

#include <algorithm>
#include <optional>

namespace ozrdc::test::lz4 {
namespace {

constexpr int64_t kLargestDistance = 65534;
constexpr int64_t kShortestSearched = 15;

struct LongMatch {
    int64_t start = 0;
    int64_t length = 0;
    int64_t ref = 0;

    int64_t end() const { return start + length; }
    void moveStart(int64_t n) {
        start += n;
        ref += n;
        length -= n;
    }
};

int64_t attemptLimit(int32_t level) {
    if (level == 0) level = 9;
    if (level < 2) level = 1;
    if (level > 9) level = 9;
    int64_t attempts = 1;
    for (int32_t i = 1; i < level; ++i) attempts *= 2;
    return attempts;
}

class Chains {
  public:
    Chains(const Space& space, ChainTables& tables, int64_t attempts)
        : space_(space), tables_(tables), attempts_(attempts), cursor_(space.begin()) {}

    // The longest match at `position`, at least four bytes long.
    std::optional<LongMatch> longestAt(int64_t position) {
        std::optional<LongMatch> best = longestThrough(position, position, 0);
        if (best && best->length < 4) best.reset();
        return best;
    }

    // The longest match that contains `position`, begins at `lowest` or later and is longer than `length`.
    std::optional<LongMatch> longestThrough(int64_t position, int64_t lowest, int64_t length) {
        for (; cursor_ < position; ++cursor_) {
            uint32_t& head = tables_.heads[space_.hash(cursor_) % tables_.heads.size()];
            tables_.links[static_cast<size_t>(cursor_) % tables_.links.size()] = head;
            head = static_cast<uint32_t>(cursor_);
        }
        std::optional<LongMatch> best;
        int64_t candidate = tables_.heads[space_.hash(position) % tables_.heads.size()];
        for (int64_t i = 0; i < attempts_; ++i) {
            if (candidate >= position || position - candidate > kLargestDistance) break;
            if (space_.mayBegin(candidate)) {
                const int64_t ahead = agreeingAhead(position, candidate);
                int64_t back = 0;
                while (position - back > lowest && space_.mayPrecede(candidate, back) &&
                       space_.byte(position - back - 1) == space_.byte(candidate - back - 1)) {
                    ++back;
                }
                if (back + ahead > length) {
                    length = back + ahead;
                    best = LongMatch{position - back, length, candidate - back};
                }
            }
            candidate = tables_.links[static_cast<size_t>(candidate) % tables_.links.size()];
        }
        return best;
    }

  private:
    int64_t agreeingAhead(int64_t position, int64_t candidate) const {
        int64_t n = 0;
        while (position + n < space_.end() - 5 && space_.mayContinue(candidate, n) &&
               space_.byte(position + n) == space_.byte(candidate + n)) {
            ++n;
        }
        return n;
    }

    const Space& space_;
    ChainTables& tables_;
    int64_t attempts_;
    int64_t cursor_;
};

class Output {
  public:
    Output(const Space& space, int64_t capacity) : space_(space), capacity_(capacity), anchor_(space.begin()) {}

    int64_t anchor() const { return anchor_; }
    const std::vector<uint8_t>& block() const { return block_; }

    bool sequence(const LongMatch& match) {
        std::vector<uint8_t> bytes;
        append(bytes, match.start - anchor_, match.length - 4);
        const int64_t offset = match.start - match.ref;
        bytes.push_back(static_cast<uint8_t>(offset % 256));
        bytes.push_back(static_cast<uint8_t>(offset / 256));
        extension(bytes, match.length - 4);
        return commit(bytes, match.end());
    }

    bool lastRun() {
        std::vector<uint8_t> bytes;
        append(bytes, space_.end() - anchor_, 0);
        return commit(bytes, space_.end());
    }

  private:
    // Token, extension of the literal run, and literals.
    void append(std::vector<uint8_t>& bytes, int64_t run, int64_t codedMatch) const {
        bytes.push_back(static_cast<uint8_t>(std::min<int64_t>(run, 15) * 16 + std::min<int64_t>(codedMatch, 15)));
        extension(bytes, run);
        for (int64_t i = 0; i < run; ++i) bytes.push_back(space_.byte(anchor_ + i));
    }

    static void extension(std::vector<uint8_t>& bytes, int64_t length) {
        if (length < 15) return;
        for (length -= 15; length >= 255; length -= 255) bytes.push_back(255);
        bytes.push_back(static_cast<uint8_t>(length));
    }

    bool commit(const std::vector<uint8_t>& bytes, int64_t anchor) {
        if (std::ssize(block_) + std::ssize(bytes) > capacity_) return false;
        block_.insert(block_.end(), bytes.begin(), bytes.end());
        anchor_ = anchor;
        return true;
    }

    const Space& space_;
    int64_t capacity_;
    int64_t anchor_;
    std::vector<uint8_t> block_;
};

// The second match begins so much later that the first one keeps 18 bytes, or all it has, but the second one at
// least 4.
void correctOverlap(const LongMatch& first, LongMatch& second) {
    if (second.start - first.start >= 18) return;
    int64_t n = std::min<int64_t>(first.length, 18);
    if (first.start + n > second.end() - 4) n = second.start - first.start + second.length - 4;
    const int64_t correction = n - (second.start - first.start);
    if (correction > 0) second.moveStart(correction);
}

// Encodes the matches that follow from the first one; false if a sequence does not fit.
bool encodeGroup(Chains& chains, Output& output, LongMatch first, int64_t searchEnd) {
    enum class Step { FindSecond, FindThird } step = Step::FindSecond;
    LongMatch second;
    for (;;) {
        if (step == Step::FindSecond) {
            std::optional<LongMatch> found;
            if (first.end() < searchEnd) found = chains.longestThrough(first.end() - 2, first.start, first.length);
            if (!found) return output.sequence(first);
            second = *found;
            if (second.start - first.start < 3) {
                first = second;
                continue;
            }
            step = Step::FindThird;
        }
        correctOverlap(first, second);
        std::optional<LongMatch> third;
        if (second.end() < searchEnd) third = chains.longestThrough(second.end() - 3, second.start, second.length);
        if (!third) {
            if (first.end() > second.start) first.length = second.start - first.start;
            return output.sequence(first) && output.sequence(second);
        }
        if (third->start < first.end() + 3) {
            if (third->start >= first.end()) {
                if (second.start < first.end()) {
                    second.moveStart(first.end() - second.start);
                    if (second.length < 4) second = *third;
                }
                if (!output.sequence(first)) return false;
                first = second;
                step = Step::FindSecond;
            } else {
                second = *third;
            }
            continue;
        }
        if (second.start < first.end()) {
            if (second.start - first.start >= 15) {
                first.length = second.start - first.start;
            } else {
                int64_t overlap = first.end() - second.start;
                if (second.length - overlap < 4) {
                    overlap = second.length - 4;
                    first.length = second.start + overlap - first.start;
                }
                second.moveStart(overlap);
            }
        }
        if (!output.sequence(first)) return false;
        first = second;
        second = *third;
    }
}

}  // namespace

BoundedBlock encodeHigh(ChainTables& tables, std::span<const uint8_t> source, const EncoderHistory& history,
                        int64_t capacity, int32_t level) {
    const Space space(source, history);
    Chains chains(space, tables, attemptLimit(level));
    Output output(space, capacity);
    const auto result = [&](Status status) {
        return BoundedBlock{status, output.anchor() - space.begin(), output.block()};
    };
    if (std::ssize(source) >= kShortestSearched) {
        const int64_t searchEnd = space.end() - 13;
        int64_t ip = space.begin() + 1;
        while (ip < searchEnd) {
            const std::optional<LongMatch> first = chains.longestAt(ip);
            if (!first) {
                ++ip;
                continue;
            }
            if (!encodeGroup(chains, output, *first, searchEnd)) return result(StatusOutputTruncated);
            ip = output.anchor();
        }
    }
    return result(output.lastRun() ? StatusOk : StatusDestinationFull);
}

}  // namespace ozrdc::test::lz4
