// The hash tables of the library's match search.
#pragma once

#include <ozrdc.h>

#include <cstddef>
#include <memory>

#include "formats/deflate/chunk_encoder.h"
#include "formats/deflate/symbols.h"

namespace ozrz::deflate {

// Chunks begin at this index, with a whole window in front of them: so the library's window always lies directly before
// the source, however much history there is.
inline constexpr int32_t kStartIndex = static_cast<int32_t>(kWindowSize);

class HashTables {
  public:
    // Empties the tables, of a size that suits the chunk.
    void clear(const Chunk& chunk);

    // Enters the positions of the chunk's history.
    void enterHistory(const Chunk& chunk);

    int32_t* head() { return head_.get(); }
    int32_t* previous() { return previous_.get(); }
    int32_t headSize() const { return headSize_; }

  private:
    std::unique_ptr<int32_t[]> head_;
    std::unique_ptr<int32_t[]> previous_;
    int32_t headSize_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace ozrz::deflate
