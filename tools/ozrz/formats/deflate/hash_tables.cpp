// Emptying and priming the hash tables.
#include "formats/deflate/hash_tables.h"

#include <algorithm>
#include <bit>
#include <string>

#include "error.h"
#include "formats/deflate/symbols.h"

namespace ozrz::deflate {
namespace {

constexpr int32_t kEmpty = -32768;
constexpr std::size_t kMinHeadSize = 256;
constexpr std::size_t kMaxHeadSize = 65536;

// All searches that are used here hash four bytes and keep chains.
constexpr int32_t kHashMode = 1;
constexpr std::size_t kHashedBytes = 4;

}  // namespace

void HashTables::clear(const Chunk& chunk) {
    // For small sources small tables do: most of their work would be to empty large ones.
    const std::size_t size = std::bit_ceil(std::clamp(chunk.bytes.size() + chunk.history, kMinHeadSize, kMaxHeadSize));
    if (size > capacity_) {
        head_ = std::make_unique_for_overwrite<int32_t[]>(size);
        capacity_ = size;
    }
    if (!previous_) previous_ = std::make_unique_for_overwrite<int32_t[]>(kWindowSize);
    headSize_ = static_cast<int32_t>(size);
    // What the table of previous positions holds needs no emptying: every way to it begins in the other table.
    std::fill_n(head_.get(), size, kEmpty);
}

void HashTables::enterHistory(const Chunk& chunk) {
    if (chunk.history == 0) return;
    // With the bytes that the hash of the last position of the history reaches into the chunk, so that none is left
    // out.
    const std::size_t reach = std::min(kHashedBytes - 1, chunk.bytes.size());
    const Status status =
        ozrsDeflateUpdateHash_8u(chunk.bytes.data() - chunk.history, kStartIndex - static_cast<int32_t>(chunk.history),
                                 static_cast<int32_t>(chunk.history + reach), head_.get(), headSize_, previous_.get(),
                                 static_cast<int32_t>(kWindowSize), kHashMode);
    if (status != StatusOk) throw Error("priming the hash tables failed with status " + std::to_string(status));
}

}  // namespace ozrz::deflate
