// Writes LZO1X streams instruction by instruction, well-formed or not: for tests of what a decoder does with streams
// that no encoder would write.
#pragma once

#include <cstdint>
#include <vector>

#include "support/random.h"

namespace ozrdc::test::lzo {

class StreamBuilder {
  public:
    explicit StreamBuilder(uint64_t seed = 1) : random_(700000 + seed) {}

    // The first byte of a stream as a count of literals, 0 to 238.
    StreamBuilder& first(int64_t count) {
        put(count + 17);
        return literals(count);
    }

    // A run of literals, 4 and more: at a stream's start, or behind a match without literals.
    StreamBuilder& run(int64_t count) {
        if (count <= 18) {
            put(count - 3);
        } else {
            put(0);
            extension(count - 18);
        }
        return literals(count);
    }

    // The three classes of matches, with 0 to 3 literals behind.
    StreamBuilder& shortMatch(int64_t distance, int64_t length, int64_t behind = 0) {
        put((length - 1) * 32 + (distance - 1) % 8 * 4 + behind);
        put((distance - 1) / 8);
        return literals(behind);
    }
    StreamBuilder& middleMatch(int64_t distance, int64_t length, int64_t behind = 0) {
        lengthField(32, 33, length);
        return distanceField(distance - 1, behind);
    }
    StreamBuilder& longMatch(int64_t distance, int64_t length, int64_t behind = 0) {
        lengthField(distance >= 32768 ? 24 : 16, 9, length);
        return distanceField((distance - 16384) % 16384, behind);
    }

    // Two bytes behind 1 to 3 literals, up to 1024 back; three behind a run, from 2049 to 3072 back.
    StreamBuilder& nearMatch(int64_t distance, int64_t behind = 0) { return tinyMatch(distance - 1, behind); }
    StreamBuilder& farMatch(int64_t distance, int64_t behind = 0) { return tinyMatch(distance - 2049, behind); }

    StreamBuilder& end() { return raw({0x11, 0, 0}); }

    StreamBuilder& raw(const std::vector<uint8_t>& bytes) {
        stream_.insert(stream_.end(), bytes.begin(), bytes.end());
        return *this;
    }

    StreamBuilder& literals(int64_t count) {
        for (; count > 0; --count) stream_.push_back(random_.byte());
        return *this;
    }

    const std::vector<uint8_t>& stream() const { return stream_; }

  private:
    void put(int64_t byte) { stream_.push_back(static_cast<uint8_t>(byte)); }

    void extension(int64_t rest) {
        for (; rest > 255; rest -= 255) put(0);
        put(rest);
    }

    void lengthField(int64_t first, int64_t largest, int64_t length) {
        if (length <= largest) {
            put(first + length - 2);
        } else {
            put(first);
            extension(length - largest);
        }
    }

    StreamBuilder& distanceField(int64_t field, int64_t behind) {
        put(field % 64 * 4 + behind);
        put(field / 64);
        return literals(behind);
    }

    StreamBuilder& tinyMatch(int64_t field, int64_t behind) {
        put(field % 4 * 4 + behind);
        put(field / 4);
        return literals(behind);
    }

    Random random_;
    std::vector<uint8_t> stream_;
};

}  // namespace ozrdc::test::lzo
