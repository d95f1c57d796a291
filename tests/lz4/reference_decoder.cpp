// See the header. Two sets of rules apply: those of the fast loop while source and destination are far from their ends,
// and those of the careful loop from then on. They differ only in what they say of malformed or cut blocks.
#include "lz4/reference_decoder.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace ozrdc::test::lz4 {
namespace {

constexpr int64_t kMinMatch = 4;
constexpr int64_t kDestinationMargin = 64;
constexpr int64_t kLastSourceBytes = 8;

class Decoder {
  public:
    Decoder(std::span<const uint8_t> block, int64_t capacity, const History& history)
        : block_(block),
          sourceEnd_(static_cast<int64_t>(block.size())),
          capacity_(capacity),
          margin_(history.mode == History::Mode::None ? 33 : 32),
          initialStatus_(block.size() == 1 ? StatusSourceExhausted : StatusOk),
          shadow_(history.mode == History::Mode::Separate ? history.dictionary : std::span<const uint8_t>{}) {
        // All modes see one address space: what precedes the output, then the output.
        const std::span<const uint8_t> before =
            history.mode == History::Mode::Prefix ? history.dictionary : history.front;
        space_.assign(before.begin(), before.end());
        known_.assign(before.size(), true);
        outputStart_ = static_cast<int64_t>(before.size());
    }

    Decoded run() {
        Decoded result;
        result.status = decodeSequences();
        result.consumed = in_;
        result.written = written();
        result.output.assign(space_.begin() + outputStart_, space_.end());
        result.known.assign(known_.begin() + outputStart_, known_.end());
        return result;
    }

  private:
    struct Match {
        int64_t offset;
        int64_t length;
    };

    int64_t written() const { return static_cast<int64_t>(space_.size()) - outputStart_; }

    // Reads a length: the nibble, and its extension if it is 15. Empty if the extension runs off the source.
    std::optional<int64_t> readLength(int64_t nibble) {
        int64_t length = nibble;
        if (nibble < 15) return length;
        while (in_ < sourceEnd_) {
            const uint8_t b = block_[static_cast<size_t>(in_++)];
            length += b;
            if (b != 255) return length;
        }
        return std::nullopt;
    }

    void append(uint8_t byte, bool known) {
        space_.push_back(byte);
        known_.push_back(known);
    }

    void copyLiteral() { append(block_[static_cast<size_t>(in_++)], true); }

    // Copies what both buffers allow of a run that does not fit one of them.
    void copyPartOfRun(int64_t length) {
        while (length-- > 0 && written() < capacity_ && in_ < sourceEnd_) copyLiteral();
    }

    // Appends the byte at a position of the address space, as a match sees it.
    void appendFrom(int64_t position) {
        const auto i = static_cast<size_t>(position);
        if (i < shadow_.size()) {
            append(shadow_[i], true);
        } else {
            append(space_[i], known_[i]);
        }
    }

    // Reads offset and length of a match. Returns a status if decoding ends there.
    std::optional<Status> readMatch(int64_t lengthNibble, Match& match) {
        if (in_ + 2 > sourceEnd_) {
            in_ = sourceEnd_;
            return StatusSourceExhausted;
        }
        match.offset = block_[static_cast<size_t>(in_)] + 256 * block_[static_cast<size_t>(in_ + 1)];
        in_ += 2;
        if (static_cast<int64_t>(space_.size()) - match.offset < 0) return StatusError;
        const std::optional<int64_t> length = readLength(lengthNibble);
        if (!length) return StatusSourceExhausted;
        if (*length > std::numeric_limits<int32_t>::max()) return StatusSizeError;
        match.length = *length + kMinMatch;
        return std::nullopt;
    }

    void copyMatch(int64_t offset, int64_t length) {
        for (; length > 0; --length) {
            if (offset == 0) {
                append(0, false);
            } else {
                appendFrom(static_cast<int64_t>(space_.size()) - offset);
            }
        }
    }

    // Copies a match, or as much of it as fits. Returns a status if it does not fit.
    std::optional<Status> copyMatchCarefully(const Match& match) {
        const int64_t room = capacity_ - written();
        copyMatch(match.offset, std::min(match.length, room));
        if (match.length > room) return StatusDestinationFull;
        return std::nullopt;
    }

    bool farFromEnds() const { return in_ < sourceEnd_ - margin_ && written() < capacity_ - kDestinationMargin; }

    // True if the fast loop leaves a run of 33 and more literals, or one of margin 32 that ends behind the source, to
    // the careful loop. `in_` stands at the first literal.
    bool runIsForCarefulLoop(int64_t length) const {
        if (length >= 33) {
            return written() + length >= capacity_ - kDestinationMargin || in_ + length >= sourceEnd_ - 33;
        }
        return in_ + length > sourceEnd_;
    }

    Status decodeSequences() {
        while (farFromEnds()) {
            const int64_t sequenceStart = in_;
            const uint8_t token = block_[static_cast<size_t>(in_++)];
            const std::optional<int64_t> run = readLength(token >> 4);
            if (!run) return StatusSourceExhausted;
            if (runIsForCarefulLoop(*run)) {
                in_ = sequenceStart;
                break;
            }
            for (int64_t i = 0; i < *run; ++i) copyLiteral();
            if (in_ >= sourceEnd_) return initialStatus_;

            Match match{};
            if (const auto status = readMatch(token & 15, match)) return *status;
            if (const auto status = copyMatchCarefully(match)) return *status;
        }
        // Nothing leads back: a sequence that the fast loop hands over, or a match that it leaves to the careful loop,
        // ends inside one of the margins.
        return decodeSequencesCarefully();
    }

    Status decodeSequencesCarefully() {
        for (;;) {
            if (in_ >= sourceEnd_ - 1) return initialStatus_;
            const uint8_t token = block_[static_cast<size_t>(in_++)];
            const std::optional<int64_t> run = readLength(token >> 4);
            if (!run) return StatusSourceExhausted;
            if (written() + *run > capacity_) {
                copyPartOfRun(*run);
                return StatusDestinationFull;
            }
            const int64_t runEnd = in_ + *run;
            if (runEnd > sourceEnd_ - kLastSourceBytes && runEnd != sourceEnd_) {
                copyPartOfRun(*run);
                return StatusSourceExhausted;
            }
            for (int64_t i = 0; i < *run; ++i) copyLiteral();
            if (in_ == sourceEnd_ || written() == capacity_) return initialStatus_;

            Match match{};
            if (const auto status = readMatch(token & 15, match)) return *status;
            if (const auto status = copyMatchCarefully(match)) return *status;
        }
    }

    std::span<const uint8_t> block_;
    int64_t in_ = 0;
    int64_t sourceEnd_;
    int64_t capacity_;
    int64_t margin_;
    Status initialStatus_;
    std::span<const uint8_t> shadow_;
    std::vector<uint8_t> space_;
    std::vector<bool> known_;  // for each byte of `space_`
    int64_t outputStart_ = 0;
};

}  // namespace

std::optional<std::size_t> Decoded::firstDifference(std::span<const uint8_t> actual) const {
    for (std::size_t i = 0; i < output.size(); ++i) {
        if (known[i] && actual[i] != output[i]) return i;
    }
    return std::nullopt;
}

Decoded decode(std::span<const uint8_t> block, int64_t capacity, const History& history) {
    return Decoder(block, capacity, history).run();
}

}  // namespace ozrdc::test::lz4
