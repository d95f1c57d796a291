// XXH32 by the xxHash headers, compiled into this file alone.
#include "formats/lz4/xxh32.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace ozrz::lz4 {

uint32_t xxh32(Bytes bytes) {
    // An empty span may have no address, and the headers want one.
    static constexpr uint8_t kNothing = 0;
    const uint8_t* const data = bytes.data() == nullptr ? &kNothing : bytes.data();
    return XXH32(data, bytes.size(), 0);
}

struct Xxh32::State {
    XXH32_state_t hash;
};

Xxh32::Xxh32() : state_(std::make_unique<State>()) { XXH32_reset(&state_->hash, 0); }

Xxh32::~Xxh32() = default;

void Xxh32::update(Bytes bytes) {
    if (!bytes.empty()) XXH32_update(&state_->hash, bytes.data(), bytes.size());
}

uint32_t Xxh32::digest() const { return XXH32_digest(&state_->hash); }

}  // namespace ozrz::lz4
