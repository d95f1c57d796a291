// See the header.
#include "lzss/reference_lzss.h"

#include <algorithm>
#include <set>

namespace ozrdc::test::lzss {

const std::array<int, 768>& hashValues() {
    static const std::array<int, 768> values = [] {
        std::array<int, 768> v{};
        const int given[3][4] = {{18845, 15810, 11527, 28763}, {23403, 25964, 7330, 5756}, {23616, 7640, 29028, 30668}};
        uint64_t state = 0;
        for (std::size_t row = 0; row < 3; ++row) {
            std::set<int> used;
            for (std::size_t i = 0; i < 256; ++i) {
                int value = 0;
                if (i < 4) {
                    value = given[row][i];
                } else {
                    do {
                        state = state * 6364136223846793005U + 1442695040888963407U;
                        value = static_cast<int>(46 + (state >> 33) % 32719);
                    } while (used.count(value) != 0);
                }
                used.insert(value);
                v[256 * row + i] = value;
            }
        }
        return v;
    }();
    return values;
}

int hashOf(uint8_t first, uint8_t second, uint8_t third) {
    const auto& values = hashValues();
    return values[first] ^ values[256U + second] ^ values[512U + third];
}

// --- Encoder --------------------------------------------------------------------------------------------------------

void ReferenceEncoder::init() {
    stream_.clear();
    head_.assign(kPositions, kNowhere);
    chain_.assign(kPositions, kNowhere);
    pending_.clear();
}

void ReferenceEncoder::put(unsigned value, unsigned count) {
    while (count > 0) pending_.push_back((value >> --count & 1) != 0);
}

uint8_t ReferenceEncoder::byteAt(int64_t position, ByteView source) const {
    const auto index = static_cast<std::size_t>(position);
    return index < stream_.size() ? stream_[index] : source[index - stream_.size()];
}

int64_t ReferenceEncoder::enter(int64_t position, ByteView source) {
    const auto hash = static_cast<std::size_t>(
        hashOf(byteAt(position, source), byteAt(position + 1, source), byteAt(position + 2, source)));
    const int64_t candidate = head_[hash];
    chain_[static_cast<std::size_t>(position) % kPositions] = candidate;
    head_[hash] = position;
    return candidate;
}

Result ReferenceEncoder::encode(ByteView source, std::size_t capacity) {
    if (capacity == 0) return {{}, 0, StatusDestinationFull};
    if (source.empty()) return {{}, 0, StatusOk};

    Bytes written;
    const auto writeWholeBytes = [&] {
        while (pending_.size() >= 8 && written.size() < capacity) {
            unsigned byte = 0;
            for (int i = 0; i < 8; ++i) {
                byte = 2 * byte + (pending_.front() ? 1 : 0);
                pending_.pop_front();
            }
            written.push_back(static_cast<uint8_t>(byte));
        }
        return written.size() < capacity;
    };

    const auto start = static_cast<int64_t>(stream_.size());
    const int64_t end = start + static_cast<int64_t>(source.size());
    int64_t p = start;
    bool room = writeWholeBytes();
    while (room && p < end) {
        int64_t best = 2;
        int64_t bestCandidate = 0;
        if (p < end - 2) {
            int64_t candidate = enter(p, source);
            const int64_t limit = std::min<int64_t>(end - 2 - p, 258);
            for (int tries = 0; p - candidate < 32768 && best < limit && tries < 16; ++tries) {
                const auto equalAt = [&](int64_t i) { return byteAt(candidate + i, source) == byteAt(p + i, source); };
                if (equalAt(best - 1) && equalAt(best)) {
                    int64_t count = 0;
                    while (count < limit && equalAt(count)) ++count;
                    if (count > best) {
                        best = count;
                        bestCandidate = candidate;
                    }
                }
                candidate = chain_[static_cast<std::size_t>(candidate) % kPositions];
            }
        }
        if (best >= 3) {
            for (int64_t q = p + 1; q < p + best; ++q) enter(q, source);
            put(0, 1);
            put(static_cast<unsigned>(p - bestCandidate), 15);
            put(static_cast<unsigned>(best - 3), 8);
            p += best;
        } else {
            put(1, 1);
            put(byteAt(p, source), 8);
            ++p;
        }
        room = writeWholeBytes();
    }
    const auto consumed = static_cast<std::size_t>(p - start);
    stream_.insert(stream_.end(), source.begin(), source.begin() + (p - start));
    return {written, consumed, room ? StatusOk : StatusDestinationFull};
}

Result ReferenceEncoder::flush(std::size_t capacity) {
    std::deque<bool> left = pending_;
    Bytes written;
    while (!left.empty()) {
        if (written.size() == capacity) {
            pending_ = left;
            return {written, 0, StatusDestinationFull};
        }
        unsigned byte = 0;
        for (unsigned i = 0; i < 8 && !left.empty(); ++i) {
            if (left.front()) byte |= 128U >> i;
            left.pop_front();
        }
        written.push_back(static_cast<uint8_t>(byte));
    }
    return {written, 0, StatusOk};
}

// --- Decoder --------------------------------------------------------------------------------------------------------

void ReferenceDecoder::init() {
    pending_.clear();
    length_ = 0;
    distance_ = 0;
}

bool ReferenceDecoder::pull(std::size_t count, ByteView source, std::size_t& consumed) {
    while (pending_.size() < count) {
        if (consumed == source.size()) return false;
        const unsigned byte = source[consumed++];
        for (unsigned mask = 128; mask > 0; mask /= 2) pending_.push_back((byte & mask) != 0);
    }
    return true;
}

unsigned ReferenceDecoder::take(unsigned count) {
    unsigned value = 0;
    for (; count > 0; --count) {
        value = 2 * value + (pending_.front() ? 1 : 0);
        pending_.pop_front();
    }
    return value;
}

void ReferenceDecoder::copyMatch(Bytes& output, std::size_t capacity) {
    for (; length_ > 0 && output.size() < capacity; --length_) {
        if (distance_ == 0) {
            output.push_back(0);
        } else if (distance_ <= output.size()) {
            output.push_back(output[output.size() - distance_]);
        } else {
            output.push_back(history_[kWindow + output.size() - distance_]);
        }
    }
}

Result ReferenceDecoder::decode(ByteView source, std::size_t capacity) {
    Bytes output;
    std::size_t consumed = 0;
    Status status = StatusOk;
    copyMatch(output, capacity);
    for (;;) {
        if (output.size() == capacity) {
            status = StatusDestinationFull;
            break;
        }
        if (!pull(9, source, consumed)) break;
        if (pending_.front()) {
            take(1);
            output.push_back(static_cast<uint8_t>(take(8)));
            continue;
        }
        if (!pull(24, source, consumed)) break;
        take(1);
        distance_ = take(15);
        length_ = take(8) + 3;
        copyMatch(output, capacity);
    }
    history_.insert(history_.end(), output.begin(), output.end());
    history_.erase(history_.begin(), history_.end() - static_cast<std::ptrdiff_t>(kWindow));
    return {output, consumed, status};
}

// --- Tokens ---------------------------------------------------------------------------------------------------------

void TokenWriter::put(unsigned value, unsigned count) {
    while (count > 0) bits_.push_back((value >> --count & 1) != 0);
}

TokenWriter& TokenWriter::literal(unsigned byte) {
    put(1, 1);
    put(byte, 8);
    return *this;
}

TokenWriter& TokenWriter::literals(ByteView bytes) {
    for (const uint8_t byte : bytes) literal(byte);
    return *this;
}

TokenWriter& TokenWriter::match(unsigned distance, unsigned length) {
    put(0, 1);
    put(distance, 15);
    put(length - 3, 8);
    return *this;
}

Bytes TokenWriter::bytes() const {
    Bytes result((bits_.size() + 7) / 8);
    for (std::size_t i = 0; i < bits_.size(); ++i) {
        if (bits_[i]) result[i / 8] = static_cast<uint8_t>(result[i / 8] | 128U >> i % 8);
    }
    return result;
}

}  // namespace ozrdc::test::lzss
