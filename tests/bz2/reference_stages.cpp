// See the header.
#include "bz2/reference_stages.h"

#include <algorithm>
#include <numeric>

namespace ozrdc::test::bz2 {

Bytes RunLengthEncoder::encode(std::span<const uint8_t>& source, std::size_t capacity) {
    Bytes written;
    const auto put = [&](int byte) {
        written.push_back(static_cast<uint8_t>(byte));
        inUse[static_cast<std::size_t>(byte)] = 1;
    };
    while (written.size() < capacity && !source.empty()) {
        const int next = source.front();
        if (run >= 4 && (run == 259 || next != previous)) {
            put(run - 4);
            run = 0;
        } else if (run >= 4) {
            ++run;
            source = source.subspan(1);
        } else {
            put(next);
            run = next == previous ? run + 1 : 1;
            if (run == 1) previous = next;
            source = source.subspan(1);
        }
    }
    return written;
}

Bytes RunLengthEncoder::flush() {
    if (run < 4) return {};
    const auto count = static_cast<uint8_t>(run - 4);
    inUse[count] = 1;
    run = 0;
    return {count};
}

Bytes RunLengthDecoder::decode(std::span<const uint8_t>& source, std::size_t capacity, Status& status) {
    Bytes written;
    const auto payDebt = [&] {
        while (owed > 0 && written.size() < capacity) {
            written.push_back(static_cast<uint8_t>(previous));
            --owed;
        }
        return owed == 0;
    };
    // A group of the byte at the front of the source: four of them, and a count if there is one.
    const auto startsWithFour = [&] {
        return source.size() >= 4 &&
               std::all_of(source.begin(), source.begin() + 4, [&](uint8_t byte) { return byte == source.front(); });
    };
    const auto takeGroup = [&] {
        const int count = source.size() > 4 ? source[4] : 0;
        source = source.subspan(std::min<std::size_t>(source.size(), 5));
        owed += 4 + count;
    };
    status = StatusDestinationFull;
    if (!payDebt()) return written;
    while (source.size() >= 4) {
        if (written.size() == capacity) return written;
        if (startsWithFour()) {
            previous = source.front();
            takeGroup();
            while (source.size() > 4 && startsWithFour() && source.front() == previous) takeGroup();
            if (!payDebt()) return written;
        } else {
            written.push_back(source.front());
            source = source.subspan(1);
        }
    }
    while (!source.empty() && written.size() < capacity) {
        written.push_back(source.front());
        source = source.subspan(1);
    }
    status = StatusOk;
    return written;
}

MoveToFront::MoveToFront() { std::iota(list.begin(), list.end(), uint8_t{0}); }

uint8_t MoveToFront::encode(uint8_t value) {
    const auto at = std::find(list.begin(), list.end(), value);
    const auto rank = static_cast<uint8_t>(at - list.begin());
    std::rotate(list.begin(), at, at + 1);
    return rank;
}

uint8_t MoveToFront::decode(uint8_t rank) {
    std::rotate(list.begin(), list.begin() + rank, list.begin() + rank + 1);
    return list.front();
}

std::array<uint8_t, 256> MoveToFront::ranks() const {
    std::array<uint8_t, 256> result{};
    for (std::size_t rank = 0; rank < 256; ++rank) result[list[rank]] = static_cast<uint8_t>(rank);
    return result;
}

Symbols zeroRunDigits(uint64_t run) {
    Symbols digits;
    for (; run > 0; run = (run - 1) / 2) digits.push_back(static_cast<uint16_t>((run - 1) & 1));
    return digits;
}

Symbols encodeZeroRuns(std::span<const uint8_t>& ranks, std::size_t capacity, std::span<uint32_t> frequencies) {
    Symbols written;
    while (!ranks.empty()) {
        std::size_t run = 0;
        while (run < ranks.size() && ranks[run] == 0) ++run;
        const bool toTheEnd = run == ranks.size();
        const std::size_t wanted = run;
        while (written.size() + zeroRunDigits(run).size() > capacity) --run;
        for (const uint16_t digit : zeroRunDigits(run)) written.push_back(digit);
        ranks = ranks.subspan(run);
        if (run < wanted || toTheEnd || written.size() == capacity) break;
        written.push_back(static_cast<uint16_t>(ranks.front() + 1));
        ranks = ranks.subspan(1);
    }
    for (const uint16_t symbol : written) ++frequencies[symbol];
    return written;
}

Bytes decodeZeroRuns(std::span<const uint16_t>& symbols, std::size_t capacity, Status& status) {
    Bytes written;
    status = StatusDestinationFull;
    while (!symbols.empty()) {
        // The value of digit k is 2^k or twice that: beyond 40 digits no test has room.
        std::size_t digits = 0;
        uint64_t run = 0;
        while (digits < symbols.size() && symbols[digits] < 2) {
            if (digits < 40) run += (symbols[digits] + uint64_t{1}) << digits;
            ++digits;
        }
        if (written.size() + run > capacity) return written;
        written.insert(written.end(), run, 0);
        symbols = symbols.subspan(digits);
        if (symbols.empty()) break;
        if (written.size() == capacity) return written;
        written.push_back(static_cast<uint8_t>(symbols.front() - 1));
        symbols = symbols.subspan(1);
    }
    status = StatusOk;
    return written;
}

}  // namespace ozrdc::test::bz2
