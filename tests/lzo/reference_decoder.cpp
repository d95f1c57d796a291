// See the header.
#include "lzo/reference_decoder.h"

#include <cstddef>

namespace ozrdc::test::lzo {
namespace {

// What precedes an instruction decides what its first byte means.
enum class Before { Nothing, MatchWithoutLiterals, FewLiterals, Run };

class Decoder {
  public:
    Decoder(ByteView source, uint64_t capacity) : source_(source), capacity_(capacity) {}

    std::optional<Bytes> run() {
        while (in_ < source_.size()) {
            if (!instruction()) return std::nullopt;
        }
        return output_;
    }

  private:
    std::optional<uint64_t> byte() {
        if (in_ == source_.size()) return std::nullopt;
        return source_[in_++];
    }

    // A length whose field is 0: zero bytes count 255 each, the first other byte ends it.
    std::optional<uint64_t> extended(uint64_t length) {
        for (;;) {
            const auto b = byte();
            if (!b) return std::nullopt;
            if (*b != 0) return length + *b;
            length += 255;
        }
    }

    bool literals(uint64_t count) {
        if (count > source_.size() - in_ || count > capacity_ - output_.size()) return false;
        for (uint64_t i = 0; i < count; ++i) output_.push_back(source_[in_++]);
        if (count == 0) {
            before_ = Before::MatchWithoutLiterals;
        } else {
            before_ = count <= 3 ? Before::FewLiterals : Before::Run;
        }
        return true;
    }

    bool run(uint64_t field) {
        const auto count = field == 0 ? extended(18) : std::optional(field + 3);
        return count && literals(*count);
    }

    bool match(uint64_t distance, uint64_t length, uint64_t literalsBehind) {
        if (distance > output_.size() || length > capacity_ - output_.size()) return false;
        for (uint64_t i = 0; i < length; ++i) output_.push_back(output_[output_.size() - distance]);
        return literals(literalsBehind);
    }

    // A match whose length is in the low bits of its first byte; `base` is the distance that two zero bytes stand for.
    bool matchWithTwoBytes(uint64_t field, uint64_t largestField, uint64_t base, bool mayEnd) {
        const auto length = field == 0 ? extended(largestField + 2) : std::optional(field + 2);
        if (!length) return false;
        const auto low = byte();
        const auto high = byte();
        if (!low || !high) return false;
        const uint64_t distance = base + *high * 64 + *low / 4;
        if (mayEnd && distance == base) {
            before_ = Before::Nothing;
            return true;
        }
        return match(distance, *length, *low % 4);
    }

    bool matchWithOneByte(uint64_t first, uint64_t unit, uint64_t low, uint64_t base, uint64_t length) {
        const auto high = byte();
        return high && match(base + *high * unit + low, length, first % 4);
    }

    bool firstInstruction(uint64_t first) {
        if (first < 16) return run(first);
        if (first == 16) return false;
        const bool isMarker = source_.size() - in_ >= 2 && source_[in_] == 0 && source_[in_ + 1] == 0;
        if (first == 17 && isMarker) {
            in_ += 2;
            return true;
        }
        return literals(first - 17);
    }

    bool instruction() {
        const uint64_t first = *byte();
        if (before_ == Before::Nothing) return firstInstruction(first);
        if (first >= 64) return matchWithOneByte(first, 8, first / 4 % 8, 1, first / 32 + 1);
        if (first >= 32) return matchWithTwoBytes(first % 32, 31, 1, false);
        if (first >= 24) return matchWithTwoBytes(first % 8, 7, 32768, false);
        if (first >= 16) return matchWithTwoBytes(first % 8, 7, 16384, true);
        if (before_ == Before::MatchWithoutLiterals) return run(first);
        if (before_ == Before::FewLiterals) return matchWithOneByte(first, 4, first / 4, 1, 2);
        return matchWithOneByte(first, 4, first / 4, 2049, 3);
    }

    ByteView source_;
    std::size_t in_ = 0;
    uint64_t capacity_;
    Bytes output_;
    Before before_ = Before::Nothing;
};

uint64_t number(ByteView source, std::size_t at) {
    uint64_t value = 0;
    for (std::size_t i = 4; i-- > 0;) value = value * 256 + source[at + i];
    return value;
}

bool isEndMarker(ByteView source, std::size_t at) {
    return source[at] == 0x11 && source[at + 1] == 0 && source[at + 2] == 0;
}

}  // namespace

std::optional<Bytes> decodeStreams(ByteView source, uint64_t capacity) { return Decoder(source, capacity).run(); }

std::optional<uint64_t> containerTotal(ByteView source) {
    // Whatever has to be looked at must be there: a header of 7 bytes, the first length if there is one.
    const std::size_t size = source.size();
    if (size < 7 || source[0] != 0x55) return std::nullopt;
    const uint64_t parts = source[1];
    if (parts < 1 || parts > 32 || source[2] != (parts ^ 0x55)) return std::nullopt;
    if (parts > 1 && size < 11) return std::nullopt;
    const uint64_t first = parts == 1 ? size - 7 : number(source, 7);
    if (first + 7 > size) return std::nullopt;
    if (first + 4 * parts + 2 >= size) return std::nullopt;
    if (!isEndMarker(source, first + 4 * parts)) return std::nullopt;
    return number(source, 3);
}

Decoded decode(ByteView source, uint64_t capacity) {
    Decoded result;
    const auto total = containerTotal(source);
    if (source.empty() || (source.size() >= 3 && isEndMarker(source, 0))) {
        result.slices.push_back({});
    } else if (total) {
        result.isContainer = true;
        const uint64_t parts = source[1];
        const uint64_t share = *total / parts;
        uint64_t at = 7 + 4 * (parts - 1);
        for (uint64_t k = 0; k < parts; ++k) {
            const bool last = k + 1 == parts;
            const uint64_t left = source.size() - at;
            const uint64_t length = last ? left : number(source, 7 + 4 * k);
            auto bytes = length > left ? std::nullopt
                                       : decodeStreams(source.subspan(at, length), share + (last ? *total % parts : 0));
            if (!bytes) {
                result.status = StatusBrokenStream;
                return result;
            }
            result.written += bytes->size();
            result.slices.push_back({k * share, std::move(*bytes)});
            at += length;
        }
    } else if (auto bytes = decodeStreams(source, capacity)) {
        result.written = bytes->size();
        result.slices.push_back({0, std::move(*bytes)});
    } else {
        result.status = StatusBrokenStream;
    }
    return result;
}

}  // namespace ozrdc::test::lzo
