// The caller's buffers, or the parts of them that a stream of a container has.
#pragma once

#include <cstdint>

namespace ozrdc::lzo {

struct Source {
    const uint8_t* begin;
    const uint8_t* end;

    [[nodiscard]] int64_t length() const noexcept { return end - begin; }
};

struct Destination {
    uint8_t* begin;
    uint8_t* end;
};

}  // namespace ozrdc::lzo
