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

}  // namespace ozrdc::test::bz2
