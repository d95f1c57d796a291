// Counting.
#include "formats/deflate/records.h"

namespace ozrz::deflate {

std::size_t count(const Records& records, Histogram& histogram) {
    std::size_t bytes = 0;
    for (std::size_t i = 0; i < records.count; ++i) {
        const uint8_t length = records.lengths[i];
        const uint16_t distance = records.distances[i];
        if (distance == 0) {
            ++histogram.litLen[length];
            ++bytes;
        } else {
            ++histogram.litLen[kFirstLengthSymbol + lengthCode(length)];
            ++histogram.dist[distCode(distance)];
            bytes += std::size_t{length} + kMinMatch;
        }
    }
    return bytes;
}

}  // namespace ozrz::deflate
